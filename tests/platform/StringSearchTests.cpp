// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomText.h"
#include "Sanitizers.h"

#include <memory>
#include <set>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::oddText;
using testing::plainText;
using testing::RandomRun;
using namespace std::string_view_literals;

constexpr NSRange kNowhere{NSNotFound, 0};
constexpr NSUInteger kCaseless = NSCaseInsensitiveSearch;
constexpr NSUInteger kMarkless = NSDiacriticInsensitiveSearch;

struct Row {
  std::u16string_view text;
  std::u16string_view wanted;
  NSUInteger options;
  NSRange range;
};

void check(const Row& row) {
  forBothStorages(row.text, row.wanted,
                  [&](const Ref<NSString>& text, const Ref<NSString>& wanted) {
                    EXPECT_EQ(text->rangeOfString_options(wanted, row.options), row.range)
                        << text << ", " << wanted << ", " << row.options;
                  });
}

TEST(StringSearchTests, OptionsHaveThePlatformsValues) {
  EXPECT_EQ(NSCaseInsensitiveSearch, 1U);
  EXPECT_EQ(NSLiteralSearch, 2U);
  EXPECT_EQ(NSBackwardsSearch, 4U);
  EXPECT_EQ(NSAnchoredSearch, 8U);
  EXPECT_EQ(NSNumericSearch, 64U);
  EXPECT_EQ(NSDiacriticInsensitiveSearch, 128U);
  EXPECT_EQ(NSWidthInsensitiveSearch, 256U);
  EXPECT_EQ(NSForcedOrderingSearch, 512U);
  EXPECT_EQ(NSRegularExpressionSearch, 1024U);
}

TEST(StringSearchTests, FindsTheFirstOrTheLastPlaceOrOneAtAnEnd) {
  for (const NSUInteger more :
       {NSUInteger{0}, NSUInteger{NSLiteralSearch}, NSUInteger{NSNumericSearch},
        NSUInteger{kMarkless}, NSUInteger{NSForcedOrderingSearch}}) {
    for (const auto& row :
         {Row{u"abcabc", u"bc", 0, {1, 2}}, Row{u"abcabc", u"bc", NSBackwardsSearch, {4, 2}},
          Row{u"abcabc", u"abc", NSAnchoredSearch, {0, 3}},
          Row{u"abcabc", u"bc", NSAnchoredSearch, kNowhere},
          Row{u"abcabc", u"abc", NSAnchoredSearch | NSBackwardsSearch, {3, 3}},
          Row{u"abcabc", u"ab", NSAnchoredSearch | NSBackwardsSearch, kNowhere},
          Row{u"abc", u"abcd", NSAnchoredSearch, kNowhere},
          Row{u"abc", u"abcd", NSAnchoredSearch | NSBackwardsSearch, kNowhere},
          Row{u"aaa", u"aa", NSBackwardsSearch, {1, 2}},
          Row{u"äbc äbc", u"bc", NSBackwardsSearch, {5, 2}},
          Row{u"äbc äbc", u"äb", NSAnchoredSearch, {0, 2}}}) {
      check({row.text, row.wanted, row.options | more, row.range});
    }
  }
}

TEST(StringSearchTests, EmptyTextIsFoundNowhereWithAnyOptions) {
  for (NSUInteger options = 0; options < 1024; ++options) {
    check({u"abc", u"", options, kNowhere});
    check({u"ä", u"", options, kNowhere});
    check({u"", u"", options, kNowhere});
  }
}

TEST(StringSearchTests, CaseCountsUnlessToldOtherwise) {
  check({u"xABC", u"abc", 0, kNowhere});
  check({u"xABC", u"abc", kCaseless, {1, 3}});
  check({u"xabc", u"ABC", kCaseless | NSLiteralSearch, {1, 3}});
  check({u"a[B", u"A{b", kCaseless, kNowhere});
  check({u"@", u"`", kCaseless, kNowhere});
  check({u"ÄRGER", u"ärger", kCaseless, {0, 5}});
  check({u"АБВ", u"бв", kCaseless, {1, 2}});
}

TEST(StringSearchTests, CaseIsFoldedInFull) {
  check({u"STRASSE", u"straße", kCaseless, {0, 7}});
  check({u"Straße", u"STRASSE", kCaseless, {0, 6}});
  check({u"ß", u"ss", kCaseless, {0, 1}});
  check({u"ss", u"ẞ", kCaseless, {0, 2}});
  check({u"ß", u"s", kCaseless, kNowhere});  // never a part of one
  check({u"ßs", u"ss", kCaseless, {0, 1}});
  check({u"sß", u"ss", kCaseless, {1, 1}});
  check({u"ß", u"ss", 0, kNowhere});
  check({u"ﬁsh", u"FI", kCaseless, {0, 1}});
  check({u"ﬁsh", u"f", kCaseless, kNowhere});
  check({u"ΣΊΣΥΦΟΣ", u"σίσυφος", kCaseless, {0, 7}});
  check({u"ᾳ", u"ΑΙ", kCaseless, {0, 1}});
  check({u"İ", u"i̇", kCaseless, {0, 1}});
  check({u"k\u212A", u"KK", kCaseless, {0, 2}});
}

TEST(StringSearchTests, CanonicallyEquivalentCharactersAreTheSame) {
  const struct {
    std::u16string_view a;
    std::u16string_view b;
  } kEquivalents[] = {
      {u"\u00E9", u"e\u0301"},
      {u"\u00C5", u"\u212B"},
      {u"\u00C5", u"A\u030A"},
      {u"\u1E69", u"s\u0323\u0307"},
      {u"\u1E69", u"s\u0307\u0323"},
      {u"\uAC01", u"\u1100\u1161\u11A8"},
      {u"\u304C", u"\u304B\u3099"},
      {u"\u03A9", u"\u2126"},
      {u"K", u"\u212A"},
      {u";", u"\u037E"},
      {u"`", u"\u1FEF"},
      {u"\u1F82", u"\u1F02\u0345"},
      {u"\U0001D15E", u"\U0001D157\U0001D165"},
      {u"\U0001109A", u"\U00011099\U000110BA"},
      {u"\U0002F800", u"\u4E3D"},
  };
  for (const auto& [a, b] : kEquivalents) {
    const auto first = u"x" + std::u16string(a) + u"y";
    check({first, b, 0, {1, a.size()}});
    check({first, b, NSBackwardsSearch, {1, a.size()}});
    check({first, b, NSLiteralSearch, kNowhere});
    check({a, b, NSAnchoredSearch, {0, a.size()}});
    check({a, b, NSAnchoredSearch | NSBackwardsSearch, {0, a.size()}});
    check({b, a, 0, {0, b.size()}});
    check({b, a, NSCaseInsensitiveSearch, {0, b.size()}});
  }
}

TEST(StringSearchTests, NoMatchBeginsOrEndsInsideACharacter) {
  check({u"e\u0301e", u"e", 0, {2, 1}});
  check({u"e\u0301", u"\u0301", 0, kNowhere});
  check({u"e\u0301", u"e", NSAnchoredSearch, kNowhere});
  check({u"e\u0301", u"\u0301", NSAnchoredSearch | NSBackwardsSearch, kNowhere});
  check({u"e\u0301", u"e", NSLiteralSearch, {0, 1}});
  check({u"e\u0301", u"\u0301", NSLiteralSearch, {1, 1}});
  check({u"\n\u0301", u"\n", 0, {0, 1}});
  check({u"👩\u200D👧", u"👧", 0, kNowhere});
  check({u"👩\u200D👧", u"👧", NSLiteralSearch, {3, 2}});
  check({u"🇩🇪🇫🇷", u"🇪🇫", 0, kNowhere});
  check({u"🇩🇪🇫🇷", u"🇫🇷", 0, {4, 4}});
  check({u"\uAC01", u"\uAC00", 0, kNowhere});
  check({u"\u1100\u1161\u11A8", u"\uAC00", 0, kNowhere});
}

TEST(StringSearchTests, CRAndLFAreTwoCharacters) {
  check({u"a\r\nb", u"\n", 0, {2, 1}});
  check({u"ä\r\nb", u"\n", 0, {2, 1}});
  check({u"ä\r\nb", u"\r", kCaseless, {1, 1}});
}

TEST(StringSearchTests, HalvesOfASurrogatePairAreFoundOnlyLiterally) {
  const std::u16string high{u'\xD83D'};
  check({u"😀", high, 0, kNowhere});
  check({u"😀", high, NSLiteralSearch, {0, 1}});
  check({u"😀", high, NSLiteralSearch | NSCaseInsensitiveSearch, kNowhere});
  check({high, high, 0, {0, 1}});
  const std::u16string_view smile = u"😀";
  check({smile, smile.substr(1), NSBackwardsSearch, kNowhere});
  check({smile, smile.substr(1), NSBackwardsSearch | NSLiteralSearch, {1, 1}});
}

TEST(StringSearchTests, MarksCanBeLeftOutOfAccount) {
  check({u"Grüße", u"gru", kCaseless | kMarkless, {0, 3}});
  check({u"e\u0301", u"e", kMarkless, {0, 2}});
  check({u"e\u0301", u"e", kMarkless | NSLiteralSearch, {0, 1}});
  check({u"e", u"é", kMarkless, {0, 1}});
  check({u"abc", u"ä", kMarkless, {0, 1}});
  check({u"ệ", u"E", kMarkless | kCaseless, {0, 1}});
  check({u"ΐ", u"Ι", kMarkless | kCaseless, {0, 1}});
  check({u"שָׁלוֹם", u"שלום", kMarkless, {0, 7}});
  check({u"が", u"か", kMarkless, kNowhere});
  check({u"≠", u"=", kMarkless, kNowhere});
  check({u"ø", u"o", kMarkless, kNowhere});
  check({u"abc", u"\u0301", kMarkless, kNowhere});
}

TEST(StringSearchTests, WidthCanBeLeftOutOfAccount) {
  check({u"ＡＢＣ", u"BC", NSWidthInsensitiveSearch, {1, 2}});
  check({u"abc", u"ｂ", NSWidthInsensitiveSearch, {1, 1}});
  check({u"abc", u"Ｂ", NSWidthInsensitiveSearch | kCaseless, {1, 1}});
  check({u"ガ", u"ｶﾞ", NSWidthInsensitiveSearch, {0, 1}});
  check({u"xｶﾞ", u"ガ", NSWidthInsensitiveSearch, {1, 2}});
  check({u"ｶﾞ", u"カ", NSWidthInsensitiveSearch, kNowhere});
  check({u"a b", u"\u3000", NSWidthInsensitiveSearch, {1, 1}});
  check({u"ＡＢＣ", u"BC", 0, kNowhere});
}

TEST(StringSearchTests, EightBitTextIsFoundByWhatFoldsToASCII) {
  check({u"mess", u"ß", kCaseless, {2, 2}});
  check({u"of Kelvin", u"\u212Aelvin", 0, {3, 6}});
  check({u"of Kelvin", u"\u212Aelvin", NSLiteralSearch, kNowhere});
  check({u"oFFice", u"\uFB03", kCaseless, {1, 3}});
}

TEST(StringSearchTests, TurkishLettersFollowTheLocale) {
  const auto turkish = NSLocale::localeWithLocaleIdentifier("tr_TR");
  const auto german = NSLocale::localeWithLocaleIdentifier("de_DE");
  const auto find = [](std::u16string_view in, std::u16string_view wanted,
                       const Ref<NSLocale>& locale) {
    std::set<NSUInteger> places;
    forBothStorages(in, wanted, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      places.insert(
          a->rangeOfString_options_range_locale(b, kCaseless, {0, a->length()}, locale).location);
    });
    EXPECT_EQ(places.size(), 1U);
    return *places.begin();
  };
  EXPECT_EQ(find(u"xI", u"i", german), 1U);
  EXPECT_EQ(find(u"xI", u"i", nullptr), 1U);
  EXPECT_EQ(find(u"xI", u"i", turkish), NSNotFound);
  EXPECT_EQ(find(u"xI", u"ı", turkish), 1U);
  EXPECT_EQ(find(u"xı", u"I", turkish), 1U);
  EXPECT_EQ(find(u"xİ", u"i", turkish), 1U);
  EXPECT_EQ(find(u"xI", u"XI", turkish), 0U);
  EXPECT_EQ(find(u"Ai", u"ai", NSLocale::localeWithLocaleIdentifier("az")), 0U);
}

TEST(StringSearchTests, APatternIsFoundWhereItFirstMatches) {
  constexpr NSUInteger kPattern = NSRegularExpressionSearch;
  check({u"abc123", u"[0-9]+", kPattern, {3, 3}});
  check({u"äbc123", u"[0-9]", kPattern, {3, 1}});
  check({u"ABC", u"b.", kPattern | kCaseless, {1, 2}});
  check({u"ABC", u"b.", kPattern, kNowhere});
  check({u"abc", u"b", kPattern | NSAnchoredSearch, kNowhere});
  check({u"abc", u"a", kPattern | NSAnchoredSearch, {0, 1}});
  check({u"abc", u"(", kPattern, kNowhere});
  const Ref<NSString> text = "abcabc";
  EXPECT_EQ(text->rangeOfString_options_range("[bc]+", kPattern, {3, 3}), (NSRange{4, 2}));
  EXPECT_EQ(text->rangeOfString_options_range("c", kPattern, {0, 2}), kNowhere);
}

TEST(StringSearchTests, ARangeLimitsTheSearchAndNotWhatACharacterIs) {
  forBothStorages(u"abcabcabc", u"abc", [](const Ref<NSString>& text, const Ref<NSString>& wanted) {
    EXPECT_EQ(text->rangeOfString_options_range(wanted, 0, {1, 8}), (NSRange{3, 3}));
    EXPECT_EQ(text->rangeOfString_options_range(wanted, 0, {1, 4}), kNowhere);
    EXPECT_EQ(text->rangeOfString_options_range(wanted, NSBackwardsSearch, {0, 8}),
              (NSRange{3, 3}));
    EXPECT_EQ(text->rangeOfString_options_range(wanted, NSAnchoredSearch, {3, 6}), (NSRange{3, 3}));
    EXPECT_EQ(text->rangeOfString_options_range(wanted, NSAnchoredSearch, {4, 5}), kNowhere);
    EXPECT_EQ(text->rangeOfString_options_range(wanted, 0, {9, 0}), kNowhere);
    expectException(NSRangeException, [&] {
      text->rangeOfString_options_range(wanted, 0, {9, 1});
    });
    expectException(NSRangeException, [&] {
      text->rangeOfString_options_range(wanted, 0, {NSNotFound, 0});
    });
  });
  const Ref<NSString> text = u"e\u0301e\u0301";
  for (const NSUInteger options : {NSUInteger{0}, kCaseless}) {
    EXPECT_EQ(text->rangeOfString_options_range("e", options, {0, 1}), kNowhere);
    EXPECT_EQ(text->rangeOfString_options_range(u"\u0301", options, {1, 1}), kNowhere);
    EXPECT_EQ(text->rangeOfString_options_range(u"é", options, {1, 3}), (NSRange{2, 2}));
    EXPECT_EQ(text->rangeOfString_options_range(u"é", options | NSBackwardsSearch, {0, 3}),
              (NSRange{0, 2}));
    EXPECT_EQ(text->rangeOfString_options_range(u"é", options | NSAnchoredSearch, {1, 3}),
              kNowhere);
  }
}

TEST(StringSearchTests, NullThrows) {
  const Ref<NSString> text = "a";
  expectException(NSInvalidArgumentException, [&] { text->rangeOfString_options(nullptr, 0); });
  expectException(NSInvalidArgumentException, [&] { text->containsString(nullptr); });
  expectException(NSInvalidArgumentException, [&] { text->rangeOfCharacterFromSet(nullptr); });
}

TEST(StringSearchTests, TellsWhetherATextIsThere) {
  forBothStorages(u"Straße", u"aß", [](const Ref<NSString>& text, const Ref<NSString>& wanted) {
    EXPECT_TRUE(text->containsString(wanted));
    EXPECT_FALSE(wanted->containsString(text));
    EXPECT_FALSE(text->containsString(""));
  });
}

/// All boundaries of a text as ICU tells them, but CR and LF are two.
std::vector<std::size_t> boundariesOf(const std::u16string& text, NSUInteger options) {
  std::set<std::size_t> boundaries{0, text.size()};
  const icu::UnicodeString units(text.data(), static_cast<std::int32_t>(text.size()));
  if ((options & NSLiteralSearch) != 0) {
    for (std::int32_t index = 0; index < units.length(); index = units.moveIndex32(index, 1)) {
      boundaries.insert(static_cast<std::size_t>(index));
    }
  } else {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> rules(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    rules->setText(units);
    for (auto index = rules->first(); index != icu::BreakIterator::DONE; index = rules->next()) {
      boundaries.insert(static_cast<std::size_t>(index));
    }
    for (std::size_t index = 1; index < text.size(); ++index) {
      if (text[index - 1] == u'\r' && text[index] == u'\n') {
        boundaries.insert(index);
      }
    }
  }
  return {boundaries.begin(), boundaries.end()};
}

icu::UnicodeString inForm(const icu::Normalizer2* (*form)(UErrorCode&),
                          const icu::UnicodeString& text) {
  UErrorCode status = U_ZERO_ERROR;
  return form(status)->normalize(text, status);
}

template <class Map>
icu::UnicodeString byCharacter(const icu::UnicodeString& text, Map map) {
  icu::UnicodeString result;
  for (std::int32_t index = 0; index < text.length(); index = text.moveIndex32(index, 1)) {
    map(text.char32At(index), result);
  }
  return result;
}

icu::UnicodeString ofUsualWidth(const icu::UnicodeString& text) {
  return byCharacter(text, [](UChar32 character, icu::UnicodeString& result) {
    const auto type = u_getIntPropertyValue(character, UCHAR_DECOMPOSITION_TYPE);
    const icu::UnicodeString one(character);
    result += type == U_DT_WIDE || type == U_DT_NARROW
                  ? inForm(icu::Normalizer2::getNFKDInstance, one)
                  : one;
  });
}

bool isMark(UChar32 character) {
  return u_charType(character) == U_NON_SPACING_MARK && u_getCombiningClass(character) > 9;
}

/// Whether Korean letters become one syllable, or a part of one.
bool compose(UChar32 first, UChar32 second) {
  const auto isIn = [](UChar32 from, UChar32 jamo, UChar32 to) {
    return from <= jamo && jamo <= to;
  };
  return (isIn(0x1100, first, 0x1112) && isIn(0x1161, second, 0x1175)) ||
         (isIn(0x1161, first, 0x1175) && isIn(0x11A8, second, 0x11C2));
}

/// Korean letters between which a mark stood belong to characters of their own and stay apart.
icu::UnicodeString withoutMarks(const icu::UnicodeString& text) {
  constexpr char16_t kApart = 0xFFFF;
  icu::UnicodeString result;
  bool isAfterMark = false;
  for (std::int32_t index = 0; index < text.length(); index = text.moveIndex32(index, 1)) {
    const UChar32 character = text.char32At(index);
    if (isMark(character)) {
      isAfterMark = true;
      continue;
    }
    const bool hasOneBefore = isAfterMark && !result.isEmpty();
    if (hasOneBefore && compose(result[result.length() - 1], character)) {
      result += kApart;
    }
    result += character;
    isAfterMark = false;
  }
  return result;
}

/// What one character is to a literal search.
icu::UnicodeString literalKey(icu::UnicodeString text, NSUInteger options) {
  if ((options & kCaseless) != 0) {
    text.foldCase();
  }
  const auto decomposed = inForm(icu::Normalizer2::getNFDInstance, text);
  const auto bare = withoutMarks(decomposed);
  const bool losesMarks = (options & kMarkless) != 0 && bare != decomposed;
  return losesMarks ? inForm(icu::Normalizer2::getNFCInstance, bare) : text;
}

/// What a text is to a search, computed from all of it at once.
icu::UnicodeString keyOf(std::u16string_view units, NSUInteger options) {
  icu::UnicodeString text(units.data(), static_cast<std::int32_t>(units.size()));
  if ((options & NSWidthInsensitiveSearch) != 0) {
    text = ofUsualWidth(text);
  }
  if ((options & NSLiteralSearch) != 0) {
    return byCharacter(text, [&](UChar32 character, icu::UnicodeString& result) {
      result += literalKey(icu::UnicodeString(character), options);
    });
  }
  text = inForm(icu::Normalizer2::getNFDInstance, text);
  if ((options & kCaseless) != 0) {
    text = inForm(icu::Normalizer2::getNFDInstance, text.foldCase());
  }
  return (options & kMarkless) != 0 ? withoutMarks(text) : text;
}

/// The match that a search answers, by trying every pair of boundaries.
NSRange expectedRange(const std::u16string& text, const std::u16string& wanted, NSUInteger options,
                      NSRange range) {
  const bool isBackwards = (options & NSBackwardsSearch) != 0;
  const bool isAnchored = (options & NSAnchoredSearch) != 0;
  const auto key = keyOf(wanted, options);
  NSRange best = kNowhere;
  const auto boundaries = boundariesOf(text, options);
  for (const std::size_t start : boundaries) {
    for (const std::size_t end : boundaries) {
      const bool isInside = start >= range.location && end <= NSMaxRange(range) && start < end;
      const bool isAtAnchor =
          !isAnchored || (isBackwards ? end == NSMaxRange(range) : start == range.location);
      if (key.isEmpty() || !isInside || !isAtAnchor ||
          keyOf(std::u16string_view(text).substr(start, end - start), options) != key) {
        continue;
      }
      const bool isBetter =
          best == kNowhere ||
          (isBackwards
               ? start > best.location || (start == best.location && end < NSMaxRange(best))
               : end < NSMaxRange(best) || (end == NSMaxRange(best) && start > best.location));
      best = isBetter ? NSRange{start, end - start} : best;
    }
  }
  return best;
}

NSUInteger randomOptions(RandomRun& random) {
  return random.below(16) | (random.below(2) * kMarkless) |
         (random.below(2) * NSWidthInsensitiveSearch);
}

void checkAgainstModel(RandomRun& random, const std::u16string& text,
                       const std::u16string& wanted) {
  // A literal match of units may cut a character of two units, which the model does not try.
  NSUInteger options = randomOptions(random);
  if ((options & (kCaseless | kMarkless | NSWidthInsensitiveSearch)) == 0) {
    options &= ~NSUInteger{NSLiteralSearch};
  }
  NSRange range{random.below(text.size() / 4 + 1), 0};
  range.length =
      text.size() - range.location - random.below((text.size() - range.location) / 4 + 1);
  const NSRange expected = expectedRange(text, wanted, options, range);
  forBothStorages(text, wanted, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
    EXPECT_EQ(a->rangeOfString_options_range(b, options, range), expected)
        << a << ", " << b << ", options " << options << ", range " << range.location << ' '
        << range.length;
  });
}

/// A part of a text, with luck spelled otherwise.
std::u16string partOf(RandomRun& random, const std::u16string& text) {
  const auto start = random.below(text.size());
  std::u16string part = text.substr(start, 1 + random.below(4));
  icu::UnicodeString units(part.data(), static_cast<std::int32_t>(part.size()));
  switch (random.below(4)) {
    case 0:
      units = inForm(icu::Normalizer2::getNFDInstance, units);
      break;
    case 1:
      units = inForm(icu::Normalizer2::getNFCInstance, units).toUpper(icu::Locale::getRoot());
      break;
    case 2:
      units.foldCase();
      break;
    default:
      break;
  }
  return {units.getBuffer(), static_cast<std::size_t>(units.length())};
}

TEST(StringSearchTests, AgreesWithTryingEveryPairOfBoundaries) {
  RandomRun random;
  for (int round = 0; round < 3000 && !HasFailure(); ++round) {
    const auto text = oddText(random, 12);
    checkAgainstModel(random, text,
                      random.below(3) == 0 ? oddText(random, 3) : partOf(random, text));
  }
}

TEST(StringSearchTests, AMarkThatIsIgnoredKeepsSyllablesApart) {
  const Ref<NSString> text = u"\uAC00\u0323\u11A8";
  EXPECT_EQ(text->rangeOfString_options(u"\uAC01", kMarkless), kNowhere);
  EXPECT_EQ(text->rangeOfString_options(u"\uAC00", kMarkless), (NSRange{0, 2}));
  EXPECT_EQ(text->rangeOfString_options(u"\u11A8", kMarkless), (NSRange{2, 1}));
}

TEST(StringSearchTests, AgreesWithTryingEveryPairOfBoundariesOfPlainText) {
  RandomRun random;
  for (int round = 0; round < 4000 && !HasFailure(); ++round) {
    checkAgainstModel(random, plainText(random, 20), plainText(random, 3));
  }
}

/// Runs of Latin letters, and between them what doesn't fold as easily.
std::u16string latinText(RandomRun& random, std::size_t size, std::u16string_view letters) {
  constexpr std::u16string_view kOdd =
      u"ßſßİıŉǰ\u0301\u0308\u0308K\u212bﬁﬆẞẗ’яＡ\u0600\u200d\u00ad\0"sv;
  std::u16string text;
  while (text.size() < size) {
    for (auto count = random.below(200); count > 0; --count) {
      text.push_back(letters[random.below(letters.size())]);
    }
    text.push_back(kOdd[random.below(kOdd.size())]);
  }
  return text;
}

/// The match that a search from the front answers, by trying each place.
NSRange firstByPlaces(const Ref<NSString>& text, const Ref<NSString>& wanted, NSUInteger options,
                      NSRange range) {
  NSRange best = kNowhere;
  for (NSUInteger start = range.location; start < NSMaxRange(range); ++start) {
    const NSRange match = text->rangeOfString_options_range(wanted, options | NSAnchoredSearch,
                                                            {start, NSMaxRange(range) - start});
    const bool isBetter =
        match != kNowhere && (best == kNowhere || NSMaxRange(match) <= NSMaxRange(best));
    best = isBetter ? match : best;
  }
  return best;
}

TEST(StringSearchTests, LatinTextWithOddCharactersIsFoundAsByTryingEachPlace) {
  RandomRun random;
  const std::u16string_view letters[] = {u"abstkKSTi ", u"aAäÄåÅsS", u"ab", u"eEéfFiInj\u00b5"};
  for (int round = 0; round < testing::shareOf(1500) && !HasFailure(); ++round) {
    const auto units = latinText(random, random.below(900) + 1, letters[random.below(4)]);
    auto part = partOf(random, units);
    if (random.below(3) == 0) {
      part = units.substr(random.below(units.size()), 1 + random.below(40));
    }
    const auto oneIn = [&](std::uint64_t number, NSUInteger option) {
      return random.below(number) == 0 ? option : 0;
    };
    const NSUInteger options = (kCaseless ^ oneIn(4, kCaseless)) | oneIn(4, kMarkless) |
                               oneIn(8, NSWidthInsensitiveSearch) | oneIn(3, NSLiteralSearch);
    const auto text = NSString::stringWithUTF16Storage(units);
    const Ref<NSString> wanted = part;
    const NSUInteger start = random.below(units.size() / 4 + 1);
    const NSRange range{start, units.size() - start - random.below((units.size() - start) / 4 + 1)};
    EXPECT_EQ(text->rangeOfString_options_range(wanted, options, range),
              firstByPlaces(text, wanted, options, range))
        << text << ", " << wanted << ", options " << options << ", range " << range.location << ' '
        << range.length;
  }
}

/// Every place looks like a match until the last unit but one.
TEST(StringSearchTests, LatinTextThatDeceivesIsSearchedToItsEnd) {
  const std::size_t size = 200'000;
  std::u16string units(size, u'ä');
  units += std::u16string(1000, u'ä') + u"xä";
  const Ref<NSString> wanted = std::u16string(1000, u'Ä') + u"XÄ";
  EXPECT_EQ(Ref<NSString>(units)->rangeOfString_options(wanted, kCaseless), (NSRange{size, 1002}));
  EXPECT_EQ(Ref<NSString>(units)->rangeOfString_options(wanted, kCaseless | kMarkless),
            (NSRange{size, 1002}));
  units[size + 1000] = u'ß';
  EXPECT_EQ(Ref<NSString>(units)->rangeOfString_options(wanted, kCaseless), kNowhere);
}

TEST(StringSearchTests, FindsAcrossTheWindowsOfALongText) {
  RandomRun random;
  for (int round = 0; round < 24; ++round) {
    const auto place = random.below(40000);
    const auto size = 1 + random.below(round % 3 == 0 ? 9000 : 20);
    const std::u16string wanted = u"ß" + std::u16string(size, u'x');
    std::u16string text(place, u'ä');
    text += u"SS" + std::u16string(size, u'X');
    text += std::u16string(random.below(20000), u'é');
    const NSRange expected{place, size + 2};
    const auto check = [&](NSUInteger options, NSRange range, NSRange result) {
      EXPECT_EQ(
          Ref<NSString>(text)->rangeOfString_options_range(wanted, options | kCaseless, range),
          result)
          << place << ' ' << size << ' ' << options;
    };
    check(0, {0, text.size()}, expected);
    check(NSBackwardsSearch, {0, text.size()}, expected);
    check(NSAnchoredSearch, {place, text.size() - place}, expected);
    check(NSAnchoredSearch | NSBackwardsSearch, {0, NSMaxRange(expected)}, expected);
    check(0, {0, NSMaxRange(expected) - 1}, kNowhere);
    check(NSBackwardsSearch, {place + 1, text.size() - place - 1}, kNowhere);
  }
}

TEST(StringSearchTests, FindsBehindAndBeforeAnyNumberOfMarksThatDoNotCount) {
  const std::u16string marks(30000, u'\u0301');
  for (const NSUInteger literally : {NSUInteger{0}, NSUInteger{NSLiteralSearch}}) {
    const Ref<NSString> text = u"xyz" + marks;
    const auto find = [&](std::u16string_view wanted, NSUInteger options) {
      return text->rangeOfString_options(wanted, options | literally | kMarkless).location;
    };
    EXPECT_EQ(find(u"xyz", 0), 0U);
    EXPECT_EQ(find(u"xyz", NSBackwardsSearch), 0U);
    EXPECT_EQ(find(u"xyzz", NSBackwardsSearch), NSNotFound);
    EXPECT_EQ(find(u"z", NSBackwardsSearch | NSAnchoredSearch), 2U);
  }
}

TEST(StringSearchTests, TheFirstCharacterOfASetMayBeAPair) {
  const auto set = NSCharacterSet::characterSetWithCharactersInString(u"b😀");
  forBothStorages(u"aba", [&](const Ref<NSString>& text) {
    EXPECT_EQ(text->rangeOfCharacterFromSet(set), (NSRange{1, 1}));
    EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSAnchoredSearch), kNowhere);
    EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, NSAnchoredSearch, {1, 2}),
              (NSRange{1, 1}));
    EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, 0, {2, 1}), kNowhere);
    expectException(NSRangeException, [&] {
      text->rangeOfCharacterFromSet_options_range(set, 0, {2, 2});
    });
  });
  const Ref<NSString> text = u"a😀b😀";
  EXPECT_EQ(text->rangeOfCharacterFromSet(set), (NSRange{1, 2}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSBackwardsSearch), (NSRange{4, 2}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSBackwardsSearch | NSAnchoredSearch),
            (NSRange{4, 2}));
  EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, NSBackwardsSearch, {0, 5}),
            (NSRange{3, 1}));  // half a pair is no member
  EXPECT_EQ(text->rangeOfCharacterFromSet_options_range(set, 0, {2, 1}), kNowhere);
}

TEST(StringSearchTests, MembersAreFoundAsTheSetTellsThem) {
  RandomRun random;
  const auto set = NSCharacterSet::letterCharacterSet();
  for (int round = 0; round < 300; ++round) {
    const auto units = oddText(random, 10);
    NSRange first = kNowhere;
    NSRange last = kNowhere;
    const auto boundaries = boundariesOf(units, NSLiteralSearch);
    for (std::size_t index = 0; index + 1 < boundaries.size(); ++index) {
      const auto start = boundaries[index];
      UChar32 character;
      U16_GET(units.data(), 0, start, units.size(), character);
      if (set->longCharacterIsMember(static_cast<std::uint32_t>(character))) {
        last = {start, boundaries[index + 1] - start};
        first = first == kNowhere ? last : first;
      }
    }
    forBothStorages(units, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->rangeOfCharacterFromSet(set), first) << text;
      EXPECT_EQ(text->rangeOfCharacterFromSet_options(set, NSBackwardsSearch), last) << text;
    });
  }
}

TEST(StringSearchTests, ComposedCharactersAreWhatAReaderSees) {
  forBothStorages(u"ab", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->rangeOfComposedCharacterSequenceAtIndex(1), (NSRange{1, 1}));
    expectException(NSRangeException, [&] { text->rangeOfComposedCharacterSequenceAtIndex(2); });
  });
  const struct {
    std::u16string_view text;
    NSUInteger index;
    NSRange range;
  } kRows[] = {
      {u"xe\u0301y", 1, {1, 2}},    {u"xe\u0301y", 2, {1, 2}}, {u"xe\u0301y", 3, {3, 1}},
      {u"x😀", 2, {1, 2}},           {u"👩\u200D👧!", 3, {0, 5}}, {u"🇩🇪🇫🇷", 6, {4, 4}},
      {u"\u1100\u1161", 1, {0, 2}}, {u"\r\nä", 1, {1, 1}},     {u"\u0915\u093F", 1, {0, 2}},
      {u"ä\n\u0301", 2, {2, 1}},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Ref<NSString>(row.text)->rangeOfComposedCharacterSequenceAtIndex(row.index),
              row.range);
  }
}

TEST(StringSearchTests, ComposedCharactersOfARangeAreWhole) {
  const Ref<NSString> text = u"ae\u0301o\u0308b";
  EXPECT_EQ(text->rangeOfComposedCharacterSequencesForRange({2, 2}), (NSRange{1, 4}));
  EXPECT_EQ(text->rangeOfComposedCharacterSequencesForRange({2, 0}), (NSRange{1, 0}));
  EXPECT_EQ(text->rangeOfComposedCharacterSequencesForRange({1, 2}), (NSRange{1, 2}));
  EXPECT_EQ(text->rangeOfComposedCharacterSequencesForRange({6, 0}), (NSRange{6, 0}));
  expectException(NSRangeException, [&] {
    text->rangeOfComposedCharacterSequencesForRange({6, 1});
  });
}

TEST(StringSearchTests, ComposedCharactersAreICUsButForCRLF) {
  RandomRun random;
  for (int round = 0; round < 2000; ++round) {
    const auto units = oddText(random, 14);
    const Ref<NSString> text = NSString::stringWithUTF16Storage(units);
    std::vector<std::size_t> boundaries{0};
    while (boundaries.back() < units.size()) {
      boundaries.push_back(
          NSMaxRange(text->rangeOfComposedCharacterSequenceAtIndex(boundaries.back())));
    }
    EXPECT_EQ(boundaries, boundariesOf(units, 0)) << text;
  }
}

}  // namespace
}  // namespace kestova
