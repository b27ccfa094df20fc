// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>

#include "text/TextStorage.h"
#include "values/RangeCheck.h"

#include <algorithm>

namespace kestova {
namespace {

Ref<NSString> slash() { return "/"; }

/// The path without doubled and trailing slashes.
Ref<NSString> tidied(const NSString& path) {
  return withUnits(path, [](auto units) {
    std::basic_string<typename decltype(units)::value_type> result;
    for (const auto unit : units) {
      if (unit != '/' || result.empty() || result.back() != '/') {
        result.push_back(unit);
      }
    }
    if (result.size() > 1 && result.back() == '/') {
      result.pop_back();
    }
    return Ref<NSString>(result);
  });
}

/// The names of a tidied path, between its slashes. Slashes count whatever follows them: to the
/// file system a name may begin with a mark.
void addNames(NSMutableArray& names, const NSString& tidyPath) {
  withUnits(tidyPath, [&](auto units) {
    for (std::size_t start = 0, end; start < units.size(); start = end + 1) {
      end = std::min(units.find('/', start), units.size());
      if (end > start) {
        names.addObject(stringOf(units.substr(start, end - start)));
      }
    }
  });
}

bool hasSlash(const NSString& text) {
  return withUnits(text, [](auto units) { return units.find('/') != units.npos; });
}

/// Where the last component of a tidied path begins; the root is a component itself.
NSUInteger startOfLastComponent(const NSString& tidyPath) {
  NSUInteger start = tidyPath.length();
  while (start > 0 && tidyPath.characterAtIndex(start - 1) != '/') {
    --start;
  }
  return start == tidyPath.length() ? 0 : start;
}

/// Where the full stop before the extension of a tidied path stands; NSNotFound without one. A full
/// stop at either end of the name is no such one.
NSUInteger extensionMark(const NSString& tidyPath) {
  const NSUInteger first = startOfLastComponent(tidyPath) + 1;
  for (NSUInteger index = tidyPath.length(); index-- > first;) {
    if (tidyPath.characterAtIndex(index) == '.') {
      return index + 1 < tidyPath.length() ? index : NSNotFound;
    }
  }
  return NSNotFound;
}

}  // namespace

Ref<NSString> NSString::pathWithComponents(const Ref<NSArray>& components) {
  if (!components) {
    return nullptr;
  }
  const auto joined = NSMutableString::string();
  Ref<NSString> last;
  for (const id& component : components) {
    last = cast<NSString>(component);
    checkArgument(*joined, "pathWithComponents:", last != nullptr);
    if (joined->length() > 0) {
      joined->appendString(slash());
    }
    joined->appendString(last);
  }
  const auto path = tidied(*joined);
  const bool endsInSlash = components->count() > 1 && (last == "" || last == "/");
  return endsInSlash && path != "/" ? path->stringByAppendingString(slash()) : path;
}

bool NSString::isAbsolutePath() const { return length() > 0 && characterAtIndex(0) == '/'; }

Ref<NSArray> NSString::pathComponents() const {
  const auto components = NSMutableArray::array();
  const auto path = tidied(*this);
  if (isAbsolutePath()) {
    components->addObject(slash());
  }
  addNames(*components, *path);
  if (path != "/" && hasSuffix(slash())) {
    components->addObject(slash());
  }
  return components;
}

Ref<NSString> NSString::lastPathComponent() const {
  const auto path = tidied(*this);
  return path->substringFromIndex(startOfLastComponent(*path));
}

Ref<NSString> NSString::stringByDeletingLastPathComponent() const {
  const auto path = tidied(*this);
  const NSUInteger start = startOfLastComponent(*path);
  if (start <= 1) {
    return path->isAbsolutePath() ? slash() : string();
  }
  return path->substringToIndex(start - 1);
}

Ref<NSString> NSString::stringByAppendingPathComponent(const Ref<NSString>& component) const {
  checkArgument(*this, "stringByAppendingPathComponent:", component != nullptr);
  if (length() == 0) {
    return tidied(*component);
  }
  return tidied(*stringByAppendingString(slash())->stringByAppendingString(component));
}

Ref<NSString> NSString::pathExtension() const {
  const auto path = tidied(*this);
  const NSUInteger mark = extensionMark(*path);
  return mark == NSNotFound ? string() : path->substringFromIndex(mark + 1);
}

Ref<NSString> NSString::stringByDeletingPathExtension() const {
  auto path = tidied(*this);
  const NSUInteger mark = extensionMark(*path);
  return mark == NSNotFound ? path : path->substringToIndex(mark);
}

Ref<NSString> NSString::stringByAppendingPathExtension(const Ref<NSString>& extension) const {
  checkArgument(*this, "stringByAppendingPathExtension:", extension != nullptr);
  const auto path = tidied(*this);
  const bool hasName = path->length() > 0 && !path->hasSuffix(slash());
  if (!hasName || hasSlash(*extension)) {
    return nullptr;
  }
  return path->stringByAppendingString(".")->stringByAppendingString(extension);
}

}  // namespace kestova
