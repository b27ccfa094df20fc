// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/StringMatches.h>
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
using enum SearchGoesOn;
using Ranges = std::vector<NSRange>;

Ranges matchesOf(const Ref<NSString>& text, const Ref<NSString>& wanted, NSUInteger options,
                 NSRange range, SearchGoesOn goesOn) {
  Ranges matches;
  visitMatches(text, wanted, options, range, goesOn, [&](NSRange match) {
    matches.push_back(match);
    return true;
  });
  return matches;
}

TEST(StringMatchesTests, TheSearchGoesOnAsTold) {
  forBothStorages(u"aaaa", u"aa", [](const Ref<NSString>& text, const Ref<NSString>& wanted) {
    const auto matches = [&](NSUInteger options, SearchGoesOn goesOn) {
      return matchesOf(text, wanted, options, {0, 4}, goesOn);
    };
    EXPECT_EQ(matches(0, behindTheMatch), (Ranges{{0, 2}, {2, 2}}));
    EXPECT_EQ(matches(0, atTheNextUnit), (Ranges{{0, 2}, {1, 2}, {2, 2}}));
    EXPECT_EQ(matches(NSBackwardsSearch, beforeTheMatch), (Ranges{{2, 2}, {0, 2}}));
    EXPECT_EQ(matches(NSBackwardsSearch, behindTheMatch), (Ranges{{2, 2}}));
    EXPECT_EQ(matches(NSAnchoredSearch, atTheNextUnit), (Ranges{{0, 2}, {1, 2}, {2, 2}}));
  });
}

TEST(StringMatchesTests, TheVisitorMayStop) {
  for (const auto goesOn : {behindTheMatch, atTheNextUnit, beforeTheMatch}) {
    int count = 0;
    visitMatches("aaaa", "a", 0, {0, 4}, goesOn, [&](NSRange) { return ++count < 2; });
    EXPECT_EQ(count, goesOn == beforeTheMatch ? 1 : 2);
  }
}

TEST(StringMatchesTests, PatternsThatMatchNothingComeToAnEnd) {
  const auto matches = [](SearchGoesOn goesOn) {
    return matchesOf("abab", "a*", NSRegularExpressionSearch, {0, 4}, goesOn);
  };
  EXPECT_EQ(matches(behindTheMatch), (Ranges{{0, 1}, {1, 0}, {2, 1}, {3, 0}}));
  EXPECT_EQ(matches(atTheNextUnit), (Ranges{{0, 1}, {1, 0}, {2, 1}, {3, 0}}));
  EXPECT_EQ(matchesOf("ab", "x*", NSRegularExpressionSearch, {0, 2}, beforeTheMatch),
            (Ranges{{0, 0}}));
}

TEST(StringMatchesTests, BadArgumentsThrow) {
  const auto ignore = [](NSRange) { return true; };
  expectException(NSInvalidArgumentException, [&] {
    visitMatches("a", nullptr, 0, {0, 1}, behindTheMatch, ignore);
  });
  expectException(NSRangeException, [&] {
    visitMatches("a", "a", 0, {1, 1}, behindTheMatch, ignore);
  });
}

TEST(StringMatchesTests, AgreesWithSearchAfterSearch) {
  RandomRun random;
  for (int round = 0; round < 6000 && !HasFailure(); ++round) {
    const bool isPlain = random.below(2) == 0;
    const auto text = isPlain ? plainText(random, 30) : oddText(random, 14);
    const auto wanted = isPlain ? plainText(random, 2) : oddText(random, 1);
    const NSUInteger options = random.below(16) | random.below(4) * 128;
    const auto goesOn = std::vector{behindTheMatch, atTheNextUnit, beforeTheMatch}[random.below(3)];
    forBothStorages(text, wanted, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      Ranges expected;
      NSRange range{0, a->length()};
      for (NSRange match;
           (match = a->rangeOfString_options_range(b, options, range)).location != NSNotFound;) {
        expected.push_back(match);
        const NSUInteger start = goesOn == beforeTheMatch  ? 0
                                 : goesOn == atTheNextUnit ? match.location + 1
                                                           : NSMaxRange(match);
        const NSUInteger end = goesOn == beforeTheMatch ? match.location : NSMaxRange(range);
        range = {start, end - start};
      }
      EXPECT_EQ(matchesOf(a, b, options, {0, a->length()}, goesOn), expected)
          << a << ", " << b << ", " << options;
    });
  }
}

}  // namespace
}  // namespace kestova
