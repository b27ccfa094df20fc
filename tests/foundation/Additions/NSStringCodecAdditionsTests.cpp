// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringCodecAdditions.h>
#include <KestovaPlatform/NSScanner.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "Bytes.h"
#include "RandomRun.h"

#include <algorithm>
#include <string>

namespace kestova {
namespace {

using testing::dataOf;
using testing::forBothStorages;
using testing::hex;
using testing::RandomRun;

std::string shown(const Ref<NSData>& data) { return data ? hex(data) : "nothing"; }

struct Row {
  std::u16string_view text;
  const char* bytes;
};

// Shows: dataFromHexString
TEST(NSStringHexAdditionsTests, TheLenientReadingTakesTwoCharactersAtATime) {
  const Row kRows[] = {
      {u"DE AD", "de ad"},
      {u"zz12", "00 12"},
      {u"1g", "01"},
      {u"g1", "00"},
      {u"0x1F", "00 1f"},
      {u"0X", "00"},
      {u"", "nothing"},
      {u" \r\n", "nothing"},
      {u"1", "nothing"},
      {u"1:2", "nothing"},
      {u"12:3", "12 00"},
      {u"1 2\r\n3\r4", "12 34"},
      {u"\t1", "01"},  // a space in front
      {u"1\t", "01"},  // and one behind
      {u"\u00A0f\u2003F", "0f 0f"},
      {u"\t\t", "00"},
      {u"-1", "00"},
      {u"é1", "00"},
      {u"1é", "01"},
      {u"\U0001F428", "00"},  // two units, one pair
      {u"\U0001F4281", "nothing"},
      {u"１２", "00"},  // full-width digits are none
  };
  for (const Row& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(shown(NSString_HexAdditions::dataFromHexString(text)), row.bytes) << text;
    });
  }
}

// Shows: dataFromHexString
TEST(NSStringHexAdditionsTests, UnpairedSurrogatesAreCharactersToo) {
  const std::u16string text = {0xD83D, u'1', u'1', 0xDC28};
  forBothStorages(text, [](const Ref<NSString>& string) {
    EXPECT_EQ(shown(NSString_HexAdditions::dataFromHexString(string)), "00 01");
  });
}

// Shows: dataFromHexString
TEST(NSStringHexAdditionsTests, EveryPairIsReadAsAScannerReadsIt) {
  for (unsigned first = 0; first < 256; ++first) {
    for (unsigned second = 0; second < 256; ++second) {
      const std::u16string pair = {static_cast<char16_t>(first), static_cast<char16_t>(second)};
      if (pair.find_first_of(u"\r\n ") != std::u16string::npos) {
        continue;  // these are left out before pairs are made
      }
      const Ref<NSString> text = NSString::stringWithCharacters_length(pair.data(), pair.size());
      unsigned value = 0;
      NSScanner::scannerWithString(text)->scanHexInt(&value);
      ASSERT_EQ(shown(NSString_HexAdditions::dataFromHexString(text)),
                hex(dataOf({static_cast<int>(value)})))
          << first << ", " << second;
    }
  }
}

// Shows: dataFromHexString
TEST(NSStringHexAdditionsTests, SpacesBeyondASCIIAreThoseThatAScannerPassesOver) {
  for (char16_t space = 0x80; space != 0; ++space) {
    const std::u16string pair = {space, u'f'};
    const Ref<NSString> text = NSString::stringWithCharacters_length(pair.data(), pair.size());
    unsigned value = 0;
    NSScanner::scannerWithString(text)->scanHexInt(&value);
    ASSERT_EQ(shown(NSString_HexAdditions::dataFromHexString(text)),
              hex(dataOf({static_cast<int>(value)})))
        << int{space};
  }
}

// Shows: dataFromHexString
TEST(NSStringHexAdditionsTests, TheBytesReadAreImmutable) {
  EXPECT_EQ(cast<NSMutableData>(NSString_HexAdditions::dataFromHexString("12")), nullptr);
}

// Shows: stringFromBase32Data
TEST(NSStringBase32AdditionsTests, BytesBecomeSymbols) {
  EXPECT_EQ(stringFromBase32Data(dataOf({0xFF})), "Z7");
  EXPECT_EQ(stringFromBase32Data(dataOf({0x00})), "00");
  EXPECT_EQ(stringFromBase32Data(dataOf({1, 2, 3, 4, 5})), "1G0602M0");
  EXPECT_EQ(stringFromBase32Data(NSData::data()), "");
  EXPECT_EQ(stringFromBase32Data(nullptr), "");
  EXPECT_TRUE(stringFromBase32Data(dataOf({1}))->isEightBit());
}

// Shows: stringFromBase32Data, base32Data
TEST(NSStringBase32AdditionsTests, TheSymbolsAreDigitsAndLettersWithoutILOAndU) {
  const Ref<NSString> symbols = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
  const auto bytes = dataOf({0x20, 0x88, 0x41, 0x8A, 0x39, 0x28, 0xA9, 0xC5, 0x9A, 0x7B,
                             0x30, 0xCA, 0x49, 0xAB, 0xBD, 0x38, 0xEB, 0xCD, 0xBB, 0xFF});
  EXPECT_EQ(stringFromBase32Data(bytes), "0123456789ABCDEFGHJKMNPQRSTVWXYZ");
  EXPECT_EQ(shown(base32Data(symbols)), hex(bytes));
  EXPECT_EQ(shown(base32Data(symbols->lowercaseString())), hex(bytes));
}

// Shows: base32Data
TEST(NSStringBase32AdditionsTests, SymbolsBecomeBytes) {
  const Row kRows[] = {
      {u"z7", "ff"},
      {u"Z7", "ff"},
      {u"Z-7", "ff"},
      {u" Z\r\n7-", "ff"},
      {u"ZU", "nothing"},
      {u"I0", "nothing"},
      {u"l0", "nothing"},
      {u"O0", "nothing"},
      {u"Z7\t", "nothing"},
      {u"Z7=", "nothing"},
      {u"Zé", "nothing"},
      {u"Z７", "nothing"},
      {u"00\U0001F428", "nothing"},
      {u"", ""},
      {u"-- \n", ""},
      {u"Z", ""},      // five bits are no byte
      {u"Z7Z", "ff"},  // and are dropped behind others
      {u"ZZZZZZZZ", "ff ff ff ff ff"},
  };
  for (const Row& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(shown(base32Data(text)), row.bytes) << text;
    });
  }
}

// Shows: base32Data
TEST(NSStringBase32AdditionsTests, TheUpperCaseOfACharacterCounts) {
  EXPECT_EQ(shown(base32Data(u"ſ0")), shown(base32Data("S0"))) << "the long s is an s";
  EXPECT_EQ(shown(base32Data(u"ß0")), shown(base32Data("SS"))) << "two for one, and the 0 cut off";
  EXPECT_EQ(shown(base32Data(u"ﬀ0")), shown(base32Data("FF")));
  EXPECT_EQ(shown(base32Data(u"ı0")), "nothing") << "an I is no symbol";
}

// Shows: base32Data
TEST(NSStringBase32AdditionsTests, TextThatUTF8CannotHoldIsNothing) {
  const std::u16string text = {u'Z', u'7', 0xD83D};
  EXPECT_EQ(base32Data(NSString::stringWithUTF16Storage(text)), nullptr);
}

// Shows: stringFromBase32Data, base32Data
TEST(NSStringBase32AdditionsTests, EveryDataComesBack) {
  RandomRun random;
  for (std::size_t size = 0; size < 200; ++size) {
    std::string bytes(size, '\0');
    std::ranges::generate(bytes, [&] { return static_cast<char>(random.below(256)); });
    const auto data = NSData::dataWithBytes_length(bytes.data(), bytes.size());
    const auto text = stringFromBase32Data(data);
    ASSERT_EQ(text->length(), (8 * size + 4) / 5);
    forBothStorages(text->utf16(), [&](const Ref<NSString>& string) {
      ASSERT_EQ(shown(base32Data(string)), hex(data));
    });
  }
}

}  // namespace
}  // namespace kestova
