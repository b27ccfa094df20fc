// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>
#include <unicode/normalizer2.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomText.h"
#include "text/Collation.h"

#include <optional>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::oddText;
using testing::plainText;
using testing::RandomRun;
using namespace std::string_view_literals;

constexpr NSUInteger kCaseless = NSCaseInsensitiveSearch;
constexpr NSUInteger kMarkless = NSDiacriticInsensitiveSearch;

NSComparisonResult reversed(NSComparisonResult order) {
  return static_cast<NSComparisonResult>(-static_cast<NSInteger>(order));
}

struct Row {
  std::u16string_view a;
  std::u16string_view b;
  NSUInteger options;
  NSComparisonResult order;
};

void check(const Row& row) {
  forBothStorages(row.a, row.b, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
    EXPECT_EQ(a->compare_options(b, row.options), row.order) << a << ", " << b;
    EXPECT_EQ(b->compare_options(a, row.options), reversed(row.order)) << b << ", " << a;
  });
}

TEST(StringComparisonTests, EquivalentTextsAreTheSameUnlessComparedLiterally) {
  const std::pair<std::u16string_view, std::u16string_view> kEquivalents[] = {
      {u"\u00E9", u"e\u0301"},
      {u"\u1E69", u"s\u0307\u0323"},
      {u"\uAC01x", u"\u1100\u1161\u11A8x"},
      {u"K", u"\u212A"},
      {u";", u"\u037E"},
      {u"x\U0001D15Ey", u"x\U0001D157\U0001D165y"},
  };
  for (const auto& [a, b] : kEquivalents) {
    check({a, b, 0, NSOrderedSame});
    check({a, b, kCaseless, NSOrderedSame});
    forBothStorages(a, b, [](const Ref<NSString>& x, const Ref<NSString>& y) {
      EXPECT_EQ(x->compare(y), NSOrderedSame);
      EXPECT_NE(x->compare_options(y, NSLiteralSearch), NSOrderedSame);
      EXPECT_NE(x->compare_options(y, NSForcedOrderingSearch), NSOrderedSame);
      EXPECT_FALSE(x->isEqualToString(y));
    });
  }
}

TEST(StringComparisonTests, OrdersByUnitsOfTheComposedForm) {
  check({u"", u"", 0, NSOrderedSame});
  check({u"", u"a", 0, NSOrderedAscending});
  check({u"a", u"b", 0, NSOrderedAscending});
  check({u"B", u"a", 0, NSOrderedAscending});
  check({u"az", u"a\u0308", 0, NSOrderedAscending});  // "ä" is behind "z" in either spelling
  check({u"az", u"\u00E4", 0, NSOrderedAscending});
  check({u"😀", u"\uFFFD", 0, NSOrderedAscending});
  check({u"e\u0301a", u"\u00E9b", 0, NSOrderedAscending});
  check({u"e\u0301b", u"\u00E9a", 0, NSOrderedDescending});
}

TEST(StringComparisonTests, CaseMarksAndWidthCanBeLeftOutOfAccount) {
  check({u"abc", u"ABC", kCaseless, NSOrderedSame});
  check({u"abc", u"ABD", kCaseless, NSOrderedAscending});
  check({u"ab_", u"ABC", kCaseless, NSOrderedAscending});  // letters count as small ones
  check({u"Straße", u"STRASSE", kCaseless, NSOrderedSame});
  check({u"ΣΑΣ", u"σας", kCaseless, NSOrderedSame});
  check({u"ﬁ", u"FI", kCaseless, NSOrderedSame});
  check({u"I", u"ı", kCaseless, NSOrderedAscending});
  check({u"ᾳ", u"ΑΙ", kCaseless, NSOrderedSame});
  check({u"résumé", u"resume", kMarkless, NSOrderedSame});
  check({u"Résumé", u"resume", kMarkless | kCaseless, NSOrderedSame});
  check({u"e\u0301\u0323", u"e", kMarkless, NSOrderedSame});
  check({u"\u0301", u"", kMarkless, NSOrderedSame});
  check({u"ＡＢ", u"AB", NSWidthInsensitiveSearch, NSOrderedSame});
  check({u"ｶﾞ", u"ガ", NSWidthInsensitiveSearch, NSOrderedSame});
}

TEST(StringComparisonTests, DigitsCanCountAsNumbers) {
  check({u"a2", u"a10", 0, NSOrderedDescending});
  check({u"a2", u"a10", NSNumericSearch, NSOrderedAscending});
  check({u"a10", u"a10", NSNumericSearch, NSOrderedSame});
  check({u"a02", u"a2", NSNumericSearch, NSOrderedSame});
  check({u"a02b", u"a2a", NSNumericSearch, NSOrderedDescending});
  check({u"0", u"", NSNumericSearch, NSOrderedDescending});
  check({u"000", u"0", NSNumericSearch, NSOrderedSame});
  check({u"12", u"123", NSNumericSearch, NSOrderedAscending});
  check({u"129", u"1210", NSNumericSearch, NSOrderedAscending});
  check({u"1.10", u"1.9", NSNumericSearch, NSOrderedDescending});
  check({u"x", u"1", NSNumericSearch, NSOrderedDescending});
  check({u"18446744073709551617", u"18446744073709551616", NSNumericSearch, NSOrderedDescending});
  check({u"ä2", u"ä10", NSNumericSearch, NSOrderedAscending});
  check({u"A2", u"a10", NSNumericSearch | kCaseless, NSOrderedAscending});
  check({u"１０", u"9", NSNumericSearch | NSWidthInsensitiveSearch, NSOrderedDescending});
  check({u"1０", u"19", NSNumericSearch | NSWidthInsensitiveSearch, NSOrderedAscending});
}

TEST(StringComparisonTests, ForcedOrderingTellsWhatIsTheSameApart) {
  check({u"a", u"A", kCaseless | NSForcedOrderingSearch, NSOrderedDescending});
  check({u"a", u"a", kCaseless | NSForcedOrderingSearch, NSOrderedSame});
  check({u"a02", u"a2", NSNumericSearch | NSForcedOrderingSearch, NSOrderedAscending});
  check({u"a", u"B", kCaseless | NSForcedOrderingSearch, NSOrderedAscending});
}

TEST(StringComparisonTests, ARangeIsATextByItself) {
  forBothStorages(u"xabcx", u"abc", [](const Ref<NSString>& text, const Ref<NSString>& other) {
    EXPECT_EQ(text->compare_options_range(other, 0, {1, 3}), NSOrderedSame);
    EXPECT_EQ(text->compare_options_range(other, 0, {1, 2}), NSOrderedAscending);
    EXPECT_EQ(text->compare_options_range(other, 0, {5, 0}), NSOrderedAscending);
    expectException(NSRangeException, [&] { text->compare_options_range(other, 0, {5, 1}); });
  });
  const Ref<NSString> text = u"e\u0301";
  EXPECT_EQ(text->compare_options_range("e", 0, {0, 1}), NSOrderedSame);
}

TEST(StringComparisonTests, NullThrows) {
  const Ref<NSString> text = "a";
  const auto refuses = [](auto&& call) { expectException(NSInvalidArgumentException, call); };
  refuses([&] { text->compare_options(nullptr, 0); });
  refuses([&] { text->compare_options_range(nullptr, 0, {0, 0}); });
  refuses([&] { text->caseInsensitiveCompare(nullptr); });
  refuses([&] { text->localizedCompare(nullptr); });
  refuses([&] { text->localizedCaseInsensitiveCompare(nullptr); });
  refuses([&] { text->localizedStandardCompare(nullptr); });
  refuses([&] { text->isCaseInsensitiveLike(nullptr); });
  refuses([&] { (void)text->commonPrefixWithString_options(nullptr, 0); });
}

TEST(StringComparisonTests, CaseInsensitiveComparisonIsThatOption) {
  forBothStorages(u"GRÜSSE", u"grüße", [](const Ref<NSString>& a, const Ref<NSString>& b) {
    EXPECT_EQ(a->caseInsensitiveCompare(b), NSOrderedSame);
    EXPECT_EQ(a->caseInsensitiveCompare("GRÜSSF"), NSOrderedAscending);
  });
}

std::u16string composedFold(const std::u16string& text, NSUInteger options) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString units(text.data(), static_cast<std::int32_t>(text.size()));
  const auto& nfd = *icu::Normalizer2::getNFDInstance(status);
  units = nfd.normalize(units, status);
  if ((options & kCaseless) != 0) {
    units.foldCase();
  }
  units = icu::Normalizer2::getNFCInstance(status)->normalize(units, status);
  return {units.getBuffer(), static_cast<std::size_t>(units.length())};
}

/// Orders as sequences of numbers and other units.
NSComparisonResult expectedOrder(std::u16string a, std::u16string b, NSUInteger options) {
  a = composedFold(a, options);
  b = composedFold(b, options);
  const auto takeNumber = [&](const std::u16string& text,
                              std::size_t& index) -> std::optional<std::u16string> {
    std::u16string digits;
    while (index < text.size() && text[index] >= u'0' && text[index] <= u'9') {
      digits += text[index++];
    }
    if (digits.empty()) {
      return std::nullopt;
    }
    digits.erase(0, digits.find_first_not_of(u'0'));
    return std::u16string(20 - std::min<std::size_t>(digits.size(), 20), u'0') + digits;
  };
  const auto orderOf = [](const auto& x, const auto& y) {
    return x < y ? NSOrderedAscending : y < x ? NSOrderedDescending : NSOrderedSame;
  };
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    std::size_t afterA = i;
    std::size_t afterB = j;
    const bool isNumeric = (options & NSNumericSearch) != 0;
    const auto x = isNumeric ? takeNumber(a, afterA) : std::nullopt;
    const auto y = isNumeric ? takeNumber(b, afterB) : std::nullopt;
    const auto order = x && y ? orderOf(*x, *y) : orderOf(a[i], b[j]);
    if (order != NSOrderedSame) {
      return order;
    }
    i = x && y ? afterA : i + 1;
    j = x && y ? afterB : j + 1;
  }
  return orderOf(i < a.size(), j < b.size());
}

TEST(StringComparisonTests, AgreesWithComparingTheFoldedWholes) {
  RandomRun random;
  for (int round = 0; round < 8000 && !HasFailure(); ++round) {
    const bool isPlain = random.below(2) == 0;
    const auto some = [&](std::size_t limit) {
      return isPlain ? plainText(random, limit) : oddText(random, limit);
    };
    const auto start = some(6);
    const auto a = start + some(4);
    const auto b = (random.below(2) == 0 ? composedFold(start, random.below(2)) : start) + some(4);
    const NSUInteger options = random.below(2) + random.below(2) * NSNumericSearch;
    check({a, b, options, expectedOrder(a, b, options)});
  }
}

TEST(StringComparisonTests, NumbersInLongTextsOfDigitsAgree) {
  RandomRun random;
  const auto digits = [&] {
    std::u16string text(random.below(8), u'0');
    for (auto& unit : text) {
      unit = u"0012ax"[random.below(6)];
    }
    return text;
  };
  for (int round = 0; round < 5000 && !HasFailure(); ++round) {
    const auto start = digits();
    const auto a = start + digits();
    const auto b = start + digits();
    check({a, b, NSNumericSearch, expectedOrder(a, b, NSNumericSearch)});
  }
}

TEST(StringComparisonTests, ReadersOrderIsTheLocales) {
  const auto order = [](const char* locale, Distinctions distinctions, std::u16string_view first,
                        std::u16string_view second) {
    const Collation collation(locale, distinctions);
    const auto result = collation.compare(*Ref<NSString>(first), *Ref<NSString>(second));
    forBothStorages(first, second, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(collation.compare(*a, *b), result);
      EXPECT_EQ(collation.compare(*b, *a), reversed(result));
    });
    return result;
  };
  using enum Distinctions;
  EXPECT_EQ(order("de", all, u"apfel", u"Zebra"), NSOrderedAscending);
  EXPECT_EQ(order("de", all, u"ärger", u"z"), NSOrderedAscending);
  EXPECT_EQ(order("sv", all, u"ärger", u"z"), NSOrderedDescending);
  EXPECT_EQ(order("de", all, u"a", u"A"), NSOrderedAscending);
  EXPECT_EQ(order("de", all, u"\u00E9", u"e\u0301"), NSOrderedSame);
  EXPECT_EQ(order("de", exceptCase, u"a", u"A"), NSOrderedSame);
  EXPECT_EQ(order("de", exceptCase, u"a", u"ä"), NSOrderedAscending);
  EXPECT_EQ(order("de", exceptCase, u"a10", u"a9"), NSOrderedAscending);
  EXPECT_EQ(order("de", asFileNames, u"A10", u"a9"), NSOrderedDescending);
}

TEST(StringComparisonTests, LocalizedComparisonsUseTheCurrentLocale) {
  const Ref<NSString> text = "b9";
  EXPECT_EQ(text->localizedCompare("b9"), NSOrderedSame);
  EXPECT_EQ(text->localizedCompare("c9"), NSOrderedAscending);
  EXPECT_EQ(text->localizedCompare("b10"), NSOrderedDescending);
  EXPECT_EQ(text->localizedCaseInsensitiveCompare("a9"), NSOrderedDescending);
  EXPECT_EQ(text->localizedStandardCompare("b10"), NSOrderedAscending);
}

TEST(StringComparisonTests, WildcardsMatchWithoutCase) {
  const struct {
    std::u16string_view text;
    std::u16string_view pattern;
    bool matches;
  } kRows[] = {
      {u"", u"", true},
      {u"", u"*", true},
      {u"", u"?", false},
      {u"a", u"", false},
      {u"Photo.JPG", u"*.jpg", true},
      {u"Photo.JPGX", u"*.jpg", false},
      {u"Photo", u"p?t*", false},
      {u"Photo", u"p?o*", true},
      {u"Photo", u"p??to", true},
      {u"abcabc", u"*abc", true},
      {u"abcabd", u"*abc", false},
      {u"abcabcx", u"a*c*x", true},
      {u"aaa", u"**a**", true},
      {u"ab", u"a?*", true},
      {u"a", u"a?*", false},
      {u"Straße", u"STRASSE", true},
      {u"Straße", u"stra?e", true},
      {u"STRASSE", u"stra?e", false},
      {u"Straße", u"stras*", false},  // ends inside a character
      {u"e\u0301", u"?", true},
      {u"e\u0301", u"É", true},
      {u"e\u0301", u"e*", false},
      {u"😀x", u"?X", true},
      {u"a*b", u"A*B", true},
      {u"a\\b", u"a\\b", true},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, row.pattern, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(a->isCaseInsensitiveLike(b), row.matches) << a << ", " << b;
    });
  }
}

bool expectedLike(std::u16string_view text, std::u16string_view pattern) {
  if (pattern.empty() || text.empty()) {
    return text.empty() && pattern.find_first_not_of(u'*') == pattern.npos;
  }
  if (pattern[0] == u'*') {
    return expectedLike(text, pattern.substr(1)) || expectedLike(text.substr(1), pattern);
  }
  return (pattern[0] == u'?' || (pattern[0] | 32) == (text[0] | 32)) &&
         expectedLike(text.substr(1), pattern.substr(1));
}

TEST(StringComparisonTests, WildcardsAgreeWithTryingEverything) {
  RandomRun random;
  const auto word = [&](std::size_t limit, std::u16string_view letters) {
    std::u16string text(random.below(limit + 1), u'a');
    for (auto& unit : text) {
      unit = letters[random.below(letters.size())];
    }
    return text;
  };
  for (int round = 0; round < 8000; ++round) {
    const auto text = word(8, u"abAB");
    const auto pattern = word(6, u"abB?**");
    forBothStorages(text, pattern, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(a->isCaseInsensitiveLike(b), expectedLike(text, pattern)) << a << ", " << b;
    });
  }
}

TEST(StringComparisonTests, CommonPrefixesAreWholeCharacters) {
  const struct {
    std::u16string_view a;
    std::u16string_view b;
    NSUInteger options;
    std::u16string_view prefix;
  } kRows[] = {
      {u"abcd", u"abxd", 0, u"ab"},
      {u"abc", u"abcd", 0, u"abc"},
      {u"abcd", u"abc", 0, u"abc"},
      {u"abc", u"xyz", 0, u""},
      {u"", u"abc", 0, u""},
      {u"aBc", u"Abd", 0, u""},
      {u"aBc", u"Abd", kCaseless, u"aB"},
      {u"xe\u0301", u"xe", 0, u"x"},
      {u"xe\u0301", u"xe", NSLiteralSearch, u"xe"},
      {u"xe\u0301y", u"x\u00E9z", 0, u"xe\u0301"},
      {u"xé", u"xea", kMarkless, u"xé"},
      {u"ßx", u"SSy", kCaseless, u"ß"},
      {u"ß", u"s", kCaseless, u""},
      {u"SSS", u"ß", kCaseless, u"SS"},
      {u"😀", u"😁", NSLiteralSearch, u""},
      {u"😀", u"😁", 0, u""},
      {u"e\u0301\u0301", u"e", kMarkless, u"e\u0301\u0301"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.a, row.b, [&](const Ref<NSString>& a, const Ref<NSString>& b) {
      EXPECT_EQ(a->commonPrefixWithString_options(b, row.options), row.prefix) << a << ", " << b;
    });
  }
}

}  // namespace
}  // namespace kestova
