// SPDX-License-Identifier: Apache-2.0
#include "text/StringEncodings.h"

#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/TextEncoder.h>

#include <gtest/gtest.h>

#include "BothStorages.h"
#include "Bytes.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "Sanitizers.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::dataOf;
using testing::expectException;
using testing::forBothStorages;
using testing::hex;
using testing::RandomRun;

struct Bytes {
  NSUInteger unitsConverted;
  std::string bytes;

  friend bool operator==(const Bytes&, const Bytes&) = default;
};

void PrintTo(const Bytes& bytes, std::ostream* stream) {
  *stream << bytes.unitsConverted << " units as " << ::testing::PrintToString(bytes.bytes);
}

enum class Representation { kInternal, kExternal };

/// All of a string; what is counted without a buffer is asserted to be what is written.
Bytes bytesOf(const Ref<NSString>& string, CFStringEncoding encoding, std::uint8_t lossByte = 0,
              Representation representation = Representation::kInternal) {
  const NSRange all{0, string->length()};
  const bool isExternal = representation == Representation::kExternal;
  NSUInteger size = 0;
  const NSUInteger counted =
      CFStringGetBytes(string, all, encoding, lossByte, isExternal, nullptr, 0, &size);
  std::vector<std::uint8_t> buffer(size);
  NSUInteger used = 0;
  const NSUInteger converted = CFStringGetBytes(string, all, encoding, lossByte, isExternal,
                                                buffer.data(), buffer.size(), &used);
  if (size > 0) {
    EXPECT_EQ(converted, counted);
    EXPECT_EQ(used, size);
  }
  return {counted, std::string(buffer.begin(), buffer.end())};
}

Bytes bytesWithin(const Ref<NSString>& string, CFStringEncoding encoding, NSUInteger room) {
  std::vector<std::uint8_t> buffer(room + 1);
  NSUInteger used = 0;
  const NSUInteger converted = CFStringGetBytes(string, {0, string->length()}, encoding, 0, false,
                                                buffer.data(), room, &used);
  return {converted, std::string(buffer.begin(), buffer.begin() + static_cast<long>(used))};
}

std::optional<std::u16string> textOf(std::string_view bytes, CFStringEncoding encoding,
                                     Representation representation = Representation::kExternal) {
  const auto string =
      CFStringCreateWithBytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                              encoding, representation == Representation::kExternal);
  return string ? std::optional(string->utf16()) : std::nullopt;
}

std::optional<std::u16string> stringOf(std::string_view bytes, NSStringEncoding encoding) {
  const auto string = NSString::initWithBytes_length_encoding(bytes.data(), bytes.size(), encoding);
  return string ? std::optional(string->utf16()) : std::nullopt;
}

std::u16string inUTF16(char32_t c) {
  return c < 0x10000 ? std::u16string{static_cast<char16_t>(c)}
                     : std::u16string{static_cast<char16_t>(0xD7C0 + (c >> 10)),
                                      static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
}

// ---- Numbers and names

TEST(StringEncodingsTests, TheStringClassesNumberSomeEncodingsByThemselves) {
  const struct {
    CFStringEncoding number;
    NSStringEncoding ofStrings;
  } kRows[] = {
      {kCFStringEncodingASCII, 1},
      {kCFStringEncodingEUC_JP, 3},
      {kCFStringEncodingUTF8, 4},
      {kCFStringEncodingISOLatin1, 5},
      {kCFStringEncodingShiftJIS, 8},
      {kCFStringEncodingISOLatin2, 9},
      {kCFStringEncodingUnicode, 10},
      {kCFStringEncodingWindowsCyrillic, 11},
      {kCFStringEncodingWindowsLatin1, 12},
      {kCFStringEncodingWindowsGreek, 13},
      {kCFStringEncodingWindowsLatin5, 14},
      {kCFStringEncodingWindowsLatin2, 15},
      {kCFStringEncodingISO_2022_JP, 21},
      {kCFStringEncodingMacRoman, 30},
      {kCFStringEncodingUTF16BE, 0x90000100},
      {kCFStringEncodingUTF16LE, 0x94000100},
      {kCFStringEncodingUTF32, 0x8C000100},
      {kCFStringEncodingUTF32BE, 0x98000100},
      {kCFStringEncodingUTF32LE, 0x9C000100},
      {kCFStringEncodingBig5, 0x80000A03},
      {kCFStringEncodingGB_18030_2000, 0x80000632},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(row.number), row.ofStrings);
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(row.ofStrings), row.number);
  }
}

TEST(StringEncodingsTests, WhatIsNoNumberIsNoEncoding) {
  EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(kCFStringEncodingInvalidId), 0U);
  for (const NSStringEncoding none : {0ULL, 2ULL, 99ULL, 0xFFFFFFFFULL, 0x100000004ULL}) {
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(none), kCFStringEncodingInvalidId) << none;
  }
}

TEST(StringEncodingsTests, EveryAvailableEncodingHasNamesThatLeadBackToIt) {
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    EXPECT_TRUE(CFStringIsEncodingAvailable(encoding));
    const auto name = CFStringConvertEncodingToIANACharSetName(encoding);
    ASSERT_NE(name, nullptr) << encoding;
    EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(name), encoding) << name;
    ASSERT_NE(CFStringGetNameOfEncoding(encoding), nullptr);
    EXPECT_GT(CFStringGetNameOfEncoding(encoding)->length(), 3U);
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(
                  CFStringConvertEncodingToNSStringEncoding(encoding)),
              encoding);
  }
}

TEST(StringEncodingsTests, EveryEncodingThatIsKnownIsAvailable) {
  EXPECT_EQ(CFStringGetListOfAvailableEncodings().size(), 78U);
}

TEST(StringEncodingsTests, EncodingsGoByManyNames) {
  const struct {
    const char* name;
    CFStringEncoding encoding;
  } kRows[] = {
      {"utf-8", kCFStringEncodingUTF8},
      {"UTF8", kCFStringEncodingUTF8},
      {"UTF-16", kCFStringEncodingUTF16},
      {"utf-16be", kCFStringEncodingUTF16BE},
      {"macintosh", kCFStringEncodingMacRoman},
      {"x-mac-roman", kCFStringEncodingMacRoman},
      {"latin1", kCFStringEncodingISOLatin1},
      {"ISO-8859-1", kCFStringEncodingISOLatin1},
      {"ISO_8859-15", kCFStringEncodingISOLatin9},
      {"cp1252", kCFStringEncodingWindowsLatin1},
      {"ascii", kCFStringEncodingASCII},
      {"sjis", kCFStringEncodingShiftJIS},
      {"windows-31j", kCFStringEncodingDOSJapanese},
      {"eucJP", kCFStringEncodingEUC_JP},
      {"GB18030", kCFStringEncodingGB_18030_2000},
      {"gbk", kCFStringEncodingGBK_95},
      {"cp437", kCFStringEncodingDOSLatinUS},
      {"koi8-r", kCFStringEncodingKOI8_R},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(row.name), row.encoding) << row.name;
  }
}

TEST(StringEncodingsTests, UnknownNamesAreNoEncoding) {
  for (const Ref<NSString>& name :
       {Ref<NSString>(), Ref<NSString>(""), Ref<NSString>("utf-9"), Ref<NSString>("ütf-8"),
        Ref<NSString>("utf-8\0"sv), Ref<NSString>(std::string(100000, 'x'))}) {
    EXPECT_EQ(CFStringConvertIANACharSetNameToEncoding(name), kCFStringEncodingInvalidId);
  }
}

TEST(StringEncodingsTests, UnknownEncodingsConvertNothing) {
  for (const CFStringEncoding none :
       {CFStringEncoding{kCFStringEncodingInvalidId}, CFStringEncoding{0x0B01}}) {
    EXPECT_FALSE(CFStringIsEncodingAvailable(none));
    EXPECT_EQ(CFStringConvertEncodingToIANACharSetName(none), nullptr);
    EXPECT_EQ(CFStringGetNameOfEncoding(none), nullptr);
    EXPECT_EQ(bytesOf("a", none), (Bytes{0, ""}));
    EXPECT_EQ(textOf("a", none), std::nullopt);
  }
  EXPECT_EQ(Ref<NSString>("")->dataUsingEncoding(2), nullptr);
  EXPECT_FALSE(Ref<NSString>("")->canBeConvertedToEncoding(2));
}

// ---- Converting, literally

TEST(StringEncodingsTests, TextIsLaidOutAsEachEncodingHasIt) {
  const struct {
    CFStringEncoding encoding;
    std::u16string text;
    std::string bytes;
  } kRows[] = {
      {kCFStringEncodingMacRoman, u"Äé€Ωﬁ\uF8FF", "\x80\x8E\xDB\xBD\xDE\xF0"},
      {kCFStringEncodingWindowsLatin1, u"ä€„", "\xE4\x80\x84"},
      {kCFStringEncodingISOLatin1, u"äÿ", "\xE4\xFF"},
      {kCFStringEncodingISOLatin9, u"€", "\xA4"},
      {kCFStringEncodingASCII, u"az", "az"},
      {kCFStringEncodingUTF8, u"ä€😀", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {kCFStringEncodingUnicode, u"A😀", "A\0\x3D\xD8\x00\xDE"s},
      {kCFStringEncodingUTF16LE, u"A😀", "A\0\x3D\xD8\x00\xDE"s},
      {kCFStringEncodingUTF16BE, u"A😀", "\0A\xD8\x3D\xDE\x00"s},
      {kCFStringEncodingUTF32, u"A😀", "A\0\0\0\x00\xF6\x01\x00"s},
      {kCFStringEncodingUTF32LE, u"A😀", "A\0\0\0\x00\xF6\x01\x00"s},
      {kCFStringEncodingUTF32BE, u"A😀", "\0\0\0A\x00\x01\xF6\x00"s},
      {kCFStringEncodingUTF7, u"A\u2262\u0391.", "A+ImIDkQ."},
      {kCFStringEncodingShiftJIS, u"aあｱ", "a\x82\xA0\xB1"},
      {kCFStringEncodingEUC_JP, u"aあ", "a\xA4\xA2"},
      {kCFStringEncodingISO_2022_JP, u"aあb", "a\x1B$B$\"\x1B(Bb"},
      {kCFStringEncodingISO_2022_JP, u"あ", "\x1B$B$\"\x1B(B"},
      {kCFStringEncodingGB_18030_2000, u"中€😀", "\xD6\xD0\xA2\xE3\x94\x39\xFC\x36"},
      {kCFStringEncodingBig5, u"中", "\xA4\xA4"},
      {kCFStringEncodingEUC_KR, u"한", "\xC7\xD1"},
      {kCFStringEncodingKOI8_R, u"Жы", "\xF6\xD9"},
      {kCFStringEncodingWindowsCyrillic, u"Жы", "\xC6\xFB"},
      {kCFStringEncodingDOSLatinUS, u"é\x1A\x1C\x7F", "\x82\x1A\x1C\x7F"},
      {kCFStringEncodingEBCDIC_CP037, u"A1", "\xC1\xF1"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(row.encoding)->displayUTF8());
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(bytesOf(text, row.encoding), (Bytes{row.text.size(), row.bytes}));
    });
    EXPECT_EQ(textOf(row.bytes, row.encoding), row.text);
  }
}

TEST(StringEncodingsTests, EndsAtTheFirstCharacterThatTheEncodingCannotHold) {
  forBothStorages(u"AB\u4E2DC", [](const Ref<NSString>& text) {
    EXPECT_EQ(bytesOf(text, kCFStringEncodingMacRoman), (Bytes{2, "AB"}));
    EXPECT_EQ(bytesOf(text, kCFStringEncodingASCII), (Bytes{2, "AB"}));
    EXPECT_EQ(bytesOf(text, kCFStringEncodingShiftJIS), (Bytes{4, "AB\x92\x86\x43"}));
  });
  EXPECT_EQ(bytesOf(u"\u4E2D", kCFStringEncodingMacRoman), (Bytes{0, ""}));
  EXPECT_EQ(bytesOf(u"a😀", kCFStringEncodingISOLatin1), (Bytes{1, "a"}));
}

TEST(StringEncodingsTests, NeverDropsWhatIsNotToBeSeen) {
  for (const char16_t invisible :
       {u'\u00AD', u'\u200D', u'\u200B', u'\uFE0F', u'\u2060', u'\u034F'}) {
    const std::u16string text = {u'a', invisible, u'b'};
    EXPECT_EQ(bytesOf(text, kCFStringEncodingASCII), (Bytes{1, "a"}));
    EXPECT_EQ(bytesOf(text, kCFStringEncodingShiftJIS), (Bytes{1, "a"}));
    EXPECT_EQ(bytesOf(text, kCFStringEncodingISOLatin2, '?'),
              (invisible == u'\u00AD' ? Bytes{3, "a\xAD\x62"} : Bytes{3, "a?b"}));
  }
}

TEST(StringEncodingsTests, RefusesPrivateCharactersThatWouldComeBackAsOthers) {
  EXPECT_EQ(bytesOf(u"a\uF86Fb", kCFStringEncodingShiftJIS), (Bytes{1, "a"}));
  EXPECT_EQ(bytesOf(u"a\uF86Fb", kCFStringEncodingShiftJIS, '?'), (Bytes{3, "a?b"}));
  EXPECT_EQ(bytesOf(u"a\uE000", kCFStringEncodingBig5_HKSCS_1999), (Bytes{1, "a"}));
  EXPECT_EQ(bytesOf(u"a\uE000", kCFStringEncodingGBK_95).unitsConverted, 2U);
  EXPECT_EQ(bytesOf(u"a\uE000\U000F0000b", kCFStringEncodingGB_18030_2000).unitsConverted, 5U);
  EXPECT_EQ(bytesOf(u"\uF8FF", kCFStringEncodingMacRoman), (Bytes{1, "\xF0"}));
}

TEST(StringEncodingsTests, ASurrogateAloneIsACharacterOfNoEncoding) {
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    for (const char16_t alone : {u'\xD83D', u'\xDE00'}) {
      const std::u16string behind = {u'a', alone, u'b'};
      const std::u16string last = {u'a', alone};
      EXPECT_EQ(bytesOf(behind, encoding).unitsConverted, 1U);
      EXPECT_EQ(bytesOf(last, encoding).unitsConverted, 1U);
      EXPECT_EQ(bytesOf(behind, encoding, '?'), (Bytes{3, bytesOf(u"a?b", encoding).bytes}));
    }
  }
}

TEST(StringEncodingsTests, PutsTheLossByteForEachCharacterThatIsRefused) {
  EXPECT_EQ(bytesOf(u"a中😀\xD800z", kCFStringEncodingMacRoman, '?'), (Bytes{6, "a???z"}));
  EXPECT_EQ(bytesOf(u"中", kCFStringEncodingMacRoman, '_'), (Bytes{1, "_"}));
  EXPECT_EQ(bytesOf(u"あ\U0001F600あ", kCFStringEncodingISO_2022_JP, '?'),
            (Bytes{4, "\x1B$B$\"\x1B(B?\x1B$B$\"\x1B(B"}));
}

TEST(StringEncodingsTests, WritesWhatFitsIntoTheBufferAndNeverPartOfACharacter) {
  for (const CFStringEncoding encoding :
       {kCFStringEncodingUTF8, kCFStringEncodingUTF16BE, kCFStringEncodingUTF32LE,
        kCFStringEncodingShiftJIS, kCFStringEncodingISO_2022_JP, kCFStringEncodingISO_2022_KR,
        kCFStringEncodingGB_18030_2000, kCFStringEncodingUTF7}) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    const bool isKorean = encoding == kCFStringEncodingISO_2022_KR;
    const std::u16string text = isKorean ? u"a한글b국" : u"aあいbア";
    const Bytes all = bytesOf(text, encoding);
    ASSERT_EQ(all.unitsConverted, text.size());
    for (NSUInteger room = 0; room <= all.bytes.size() + 3; ++room) {
      const Bytes fitting = bytesWithin(text, encoding, room);
      ASSERT_LE(fitting.bytes.size(), room);
      const auto head = text.substr(0, fitting.unitsConverted);
      EXPECT_EQ(fitting, bytesOf(head, encoding)) << room;
      if (fitting.unitsConverted < text.size()) {
        const auto longer = text.substr(0, fitting.unitsConverted + 1);
        EXPECT_GT(bytesOf(longer, encoding).bytes.size(), room);
      }
    }
  }
}

TEST(StringEncodingsTests, LongTextIsConvertedAsShortTextIs) {
  RandomRun random;
  for (const CFStringEncoding encoding :
       {kCFStringEncodingUTF8, kCFStringEncodingUTF16BE, kCFStringEncodingMacRoman,
        kCFStringEncodingShiftJIS, kCFStringEncodingISO_2022_JP}) {
    std::u16string text;
    std::string expected;
    const bool isJapanese = encoding >= kCFStringEncodingISO_2022_JP && encoding < 0x10000;
    for (int i = 0; i < 5000; ++i) {
      const std::u16string line = isJapanese && random.below(2) == 0 ? u"かな\n" : u"line\n";
      text += line;
      expected += bytesOf(line, encoding).bytes;
    }
    forBothStorages(text, [&](const Ref<NSString>& string) {
      EXPECT_TRUE((bytesOf(string, encoding) == Bytes{text.size(), expected}));
      const NSUInteger room = random.below(expected.size());
      const Bytes fitting = bytesWithin(string, encoding, room);
      EXPECT_TRUE(fitting == bytesOf(text.substr(0, fitting.unitsConverted), encoding));
    });
    EXPECT_TRUE(textOf(expected, encoding) == text);
  }
}

TEST(StringEncodingsTests, MegabytesAreConvertedAtOnce) {
  std::string bytes(5'000'000, 'x');
  std::u16string text(5'000'000, u'x');
  for (std::size_t place = 0; place < bytes.size(); place += 999) {
    bytes[place] = '\x80';
    text[place] = u'Ä';
  }
  EXPECT_TRUE(textOf(bytes, kCFStringEncodingMacRoman) == text);
  EXPECT_TRUE(bytesOf(text, kCFStringEncodingMacRoman).bytes == bytes);
}

TEST(StringEncodingsTests, ManyLossesInALongTextAreEachReplaced) {
  EXPECT_EQ(bytesOf(std::u16string(100'000, u'中'), kCFStringEncodingASCII, '?'),
            (Bytes{100'000, std::string(100'000, '?')}));
}

TEST(StringEncodingsTests, OnlyTheRangeIsConverted) {
  forBothStorages(u"abcdef", [](const Ref<NSString>& text) {
    std::array<std::uint8_t, 4> buffer{};
    EXPECT_EQ(
        CFStringGetBytes(text, {2, 3}, kCFStringEncodingUTF8, 0, false, buffer.data(), 4, nullptr),
        3U);
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), "cde\0"s);
    expectException(NSRangeException, [&] {
      CFStringGetBytes(text, {4, 3}, kCFStringEncodingUTF8, 0, false, nullptr, 0, nullptr);
    });
  });
  expectException(NSInvalidArgumentException, [] {
    CFStringGetBytes(nullptr, {}, kCFStringEncodingUTF8, 0, false, nullptr, 0, nullptr);
  });
}

// ---- Byte-order marks

TEST(StringEncodingsTests, TheExternalRepresentationTellsTheByteOrderWhereTheEncodingDoesNot) {
  const auto external = [](const Ref<NSString>& text, CFStringEncoding encoding) {
    return bytesOf(text, encoding, 0, Representation::kExternal).bytes;
  };
  EXPECT_EQ(external("A", kCFStringEncodingUnicode), "\xFF\xFE\x41\0"s);
  EXPECT_EQ(external("A", kCFStringEncodingUTF32), "\xFF\xFE\0\0\x41\0\0\0"s);
  EXPECT_EQ(external("", kCFStringEncodingUnicode), "\xFF\xFE"s);
  EXPECT_EQ(external("A", kCFStringEncodingUTF16LE), "A\0"s);
  EXPECT_EQ(external("A", kCFStringEncodingUTF8), "A");
}

TEST(StringEncodingsTests, TheByteOrderMarkOfAnExternalRepresentationIsNoPartOfTheText) {
  const struct {
    CFStringEncoding encoding;
    std::string bytes;
    std::u16string external;
    std::u16string internal;
  } kRows[] = {
      {kCFStringEncodingUTF8, "\xEF\xBB\xBFz", u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF16, "\xFF\xFEz\0"s, u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF16, "\xFE\xFF\0z"s, u"z", u"\uFFFE\u7A00"},
      {kCFStringEncodingUTF16, "z\0"s, u"z", u"z"},
      {kCFStringEncodingUTF16LE, "\xFF\xFEz\0"s, u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF16LE, "\xFE\xFFz\0"s, u"\uFFFEz", u"\uFFFEz"},
      {kCFStringEncodingUTF16BE, "\xFE\xFF\0z"s, u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF32, "\xFF\xFE\0\0z\0\0\0"s, u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF32LE, "\xFF\xFE\0\0z\0\0\0"s, u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF32BE, "\0\0\xFE\xFF\0\0\0z"s, u"z", u"\uFEFFz"},
      {kCFStringEncodingUTF8, "\xEF\xBB\xBF", u"", u"\uFEFF"},
      {kCFStringEncodingUTF8, "\xEF\xBB\xBF\xEF\xBB\xBF", u"\uFEFF", u"\uFEFF\uFEFF"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(textOf(row.bytes, row.encoding), row.external);
    EXPECT_EQ(textOf(row.bytes, row.encoding, Representation::kInternal), row.internal);
  }
  EXPECT_EQ(textOf("\0\0\xFE\xFF\0\0\0z"s, kCFStringEncodingUTF32), u"z");
  EXPECT_EQ(textOf("\0\0\xFE\xFF\0\0\0z"s, kCFStringEncodingUTF32, Representation::kInternal),
            std::nullopt);
}

TEST(StringEncodingsTests, StringsKeepTheMarkOfAnEncodingThatStatesItsOrder) {
  EXPECT_EQ(stringOf("\xFF\xFEz\0"s, NSUTF16StringEncoding), u"z");
  EXPECT_EQ(stringOf("\xFE\xFF\0z"s, NSUTF16StringEncoding), u"z");
  EXPECT_EQ(stringOf("\xFF\xFEz\0"s, NSUTF16LittleEndianStringEncoding), u"\uFEFFz");
  EXPECT_EQ(stringOf("\xFE\xFF\0z"s, NSUTF16BigEndianStringEncoding), u"\uFEFFz");
  EXPECT_EQ(stringOf("\0\0\xFE\xFF\0\0\0z"s, NSUTF32StringEncoding), u"z");
  EXPECT_EQ(stringOf("\0\0\xFE\xFF\0\0\0z"s, NSUTF32BigEndianStringEncoding), u"\uFEFFz");
  EXPECT_EQ(stringOf("\xEF\xBB\xBFz", NSUTF8StringEncoding), u"z");
}

TEST(StringEncodingsTests, EveryEncodingHasTheMarkThatItsBytesSay) {
  const struct {
    CFStringEncoding encoding;
    std::string mark;
  } kRows[] = {
      {kCFStringEncodingUTF8, "\xEF\xBB\xBF"},
      {kCFStringEncodingUnicode, "\xFF\xFE"},
      {kCFStringEncodingUTF16BE, "\xFE\xFF"},
      {kCFStringEncodingUTF16LE, "\xFF\xFE"},
      {kCFStringEncodingUTF32, "\xFF\xFE\0\0"s},
      {kCFStringEncodingUTF32BE, "\0\0\xFE\xFF"s},
      {kCFStringEncodingUTF32LE, "\xFF\xFE\0\0"s},
      {kCFStringEncodingMacRoman, ""},
      {kCFStringEncodingUTF7, ""},
      {kCFStringEncodingInvalidId, ""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(byteOrderMarkOfEncoding(row.encoding), row.mark);
  }
}

// ---- Malformed bytes

TEST(StringEncodingsTests, RefusesMalformedBytes) {
  const struct {
    const char* reason;
    CFStringEncoding encoding;
    std::string bytes;
  } kRows[] = {
      {"trail byte alone", kCFStringEncodingUTF8, "a\x80"},
      {"cut character", kCFStringEncodingUTF8, "a\xE2\x82"},
      {"overlong", kCFStringEncodingUTF8, "\xC0\x80"},
      {"surrogate", kCFStringEncodingUTF8, "\xED\xA0\x80"},
      {"odd length", kCFStringEncodingUTF16LE, "a\0b"s},
      {"first half alone", kCFStringEncodingUTF16LE, "\x3D\xD8"},
      {"first half before a letter", kCFStringEncodingUTF16BE, "\xD8\x3D\0z"s},
      {"second half alone", kCFStringEncodingUTF16BE, "\xDE\x00"s},
      {"no multiple of four", kCFStringEncodingUTF32LE, "a\0\0\0b\0\0"s},
      {"above U+10FFFF", kCFStringEncodingUTF32BE, "\0\x11\0\0"s},
      {"surrogate", kCFStringEncodingUTF32BE, "\0\0\xD8\0"s},
      {"beyond ASCII", kCFStringEncodingASCII, "a\x80"},
      {"lead byte at the end", kCFStringEncodingShiftJIS, "a\x82"},
      {"lead byte at the end", kCFStringEncodingEUC_JP, "\xA4"},
      {"undefined", kCFStringEncodingISOLatinGreek, "\xAE"},
      {"cut character", kCFStringEncodingGB_18030_2000, "\x94\x39\xFC"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(textOf(row.bytes, row.encoding), std::nullopt) << row.reason;
    EXPECT_EQ(stringOf(row.bytes, CFStringConvertEncodingToNSStringEncoding(row.encoding)),
              std::nullopt)
        << row.reason;
  }
}

TEST(StringEncodingsTests, NoBytesAreTheEmptyTextInEveryEncoding) {
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    EXPECT_EQ(textOf("", encoding), u"");
    EXPECT_EQ(CFStringCreateWithBytes(nullptr, 0, encoding, false), "");
  }
  EXPECT_EQ(NSString::initWithData_encoding(nullptr, NSUTF8StringEncoding), nullptr);
  EXPECT_EQ(NSString::initWithData_encoding(NSData::data(), NSUTF8StringEncoding), "");
}

// ---- All of it

TEST(StringEncodingsTests, AllOfUnicodeGoesRoundThroughEveryUnicodeEncoding) {
  std::u16string all;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    all += c >= 0xD800 && c <= 0xDFFF ? u"" : inUTF16(c);
  }
  // Newer versions of ICU know the GB18030 of 2022, which has no place for some of private use.
  std::u16string withoutPrivateUse = all;
  std::erase_if(withoutPrivateUse, [](char16_t unit) { return unit >= 0xE000 && unit <= 0xF8FF; });
  for (const CFStringEncoding encoding :
       {kCFStringEncodingUTF8, kCFStringEncodingUTF16, kCFStringEncodingUTF16BE,
        kCFStringEncodingUTF16LE, kCFStringEncodingUTF32, kCFStringEncodingUTF32BE,
        kCFStringEncodingUTF32LE, kCFStringEncodingGB_18030_2000, kCFStringEncodingUTF7}) {
    const auto& text = encoding == kCFStringEncodingGB_18030_2000 ? withoutPrivateUse : all;
    const Bytes bytes = bytesOf(NSString::stringWithUTF16Storage(text), encoding);
    EXPECT_EQ(bytes.unitsConverted, text.size());
    EXPECT_TRUE(textOf(bytes.bytes, encoding, Representation::kInternal) == text) << encoding;
  }
}

TEST(StringEncodingsTests, AllBytesGoRoundThroughMacRoman) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    all += static_cast<char>(byte);
  }
  const auto text = textOf(all, kCFStringEncodingMacRoman);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->size(), 256U);
  EXPECT_EQ(bytesOf(*text, kCFStringEncodingMacRoman), (Bytes{256, all}));
}

TEST(StringEncodingsTests, EveryCharacterThatIsEncodedComesBackAsItWas) {
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    auto encoder = TextEncoder::encoderForEncoding(encoding);
    std::array<char, TextEncoder::kRoom> buffer;
    std::u16string accepted;
    std::string bytes;
    const auto stepAfter = [](char32_t c) -> char32_t {
      const bool isDense = c < 0x3000 || (c >= 0xE000 && c < 0xFFFF);
      return c < 0x80 ? 1 : testing::caseStride * (isDense ? 1 : 7);
    };
    for (char32_t c = 0; c <= 0x10FFFF; c += stepAfter(c)) {
      const std::u16string text = inUTF16(c);
      const auto piece = encoder->encode(text, buffer, TextInput::kEnds);
      accepted += piece.end == ConversionEnd::kInputUsed ? text : u"";
      bytes.append(buffer.data(), piece.bytesWritten);
    }
    bytes.append(buffer.data(), encoder->close(buffer));
    EXPECT_GE(accepted.size(), 128U);
    EXPECT_TRUE(textOf(bytes, encoding, Representation::kInternal) == accepted);
  }
}

TEST(StringEncodingsTests, EncodingsThatExtendASCIIHaveEveryCharacterOfItAsItsByte) {
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    if (!extendsASCII(encoding)) {
      continue;
    }
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    for (char c = 0; c >= 0 && c < 127; ++c) {
      const std::u16string unit(1, static_cast<char16_t>(c));
      EXPECT_EQ(bytesOf(NSString::stringWithUTF16Storage(unit), encoding),
                (Bytes{1, std::string(1, c)}));
      EXPECT_EQ(textOf("\xC3" + std::string(1, c), kCFStringEncodingISOLatin1), u"\u00C3" + unit);
      // Behind a byte that is no ASCII, so that the tables are asked.
      const auto other = bytesOf(u"\u00B0", encoding).bytes;
      if (!other.empty()) {
        EXPECT_EQ(textOf(other + c, encoding), u"\u00B0" + unit);
      }
    }
  }
}

// ---- The strings' own operations

TEST(StringEncodingsTests, StringsGiveTheirDataOrNone) {
  forBothStorages(u"naïve", [](const Ref<NSString>& text) {
    EXPECT_EQ(hex(text->dataUsingEncoding(NSWindowsCP1252StringEncoding)), "6e 61 ef 76 65");
    EXPECT_EQ(text->dataUsingEncoding(NSASCIIStringEncoding), nullptr);
    EXPECT_EQ(hex(text->dataUsingEncoding_allowLossyConversion(NSASCIIStringEncoding, true)),
              "6e 61 3f 76 65");
    EXPECT_EQ(hex(text->dataUsingEncoding(NSUTF8StringEncoding)), "6e 61 c3 af 76 65");
    EXPECT_FALSE(text->canBeConvertedToEncoding(NSASCIIStringEncoding));
    EXPECT_TRUE(text->canBeConvertedToEncoding(NSMacOSRomanStringEncoding));
    EXPECT_EQ(text->lengthOfBytesUsingEncoding(NSUTF8StringEncoding), 6U);
    EXPECT_EQ(text->lengthOfBytesUsingEncoding(NSUTF16StringEncoding), 10U);
    EXPECT_EQ(text->lengthOfBytesUsingEncoding(NSASCIIStringEncoding), 0U);
  });
  EXPECT_EQ(hex(Ref<NSString>("A")->dataUsingEncoding(NSUnicodeStringEncoding)), "ff fe 41 00");
  EXPECT_EQ(hex(Ref<NSString>("")->dataUsingEncoding(NSUnicodeStringEncoding)), "ff fe");
  EXPECT_EQ(hex(Ref<NSString>("")->dataUsingEncoding(NSUTF8StringEncoding)), "");
}

TEST(StringEncodingsTests, ASCIIComesIntoEightBitStorageFromEveryEncoding) {
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    const auto bytes = bytesOf("plain text", encoding).bytes;
    const auto text = NSString::initWithBytes_length_encoding(
        bytes.data(), bytes.size(), CFStringConvertEncodingToNSStringEncoding(encoding));
    EXPECT_EQ(text, "plain text");
    EXPECT_TRUE(text->isEightBit());
  }
}

}  // namespace
}  // namespace kestova
