// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/TextEncoder.h>

#include <gtest/gtest.h>

#include "RandomRun.h"

#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

using namespace std::string_literals;
using testing::RandomRun;

struct Encoded {
  std::string bytes;
  std::vector<std::size_t> refusedAt;
};

/// Encodes units that come so many at a time into a buffer of so many bytes, and "?" for each that
/// is refused.
Encoded encodeInPieces(std::u16string_view units, CFStringEncoding encoding, std::size_t pieceSize,
                       std::size_t room) {
  auto encoder = TextEncoder::encoderForEncoding(encoding);
  Encoded result;
  std::vector<char> buffer(room);
  std::size_t read = 0;
  std::size_t given = 0;
  while (true) {
    const auto input = given == units.size() ? TextInput::kEnds : TextInput::kGoesOn;
    const auto piece = encoder->encode(units.substr(read, given - read), buffer, input);
    read += piece.unitsRead;
    result.bytes.append(buffer.data(), piece.bytesWritten);
    if (piece.end == ConversionEnd::kRefused) {
      result.refusedAt.push_back(read - piece.refusedUnits);
      const auto loss = encoder->encode(u"?", buffer, TextInput::kEnds);
      result.bytes.append(buffer.data(), loss.bytesWritten);
    } else if (piece.end == ConversionEnd::kInputUsed) {
      if (input == TextInput::kEnds) {
        break;
      }
      given = std::min(given + pieceSize, units.size());
    }
  }
  EXPECT_EQ(read, units.size());
  result.bytes.append(buffer.data(), encoder->close(buffer));
  return result;
}

TEST(TextEncoderTests, EveryCutOfTheUnitsGivesTheSameBytes) {
  const std::u16string text = u"Plain, grün, かな漢字 中文。😀 and more 😀😀.";
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    const auto atOnce = encodeInPieces(text, encoding, 1000, 1000);
    for (std::size_t pieceSize = 1; pieceSize <= text.size(); ++pieceSize) {
      const auto cut = encodeInPieces(text, encoding, pieceSize, TextEncoder::kRoom);
      ASSERT_EQ(cut.bytes, atOnce.bytes) << pieceSize;
      ASSERT_EQ(cut.refusedAt, atOnce.refusedAt) << pieceSize;
    }
  }
}

TEST(TextEncoderTests, GoesOnBehindWhatItRefused) {
  const auto encoded = encodeInPieces(u"a中b\xD83D\u0063\xDE00😀", kCFStringEncodingASCII, 1, 128);
  EXPECT_EQ(encoded.bytes, "a?b?c??");
  EXPECT_EQ(encoded.refusedAt, (std::vector<std::size_t>{1, 3, 5, 6}));
}

TEST(TextEncoderTests, LeavesTheFirstHalfOfAPairUntilTheSecondComes) {
  auto encoder = TextEncoder::encoderForEncoding(kCFStringEncodingUTF8);
  std::vector<char> buffer(128);
  const std::u16string half = {u'a', 0xD83D};
  const auto piece = encoder->encode(half, buffer, TextInput::kGoesOn);
  EXPECT_EQ(piece.unitsRead, 1U);
  EXPECT_EQ(piece.end, ConversionEnd::kInputUsed);
  const auto last = encoder->encode(half, buffer, TextInput::kEnds);
  EXPECT_EQ(last.unitsRead, 2U);
  EXPECT_EQ(last.end, ConversionEnd::kRefused);
  EXPECT_EQ(last.refusedUnits, 1U);
}

TEST(TextEncoderTests, ACloneGoesOnByItself) {
  auto encoder = TextEncoder::encoderForEncoding(kCFStringEncodingISO_2022_JP);
  std::vector<char> buffer(128);
  const auto piece = encoder->encode(u"か", buffer, TextInput::kGoesOn);
  EXPECT_EQ(std::string(buffer.data(), piece.bytesWritten), "\x1B$B$+");
  auto clone = encoder->clone();
  EXPECT_EQ(clone.close(buffer), 3U);
  const auto next = encoder->encode(u"な", buffer, TextInput::kEnds);
  EXPECT_EQ(std::string(buffer.data(), next.bytesWritten), "$J");
  EXPECT_EQ(std::string(buffer.data(), encoder->close(buffer)), "\x1B(B");
}

TEST(TextEncoderTests, TheSmallestBufferTakesACharacterOfEveryEncoding) {
  RandomRun random;
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    std::u16string units(500, u'\0');
    for (char16_t& unit : units) {
      unit = static_cast<char16_t>(random.below(0x10000));
    }
    const auto small = encodeInPieces(units, encoding, 500, TextEncoder::kRoom);
    const auto large = encodeInPieces(units, encoding, 500, 10000);
    ASSERT_EQ(small.bytes, large.bytes);
    ASSERT_EQ(small.refusedAt, large.refusedAt);
  }
}

}  // namespace
}  // namespace kestova
