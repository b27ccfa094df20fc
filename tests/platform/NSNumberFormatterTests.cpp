// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSNumberFormatter.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "text/ICULocale.h"
#include "text/ICUText.h"
#include "text/PlainDecimal.h"

#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>

#include <cmath>
#include <limits>

namespace kestova {
namespace {

Ref<NSNumberFormatter> formatterWith(const Ref<NSString>& format, const char* locale = "en_US") {
  const auto formatter = NSNumberFormatter::init();
  formatter->setFormat(format);
  formatter->setLocale(NSLocale::localeWithLocaleIdentifier(locale));
  return formatter;
}

TEST(NSNumberFormatterTests, NumbersAreWrittenByPatternAndLocale) {
  struct {
    const char* pattern;
    const char* locale;
    double number;
    const char* text;
  } const kRows[] = {
      {"###0.#", "en_US", 1.5, "1.5"},
      {"###0.#", "de_DE", 1.5, "1,5"},
      {"###0.#", "en_US", 0, "0"},
      {"###0.#", "en_US", 1024, "1024"},
      {"###0.#", "en_US", 0.25, "0.2"},
      {"###0.#", "en_US", 0.35, "0.4"},
      {"###0.#", "en_US", 0.95, "1"},
      {"###0.#", "en_US", 1.05, "1"},
      {"###0.#", "en_US", 1.15, "1.2"},
      {"###0.#", "en_US", 9.96, "10"},
      {"###0.#", "en_US", 999.95, "1000"},
      {"###0.#", "en_US", -1.5, "-1.5"},
      {"###0.#", "ar_EG", 1.5, "١٫٥"},
      {"#,##0.00", "en_US", 1234.5, "1,234.50"},
      {"#,##0.00", "de_DE", 1234.5, "1.234,50"},
      {"0.00", "fr_FR", 2, "2,00"},
      {"0.00;(0.00)", "en_US", -2, "(2.00)"},
      {"0%", "en_US", 0.5, "50%"},
      {"#", "en_US", 2.5, "2"},
      {"#", "en_US", 3.5, "4"},
      {"0.###E0", "en_US", 1500, "1.5E3"},
      {"000", "en_US", 7, "007"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(formatterWith(row.pattern, row.locale)->stringFromNumber(row.number), row.text)
        << row.pattern << " " << row.locale << " " << row.number;
  }
}

TEST(NSNumberFormatterTests, NumbersThatAreNoneAndLargeOnesAreWritten) {
  const auto formatter = formatterWith("0.#");
  EXPECT_EQ(formatter->stringFromNumber(std::nan("")), "NaN");
  EXPECT_EQ(formatter->stringFromNumber(std::numeric_limits<double>::infinity()), "∞");
  EXPECT_EQ(formatter->stringFromNumber(18446744073709551615U), "18446744073709551615");
  EXPECT_EQ(formatter->stringFromNumber(std::numeric_limits<long long>::min()),
            "-9223372036854775808");
  EXPECT_EQ(formatter->stringFromNumber(true), "1");
  EXPECT_EQ(formatter->stringFromNumber(1e-20), "0");
}

TEST(NSNumberFormatterTests, AMalformedPatternIsThePlainOne) {
  EXPECT_EQ(formatterWith("###0.#.#")->stringFromNumber(1234.5), "1234");
  EXPECT_EQ(NSNumberFormatter::init()->format(), "#");
}

TEST(NSNumberFormatterTests, SettingsTakeEffectAtOnce) {
  const auto formatter = formatterWith("0.0");
  EXPECT_EQ(formatter->stringFromNumber(1.5), "1.5");
  formatter->setFormat("0.00");
  EXPECT_EQ(formatter->stringFromNumber(1.5), "1.50");
  formatter->setLocale(NSLocale::localeWithLocaleIdentifier("de_DE"));
  EXPECT_EQ(formatter->stringFromNumber(1.5), "1,50");
  formatter->setLocale(nullptr);
  EXPECT_EQ(formatter->locale(), NSLocale::currentLocale());
}

TEST(NSNumberFormatterTests, NumbersAreReadBack) {
  const auto formatter = formatterWith("#,##0.##", "de_DE");
  testing::forBothStorages(u"1.234,5", [&](const Ref<NSString>& text) {
    EXPECT_TRUE(formatter->numberFromString(text)->isEqual(1234.5));
  });
  EXPECT_TRUE(formatter->numberFromString("-7")->isEqual(-7));
  for (const char* text : {"", "x", "1x", "1,5 ", "--1"}) {
    EXPECT_FALSE(formatter->numberFromString(text)) << text;
  }
}

TEST(NSNumberFormatterTests, ObjectsAreFormattedAndRead) {
  const auto formatter = formatterWith("0.0");
  EXPECT_EQ(formatter->stringForObjectValue(1), "1.0");
  EXPECT_FALSE(formatter->stringForObjectValue("1"));
  EXPECT_FALSE(formatter->stringForObjectValue(nullptr));
  id object;
  Ref<NSString> error;
  EXPECT_TRUE(formatter->getObjectValue_forString_errorDescription(&object, "2.5", &error));
  EXPECT_TRUE(object->isEqual(2.5));
  EXPECT_FALSE(error);
  EXPECT_FALSE(formatter->getObjectValue_forString_errorDescription(&object, "two", &error));
  EXPECT_TRUE(object->isEqual(2.5));
  EXPECT_EQ(error, "“two” is not a number.");
  EXPECT_FALSE(formatter->getObjectValue_forString_errorDescription(nullptr, nullptr));
}

TEST(NSNumberFormatterTests, WithoutAPatternItThrows) {
  testing::expectException(NSInvalidArgumentException,
                           [] { NSNumberFormatter::init()->setFormat(nullptr); });
}

TEST(NSNumberFormatterTests, ManyPatternsInTurnStayThemselves) {
  for (int turn = 0; turn < 3; ++turn) {
    std::string pattern = "0.0";
    for (int i = 0; i < 40; ++i, pattern += '0') {
      const std::string decimals = "1." + std::string(pattern.size() - 2, '0');
      EXPECT_EQ(formatterWith(pattern)->stringFromNumber(1), decimals);
    }
  }
}

TEST(NSNumberFormatterTests, PlainNumbersAreThoseOfICU) {
  testing::RandomRun random;
  UErrorCode status = U_ZERO_ERROR;
  const icu::DecimalFormatSymbols symbols(icu::Locale("de_DE"), status);
  for (const char16_t* pattern : {u"0", u"###0.#", u"0.0", u"0.0##", u"0.00000"}) {
    const icu::DecimalFormat format(pattern, symbols, status);
    const auto plain = PlainDecimal::of(format);
    ASSERT_TRUE(plain);
    for (int turn = 0; turn < 20'000; ++turn) {
      const double number = turn % 2 == 0 ? static_cast<double>(random.below(4'000'000)) /
                                                (turn % 4 == 0 ? 1024.0 : 2000.0)
                                          : std::ldexp(static_cast<double>(random.below(1U << 30)),
                                                       static_cast<int>(random.below(50)) - 40);
      const auto text = plain->text(number);
      if (!text) continue;
      icu::UnicodeString expected;
      format.format(number, expected);
      ASSERT_EQ(text->utf16(), std::u16string(unitsOf(expected))) << number;
    }
  }
}

TEST(NSNumberFormatterTests, OnlyPlainPatternsAreWrittenPlainly) {
  UErrorCode status = U_ZERO_ERROR;
  const auto isPlain = [&](const char16_t* pattern, const char* locale) {
    const icu::DecimalFormatSymbols symbols(icu::Locale(locale), status);
    return PlainDecimal::of(icu::DecimalFormat(pattern, symbols, status)).has_value();
  };
  EXPECT_TRUE(isPlain(u"###0.#", "en_US"));
  EXPECT_FALSE(isPlain(u"###0.#", "ar_EG"));
  for (const char16_t* pattern : {u"#,##0", u"00", u"0E0", u"0%", u"0 x", u"x 0", u"@@", u"0.5"}) {
    EXPECT_FALSE(isPlain(pattern, "en_US"));
  }
}

}  // namespace
}  // namespace kestova
