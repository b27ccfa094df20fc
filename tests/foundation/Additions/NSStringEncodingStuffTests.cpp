// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>

#include <gtest/gtest.h>

#include "BothStorages.h"
#include "Bytes.h"
#include "RandomRun.h"

#include <array>
#include <string>
#include <string_view>

namespace kestova {
namespace {

using namespace std::string_literals;
using testing::dataOf;
using testing::forBothStorages;
using testing::hex;
using testing::RandomRun;

Ref<NSData> dataFrom(const std::string& bytes) {
  return NSData::dataWithBytes_length(bytes.data(), bytes.size());
}

struct Guesses {
  const char* reason;
  std::string bytes;
  CFStringEncoding quick;
  CFStringEncoding full;
};

constexpr auto kNone = kCFStringEncodingInvalidId;
constexpr auto kUTF8 = kCFStringEncodingUTF8;
constexpr auto kMacRoman = kCFStringEncodingMacRoman;
constexpr auto kLittle = kCFStringEncodingUTF16LE;
constexpr auto kBig = kCFStringEncodingUTF16BE;

// Shows: guessStringEncodingForData, quicklyGuessStringEncodingForData
TEST(NSStringEncodingStuffTests, TheGuessGoesByTheMarkAndThenByTrial) {
  const Guesses kRows[] = {
      {"nothing", "", kNone, kUTF8},
      {"one letter", "a", kNone, kUTF8},
      {"one byte beyond ASCII", "\x80", kNone, kMacRoman},
      {"one zero byte", "\0"s, kNone, kUTF8},
      {"two bytes of the mark of UTF-8", "\xEF\xBB", kNone, kMacRoman},
      {"mark of UTF-8", "\xEF\xBB\xBF", kUTF8, kUTF8},
      {"mark of UTF-8 before what is none", "\xEF\xBB\xBF\xFF", kUTF8, kUTF8},
      {"mark of UTF-16, big endian", "\xFE\xFF", kBig, kBig},
      {"mark of UTF-16, little endian", "\xFF\xFE", kLittle, kLittle},
      {"mark of UTF-32, little endian", "\xFF\xFE\0\0\x41\0\0\0"s, kLittle, kLittle},
      {"mark of UTF-32, big endian", "\0\0\xFE\xFF"s, kCFStringEncodingUTF32BE,
       kCFStringEncodingUTF32BE},
      {"three bytes of that mark", "\0\0\xFE"s, kNone, kMacRoman},
      {"the mark of UTF-8 cut by another byte", "\xEF\xBB\xBE", kNone, kUTF8},
      {"UTF-16, little endian", "A\0B\0"s, kNone, kLittle},
      {"UTF-16, big endian", "\0A\0B"s, kNone, kBig},
      {"a character of UTF-16 alone", "A\0"s, kNone, kUTF8},
      {"a character of UTF-16 alone, big endian", "\0A"s, kNone, kUTF8},
      {"an odd number of bytes", "A\0B"s, kNone, kUTF8},
      {"UTF-16 with half a pair", "A\0\x3D\xD8"s, kNone, kMacRoman},
      {"UTF-16 with a pair", "A\0\x3D\xD8\0\xDE"s, kNone, kLittle},
      {"UTF-16 with the halves turned round", "\0A\xDE\0\xD8\x3D"s, kNone, kMacRoman},
      {"UTF-16 that does not begin with ASCII", "\xE4\x04\xE4\x04"s, kNone, kMacRoman},
      {"UTF-16 beyond Latin behind a letter", "A\0\x2D\x4E"s, kNone, kLittle},
      {"both first bytes zero", "\0\0A\0"s, kNone, kUTF8},
      {"UTF-8", "gr\xC3\xBCn", kNone, kUTF8},
      {"Latin 1", "gr\xFCn", kNone, kMacRoman},
      {"a cut character of UTF-8", "gr\xC3", kNone, kMacRoman},
      {"an overlong form", "a\xC0\x80", kNone, kMacRoman},
      {"an encoded surrogate", "a\xED\xA0\x80", kNone, kMacRoman},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(quicklyGuessStringEncodingForData(dataFrom(row.bytes)), row.quick) << row.reason;
    EXPECT_EQ(guessStringEncodingForData(dataFrom(row.bytes)), row.full) << row.reason;
  }
}

// Shows: quicklyGuessStringEncodingForData, guessStringEncodingForData
TEST(NSStringEncodingStuffTests, NullIsDataWithoutBytes) {
  EXPECT_EQ(quicklyGuessStringEncodingForData(nullptr), kNone);
  EXPECT_EQ(guessStringEncodingForData(nullptr), kUTF8);
  EXPECT_EQ(stringWithData_encoding(nullptr, NSUTF8StringEncoding), nullptr);
}

// Shows: guessStringEncodingForData
TEST(NSStringEncodingStuffTests, TheGuessIsAnEncodingInWhichTheBytesDecode) {
  RandomRun random;
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(random.below(12), '\0');
    for (char& byte : bytes) {
      const std::array<std::uint64_t, 4> kinds = {0, random.below(128), random.below(256),
                                                  0xD8 + random.below(8)};
      byte = static_cast<char>(kinds[random.below(4)]);
    }
    const auto data = dataFrom(bytes);
    const auto trial = [&](NSStringEncoding encoding) {
      return NSString::initWithData_encoding(data, encoding) != nullptr;
    };
    const bool isLittle = bytes.size() >= 3 && bytes[0] != 0 && bytes[1] == 0;
    const bool isBig = bytes.size() >= 3 && bytes[0] == 0 && bytes[1] != 0;
    CFStringEncoding expected = quicklyGuessStringEncodingForData(data);
    if (expected == kNone) {
      expected = isLittle && trial(NSUTF16LittleEndianStringEncoding) ? kLittle
                 : isBig && trial(NSUTF16BigEndianStringEncoding)     ? kBig
                 : trial(NSUTF8StringEncoding)                        ? kUTF8
                                                                      : kMacRoman;
    }
    ASSERT_EQ(guessStringEncodingForData(data), expected) << hex(data);
  }
}

// Shows: stringWithData_encoding
TEST(NSStringEncodingStuffTests, BytesThatDoNotDecodeAreNoString) {
  EXPECT_EQ(stringWithData_encoding(dataFrom("gr\xC3\xBCn"), NSUTF8StringEncoding), u"grün");
  EXPECT_EQ(stringWithData_encoding(dataFrom("gr\xFCn"), NSUTF8StringEncoding), nullptr);
  EXPECT_EQ(stringWithData_encoding(dataFrom("gr\x9Fn"), NSMacOSRomanStringEncoding), u"grün");
  EXPECT_EQ(stringWithData_encoding(dataOf({0x41, 0}), NSUTF16LittleEndianStringEncoding), u"A");
}

// Shows: lengthOfBOMForEncoding, BOMForEncoding_buffer
TEST(NSStringEncodingStuffTests, EachUnicodeEncodingHasItsMarkAndOthersHaveNone) {
  const struct {
    CFStringEncoding encoding;
    const char* mark;
    NSUInteger length;
  } kRows[] = {
      {kCFStringEncodingMacRoman, "", 0},
      {kCFStringEncodingUnicode, "ff fe", 2},
      {kCFStringEncodingUTF8, "ef bb bf", 3},
      {kCFStringEncodingUTF32, "ff fe 00 00", 4},
      {kCFStringEncodingUTF16BE, "fe ff", 2},
      {kCFStringEncodingUTF16LE, "ff fe", 2},
      {kCFStringEncodingUTF32BE, "00 00 fe ff", 4},
      {kCFStringEncodingUTF32LE, "ff fe 00 00", 4},
      {kCFStringEncodingInvalidId, "", 0},
      {kCFStringEncodingWindowsLatin1, "", 0},
      {kCFStringEncodingUTF7, "", 0},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(lengthOfBOMForEncoding("any", row.encoding), row.length);
    std::array<std::uint8_t, 4> buffer = {0xAA, 0xAA, 0xAA, 0xAA};
    EXPECT_EQ(BOMForEncoding_buffer("any", row.encoding, buffer.data()), row.length > 0);
    EXPECT_EQ(hex(std::as_bytes(std::span(buffer).first(row.length))), row.mark);
    EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 0xAA), 4 - static_cast<long>(row.length));
  }
}

// Shows: dataUsingCFStringEncoding_addBOM
TEST(NSStringEncodingStuffTests, TheBytesComeWithOrWithoutAMark) {
  const auto bytes = [](const Ref<NSString>& text, CFStringEncoding encoding, bool addsBOM) {
    return hex(dataUsingCFStringEncoding_addBOM(text, encoding, addsBOM));
  };
  forBothStorages(u"AB", [&](const Ref<NSString>& text) {
    EXPECT_EQ(bytes(text, kCFStringEncodingUTF16BE, true), "fe ff 00 41 00 42");
    EXPECT_EQ(bytes(text, kCFStringEncodingUTF16BE, false), "00 41 00 42");
    EXPECT_EQ(bytes(text, kCFStringEncodingUTF8, false), "41 42");
    EXPECT_EQ(bytes(text, kCFStringEncodingUTF8, true), "ef bb bf 41 42");
    EXPECT_EQ(bytes(text, kCFStringEncodingUnicode, true), "ff fe 41 00 42 00");
    EXPECT_EQ(bytes(text, kCFStringEncodingUTF32, true), "ff fe 00 00 41 00 00 00 42 00 00 00");
    EXPECT_EQ(bytes(text, kCFStringEncodingUTF32BE, false), "00 00 00 41 00 00 00 42");
    EXPECT_EQ(bytes(text, kCFStringEncodingMacRoman, true), "41 42");
  });
  EXPECT_EQ(bytes("A", kCFStringEncodingUTF8, false), "41");
}

// Shows: dataUsingCFStringEncoding_addBOM
TEST(NSStringEncodingStuffTests, TheBytesEndAtTheFirstCharacterThatTheEncodingCannotHold) {
  EXPECT_EQ(hex(dataUsingCFStringEncoding_addBOM(u"AB中C", kCFStringEncodingMacRoman, true)),
            "41 42");
  EXPECT_EQ(hex(dataUsingCFStringEncoding_addBOM(u"中C", kCFStringEncodingMacRoman, true)), "");
  for (const CFStringEncoding encoding : {kUTF8, kBig, kMacRoman, kNone}) {
    EXPECT_EQ(dataUsingCFStringEncoding_addBOM("", encoding, true)->length(), 0U);
  }
  EXPECT_EQ(dataUsingCFStringEncoding_addBOM("A", kNone, true)->length(), 0U);
}

// Shows: dataUsingCFStringEncoding_addBOM
TEST(NSStringEncodingStuffTests, TheBytesAreImmutable) {
  for (const char* text : {"", "A"}) {
    const auto data = dataUsingCFStringEncoding_addBOM(text, kCFStringEncodingUTF8, true);
    EXPECT_EQ(cast<NSMutableData>(data), nullptr) << text;
  }
}

// Shows: convertStringFromEncoding_toEncoding
TEST(NSStringEncodingStuffTests, ConversionKeepsWhatTheSecondEncodingCanHoldWhateverTheFirst) {
  for (const CFStringEncoding ignored : {kUTF8, kMacRoman, kNone}) {
    forBothStorages(u"AB中C", [&](const Ref<NSString>& text) {
      EXPECT_EQ(convertStringFromEncoding_toEncoding(text, ignored, kMacRoman), u"AB");
      EXPECT_EQ(convertStringFromEncoding_toEncoding(text, ignored, kUTF8), u"AB中C");
      EXPECT_EQ(convertStringFromEncoding_toEncoding(text, ignored, kCFStringEncodingUnicode),
                u"AB中C");
      EXPECT_EQ(convertStringFromEncoding_toEncoding(text, ignored, kBig), u"AB中C");
    });
    EXPECT_EQ(convertStringFromEncoding_toEncoding(u"中", ignored, kMacRoman), nullptr);
    EXPECT_EQ(convertStringFromEncoding_toEncoding("", ignored, kUTF8), nullptr);
    EXPECT_EQ(convertStringFromEncoding_toEncoding("A", ignored, kNone), nullptr);
  }
}

// Shows: convertStringFromEncoding_toEncoding
TEST(NSStringEncodingStuffTests, AMarkAtTheFrontIsLostInConversion) {
  for (const CFStringEncoding encoding :
       {kUTF8, kCFStringEncodingUnicode, kBig, kLittle, kCFStringEncodingUTF32,
        kCFStringEncodingUTF32BE, kCFStringEncodingUTF32LE}) {
    EXPECT_EQ(convertStringFromEncoding_toEncoding(u"\uFEFFA", kNone, encoding), u"A");
  }
  EXPECT_EQ(convertStringFromEncoding_toEncoding(u"\uFEFFA", kNone, kMacRoman), nullptr);
  EXPECT_EQ(convertStringFromEncoding_toEncoding(u"\uFEFF", kNone, kUTF8), u"")
      << "the mark alone is a character that converts";
}

// Shows: reinterpretStringWithEncoding_fromEncoding
TEST(NSStringEncodingStuffTests, TextThatWasDecodedWronglyIsRepaired) {
  EXPECT_EQ(
      reinterpretStringWithEncoding_fromEncoding(u"grÃ¼n", kUTF8, kCFStringEncodingWindowsLatin1),
      u"grün");
  EXPECT_EQ(
      reinterpretStringWithEncoding_fromEncoding(u"Äÿ", kCFStringEncodingISOLatin1, kMacRoman),
      u"\u0080Ø");
  EXPECT_EQ(reinterpretStringWithEncoding_fromEncoding(u"grün", kUTF8, kCFStringEncodingISOLatin1),
            nullptr);
  EXPECT_EQ(reinterpretStringWithEncoding_fromEncoding(u"中", kUTF8, kMacRoman), nullptr);
  EXPECT_EQ(reinterpretStringWithEncoding_fromEncoding("", kUTF8, kMacRoman), nullptr);
  EXPECT_EQ(reinterpretStringWithEncoding_fromEncoding("A", kNone, kMacRoman), nullptr);
  EXPECT_EQ(reinterpretStringWithEncoding_fromEncoding(u"ÿþz", kCFStringEncodingUnicode,
                                                       kCFStringEncodingISOLatin1),
            nullptr);
  EXPECT_EQ(reinterpretStringWithEncoding_fromEncoding(u"þÿ\u0001z", kCFStringEncodingUnicode,
                                                       kCFStringEncodingISOLatin1),
            u"\u017A");
}

}  // namespace
}  // namespace kestova
