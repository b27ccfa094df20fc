// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/StringMatches.h>
#include <KestovaPlatform/UTF8.h>

#include "text/MemberSearch.h"
#include "text/PatternSearch.h"
#include "text/TextStorage.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <type_traits>
#include <utility>
#include <vector>

namespace kestova {
namespace {

/// Where one text stands in a range of another, from front to back: as the matches are found from
/// the front or, with NSBackwardsSearch, from the back.
std::vector<NSRange> matchesIn(const Ref<NSString>& text, NSRange range,
                               const Ref<NSString>& wanted, NSUInteger options) {
  const bool fromBack = (options & NSBackwardsSearch) != 0;
  std::vector<NSRange> matches;
  visitMatches(text, wanted, options, range,
               fromBack ? SearchGoesOn::beforeTheMatch : SearchGoesOn::behindTheMatch,
               [&](NSRange match) {
                 matches.push_back(match);
                 return true;
               });
  if (fromBack) {
    std::reverse(matches.begin(), matches.end());
  }
  return matches;
}

/// The pieces between marks, which lie in the text in order without overlapping.
template <class Unit>
Ref<NSArray> piecesBetween(std::basic_string_view<Unit> units, const std::vector<NSRange>& marks) {
  const auto pieces = NSMutableArray::array();
  std::size_t start = 0;
  for (const NSRange mark : marks) {
    pieces->addObject(stringOf(units.substr(start, mark.location - start)));
    start = NSMaxRange(mark);
  }
  pieces->addObject(stringOf(units.substr(start)));
  return pieces;
}

template <class Unit>
std::vector<NSRange> membersIn(std::basic_string_view<Unit> units, const NSCharacterSet& set) {
  std::vector<NSRange> members;
  for (std::size_t index = 0; (index = findMember(units, index, set)) < units.size();) {
    const std::size_t start = index;
    nextCharacter(units, index);
    members.push_back({start, index - start});
  }
  return members;
}

template <class Unit>
std::basic_string_view<Unit> trimmed(std::basic_string_view<Unit> units,
                                     const NSCharacterSet& set) {
  units.remove_prefix(skipMembers(units, 0, set));
  for (NSRange last; (last = memberUpTo(units, units.size(), set)) != kNoMember;) {
    units.remove_suffix(last.length);
  }
  return units;
}

TextStorage narrowed(std::string ascii) { return ascii; }
TextStorage narrowed(std::u16string units) {
  if (isASCII(units)) {
    return std::string(units.begin(), units.end());
  }
  return units;
}

template <class Unit, class Other>
TextStorage replaced(std::basic_string_view<Unit> units, const std::vector<NSRange>& matches,
                     std::basic_string_view<Other> other) {
  std::basic_string<std::conditional_t<sizeof(Unit) < sizeof(Other), Other, Unit>> result;
  result.reserve(units.size());
  const auto append = [&](auto view) { result.append(view.begin(), view.end()); };
  std::size_t start = 0;
  for (const NSRange match : matches) {
    append(units.substr(start, match.location - start));
    append(other);
    start = NSMaxRange(match);
  }
  append(units.substr(start));
  return narrowed(std::move(result));
}

/// The text with another one in place of the matches, which lie in it in order without overlapping.
TextStorage withReplaced(const NSString& text, const std::vector<NSRange>& matches,
                         const NSString& replacement) {
  return withBoth(text, replacement,
                  [&](auto units, auto other) { return replaced(units, matches, other); });
}

/// `length` units of a text that repeats itself, from an index on.
template <class Unit>
std::basic_string<Unit> repeated(std::basic_string_view<Unit> units, std::size_t index,
                                 std::size_t length) {
  std::basic_string<Unit> result;
  result.reserve(length);
  result.append(units.substr(index, length));
  while (result.size() < length) {
    result.append(units.substr(0, length - result.size()));
  }
  return result;
}

}  // namespace

Ref<NSArray> NSString::componentsSeparatedByString(const Ref<NSString>& separator) const {
  checkArgument(*this, "componentsSeparatedByString:", separator != nullptr);
  const auto marks = matchesIn(cast<NSString>(self()), {0, length()}, separator, 0);
  return withUnits(*this, [&](auto units) { return piecesBetween(units, marks); });
}

Ref<NSArray> NSString::componentsSeparatedByCharactersInSet(
    const Ref<NSCharacterSet>& separators) const {
  checkArgument(*this, "componentsSeparatedByCharactersInSet:", separators != nullptr);
  return withUnits(*this,
                   [&](auto units) { return piecesBetween(units, membersIn(units, *separators)); });
}

Ref<NSString> NSString::stringByTrimmingCharactersInSet(const Ref<NSCharacterSet>& set) const {
  checkArgument(*this, "stringByTrimmingCharactersInSet:", set != nullptr);
  return withUnits(*this, [&](auto units) {
    const auto middle = trimmed(units, *set);
    return middle.size() == units.size() ? description() : stringOf(middle);
  });
}

Ref<NSString> NSString::stringByReplacingOccurrencesOfString_withString(
    const Ref<NSString>& target, const Ref<NSString>& replacement) const {
  return stringByReplacingOccurrencesOfString_withString_options_range(target, replacement, 0,
                                                                       {0, length()});
}

Ref<NSString> NSString::stringByReplacingOccurrencesOfString_withString_options_range(
    const Ref<NSString>& target, const Ref<NSString>& replacement, NSUInteger options,
    NSRange range) const {
  constexpr auto kOperation = "stringByReplacingOccurrencesOfString:withString:options:range:";
  checkArgument(*this, kOperation, target != nullptr && replacement != nullptr);
  checkRange(*this, kOperation, range, length());
  if ((options & NSRegularExpressionSearch) != 0) {
    const auto result = NSMutableString::stringWithString(cast<NSString>(self()));
    replacePattern(result, target, replacement, options, range);
    return copyOf<NSString>(result);
  }
  const auto matches = matchesIn(cast<NSString>(self()), range, target, options);
  return matches.empty() ? description() : kept(withReplaced(*this, matches, *replacement));
}

Ref<NSString> NSString::stringByReplacingCharactersInRange_withString(
    NSRange range, const Ref<NSString>& replacement) const {
  constexpr auto kOperation = "stringByReplacingCharactersInRange:withString:";
  checkArgument(*this, kOperation, replacement != nullptr);
  checkRange(*this, kOperation, range, length());
  return kept(withReplaced(*this, {range}, *replacement));
}

Ref<NSString> NSString::stringByPaddingToLength_withString_startingAtIndex(
    NSUInteger newLength, const Ref<NSString>& padding, NSUInteger index) const {
  constexpr auto kOperation = "stringByPaddingToLength:withString:startingAtIndex:";
  if (newLength <= length()) {
    return substringToIndex(newLength);
  }
  checkArgument(*this, kOperation, padding != nullptr && padding->length() > 0);
  checkIndex(*this, kOperation, index, padding->length());
  TextStorage padded = storageOf(*this);
  withUnits(*padding, [&](auto units) {
    using View = decltype(units);
    appendUnits(padded, View(repeated(units, index, newLength - length())));
  });
  return kept(std::move(padded));
}

NSUInteger NSMutableString::replaceOccurrencesOfString_withString_options_range(
    const Ref<NSString>& target, const Ref<NSString>& replacement, NSUInteger options,
    NSRange range) {
  constexpr auto kOperation = "replaceOccurrencesOfString:withString:options:range:";
  checkArgument(*this, kOperation, target != nullptr && replacement != nullptr);
  checkRange(*this, kOperation, range, length());
  if ((options & NSRegularExpressionSearch) != 0) {
    return replacePattern(cast<NSMutableString>(self()), target, replacement, options, range);
  }
  const auto matches = matchesIn(cast<NSString>(self()), range, target, options);
  if (!matches.empty()) {
    storage_ = withReplaced(*this, matches, *replacement);
  }
  return matches.size();
}

}  // namespace kestova
