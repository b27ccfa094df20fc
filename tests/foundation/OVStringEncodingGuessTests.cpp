// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>
#include <KestovaFoundation/OVStringEncodingGuess.h>

#include <gtest/gtest.h>

#include "Bytes.h"
#include "RandomRun.h"

#include <string>
#include <string_view>

namespace kestova {
namespace {

using namespace std::string_literals;
using testing::RandomRun;

CFStringEncoding guessInPieces(std::string_view bytes, std::size_t pieceSize) {
  OVStringEncodingGuess guess;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(pieceSize, bytes.size()))) {
    guess.addBytes(std::as_bytes(std::span(bytes.substr(0, pieceSize))));
  }
  return guess.encoding();
}

CFStringEncoding guessAtOnce(std::string_view bytes) {
  return guessStringEncodingForData(NSData::dataWithBytes_length(bytes.data(), bytes.size()));
}

OVStringEncodingGuess guessAfter(std::string_view bytes) {
  OVStringEncodingGuess guess;
  guess.addBytes(std::as_bytes(std::span(bytes)));
  return guess;
}

// Shows: encoding, encodingOfMark, isSettled
TEST(OVStringEncodingGuessTests, WithoutBytesTheGuessIsUTF8) {
  const OVStringEncodingGuess guess;
  EXPECT_EQ(guess.encoding(), kCFStringEncodingUTF8);
  EXPECT_EQ(guess.encodingOfMark(), kCFStringEncodingInvalidId);
  EXPECT_FALSE(guess.isSettled());
}

// Shows: encodingOfMark
TEST(OVStringEncodingGuessTests, TheMarkTellsTheEncodingWithUTF16BeforeUTF32) {
  const struct {
    std::string bytes;
    CFStringEncoding encoding;
  } kRows[] = {
      {"\xEF\xBB\xBFz", kCFStringEncodingUTF8},    {"\xFE\xFF", kCFStringEncodingUTF16BE},
      {"\xFF\xFE", kCFStringEncodingUTF16LE},      {"\xFF\xFE\0\0"s, kCFStringEncodingUTF16LE},
      {"\0\0\xFE\xFF"s, kCFStringEncodingUTF32BE}, {"\0\0\xFE"s, kCFStringEncodingInvalidId},
      {"\xEF\xBB", kCFStringEncodingInvalidId},    {"A\0B\0"s, kCFStringEncodingInvalidId},
      {"plain", kCFStringEncodingInvalidId},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(guessAfter(row.bytes).encodingOfMark(), row.encoding)
        << ::testing::PrintToString(row.bytes);
  }
}

// Shows: encoding
TEST(OVStringEncodingGuessTests, WithoutAMarkTheGuessGoesByTrial) {
  EXPECT_EQ(guessAfter("gr\xC3\xBCn").encoding(), kCFStringEncodingUTF8);
  EXPECT_EQ(guessAfter("gr\xFCn").encoding(), kCFStringEncodingMacRoman);
  EXPECT_EQ(guessAfter("A\0B\0"s).encoding(), kCFStringEncodingUTF16LE);
  EXPECT_EQ(guessAfter("\0A\0B"s).encoding(), kCFStringEncodingUTF16BE);
  EXPECT_EQ(guessAfter("A\0"s).encoding(), kCFStringEncodingUTF8);
}

// Shows: addBytes, encoding
TEST(OVStringEncodingGuessTests, EveryCutOfATextGivesTheSameGuess) {
  for (const std::string& bytes :
       {"a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z"s, "a\xC3\xA4\xE2\x82zz"s, "a\xF0\x9F\x98"s,
        "A\0\x3D\xD8\0\xDE\x42\0"s, "\0A\xD8\x3D\xDE\0\0B"s, "A\0\x3D\xD8\x42\0"s, "A\0B\0C"s,
        "\0A\xDC\0"s, "\xFF\xFE\0\0"s, "\xEF\xBB\xBFz"s, "\0\0\xFE\xFF\0\0\0A"s, "gr\xFCn"s}) {
    for (std::size_t pieceSize = 1; pieceSize <= bytes.size(); ++pieceSize) {
      EXPECT_EQ(guessInPieces(bytes, pieceSize), guessAtOnce(bytes))
          << ::testing::PrintToString(bytes) << ' ' << pieceSize;
    }
  }
}

// Shows: addBytes, encoding
TEST(OVStringEncodingGuessTests, RandomBytesCutAnywhereGiveTheSameGuess) {
  RandomRun random;
  const std::string kBytes = "\0\0\0aA\x80\xBF\xC3\xE2\x82\xAC\xF0\x9F\x98\xD8\xDC\xFE\xFF"s;
  for (int round = 0; round < 50000; ++round) {
    std::string bytes(random.below(20), '\0');
    for (char& byte : bytes) {
      byte = kBytes[random.below(kBytes.size())];
    }
    ASSERT_EQ(guessInPieces(bytes, 1 + random.below(5)), guessAtOnce(bytes))
        << ::testing::PrintToString(bytes);
  }
}

// Shows: isSettled
TEST(OVStringEncodingGuessTests, AGuessIsSettledWhenNoByteCanChangeItAnyMore) {
  EXPECT_TRUE(guessAfter("\xEF\xBB\xBFz").isSettled());
  EXPECT_TRUE(guessAfter("gr\xFCn Laub").isSettled());
  EXPECT_TRUE(guessAfter("A\0\xFF\xDC"s).isSettled());
  EXPECT_FALSE(guessAfter("gr\xC3").isSettled());
  EXPECT_FALSE(guessAfter("\xFF\xFE").isSettled());
  EXPECT_FALSE(guessAfter("A\0\xFF\0"s).isSettled());
  EXPECT_FALSE(guessAfter("plain").isSettled());
}

}  // namespace
}  // namespace kestova
