// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringExtraPathUtilities.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>

#include <algorithm>

namespace kestova {

inline namespace NSString_ExtraPathUtilities {

namespace {

constexpr unichar kSeparator = u'/';

void checkPath(const char* operation, const Ref<NSString>& path) {
  if (!path) {
    throw NSException(NSInvalidArgumentException,
                      NSString::stringWithFormat("-[NSString %s]: nil argument", operation));
  }
}

Ref<NSString> componentAt(const Ref<NSArray>& components, NSUInteger index) {
  return cast<NSString>(components->objectAtIndex(index));
}

/// How many components both lists begin with, where those of `base` are patterns.
NSUInteger countCommon(const Ref<NSArray>& components, const Ref<NSArray>& base) {
  const NSUInteger count = std::min(components->count(), base->count());
  NSUInteger common = 0;
  while (common < count &&
         componentAt(components, common)->isCaseInsensitiveLike(componentAt(base, common))) {
    ++common;
  }
  return common;
}

/// Appends the components from an index on; none when there are fewer.
void appendFrom(NSUInteger index, const Ref<NSArray>& components,
                const Ref<NSMutableArray>& result) {
  for (; index < components->count(); ++index) {
    result->addObject(components->objectAtIndex(index));
  }
}

bool endsInSeparator(const NSString& path) {
  return path.length() > 0 && path.characterAtIndex(path.length() - 1) == kSeparator;
}

}  // namespace

Ref<NSString> stringByAppendingStringBeforePathExtension(const Ref<NSString>& self,
                                                         const Ref<NSString>& text) {
  checkPath("stringByAppendingStringBeforePathExtension:", text);
  const auto extension = self->pathExtension();
  const auto path = self->stringByDeletingPathExtension()->stringByAppendingString(text);
  return extension ? path->stringByAppendingPathExtension(extension) : path;
}

Ref<NSString> stringByMakingRelativeToPath(const Ref<NSString>& self, const Ref<NSString>& base) {
  checkPath("stringByMakingRelativeToPath:", base);
  const auto components = self->pathComponents();
  const auto baseComponents = base->pathComponents();
  const NSUInteger common = countCommon(components, baseComponents);
  const auto way = NSMutableArray::array();
  for (NSUInteger index = common; index < baseComponents->count(); ++index) {
    way->addObject("..");
  }
  appendFrom(common, components, way);
  return NSString::pathWithComponents(way);
}

Ref<NSString> stringByMakingSubpathOfPath(const Ref<NSString>& self, const Ref<NSString>& base) {
  checkPath("stringByMakingSubpathOfPath:", base);
  if (self->rangeOfString(base).location == NSNotFound) {
    return copyOf(self);
  }
  const auto rest = NSMutableArray::array();
  appendFrom(base->pathComponents()->count(), self->pathComponents(), rest);
  return NSString::pathWithComponents(rest);
}

Ref<NSString> stringByDeletingLeadingPathSeparator(const Ref<NSString>& self) {
  return self->characterAtIndex(0) == kSeparator ? self->substringFromIndex(1) : self;
}

Ref<NSString> stringByDeletingTrailingPathSeparator(const Ref<NSString>& self) {
  return endsInSeparator(*self) ? self->substringToIndex(self->length() - 1) : self;
}

Ref<NSString> stringByTrimmingPathSeparators(const Ref<NSString>& self) {
  return stringByDeletingTrailingPathSeparator(stringByDeletingLeadingPathSeparator(self));
}

Ref<NSString> stringByAppendingPathSeparator(const Ref<NSString>& self) {
  return endsInSeparator(*self) ? self : self->stringByAppendingString("/");
}

bool isEqualToPath(const Ref<NSString>& self, const Ref<NSString>& path) {
  checkPath("isEqualToPath:", path);
  return stringByDeletingTrailingPathSeparator(self)->isEqualToString(
      stringByDeletingTrailingPathSeparator(path));
}

bool isAnAncestorOfPath(const Ref<NSString>& self, const Ref<NSString>& path) {
  checkPath("isAnAncestorOfPath:", path);
  const auto ancestor = stringByAppendingPathSeparator(self);
  const auto other = stringByAppendingPathSeparator(path);
  return other->rangeOfString(ancestor).location == 0 && !ancestor->isEqualToString(other);
}

}  // namespace NSString_ExtraPathUtilities

}  // namespace kestova
