// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/TextDecoder.h>
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

struct Decoded {
  std::u16string text;
  ConversionEnd end = ConversionEnd::kInputUsed;
  std::size_t refusedAt = 0;
};

/// Decodes bytes that come so many at a time into a buffer of so many units.
Decoded decodeInPieces(std::string_view bytes, CFStringEncoding encoding, std::size_t pieceSize,
                       std::size_t room, LeadingMark mark = LeadingMark::kTellsOrder) {
  auto decoder = TextDecoder::decoderForEncoding(encoding, mark);
  Decoded result;
  std::vector<char16_t> buffer(room);
  std::size_t read = 0;
  std::size_t given = 0;
  while (result.end != ConversionEnd::kRefused) {
    const auto input = given == bytes.size() ? TextInput::kEnds : TextInput::kGoesOn;
    const auto piece = decoder->decode(bytes.substr(read, given - read), buffer, input);
    read += piece.bytesRead;
    result.text.append(buffer.data(), piece.unitsWritten);
    result.end = piece.end;
    result.refusedAt = read - piece.refusedBytes;
    if (piece.end == ConversionEnd::kInputUsed && input == TextInput::kEnds) {
      EXPECT_EQ(read, bytes.size());
      break;
    }
    given =
        piece.end == ConversionEnd::kBufferFull ? given : std::min(given + pieceSize, bytes.size());
  }
  return result;
}

std::string encoded(std::u16string_view text, CFStringEncoding encoding) {
  auto encoder = TextEncoder::encoderForEncoding(encoding);
  std::string result;
  std::vector<char> buffer(TextEncoder::kRoom);
  EncodedPiece piece;
  do {
    piece = encoder->encode(text, buffer, TextInput::kEnds);
    result.append(buffer.data(), piece.bytesWritten);
    text.remove_prefix(piece.unitsRead);
  } while (piece.end == ConversionEnd::kBufferFull);
  EXPECT_EQ(piece.end, ConversionEnd::kInputUsed);
  return result.append(buffer.data(), encoder->close(buffer));
}

const std::u16string kMixed = u"Plain, grün, 中文。😀 and U+FEFF: \uFEFF.";

TEST(TextDecoderTests, EveryCutOfTheBytesGivesTheSameText) {
  for (const CFStringEncoding encoding :
       {kCFStringEncodingUTF8, kCFStringEncodingUTF16, kCFStringEncodingUTF16BE,
        kCFStringEncodingUTF32, kCFStringEncodingUTF32BE, kCFStringEncodingGB_18030_2000,
        kCFStringEncodingUTF7}) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    const std::string bytes = encoded(kMixed, encoding);
    for (std::size_t pieceSize = 1; pieceSize <= bytes.size(); ++pieceSize) {
      for (const std::size_t room : {4, 5, 64}) {
        EXPECT_EQ(decodeInPieces(bytes, encoding, pieceSize, room).text, kMixed) << pieceSize;
      }
    }
  }
}

TEST(TextDecoderTests, EveryCutOfJapaneseBytesGivesTheSameText) {
  const std::u16string text = u"abcかな漢字ABC、終。";
  for (const CFStringEncoding encoding :
       {kCFStringEncodingShiftJIS, kCFStringEncodingEUC_JP, kCFStringEncodingISO_2022_JP,
        kCFStringEncodingISO_2022_JP_2}) {
    const std::string bytes = encoded(text, encoding);
    for (std::size_t pieceSize = 1; pieceSize <= bytes.size(); ++pieceSize) {
      EXPECT_EQ(decodeInPieces(bytes, encoding, pieceSize, 4).text, text) << pieceSize;
    }
  }
}

TEST(TextDecoderTests, TheMarkIsSkippedHoweverItIsCut) {
  const struct {
    CFStringEncoding encoding;
    LeadingMark mark;
    std::string bytes;
    std::u16string text;
  } kRows[] = {
      {kCFStringEncodingUTF8, LeadingMark::kTellsOrder, "\xEF\xBB\xBFz", u"z"},
      {kCFStringEncodingUTF8, LeadingMark::kIsCharacter, "\xEF\xBB\xBFz", u"\uFEFFz"},
      {kCFStringEncodingUTF8, LeadingMark::kTellsOrder, "\xEF\xBB\xBEz", u"\uFEFEz"},
      {kCFStringEncodingUTF16, LeadingMark::kTellsOrder, "\xFE\xFF\0z"s, u"z"},
      {kCFStringEncodingUTF16, LeadingMark::kTellsOrder, "\xFF\xFEz\0"s, u"z"},
      {kCFStringEncodingUTF16, LeadingMark::kTellsOrder, "z\0"s, u"z"},
      {kCFStringEncodingUTF16, LeadingMark::kTellsOrder, "\xFE\xFF", u""},
      {kCFStringEncodingUTF16LE, LeadingMark::kTellsOrder, "\xFF\xFEz\0"s, u"\uFEFFz"},
      {kCFStringEncodingUTF16LE, LeadingMark::kIsNotPartOfText, "\xFF\xFEz\0"s, u"z"},
      {kCFStringEncodingUTF32, LeadingMark::kTellsOrder, "\0\0\xFE\xFF\0\0\0z"s, u"z"},
      {kCFStringEncodingUTF32, LeadingMark::kTellsOrder, "\xFF\xFE\0\0z\0\0\0"s, u"z"},
      {kCFStringEncodingISOLatin1, LeadingMark::kIsNotPartOfText, "\xFF\xFE", u"ÿþ"},
  };
  for (const auto& row : kRows) {
    for (std::size_t pieceSize = 1; pieceSize <= row.bytes.size(); ++pieceSize) {
      const auto decoded = decodeInPieces(row.bytes, row.encoding, pieceSize, 8, row.mark);
      EXPECT_EQ(decoded.text, row.text) << pieceSize;
      EXPECT_EQ(decoded.end, ConversionEnd::kInputUsed);
    }
  }
}

TEST(TextDecoderTests, TellsWhereTheMalformedBytesAreHoweverTheyAreCut) {
  const struct {
    const char* reason;
    CFStringEncoding encoding;
    std::string bytes;
    std::size_t refusedAt;
  } kRows[] = {
      {"trail byte alone", kCFStringEncodingUTF8, "ab\x80z", 2},
      {"cut by a letter", kCFStringEncodingUTF8, "a\xE2\x82z", 1},
      {"cut by the end", kCFStringEncodingUTF8, "ab\xF0\x9F\x98", 2},
      {"overlong", kCFStringEncodingUTF8, "a\xE0\x80\x80", 1},
      {"surrogate", kCFStringEncodingUTF8, "a\xED\xA0\x80", 1},
      {"half a mark", kCFStringEncodingUTF8, "\xEF\xBB", 0},
      {"second half first", kCFStringEncodingUTF16LE, "a\0\x00\xDE"s, 2},
      {"first half at the end", kCFStringEncodingUTF16BE, "\0a\xD8\x3D"s, 2},
      {"first half before a letter", kCFStringEncodingUTF16BE, "\0a\xD8\x3D\0z"s, 2},
      {"odd byte", kCFStringEncodingUTF16BE, "\0a\0"s, 2},
      {"half a character", kCFStringEncodingUTF32LE, "a\0\0\0b"s, 4},
      {"above all", kCFStringEncodingUTF32LE, "a\0\0\0\0\0\x11\0"s, 4},
      {"cut by the end", kCFStringEncodingShiftJIS, "ab\x82", 2},
      {"undefined", kCFStringEncodingISOLatinGreek, "ab\xAEz", 2},
      {"beyond ASCII", kCFStringEncodingASCII, "ab\xC3\xA4", 2},
  };
  for (const auto& row : kRows) {
    for (std::size_t pieceSize = 1; pieceSize <= row.bytes.size(); ++pieceSize) {
      const auto decoded = decodeInPieces(row.bytes, row.encoding, pieceSize, 4);
      EXPECT_EQ(decoded.end, ConversionEnd::kRefused) << row.reason;
      EXPECT_EQ(decoded.refusedAt, row.refusedAt) << row.reason << ' ' << pieceSize;
    }
  }
}

TEST(TextDecoderTests, RandomBytesCutAnywhereGiveWhatTheyGiveAtOnce) {
  RandomRun random;
  for (const CFStringEncoding encoding : CFStringGetListOfAvailableEncodings()) {
    SCOPED_TRACE(CFStringGetNameOfEncoding(encoding)->displayUTF8());
    for (int round = 0; round < 200; ++round) {
      std::string bytes(random.below(40), '\0');
      for (char& byte : bytes) {
        byte = static_cast<char>(random.below(3) == 0 ? random.below(256) : random.below(128));
      }
      const auto atOnce = decodeInPieces(bytes, encoding, 100, 200);
      const auto cut = decodeInPieces(bytes, encoding, 1 + random.below(5), 4 + random.below(9));
      ASSERT_EQ(cut.text, atOnce.text) << ::testing::PrintToString(bytes);
      ASSERT_EQ(cut.end, atOnce.end);
      ASSERT_EQ(cut.refusedAt, atOnce.refusedAt) << ::testing::PrintToString(bytes);
    }
  }
}

TEST(TextDecoderTests, ThereIsNoneForAnUnknownEncoding) {
  EXPECT_FALSE(TextDecoder::decoderForEncoding(kCFStringEncodingInvalidId).has_value());
  EXPECT_FALSE(TextEncoder::encoderForEncoding(kCFStringEncodingInvalidId).has_value());
}

}  // namespace
}  // namespace kestova
