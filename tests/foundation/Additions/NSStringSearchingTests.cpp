// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRegularExpression.h>
#include <KestovaPlatform/NSValue.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomText.h"

#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::oddText;
using testing::plainText;
using testing::RandomRun;
using Ranges = std::vector<NSRange>;
using namespace std::string_view_literals;

constexpr NSUInteger kCaseless = NSCaseInsensitiveSearch;

template <class Call>
void refusesNull(Call&& call) {
  expectException(NSInvalidArgumentException, call);
}

Ranges rangesOf(const Ref<NSArray>& values) {
  Ranges ranges;
  for (const id& value : values) {
    ranges.push_back(cast<NSValue>(value)->rangeValue());
  }
  return ranges;
}

// Shows: numberOfOccurrencesOfString_options
TEST(NSStringSearchingTests, OccurrencesAreCountedWhereTheyOverlap) {
  const struct {
    std::u16string_view text;
    std::u16string_view wanted;
    NSUInteger options;
    NSUInteger count;
  } kRows[] = {
      {u"aaaa", u"aa", 0, 3},
      {u"aaa", u"aa", 0, 2},
      {u"", u"a", 0, 0},
      {u"abc", u"", 0, 0},
      {u"abc", u"x", 0, 0},
      {u"aAaA", u"aa", kCaseless, 3},
      {u"aaaa", u"aa", NSBackwardsSearch, 1},
      {u"aaba", u"a", NSAnchoredSearch, 2},
      {u"ää", u"ä", 0, 2},
      {u"äa\u0308a", u"ä", 0, 2},
      {u"Straße", u"s", kCaseless, 1},
  };
  for (const auto& row : kRows) {
    forBothStorages(
        row.text, row.wanted, [&](const Ref<NSString>& text, const Ref<NSString>& wanted) {
          EXPECT_EQ(numberOfOccurrencesOfString_options(text, wanted, row.options), row.count)
              << text << ", " << wanted;
        });
  }
  refusesNull([] { (void)numberOfOccurrencesOfString_options("a", nullptr, 0); });
  EXPECT_EQ(numberOfOccurrencesOfString_options("", nullptr, 0), 0U);
}

// Shows: occurrencesOfString_options
TEST(NSStringSearchingTests, OccurrencesAreListedApart) {
  forBothStorages(u"aaaa", u"aa", [](const Ref<NSString>& text, const Ref<NSString>& wanted) {
    EXPECT_EQ(rangesOf(occurrencesOfString_options(text, wanted, 0)), (Ranges{{0, 2}, {2, 2}}));
  });
  forBothStorages(u"aaaaa", u"aa", [](const Ref<NSString>& text, const Ref<NSString>& wanted) {
    EXPECT_EQ(rangesOf(occurrencesOfString_options(text, wanted, 0)), (Ranges{{0, 2}, {2, 2}}));
    EXPECT_EQ(rangesOf(occurrencesOfString_options(text, wanted, NSBackwardsSearch)),
              (Ranges{{3, 2}, {1, 2}}));
  });
  EXPECT_EQ(occurrencesOfString_options("abc", "x", 0)->count(), 0U);
  EXPECT_EQ(occurrencesOfString_options("", "x", 0)->count(), 0U);
  EXPECT_EQ(rangesOf(occurrencesOfString_options(u"ßxSS", "ss", kCaseless)),
            (Ranges{{0, 1}, {2, 2}}));
  refusesNull([] { (void)occurrencesOfString_options("a", nullptr, 0); });
}

// Shows: numberOfOccurrencesOfString_options, occurrencesOfString_options
TEST(NSStringSearchingTests, OccurrencesAgreeWithSearchAfterSearch) {
  RandomRun random;
  for (int round = 0; round < 4000 && !HasFailure(); ++round) {
    const bool isPlain = random.below(2) == 0;
    const auto text = isPlain ? plainText(random, 24) : oddText(random, 12);
    const auto wanted = isPlain ? plainText(random, 2) : oddText(random, 1);
    const NSUInteger options = random.below(16) | random.below(4) * 128;
    forBothStorages(text, wanted, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      NSUInteger count = 0;
      for (NSUInteger place = 0; place < a->length(); ++count) {
        const auto found = a->rangeOfString_options_range(b, options, {place, a->length() - place});
        if (found.location == NSNotFound) {
          break;
        }
        place = found.location + 1;
      }
      Ranges ranges;
      NSRange range{0, a->length()};
      for (NSRange found;
           (found = a->rangeOfString_options_range(b, options, range)).location != NSNotFound;) {
        ranges.push_back(found);
        range = (options & NSBackwardsSearch) != 0
                    ? NSRange{0, found.location}
                    : NSRange{NSMaxRange(found), a->length() - NSMaxRange(found)};
      }
      EXPECT_EQ(numberOfOccurrencesOfString_options(a, b, options), count)
          << a << ", " << b << ", " << options;
      EXPECT_EQ(rangesOf(occurrencesOfString_options(a, b, options)), ranges)
          << a << ", " << b << ", " << options;
    });
  }
}

// Shows: numberOfOccurrencesOfString_options, occurrencesOfString_options
TEST(NSStringSearchingTests, MegabytesOfOneLetterAreCounted) {
  const auto text =
      NSString::string()->stringByPaddingToLength_withString_startingAtIndex(400'000, "a", 0);
  EXPECT_EQ(numberOfOccurrencesOfString_options(text, text->substringToIndex(200'000), 0),
            200'001U);
  EXPECT_EQ(occurrencesOfString_options(text, "aa", NSBackwardsSearch)->count(), 200'000U);
}

// Shows: hasPrefix_options, hasSuffix_options
TEST(NSStringSearchingTests, PrefixesAndSuffixesAreComparedWithOptions) {
  const struct {
    std::u16string_view text;
    std::u16string_view part;
    NSUInteger options;
    bool isPrefix;
    bool isSuffix;
  } kRows[] = {
      {u"abcab", u"ab", 0, true, true},
      {u"abcab", u"AB", 0, false, false},
      {u"abcab", u"AB", kCaseless, true, true},
      {u"abc", u"", 0, true, true},
      {u"", u"", 0, true, true},
      {u"", u"a", 0, false, false},
      {u"ab", u"abc", 0, false, false},
      {u"ß", u"SS", kCaseless, false, false},  // as many units are compared
      {u"SS", u"ß", kCaseless, false, false},
      {u"\u00E9", u"e\u0301", 0, false, false},
      {u"e\u0301x\u00E9a", u"\u00E9a", 0, false, true},
      {u"e\u0301", u"e", 0, true, false},  // the first unit by itself
      {u"éa", u"ea", NSDiacriticInsensitiveSearch, true, true},
      {u"01", u"1", NSNumericSearch, false, true},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.part, [&](const Ref<NSString>& text, const Ref<NSString>& part) {
      EXPECT_EQ(hasPrefix_options(text, part, row.options), row.isPrefix) << text << ", " << part;
      EXPECT_EQ(hasSuffix_options(text, part, row.options), row.isSuffix) << text << ", " << part;
    });
  }
  refusesNull([] { (void)hasPrefix_options("a", nullptr, 0); });
  refusesNull([] { (void)hasSuffix_options("a", nullptr, 0); });
}

// Shows: containsString_options
TEST(NSStringSearchingTests, ATextIsLookedForWithOptions) {
  forBothStorages(u"abc", u"BC", [](const Ref<NSString>& text, const Ref<NSString>& wanted) {
    EXPECT_FALSE(containsString_options(text, wanted, 0));
    EXPECT_TRUE(containsString_options(text, wanted, kCaseless));
    EXPECT_FALSE(containsString_options(text, wanted, kCaseless | NSAnchoredSearch));
    EXPECT_FALSE(containsString_options(text, "", 0));
  });
  refusesNull([] { (void)containsString_options("a", nullptr, 0); });
}

// Shows: stringByDeletingSuffix
TEST(NSStringSearchingTests, TheLastOccurrenceAndWhatFollowsGo) {
  forBothStorages(u"abcabc", u"b", [](const Ref<NSString>& text, const Ref<NSString>& part) {
    EXPECT_EQ(stringByDeletingSuffix(text, part), "abca");
    EXPECT_EQ(stringByDeletingSuffix(text, text), "");
    EXPECT_TRUE(stringByDeletingSuffix(text, "x") == text);
    EXPECT_TRUE(stringByDeletingSuffix(text, "B") == text);
    EXPECT_TRUE(stringByDeletingSuffix(text, "") == text);
  });
  refusesNull([] { (void)stringByDeletingSuffix("a", nullptr); });
}

// Shows: firstWord
TEST(NSStringSearchingTests, TheFirstWordStandsBetweenWhiteSpace) {
  const auto check = [](std::u16string_view text, std::u16string_view word) {
    forBothStorages(text, [&](const Ref<NSString>& self) { EXPECT_EQ(firstWord(self), word); });
  };
  check(u"one two", u"one");
  check(u"  \n\tone\ntwo", u"one");
  check(u"one", u"one");
  check(u"\u3000ä,b\u2028c", u"ä,b");
  EXPECT_EQ(firstWord(""), nullptr);
  EXPECT_EQ(firstWord(" \r\n\t"), nullptr);
}

// Shows: ov_matchedStringForRegex_groupAtIndex_options
TEST(NSStringSearchingTests, GroupsOfAPatternAreAnswered) {
  forBothStorages(u"key=value;", [](const Ref<NSString>& text) {
    const auto group = [&](const Ref<NSString>& pattern, NSUInteger index, NSUInteger options = 0) {
      return ov_matchedStringForRegex_groupAtIndex_options(text, pattern, index, options);
    };
    EXPECT_EQ(group("(\\w+)=(\\w+)", 0), "key=value");
    EXPECT_EQ(group("(\\w+)=(\\w+)", 1), "key");
    EXPECT_EQ(group("(\\w+)=(\\w+)", 2), "value");
    EXPECT_EQ(group("x", 0), nullptr);
    EXPECT_EQ(group("x", 5), nullptr);
    EXPECT_EQ(group("(x)|key", 1), nullptr);  // took no part
    EXPECT_EQ(group("(x*)key", 1), nullptr);  // is empty
    EXPECT_EQ(group("x*", 0), nullptr);
    EXPECT_EQ(group("KEY", 0), nullptr);
    EXPECT_EQ(group("KEY", 0, NSRegularExpressionCaseInsensitive), "key");
    expectException(NSRangeException, [&] { (void)group("key", 1); });
  });
  EXPECT_EQ(ov_matchedStringForRegex_groupAtIndex_options(u"ä😀é", u"😀(.)", 1, 0), u"é"sv);
}

// Shows: ov_matchedStringForRegex_groupAtIndex_options
TEST(NSStringSearchingTests, OnlyTheFirstMatchOfAPatternCounts) {
  forBothStorages(u"a1 b2", [](const Ref<NSString>& text) {
    EXPECT_EQ(ov_matchedStringForRegex_groupAtIndex_options(text, "[a-z]([0-9])", 0, 0), "a1");
    EXPECT_EQ(ov_matchedStringForRegex_groupAtIndex_options(text, "[a-z]([0-9])", 1, 0), "1");
    EXPECT_EQ(ov_matchedStringForRegex_groupAtIndex_options(text, "[a-z](2|)", 1, 0), nullptr)
        << "the first match's group is empty, the second one's is not looked at";
  });
}

// Shows: ov_matchedStringForRegex_groupAtIndex_options
TEST(NSStringSearchingTests, WhatIsNoPatternThrows) {
  for (const Ref<NSString>& pattern : {Ref<NSString>("(a"), Ref<NSString>("["), Ref<NSString>()}) {
    const auto exception = expectException(NSInvalidArgumentException, [&] {
      (void)ov_matchedStringForRegex_groupAtIndex_options("a", pattern, 0, 0);
    });
    EXPECT_EQ(exception.reason(), "Invalid regex pattern");
  }
}

// Shows: isCaseInsensitiveEqual
TEST(NSStringSearchingTests, TextsThatDifferInCaseAloneAreEqual) {
  forBothStorages(u"GRÜSSE", u"grüße", [](const Ref<NSString>& a, const Ref<NSString>& b) {
    EXPECT_TRUE(isCaseInsensitiveEqual(a, b));
    EXPECT_FALSE(isCaseInsensitiveEqual(a, "grusse"));
  });
  forBothStorages(u"aB", u"Ab", [](const Ref<NSString>& a, const Ref<NSString>& b) {
    EXPECT_TRUE(isCaseInsensitiveEqual(a, b));
    EXPECT_FALSE(isCaseInsensitiveEqual(a, "a"));
  });
  refusesNull([] { (void)isCaseInsensitiveEqual("a", nullptr); });
}

}  // namespace
}  // namespace kestova
