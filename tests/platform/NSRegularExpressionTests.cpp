// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRegularExpression.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

namespace kestova {

/// What a failing test prints.
void PrintTo(const NSRange& range, std::ostream* stream) {
  *stream << "{" << range.location << ", " << range.length << "}";
}

namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::inBothStorages;
using testing::RandomRun;
using Ranges = std::vector<NSRange>;

constexpr NSRange kNone{NSNotFound, 0};

Ref<NSRegularExpression> regexOf(const Ref<NSString>& pattern, NSUInteger options = 0) {
  return NSRegularExpression::regularExpressionWithPattern_options_error(pattern, options);
}

NSRange wholeOf(const Ref<NSString>& text) { return {0, text->length()}; }

Ranges rangesOf(const Ref<NSTextCheckingResult>& result) {
  Ranges ranges;
  for (NSUInteger i = 0; result && i < result->numberOfRanges(); ++i) {
    ranges.push_back(result->rangeAtIndex(i));
  }
  return ranges;
}

/// The whole ranges of all matches.
Ranges matchesIn(const Ref<NSString>& text, const Ref<NSRegularExpression>& regex,
                 NSUInteger options, NSRange range) {
  Ranges ranges;
  for (const id& result : regex->matchesInString_options_range(text, options, range)) {
    ranges.push_back(cast<NSTextCheckingResult>(result)->range());
  }
  return ranges;
}
Ranges matchesIn(const Ref<NSString>& text, const Ref<NSString>& pattern, NSUInteger options = 0) {
  return matchesIn(text, regexOf(pattern, options), 0, wholeOf(text));
}

Ref<NSString> replaced(const Ref<NSString>& text, const Ref<NSString>& pattern,
                       const Ref<NSString>& templ) {
  return regexOf(pattern)->stringByReplacingMatchesInString_options_range_withTemplate(
      text, 0, wholeOf(text), templ);
}

TEST(NSRegularExpressionTests, OptionsHaveThePlatformsValues) {
  EXPECT_EQ(NSRegularExpressionCaseInsensitive, 1U);
  EXPECT_EQ(NSRegularExpressionAllowCommentsAndWhitespace, 2U);
  EXPECT_EQ(NSRegularExpressionIgnoreMetacharacters, 4U);
  EXPECT_EQ(NSRegularExpressionDotMatchesLineSeparators, 8U);
  EXPECT_EQ(NSRegularExpressionAnchorsMatchLines, 16U);
  EXPECT_EQ(NSRegularExpressionUseUnixLineSeparators, 32U);
  EXPECT_EQ(NSRegularExpressionUseUnicodeWordBoundaries, 64U);
}

TEST(NSRegularExpressionTests, EachOptionReadsThePatternItsOwnWay) {
  struct {
    const char16_t* text;
    const char* pattern;
    NSUInteger options;
    Ranges without;
    Ranges with;
  } const kRows[] = {
      {u"aA", "a", NSRegularExpressionCaseInsensitive, {{0, 1}}, {{0, 1}, {1, 1}}},
      {u"ab a b", "a b # c", NSRegularExpressionAllowCommentsAndWhitespace, {}, {{0, 2}}},
      {u"aab.b", "b.", NSRegularExpressionIgnoreMetacharacters, {{2, 2}}, {{2, 2}}},
      {u"abb.", "b.", NSRegularExpressionIgnoreMetacharacters, {{1, 2}}, {{2, 2}}},
      {u"a\nb", "a.b", NSRegularExpressionDotMatchesLineSeparators, {}, {{0, 3}}},
      {u"a\na", "^a$", NSRegularExpressionAnchorsMatchLines, {}, {{0, 1}, {2, 1}}},
      {u"a\rb", "a.b", NSRegularExpressionUseUnixLineSeparators, {}, {{0, 3}}},
      {u"don't", "\\bt", NSRegularExpressionUseUnicodeWordBoundaries, {{4, 1}}, {}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.pattern);
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(matchesIn(text, row.pattern), row.without);
      EXPECT_EQ(matchesIn(text, row.pattern, row.options), row.with);
    });
  }
}

TEST(NSRegularExpressionTests, MatchesComeFromTheFrontAndDoNotOverlap) {
  forBothStorages(u"aaaa", [](const Ref<NSString>& text) {
    EXPECT_EQ(matchesIn(text, "aa"), (Ranges{{0, 2}, {2, 2}}));
    EXPECT_EQ(matchesIn(text, "aaa"), (Ranges{{0, 3}}));
    EXPECT_EQ(matchesIn(text, "b"), Ranges{});
  });
}

TEST(NSRegularExpressionTests, EmptyMatchesCount) {
  forBothStorages(u"ab", [](const Ref<NSString>& text) {
    EXPECT_EQ(matchesIn(text, "x*"), (Ranges{{0, 0}, {1, 0}, {2, 0}}));
    EXPECT_EQ(matchesIn(text, "a*"), (Ranges{{0, 1}, {1, 0}, {2, 0}}));
  });
  forBothStorages(u"", [](const Ref<NSString>& text) {
    EXPECT_EQ(matchesIn(text, "x*"), (Ranges{{0, 0}}));
    EXPECT_EQ(matchesIn(text, "x"), Ranges{});
  });
}

TEST(NSRegularExpressionTests, GroupsTellTheirRangesAndThoseOutOfTheMatchNone) {
  const auto regex = regexOf("(a)|(b)(c)?");
  EXPECT_EQ(regex->numberOfCaptureGroups(), 3U);
  forBothStorages(u"xbc", [&](const Ref<NSString>& text) {
    const auto result = regex->firstMatchInString_options_range(text, 0, wholeOf(text));
    EXPECT_EQ(rangesOf(result), (Ranges{{1, 2}, kNone, {1, 1}, {2, 1}}));
    EXPECT_EQ(result->range(), (NSRange{1, 2}));
    EXPECT_EQ(result->regularExpression(), regex);
    EXPECT_EQ(copyOf(result), result);
    expectException(NSRangeException, [&] { (void)result->rangeAtIndex(4); });
  });
}

TEST(NSRegularExpressionTests, RangesCountUnits) {
  const Ref<NSString> text = u"\U0001F600é\U0001F600x";
  EXPECT_EQ(matchesIn(text, "x"), (Ranges{{5, 1}}));
  EXPECT_EQ(matchesIn(text, u"\U0001F600"), (Ranges{{0, 2}, {3, 2}}));
  EXPECT_EQ(matchesIn(text, "."), (Ranges{{0, 2}, {2, 1}, {3, 2}, {5, 1}}));
}

TEST(NSRegularExpressionTests, CaseIsFoldedInFull) {
  EXPECT_EQ(matchesIn(u"STRASSE", u"straße", NSRegularExpressionCaseInsensitive), (Ranges{{0, 7}}));
  EXPECT_EQ(matchesIn(u"ΣΑΣ", u"σας", NSRegularExpressionCaseInsensitive), (Ranges{{0, 3}}));
}

TEST(NSRegularExpressionTests, TheFirstMatchIsThatOfTheRange) {
  const auto regex = regexOf("a+");
  forBothStorages(u"aabaaab", [&](const Ref<NSString>& text) {
    const auto firstIn = [&](NSRange range) {
      return regex->rangeOfFirstMatchInString_options_range(text, 0, range);
    };
    EXPECT_EQ(firstIn({0, 7}), (NSRange{0, 2}));
    EXPECT_EQ(firstIn({1, 6}), (NSRange{1, 1}));
    EXPECT_EQ(firstIn({2, 3}), (NSRange{3, 2}));
    EXPECT_EQ(firstIn({6, 1}), kNone);
    EXPECT_EQ(firstIn({7, 0}), kNone);
    EXPECT_FALSE(regex->firstMatchInString_options_range(text, 0, {6, 1}));
    EXPECT_EQ(regex->numberOfMatchesInString_options_range(text, 0, {1, 6}), 2U);
    EXPECT_EQ(matchesIn(text, regex, 0, {1, 6}), (Ranges{{1, 1}, {3, 3}}));
  });
}

TEST(NSRegularExpressionTests, AnAnchoredSearchMatchesAtTheStartOfTheRangeOnly) {
  const auto regex = regexOf("a");
  forBothStorages(u"aab", [&](const Ref<NSString>& text) {
    EXPECT_EQ(matchesIn(text, regex, NSMatchingAnchored, {0, 3}), (Ranges{{0, 1}}));
    EXPECT_EQ(matchesIn(text, regex, NSMatchingAnchored, {1, 2}), (Ranges{{1, 1}}));
    EXPECT_EQ(matchesIn(text, regex, NSMatchingAnchored, {2, 1}), Ranges{});
  });
}

TEST(NSRegularExpressionTests, TheBoundsOfTheRangeAreOpaqueAndAnchorsUnlessToldOtherwise) {
  forBothStorages(u"xay", [](const Ref<NSString>& text) {
    const NSRange range{1, 1};
    EXPECT_EQ(matchesIn(text, regexOf("^a$"), 0, range), (Ranges{{1, 1}}));
    EXPECT_EQ(matchesIn(text, regexOf("^a"), NSMatchingWithoutAnchoringBounds, range), Ranges{});
    EXPECT_EQ(matchesIn(text, regexOf("a$"), NSMatchingWithoutAnchoringBounds, range), Ranges{});
    EXPECT_EQ(matchesIn(text, regexOf("(?<=x)a(?=y)"), 0, range), Ranges{});
    EXPECT_EQ(matchesIn(text, regexOf("(?<=x)a(?=y)"), NSMatchingWithTransparentBounds, range),
              (Ranges{{1, 1}}));
    EXPECT_EQ(matchesIn(text, regexOf("\\ba"), NSMatchingWithTransparentBounds, range), Ranges{});
  });
}

TEST(NSRegularExpressionTests, ASearchLeavesNoOptionsToTheNext) {
  const auto regex = regexOf("^a");
  const Ref<NSString> text = "xa";
  EXPECT_EQ(matchesIn(text, regex, NSMatchingWithoutAnchoringBounds, {1, 1}), Ranges{});
  EXPECT_EQ(matchesIn(text, regex, 0, {1, 1}), (Ranges{{1, 1}}));
}

TEST(NSRegularExpressionTests, WhatIsNoPatternGivesAnErrorWithThePatternAndTheReason) {
  struct {
    const char* pattern;
    const char* reason;
  } const kRows[] = {
      {"", "The pattern is empty."},
      {"a(b", "A parenthesis lacks its partner: line 1, character 3."},
      {"*a", "Something stands where it can't: line 1, character 1."},
      {"a{2,1}", "The most repetitions are fewer than the fewest: line 1, character 6."},
      {"a\n\n(b", "A parenthesis lacks its partner: line 3, character 2."},
      {"[a", "A bracket lacks its partner: line 1, character 2."},
      {"\\", "There is no such escape: line 1, character 1."},
      {"(?<=a+)b", "What is looked back for may be of any length: line 1, character 7."},
      {"[b-a]", "A range of characters runs backwards: line 1, character 4."},
      {"(a)\\2", "There is no such group to refer back to: line 1, character 5."},
      {"\\p{Nonsense}", "There is no such property of characters: line 1, character 12."},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.pattern);
    forBothStorages(
        std::u16string(row.pattern, row.pattern + std::string_view(row.pattern).size()),
        [&](const Ref<NSString>& pattern) {
          Ref<NSError> error;
          EXPECT_FALSE(
              NSRegularExpression::regularExpressionWithPattern_options_error(pattern, 0, &error));
          ASSERT_TRUE(error);
          EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
          EXPECT_EQ(error->code(), NSFormattingError);
          EXPECT_EQ(error->code(), 2048);
          EXPECT_EQ(cast<NSString>(error->userInfo()->objectForKey("NSInvalidValue")), row.pattern);
          EXPECT_EQ(error->localizedFailureReason(), row.reason);
        });
    EXPECT_FALSE(regexOf(row.pattern));
  }
}

TEST(NSRegularExpressionTests, AnErrorIsLeftAloneWhereThereIsNone) {
  Ref<NSError> error;
  EXPECT_TRUE(NSRegularExpression::regularExpressionWithPattern_options_error("a", 0, &error));
  EXPECT_FALSE(error);
}

TEST(NSRegularExpressionTests, DeeplyNestedPatternsAreRefusedOrCompiled) {
  for (const char* opening : {"(", "(?:", "[", "(?=", "(?<=", "a|(", "((?>"}) {
    for (const std::size_t depth : {100U, 100000U}) {
      std::string pattern;
      for (std::size_t i = 0; i < depth; ++i) pattern += opening;
      pattern += "a";
      const char closing = *opening == '[' ? ']' : ')';
      const auto perLevel = std::count(opening, opening + std::string_view(opening).size(), '(') +
                            std::count(opening, opening + std::string_view(opening).size(), '[');
      pattern.append(depth * static_cast<std::size_t>(perLevel), closing);
      const auto regex = regexOf(pattern);
      EXPECT_TRUE(!regex || matchesIn("a", regex, 0, {0, 1}).size() <= 2) << opening;
    }
  }
}

TEST(NSRegularExpressionTests, MissingArgumentsAndRangesPastTheEndThrow) {
  const auto regex = regexOf("a");
  const auto text = NSMutableString::stringWithString("abc");
  const auto expectRefusal = [](const StringConstant& name, auto&& statement) {
    expectException(name, statement);
  };
  expectRefusal(NSInvalidArgumentException, [] { (void)regexOf(nullptr); });
  expectRefusal(NSInvalidArgumentException,
                [] { (void)NSRegularExpression::escapedPatternForString(nullptr); });
  expectRefusal(NSInvalidArgumentException,
                [] { (void)NSRegularExpression::escapedTemplateForString(nullptr); });
  const struct {
    const StringConstant& name;
    Ref<NSMutableString> text;
    NSRange range;
  } kRows[] = {
      {NSInvalidArgumentException, nullptr, {0, 0}},
      {NSRangeException, text, {0, 4}},
      {NSRangeException, text, {4, 0}},
      {NSRangeException, text, {1, ~NSUInteger{0}}},
      {NSRangeException, text, {NSNotFound, 0}},
  };
  for (const auto& row : kRows) {
    const StringConstant& name = row.name;
    const auto string = row.text;
    const NSRange range = row.range;
    expectRefusal(name, [&] { (void)regex->matchesInString_options_range(string, 0, range); });
    expectRefusal(name,
                  [&] { (void)regex->numberOfMatchesInString_options_range(string, 0, range); });
    expectRefusal(name, [&] { (void)regex->firstMatchInString_options_range(string, 0, range); });
    expectRefusal(name,
                  [&] { (void)regex->rangeOfFirstMatchInString_options_range(string, 0, range); });
    expectRefusal(name, [&] {
      regex->enumerateMatchesInString_options_range_usingBlock(
          string, 0, range, [](const Ref<NSTextCheckingResult>&, NSMatchingFlags, bool*) {});
    });
    expectRefusal(name, [&] {
      (void)regex->stringByReplacingMatchesInString_options_range_withTemplate(string, 0, range,
                                                                               "");
    });
    expectRefusal(name, [&] {
      (void)regex->replaceMatchesInString_options_range_withTemplate(string, 0, range, "");
    });
  }
  expectRefusal(NSInvalidArgumentException, [&] { (void)replaced(text, "a", nullptr); });
  expectRefusal(NSInvalidArgumentException, [&] {
    (void)regex->replaceMatchesInString_options_range_withTemplate(text, 0, {0, 1}, nullptr);
  });
}

TEST(NSRegularExpressionTests, TheBlockGetsEachMatchAndMayStop) {
  forBothStorages(u"a1b22c333", [](const Ref<NSString>& text) {
    const auto regex = regexOf("[0-9]+");
    Ranges seen;
    regex->enumerateMatchesInString_options_range_usingBlock(
        text, 0, wholeOf(text),
        [&](const Ref<NSTextCheckingResult>& result, NSMatchingFlags, bool* stop) {
          seen.push_back(result->range());
          *stop = seen.size() == 2;
        });
    EXPECT_EQ(seen, (Ranges{{1, 1}, {3, 2}}));
  });
}

TEST(NSRegularExpressionTests, TheBlockMayChangeTheTextAndSearchItself) {
  const auto text = NSMutableString::stringWithString("abab");
  const auto regex = regexOf("a");
  NSUInteger count = 0;
  regex->enumerateMatchesInString_options_range_usingBlock(
      text, 0, wholeOf(text), [&](const Ref<NSTextCheckingResult>&, NSMatchingFlags, bool*) {
        count += regex->numberOfMatchesInString_options_range(text, 0, wholeOf(text));
        text->setString(u"größer a");
      });
  EXPECT_EQ(count, 2U + 1U);
}

TEST(NSRegularExpressionTests, CompletionIsReportedWithFlags) {
  const auto flagsAtEnd = [](const char* pattern, const char* string) {
    std::vector<NSUInteger> flags;
    const Ref<NSString> text = string;
    regexOf(pattern)->enumerateMatchesInString_options_range_usingBlock(
        text, NSMatchingReportCompletion, wholeOf(text),
        [&](const Ref<NSTextCheckingResult>& result, NSMatchingFlags flag, bool*) {
          if (!result) flags.push_back(flag);
        });
    return flags;
  };
  EXPECT_EQ(flagsAtEnd("a", "xax").size(), 1U);
  EXPECT_EQ(flagsAtEnd("a", "xax").front() & NSMatchingCompleted, NSMatchingCompleted);
  EXPECT_EQ(flagsAtEnd("a", "xax").front() & NSMatchingInternalError, 0U);
}

TEST(NSRegularExpressionTests, AMatchTellsWhetherItDependsOnTheEnd) {
  const auto flagsOfMatch = [](const char* pattern, const char* string) {
    NSUInteger flags = 0;
    const Ref<NSString> text = string;
    regexOf(pattern)->enumerateMatchesInString_options_range_usingBlock(
        text, 0, wholeOf(text),
        [&](const Ref<NSTextCheckingResult>&, NSMatchingFlags flag, bool* stop) {
          flags = flag;
          *stop = true;
        });
    return flags;
  };
  EXPECT_EQ(flagsOfMatch("a", "ab"), 0U);
  EXPECT_EQ(flagsOfMatch("a+", "aa"), NSMatchingHitEnd);
  EXPECT_EQ(flagsOfMatch("a$", "a"), NSMatchingHitEnd | NSMatchingRequiredEnd);
}

/// Text on which the pattern (a+)+$ needs more steps than there is time.
Ref<NSString> hostileText() { return std::string(60, 'a') + "b"; }

TEST(NSRegularExpressionTests, AnExponentialSearchGivesUpAndSaysSo) {
  const auto regex = regexOf("(a+)+$");
  Ranges matches;
  NSUInteger lastFlags = 0;
  NSUInteger progress = 0;
  const auto text = hostileText();
  regex->enumerateMatchesInString_options_range_usingBlock(
      text, NSMatchingReportCompletion | NSMatchingReportProgress, wholeOf(text),
      [&](const Ref<NSTextCheckingResult>& result, NSMatchingFlags flags, bool*) {
        progress += flags == NSMatchingProgress ? 1 : 0;
        lastFlags = flags;
        if (result) matches.push_back(result->range());
      });
  EXPECT_EQ(matches, Ranges{});
  EXPECT_EQ(lastFlags, NSMatchingCompleted | NSMatchingInternalError);
  EXPECT_GT(progress, 10U);
}

TEST(NSRegularExpressionTests, WhatWasFoundBeforeGivingUpIsTheAnswer) {
  const Ref<NSString> text = NSString::stringWithFormat("xx%@", hostileText());
  EXPECT_EQ(matchesIn(text, "x|(a+)+$"), (Ranges{{0, 1}, {1, 1}}));
}

TEST(NSRegularExpressionTests, TooMuchBacktrackingIsNoMatch) {
  const auto text = NSString::stringWithUTF8String(std::string(20'000'000, 'a'));
  EXPECT_EQ(matchesIn(text, "(?:a|b)*c"), Ranges{});
  EXPECT_EQ(regexOf("(?:a|b)*$")->rangeOfFirstMatchInString_options_range(text, 0, {0, 100}),
            (NSRange{0, 100}));
}

TEST(NSRegularExpressionTests, ALongSearchCanBeStopped) {
  const auto text = hostileText();
  NSUInteger calls = 0;
  NSUInteger lastFlags = 0;
  regexOf("(a+)+$")->enumerateMatchesInString_options_range_usingBlock(
      text, NSMatchingReportProgress | NSMatchingReportCompletion, wholeOf(text),
      [&](const Ref<NSTextCheckingResult>& result, NSMatchingFlags flags, bool* stop) {
        EXPECT_FALSE(result);
        ++calls;
        lastFlags = flags;
        *stop = true;
      });
  EXPECT_EQ(calls, 2U);
  EXPECT_EQ(lastFlags, NSMatchingCompleted);
}

TEST(NSRegularExpressionTests, WhatTheBlockThrowsReachesTheCallerAndHarmsNothing) {
  const auto regex = regexOf("(a+)+$");
  const auto text = hostileText();
  EXPECT_THROW(regex->enumerateMatchesInString_options_range_usingBlock(
                   text, NSMatchingReportProgress, wholeOf(text),
                   [](const Ref<NSTextCheckingResult>&, NSMatchingFlags, bool*) {
                     throw std::runtime_error("enough");
                   }),
               std::runtime_error);
  EXPECT_THROW(regex->enumerateMatchesInString_options_range_usingBlock(
                   "aa", 0, {0, 2},
                   [](const Ref<NSTextCheckingResult>&, NSMatchingFlags, bool*) {
                     throw std::runtime_error("enough");
                   }),
               std::runtime_error);
  EXPECT_EQ(matchesIn("xaa", regex, 0, {0, 3}), (Ranges{{1, 2}}));
}

TEST(NSRegularExpressionTests, TemplatesAreFilledIn) {
  struct {
    const char16_t* text;
    const char* pattern;
    const char16_t* templ;
    const char16_t* expected;
  } const kRows[] = {
      {u"john smith", "(\\w+) (\\w+)", u"$2, $1", u"smith, john"},
      {u"abc", "b", u"[$0]", u"a[b]c"},
      {u"abc", "b", u"", u"ac"},
      {u"abc", "b", u"$1x", u"axc"},          // there is no such group
      {u"abc", "(b)", u"$12", u"ab2c"},       // group 1 and a 2
      {u"abc", "(b)", u"$01", u"abc"},        // the number goes on
      {u"abc", "(b)|(x)", u"<$2>", u"a<>c"},  // took no part
      {u"abc", "b", u"\\$0", u"a$0c"},
      {u"abc", "b", u"\\\\", u"a\\c"},
      {u"abc", "b", u"\\n", u"anc"},
      {u"abc", "b", u"x\\", u"ax\\c"},
      {u"abc", "b", u"$", u"a$c"},
      {u"abc", "b", u"$x$", u"a$x$c"},
      {u"abc", "b", u"ä\\é$0", u"aäébc"},
      {u"abc", "b", u"\\\U0001F600", u"a\U0001F600c"},
      {u"äbc", "b", u"-", u"ä-c"},
      {u"aXbX", "X", u"é", u"aébé"},
      {u"ab", "x*", u"-", u"-a-b-"},
      {u"abc", "x", u"-", u"abc"},
      {u"", "^", u"-", u"-"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.templ,
                    [&](const Ref<NSString>& text, const Ref<NSString>& templ) {
                      EXPECT_EQ(replaced(text, row.pattern, templ), row.expected)
                          << row.pattern << " " << templ;
                    });
  }
}

TEST(NSRegularExpressionTests, AGroupsNumberGoesOnForAsLongAsThereIsOne) {
  const char* pattern = "(a)(b)(c)(d)(e)(f)(g)(h)(i)(j)(k)(l)";
  EXPECT_EQ(replaced("abcdefghijkl", pattern, "$12"), "l");
  EXPECT_EQ(replaced("abcdefghijkl", pattern, "$13"), "a3");
  EXPECT_EQ(replaced("abcdefghijkl", pattern, "$120"), "l0");
  EXPECT_EQ(replaced("abcdefghijkl", pattern, "$012"), "l");
  EXPECT_EQ(replaced("abcdefghijkl", pattern, "$99999999999999999999"), "i9999999999999999999");
}

TEST(NSRegularExpressionTests, OnlyTheRangeIsReplaced) {
  const auto regex = regexOf("a");
  EXPECT_EQ(
      regex->stringByReplacingMatchesInString_options_range_withTemplate("aaaa", 0, {1, 2}, "b"),
      "abba");
  const auto text = NSMutableString::stringWithString("aaaa");
  EXPECT_EQ(regex->replaceMatchesInString_options_range_withTemplate(text, 0, {1, 2}, u"ö"), 2U);
  EXPECT_EQ(text, u"aööa");
  EXPECT_EQ(regex->replaceMatchesInString_options_range_withTemplate(text, 0, {1, 2}, "x"), 0U);
  EXPECT_EQ(text, u"aööa");
}

TEST(NSRegularExpressionTests, ATextMayBeItsOwnTemplate) {
  const auto text = NSMutableString::stringWithString("ab");
  EXPECT_EQ(
      regexOf("a|b")->replaceMatchesInString_options_range_withTemplate(text, 0, {0, 2}, text), 2U);
  EXPECT_EQ(text, "abab");
}

TEST(NSRegularExpressionTests, AReplacedTextOfASCIIIsInEightBitStorage) {
  const auto text = NSString::stringWithUTF16Storage(u"aäb");
  EXPECT_TRUE(replaced(text, "\\W|[^a-z]", "-")->isEightBit());
  EXPECT_EQ(replaced(text, "[^a-z]", "-"), "a-b");
}

TEST(NSRegularExpressionTests, TheReplacementOfOneResultFollowsTheOffset) {
  const auto regex = regexOf("b(c)");
  const auto result = regex->firstMatchInString_options_range("abcd", 0, {0, 4});
  const auto replacementIn = [&](const Ref<NSString>& text, NSInteger offset) {
    return regex->replacementStringForResult_inString_offset_template(result, text, offset,
                                                                      "<$0$1>");
  };
  EXPECT_EQ(replacementIn("abcd", 0), "<bcc>");
  EXPECT_EQ(replacementIn("xxabcd", 2), "<bcc>");
  EXPECT_EQ(replacementIn("bcd", -1), "<bcc>");
  expectException(NSRangeException, [&] { (void)replacementIn("abcd", 2); });
  expectException(NSRangeException, [&] { (void)replacementIn("abcd", -2); });
  expectException(NSInvalidArgumentException, [&] { (void)replacementIn(nullptr, 0); });
}

TEST(NSRegularExpressionTests, AResultNeedsARange) {
  expectException(NSInvalidArgumentException, [] {
    (void)NSTextCheckingResult::regularExpressionCheckingResultWithRanges_regularExpression(
        {}, nullptr);
  });
}

TEST(NSRegularExpressionTests, EscapedTextMatchesItself) {
  EXPECT_EQ(NSRegularExpression::escapedPatternForString("a.b*c"), "a\\.b\\*c");
  EXPECT_EQ(NSRegularExpression::escapedPatternForString("\\*?+[(){}^$|./"),
            "\\\\\\*\\?\\+\\[\\(\\)\\{\\}\\^\\$\\|\\.\\/");
  EXPECT_EQ(NSRegularExpression::escapedTemplateForString("$1\\"), "\\$1\\\\");
  EXPECT_EQ(NSRegularExpression::escapedPatternForString(""), "");
  std::u16string all;
  for (char16_t unit = 1; unit < 0x300; ++unit) all.push_back(unit);
  for (const auto& text : inBothStorages(all)) {
    EXPECT_EQ(matchesIn(text, NSRegularExpression::escapedPatternForString(text)),
              (Ranges{{0, text->length()}}));
    EXPECT_EQ(replaced("x", "x", NSRegularExpression::escapedTemplateForString(text)), all);
  }
}

TEST(NSRegularExpressionTests, AnExpressionKeepsItsPatternAndEqualsItsLike) {
  const auto pattern = NSMutableString::stringWithString("a");
  const auto regex = regexOf(pattern, NSRegularExpressionCaseInsensitive);
  pattern->setString("b");
  EXPECT_EQ(regex->pattern(), "a");
  EXPECT_EQ(regex->options(), 1U);
  EXPECT_TRUE(regex->isEqual(regexOf("a", 1)));
  EXPECT_EQ(regex->hash(), regexOf("a", 1)->hash());
  EXPECT_FALSE(regex->isEqual(regexOf("a", 0)));
  EXPECT_FALSE(regex->isEqual(regexOf("b", 1)));
  EXPECT_FALSE(regex->isEqual(nullptr));
  EXPECT_EQ(copyOf(regex), regex);
}

TEST(NSRegularExpressionTests, ManyThreadsSearchWithOneExpression) {
  const auto regex = regexOf("(\\w)(\\d+)");
  std::atomic<NSUInteger> matches{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      const auto text = NSString::stringWithFormat("%d a1 b22 c333", i);
      for (int round = 0; round < 200; ++round) {
        matches += regex->numberOfMatchesInString_options_range(text, 0, wholeOf(text));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(matches, 8U * 200U * 3U);
}

/// So long a text is never widened as a whole.
TEST(NSRegularExpressionTests, TheEndOfAVeryLongTextIsFoundInEitherStorage) {
  const std::size_t length = 33 << 20;
  for (const auto& text : inBothStorages(std::u16string(length, u'a') + u"bc")) {
    const auto regex = regexOf("b(?<=a{3}b)c$");
    EXPECT_EQ(regex->rangeOfFirstMatchInString_options_range(text, 0, {0, length + 2}),
              (NSRange{length, 2}));
  }
}

/// Long texts are read in pieces from 8-bit storage; whatever lies across their edges, the answer
/// is that of the other storage.
TEST(NSRegularExpressionTests, BothStoragesGiveTheSameMatchesAtAnyLength) {
  RandomRun random;
  const auto patterns = {
      "ab",       "a+b+",   "(?<=ab{1,5})a", "(a|b)c\\1",        "\\b\\w+\\b", "(?i)CA+",
      "a.{0,3}c", "[^a]+",  "a(?=[bc]*  )",  "(\\w)(\\w)\\2\\1", "^.*$",       "(?m)^b.*c$",
      "c(?!a)",   "\\X",    "(?<! )b",       "[ab]{5,}",         " {2}",       "(?s).{4000,4200}",
      "\\G[abc]", "(a*)*c",
  };
  for (const std::size_t length :
       {0U, 1U, 4095U, 4096U, 4097U, 5120U, 8192U, 20000U, 70'000U, 140'000U}) {
    std::u16string units;
    for (std::size_t i = 0; i < length; ++i) units += u"aabbc \n"[random.below(7)];
    const auto texts = inBothStorages(units);
    for (const char* pattern : patterns) {
      const auto regex = regexOf(pattern);
      const NSUInteger start = random.below(length + 1);
      for (const NSRange range :
           {NSRange{0, length}, NSRange{start, random.below(length - start)}}) {
        ASSERT_EQ(matchesIn(texts[0], regex, 0, range), matchesIn(texts[1], regex, 0, range))
            << pattern << ", length " << length;
      }
    }
  }
}

}  // namespace
}  // namespace kestova
