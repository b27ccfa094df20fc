// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Base32Coding.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "RandomRun.h"
#include "VectorTargets.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

using testing::forEachVectorTarget;
using testing::hex;
using testing::RandomRun;

constexpr std::string_view kSymbols = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";

std::string written(const std::vector<std::byte>& bytes) {
  std::string text(base32Length(bytes.size()), '?');
  writeBase32(bytes, text.data());
  return text;
}

/// What was read of a text in pieces, and where it stopped.
struct Reading {
  std::vector<std::byte> bytes;
  std::size_t charactersRead = 0;
};

/// Each piece goes into exactly the room that is asked for.
Reading readPieces(std::string_view text, std::size_t pieceSize) {
  Base32Reader reader;
  Reading reading;
  while (reading.charactersRead < text.size()) {
    const auto piece = text.substr(reading.charactersRead, pieceSize);
    std::vector<std::byte> bytes(piece.size() / 8 * 5 + 5);
    const Base32Piece read = reader.read(piece, bytes.data());
    reading.bytes.insert(reading.bytes.end(), bytes.data(), bytes.data() + read.bytesWritten);
    reading.charactersRead += read.charactersRead;
    if (read.charactersRead < piece.size()) {
      break;
    }
  }
  return reading;
}

std::string readText(std::string_view text) { return hex(readPieces(text, 1000).bytes); }

/// Bit by bit, from the lowest of the first byte on.
std::string plainText(const std::vector<std::byte>& bytes) {
  std::string text;
  for (std::size_t bit = 0; bit < 8 * bytes.size(); bit += 5) {
    unsigned value = 0;
    for (std::size_t index = bit; index < std::min(bit + 5, 8 * bytes.size()); ++index) {
      value |= (std::to_integer<unsigned>(bytes[index / 8]) >> index % 8 & 1) << (index - bit);
    }
    text += kSymbols[value];
  }
  return text;
}

std::vector<std::byte> randomBytes(RandomRun& random, std::size_t size) {
  std::vector<std::byte> bytes(size);
  std::ranges::generate(bytes, [&] { return static_cast<std::byte>(random.below(256)); });
  return bytes;
}

TEST(Base32CodingTests, TheLengthIsTheBitsDividedByFiveRoundedUp) {
  for (std::size_t size = 0; size < 1000; ++size) {
    ASSERT_EQ(base32Length(size), (8 * size + 4) / 5);
  }
  EXPECT_EQ(base32Length(std::size_t{10} << 60), std::size_t{16} << 60) << "nothing overflows";
}

TEST(Base32CodingTests, TheLowestBitsComeFirst) {
  EXPECT_EQ(written({}), "");
  EXPECT_EQ(written({std::byte{0x00}}), "00");
  EXPECT_EQ(written({std::byte{0xFF}}), "Z7");
  EXPECT_EQ(written({std::byte{0x01}}), "10");
  EXPECT_EQ(written({std::byte{0x20}}), "01");
  EXPECT_EQ(written(std::vector(5, std::byte{0xFF})), "ZZZZZZZZ");
}

TEST(Base32CodingTests, BothCasesAreRead) {
  EXPECT_EQ(readText("Z7"), "ff");
  EXPECT_EQ(readText("z7"), "ff");
}

TEST(Base32CodingTests, LineEndsBlanksAndHyphensArePassedOver) {
  EXPECT_EQ(readText("Z-7"), "ff");
  EXPECT_EQ(readText("\r\n-- Z 7 \n"), "ff");
  EXPECT_EQ(readText("\r\n- "), "");
}

TEST(Base32CodingTests, ItStopsAtTheFirstOtherCharacter) {
  for (int value = 0; value < 256; ++value) {
    const char c = static_cast<char>(value);
    const bool isLower = value >= 'a' && value <= 'z';
    const bool isKnown =
        kSymbols.find(isLower ? static_cast<char>(value - 32) : c) != std::string_view::npos ||
        std::string_view("\n\r -").find(c) != std::string_view::npos;
    for (std::size_t at = 0; at < 66; ++at) {
      std::string text(66, '0');
      text[at] = c;
      ASSERT_EQ(readPieces(text, 100).charactersRead, isKnown ? 66 : at) << value;
    }
  }
}

TEST(Base32CodingTests, LeftoverBitsAreDropped) {
  EXPECT_EQ(readText("Z"), "");
  EXPECT_EQ(readText("ZZ"), "ff");
  EXPECT_EQ(readText("ZZZ"), "ff");
  EXPECT_EQ(readText("ZZZZ"), "ff ff");
}

TEST(Base32CodingTests, RandomBytesComeBackWithEveryVectorWidth) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (std::size_t size = 0; size < 300; ++size) {
      const auto bytes = randomBytes(random, size);
      const std::string text = written(bytes);
      ASSERT_EQ(text, plainText(bytes));
      ASSERT_EQ(readPieces(text, text.size() + 1).bytes, bytes);
      ASSERT_EQ(readPieces(text, 1 + random.below(20)).bytes, bytes);
    }
  });
}

TEST(Base32CodingTests, EverySymbolIsReadInEveryLane) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < 500; ++round) {
      std::string symbols;
      std::string text;
      for (std::uint64_t left = random.below(200); left > 0; --left) {
        symbols += kSymbols[random.below(32)];
        text += static_cast<char>(symbols.back() | (random.below(2) == 0 ? 0x20 : 0));
        text += random.below(40) == 0 ? "\n" : "";
      }
      std::vector<std::byte> bytes = readPieces(text, 1 + random.below(100)).bytes;
      ASSERT_EQ(bytes.size(), symbols.size() * 5 / 8);
      const std::string back = plainText(bytes);
      const std::size_t whole = bytes.size() * 8 / 5;
      ASSERT_EQ(back.substr(0, whole), symbols.substr(0, whole)) << text;
    }
  });
}

TEST(Base32CodingTests, PiecesOfFiveBytesMakeTheSameText) {
  RandomRun random;
  const auto bytes = randomBytes(random, 1003);
  std::string text;
  for (std::size_t start = 0; start < bytes.size(); start += 35) {
    const auto end = std::min<std::size_t>(start + 35, bytes.size());
    text += written({bytes.begin() + static_cast<std::ptrdiff_t>(start),
                     bytes.begin() + static_cast<std::ptrdiff_t>(end)});
  }
  EXPECT_EQ(text, written(bytes));
}

TEST(Base32CodingTests, ATextOfItsOwnIsTheSameAtEveryLength) {
  RandomRun random;
  for (const std::size_t size : {0, 1, 2, 2559, 2560, 2561, 5120, 10001}) {
    const auto bytes = randomBytes(random, size);
    ASSERT_EQ(base32Text(bytes), written(bytes));
  }
}

}  // namespace
}  // namespace kestova
