// SPDX-License-Identifier: Apache-2.0
#include "text/UnicodeConversion.h"

#include <gtest/gtest.h>

#include <string>

namespace kestova {
namespace {

using namespace std::string_literals;

TEST(UnicodeConversionTests, ConvertsAroundEachEncodedLength) {
  const struct {
    std::string utf8;
    std::u16string utf16;
  } kRows[] = {
      {"", u""},
      {"\0"s, u"\0"s},
      {"\x7F", u"\u007F"},
      {"\xC2\x80", u"\u0080"},
      {"\xDF\xBF", u"\u07FF"},
      {"\xE0\xA0\x80", u"\u0800"},
      {"\xED\x9F\xBF", u"\uD7FF"},
      {"\xEE\x80\x80", u"\uE000"},
      {"\xEF\xBF\xBD", u"\uFFFD"},
      {"\xEF\xBF\xBF", u"\uFFFF"},
      {"\xF0\x90\x80\x80", u"\U00010000"},
      {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
      {"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z", u"aä€😀z"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(utf16FromUTF8(row.utf8), row.utf16) << row.utf8;
    EXPECT_EQ(utf8FromUTF16(row.utf16), row.utf8) << row.utf8;
  }
}

TEST(UnicodeConversionTests, RefusesWhatIsNotWellFormed) {
  const struct {
    const char* reason;
    std::string utf8;
  } kRows[] = {
      {"trail byte alone", "\x80"},
      {"trail byte after a character", "a\xBF"},
      {"lead byte at the end", "\xC3"},
      {"lead byte before ASCII", "\xC3z"},
      {"lead byte before a lead byte", "\xC3\xC3\xA4"},
      {"overlong NUL in two bytes", "\xC0\x80"},
      {"overlong slash in two bytes", "\xC0\xAF"},
      {"last overlong form in two bytes", "\xC1\xBF"},
      {"overlong form in three bytes", "\xE0\x80\x80"},
      {"last overlong form in three bytes", "\xE0\x9F\xBF"},
      {"overlong form in four bytes", "\xF0\x80\x80\x80"},
      {"last overlong form in four bytes", "\xF0\x8F\xBF\xBF"},
      {"first high surrogate", "\xED\xA0\x80"},
      {"last high surrogate", "\xED\xAF\xBF"},
      {"first low surrogate", "\xED\xB0\x80"},
      {"last low surrogate", "\xED\xBF\xBF"},
      {"surrogate pair, each encoded by itself", "\xED\xA0\xBD\xED\xB8\x80"},
      {"first character above U+10FFFF", "\xF4\x90\x80\x80"},
      {"lead byte F5", "\xF5\x80\x80\x80"},
      {"five bytes", "\xF8\x88\x80\x80\x80"},
      {"six bytes", "\xFC\x84\x80\x80\x80\x80"},
      {"byte FE", "\xFE"},
      {"byte FF", "\xFF"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(utf16FromUTF8(row.utf8), std::nullopt) << row.reason;
    EXPECT_EQ(utf16FromUTF8("before" + row.utf8), std::nullopt) << row.reason;
    EXPECT_EQ(utf16FromUTF8(row.utf8 + "behind"), std::nullopt) << row.reason;
  }
}

TEST(UnicodeConversionTests, RefusesACharacterCutAtAnyLength) {
  for (const std::string character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    for (std::size_t length = 1; length < character.size(); ++length) {
      EXPECT_EQ(utf16FromUTF8(character.substr(0, length)), std::nullopt);
      EXPECT_EQ(withoutCutCharacter("ab" + character.substr(0, length)), "ab");
    }
    EXPECT_EQ(withoutCutCharacter("ab" + character), "ab" + character);
  }
}

TEST(UnicodeConversionTests, RefusesSurrogatesAlone) {
  const std::u16string kRows[] = {{0xD800},         {0xDBFF},         {0xDC00},      {0xDFFF},
                                  {0xDE00, 0xD83D}, {0xD83D, 0xD83D}, {0xD83D, u'a'}};
  for (const auto& row : kRows) {
    EXPECT_EQ(utf8FromUTF16(row), std::nullopt);
    EXPECT_EQ(utf8FromUTF16(u"a" + row + u"z"), std::nullopt);
  }
}

TEST(UnicodeConversionTests, EveryCharacterGoesRound) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    if (character >= 0xD800 && character <= 0xDFFF) {
      continue;
    }
    const std::u16string units =
        character <= 0xFFFF ? std::u16string{static_cast<char16_t>(character)}
                            : std::u16string{static_cast<char16_t>(0xD7C0 + (character >> 10)),
                                             static_cast<char16_t>(0xDC00 + (character & 0x3FF))};
    const auto utf8 = utf8FromUTF16(units);
    ASSERT_TRUE(utf8);
    ASSERT_EQ(utf16FromUTF8(*utf8), units) << static_cast<std::uint32_t>(character);
  }
}

TEST(UnicodeConversionTests, EveryPairOfBytesIsEitherRefusedOrGoesRound) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
      const auto units = utf16FromUTF8(bytes);
      const bool isWellFormed =
          (first < 0x80 && second < 0x80) ||
          (first >= 0xC2 && first <= 0xDF && second >= 0x80 && second <= 0xBF);
      ASSERT_EQ(units.has_value(), isWellFormed) << first << ' ' << second;
      if (units) {
        ASSERT_EQ(utf8FromUTF16(*units), bytes);
      }
    }
  }
}

TEST(UnicodeConversionTests, ForShowingPutsAReplacementInPlace) {
  EXPECT_EQ(displayUTF16FromUTF8("a\xFFz"), u"a\uFFFDz");
  EXPECT_EQ(displayUTF16FromUTF8("\xE2\x82"), u"\uFFFD");
  EXPECT_EQ(displayUTF8FromUTF16(std::u16string{u'a', 0xD800, u'z'}), "a\xEF\xBF\xBDz");
  EXPECT_EQ(displayUTF8FromUTF16(u"ä"), "\xC3\xA4");
}

}  // namespace
}  // namespace kestova
