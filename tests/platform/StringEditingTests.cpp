// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
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
using testing::unitsOf;
using Pieces = std::vector<std::u16string>;
using namespace std::string_view_literals;

template <class Call>
void refusesNull(Call&& call) {
  expectException(NSInvalidArgumentException, call);
}

TEST(StringEditingTests, ComponentsAreFoundAsSearchesFind) {
  forBothStorages(u"a,b,,c,", u",", [](const Ref<NSString>& text, const Ref<NSString>& mark) {
    EXPECT_EQ(unitsOf(text->componentsSeparatedByString(mark)),
              (Pieces{u"a", u"b", u"", u"c", u""}));
  });
  const Ref<NSString> equivalent = u"1\u00E92e\u03013e4";
  EXPECT_EQ(unitsOf(equivalent->componentsSeparatedByString(u"\u00E9")),
            (Pieces{u"1", u"2", u"3e4"}));
  EXPECT_EQ(unitsOf(equivalent->componentsSeparatedByString("e")),
            (Pieces{u"1\u00E92e\u03013", u"4"}));
}

TEST(StringEditingTests, ComponentsLieBetweenTheCharactersOfASet) {
  const auto set = NSCharacterSet::characterSetWithCharactersInString(u",;😀");
  const auto check = [&](std::u16string_view text, const Pieces& pieces) {
    forBothStorages(text, [&](const Ref<NSString>& string) {
      EXPECT_EQ(unitsOf(string->componentsSeparatedByCharactersInSet(set)), pieces);
    });
  };
  check(u"a,b;c", {u"a", u"b", u"c"});
  check(u"", {u""});
  check(u",;", {u"", u"", u""});
  check(u"abc", {u"abc"});
  check(u"ä😀b", {u"ä", u"b"});
  check(u"😁", {u"😁"});
  refusesNull([] { (void)Ref<NSString>("a")->componentsSeparatedByCharactersInSet(nullptr); });
}

TEST(StringEditingTests, TrimsBothEnds) {
  const auto blanks = NSCharacterSet::whitespaceAndNewlineCharacterSet();
  const auto check = [&](std::u16string_view text, std::u16string_view trimmed) {
    forBothStorages(text, [&](const Ref<NSString>& string) {
      EXPECT_EQ(string->stringByTrimmingCharactersInSet(blanks), trimmed);
    });
  };
  check(u"  a b \n", u"a b");
  check(u"", u"");
  check(u" \t\r\n", u"");
  check(u"abc", u"abc");
  check(u"\u3000ä\u2028", u"ä");
  const Ref<NSString> smiles = u"😀a😀😀";
  const auto smile = NSCharacterSet::characterSetWithCharactersInString(u"😀");
  EXPECT_EQ(smiles->stringByTrimmingCharactersInSet(smile), "a");
  refusesNull([] { (void)Ref<NSString>("a")->stringByTrimmingCharactersInSet(nullptr); });
}

TEST(StringEditingTests, ReplacesEveryMatch) {
  const struct {
    std::u16string_view text;
    std::u16string_view target;
    std::u16string_view replacement;
    NSUInteger options;
    std::u16string_view result;
  } kRows[] = {
      {u"abcabc", u"b", u"xx", 0, u"axxcaxxc"},
      {u"abcabc", u"b", u"", 0, u"acac"},
      {u"aaa", u"aa", u"x", 0, u"xa"},
      {u"aaa", u"aa", u"x", NSBackwardsSearch, u"ax"},
      {u"aaab", u"a", u"x", NSAnchoredSearch, u"xxxb"},
      {u"baaa", u"a", u"x", NSAnchoredSearch, u"baaa"},
      {u"baaa", u"a", u"x", NSAnchoredSearch | NSBackwardsSearch, u"bxxx"},
      {u"abc", u"", u"x", 0, u"abc"},
      {u"abc", u"z", u"x", 0, u"abc"},
      {u"", u"a", u"x", 0, u""},
      {u"aBAb", u"AB", u"-", NSCaseInsensitiveSearch, u"--"},
      {u"Straße, STRASSE", u"ss", u"-", NSCaseInsensitiveSearch, u"Stra-e, STRA-E"},
      {u"e\u0301e\u00E9", u"\u00E9", u"x", 0, u"xex"},
      {u"e\u0301e", u"e", u"x", 0, u"e\u0301x"},
      {u"e\u0301e", u"e", u"x", NSLiteralSearch, u"x\u0301x"},
      {u"abc", u"b", u"ä", 0, u"aäc"},
      {u"äbä", u"ä", u"a", 0, u"aba"},
      {u"aa", u"a", u"aa", 0, u"aaaa"},
  };
  for (const auto& row : kRows) {
    forBothStorages(
        row.text, row.target, [&](const Ref<NSString>& text, const Ref<NSString>& target) {
          const Ref<NSString> replacement = row.replacement;
          EXPECT_EQ(text->stringByReplacingOccurrencesOfString_withString_options_range(
                        target, replacement, row.options, {0, text->length()}),
                    row.result)
              << text << ", " << target;
          if (row.options == 0) {
            EXPECT_EQ(text->stringByReplacingOccurrencesOfString_withString(target, replacement),
                      row.result);
          }
        });
  }
}

TEST(StringEditingTests, PatternsAreReplacedByTemplates) {
  forBothStorages(u"key=value, a=b", [](const Ref<NSString>& text) {
    const auto replace = [&](const Ref<NSString>& pattern, NSUInteger options) {
      return text->stringByReplacingOccurrencesOfString_withString_options_range(
          pattern, "$2=$1", options | NSRegularExpressionSearch, {0, text->length()});
    };
    EXPECT_EQ(replace("(\\w+)=(\\w+)", 0), "value=key, b=a");
    EXPECT_EQ(replace("(K\\w+)=(\\w+)", NSCaseInsensitiveSearch), "value=key, a=b");
    EXPECT_EQ(replace("(", 0), text->utf16());
    const auto changed = NSMutableString::stringWithString(text);
    EXPECT_EQ(changed->replaceOccurrencesOfString_withString_options_range(
                  "[ae]", "-", NSRegularExpressionSearch, {0, 9}),
              3U);
    EXPECT_EQ(changed, "k-y=v-lu-, a=b");
  });
}

TEST(StringEditingTests, ReplacingAnswersHowMany) {
  forBothStorages(u"abcabcabc", [](const Ref<NSString>& text) {
    const auto changed = cast<NSMutableString>(text->mutableCopy());
    const auto replace = [&](const Ref<NSString>& target, NSRange range) {
      return changed->replaceOccurrencesOfString_withString_options_range(target, "-", 0, range);
    };
    EXPECT_EQ(replace("bc", {1, 5}), 2U);
    EXPECT_EQ(changed, "a-a-abc");
    EXPECT_EQ(replace("bc", {0, 6}), 0U);
    EXPECT_EQ(replace("", {0, 7}), 0U);
    EXPECT_EQ(changed, "a-a-abc");
    expectException(NSRangeException, [&] { replace("a", {0, 8}); });
    refusesNull([&] { replace(nullptr, {0, 0}); });
    refusesNull([&] {
      changed->replaceOccurrencesOfString_withString_options_range("a", nullptr, 0, {0, 0});
    });
  });
}

TEST(StringEditingTests, AStringMayReplaceInItself) {
  const auto text = NSMutableString::stringWithString("abab");
  EXPECT_EQ(text->replaceOccurrencesOfString_withString_options_range("a", text, 0, {0, 4}), 2U);
  EXPECT_EQ(text, "ababbababb");
  EXPECT_EQ(text->replaceOccurrencesOfString_withString_options_range(text, "x", 0, {0, 10}), 1U);
  EXPECT_EQ(text, "x");
}

TEST(StringEditingTests, ReplacingWithoutAMatchAnswersTheStringItself) {
  const Ref<NSString> text = "abc";
  EXPECT_TRUE(text->stringByReplacingOccurrencesOfString_withString("x", "y") == text);
  refusesNull([&] { (void)text->stringByReplacingOccurrencesOfString_withString(nullptr, "a"); });
  refusesNull([&] { (void)text->stringByReplacingOccurrencesOfString_withString("a", nullptr); });
  expectException(NSRangeException, [&] {
    (void)text->stringByReplacingOccurrencesOfString_withString_options_range("a", "b", 0, {3, 1});
  });
}

/// Search by search.
std::u16string expectedReplacement(const Ref<NSString>& text, const Ref<NSString>& target,
                                   std::u16string_view replacement, NSUInteger options) {
  std::u16string result = text->utf16();
  const bool fromBack = (options & NSBackwardsSearch) != 0;
  NSRange range{0, text->length()};
  std::size_t done = 0;
  std::ptrdiff_t shift = 0;
  for (NSRange match;
       (match = text->rangeOfString_options_range(target, options, range)).location !=
       NSNotFound;) {
    const auto place = static_cast<std::ptrdiff_t>(match.location) + (fromBack ? 0 : shift);
    result.replace(static_cast<std::size_t>(place), match.length, replacement);
    shift +=
        static_cast<std::ptrdiff_t>(replacement.size()) - static_cast<std::ptrdiff_t>(match.length);
    done = NSMaxRange(match);
    range = fromBack ? NSRange{0, match.location} : NSRange{done, text->length() - done};
  }
  return result;
}

TEST(StringEditingTests, ReplacingAgreesWithSearchAfterSearch) {
  RandomRun random;
  for (int round = 0; round < 6000; ++round) {
    const bool isPlain = random.below(2) == 0;
    const auto text = isPlain ? plainText(random, 30) : oddText(random, 12);
    const auto target = isPlain ? plainText(random, 2) : oddText(random, 1);
    const auto replacement = oddText(random, 2);
    const NSUInteger options = random.below(16) | random.below(4) * 128;
    forBothStorages(text, target, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(a->stringByReplacingOccurrencesOfString_withString_options_range(
                     b, replacement, options, {0, a->length()})
                    ->utf16(),
                expectedReplacement(a, b, replacement, options))
          << a << ", " << b << ", " << options;
    });
  }
}

TEST(StringEditingTests, ARangeIsReplaced) {
  forBothStorages(u"abcdef", u"xy", [](const Ref<NSString>& text, const Ref<NSString>& other) {
    EXPECT_EQ(text->stringByReplacingCharactersInRange_withString({1, 3}, other), "axyef");
    EXPECT_EQ(text->stringByReplacingCharactersInRange_withString({6, 0}, other), "abcdefxy");
    EXPECT_EQ(text, "abcdef");
    expectException(NSRangeException, [&] {
      (void)text->stringByReplacingCharactersInRange_withString({6, 1}, other);
    });
    refusesNull([&] {
      (void)text->stringByReplacingCharactersInRange_withString({0, 0}, nullptr);
    });
  });
}

TEST(StringEditingTests, PaddingRepeatsFromAnIndex) {
  forBothStorages(u"abc", u"xyz", [](const Ref<NSString>& text, const Ref<NSString>& padding) {
    const auto pad = [&](NSUInteger length, NSUInteger index) {
      return text->stringByPaddingToLength_withString_startingAtIndex(length, padding, index);
    };
    EXPECT_EQ(pad(10, 0), "abcxyzxyzx");
    EXPECT_EQ(pad(10, 2), "abczxyzxyz");
    EXPECT_EQ(pad(4, 1), "abcy");
    EXPECT_EQ(pad(3, 99), "abc");
    EXPECT_EQ(pad(2, 0), "ab");
    EXPECT_EQ(pad(0, 0), "");
    expectException(NSRangeException, [&] { (void)pad(4, 3); });
  });
  const Ref<NSString> text = "a";
  EXPECT_EQ(text->stringByPaddingToLength_withString_startingAtIndex(4, "ä.", 1), u"a.ä."sv);
  EXPECT_EQ(text->stringByPaddingToLength_withString_startingAtIndex(1, nullptr, 0), "a");
  refusesNull(
      [&] { (void)text->stringByPaddingToLength_withString_startingAtIndex(4, nullptr, 0); });
  refusesNull([&] { (void)text->stringByPaddingToLength_withString_startingAtIndex(4, "", 0); });
}

}  // namespace
}  // namespace kestova
