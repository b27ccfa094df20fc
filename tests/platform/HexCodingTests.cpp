// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HexCoding.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "RandomRun.h"
#include "VectorTargets.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

using testing::forEachVectorTarget;
using testing::hex;
using testing::RandomRun;

std::string written(std::span<const std::byte> bytes) {
  std::string text(2 * bytes.size(), '?');
  writeHex(bytes, text.data());
  return text;
}

/// Reads in pieces of a size into exactly the room that is asked for.
template <class Reader, class Text>
std::vector<std::byte> readPieces(Reader& reader, Text text, std::size_t pieceSize) {
  std::vector<std::byte> all;
  while (!text.empty()) {
    const auto piece = text.substr(0, pieceSize);
    std::vector<std::byte> bytes((piece.size() + 1) / 2);
    bytes.resize(reader.read(piece, bytes.data()));
    all.insert(all.end(), bytes.begin(), bytes.end());
    text.remove_prefix(piece.size());
  }
  return all;
}

template <class Reader>
std::string readAs(std::string_view text) {
  Reader reader;
  return hex(readPieces(reader, text, text.size()));
}

std::vector<std::byte> randomBytes(RandomRun& random, std::size_t size) {
  std::vector<std::byte> bytes(size);
  std::ranges::generate(bytes, [&] { return static_cast<std::byte>(random.below(256)); });
  return bytes;
}

TEST(HexCodingTests, EveryByteHasTwoLowerCaseDigits) {
  std::vector<std::byte> bytes;
  for (int value = 0; value < 256; ++value) {
    bytes.push_back(static_cast<std::byte>(value));
  }
  const std::string text = written(bytes);
  EXPECT_EQ(text.substr(0, 8), "00010203");
  EXPECT_EQ(text.substr(text.size() - 8), "fcfdfeff");
  std::string spaced;
  for (std::size_t index = 0; index < text.size(); index += 2) {
    spaced += (index == 0 ? "" : " ") + text.substr(index, 2);
  }
  EXPECT_EQ(spaced, hex(bytes));
}

TEST(HexCodingTests, TheStrictReaderPassesOverWhatIsNoDigit) {
  EXPECT_EQ(readAs<HexReader>("de:ad:be:ef"), "de ad be ef");
  EXPECT_EQ(readAs<HexReader>("DEADbeef"), "de ad be ef");
  EXPECT_EQ(readAs<HexReader>("0x1F0"), "01 f0") << "the zero of 0x is a digit";
  EXPECT_EQ(readAs<HexReader>(" g@`/:G~\x80\xFF\n1\r2 "), "12");
  EXPECT_EQ(readAs<HexReader>(""), "");
}

TEST(HexCodingTests, AnOddDigitWaitsForTheNextPiece) {
  HexReader reader;
  std::byte byte{};
  EXPECT_EQ(reader.read(std::string_view("x1x"), &byte), 0U);
  EXPECT_EQ(reader.digits(), 1U);
  EXPECT_EQ(reader.read(std::u16string_view(u"中2"), &byte), 1U);
  EXPECT_EQ(byte, std::byte{0x12});
  EXPECT_EQ(reader.digits(), 2U);
}

TEST(HexCodingTests, TheLenientReaderTakesAnyTwoCharacters) {
  EXPECT_EQ(readAs<LenientHexReader>("DE AD"), "de ad");
  EXPECT_EQ(readAs<LenientHexReader>("zz12"), "00 12");
  EXPECT_EQ(readAs<LenientHexReader>("1g"), "01");
  EXPECT_EQ(readAs<LenientHexReader>("g1"), "00");
  EXPECT_EQ(readAs<LenientHexReader>("0x1F"), "00 1f");
  EXPECT_EQ(readAs<LenientHexReader>("1\r2\n3 4"), "12 34");
  EXPECT_EQ(readAs<LenientHexReader>("\t1"), "01") << "a space in front of a number";
  EXPECT_EQ(readAs<LenientHexReader>("1\t"), "01");
  EXPECT_EQ(readAs<LenientHexReader>("\t\t"), "00");
  EXPECT_EQ(readAs<LenientHexReader>("-1+1"), "00 00") << "a hexadecimal number has no sign";
}

TEST(HexCodingTests, CharactersBeyondASCIIAreForeign) {
  HexReader strict;
  EXPECT_EQ(hex(readPieces(strict, std::u16string_view(u"é1中2\U0001F4281２2"), 100)), "12 12");
  LenientHexReader lenient;
  EXPECT_EQ(hex(readPieces(lenient, std::u16string_view(u"é1 2é 中中 \U0001F428"), 100)),
            "00 02 00 00")
      << "a pair of surrogates is two characters";
  LenientHexReader spaces;
  EXPECT_EQ(hex(readPieces(spaces, std::u16string_view(u"\u00A01\u20032\u30003\u200B4"), 100)),
            "01 02 03 00");
  EXPECT_EQ(spaces.characters(), 8U);
}

TEST(HexCodingTests, UnitsThatShareTheirLowByteWithADigitAreNone) {
  HexReader reader;
  EXPECT_EQ(hex(readPieces(reader, std::u16string_view(u"\u0130\u0131\u4E31\uFF3112"), 100)), "12");
}

/// The rules as they are told, one character after the other.
std::string plainDigits(std::string_view text) {
  std::string digits;
  for (const char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
      digits += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return digits;
}

std::string randomText(RandomRun& random) {
  static constexpr std::string_view kKinds[] = {"0123456789abcdefABCDEF",
                                                "0123456789abcdefABCDEF\n", "1f g", ":\nxZ`@/G"};
  std::string text;
  while (text.size() < 700 && random.below(9) != 0) {
    const std::string_view kind = kKinds[random.below(std::size(kKinds))];
    for (std::uint64_t left = random.below(200); left > 0; --left) {
      text += kind[random.below(kind.size())];
    }
  }
  return text;
}

TEST(HexCodingTests, RandomBytesComeBackWithEveryVectorWidth) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (std::size_t size = 0; size < 300; ++size) {
      const auto bytes = randomBytes(random, size);
      std::string text = written(bytes);
      ASSERT_EQ(text, plainDigits(hex(bytes)));
      std::ranges::transform(text, text.begin(), [&](unsigned char c) {
        return static_cast<char>(random.below(2) == 0 ? c : std::toupper(c));
      });
      HexReader strict;
      ASSERT_EQ(readPieces(strict, std::string_view(text), text.size()), bytes);
      LenientHexReader lenient;
      ASSERT_EQ(readPieces(lenient, std::string_view(text), text.size()), bytes);
    }
  });
}

TEST(HexCodingTests, RandomTextsReadAsTheirDigitsWhateverThePieces) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < 300; ++round) {
      const std::string text = randomText(random);
      const std::u16string wide(text.begin(), text.end());
      const std::string digits = plainDigits(text);
      const std::size_t pieceSize = 1 + random.below(text.size() + 1);
      HexReader narrowReader;
      HexReader wideReader;
      const auto bytes = readPieces(narrowReader, std::string_view(text), pieceSize);
      ASSERT_EQ(written(bytes), digits.substr(0, digits.size() / 2 * 2)) << text;
      ASSERT_EQ(readPieces(wideReader, std::u16string_view(wide), pieceSize), bytes) << text;
      ASSERT_EQ(narrowReader.digits(), digits.size());
      ASSERT_EQ(wideReader.digits(), digits.size());
    }
  });
}

TEST(HexCodingTests, LongTextOfUnitsIsReadInOneGo) {
  RandomRun random;
  const auto bytes = randomBytes(random, 5000);
  const std::string text = written(bytes);
  HexReader reader;
  EXPECT_EQ(readPieces(reader, std::u16string_view(std::u16string(text.begin(), text.end())), 9999),
            bytes);
}

TEST(HexCodingTests, EveryCharacterIsTakenForWhatItIsInEveryLane) {
  forEachVectorTarget([] {
    for (int value = 0; value < 256; ++value) {
      for (std::size_t at = 0; at < 130; at += value < 128 ? 1 : 13) {
        std::string text(260, '5');
        text[at] = static_cast<char>(value);
        HexReader reader;
        const auto bytes = readPieces(reader, std::string_view(text), text.size());
        const std::string digits = plainDigits(text);
        ASSERT_EQ(written(bytes), digits.substr(0, digits.size() / 2 * 2)) << value << " " << at;
      }
    }
  });
}

TEST(HexCodingTests, ATextOfItsOwnIsTheSameAtEveryLength) {
  RandomRun random;
  for (const std::size_t size : {0, 1, 2, 2047, 2048, 2049, 4096, 10001}) {
    const auto bytes = randomBytes(random, size);
    ASSERT_EQ(hexText(bytes), written(bytes));
  }
}

}  // namespace
}  // namespace kestova
