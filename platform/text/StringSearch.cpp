// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSString.h>

#include "text/ComposedCharacters.h"
#include "text/LocaleCase.h"
#include "text/MemberSearch.h"
#include "text/PatternSearch.h"
#include "text/TextSearch.h"
#include "text/TextStorage.h"
#include "values/RangeCheck.h"

namespace kestova {
namespace {

constexpr NSRange kNowhere{NSNotFound, 0};

}  // namespace

NSRange NSString::rangeOfString(const Ref<NSString>& other) const {
  checkArgument(*this, "rangeOfString:", other != nullptr);
  return TextSearch(*this, *other, 0).in({0, length()});
}

NSRange NSString::rangeOfString_options(const Ref<NSString>& other, NSUInteger options) const {
  return rangeOfString_options_range(other, options, {0, length()});
}

NSRange NSString::rangeOfString_options_range(const Ref<NSString>& other, NSUInteger options,
                                              NSRange range) const {
  return rangeOfString_options_range_locale(other, options, range, nullptr);
}

NSRange NSString::rangeOfString_options_range_locale(const Ref<NSString>& other, NSUInteger options,
                                                     NSRange range,
                                                     const Ref<NSLocale>& locale) const {
  checkArgument(*this, "rangeOfString:options:range:", other != nullptr);
  checkRange(*this, "rangeOfString:options:range:", range, length());
  return (options & NSRegularExpressionSearch) != 0
             ? rangeOfPattern(cast<NSString>(self()), other, options, range)
             : TextSearch(*this, *other, options, caseRulesOf(locale)).in(range);
}

bool NSString::containsString(const Ref<NSString>& other) const {
  checkArgument(*this, "containsString:", other != nullptr);
  return rangeOfString(other).location != NSNotFound;
}

NSRange NSString::rangeOfCharacterFromSet(const Ref<NSCharacterSet>& set) const {
  return rangeOfCharacterFromSet_options(set, 0);
}

NSRange NSString::rangeOfCharacterFromSet_options(const Ref<NSCharacterSet>& set,
                                                  NSUInteger options) const {
  return rangeOfCharacterFromSet_options_range(set, options, {0, length()});
}

NSRange NSString::rangeOfCharacterFromSet_options_range(const Ref<NSCharacterSet>& set,
                                                        NSUInteger options, NSRange range) const {
  checkArgument(*this, "rangeOfCharacterFromSet:options:range:", set != nullptr);
  checkRange(*this, "rangeOfCharacterFromSet:options:range:", range, length());
  const NSRange found = withUnits(*this, [&](auto units) {
    return memberIn(units.substr(range.location, range.length), *set, searchPlace(options));
  });
  return found == kNowhere ? found : NSRange{range.location + found.location, found.length};
}

NSRange NSString::rangeOfComposedCharacterSequenceAtIndex(NSUInteger index) const {
  checkRange(*this, "rangeOfComposedCharacterSequenceAtIndex:", {index, 1}, length());
  return rangeOfComposedCharacterSequencesForRange({index, 1});
}

NSRange NSString::rangeOfComposedCharacterSequencesForRange(NSRange range) const {
  checkRange(*this, "rangeOfComposedCharacterSequencesForRange:", range, length());
  if (isEightBit()) {
    return range;
  }
  const ComposedCharacters characters({utf16Characters(), length()});
  NSUInteger start = range.location;
  while (!characters.isBoundary(start)) {
    --start;
  }
  NSUInteger end = range.length == 0 ? start : NSMaxRange(range);
  while (!characters.isBoundary(end)) {
    ++end;
  }
  return {start, end - start};
}

}  // namespace kestova
