// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"

#include <cctype>

namespace kestova {
namespace {

using testing::forBothStorages;
using testing::inBothStorages;

TEST(StringCaseTests, MapsInFull) {
  const struct {
    std::u16string_view text;
    std::u16string_view upper;
    std::u16string_view lower;
    std::u16string_view capitalized;
  } kRows[] = {
      {u"", u"", u"", u""},
      {u"hello, World!", u"HELLO, WORLD!", u"hello, world!", u"Hello, World!"},
      {u"don't STOP", u"DON'T STOP", u"don't stop", u"Don't Stop"},
      {u"a-b 3rd (x)", u"A-B 3RD (X)", u"a-b 3rd (x)", u"A-b 3rd (x)"},
      {u"\ta\nb  c", u"\tA\nB  C", u"\ta\nb  c", u"\tA\nB  C"},
      {u"straße", u"STRASSE", u"straße", u"Straße"},
      {u"ßa", u"SSA", u"ßa", u"Ssa"},
      {u"ﬁn", u"FIN", u"ﬁn", u"Fin"},
      {u"ǆep", u"ǄEP", u"ǆep", u"ǅep"},
      {u"ὈΔΥΣΣΕΎΣ", u"ὈΔΥΣΣΕΎΣ", u"ὀδυσσεύς", u"Ὀδυσσεύς"},
      {u"İ", u"İ", u"i\u0307", u"İ"},
      {u"ı", u"I", u"ı", u"I"},
      {u"é e\u0301", u"É E\u0301", u"é e\u0301", u"É E\u0301"},
      {u"a\u2029b", u"A\u2029B", u"a\u2029b", u"A\u2029B"},
      {u"😀𐐨", u"😀𐐀", u"😀𐐨", u"😀𐐨"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->uppercaseString(), row.upper);
      EXPECT_EQ(text->lowercaseString(), row.lower);
      EXPECT_EQ(text->capitalizedString(), row.capitalized);
    });
  }
}

TEST(StringCaseTests, ASCIIIsMappedAsInEitherStorage) {
  std::u16string all;
  for (char16_t unit = 0; unit < 0x80; ++unit) {
    all += unit;
  }
  const auto both = inBothStorages(all + all);
  EXPECT_TRUE(both[0]->isEightBit());
  EXPECT_FALSE(both[1]->isEightBit());
  EXPECT_TRUE(both[0]->uppercaseString()->isEqual(both[1]->uppercaseString()));
  EXPECT_TRUE(both[0]->lowercaseString()->isEqual(both[1]->lowercaseString()));
  EXPECT_TRUE(both[0]->capitalizedString()->isEqual(both[1]->capitalizedString()));
  for (NSUInteger index = 0; index < 0x80; ++index) {
    EXPECT_EQ(both[0]->uppercaseString()->characterAtIndex(index),
              std::toupper(static_cast<int>(index)));
    EXPECT_EQ(both[0]->lowercaseString()->characterAtIndex(index),
              std::tolower(static_cast<int>(index)));
  }
}

TEST(StringCaseTests, FoldingTakesDistinctionsAway) {
  const struct {
    std::u16string_view text;
    NSUInteger options;
    std::u16string_view folded;
  } kRows[] = {
      {u"Straße", 0, u"Straße"},
      {u"Straße", NSCaseInsensitiveSearch, u"strasse"},
      {u"ABC", NSCaseInsensitiveSearch, u"abc"},
      {u"ABC", NSDiacriticInsensitiveSearch, u"ABC"},
      {u"Ärger e\u0301", NSDiacriticInsensitiveSearch, u"Arger e"},
      {u"Ärger", NSDiacriticInsensitiveSearch | NSCaseInsensitiveSearch, u"arger"},
      {u"Ärger", NSDiacriticInsensitiveSearch | NSLiteralSearch, u"Arger"},
      {u"ＡＢｶﾞ", NSWidthInsensitiveSearch, u"ABガ"},
      {u"e\u0301", NSCaseInsensitiveSearch, u"é"},
      {u"e\u0301", NSLiteralSearch | NSNumericSearch, u"e\u0301"},
      {u"가", NSDiacriticInsensitiveSearch, u"가"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->stringByFoldingWithOptions_locale(row.options, nullptr), row.folded) << text;
    });
  }
}

TEST(StringCaseTests, FoldingKnowsTheTurkishLetters) {
  const auto turkish = NSLocale::localeWithLocaleIdentifier("tr");
  forBothStorages(u"IiA", [&](const Ref<NSString>& text) {
    EXPECT_EQ(text->stringByFoldingWithOptions_locale(NSCaseInsensitiveSearch, turkish), "ıia");
    EXPECT_EQ(text->stringByFoldingWithOptions_locale(NSCaseInsensitiveSearch, nullptr), "iia");
  });
  EXPECT_EQ(Ref<NSString>("İ")->stringByFoldingWithOptions_locale(NSCaseInsensitiveSearch, turkish),
            "i");
  EXPECT_EQ(Ref<NSString>(u"I\u0307")
                ->stringByFoldingWithOptions_locale(NSCaseInsensitiveSearch, turkish),
            "i");
}

TEST(StringCaseTests, TheNormalizationFormsAreUnicodes) {
  const struct {
    std::u16string_view text;
    std::u16string_view c;
    std::u16string_view d;
    std::u16string_view kc;
    std::u16string_view kd;
  } kRows[] = {
      {u"abc", u"abc", u"abc", u"abc", u"abc"},
      {u"", u"", u"", u"", u""},
      {u"\u00E9", u"\u00E9", u"e\u0301", u"\u00E9", u"e\u0301"},
      {u"e\u0301", u"\u00E9", u"e\u0301", u"\u00E9", u"e\u0301"},
      {u"\u1E9B\u0323", u"\u1E9B\u0323", u"\u017F\u0323\u0307", u"\u1E69", u"s\u0323\u0307"},
      {u"\uFB01", u"\uFB01", u"\uFB01", u"fi", u"fi"},
      {u"\u212B", u"\u00C5", u"A\u030A", u"\u00C5", u"A\u030A"},
      {u"\uAC01", u"\uAC01", u"\u1100\u1161\u11A8", u"\uAC01", u"\u1100\u1161\u11A8"},
      {u"\uFF76\uFF9E", u"\uFF76\uFF9E", u"\uFF76\uFF9E", u"\u30AC", u"\u30AB\u3099"},
      {u"s\u0307\u0323", u"\u1E69", u"s\u0323\u0307", u"\u1E69", u"s\u0323\u0307"},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->precomposedStringWithCanonicalMapping(), row.c);
      EXPECT_EQ(text->decomposedStringWithCanonicalMapping(), row.d);
      EXPECT_EQ(text->precomposedStringWithCompatibilityMapping(), row.kc);
      EXPECT_EQ(text->decomposedStringWithCompatibilityMapping(), row.kd);
    });
  }
}

TEST(StringCaseTests, HalvesOfPairsStay) {
  const std::u16string text{u'a', u'\xD83D', u'Ä'};
  EXPECT_EQ(Ref<NSString>(text)->lowercaseString()->utf16(),
            (std::u16string{u'a', u'\xD83D', u'ä'}));
  EXPECT_EQ(Ref<NSString>(text)->precomposedStringWithCanonicalMapping()->utf16(), text);
  EXPECT_EQ(Ref<NSString>(text)->capitalizedString()->utf16(),
            (std::u16string{u'A', u'\xD83D', u'ä'}));
}

}  // namespace
}  // namespace kestova
