// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "PlainStringEditing.h"
#include "RandomText.h"
#include "Sanitizers.h"

#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::deletedBySteps;
using testing::expectException;
using testing::forBothStorages;
using testing::oddText;
using testing::plainText;
using testing::RandomRun;
using testing::replaceAll;
using testing::splitBySteps;
using testing::squeezedBySteps;
using testing::underSanitizer;
using testing::unescapedBySteps;
using testing::unitsOf;
using testing::withLineEndingsBySteps;
using Pieces = std::vector<std::u16string>;
using namespace std::string_view_literals;

template <class Call>
void refusesNull(Call&& call) {
  expectException(NSInvalidArgumentException, call);
}

/// Text of a few letters, so that whatever is looked for is there.
std::u16string wordOf(RandomRun& random, std::u16string_view letters, std::size_t limit) {
  std::u16string text(random.below(limit + 1), u' ');
  for (char16_t& unit : text) {
    unit = letters[random.below(letters.size())];
  }
  return text;
}

/// Search by search, the receiver being searched and its copy changed.
std::u16string replaceBySteps(const Ref<NSString>& self, const Ref<NSString>& target,
                              NSUInteger options, NSRange range,
                              const OVMatchReplacement& handler) {
  const auto m = NSMutableString::stringWithString(self);
  NSInteger shift = 0;
  while (range.length > 0) {
    const NSRange match = self->rangeOfString_options_range(target, options, range);
    if (match.location == NSNotFound) {
      break;
    }
    const auto matched = m->substringWithRange(match);
    const auto answer = handler(matched, match);
    const auto place = static_cast<NSUInteger>(static_cast<NSInteger>(match.location) + shift);
    m->replaceCharactersInRange_withString({place, match.length}, answer);
    shift += static_cast<NSInteger>(answer->length()) - static_cast<NSInteger>(match.length);
    range = {NSMaxRange(match), NSMaxRange(range) - NSMaxRange(match)};
  }
  return m->utf16();
}

// Shows: deleteCharactersInSet, stringByDeletingCharactersInSet
TEST(NSStringEditingTests, TheCharactersOfASetAreDeleted) {
  const auto set = NSCharacterSet::characterSetWithCharactersInString(u"b😀");
  const auto check = [&](std::u16string_view text, std::u16string_view result) {
    forBothStorages(text, [&](const Ref<NSString>& string) {
      EXPECT_EQ(stringByDeletingCharactersInSet(string, set), result);
      EXPECT_EQ(ov_stringByDeletingCharactersInSet(string, set), result);
      EXPECT_EQ(ov_stringByRemovingCharactersInSet(string, set), result);
      const auto changed = NSMutableString::stringWithString(string);
      deleteCharactersInSet(changed, set);
      EXPECT_EQ(changed, result);
    });
  };
  check(u"abcb", u"ac");
  check(u"bbb", u"");
  check(u"", u"");
  check(u"xyz", u"xyz");
  check(u"ä😀b😁", u"ä😁");
  refusesNull([] { deleteCharactersInSet(NSMutableString::string(), nullptr); });
  refusesNull([] { (void)stringByDeletingCharactersInSet("a", nullptr); });
}

// Shows: ov_stringByDeletingCharactersInSet, ov_stringByRemovingCharactersInSet
TEST(NSStringEditingTests, DeletingHasTwoMoreNames) {
  const auto set = NSCharacterSet::characterSetWithCharactersInString("bd");
  forBothStorages(u"abcdb", [&](const Ref<NSString>& text) {
    EXPECT_EQ(stringByDeletingCharactersInSet(text, set), "ac");
    EXPECT_EQ(ov_stringByDeletingCharactersInSet(text, set), "ac");
    EXPECT_EQ(ov_stringByRemovingCharactersInSet(text, set), "ac");
  });
}

// Shows: stringByDeletingCharactersInSet
TEST(NSStringEditingTests, DeletingAnswersAnImmutableString) {
  const auto set = NSCharacterSet::characterSetWithCharactersInString("b");
  for (const char* text : {"abc", "xyz"}) {
    const auto result =
        stringByDeletingCharactersInSet(NSMutableString::stringWithString(text), set);
    EXPECT_EQ(cast<NSMutableString>(result), nullptr);
  }
}

// Shows: stringByDeletingCharactersInSet
TEST(NSStringEditingTests, DeletingAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < 1000; ++round) {
    const auto set = NSCharacterSet::characterSetWithCharactersInString(oddText(random, 12));
    forBothStorages(oddText(random, 20), [&](const Ref<NSString>& text) {
      EXPECT_EQ(stringByDeletingCharactersInSet(text, set)->utf16(), deletedBySteps(text, set));
    });
  }
}

// Shows: stringByDeletingCharactersInSet
TEST(NSStringEditingTests, HalvesThatDeletionBringsTogetherStay) {
  const std::u16string apart{u'\xD83D', u'b', u'\xDE00'};
  const auto set = NSCharacterSet::characterSetWithCharactersInString(u"b😀");
  EXPECT_EQ(stringByDeletingCharactersInSet(apart, set), u"😀"sv);
}

// Shows: stringByRemovingCharactersInString
TEST(NSStringEditingTests, TheUnitsOfATextAreRemoved) {
  forBothStorages(u"banana", u"an", [](const Ref<NSString>& text, const Ref<NSString>& units) {
    const Ref<NSMutableString> result = stringByRemovingCharactersInString(text, units);
    EXPECT_EQ(result, "b");
  });
  EXPECT_EQ(stringByRemovingCharactersInString("abc", ""), "abc");
  EXPECT_EQ(stringByRemovingCharactersInString("abc", nullptr), "abc");
  EXPECT_EQ(stringByRemovingCharactersInString(u"e\u0301e", "e"), u"e\u0301"sv);
  EXPECT_EQ(stringByRemovingCharactersInString(u"a😀b", u"😀"), u"a😀b"sv);  // never half a pair
  EXPECT_EQ(stringByRemovingCharactersInString(u"aäb", u"ä"), "ab");
}

// Shows: stringByRemovingCharactersInString
TEST(NSStringEditingTests, RemovingUnitsAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < 1000; ++round) {
    const auto units = random.below(2) == 0 ? oddText(random, 5) : plainText(random, 3);
    const auto text = random.below(2) == 0 ? oddText(random, 15) : plainText(random, 20);
    forBothStorages(text, units, [](const Ref<NSString>& self, const Ref<NSString>& argument) {
      const auto expected = NSMutableString::stringWithString(self);
      for (const char16_t unit : argument->utf16()) {
        replaceAll(expected, std::u16string(1, unit), "", 0);
      }
      EXPECT_EQ(stringByRemovingCharactersInString(self, argument)->utf16(), expected->utf16());
    });
  }
}

// Shows: stringByNormalizingLineEndings
TEST(NSStringEditingTests, LineEndingsBecomeOne) {
  forBothStorages(u"a\r\nb\nc\r", [](const Ref<NSString>& text) {
    EXPECT_EQ(stringByNormalizingLineEndings(text, OVLineEndingCRLF), "a\r\nb\r\nc\r\n");
    EXPECT_EQ(stringByNormalizingLineEndings(text, OVLineEndingCR), "a\rb\rc\r");
    EXPECT_EQ(stringByNormalizingLineEndings(text, OVLineEndingLF), "a\nb\nc\n");
    EXPECT_EQ(stringByNormalizingLineEndings(text, static_cast<OVLineEnding>(7)), "a\nb\nc\n");
    EXPECT_EQ(stringByNormalizingLineEndings(text, static_cast<OVLineEnding>(-1)), "a\nb\nc\n");
  });
}

// Shows: stringByNormalizingLineEndings
TEST(NSStringEditingTests, LineEndingsAgreeWithTheirSteps) {
  RandomRun random;
  for (int round = 0; round < 3000; ++round) {
    const auto kind = static_cast<OVLineEnding>(random.below(4));
    forBothStorages(wordOf(random, u"\r\n\r\nab", 14), [&](const Ref<NSString>& text) {
      EXPECT_EQ(stringByNormalizingLineEndings(text, kind)->utf16(),
                withLineEndingsBySteps(text, kind));
    });
  }
  const Ref<NSString> marked = u"a\n\u0301\r\u0308\r\n\u0301";
  EXPECT_EQ(stringByNormalizingLineEndings(marked, OVLineEndingCRLF)->utf16(),
            withLineEndingsBySteps(marked, OVLineEndingCRLF));
}

// Shows: componentsSeparatedByCharactersInString
TEST(NSStringEditingTests, SplittingHidesTheUnitBehindALeadingSeparator) {
  const auto check = [](std::u16string_view text, const Pieces& pieces) {
    forBothStorages(text, u",", [&](const Ref<NSString>& self, const Ref<NSString>& separators) {
      EXPECT_EQ(unitsOf(componentsSeparatedByCharactersInString(self, separators)), pieces);
    });
  };
  check(u"a,b", {u"a", u"b"});
  check(u",,a", {u",a"});
  check(u"a,", {u"a"});
  check(u"", {});
  check(u",", {});
  check(u",,", {});
  check(u",a", {u"a"});
  check(u",,,", {u","});
  check(u"a,,b", {u"a", u"b"});
  check(u"a,,,b", {u"a", u",b"});
  check(u"ä,,é,", {u"ä", u"é"});
  EXPECT_EQ(unitsOf(componentsSeparatedByCharactersInString("a,b", "")), Pieces{u"a,b"});
  EXPECT_EQ(unitsOf(componentsSeparatedByCharactersInString("a,b", nullptr)), Pieces{u"a,b"});
}

// Shows: componentsSeparatedByCharactersInString
TEST(NSStringEditingTests, SplittingAgreesWithItsStepsForEveryShortText) {
  for (unsigned size = 0; size <= 9; ++size) {
    unsigned count = 1;
    for (unsigned index = 0; index < size; ++index) {
      count *= 3;
    }
    for (unsigned code = 0; code < count; ++code) {
      std::u16string text;
      for (unsigned index = 0, rest = code; index < size; ++index, rest /= 3) {
        text += u"a,;"[rest % 3];
      }
      EXPECT_EQ(unitsOf(componentsSeparatedByCharactersInString(text, ",;")),
                splitBySteps(text, u",;"));
    }
  }
}

// Shows: componentsSeparatedByCharactersInString
TEST(NSStringEditingTests, SplittingAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < 2000; ++round) {
    const auto separators = oddText(random, 3);
    forBothStorages(oddText(random, 20), [&](const Ref<NSString>& text) {
      EXPECT_EQ(unitsOf(componentsSeparatedByCharactersInString(text, separators)),
                splitBySteps(text->utf16(), separators));
    });
  }
}

// Shows: stringByUnescapingString
TEST(NSStringEditingTests, EscapesCollapseUntilABackslash) {
  const struct {
    std::u16string_view text;
    std::u16string_view result;
  } kRows[] = {
      {u"", u""},
      {u"abc", u"abc"},
      {u"a\\\\b", u"a\\b"},
      {u"\\nab", u"b"},
      {u"\\n", u"\n"},
      {u"\\t", u"\t"},
      {u"\\r", u"\r"},
      {u"\\x", u"x"},
      {u"\\", u"\\"},
      {u"a\\", u"a\\"},
      {u"\\na\\b", u"\\b"},
      {u"x\\nn", u"x\n"},
      {u"\\\\\\\\", u"\\\\"},
      {u"\\\\\\", u"\\\\"},
      {u"\\ä€", u"€"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      const Ref<NSMutableString> result = stringByUnescapingString(text);
      EXPECT_EQ(result, row.result);
    });
  }
}

// Shows: stringByUnescapingString
TEST(NSStringEditingTests, AnEscapeTakesOneUnitAndNotAPair) {
  EXPECT_EQ(stringByUnescapingString(u"\\😀")->utf16(), std::u16string(1, u'\xDE00'));
}

// Shows: stringByUnescapingString
TEST(NSStringEditingTests, UnescapingAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < 5000; ++round) {
    forBothStorages(wordOf(random, u"\\\\nträ", 16), [](const Ref<NSString>& text) {
      EXPECT_EQ(stringByUnescapingString(text)->utf16(), unescapedBySteps(text->utf16()));
    });
  }
}

// Shows: stringByPrefixingLinesWith
TEST(NSStringEditingTests, EveryLineGetsThePrefixAndAnLF) {
  const auto check = [](std::u16string_view text, std::u16string_view prefix,
                        std::u16string_view result) {
    forBothStorages(text, prefix, [&](const Ref<NSString>& self, const Ref<NSString>& front) {
      EXPECT_EQ(stringByPrefixingLinesWith(self, front), result);
    });
  };
  check(u"a\nb", u"P", u"Pa\nPb\n");
  check(u"a\n", u"P", u"Pa\nP\n");
  check(u"", u"P", u"P\n");
  check(u"", u"", u"\n");
  check(u"a\nb", u"", u"a\nb\n");
  check(u"\n\n", u"> ", u"> \n> \n> \n");
  check(u"a\r\nb\rc", u"\t", u"\ta\r\n\tb\rc\n");
  check(u"ä\nb", u"–", u"–ä\n–b\n");
  check(u"a\n\u0301b", u"P", u"Pa\nP\u0301b\n");
  refusesNull([] { (void)stringByPrefixingLinesWith("a", nullptr); });
}

// Shows: ov_stringByRemovingPrefix_options, ov_stringByRemovingSuffix_options
TEST(NSStringEditingTests, PrefixesAndSuffixesAreTakenAway) {
  forBothStorages(u"abcab", u"ab", [](const Ref<NSString>& text, const Ref<NSString>& part) {
    EXPECT_EQ(ov_stringByRemovingPrefix_options(text, part, 0), "cab");
    EXPECT_EQ(ov_stringByRemovingSuffix_options(text, part, 0), "abc");
    EXPECT_EQ(ov_stringByRemovingPrefix_options(text, "AB", NSCaseInsensitiveSearch), "cab");
    EXPECT_EQ(ov_stringByRemovingSuffix_options(text, "AB", NSCaseInsensitiveSearch), "abc");
    EXPECT_TRUE(ov_stringByRemovingPrefix_options(text, "AB", 0) == text);
    EXPECT_TRUE(ov_stringByRemovingSuffix_options(text, "x", 0) == text);
    EXPECT_EQ(ov_stringByRemovingPrefix_options(part, text, 0), "ab");
    EXPECT_EQ(ov_stringByRemovingPrefix_options(text, "", 0), "abcab");
    EXPECT_EQ(ov_stringByRemovingSuffix_options(text, text, 0), "");
  });
  EXPECT_EQ(ov_stringByRemovingPrefix_options("Straße", "STRAS", NSCaseInsensitiveSearch),
            "Straße");
  refusesNull([] { (void)ov_stringByRemovingPrefix_options("a", nullptr, 0); });
  refusesNull([] { (void)ov_stringByRemovingSuffix_options("a", nullptr, 0); });
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, RunsBecomeOne) {
  const struct {
    std::u16string_view text;
    std::u16string_view once;
    NSUInteger options;
    std::u16string_view result;
  } kRows[] = {
      {u"a   b", u" ", 0, u"a b"},
      {u"a b", u" ", 0, u"a b"},
      {u"a  b    c", u" ", 0, u"a b c"},
      {u"abababc", u"ab", 0, u"abc"},
      {u"aaa", u"aa", 0, u"aaa"},
      {u"aaaaa", u"aa", 0, u"aaa"},
      {u"abaabaaba", u"aba", 0, u"aba"},
      {u"AaaA", u"a", NSCaseInsensitiveSearch, u"a"},
      {u"xAAx", u"a", NSCaseInsensitiveSearch, u"xax"},
      {u"aAbzZbY", u"z", NSCaseInsensitiveSearch, u"aAbzbY"},
      {u"aaabaab", u"aab", 0, u"aaab"},
      {u"ä  ö", u" ", 0, u"ä ö"},
      {u"ä  \u0301", u" ", 0, u"ä  \u0301"},
      {u"ä  \u0301", u" ", NSLiteralSearch, u"ä \u0301"},
      {u"éé", u"e\u0301", 0, u"e\u0301"},
      {u"Straßess", u"SS", NSCaseInsensitiveSearch, u"Straßess"},
      {u"ßß", u"SS", NSCaseInsensitiveSearch, u"SS"},
      {u"a  b  ", u" ", NSAnchoredSearch, u"a  b  "},
      {u"   a  b", u" ", NSAnchoredSearch, u" a  b"},
      {u"  a   ", u" ", NSAnchoredSearch | NSBackwardsSearch, u"  a "},
      {u"aaaxaa", u"a", NSBackwardsSearch, u"axa"},
      {u"", u" ", 0, u""},
      {u"aa", u"", 0, u"aa"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.once, [&](const Ref<NSString>& text, const Ref<NSString>& once) {
      EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(text, once, row.options), row.result)
          << text << ", " << once;
    });
  }
  refusesNull([] { (void)stringBySqueezingOccurrencesOfString_options("a", nullptr, 0); });
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, WithoutARunTheReceiverIsAnswered) {
  const Ref<NSString> text = "a b";
  EXPECT_TRUE(stringBySqueezingOccurrencesOfString_options(text, " ", 0) == text);
  const Ref<NSString> changing = NSMutableString::stringWithString("a  b");
  const auto result = stringBySqueezingOccurrencesOfString_options(changing, " ", 0);
  EXPECT_EQ(cast<NSMutableString>(result), nullptr);
  EXPECT_EQ(result, "a b");
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, PatternsAreSqueezedUntilTheyNoLongerShrink) {
  const auto squeeze = [](const Ref<NSString>& text, const Ref<NSString>& pattern) {
    return stringBySqueezingOccurrencesOfString_options(text, pattern, NSRegularExpressionSearch);
  };
  EXPECT_EQ(squeeze("abcd", "."), ".");
  EXPECT_EQ(squeeze("ab", "x*"), "x*ab");
  EXPECT_EQ(squeeze("aaa", "a|b"), "a|baa");
  EXPECT_EQ(squeeze("abc", "("), "abc");
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, TheTextBehindAMatchOfAPatternStaysHoweverLongItIs) {
  const std::u16string rest = u"a" + std::u16string(9000, u'x') + u"aa";
  EXPECT_EQ(
      stringBySqueezingOccurrencesOfString_options(u"a" + rest, "a|b", NSRegularExpressionSearch)
          ->utf16(),
      u"a|b" + rest);
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, SqueezingAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < 4000 && !HasFailure(); ++round) {
    const bool isPlain = random.below(2) == 0;
    const auto text = isPlain ? wordOf(random, u"abA", 20)
                              : wordOf(random, u"aAe\u00E9\u0301\u0301sS\u00DF \u3000", 14);
    const auto once =
        isPlain ? wordOf(random, u"abA", 3) : wordOf(random, u"aAe\u00E9\u0301sS\u00DF \u3000", 2);
    const NSUInteger options = random.below(16) | random.below(4) * 128;
    forBothStorages(text, once, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(a, b, options)->utf16(),
                squeezedBySteps(a, b, options))
          << a << ", " << b << ", " << options;
    });
  }
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, SqueezingLongTextsAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < (underSanitizer ? 2 : 8); ++round) {
    std::u16string text;
    while (text.size() < 9000) {
      text += wordOf(random, u"ab\u00E9", 30) + std::u16string(random.below(6), u' ') +
              (random.below(9) == 0 ? u"\u0301" : u"");
    }
    const std::u16string_view once = round % 4 == 0 ? u"\u3000" : u" ";
    const NSUInteger options = NSWidthInsensitiveSearch | random.below(2) * NSBackwardsSearch |
                               random.below(2) * NSDiacriticInsensitiveSearch;
    EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(text, once, options)->utf16(),
              squeezedBySteps(text, once, options));
  }
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, SqueezingBesideVeryManyMarksAgreesWithItsSteps) {
  RandomRun random;
  constexpr std::u16string_view kMarks = u"\u0301\u0323\u0308\u0360\u1DC4\u20D0\uFE20";
  const auto marks = [&] {
    std::u16string run;
    for (auto left = random.below(400); left > 0; --left) {
      run += kMarks[random.below(kMarks.size())];
    }
    return run;
  };
  for (int round = 0; round < 150 && !HasFailure(); ++round) {
    std::u16string text;
    for (auto left = random.below(25); left > 0; --left) {
      text += wordOf(random, u"aAe\u00E9 \u3000\U0001F469\u200D\xD83D\xDC69", 6) +
              (random.below(3) == 0 ? marks() : u"") + std::u16string(random.below(5), u' ');
    }
    const auto once = random.below(8) == 0 ? u"a" + marks()
                                           : wordOf(random, u"aAe\u00E9\u0301 \u3000\xDC69", 2) +
                                                 (random.below(3) ? u" " : u"a");
    const NSUInteger options = random.below(16) | random.below(4) * 128;
    const auto self = NSString::stringWithUTF16Storage(text);
    EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(self, once, options)->utf16(),
              squeezedBySteps(self, once, options))
        << self << ", " << Ref<NSString>(once) << ", " << options;
  }
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, CharactersOfVeryManyMarksKeepThemUnlessTheyAreReplaced) {
  const std::u16string marked = u"a" + std::u16string(60'000, u'\u0301');
  const std::u16string blanks(60'000, u' ');
  const auto text = NSString::stringWithUTF16Storage(blanks + marked + blanks + marked + u'a');
  const std::u16string apart = u" " + marked + u" " + marked + u"a";
  const std::u16string joined = u" " + marked + u" a";
  for (const NSUInteger direction : {NSUInteger{0}, NSUInteger{NSBackwardsSearch}}) {
    EXPECT_TRUE(stringBySqueezingOccurrencesOfString_options(text, " ", direction)->utf16() ==
                apart);
    EXPECT_TRUE(stringBySqueezingOccurrencesOfString_options(
                    text, " ", direction | NSLiteralSearch | NSWidthInsensitiveSearch)
                    ->utf16() == apart);
    EXPECT_TRUE(
        stringBySqueezingOccurrencesOfString_options(NSString::stringWithUTF16Storage(apart), "a",
                                                     direction | NSDiacriticInsensitiveSearch)
            ->utf16() == joined);
  }
}

// Shows: stringBySqueezingOccurrencesOfString_options
TEST(NSStringEditingTests, MegabytesOfOneRunBecomeOne) {
  const std::u16string blanks(1'000'000, u' ');
  EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(blanks, " ", 0), " ");
  EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(blanks, " ", NSBackwardsSearch), " ");
  const auto wide = NSString::stringWithUTF16Storage(u"ä" + blanks.substr(0, 60'000) + u"ö");
  EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(wide, " ", 0), u"ä ö"sv);
  EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(wide, " ", NSBackwardsSearch), u"ä ö"sv);
  EXPECT_EQ(stringBySqueezingOccurrencesOfString_options(wide, " ", NSLiteralSearch), u"ä ö"sv);
}

struct Seen {
  std::u16string text;
  NSRange range;
  friend bool operator==(const Seen&, const Seen&) = default;
};

// Shows: stringByReplacingOccurrencesOfString_options_range_withHandler
TEST(NSStringEditingTests, TheHandlerIsShownTheUnshiftedPlace) {
  std::vector<Seen> seen;
  const OVMatchReplacement handler = [&](const Ref<NSString>& text, NSRange range) {
    seen.push_back({text->utf16(), range});
    return Ref<NSString>("<long>");
  };
  forBothStorages(u"a1b1c1d", [&](const Ref<NSString>& text) {
    seen.clear();
    EXPECT_EQ(stringByReplacingOccurrencesOfString_options_range_withHandler(
                  text, "1", 0, {0, text->length()}, handler),
              "a<long>b<long>c<long>d");
    EXPECT_EQ(seen, (std::vector<Seen>{{u"1", {1, 1}}, {u"o", {3, 1}}, {u"g", {5, 1}}}));
  });
}

// Shows: stringByReplacingOccurrencesOfString_options_range_withHandler
TEST(NSStringEditingTests, AResultTooShortForTheUnshiftedPlaceThrows) {
  const OVMatchReplacement erase = [](const Ref<NSString>&, NSRange) { return NSString::string(); };
  forBothStorages(u"ababab", [&](const Ref<NSString>& text) {
    expectException(NSRangeException, [&] {
      (void)stringByReplacingOccurrencesOfString_options_range_withHandler(text, "ab", 0, {0, 6},
                                                                           erase);
    });
    EXPECT_EQ(stringByReplacingOccurrencesOfString_options_range_withHandler(text, "ab", 0, {0, 3},
                                                                             erase),
              "abab");
  });
}

// Shows: stringByReplacingOccurrencesOfString_options_range_withHandler
TEST(NSStringEditingTests, OnlyTheRangeIsReplaced) {
  const OVMatchReplacement bracket = [](const Ref<NSString>&, NSRange) {
    return Ref<NSString>("[]");
  };
  const auto replace = [&](NSUInteger options, NSRange range) {
    return stringByReplacingOccurrencesOfString_options_range_withHandler("aAaA", "a", options,
                                                                          range, bracket);
  };
  EXPECT_EQ(replace(0, {1, 3}), "aA[]A");
  EXPECT_EQ(replace(NSCaseInsensitiveSearch, {1, 2}), "a[][]A");
  EXPECT_EQ(replace(NSBackwardsSearch, {0, 4}), "aA[]A");
  EXPECT_EQ(replace(0, {4, 0}), "aAaA");
  expectException(NSRangeException, [&] { (void)replace(0, {4, 1}); });
  refusesNull([&] {
    (void)stringByReplacingOccurrencesOfString_options_range_withHandler("a", nullptr, 0, {0, 1},
                                                                         bracket);
  });
  refusesNull([&] {
    (void)stringByReplacingOccurrencesOfString_options_range_withHandler(
        "a", "a", 0, {0, 1}, [](const Ref<NSString>&, NSRange) { return Ref<NSString>(); });
  });
}

// Shows: stringByReplacingOccurrencesOfString_options_range_withHandler
TEST(NSStringEditingTests, TheReceiverMayChangeWhileItsTextIsReplaced) {
  const auto text = NSMutableString::stringWithString("a1b1");
  const auto result = stringByReplacingOccurrencesOfString_options_range_withHandler(
      text, "1", 0, {0, 4}, [&](const Ref<NSString>&, NSRange) {
        text->setString("");
        return Ref<NSString>("-");
      });
  EXPECT_EQ(result, "a-b-");
}

// Shows: stringByReplacingOccurrencesOfString_options_range_withHandler
TEST(NSStringEditingTests, ReplacingByAHandlerAgreesWithItsSteps) {
  RandomRun random;
  for (int round = 0; round < 3000 && !HasFailure(); ++round) {
    const auto text = wordOf(random, u"abA\u00E9e\u0301", 20);
    const auto target = wordOf(random, u"abA\u00E9", 2);
    const Ref<NSString> longer = wordOf(random, u"xy", 4);
    const NSUInteger options = random.below(16);
    NSRange range{random.below(text.size() + 1), 0};
    range.length = random.below(text.size() - range.location + 1);
    forBothStorages(text, target, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      // Growing or shrinking, by what is shown.
      const OVMatchReplacement handler = [&](const Ref<NSString>& shown, NSRange match) {
        return match.location % 3 == 0 ? longer : shown->stringByAppendingString(shown);
      };
      const auto run = [&](auto&& replace) -> std::u16string {
        try {
          return replace();
        } catch (const NSException& exception) {
          return exception.name()->utf16();
        }
      };
      EXPECT_EQ(run([&] {
                  return stringByReplacingOccurrencesOfString_options_range_withHandler(
                             a, b, options, range, handler)
                      ->utf16();
                }),
                run([&] { return replaceBySteps(a, b, options, range, handler); }))
          << a << ", " << b << ", " << options;
    });
  }
}

// Shows: componentsSeparatedByString_trimmingCharactersInSet
TEST(NSStringEditingTests, PiecesAreTrimmed) {
  const auto blanks = NSCharacterSet::whitespaceCharacterSet();
  forBothStorages(u" a, b ,,c", u",", [&](const Ref<NSString>& text, const Ref<NSString>& mark) {
    EXPECT_EQ(unitsOf(componentsSeparatedByString_trimmingCharactersInSet(text, mark, blanks)),
              (Pieces{u"a", u"b", u"", u"c"}));
  });
  refusesNull(
      [&] { (void)componentsSeparatedByString_trimmingCharactersInSet("a", nullptr, blanks); });
  refusesNull([] { (void)componentsSeparatedByString_trimmingCharactersInSet("a", ",", nullptr); });
}

// Shows: stringsByTrimmingCharactersInSet
TEST(NSStringEditingTests, ArraysOfStringsAreTrimmed) {
  const auto blanks = NSCharacterSet::whitespaceCharacterSet();
  const auto strings = NSArray::of(" a ", u"ä ", "");
  EXPECT_EQ(unitsOf(stringsByTrimmingCharactersInSet(strings, blanks)), (Pieces{u"a", u"ä", u""}));
  EXPECT_EQ(stringsByTrimmingCharactersInSet(NSArray::array(), nullptr)->count(), 0U);
  EXPECT_EQ(cast<NSMutableArray>(stringsByTrimmingCharactersInSet(strings, blanks)), nullptr);
  refusesNull([&] { (void)stringsByTrimmingCharactersInSet(NSArray::of("a", 1), blanks); });
  refusesNull([&] { (void)stringsByTrimmingCharactersInSet(strings, nullptr); });
}

}  // namespace
}  // namespace kestova
