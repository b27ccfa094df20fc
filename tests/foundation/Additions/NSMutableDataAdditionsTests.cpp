// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSMutableDataAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "PlainReplacing.h"
#include "RandomRun.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::PlainReplacing;
using testing::RandomRun;

Ref<NSMutableData> dataOf(const std::string& bytes) {
  return NSMutableData::dataWithBytes_length(bytes.data(), bytes.size());
}

std::string textOf(const Ref<NSData>& data) {
  return {reinterpret_cast<const char*>(data->bytes()), data->length()};
}

/// The result and how many replacements it took: "AC 1".
std::string replaced(const std::string& text, const std::string& pattern,
                     const std::string& replacement, NSRange range) {
  const auto data = dataOf(text);
  const NSUInteger count =
      replaceOccurrencesOfData_withData_range(data, dataOf(pattern), dataOf(replacement), range);
  return textOf(data) + ' ' + std::to_string(count);
}

std::string replaced(const std::string& text, const std::string& pattern,
                     const std::string& replacement) {
  return replaced(text, pattern, replacement, {0, text.size()});
}

// Shows: insertBytes_length_atIndex, insertData_atIndex
TEST(NSMutableDataReplaceAdditionsTests, BytesAreInsertedBeforeAnIndex) {
  const auto data = dataOf("ac");
  insertBytes_length_atIndex(data, "b", 1, 1);
  insertBytes_length_atIndex(data, "d", 1, 3);
  insertData_atIndex(data, dataOf("__"), 0);
  insertData_atIndex(data, nullptr, 2);
  insertBytes_length_atIndex(data, nullptr, 0, 2);
  EXPECT_EQ(textOf(data), "__abcd");
  expectException(NSRangeException, [&] { insertBytes_length_atIndex(data, "x", 1, 7); });
  expectException(NSRangeException, [&] { insertData_atIndex(data, nullptr, 7); });
}

// Shows: insertData_atIndex, replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, TheDataMayBeItsOwnArgument) {
  const auto data = dataOf("abc");
  insertData_atIndex(data, data, 1);
  EXPECT_EQ(textOf(data), "aabcbc");
  EXPECT_EQ(replaceOccurrencesOfData_withData_range(data, dataOf("a"), data, {0, 6}), 2U);
  EXPECT_EQ(textOf(data), "aabcbcaabcbcbcbc");
  EXPECT_EQ(replaceOccurrencesOfData_withData_range(data, data, dataOf("x"), {0, 16}), 1U);
  EXPECT_EQ(textOf(data), "x");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, EqualLengthsReplaceEveryMatch) {
  EXPECT_EQ(replaced("ABxABx", "AB", "AC"), "ACxACx 2");
  EXPECT_EQ(replaced("AAAAAA", "AA", "AB"), "ABABAB 3");
}

// Shows: replaceOccurrencesOfBytes_length_withBytes_length_range
TEST(NSMutableDataReplaceAdditionsTests, PlainBytesAreReplacedByPlainBytesOfAnyLength) {
  const auto data = dataOf("ABxABx");
  const auto replace = [&](const char* pattern, NSUInteger m, const char* bytes, NSUInteger r) {
    return replaceOccurrencesOfBytes_length_withBytes_length_range(data, pattern, m, bytes, r,
                                                                   {0, data->length()});
  };
  EXPECT_EQ(replace("AB", 2, "AC", 2), 2U);
  EXPECT_EQ(textOf(data), "ACxACx");
  EXPECT_EQ(replace("C", 1, "CC", 2), 2U);
  EXPECT_EQ(textOf(data), "ACCxACCx");
  EXPECT_EQ(replace("ACCxA", 5, "Z", 1), 1U);
  EXPECT_EQ(textOf(data), "ZCCx");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, AShorterReplacementTakesASingleMatch) {
  EXPECT_EQ(replaced("ABx", "AB", "Z"), "Zx 1");
  EXPECT_EQ(replaced("xAByyy", "AB", ""), "xyyy 1");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, ALongerReplacementDoesNotFindItsOwnInsertions) {
  EXPECT_EQ(replaced("AA", "A", "AA"), "AAAA 2");
  EXPECT_EQ(replaced("xAyAz", "A", "BAB"), "xBAByBABz 2");
  EXPECT_EQ(replaced("AAA", "AA", "AAA"), "AAAA 1");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, ALongerReplacementKeepsToItsRange) {
  EXPECT_EQ(replaced("AAAA", "A", "BB", {1, 2}), "ABBBBA 2");
  EXPECT_EQ(replaced("xABABx", "AB", "CCC", {2, 2}), "xABABx 0") << "matches lie in the range";
  EXPECT_EQ(replaced("AA", "A", "BB", {1, 0}), "AA 0");
  EXPECT_EQ(replaced("AA", "", "BB"), "AA 0");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, AnEmptyRangeEmptiesTheDataInPlace) {
  EXPECT_EQ(replaced("ABx", "AB", "Z", {0, 0}), " 0");
  EXPECT_EQ(replaced("ABx", "AB", "AC", {2, 0}), " 0");
  EXPECT_EQ(replaced("ABx", "", "", {0, 0}), " 0");
  EXPECT_EQ(replaced("ABx", "AB", "Z", {99, 0}), " 0") << "wherever it is";
  EXPECT_EQ(replaced("ABx", "AB", "ZZZ", {99, 0}), "ABx 0");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, WithoutAMatchNothingChangesInPlace) {
  EXPECT_EQ(replaced("abc", "x", "y"), "abc 0");
  EXPECT_EQ(replaced("abc", "", ""), "abc 0");
  EXPECT_EQ(replaced("abc", "abcd", "y"), "abc 0");
  EXPECT_EQ(replaced("abc", "a", "x", {1, 2}), "abc 0");
}

/// A pair that does not end the data is written in front, and the data keeps its length: the bytes
/// between the writing and the reading are old ones.
// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, AfterAPairWithoutAnotherMatchOldBytesStay) {
  EXPECT_EQ(replaced("ABxAByy", "AB", "Z"), "ZxZAByy 2");
  EXPECT_EQ(replaced("AAxy", "A", ""), "AAxy 2");
  EXPECT_EQ(replaced("xAyAz", "A", ""), "xyyAz 2");
  EXPECT_EQ(replaced("ABxABx", "AB", "AC"), "ACxACx 2") << "equal lengths leave none";
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, APairThatEndsTheDataCutsItOff) {
  EXPECT_EQ(replaced("ABxAB", "AB", "Z"), "ZxZ 2");
  EXPECT_EQ(replaced("AA", "A", ""), " 2");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, AnOddNumberOfMatchesIsReplacedCompletely) {
  EXPECT_EQ(replaced("AxAyAz", "A", ""), "xyz 3");
  EXPECT_EQ(replaced("ABxABxABx", "AB", "-"), "-x-x-x 3");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, BytesOutsideTheRangeAreLostInPlace) {
  EXPECT_EQ(replaced("12A34", "A", "-", {1, 4}), "2-34 1") << "those before it";
  EXPECT_EQ(replaced("12A34", "A", "-", {0, 4}), "12-3 1") << "those behind it";
}

/// Behind a pair the search ends at the index that is the range's length.
// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, LaterPairsAreSearchedUpToTheRangesLength) {
  EXPECT_EQ(replaced("____AxAxAxAx", "A", "-", {4, 8}), "-x-_AxAxAxAx 2")
      << "the search for the third one is over at index 8";
  EXPECT_EQ(replaced("__AxAxAxAx", "A", "-", {2, 8}), "-x-x-x-xAx 4")
      << "the third one is before index 8, and the fourth one before the range's end";
  EXPECT_EQ(replaced("____AAxxxx", "A", "", {4, 6}), " 2") << "a pair that ends at index 6";
}

// Shows: replaceOccurrencesOfBytes_length_withBytes_length_range
TEST(NSMutableDataReplaceAdditionsTests, WithoutReplacementBytesMatchesAreDeleted) {
  const auto data = dataOf("xAByABz");
  EXPECT_EQ(
      replaceOccurrencesOfBytes_length_withBytes_length_range(data, "AB", 2, nullptr, 2, {0, 4}),
      1U);
  EXPECT_EQ(textOf(data), "xy") << "its length is not taken for bytes";
  EXPECT_EQ(replaceOccurrencesOfData_withData_range(data, dataOf("x"), nullptr, {0, 2}), 1U);
  EXPECT_EQ(textOf(data), "y");
  EXPECT_EQ(replaceOccurrencesOfData_withData_range(data, nullptr, nullptr, {0, 1}), 0U);
}

// Shows: replaceOccurrencesOfBytes_length_withBytes_length_range
TEST(NSMutableDataReplaceAdditionsTests, ALongerReplacementMustBeThere) {
  const auto data = dataOf("xA");
  const auto replace = [&](const char* pattern) {
    return replaceOccurrencesOfBytes_length_withBytes_length_range(data, pattern, 1, nullptr, 2,
                                                                   {0, 2});
  };
  EXPECT_EQ(replace("B"), 0U);
  expectException(NSInvalidArgumentException, [&] { (void)replace("A"); });
  EXPECT_EQ(textOf(data), "xA");
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, RangesPastTheEndThrow) {
  for (const char* replacement : {"", "x", "xyz"}) {
    expectException(NSRangeException, [&] { (void)replaced("abc", "b", replacement, {1, 3}); });
    expectException(NSRangeException, [&] {
      (void)replaced("abc", "b", replacement, {4, NSNotFound});
    });
  }
}

/// All texts of two letters, all ranges, patterns and replacements up to a size.
// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, AllShortReplacementsAgreeWithTheirSteps) {
  const std::vector<std::string> kPatterns = {"", "A", "AB", "AA", "ABA"};
  const std::vector<std::string> kReplacements = {"", "x", "A", "xy", "xyz", "AAAA"};
  for (std::size_t size = 0; size <= 8; ++size) {
    for (unsigned letters = 0; letters < 1U << size; ++letters) {
      std::string text;
      for (std::size_t bit = 0; bit < size; ++bit) {
        text += (letters >> bit & 1) != 0 ? 'A' : 'B';
      }
      for (NSUInteger location = 0; location <= size; ++location) {
        for (NSUInteger length = 0; length <= size - location; ++length) {
          for (const auto& pattern : kPatterns) {
            for (const auto& replacement : kReplacements) {
              PlainReplacing plain{text, pattern, replacement.data(), replacement.size()};
              const NSUInteger count = plain.replaceAll({location, length});
              ASSERT_EQ(replaced(text, pattern, replacement, {location, length}),
                        plain.data + ' ' + std::to_string(count))
                  << text << " {" << location << ", " << length << "} " << pattern << " -> "
                  << replacement;
            }
          }
        }
      }
    }
  }
}

// Shows: replaceOccurrencesOfBytes_length_withBytes_length_range
TEST(NSMutableDataReplaceAdditionsTests, RandomReplacementsAgreeWithTheirSteps) {
  RandomRun random;
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    while (text.size() < 400 && random.below(300) != 0) {
      text += random.below(4) == 0 ? "needle" : std::string(1, "needl."[random.below(6)]);
    }
    const std::string pattern = random.below(2) == 0 ? "needle" : "ee";
    const std::string replacement(random.below(9), 'e');
    const char* given =
        random.below(8) == 0 && replacement.size() <= pattern.size() ? nullptr : replacement.data();
    const NSUInteger location = random.below(3) == 0 ? random.below(text.size() + 1) : 0;
    const NSUInteger rest = text.size() - location;
    const NSRange range = {location, random.below(3) == 0 ? random.below(rest + 1) : rest};
    PlainReplacing plain{text, pattern, given, replacement.size()};
    const auto data = dataOf(text);
    const NSUInteger count = replaceOccurrencesOfBytes_length_withBytes_length_range(
        data, pattern.data(), pattern.size(), given, replacement.size(), range);
    ASSERT_EQ(count, plain.replaceAll(range)) << text;
    ASSERT_EQ(textOf(data), plain.data) << text;
  }
}

// Shows: replaceOccurrencesOfData_withData_range
TEST(NSMutableDataReplaceAdditionsTests, AMillionMatchesAreReplacedInOnePass) {
  std::string text;
  std::string expected;
  for (int line = 0; line < 1'000'000; ++line) {
    text += "a line\n";
    expected += "a line\r\n";
  }
  const auto data = dataOf(text);
  EXPECT_EQ(
      replaceOccurrencesOfData_withData_range(data, dataOf("\n"), dataOf("\r\n"), {0, text.size()}),
      1'000'000U);
  EXPECT_EQ(textOf(data), expected);
  EXPECT_EQ(replaceOccurrencesOfData_withData_range(data, dataOf("\r\n"), dataOf("\n"),
                                                    {0, expected.size()}),
            1'000'000U);
  EXPECT_EQ(textOf(data), text) << "the last match ends the data";
}

// Shows: replaceOccurrencesOfBytes_length_withBytes_length_range
TEST(NSMutableDataReplaceAdditionsTests, MoreThanAllMemoryIsRefusedAndChangesNothing) {
  const auto data = dataOf("AAAA");
  EXPECT_THROW((void)replaceOccurrencesOfBytes_length_withBytes_length_range(
                   data, "A", 1, "x", NSUInteger{1} << 63, {0, 4}),
               std::bad_alloc);
  EXPECT_EQ(textOf(data), "AAAA");
}

std::string replacedRanges(const std::string& text, const std::vector<NSRange>& ranges,
                           const std::string& bytes) {
  const auto data = dataOf(text);
  replaceBytesInRanges_numberOfRanges_withBytes_length(data, ranges.data(), ranges.size(),
                                                       bytes.data(), bytes.size());
  return textOf(data);
}

// Shows: replaceBytesInRanges_numberOfRanges_withBytes_length
TEST(NSMutableDataReplaceAdditionsTests, RangesAreReplacedFromTheLastToTheFirst) {
  EXPECT_EQ(replacedRanges("0123456789", {{1, 2}, {5, 1}, {9, 1}}, "--"), "0--34--678--");
  EXPECT_EQ(replacedRanges("0123456789", {{1, 2}, {5, 1}, {9, 1}}, ""), "034678");
  EXPECT_EQ(replacedRanges("0123456789", {{0, 5}, {6, 0}, {6, 0}}, "--"), "--5----6789");
  EXPECT_EQ(replacedRanges("0123456789", {}, "--"), "0123456789");
  EXPECT_EQ(replacedRanges("0123456789", {{3, 3}}, "-"), "012-6789");
}

// Shows: replaceBytesInRanges_numberOfRanges_withBytes_length
TEST(NSMutableDataReplaceAdditionsTests, RangesInAnotherOrderMeanWhatIsThereByThen) {
  EXPECT_EQ(replacedRanges("0123456789", {{7, 2}, {0, 1}}, ""), "1234567")
      << "the second range goes first, and the bytes move";
  EXPECT_EQ(replacedRanges("0123", {{1, 2}, {2, 2}}, "abc"), "0abcbc") << "ranges that overlap";
}

// Shows: replaceBytesInRanges_numberOfRanges_withBytes_length
TEST(NSMutableDataReplaceAdditionsTests, ABadRangeThrowsAfterThoseBehindIt) {
  const auto data = dataOf("0123");
  const NSRange ranges[] = {{0, 1}, {4, 2}, {1, 1}};
  expectException(NSRangeException, [&] {
    replaceBytesInRanges_numberOfRanges_withBytes_length(data, ranges, 3, "-", 1);
  });
  EXPECT_EQ(textOf(data), "0-23");
  replaceBytesInRanges_numberOfRanges_withBytes_length(data, nullptr, 0, nullptr, 0);
  expectException(NSInvalidArgumentException, [&] {
    replaceBytesInRanges_numberOfRanges_withBytes_length(data, ranges, 1, nullptr, 1);
  });
}

// Shows: replaceBytesInRanges_numberOfRanges_withBytes_length
TEST(NSMutableDataReplaceAdditionsTests, RandomRangesAgreeWithReplacingOneByOne) {
  RandomRun random;
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    for (std::uint64_t left = random.below(60); left > 0; --left) {
      text += static_cast<char>('a' + random.below(26));
    }
    std::vector<NSRange> ranges;
    NSUInteger end = 0;
    while (random.below(6) != 0) {
      const NSUInteger location = end + random.below(text.size() - end + 1);
      const NSUInteger length = random.below(text.size() - location + 1) / (1 + random.below(8));
      ranges.push_back({location, length});
      end = location + length;
    }
    const std::string bytes(random.below(5), '-');
    std::string plain = text;
    for (auto range = ranges.rbegin(); range != ranges.rend(); ++range) {
      plain.replace(range->location, range->length, bytes);
    }
    ASSERT_EQ(replacedRanges(text, ranges, bytes), plain) << text;
  }
}

}  // namespace
}  // namespace kestova
