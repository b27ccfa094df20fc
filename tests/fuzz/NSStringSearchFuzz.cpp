// SPDX-License-Identifier: Apache-2.0
// Any text searched for any other with any options: a match lies in the range and is the same to a
// comparison, all ways of searching agree, and replacing puts back what was there. The first bytes
// choose options, range and storage; of the others, one below 0x80 is a unit of its own and any
// other one makes a unit with the next.
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/StringMatches.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace kestova;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

struct Choices {
  std::uint16_t options = 0;
  std::uint8_t start = 0;
  std::uint8_t end = 0;
  std::uint8_t wantedLength = 0;
  std::uint8_t storages = 0;
};

std::u16string unitsOf(const std::uint8_t* bytes, const std::uint8_t* end) {
  std::u16string units;
  while (bytes != end) {
    const unsigned first = *bytes++;
    const bool isPair = first >= 0x80 && bytes != end;
    units.push_back(
        static_cast<char16_t>(isPair ? (first & 0x7FU) << 8 | *bytes++ : first & 0x7FU));
  }
  return units;
}

Ref<NSString> stringOf(const std::u16string& units, bool isWide) {
  return isWide ? NSString::stringWithUTF16Storage(units) : Ref<NSString>(units);
}

constexpr NSUInteger kDirections = NSBackwardsSearch | NSAnchoredSearch;

void checkMatch(const Ref<NSString>& text, const Ref<NSString>& wanted, NSUInteger options,
                NSRange range) {
  const NSRange match = text->rangeOfString_options_range(wanted, options, range);
  if (match.location == NSNotFound) {
    require(
        (options & kDirections) != 0 ||
        text->rangeOfString_options_range(wanted, options | NSBackwardsSearch, range).location ==
            NSNotFound);
    return;
  }
  require(match.location >= range.location && NSMaxRange(match) <= NSMaxRange(range));
  require(match.length > 0);
  const NSUInteger comparing = options & ~(kDirections | NSNumericSearch | NSForcedOrderingSearch);
  require(text->compare_options_range(wanted, comparing, match) == NSOrderedSame);
  require(text->substringWithRange(match)->rangeOfString_options(wanted, options).location == 0);
}

void checkOrder(const Ref<NSString>& a, const Ref<NSString>& b, NSUInteger options) {
  const auto order = a->compare_options(b, options);
  require(b->compare_options(a, options) == -order);
  const auto prefix = a->commonPrefixWithString_options(b, options);
  require(prefix->length() <= a->length());
  require(a->hasPrefix(prefix));
  (void)a->isCaseInsensitiveLike(b);
}

void checkMatches(const Ref<NSString>& text, const Ref<NSString>& wanted, NSUInteger options,
                  NSRange range) {
  NSUInteger count = 0;
  NSUInteger end = range.location;
  visitMatches(text, wanted, options & ~NSUInteger{NSBackwardsSearch}, range,
               SearchGoesOn::behindTheMatch, [&](NSRange match) {
                 require(match.location >= end);
                 end = NSMaxRange(match);
                 return ++count > 0;
               });
  const auto changed = NSMutableString::stringWithString(text);
  require(changed->replaceOccurrencesOfString_withString_options_range(
              wanted, "", options & ~NSUInteger{NSBackwardsSearch}, range) == count);
  require(changed->length() <= text->length());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Choices choices;
  if (size < sizeof choices || size > 4096) {
    return 0;
  }
  std::memcpy(&choices, bytes, sizeof choices);
  const auto units = unitsOf(bytes + sizeof choices, bytes + size);
  const auto split = std::min<std::size_t>(choices.wantedLength, units.size());
  const auto wanted = stringOf(units.substr(0, split), (choices.storages & 1) != 0);
  const auto text = stringOf(units.substr(split), (choices.storages & 2) != 0);
  const NSUInteger start = std::min<NSUInteger>(choices.start, text->length());
  const NSRange range{
      start, text->length() - start - std::min<NSUInteger>(choices.end, text->length() - start)};
  const NSUInteger options = choices.options & 0x3FFU;
  checkMatch(text, wanted, options, range);
  checkMatches(text, wanted, options, range);
  checkOrder(text, wanted, options);
  return 0;
}
