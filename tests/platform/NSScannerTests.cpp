// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSScanner.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "BothStorages.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "text/CLocale.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;
using testing::inBothStorages;
using testing::RandomRun;

Ref<NSScanner> scannerOf(const Ref<NSString>& text) { return NSScanner::scannerWithString(text); }

Ref<NSScanner> germanScannerOf(const Ref<NSString>& text) {
  const auto scanner = scannerOf(text);
  scanner->setLocale(NSLocale::localeWithLocaleIdentifier("de_DE"));
  return scanner;
}

/// What one scan of a number must do: whether it succeeds, what it gives, where it ends.
template <class Value>
struct Row {
  std::u16string text;
  bool succeeds;
  Value value;
  NSUInteger end;
};

template <class Value, class Scan>
void expectScans(const std::vector<Row<Value>>& rows, Scan&& scan) {
  for (const Row<Value>& row : rows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      SCOPED_TRACE(text->displayUTF8());
      const auto scanner = scannerOf(text);
      Value value{77};
      EXPECT_EQ(scan(*scanner, &value), row.succeeds);
      EXPECT_EQ(value, row.succeeds ? row.value : Value{77});
      EXPECT_EQ(scanner->scanLocation(), row.end);
      const auto other = scannerOf(text);
      EXPECT_EQ(scan(*other, nullptr), row.succeeds);
      EXPECT_EQ(other->scanLocation(), row.end);
    });
  }
}

TEST(NSScannerTests, AnIntIsASignAndDigits) {
  expectScans<int>(
      {
          {u"42abc", true, 42, 2},
          {u"42", true, 42, 2},
          {u"-42", true, -42, 3},
          {u"+42", true, 42, 3},
          {u" \t\n42 ", true, 42, 5},
          {u"0042", true, 42, 4},
          {u"-0", true, 0, 2},
          {u"1.5", true, 1, 1},
          {u"1,234", true, 1, 1},
          {u"0x10", true, 0, 1},
          {u"", false, 0, 0},
          {u"  ", false, 0, 0},
          {u" -", false, 0, 0},
          {u"- 1", false, 0, 0},
          {u"--1", false, 0, 0},
          {u"+-1", false, 0, 0},
          {u" abc", false, 0, 0},
          {u"٤٢", false, 0, 0},        // only ASCII digits count
          {u"\u00a042", true, 42, 3},  // a blank that is not ASCII
          {u"42é", true, 42, 2},
          {u"Ĵ2", false, 0, 0},  // U+0134 is not the 4 that its low byte is
          {u"2147483647", true, 2147483647, 10},
          {u"2147483648x", true, 2147483647, 10},
          {u"-2147483648", true, -2147483647 - 1, 11},
          {u"-2147483649", true, -2147483647 - 1, 11},
          {u"99999999999999999999999999", true, 2147483647, 26},
          {u"-99999999999999999999999999", true, -2147483647 - 1, 27},
          {u"00000000000000000000000000007", true, 7, 29},
      },
      [](NSScanner& scanner, int* value) { return scanner.scanInt(value); });
}

TEST(NSScannerTests, LongIntegersEndAtTheirOwnLimits) {
  const auto check = [](auto tag, auto scan) {
    using Value = decltype(tag);
    constexpr Value kMax = std::numeric_limits<Value>::max();
    constexpr Value kMin = std::numeric_limits<Value>::min();
    expectScans<Value>(
        {
            {u"9223372036854775806", true, kMax - 1, 19},
            {u"9223372036854775807", true, kMax, 19},
            {u"9223372036854775808", true, kMax, 19},
            {u"18446744073709551616", true, kMax, 20},
            {u"-9223372036854775807", true, kMin + 1, 20},
            {u"-9223372036854775808", true, kMin, 20},
            {u"-9223372036854775809", true, kMin, 20},
            {u"-99999999999999999999999x", true, kMin, 24},
            {u"+5", true, 5, 2},
            {u"x", false, 0, 0},
        },
        scan);
  };
  check(NSInteger{},
        [](NSScanner& scanner, NSInteger* value) { return scanner.scanInteger(value); });
  using LongLong = long long;
  check(LongLong{},
        [](NSScanner& scanner, LongLong* value) { return scanner.scanLongLong(value); });
}

TEST(NSScannerTests, AnUnsignedNumberHasNoMinus) {
  using Value = unsigned long long;
  expectScans<Value>(
      {
          {u"18446744073709551615", true, 18446744073709551615U, 20},
          {u"18446744073709551616 ", true, 18446744073709551615U, 20},
          {u"99999999999999999999999", true, 18446744073709551615U, 23},
          {u"+7", true, 7, 2},
          {u"-7", false, 0, 0},
      },
      [](NSScanner& scanner, Value* value) { return scanner.scanUnsignedLongLong(value); });
}

TEST(NSScannerTests, AHexIntegerMayFollowAPrefix) {
  expectScans<unsigned>(
      {
          {u"ff", true, 255, 2},
          {u"FF", true, 255, 2},
          {u"0xfF", true, 255, 4},
          {u"0XFf", true, 255, 4},
          {u" 0x10g", true, 16, 5},
          {u"0x", true, 0, 1},
          {u"0xg", true, 0, 1},
          {u"0x0x1", true, 0, 3},
          {u"x1", false, 0, 0},
          {u"-1", false, 0, 0},
          {u"+1", false, 0, 0},
          {u"g", false, 0, 0},
          {u"", false, 0, 0},
          {u"ffffffff", true, 0xffffffff, 8},
          {u"100000000", true, 0xffffffff, 9},
          {u"0xfffffffffffffffffffffffff", true, 0xffffffff, 27},
          {u"ａ", false, 0, 0},
          {u"a\u0130", true, 10, 1},
      },
      [](NSScanner& scanner, unsigned* value) { return scanner.scanHexInt(value); });
  using LongLong = unsigned long long;
  expectScans<LongLong>(
      {
          {u"0xdeadbeefcafef00d", true, 0xdeadbeefcafef00d, 18},
          {u"ffffffffffffffff", true, 0xffffffffffffffff, 16},
          {u"10000000000000000", true, 0xffffffffffffffff, 17},
          {u"z", false, 0, 0},
      },
      [](NSScanner& scanner, LongLong* value) { return scanner.scanHexLongLong(value); });
}

TEST(NSScannerTests, ADoubleIsDigitsWithAPointAndAnExponent) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  expectScans<double>(
      {
          {u"1.5", true, 1.5, 3},
          {u"-1.5e3x", true, -1500, 6},
          {u"+2.5E-1", true, 0.25, 7},
          {u" 3", true, 3, 2},
          {u"5.", true, 5, 2},
          {u".5", true, .5, 2},
          {u"-.5", true, -.5, 3},
          {u"5.e1", true, 50, 4},
          {u"1e", true, 1, 1},
          {u"1e+", true, 1, 1},
          {u"1ex", true, 1, 1},
          {u"1e5.5", true, 1e5, 3},
          {u"1.2.3", true, 1.2, 3},
          {u"1,5", true, 1, 1},
          {u"0x10", true, 0, 1},
          {u".", false, 0, 0},
          {u" .e5", false, 0, 0},
          {u"e5", false, 0, 0},
          {u"-", false, 0, 0},
          {u"- 1", false, 0, 0},
          {u"inf", false, 0, 0},
          {u"nan", false, 0, 0},
          {u"", false, 0, 0},
          {u"1e400", true, kInfinity, 5},
          {u"-1e400 ", true, -kInfinity, 6},
          {u"1e-400", true, 0, 6},
          {u"1e99999999999999999999", true, kInfinity, 22},
          {u"1e-99999999999999999999", true, 0, 23},
          {u"0e99999999999999999999", true, 0, 22},
          {u"4.9406564584124654e-324", true, 4.9406564584124654e-324, 23},
          {u"2.2250738585072014e-308", true, 2.2250738585072014e-308, 23},
          {u"1.7976931348623157e308", true, 1.7976931348623157e308, 22},
          {u"9007199254740993", true, 9007199254740992, 16},
          {u"9007199254740993.0000000000000000000000000000001", true, 9007199254740994, 48},
          {u"1٫5", true, 1, 1},
      },
      [](NSScanner& scanner, double* value) { return scanner.scanDouble(value); });
}

TEST(NSScannerTests, ASmallNegativeNumberKeepsItsSign) {
  double value = 1;
  EXPECT_TRUE(scannerOf("-1e-400")->scanDouble(&value));
  EXPECT_TRUE(std::signbit(value));
  EXPECT_TRUE(scannerOf("-0")->scanDouble(&value));
  EXPECT_TRUE(std::signbit(value));
}

TEST(NSScannerTests, AFloatIsRoundedOnce) {
  expectScans<float>(
      {
          {u"1.5", true, 1.5F, 3},
          {u"1e39", true, std::numeric_limits<float>::infinity(), 4},
          {u"-1e39", true, -std::numeric_limits<float>::infinity(), 5},
          {u"1e-50", true, 0, 5},
          {u"3.4028235e38", true, std::numeric_limits<float>::max(), 12},
          // Just above the middle of two floats; rounded to a double first, it would be the middle.
          {u"1.00000005960464477539062500000000000001", true, 1.00000011920928955F, 40},
          {u"x", false, 0, 0},
      },
      [](NSScanner& scanner, float* value) { return scanner.scanFloat(value); });
}

TEST(NSScannerTests, AHexRealNeedsItsPrefix) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  expectScans<double>(
      {
          {u"0x1.8p3", true, 12, 7},
          {u"-0x1.8p3", true, -12, 8},
          {u"+0X1.8P+3", true, 12, 9},
          {u"0xff", true, 255, 4},
          {u"0x.8", true, .5, 4},
          {u"0x8.", true, 8, 4},
          {u"0x1p", true, 1, 3},
          {u"0x1p-", true, 1, 3},
          {u"0x1e5", true, 485, 5},
          {u"0x1p99999999999999999999", true, kInfinity, 24},
          {u"-0x1p99999", true, -kInfinity, 10},
          {u"0x1p-99999999999999999999", true, 0, 25},
          {u"0x1p-1074", true, 4.9406564584124654e-324, 9},
          {u"0x1.fffffffffffff8p0", true, 2, 20},
          {u"0x1.fffffffffffff7p0", true, 0x1.fffffffffffffp0, 20},
          {u"1.8p3", false, 0, 0},
          {u"ff", false, 0, 0},
          {u"0x", false, 0, 0},
          {u"0xp3", false, 0, 0},
          {u"0x.p3", false, 0, 0},
          {u" 0xg", false, 0, 0},
      },
      [](NSScanner& scanner, double* value) { return scanner.scanHexDouble(value); });
  expectScans<float>({{u"0x1.8p3", true, 12, 7},
                      {u"0x1.000001p0", true, 1, 12},
                      {u"0x1.0000011p0", true, 0x1.000002p0F, 13},
                      {u"0x1p128", true, std::numeric_limits<float>::infinity(), 7},
                      {u"1", false, 0, 0}},
                     [](NSScanner& scanner, float* value) { return scanner.scanHexFloat(value); });
}

/// Every double printed with 17 digits, and in hex, is read back bit by bit, as is what the C
/// library reads from any digits.
TEST(NSScannerTests, RandomRealsAreExact) {
  RandomRun random;
  const CLocale locale;
  const auto randomBits = [&] { return random.below(~std::uint64_t{0}); };
  for (int round = 0; round < 20000; ++round) {
    const auto number = std::bit_cast<double>(randomBits());
    if (!std::isfinite(number)) continue;
    char decimal[64];
    char hex[64];
    std::snprintf(decimal, sizeof decimal, "%.17g", number);
    std::snprintf(hex, sizeof hex, "%a", number);
    std::string digits = "0.";
    for (std::uint64_t count = random.below(60); count-- > 0;) {
      digits += static_cast<char>('0' + random.below(10));
    }
    digits += "e" + std::to_string(static_cast<int>(random.below(700)) - 350);
    double value = 0;
    float small = 0;
    const std::string text = decimal;
    ASSERT_TRUE(scannerOf(text)->scanDouble(&value)) << text;
    ASSERT_EQ(value, number) << text;
    ASSERT_TRUE(scannerOf(text)->scanFloat(&small));
    ASSERT_EQ(small, std::strtof(decimal, nullptr)) << text;
    ASSERT_TRUE(scannerOf(std::string(hex))->scanHexDouble(&value)) << hex;
    ASSERT_EQ(value, number) << hex;
    ASSERT_TRUE(scannerOf(std::string(hex))->scanHexFloat(&small));
    ASSERT_EQ(small, std::strtof(hex, nullptr)) << hex;
    ASSERT_TRUE(scannerOf(digits)->scanDouble(&value));
    ASSERT_EQ(value, std::strtod(digits.c_str(), nullptr)) << digits;
  }
}

TEST(NSScannerTests, ANumberOfAMillionDigitsIsReadToItsEnd) {
  const std::string digits(1'000'000, '9');
  const auto scanner = scannerOf(digits);
  int number = 0;
  EXPECT_TRUE(scanner->scanInt(&number));
  EXPECT_EQ(number, std::numeric_limits<int>::max());
  EXPECT_EQ(scanner->scanLocation(), digits.size());
  scanner->setScanLocation(0);
  double real = 0;
  EXPECT_TRUE(scanner->scanDouble(&real));
  EXPECT_TRUE(std::isinf(real));
  EXPECT_EQ(scanner->scanLocation(), digits.size());
  EXPECT_TRUE(scannerOf("0." + digits)->scanDouble(&real));
  EXPECT_EQ(real, 1);
}

TEST(NSScannerTests, TheLocaleHasItsOwnDecimalSeparator) {
  forBothStorages(u"1,5e1 1.5", [](const Ref<NSString>& text) {
    const auto scanner = germanScannerOf(text);
    double value = 0;
    EXPECT_TRUE(scanner->scanDouble(&value));
    EXPECT_EQ(value, 15);
    EXPECT_TRUE(scanner->scanDouble(&value));
    EXPECT_EQ(value, 1);
    EXPECT_EQ(scanner->scanLocation(), 7U);
    scanner->setLocale(nullptr);
    scanner->setScanLocation(0);
    EXPECT_TRUE(scanner->scanDouble(&value));
    EXPECT_EQ(value, 1);
    EXPECT_EQ(scanner->scanLocation(), 1U);
  });
  const auto arabic = scannerOf(u"-,5 2٫25 0x1٫8");
  arabic->setLocale(NSLocale::localeWithLocaleIdentifier("ar_EG"));
  double value = 0;
  EXPECT_FALSE(arabic->scanDouble(&value));
  arabic->setScanLocation(4);
  EXPECT_TRUE(arabic->scanDouble(&value));
  EXPECT_EQ(value, 2.25);
  EXPECT_TRUE(arabic->scanHexDouble(&value));
  EXPECT_EQ(value, 1.5);
}

TEST(NSScannerTests, ALocalizedScannerHasTheCurrentLocale) {
  EXPECT_EQ(NSScanner::localizedScannerWithString("")->locale(), NSLocale::currentLocale());
  EXPECT_FALSE(scannerOf("")->locale());
}

/// What one scan of text must do.
struct TextRow {
  std::u16string text;
  const char16_t* argument;
  const char16_t* value;  // null where it fails
  NSUInteger end;
};

template <class Scan>
void expectTexts(const std::vector<TextRow>& rows, Scan&& scan) {
  for (const TextRow& row : rows) {
    forBothStorages(
        row.text, row.argument, [&](const Ref<NSString>& text, const Ref<NSString>& argument) {
          SCOPED_TRACE(text->displayUTF8() + " | " + argument->displayUTF8());
          const auto scanner = scannerOf(text);
          Ref<NSString> value = "untouched";
          EXPECT_EQ(scan(*scanner, argument, &value), row.value != nullptr);
          EXPECT_EQ(value, std::u16string_view(row.value == nullptr ? u"untouched" : row.value));
          EXPECT_EQ(scanner->scanLocation(), row.end);
          const auto other = scannerOf(text);
          EXPECT_EQ(scan(*other, argument, nullptr), row.value != nullptr);
          EXPECT_EQ(other->scanLocation(), row.end);
        });
  }
}

TEST(NSScannerTests, AStringIsReadWhereItStands) {
  expectTexts(
      {
          {u"abc", u"ab", u"ab", 2},
          {u"  abc", u"ab", u"ab", 4},
          {u"ABc", u"ab", u"AB", 2},  // case makes no difference, and the text's own is stored
          {u"ab", u"AB", u"ab", 2},
          {u"xab", u"ab", nullptr, 0},
          {u" a", u"ab", nullptr, 0},
          {u"ab", u"", nullptr, 0},
          {u"", u"ab", nullptr, 0},
          {u" ab", u" ab", nullptr, 0},  // the blank has been skipped
          {u"Äb", u"ä", u"Ä", 1},
          {u"STRASSE", u"straße", u"STRASSE", 7},
          {u"e\u0301x", u"é", u"e\u0301", 2},
          {u"e\u0301x", u"e", nullptr, 0},  // no part of a character
          {u"\U0001F600x", u"\U0001F600", u"\U0001F600", 2},
      },
      [](NSScanner& scanner, const Ref<NSString>& argument, Ref<NSString>* value) {
        return scanner.scanString_intoString(argument, value);
      });
}

TEST(NSScannerTests, TextUpToAStringIsRead) {
  expectTexts(
      {
          {u"abc;d", u";", u"abc", 3},
          {u"  abc ;d", u";", u"abc ", 6},
          {u"abXcd", u"x", u"ab", 2},
          {u"abc", u";", u"abc", 3},
          {u"abc", u"", u"abc", 3},
          {u" ;x", u";", nullptr, 0},
          {u"", u";", nullptr, 0},
          {u"  ", u";", nullptr, 0},
          {u"ae\u0301;é", u"É", u"a", 1},
          {u"\U0001F600x", u"x", u"\U0001F600", 2},
      },
      [](NSScanner& scanner, const Ref<NSString>& argument, Ref<NSString>* value) {
        return scanner.scanUpToString_intoString(argument, value);
      });
}

TEST(NSScannerTests, CharactersOfASetAreRead) {
  expectTexts(
      {
          {u"abcx", u"abc", u"abc", 3},
          {u"  abba x", u"ab", u"abba", 6},
          {u"abc", u"cba", u"abc", 3},
          {u"ABC", u"abc", nullptr, 0},
          {u"xab", u"ab", nullptr, 0},
          {u" x", u" ", nullptr, 0},  // the blank has been skipped
          {u"", u"a", nullptr, 0},
          {u"ab", u"", nullptr, 0},
          {u"\U0001F600\U0001F600\U0001F601", u"\U0001F600", u"\U0001F600\U0001F600", 4},
          {u"äöx", u"öä", u"äö", 2},
      },
      [](NSScanner& scanner, const Ref<NSString>& argument, Ref<NSString>* value) {
        return scanner.scanCharactersFromSet_intoString(
            NSCharacterSet::characterSetWithCharactersInString(argument), value);
      });
}

TEST(NSScannerTests, TextUpToASetIsRead) {
  expectTexts(
      {
          {u"abc;,d", u",;", u"abc", 3},
          {u"  a b;", u";", u"a b", 5},
          {u"abc", u";", u"abc", 3},
          {u"abc", u"", u"abc", 3},
          {u" ;", u";", nullptr, 0},
          {u"", u";", nullptr, 0},
          {u"  ", u";", nullptr, 0},
          {u"a\U0001F600\U0001F601", u"\U0001F601", u"a\U0001F600", 3},
      },
      [](NSScanner& scanner, const Ref<NSString>& argument, Ref<NSString>* value) {
        return scanner.scanUpToCharactersFromSet_intoString(
            NSCharacterSet::characterSetWithCharactersInString(argument), value);
      });
}

TEST(NSScannerTests, ACaseSensitiveScannerTellsCapitals) {
  const auto scanner = scannerOf("abXx");
  EXPECT_FALSE(scanner->caseSensitive());
  scanner->setCaseSensitive(true);
  EXPECT_FALSE(scanner->scanString_intoString("AB"));
  EXPECT_TRUE(scanner->scanUpToString_intoString("x"));
  EXPECT_EQ(scanner->scanLocation(), 3U);
  EXPECT_TRUE(scanner->scanString_intoString("x"));
}

TEST(NSScannerTests, OnlyTheChosenCharactersAreSkipped) {
  const auto scanner = scannerOf("--  12--3");
  EXPECT_TRUE(scanner->charactersToBeSkipped()->isEqual(
      NSCharacterSet::whitespaceAndNewlineCharacterSet()));
  const auto dashes = NSMutableCharacterSet::characterSetWithCharactersInString("- ");
  scanner->setCharactersToBeSkipped(dashes);
  dashes->invert();
  int value = 0;
  EXPECT_TRUE(scanner->scanInt(&value));
  EXPECT_EQ(value, 12);  // the dashes before it were skipped and are no sign
  EXPECT_TRUE(scanner->scanInt(&value));
  EXPECT_EQ(value, 3);
}

TEST(NSScannerTests, WithoutCharactersToBeSkippedBlanksCount) {
  const auto scanner = scannerOf(" a b");
  scanner->setCharactersToBeSkipped(nullptr);
  EXPECT_FALSE(scanner->scanString_intoString("a"));
  Ref<NSString> value;
  EXPECT_TRUE(scanner->scanString_intoString(" a ", &value));
  EXPECT_EQ(value, " a ");
  EXPECT_FALSE(scanner->isAtEnd());
  EXPECT_TRUE(scanner->scanUpToString_intoString("a", &value));
  EXPECT_TRUE(scanner->isAtEnd());
}

TEST(NSScannerTests, SkippedCharactersMayBePairsOfSurrogates) {
  const auto scanner = scannerOf(u"\U0001F600\U0001F60012");
  scanner->setCharactersToBeSkipped(
      NSCharacterSet::characterSetWithCharactersInString(u"\U0001F600"));
  int value = 0;
  EXPECT_TRUE(scanner->scanInt(&value));
  EXPECT_EQ(value, 12);
}

TEST(NSScannerTests, TheEndIsWhereOnlySkippedCharactersAreLeft) {
  forBothStorages(u"1 \n", [](const Ref<NSString>& text) {
    const auto scanner = scannerOf(text);
    EXPECT_FALSE(scanner->isAtEnd());
    EXPECT_TRUE(scanner->scanInt());
    EXPECT_TRUE(scanner->isAtEnd());
    EXPECT_EQ(scanner->scanLocation(), 1U);
  });
  EXPECT_TRUE(scannerOf("")->isAtEnd());
}

TEST(NSScannerTests, TheLocationLiesWithinTheText) {
  const auto scanner = scannerOf("12 34");
  scanner->setScanLocation(5);
  EXPECT_TRUE(scanner->isAtEnd());
  expectException(NSRangeException, [&] { scanner->setScanLocation(6); });
  expectException(NSRangeException, [&] { scanner->setScanLocation(NSNotFound); });
  EXPECT_EQ(scanner->scanLocation(), 5U);
  scanner->setScanLocation(1);
  int value = 0;
  EXPECT_TRUE(scanner->scanInt(&value));
  EXPECT_EQ(value, 2);
}

TEST(NSScannerTests, MissingArgumentsThrow) {
  const auto scanner = scannerOf("a");
  const auto expectRefusal = [](auto&& statement) {
    expectException(NSInvalidArgumentException, statement);
  };
  expectRefusal([] { (void)scannerOf(nullptr); });
  expectRefusal([] { (void)NSScanner::localizedScannerWithString(nullptr); });
  expectRefusal([&] { scanner->scanString_intoString(nullptr); });
  expectRefusal([&] { scanner->scanUpToString_intoString(nullptr); });
  expectRefusal([&] { scanner->scanCharactersFromSet_intoString(nullptr); });
  expectRefusal([&] { scanner->scanUpToCharactersFromSet_intoString(nullptr); });
}

TEST(NSScannerTests, TheTextIsAsItWasAtTheBeginning) {
  const auto text = NSMutableString::stringWithString("12");
  const auto scanner = scannerOf(text);
  text->setString("");
  EXPECT_EQ(scanner->string(), "12");
  EXPECT_TRUE(scanner->scanInt());
}

TEST(NSScannerTests, PropertiesAreReachedByName) {
  const auto scanner = scannerOf("abc");
  scanner->setValue_forKey(2, "scanLocation");
  scanner->setValue_forKey(true, "caseSensitive");
  scanner->setValue_forKey(nullptr, "charactersToBeSkipped");
  EXPECT_EQ(scanner->scanLocation(), 2U);
  EXPECT_TRUE(scanner->caseSensitive());
  EXPECT_FALSE(scanner->charactersToBeSkipped());
  EXPECT_TRUE(scanner->valueForKey("string")->isEqual("abc"));
}

TEST(NSScannerTests, ALineIsTakenApart) {
  forBothStorages(u"Name:  Größe ; 12.5 cm;\n0x1F", [](const Ref<NSString>& text) {
    const auto scanner = scannerOf(text);
    Ref<NSString> key;
    Ref<NSString> word;
    double length = 0;
    unsigned number = 0;
    EXPECT_TRUE(scanner->scanUpToString_intoString(":", &key));
    EXPECT_TRUE(scanner->scanString_intoString(":"));
    EXPECT_TRUE(
        scanner->scanCharactersFromSet_intoString(NSCharacterSet::letterCharacterSet(), &word));
    EXPECT_TRUE(scanner->scanString_intoString(";"));
    EXPECT_TRUE(scanner->scanDouble(&length));
    EXPECT_TRUE(scanner->scanString_intoString("CM;"));
    EXPECT_TRUE(scanner->scanHexInt(&number));
    EXPECT_TRUE(scanner->isAtEnd());
    EXPECT_EQ(key, "Name");
    EXPECT_EQ(word, "Größe");
    EXPECT_EQ(length, 12.5);
    EXPECT_EQ(number, 31U);
  });
}

}  // namespace
}  // namespace kestova
