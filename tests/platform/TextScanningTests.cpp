// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/TextScanning.h>
#include <gtest/gtest.h>

#include "PlainTextCounts.h"
#include "RandomLines.h"
#include "RandomRun.h"
#include "Sanitizers.h"
#include "VectorTargets.h"

#include <algorithm>
#include <bitset>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {
namespace {

using testing::forEachVectorTarget;
using testing::plainUTF8;
using testing::randomLines;
using testing::RandomRun;

constexpr std::size_t kNowhere = std::string_view::npos;

constexpr LineEnding kEndings[] = {LineEnding::LF, LineEnding::CR, LineEnding::CRLF, LineEnding(3)};

// The same in plain loops.

template <class Unit>
using Text = std::basic_string<Unit>;

template <class Unit>
bool endsAt(const Text<Unit>& text, std::size_t i, LineEnding ending) {
  const bool afterCR = i > 0 && text[i - 1] == '\r';
  return (ending == LineEnding::LF && text[i] == '\n') ||
         (ending == LineEnding::CR && text[i] == '\r') ||
         (ending == LineEnding::CRLF && text[i] == '\n' && afterCR);
}

/// Where each ending stands.
template <class Unit>
std::vector<std::size_t> plainEndings(const Text<Unit>& text, LineEnding ending) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (endsAt(text, i, ending)) {
      places.push_back(i);
    }
  }
  return places;
}

template <class Unit>
std::size_t plainLines(const Text<Unit>& text, CRPartner partner) {
  std::size_t lines = text.empty() ? 0 : 1;
  for (std::size_t i = 1; i < text.size(); ++i) {
    const bool isCR = text[i] == '\r' && i + 1 < text.size();
    const bool isLonely = isCR && static_cast<char16_t>(text[i + 1]) != char16_t(partner);
    lines += text[i] == '\n' || isLonely ? 1 : 0;
  }
  return lines;
}

template <class Unit>
LineEnding plainLastEnding(const Text<Unit>& text) {
  for (std::size_t i = text.size(); i-- > 1;) {
    for (const auto ending : {LineEnding::CR, LineEnding::CRLF, LineEnding::LF}) {
      if (endsAt(text, i, ending)) {
        return ending;
      }
    }
  }
  return LineEnding::LF;
}

std::size_t plainRuns(std::string_view bytes, const ByteSet& set) {
  std::size_t runs = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto isIn = [&](std::size_t at) {
      return set.contains(static_cast<std::uint8_t>(bytes[at]));
    };
    runs += isIn(i) && (i == 0 || !isIn(i - 1)) ? 1 : 0;
  }
  return runs;
}

// Texts to try.

ByteSet randomSet(RandomRun& random) {
  const std::uint64_t odds = 2 + random.below(6);
  return ByteSet([&](std::uint8_t) { return random.below(odds) == 0; });
}

/// The units in memory that ends with them, so that an address sanitizer sees the least step
/// beyond.
template <class Unit>
std::vector<Unit> bare(const Text<Unit>& text) {
  return {text.begin(), text.end()};
}

template <class Unit>
std::basic_string_view<Unit> viewOf(const std::vector<Unit>& units) {
  return {units.data(), units.size()};
}

/// A text cut into pieces at random, between any two units.
template <class Unit>
std::vector<std::basic_string_view<Unit>> piecesOf(RandomRun& random,
                                                   std::basic_string_view<Unit> text) {
  std::vector<std::basic_string_view<Unit>> pieces;
  const std::size_t most = 1 + random.below(150);
  for (auto rest = text; !rest.empty();) {
    pieces.push_back(rest.substr(0, random.below(most + 1)));
    rest.remove_prefix(pieces.back().size());
  }
  return pieces;
}

template <class Counter, class Unit>
Counter fed(Counter counter, const std::vector<std::basic_string_view<Unit>>& pieces) {
  for (const auto piece : pieces) {
    counter.add(piece);
  }
  return counter;
}

template <class Unit>
void expectEndingsFound(const std::vector<std::basic_string_view<Unit>>& pieces, LineEnding ending,
                        const std::vector<std::size_t>& places) {
  LineEndingCounter counter(ending);
  std::vector<std::size_t> found;
  std::size_t start = 0;
  for (const auto piece : pieces) {
    std::size_t begin = 0;
    while (const auto at = counter.addUntil(piece.substr(begin), counter.count() + 1)) {
      found.push_back(start + begin + *at);
      begin += *at + 1;
    }
    start += piece.size();
  }
  EXPECT_EQ(found, places);
  EXPECT_EQ(counter.count(), places.size());
}

template <class Unit>
void expectScansOf(RandomRun& random, const Text<Unit>& text) {
  const auto units = bare(text);
  const auto view = viewOf(units);
  SCOPED_TRACE(::testing::PrintToString(text));
  for (const char unit : {'\n', '\t', 'a', '\0'}) {
    EXPECT_EQ(countOf(view, unit), std::count(text.begin(), text.end(), Unit(unit)));
  }
  const Unit kBreaks[] = {'\r', '\n', 0};
  EXPECT_EQ(firstLineBreak(view), view.find_first_of(kBreaks));
  EXPECT_EQ(lastLineBreak(view), view.find_last_of(kBreaks));

  const auto pieces = piecesOf(random, view);
  for (const auto ending : kEndings) {
    const auto places = plainEndings(text, ending);
    EXPECT_EQ(fed(LineEndingCounter(ending), pieces).count(), places.size());
    expectEndingsFound(pieces, ending, places);
  }
  for (const auto partner : {CRPartner::CR, CRPartner::LF}) {
    EXPECT_EQ(fed(LineCounter(partner), pieces).count(), plainLines(text, partner));
  }
  EXPECT_EQ(fed(LastLineEnding(), pieces).ending(), plainLastEnding(text));
}

void expectRunsOf(RandomRun& random, const std::u16string& text, const ByteSet& set) {
  SCOPED_TRACE(::testing::PrintToString(text));
  const auto units = bare(text);
  const auto bytes = bare(plainUTF8(text));
  const std::size_t runs = plainRuns(viewOf(bytes), set);
  EXPECT_EQ(fed(ByteRunCounter(set), piecesOf(random, viewOf(bytes))).count(), runs);
  ByteRunCounter whole(set);
  whole.add(viewOf(units));
  EXPECT_EQ(whole.count(), runs);

  const std::size_t limit = random.below(bytes.size() + 2);
  ByteRunCounter limited(set);
  limited.add(viewOf(units), limit);
  EXPECT_EQ(limited.count(), plainRuns(viewOf(bytes).substr(0, limit), set)) << limit;

  ByteRunCounter both(set);
  const auto half = longestUTF8Prefix(viewOf(units), limit);
  both.add(viewOf(units).substr(0, half.units));
  both.add(viewOf(bytes).substr(half.bytes));
  EXPECT_EQ(both.count(), runs) << "cut at unit " << half.units;
}

/// The longest whole beginning of at most so many bytes, one character after the other.
UTF8Prefix plainPrefix(std::u16string_view units, std::size_t limit) {
  UTF8Prefix prefix;
  while (prefix.units < units.size()) {
    const auto rest = units.substr(prefix.units);
    const bool isPair =
        rest.size() > 1 && (rest[0] & 0xFC00) == 0xD800 && (rest[1] & 0xFC00) == 0xDC00;
    const std::size_t count = isPair ? 2 : 1;
    const std::size_t bytes = plainUTF8(rest.substr(0, count)).size();
    if (prefix.bytes + bytes > limit) {
      break;
    }
    prefix = {prefix.units + count, prefix.bytes + bytes};
  }
  return prefix;
}

// Every instruction set of the processor is taken through the same texts.

TEST(TextScanningTests, EveryLengthUpToTwoHundredIsScannedAsByPlainLoops) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (std::size_t length = 0; length <= 200; ++length) {
      const auto units = randomLines(random, length);
      expectScansOf(random, units);
      expectScansOf(random, plainUTF8(units));
      expectRunsOf(random, units, alphanumericBytes());
      expectRunsOf(random, units, randomSet(random));
    }
  });
}

TEST(TextScanningTests, LongTextsAreScannedAsByPlainLoops) {
  RandomRun random;
  forEachVectorTarget([&] {
    for (int i = 0; i < 60; ++i) {
      const auto units = randomLines(random, random.below(3000));
      expectScansOf(random, units);
      expectScansOf(random, plainUTF8(units));
      expectRunsOf(random, units, alphanumericBytes());
      expectRunsOf(random, units, randomSet(random));
    }
  });
}

TEST(TextScanningTests, ATextMayBeginAnywhereInMemory) {
  RandomRun random;
  const auto units = randomLines(random, 400) + u"\r\n one";
  const std::string bytes = plainUTF8(units);
  forEachVectorTarget([&] {
    for (std::size_t start = 0; start < 70; ++start) {
      expectScansOf(random, units.substr(start));
      const auto words = std::string_view(bytes).substr(start);
      ByteRunCounter counter(alphanumericBytes());
      counter.add(words);
      EXPECT_EQ(counter.count(), plainRuns(words, alphanumericBytes()));
      EXPECT_EQ(lastLineBreak(words), words.find_last_of("\r\n"));
      EXPECT_EQ(countOf(words, '\n'), std::count(words.begin(), words.end(), '\n'));
    }
  });
}

TEST(TextScanningTests, EveryUnitHasTheRunsOfItsBytes) {
  RandomRun random;
  std::vector<ByteSet> sets = {alphanumericBytes(), randomSet(random), randomSet(random)};
  forEachVectorTarget([&] {
    for (const ByteSet& set : sets) {
      for (char32_t unit = 0; unit <= 0xFFFF; unit += testing::caseStride) {
        const std::u16string text(3, static_cast<char16_t>(unit));
        ByteRunCounter counter(set);
        counter.add(text);
        ASSERT_EQ(counter.count(), plainRuns(plainUTF8(text), set)) << unsigned(unit);
      }
    }
  });
}

TEST(TextScanningTests, EveryPairHasTheRunsOfItsBytes) {
  RandomRun random;
  const ByteSet set = randomSet(random);
  forEachVectorTarget([&] {
    for (char16_t first = 0xD800; first < 0xDC00; ++first) {
      std::u16string text;
      for (char16_t second = 0xDC00; second < 0xE000; second += 13) {
        text += {first, second};
      }
      for (const ByteSet* each : {&set, &alphanumericBytes()}) {
        ByteRunCounter counter(*each);
        counter.add(text);
        ASSERT_EQ(counter.count(), plainRuns(plainUTF8(text), *each)) << unsigned(first);
      }
    }
  });
}

TEST(TextScanningTests, ATextMayBeCutBetweenAnyTwoUnits) {
  const std::string text = "\r\r\n\n\ra\r\n b\r";
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    const std::vector<std::string_view> pieces = {std::string_view(text).substr(0, cut), "",
                                                  std::string_view(text).substr(cut)};
    EXPECT_EQ(fed(LineEndingCounter(LineEnding::CRLF), pieces).count(), 2U) << cut;
    EXPECT_EQ(fed(LineCounter(CRPartner::LF), pieces).count(), 5U) << cut;
    EXPECT_EQ(fed(LineCounter(CRPartner::CR), pieces).count(), 7U) << cut;
    EXPECT_EQ(fed(LastLineEnding(), pieces).ending(), LineEnding::CR) << cut;
    EXPECT_EQ(fed(ByteRunCounter(alphanumericBytes()), pieces).count(), 2U) << cut;
  }
}

TEST(TextScanningTests, NothingIsNoLine) {
  EXPECT_EQ(LineCounter(CRPartner::LF).count(), 0U);
  EXPECT_EQ(fed(LineCounter(CRPartner::LF), std::vector<std::string_view>{"", ""}).count(), 0U);
  EXPECT_EQ(LastLineEnding().ending(), LineEnding::LF);
  EXPECT_EQ(LineEndingCounter(LineEnding::LF).count(), 0U);
  EXPECT_EQ(firstLineBreak(""), kNowhere);
  EXPECT_EQ(lastLineBreak(u""), kNowhere);
  EXPECT_EQ(countOf("", '\0'), 0U);
}

TEST(TextScanningTests, BytesCountAsTheSignedCharactersThatTheyAre) {
  std::bitset<256> members;
  for (unsigned byte = 0; byte < 256; ++byte) {
    members[byte] = alphanumericBytes().contains(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(members[byte], testing::PlainTextCounts::isAlphanumeric(static_cast<char>(byte)));
  }
  for (const unsigned byte : {unsigned('0'), unsigned('A'), unsigned('z'), 0x80U, 0xBEU, 0xC2U,
                              0xC7U, 0xCAU, 0xCFU, 0xD2U, 0xD7U, 0xDAU, 0xDCU}) {
    EXPECT_TRUE(members[byte]) << byte;
  }
  for (const unsigned byte : {unsigned(' '), unsigned('_'), unsigned('\n'), 0U, 0x7FU, 0xBFU, 0xC1U,
                              0xC8U, 0xD0U, 0xD9U, 0xDDU, 0xE0U, 0xEFU, 0xF0U, 0xFFU}) {
    EXPECT_FALSE(members[byte]) << byte;
  }
  EXPECT_EQ(&alphanumericBytes(), &alphanumericBytes());
}

TEST(TextScanningTests, ASetHoldsTheBytesThatItWasMadeOf) {
  for (unsigned only = 0; only < 256; ++only) {
    const ByteSet set([&](std::uint8_t byte) { return byte == only; });
    for (unsigned byte = 0; byte < 256; ++byte) {
      ASSERT_EQ(set.contains(static_cast<std::uint8_t>(byte)), byte == only);
    }
  }
}

TEST(TextScanningTests, APrefixIsAsLongAsItsBytesAllow) {
  RandomRun random;
  for (std::size_t length = 0; length <= 60; ++length) {
    const auto units = randomLines(random, length);
    SCOPED_TRACE(::testing::PrintToString(units));
    for (std::size_t limit = 0; limit <= plainUTF8(units).size() + 2; ++limit) {
      const auto expected = plainPrefix(units, limit);
      const auto longest = longestUTF8Prefix(units, limit);
      EXPECT_EQ(longest.units, expected.units) << limit;
      EXPECT_EQ(longest.bytes, expected.bytes) << limit;
    }
  }
}

TEST(TextScanningTests, PairsAreNotParted) {
  const std::u16string text = u"a😀\xD83D\xD83D\xDE00\xDE00";
  const std::size_t counts[] = {0, 1, 1, 3, 4, 4, 6, 7, 7, 7};
  for (std::size_t count = 0; count < std::size(counts); ++count) {
    EXPECT_EQ(wholeCharacters(text, count), text.substr(0, counts[count])) << count;
  }
  EXPECT_EQ(wholeCharacters(text, kNowhere), text);
  EXPECT_EQ(wholeCharacters(u"\xD83D", 1), u"\xD83D");
  EXPECT_EQ(wholeCharacters(u"", 1), u"");
}

TEST(TextScanningTests, LongPrefixesAreMeasuredInWholeCharacters) {
  RandomRun random;
  for (int i = 0; i < 20; ++i) {
    const auto units = randomLines(random, 20000);
    const std::size_t limit = random.below(plainUTF8(units).size() + 2);
    const auto expected = plainPrefix(units, limit);
    const auto longest = longestUTF8Prefix(units, limit);
    EXPECT_EQ(longest.units, expected.units) << limit;
    EXPECT_EQ(longest.bytes, expected.bytes) << limit;
  }
}

}  // namespace
}  // namespace kestova
