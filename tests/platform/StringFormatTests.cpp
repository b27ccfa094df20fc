// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "BuiltLocale.h"
#include "ExceptionExpectation.h"

#include <clocale>
#include <cmath>
#include <limits>
#include <random>

namespace kestova {
namespace {

using testing::expectException;
using testing::forBothStorages;

/// The format in both storages, which must agree, with its arguments filled in.
template <class... Arguments>
std::string formatted(const char* format, const Arguments&... arguments) {
  const Ref<NSString> narrow = format;
  const auto result = NSString::stringWithFormat(narrow, arguments...);
  const auto wide = NSString::stringWithUTF16Storage(narrow->utf16());
  EXPECT_EQ(NSString::stringWithFormat(wide, arguments...)->utf16(), result->utf16());
  return result->displayUTF8();
}

constexpr std::int64_t kBig = 0x123456789ABCDEF0;

TEST(StringFormatTests, TextWithoutConversionsStaysAsItIs) {
  EXPECT_EQ(formatted(""), "");
  EXPECT_EQ(formatted("plain"), "plain");
  EXPECT_EQ(formatted("gröβe 😀"), "gröβe 😀");
  EXPECT_EQ(formatted("100%%"), "100%");
  EXPECT_EQ(formatted("%%%d%%", 1), "%1%");
}

TEST(StringFormatTests, IntegersPrintAsInC) {
  EXPECT_EQ(formatted("%d %i %u", -1, 2, 3U), "-1 2 3");
  EXPECT_EQ(formatted("%o %x %X", 8, 255, 255), "10 ff FF");
  EXPECT_EQ(formatted("%#o %#x %#X", 8, 255, 255), "010 0xff 0XFF");
  EXPECT_EQ(formatted("[%5d][%-5d][%05d][%+d][% d]", 42, 42, 42, 42, 42),
            "[   42][42   ][00042][+42][ 42]");
  EXPECT_EQ(formatted("[%.3d][%6.3d][%-6.3d]", 7, 7, 7), "[007][   007][007   ]");
  EXPECT_EQ(formatted("%ld", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(formatted("%lu", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(StringFormatTests, TheLengthModifierSaysHowManyBitsCount) {
  EXPECT_EQ(formatted("%hhx %hx %x", kBig, kBig, kBig), "f0 def0 9abcdef0");
  EXPECT_EQ(formatted("%lx %llx %qx %zx %jx %tx", kBig, kBig, kBig, kBig, kBig, kBig),
            "123456789abcdef0 123456789abcdef0 123456789abcdef0 123456789abcdef0 "
            "123456789abcdef0 123456789abcdef0");
  EXPECT_EQ(formatted("%d %hd %hhd", std::int64_t{0xFFFFFFFF}, 0x18000, 0x180), "-1 -32768 -128");
  EXPECT_EQ(formatted("%u %hu %hhu", -1, -1, -1), "4294967295 65535 255");
  EXPECT_EQ(formatted("%lu", -1), "18446744073709551615");
  EXPECT_EQ(formatted("%ld %li %lld %zd", kBig, kBig, kBig, kBig),
            "1311768467463790320 1311768467463790320 1311768467463790320 1311768467463790320");
  EXPECT_EQ(formatted("%D %U %O", kBig, kBig, kBig),
            "1311768467463790320 1311768467463790320 110642547423257157360");
}

TEST(StringFormatTests, EveryKindOfNumberCanBeAnArgument) {
  enum Small : std::uint8_t { kSmall = 200 };
  EXPECT_EQ(formatted("%d %d %d %d", 'A', true, kSmall, std::int16_t{-3}), "65 1 200 -3");
  EXPECT_EQ(formatted("%d %d", 2.9, -2.9), "2 -2");
  EXPECT_EQ(formatted("%ld", 1e300), "9223372036854775807");
  EXPECT_EQ(formatted("%ld", -1e300), "-9223372036854775808");
  EXPECT_EQ(formatted("%ld", std::nan("")), "0");
  EXPECT_EQ(formatted("%.1f %g", 3, 4U), "3.0 4");
  EXPECT_EQ(formatted("%.2f %Lg", 1.5F, 0.25L), "1.50 0.25");
}

TEST(StringFormatTests, RealsPrintAsInC) {
  EXPECT_EQ(formatted("%f %e %g", 1.5, 1.5, 1.5), "1.500000 1.500000e+00 1.5");
  EXPECT_EQ(formatted("%F %E %G", 1.5, 1.5, 1e-10), "1.500000 1.500000E+00 1E-10");
  EXPECT_EQ(
      formatted("%0.2f|%8.3f|%-8.3f|%+.1f|%08.2f", 3.14159, 3.14159, 3.14159, 3.14159, -3.14159),
      "3.14|   3.142|3.142   |+3.1|-0003.14");
  EXPECT_EQ(formatted("%a %A", 1.0, 10.0), "0x1p+0 0X1.4P+3");
  EXPECT_EQ(formatted("%f %F %g", INFINITY, -INFINITY, -0.0), "inf -INF -0");
  EXPECT_EQ(formatted("%.0f", 1e308).size(), 309U);
}

TEST(StringFormatTests, DecimalPointsArePointsInEveryLocaleAndTheLocaleStays) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  const testing::BuiltLocale german("de_DE");
  ASSERT_STREQ(::localeconv()->decimal_point, ",");
  EXPECT_EQ(formatted("%.2f", 1234.5), "1234.50");
  EXPECT_EQ(formatted("%'d", 1234567), "1234567");
  EXPECT_TRUE(german.isInUse());
  EXPECT_EQ(std::setlocale(LC_NUMERIC, nullptr), before);
}

TEST(StringFormatTests, ObjectsPrintTheirDescription) {
  EXPECT_EQ(formatted("<%@>", Ref<NSString>("ä")), "<ä>");
  EXPECT_EQ(formatted("%@ %@", id(42), id(true)), "42 1");
  EXPECT_EQ(formatted("%@", Ref<NSString>()), "(null)");
  EXPECT_EQ(formatted("%@", nullptr), "(null)");
  EXPECT_EQ(formatted("[%6@][%-6@][%.2@][%6.2@]", id("abc"), id("abc"), id("abc"), id("abc")),
            "[   abc][abc   ][ab][    ab]");
}

TEST(StringFormatTests, CStringsCountTheirPrecisionInBytes) {
  EXPECT_EQ(formatted("%s", "text ä"), "text ä");
  EXPECT_EQ(formatted("%s", std::string("text")), "text");
  EXPECT_EQ(formatted("%.4s|%.0s|%.9s", "htk1xyz", "abc", "abc"), "htk1||abc");
  EXPECT_EQ(formatted("[%5s][%-5s]", "ab", "ab"), "[   ab][ab   ]");
  EXPECT_EQ(formatted("%.1s|%.2s|%.3s", "ää", "ää", "ää"), "|ä|ä");
  EXPECT_EQ(formatted("%s", "a\xFFz"), "a\xEF\xBF\xBDz");
  const char* none = nullptr;
  EXPECT_EQ(formatted("[%s][%8s]", none, none), "[(null)][  (null)]");
}

TEST(StringFormatTests, ABoundedCStringNeedsNoNUL) {
  const char code[] = {'h', 't', 'k', '1'};
  EXPECT_EQ(formatted("%.4s", static_cast<const char*>(code)), "htk1");
  EXPECT_EQ(formatted("%.*s", 2, static_cast<const char*>(code)), "ht");
}

TEST(StringFormatTests, UTF16StringsAndCharacters) {
  EXPECT_EQ(formatted("%S|%.2S|[%4S]", u"äb", u"äbc", u"ä"), "äb|äb|[   ä]");
  const char16_t* none = nullptr;
  EXPECT_EQ(formatted("%S", none), "(null)");
  EXPECT_EQ(formatted("%c%c|%C|%C", 'a', 'b', u'ä', 0x20AC), "ab|ä|€");
  EXPECT_EQ(formatted("%c", 0xE4), "ä");
  EXPECT_EQ(formatted("%c", 0x141), "A");
  EXPECT_EQ(formatted("[%3c][%-3C]", 'x', u'y'), "[  x][y  ]");
  EXPECT_EQ(NSString::stringWithFormat("%C%C", u'\xD83D', u'\xDE00'), "😀");
}

TEST(StringFormatTests, AddressesPrintInHex) {
  EXPECT_EQ(formatted("%p", reinterpret_cast<void*>(0xABC)), "0xabc");
  EXPECT_EQ(formatted("%p|%p", static_cast<void*>(nullptr), nullptr), "0x0|0x0");
  EXPECT_EQ(formatted("%p", 255), "0xff");
  EXPECT_EQ(formatted("[%8p][%-8p]", reinterpret_cast<void*>(1), reinterpret_cast<void*>(1)),
            "[     0x1][0x1     ]");
  const id object = NSMutableString::string();
  EXPECT_EQ(formatted("%p", object),
            formatted("0x%lx", reinterpret_cast<std::uintptr_t>(object.get())));
}

TEST(StringFormatTests, PositionsChooseTheArgument) {
  EXPECT_EQ(formatted("%2$@ %1$@", id("a"), id("b")), "b a");
  EXPECT_EQ(formatted("%1$d %1$x", 255), "255 ff");
  EXPECT_EQ(formatted("%2$*1$d|%2$-*1$d|", 4, 7), "   7|7   |");
  EXPECT_EQ(formatted("%3$.*2$f", 0, 2, 3.14159), "3.14");
}

TEST(StringFormatTests, WidthAndPrecisionCanBeArguments) {
  EXPECT_EQ(formatted("[%*d]", 5, 42), "[   42]");
  EXPECT_EQ(formatted("[%*d]", -5, 42), "[42   ]");
  EXPECT_EQ(formatted("[%.*f]", 1, 3.14159), "[3.1]");
  EXPECT_EQ(formatted("[%.*d]", -1, 7), "[7]");
  EXPECT_EQ(formatted("[%*.*f]", 8, 2, 3.14159), "[    3.14]");
}

TEST(StringFormatTests, AWrongKindOfArgumentPrintsAsItsOwnKind) {
  EXPECT_EQ(formatted("%@ %@ %@", 42, 42U, 1.5), "42 42 1.5");
  EXPECT_EQ(formatted("%@", "text"), "text");
  EXPECT_EQ(formatted("%@", u"text"), "text");
  EXPECT_EQ(formatted("%s", id("object")), "object");
  EXPECT_EQ(formatted("%s %s", 7, 0.5), "7 0.5");
  EXPECT_EQ(formatted("%d", id("object")), "object");
  EXPECT_EQ(formatted("%d", "text"), "text");
  EXPECT_EQ(formatted("%f", "text"), "text");
  EXPECT_EQ(formatted("%c", "text"), "text");
  EXPECT_EQ(formatted("%S", "text"), "text");
  EXPECT_EQ(formatted("%s", u"text"), "text");
  EXPECT_EQ(formatted("%@", reinterpret_cast<void*>(0xABC)), "0xabc");
  EXPECT_EQ(formatted("%d", reinterpret_cast<void*>(0xABC)), "0xabc");
  EXPECT_EQ(formatted("%p", 0.5), "0.5");
  EXPECT_EQ(formatted("[%08@][%-8@]", 42, 42), "[      42][42      ]");
}

TEST(StringFormatTests, AMissingArgumentPrintsAsNothing) {
  EXPECT_EQ(formatted("[%d]"), "[]");
  EXPECT_EQ(formatted("[%@ %@]", id("a")), "[a ]");
  EXPECT_EQ(formatted("[%5$d]", 1), "[]");
  EXPECT_EQ(formatted("[%*d]", 5), "[]");
  EXPECT_EQ(formatted("[%99999999999999999999$d]", 1), "[]");
}

TEST(StringFormatTests, MoreArgumentsThanConversionsAreLeftOut) {
  EXPECT_EQ(formatted("%d", 1, 2, id("x")), "1");
}

TEST(StringFormatTests, WhatIsNoConversionPrintsAsItStands) {
  EXPECT_EQ(formatted("%", 1), "%");
  EXPECT_EQ(formatted("50% yes", 1), "50% yes");
  EXPECT_EQ(formatted("%y %d", 1), "%y 1");
  EXPECT_EQ(formatted("%5"), "%5");
  EXPECT_EQ(formatted("%-+ #0"), "%-+ #0");
  EXPECT_EQ(formatted("%ll"), "%ll");
  EXPECT_EQ(formatted("%ä"), "%ä");
  EXPECT_EQ(formatted("%n", 1), "%n");
  EXPECT_EQ(formatted("%.", 1), "%.");
}

TEST(StringFormatTests, FieldsEndAtABound) {
  EXPECT_EQ(formatted("%99999999999999999999d", 1).size(), 65535U);
  EXPECT_EQ(formatted("%.99999999999999999999d", 1).size(), 65535U);
  EXPECT_EQ(formatted("%*d", std::numeric_limits<std::int64_t>::max(), 1).size(), 65535U);
  EXPECT_EQ(formatted("%*d", std::numeric_limits<std::int64_t>::min(), 1).size(), 65535U);
  EXPECT_EQ(formatted("%99999999@", id("x")).size(), 65535U);
}

TEST(StringFormatTests, PlainASCIIResultsAreInEightBits) {
  EXPECT_TRUE(NSString::stringWithFormat("%@%S%C", id("a"), u"b", u'c')->isEightBit());
  EXPECT_FALSE(NSString::stringWithFormat("%C", u'ä')->isEightBit());
}

TEST(StringFormatTests, ValuesThatBoxPrintAsTheirObjects) {
  EXPECT_EQ(formatted("%@ %@", std::string_view("view"), std::u16string_view(u"wide")),
            "view wide");
  EXPECT_EQ(formatted("%@", NSRangeException), "NSRangeException");
}

TEST(StringFormatTests, ANullFormatThrows) {
  expectException(NSInvalidArgumentException, [] { (void)NSString::stringWithFormat(nullptr, 1); });
}

TEST(StringFormatTests, RandomFormatsAndArgumentsNeverReadWhatIsNotThere) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const char kUnits[] = "%%%%%%%%0123456789$*.-+ #'hlqjztLdDiuUoOxXcCsSfFeEgGaAp@n?";
  const FormatArguments kArguments = {1,
                                      -1,
                                      2.5,
                                      "bytes",
                                      u"wide",
                                      id("o"),
                                      nullptr,
                                      static_cast<const void*>("p"),
                                      kBig,
                                      'c',
                                      Ref<NSString>(),
                                      static_cast<const char*>(nullptr)};
  for (int round = 0; round < 20000; ++round) {
    std::string format;
    for (unsigned length = random() % 16; length > 0; --length) {
      format.push_back(kUnits[random() % (sizeof kUnits - 1)]);
    }
    FormatArguments arguments;
    for (unsigned count = random() % 6; count > 0; --count) {
      arguments.push_back(kArguments[random() % kArguments.size()]);
    }
    const auto result = NSString::initWithFormat_arguments(format, arguments);
    ASSERT_NE(result, nullptr) << format;
    const auto wide = NSString::stringWithUTF16Storage(Ref<NSString>(format)->utf16());
    ASSERT_TRUE(NSString::initWithFormat_arguments(wide, arguments)->isEqual(result)) << format;
  }
}

}  // namespace
}  // namespace kestova
