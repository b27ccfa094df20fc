// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "RandomRun.h"

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace kestova::testing {

/// What random texts are made of: letters whose case is odd, marks, ligatures, jamos, kana of both
/// widths, parts of emoji and flags, second spellings of ASCII, halves of surrogate pairs, line
/// ends.
inline constexpr std::u16string_view kOddTexts[] = {
    u"a",      u"A",          u"b",          u"e",          u"\u00E9", u"\u0301", u"\u0308",
    u"\u0323", u"\u00DF",     u"\u1E9E",     u"s",          u"S",      u"\u017F", u"\uFB01",
    u"f",      u"i",          u"I",          u"\u0130",     u"\u0131", u"\u0307", u"K",
    u"\u212A", u"\u212B",     u"\u00E5",     u"\u304C",     u"\u304B", u"\u3099", u"\uFF76",
    u"\uFF9E", u"\uFF21",     u"\u3000",     u" ",          u"👩",      u"\u200D", u"👧",
    u"🇩",      u"🇪",          u"\u03A3",     u"\u03C3",     u"\u03C2", u"\u0345", u"\u03B1",
    u"\u1FB3", u"\uAC00",     u"\uAC01",     u"\u1100",     u"\u1161", u"\u11A8", u"\u0344",
    u";",      u"\u037E",     u"`",          u"\u1FEF",     u"\u00AF", u"0",      u"1",
    u"9",      u"\uFF11",     u"\r",         u"\n",         u"\u0915", u"\u094D", u"\u093F",
    u"\u0E33", u"\U0001D15E", u"\U00011099", u"\U000110BA", u"\u2260", u"\u0338", u"\u0600",
    u"\x00E4"};

/// Up to `limit` of them in a row, or of the first `kinds`, and now and then half a pair.
inline std::u16string oddText(RandomRun& random, std::size_t limit,
                              std::size_t kinds = std::size(kOddTexts)) {
  std::u16string text;
  for (auto left = random.below(limit + 1); left > 0; --left) {
    const auto choice = random.below(kinds + (kinds > 40 ? 2 : 0));
    text += choice < kinds ? std::u16string(kOddTexts[choice])
                           : std::u16string(1, choice == kinds ? u'\xD83D' : u'\xDC69');
  }
  return text;
}

/// The same of the letters "aAbB" and a blank.
inline std::u16string plainText(RandomRun& random, std::size_t limit) {
  std::u16string text(random.below(limit + 1), u' ');
  for (char16_t& unit : text) {
    unit = u"aAbB "[random.below(5)];
  }
  return text;
}

}  // namespace kestova::testing
