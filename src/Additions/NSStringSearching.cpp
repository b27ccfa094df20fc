// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRegularExpression.h>
#include <KestovaPlatform/NSTextCheckingResult.h>
#include <KestovaPlatform/NSValue.h>
#include <KestovaPlatform/StringMatches.h>

namespace kestova {

namespace {

/// Null has no units; the comparison refuses it.
NSUInteger lengthOf(const Ref<NSString>& text) { return text ? text->length() : 0; }

bool isSameInRange(const Ref<NSString>& self, NSRange range, const Ref<NSString>& other,
                   NSUInteger options) {
  return self->compare_options_range(other, options, range) == NSOrderedSame;
}

Ref<NSRegularExpression> expressionOf(const Ref<NSString>& pattern, NSUInteger options) {
  const auto expression =
      pattern ? NSRegularExpression::regularExpressionWithPattern_options_error(pattern, options)
              : nullptr;
  if (!expression) {
    throw NSException(NSInvalidArgumentException, "Invalid regex pattern");
  }
  return expression;
}

}  // namespace

inline namespace NSString_Searching {

NSUInteger numberOfOccurrencesOfString_options(const Ref<NSString>& self,
                                               const Ref<NSString>& wanted, NSUInteger options) {
  NSUInteger count = 0;
  if (self->length() > 0) {
    visitMatches(self, wanted, options, {0, self->length()}, SearchGoesOn::atTheNextUnit,
                 [&](NSRange) {
                   ++count;
                   return true;
                 });
  }
  return count;
}

Ref<NSArray> occurrencesOfString_options(const Ref<NSString>& self, const Ref<NSString>& wanted,
                                         NSUInteger options) {
  const bool isBackwards = (options & NSBackwardsSearch) != 0;
  std::vector<id> ranges;
  visitMatches(self, wanted, options, {0, self->length()},
               isBackwards ? SearchGoesOn::beforeTheMatch : SearchGoesOn::behindTheMatch,
               [&](NSRange match) {
                 ranges.emplace_back(match);
                 return true;
               });
  return NSArray::arrayWithObjects(std::move(ranges));
}

}  // namespace NSString_Searching

inline namespace NSString_SearchComparision {

Ref<NSString> stringByDeletingSuffix(const Ref<NSString>& self, const Ref<NSString>& suffix) {
  const NSRange last = self->rangeOfString_options(suffix, NSBackwardsSearch);
  return last.location == NSNotFound ? self : self->substringToIndex(last.location);
}

bool hasPrefix_options(const Ref<NSString>& self, const Ref<NSString>& prefix, NSUInteger options) {
  const NSUInteger length = lengthOf(prefix);
  return length <= self->length() && isSameInRange(self, {0, length}, prefix, options);
}

bool hasSuffix_options(const Ref<NSString>& self, const Ref<NSString>& suffix, NSUInteger options) {
  const NSUInteger length = lengthOf(suffix);
  return length <= self->length() &&
         isSameInRange(self, {self->length() - length, length}, suffix, options);
}

bool containsString_options(const Ref<NSString>& self, const Ref<NSString>& wanted,
                            NSUInteger options) {
  return self->rangeOfString_options(wanted, options).location != NSNotFound;
}

Ref<NSString> firstWord(const Ref<NSString>& self) {
  const auto blanks = NSCharacterSet::whitespaceAndNewlineCharacterSet();
  const NSUInteger start = self->rangeOfCharacterFromSet(blanks->invertedSet()).location;
  if (start == NSNotFound) {
    return nullptr;
  }
  const NSRange rest{start, self->length() - start};
  const NSUInteger end = self->rangeOfCharacterFromSet_options_range(blanks, 0, rest).location;
  return end == NSNotFound ? self->substringFromIndex(start)
                           : self->substringWithRange({start, end - start});
}

}  // namespace NSString_SearchComparision

inline namespace NSString_Regex {

Ref<NSString> ov_matchedStringForRegex_groupAtIndex_options(const Ref<NSString>& self,
                                                            const Ref<NSString>& pattern,
                                                            NSUInteger index, NSUInteger options) {
  const auto match = expressionOf(pattern, options)
                         ->firstMatchInString_options_range(self, 0, {0, self->length()});
  const NSRange range = match ? match->rangeAtIndex(index) : NSRange{NSNotFound, 0};
  return range.length == 0 ? nullptr : self->substringWithRange(range);
}

}  // namespace NSString_Regex

inline namespace NSString_Comparision {

bool isCaseInsensitiveEqual(const Ref<NSString>& self, const Ref<NSString>& other) {
  return self->caseInsensitiveCompare(other) == NSOrderedSame;
}

}  // namespace NSString_Comparision

}  // namespace kestova
