// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "PlainTextCounts.h"
#include "RandomLines.h"
#include "RandomRun.h"

#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kestova {

void PrintTo(const NSRange& range, std::ostream* out) {
  *out << '{' << range.location << ", " << range.length << '}';
}

namespace {

using testing::forBothStorages;
using testing::PlainTextCounts;
using testing::RandomRun;

constexpr NSUInteger kHuge = std::numeric_limits<NSUInteger>::max();

/// Kinds that there aren't.
constexpr OVLineEnding kNoEndings[] = {OVLineEnding(-1), OVLineEnding(3),
                                       OVLineEnding(std::numeric_limits<std::int32_t>::min())};

Ref<NSString> sixteenBit(std::u16string_view text) {
  return NSString::stringWithUTF16Storage(std::u16string(text));
}

// The ending of a text.

struct EndingCase {
  const char16_t* text;
  OVLineEnding ending;
  const char* reason;
};

constexpr EndingCase kEndings[] = {
    {u"", OVLineEndingLF, "nothing ends"},
    {u"abc", OVLineEndingLF, "nothing ends"},
    {u"\n", OVLineEndingLF, "the first unit is not looked at"},
    {u"\r", OVLineEndingLF, "the first unit is not looked at"},
    {u"\rabc", OVLineEndingLF, "the first unit is not looked at"},
    {u"\r\n", OVLineEndingCRLF, "the first unit is looked at as the one before"},
    {u"\n\r", OVLineEndingCR, "a CR at the end"},
    {u"a\r", OVLineEndingCR, "a CR at the end"},
    {u"a\n", OVLineEndingLF, "an LF at the end"},
    {u"a\r\nb\r", OVLineEndingCR, "the last one decides"},
    {u"a\r\nb", OVLineEndingCRLF, "the only one"},
    {u"a\r\nb\r\r\n", OVLineEndingCRLF, "the last one decides"},
    {u"a\rb\nc", OVLineEndingLF, "the last one decides"},
    {u"a\nb\rc", OVLineEndingCR, "the last one decides"},
    {u"é\r\nb", OVLineEndingCRLF, "the LF is the fourth of four bytes"},
    {u"éé\nb\r", OVLineEndingLF, "the CR is the seventh byte of a text of five units"},
    {u"ééé\r\n", OVLineEndingLF, "both are behind the fifth byte"},
    {u"éé\r\nb", OVLineEndingCR, "of the first five bytes the last one is the CR"},
};

// Shows: lineEnding
TEST(NSStringWordLineCounterTests, TheLastEndingThatIsLookedAtIsThatOfTheText) {
  for (const auto& each : kEndings) {
    forBothStorages(each.text, [&](const Ref<NSString>& string) {
      EXPECT_EQ(lineEnding(string), each.ending) << string << ": " << each.reason;
    });
  }
}

// Words.

struct WordCase {
  const char16_t* text;
  NSUInteger words;
  const char* reason;
};

constexpr WordCase kWords[] = {
    {u"", 0, "empty"},
    {u" \t\n.,;", 0, "none of these is a letter"},
    {u"a", 1, "one"},
    {u" a ", 1, "one"},
    {u"one two  three", 3, "runs of others separate once"},
    {u"it's 3.14", 4, "marks separate"},
    {u"a_b-c", 3, "marks separate"},
    {u"éa", 1, "looks at C3 A9: both are letters, U+FFC3 and U+FFA9"},
    {u"àé a", 1, "looks at C3 A0 C3 A9"},
    {u"a b é", 3, "looks at a, blank, b, blank, C3"},
    {u"日本 x", 1, "looks at E6 97 A5 E6: 97 A5 is a run, E6 is none"},
    {u"日本語x", 1, "looks at E6 97 A5 E6"},
    {u"日本語日x", 2, "looks at E6 97 A5 E6 9C"},
    {u"\u00BFa", 1, "looks at C2 BF: BF, U+FFBF, is no letter"},
    {u"\u00FFab", 2, "looks at C3 BF a: the BF separates"},
    {u"😀", 1, "looks at F0 9F: no, yes"},
};

// Shows: wordCount
TEST(NSStringWordLineCounterTests, WordsAreRunsOfLettersAndDigits) {
  for (const auto& each : kWords) {
    forBothStorages(each.text, [&](const Ref<NSString>& string) {
      EXPECT_EQ(wordCount(string), each.words) << string << ": " << each.reason;
    });
  }
}

// Shows: wordCount
TEST(NSStringWordLineCounterTests, OnlyAsManyBytesAsThereAreUnitsAreLookedAtForWords) {
  const Ref<NSString> text = "é é a b c d";
  EXPECT_EQ(text->length(), 11U);
  EXPECT_EQ(wordCount(text), 5U) << "the last two of its thirteen bytes, a blank and d, are not";
  EXPECT_EQ(wordCount("héllo wörld"), 2U);
}

// Shows: wordCount
TEST(NSStringWordLineCounterTests, SurrogatesThatStandAloneCountAsTheBytesEFBFBD) {
  EXPECT_EQ(wordCount(sixteenBit(u"\xD800")), 0U) << "EF";
  EXPECT_EQ(wordCount(sixteenBit(u"a\xDC00z")), 1U) << "a EF BF";
  EXPECT_EQ(wordCount(sixteenBit(u"a\xD800 z")), 2U) << "a EF BF BD: yes, no, no, yes";
}

// Lines that end in whichever way.

struct LineCase {
  const char16_t* text;
  NSUInteger inEightBit;
  NSUInteger inUTF16;
};

constexpr LineCase kLines[] = {
    {u"", 0, 0},      {u"a", 1, 1},       {u"\n", 1, 1},           {u"\r", 1, 1},
    {u"\n\n", 2, 2},  {u"\na", 1, 1},     {u"\ra", 1, 1},          {u"a\n", 2, 2},
    {u"a\r", 1, 1},   {u"a\rb", 2, 2},    {u"a\r\nb", 2, 3},       {u"a\r\n", 2, 3},
    {u"\r\n", 2, 2},  {u"a\r\rb", 3, 2},  {u"a\r\r\nb", 3, 3},     {u"a\r\r", 2, 1},
    {u"\r\rb", 2, 2}, {u"\r\r\rb", 3, 2}, {u"a\nb\rc\r\nd", 4, 5},
};

// Shows: lineCount
TEST(NSStringWordLineCounterTests, CRGoesWithLFInEightBitStorageAndWithCRInUTF16) {
  for (const auto& each : kLines) {
    forBothStorages(each.text, [&](const Ref<NSString>& string) {
      EXPECT_EQ(lineCount(string), string->isEightBit() ? each.inEightBit : each.inUTF16)
          << ::testing::PrintToString(each.text);
    });
  }
}

// Shows: lineCount
TEST(NSStringWordLineCounterTests, AllUnitsAreLookedAtForLines) {
  EXPECT_EQ(lineCount("ééé\r\n"), 3U);
  EXPECT_EQ(lineCount("日本\n語"), 2U);
}

// Lines of one kind of ending.

struct KindCase {
  const char16_t* text;
  NSUInteger lf;
  NSUInteger cr;
  NSUInteger crlf;
};

constexpr KindCase kKinds[] = {
    {u"", 1, 1, 1},       {u"a", 1, 1, 1},     {u"a\n", 2, 1, 1},         {u"\n", 2, 1, 1},
    {u"\r", 1, 2, 1},     {u"\r\n", 2, 2, 2},  {u"\n\r", 2, 2, 1},        {u"\r\r\n", 2, 3, 2},
    {u"\r\n\n", 3, 2, 2}, {u"\ra\n", 2, 2, 1}, {u"a\r\nb\r\nc", 3, 3, 3}, {u"éé\nx", 1, 1, 1},
    {u"éa\n\n", 2, 1, 1},
};

// Shows: lineCountWithLineEnding
TEST(NSStringWordLineCounterTests, EveryEndingOfTheGivenKindCounts) {
  for (const auto& each : kKinds) {
    forBothStorages(each.text, [&](const Ref<NSString>& string) {
      SCOPED_TRACE(::testing::PrintToString(each.text));
      EXPECT_EQ(lineCountWithLineEnding(string, OVLineEndingLF), each.lf);
      EXPECT_EQ(lineCountWithLineEnding(string, OVLineEndingCR), each.cr);
      EXPECT_EQ(lineCountWithLineEnding(string, OVLineEndingCRLF), each.crlf);
    });
  }
}

// Shows: lineCountWithLineEnding, lineCountAtIndex_withLineEnding, indexOfLine_withLineEnding
TEST(NSStringWordLineCounterTests, OtherKindsEndNothing) {
  forBothStorages(u"\n\r\na\rb", [](const Ref<NSString>& text) {
    for (const OVLineEnding none : kNoEndings) {
      EXPECT_EQ(lineCountWithLineEnding(text, none), 1U);
      EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 6, none), 1U);
      EXPECT_EQ(indexOfLine_withLineEnding(text, 1, none), 0U);
      EXPECT_EQ(indexOfLine_withLineEnding(text, 2, none), 7U);
      EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 5, none), NSMakeRange(1, 5));
      EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, 5, 8, none),
                NSMakeRange(1, 6));
    }
  });
}

// Shows: OVLineEnding
TEST(NSStringWordLineCounterTests, KindsAre32BitNumbers) {
  static_assert(sizeof(OVLineEnding) == 4);
  static_assert(OVLineEnding(-1) < 0);
  static_assert(OVLineEndingLF == 0 && OVLineEndingCR == 1 && OVLineEndingCRLF == 2);
}

// The line at an index.

void expectLinesAtIndexes(const Ref<NSString>& text, std::initializer_list<NSUInteger> lines) {
  NSUInteger index = 0;
  for (const NSUInteger line : lines) {
    EXPECT_EQ(lineCountAtIndex(text, index), line) << text << " at " << index;
    ++index;
  }
}

// Shows: lineCountAtIndex
TEST(NSStringWordLineCounterTests, TheFirstEndingDecidesWhatEndsLines) {
  forBothStorages(u"a\nb\n\nc\rd", [](const auto& text) {
    expectLinesAtIndexes(text, {1, 1, 2, 2, 3, 4, 4, 4, 4});
  });
  forBothStorages(u"a\rb\r\rc\nd", [](const auto& text) {
    expectLinesAtIndexes(text, {1, 1, 2, 2, 3, 4, 4, 4, 4});
  });
  forBothStorages(u"\na", [](const auto& text) { expectLinesAtIndexes(text, {1, 2, 2}); });
  forBothStorages(u"a\r", [](const auto& text) { expectLinesAtIndexes(text, {1, 1, 2}); });
  forBothStorages(u"abc", [](const auto& text) { expectLinesAtIndexes(text, {1, 1, 1, 1}); });
}

// Shows: lineCountAtIndex, indexOfLine
TEST(NSStringWordLineCounterTests, AfterAFirstCRLFNoEndingCounts) {
  forBothStorages(u"a\r\nb\r\nc", [](const Ref<NSString>& text) {
    expectLinesAtIndexes(text, {1, 1, 2, 2, 2, 2, 2, 2, 2});
    EXPECT_EQ(lineCountAtIndex(text, 7), 2U);
    EXPECT_EQ(indexOfLine(text, 2), 2U) << "the LF";
    EXPECT_EQ(indexOfLine(text, 3), 7U) << "the length";
    EXPECT_EQ(lineCountWithLineEnding(text, OVLineEndingCRLF), 3U);
  });
  forBothStorages(u"\r\n\n\r", [](const auto& text) {
    expectLinesAtIndexes(text, {1, 2, 2, 2, 2});
  });
}

// Shows: lineCountAtIndex, indexOfLine, lineCountWithLineEnding
TEST(NSStringWordLineCounterTests, AnLFBehindTheLastByteLookedAtMakesNoCRLF) {
  const Ref<NSString> text = "é\r\n";
  EXPECT_EQ(lineCountAtIndex(text, 3), 2U);
  EXPECT_EQ(indexOfLine(text, 2), 3U);
  EXPECT_EQ(lineCountWithLineEnding(text, OVLineEndingCRLF), 1U);
  const Ref<NSString> longer = "é\r\n\r";
  EXPECT_EQ(lineCountAtIndex(longer, kHuge), 2U);
  EXPECT_EQ(indexOfLine(longer, 3), 4U);
}

// Shows: lineCountAtIndex, lineCountAtIndex_withLineEnding
TEST(NSStringWordLineCounterTests, BehindTheEndIsTheLastLine) {
  forBothStorages(u"a\nb\n", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineCountAtIndex(text, kHuge), 3U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, kHuge, OVLineEndingLF), 3U);
  });
}

// Shows: lineCountAtIndex_withLineEnding, lineCountAtIndex
TEST(NSStringWordLineCounterTests, OnlyWithAGivenEndingIsTheFirstByteLookedAtForIndex0) {
  forBothStorages(u"\na\n", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineCountAtIndex(text, 0), 1U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 0, OVLineEndingLF), 2U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 1, OVLineEndingLF), 2U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 2, OVLineEndingLF), 2U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 3, OVLineEndingLF), 3U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 0, OVLineEndingCR), 1U);
  });
  forBothStorages(u"\r\n", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 1, OVLineEndingCRLF), 1U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 2, OVLineEndingCRLF), 2U);
  });
}

// The index of a line.

void expectIndexesOfLines(const Ref<NSString>& text, std::initializer_list<NSUInteger> indexes) {
  NSUInteger line = 0;
  for (const NSUInteger index : indexes) {
    EXPECT_EQ(indexOfLine(text, line), index) << text << ", line " << line;
    ++line;
  }
}

void expectIndexesOfLines(const Ref<NSString>& text, OVLineEnding ending,
                          std::initializer_list<NSUInteger> indexes) {
  NSUInteger line = 0;
  for (const NSUInteger index : indexes) {
    EXPECT_EQ(indexOfLine_withLineEnding(text, line, ending), index) << text << ", line " << line;
    ++line;
  }
}

// Shows: indexOfLine, indexOfLine_withLineEnding
TEST(NSStringWordLineCounterTests, ALineStartsBehindTheEndingBefore) {
  forBothStorages(u"a\nb\n\nc", [](const auto& text) {
    expectIndexesOfLines(text, {0, 0, 2, 4, 5, 6, 6});
    expectIndexesOfLines(text, OVLineEndingLF, {0, 0, 2, 4, 5, 7, 7});
    expectIndexesOfLines(text, OVLineEndingCR, {0, 0, 7, 7});
  });
  forBothStorages(u"a\rb\nc\r", [](const auto& text) {
    expectIndexesOfLines(text, {0, 0, 2, 6, 6});
    expectIndexesOfLines(text, OVLineEndingCR, {0, 0, 2, 6, 7});
  });
  forBothStorages(u"a\r\nb\r\nc", [](const auto& text) {
    expectIndexesOfLines(text, {0, 0, 2, 7, 7});
    expectIndexesOfLines(text, OVLineEndingCRLF, {0, 0, 3, 6, 8, 8});
  });
}

// Shows: indexOfLine, indexOfLine_withLineEnding
TEST(NSStringWordLineCounterTests, ALineThatThereIsNotStartsAtTheEndOrOneBehindIt) {
  forBothStorages(u"a\nb", [](const Ref<NSString>& text) {
    EXPECT_EQ(indexOfLine(text, 3), 3U);
    EXPECT_EQ(indexOfLine(text, kHuge), 3U);
    EXPECT_EQ(indexOfLine_withLineEnding(text, 3, OVLineEndingLF), 4U);
    EXPECT_EQ(indexOfLine_withLineEnding(text, kHuge, OVLineEndingLF), 4U);
  });
}

// Shows: indexOfLine, indexOfLine_withLineEnding, lineCountAtIndex
TEST(NSStringWordLineCounterTests, IndexesAreThoseOfBytes) {
  const Ref<NSString> text = "é\nü\n日本";
  EXPECT_EQ(indexOfLine(text, 2), 3U);
  EXPECT_EQ(indexOfLine(text, 3), 6U);
  EXPECT_EQ(indexOfLine_withLineEnding(text, 3, OVLineEndingLF), 6U);
  EXPECT_EQ(lineCountAtIndex(text, 3), 2U);
  EXPECT_EQ(lineCountAtIndex(text, 6), 3U);
}

// Nothing to look at.

// Shows: lineCount, lineEnding, wordCount, lineCountWithLineEnding, lineCountAtIndex, indexOfLine
TEST(NSStringWordLineCounterTests, TheEmptyTextHasLine1ThoughItCountsNone) {
  forBothStorages(u"", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineEnding(text), OVLineEndingLF);
    EXPECT_EQ(wordCount(text), 0U);
    EXPECT_EQ(lineCount(text), 0U);
    EXPECT_EQ(lineCountWithLineEnding(text, OVLineEndingLF), 1U);
    EXPECT_EQ(lineCountAtIndex(text, 5), 1U);
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, 5, OVLineEndingCRLF), 1U);
    EXPECT_EQ(indexOfLine(text, 2), 0U);
    EXPECT_EQ(indexOfLine_withLineEnding(text, 2, OVLineEndingLF), 0U);
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 5, 4), NSMakeRange(1, 1));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 5, OVLineEndingLF),
              NSMakeRange(1, 5));
  });
}

// Positions.

// Shows: lineAndCharacterPositionAtIndex_withTabLength
TEST(NSStringWordLineCounterTests, ATabIsAsWideAsStatedWhereverItStands) {
  forBothStorages(u"ab\tc", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 3, 4), NSMakeRange(1, 7));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 2, 4), NSMakeRange(1, 3));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 3, 0), NSMakeRange(1, 3));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 3, kHuge), NSMakeRange(1, 2));
  });
}

// Shows: lineAndCharacterPositionAtIndex_withLineEnding
TEST(NSStringWordLineCounterTests, WithoutATabLengthColumnsCountFrom0AndATabIsOne) {
  forBothStorages(u"ab\tc", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 0, OVLineEndingLF),
              NSMakeRange(1, 0));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 3, OVLineEndingLF),
              NSMakeRange(1, 3));
  });
}

// Shows: lineAndCharacterPositionAtIndex_withTabLength_withLineEnding
TEST(NSStringWordLineCounterTests, WithATabLengthAndAnEndingColumnsCountFrom1) {
  forBothStorages(u"a\nb\tc", [](const Ref<NSString>& text) {
    const auto position = [&](NSUInteger index, OVLineEnding ending) {
      return lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, index, 4, ending);
    };
    EXPECT_EQ(position(0, OVLineEndingLF), NSMakeRange(1, 1));
    EXPECT_EQ(position(2, OVLineEndingLF), NSMakeRange(2, 1));
    EXPECT_EQ(position(4, OVLineEndingLF), NSMakeRange(2, 6));
    EXPECT_EQ(position(4, OVLineEndingCR), NSMakeRange(1, 8));
  });
}

// Shows: lineAndCharacterPositionAtIndex_withTabLength_withLineEnding
TEST(NSStringWordLineCounterTests, ColumnsAreCountedFromTheStartOfTheLine) {
  forBothStorages(u"\ta\r\n\tb", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 6, 8), NSMakeRange(2, 11))
        << "the line starts at the LF, three bytes before";
    EXPECT_EQ(
        lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, 6, 8, OVLineEndingCRLF),
        NSMakeRange(2, 10));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 6, OVLineEndingCRLF),
              NSMakeRange(2, 2));
  });
  const Ref<NSString> accented = "é\té";
  EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(accented, 3, 4), NSMakeRange(1, 7));
  EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(accented, 1, 4), NSMakeRange(1, 2));
}

// Shows: lineAndCharacterPositionAtIndex_withLineEnding
TEST(NSStringWordLineCounterTests, BehindTheEndOnlyTheColumnWithoutTabsGoesOn) {
  forBothStorages(u"a\nbc", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 100, 4), NSMakeRange(2, 3));
    EXPECT_EQ(
        lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, 100, 4, OVLineEndingLF),
        NSMakeRange(2, 3));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 100, OVLineEndingLF),
              NSMakeRange(2, 98));
  });
}

// Shows: lineAndCharacterPositionAtIndex_withLineEnding
TEST(NSStringWordLineCounterTests, WhereTheLineStartsBehindTheIndexTheColumnIs1OrWraps) {
  forBothStorages(u"\nab", [](const Ref<NSString>& text) {
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, 0, 4), NSMakeRange(1, 1));
    EXPECT_EQ(
        lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, 0, 4, OVLineEndingLF),
        NSMakeRange(2, 1));
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, 0, OVLineEndingLF),
              NSMakeRange(2, kHuge));
  });
}

// Everything, beside the counts made one byte at a time.

void expectSameAtIndex(const Ref<NSString>& text, const PlainTextCounts& plain, NSUInteger i) {
  EXPECT_EQ(lineCountAtIndex(text, i), plain.lineCountAtIndex(i)) << i;
  EXPECT_EQ(indexOfLine(text, i), plain.indexOfLine(i)) << i;
  EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength(text, i, 8), plain.position(i, 8)) << i;
  for (const auto e : {OVLineEndingLF, OVLineEndingCR, OVLineEndingCRLF, OVLineEnding(3)}) {
    EXPECT_EQ(lineCountAtIndex_withLineEnding(text, i, e), plain.lineCountAtIndex(i, e)) << i;
    EXPECT_EQ(indexOfLine_withLineEnding(text, i, e), plain.indexOfLine(i, e)) << i;
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(text, i, 8, e),
              plain.position(i, 8, e))
        << i;
    EXPECT_EQ(lineAndCharacterPositionAtIndex_withLineEnding(text, i, e), plain.plainPosition(i, e))
        << i;
  }
}

void expectSameTotals(const Ref<NSString>& text, const PlainTextCounts& plain) {
  EXPECT_EQ(lineEnding(text), plain.lineEnding());
  EXPECT_EQ(wordCount(text), plain.wordCount());
  EXPECT_EQ(lineCount(text), plain.lineCount());
  for (const auto e : {OVLineEndingLF, OVLineEndingCR, OVLineEndingCRLF, OVLineEnding(3)}) {
    EXPECT_EQ(lineCountWithLineEnding(text, e), plain.lineCount(e)) << e;
  }
}

/// Every text of up to `length` of the units.
template <class Check>
void forTextsOf(std::u16string_view units, std::size_t length, Check&& check) {
  std::vector<std::u16string> texts = {u""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    for (const char16_t unit : texts[i].size() < length ? units : u"") {
      texts.push_back(texts[i] + unit);
    }
    check(texts[i]);
  }
}

// Shows: NSStringWordLineCounter
TEST(NSStringWordLineCounterTests, EveryShortTextHasTheCountsMadeByHand) {
  forTextsOf(u"a\r\né", 5, [](const std::u16string& units) {
    forBothStorages(units, [&](const Ref<NSString>& text) {
      SCOPED_TRACE(::testing::PrintToString(units));
      const PlainTextCounts plain(units, text->isEightBit());
      expectSameTotals(text, plain);
      for (NSUInteger index = 0; index <= units.size() + 2; ++index) {
        expectSameAtIndex(text, plain, index);
      }
    });
  });
}

// Shows: NSStringWordLineCounter
TEST(NSStringWordLineCounterTests, RandomTextsHaveTheCountsMadeByHand) {
  RandomRun random;
  for (int i = 0; i < 3000; ++i) {
    const auto units = testing::randomLines(random, random.below(400));
    forBothStorages(units, [&](const Ref<NSString>& text) {
      SCOPED_TRACE(::testing::PrintToString(units));
      const PlainTextCounts plain(units, text->isEightBit());
      expectSameTotals(text, plain);
      expectSameAtIndex(text, plain, random.below(units.size() + 3));
    });
  }
}

// Shows: NSStringWordLineCounter
TEST(NSStringWordLineCounterTests, LongTextsHaveTheCountsMadeByHand) {
  RandomRun random;
  for (int i = 0; i < 30; ++i) {
    const auto units = testing::randomLines(random, 4000 + random.below(40000));
    forBothStorages(units, [&](const Ref<NSString>& text) {
      const PlainTextCounts plain(units, text->isEightBit());
      expectSameTotals(text, plain);
      expectSameAtIndex(text, plain, random.below(units.size() + 3));
      expectSameAtIndex(text, plain, random.below(2 + units.size() / 16));
    });
  }
}

}  // namespace
}  // namespace kestova
