// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ByteSearch.h>
#include <gtest/gtest.h>

#include "RandomRun.h"
#include "VectorTargets.h"

#include <string>
#include <string_view>

namespace kestova {
namespace {

using testing::forEachVectorTarget;
using testing::RandomRun;

/// What the standard library finds, but that the empty pattern is nowhere.
void expectAsPlain(const std::string& text, const std::string& pattern) {
  const BytePattern bytes(pattern);
  ASSERT_EQ(bytes.firstIn(text), pattern.empty() ? BytePattern::npos : text.find(pattern))
      << "'" << pattern << "' in '" << text << "'";
  ASSERT_EQ(bytes.lastIn(text), pattern.empty() ? BytePattern::npos : text.rfind(pattern))
      << "'" << pattern << "' in '" << text << "'";
}

TEST(ByteSearchTests, TheEmptyPatternIsNowhere) {
  EXPECT_EQ(BytePattern("").firstIn("abc"), BytePattern::npos);
  EXPECT_EQ(BytePattern("").lastIn("abc"), BytePattern::npos);
  EXPECT_EQ(BytePattern("").firstIn(""), BytePattern::npos);
  EXPECT_EQ(BytePattern("").size(), 0U);
}

TEST(ByteSearchTests, NothingIsInNoBytes) {
  EXPECT_EQ(BytePattern("a").firstIn(std::string_view()), BytePattern::npos);
  EXPECT_EQ(BytePattern("ab").lastIn(std::string_view()), BytePattern::npos);
}

TEST(ByteSearchTests, APatternIsFoundOnlyWhole) {
  EXPECT_EQ(BytePattern("ab").firstIn("a"), BytePattern::npos);
  EXPECT_EQ(BytePattern("ab").firstIn("xxa"), BytePattern::npos);
  EXPECT_EQ(BytePattern("ab").firstIn("ab"), 0U);
  EXPECT_EQ(BytePattern("ab").lastIn("b"), BytePattern::npos);
}

TEST(ByteSearchTests, TheFirstAndTheLastAreFound) {
  EXPECT_EQ(BytePattern("ab").firstIn("xabxabx"), 1U);
  EXPECT_EQ(BytePattern("ab").lastIn("xabxabx"), 4U);
  EXPECT_EQ(BytePattern("aa").firstIn("xaaa"), 1U);
  EXPECT_EQ(BytePattern("aa").lastIn("xaaa"), 2U) << "the last start, though two overlap";
  EXPECT_EQ(BytePattern("a").firstIn("bab"), 1U);
  EXPECT_EQ(BytePattern("a").lastIn("aab"), 1U);
}

TEST(ByteSearchTests, ZeroAndHighBytesAreBytesLikeOthers) {
  using namespace std::string_view_literals;
  EXPECT_EQ(BytePattern("\0\xFF"sv).firstIn("\xFF\0\0\xFF"sv), 2U);
  EXPECT_EQ(BytePattern("\0"sv).lastIn("a\0b\0c"sv), 3U);
}

TEST(ByteSearchTests, EachPlaceIsFoundWithEveryVectorWidth) {
  const std::string pattern = "needle";
  forEachVectorTarget([&] {
    for (std::size_t size = 6; size < 300; ++size) {
      for (std::size_t at = 0; at <= size - 6; at += size < 80 ? 1 : 7) {
        std::string text(size, 'e');
        text.replace(at, 6, pattern);
        ASSERT_EQ(BytePattern(pattern).firstIn(text), at) << size;
        ASSERT_EQ(BytePattern(pattern).lastIn(text), at) << size;
      }
    }
  });
}

TEST(ByteSearchTests, AllShortTextsOfTwoBytesAgreeWithAPlainSearch) {
  for (std::size_t textSize = 0; textSize <= 8; ++textSize) {
    for (unsigned textBits = 0; textBits < 1U << textSize; ++textBits) {
      std::string text;
      for (std::size_t bit = 0; bit < textSize; ++bit) {
        text += (textBits >> bit & 1) != 0 ? 'b' : 'a';
      }
      for (std::size_t size = 0; size <= 5; ++size) {
        for (unsigned bits = 0; bits < 1U << size; ++bits) {
          std::string pattern;
          for (std::size_t bit = 0; bit < size; ++bit) {
            pattern += (bits >> bit & 1) != 0 ? 'b' : 'a';
          }
          expectAsPlain(text, pattern);
        }
      }
    }
  }
}

TEST(ByteSearchTests, RandomTextsAgreeWithAPlainSearch) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < 4000; ++round) {
      const std::uint64_t letters = 1 + random.below(4);
      std::string text(random.below(600), '\0');
      for (char& letter : text) {
        letter = static_cast<char>('a' + random.below(letters));
      }
      const std::size_t at = random.below(text.size() + 1);
      std::string pattern = text.substr(at, random.below(random.below(2) == 0 ? 6 : 100));
      if (!pattern.empty() && random.below(2) == 0) {
        pattern[random.below(pattern.size())] = 'b';
      }
      expectAsPlain(text, pattern);
    }
  });
}

/// Texts where comparing never gets anywhere: the vectors give up, and what they left is searched
/// in another way.
TEST(ByteSearchTests, TextsOfAlmostMatchesAgreeWithAPlainSearch) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int round = 0; round < 60; ++round) {
      const std::size_t period = 1 + random.below(5);
      std::string text;
      while (text.size() < 20000) {
        text += static_cast<char>('a' + text.size() % period);
      }
      for (std::uint64_t flaw = random.below(3); flaw > 0; --flaw) {
        text[random.below(text.size())] = 'z';
      }
      std::string pattern = text.substr(random.below(5000), 2 + random.below(400));
      if (random.below(3) != 0) {
        pattern[random.below(pattern.size())] = 'a';
      }
      expectAsPlain(text, pattern);
    }
  });
}

TEST(ByteSearchTests, AlmostMatchesTakeNoTimeThatGrowsWithBothLengths) {
  const std::string text(16 << 20, 'a');
  std::string pattern(1 << 20, 'a');
  pattern[pattern.size() / 2] = 'b';
  EXPECT_EQ(BytePattern(pattern).firstIn(text), BytePattern::npos);
  pattern = std::string(1 << 19, 'a') + std::string(1 << 19, 'b');
  const std::string halves = std::string((1 << 19) - 1, 'a') + std::string(1 << 19, 'b');
  std::string repeated;
  for (int time = 0; time < 16; ++time) {
    repeated += halves;
  }
  EXPECT_EQ(BytePattern(pattern).firstIn(repeated), BytePattern::npos);
  EXPECT_EQ(BytePattern(pattern).lastIn(repeated), BytePattern::npos);
  const std::string odd = std::string(1 << 20, 'a') + 'b' + std::string(1 << 20, 'a');
  const std::string shifted =
      std::string((1 << 20) + 1, 'a') + 'b' + std::string((1 << 20) - 1, 'a') + 'c';
  EXPECT_EQ(BytePattern(odd).firstIn(shifted + text), BytePattern::npos);
  EXPECT_EQ(BytePattern(odd).firstIn(shifted + odd), shifted.size());
  EXPECT_EQ(BytePattern(odd).lastIn(odd + shifted), 0U);
  EXPECT_EQ(BytePattern(odd).lastIn(odd + 'c' + shifted), 0U);
}

}  // namespace
}  // namespace kestova
