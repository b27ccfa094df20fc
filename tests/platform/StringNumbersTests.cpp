// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"

#include <cmath>
#include <limits>

namespace kestova {
namespace {

using testing::forBothStorages;

TEST(StringNumbersTests, IntegersStandAtTheFront) {
  const struct {
    std::u16string_view text;
    long long value;
  } kRows[] = {
      {u"0", 0},
      {u"42", 42},
      {u"-42", -42},
      {u"+42", 42},
      {u" \t\n\u30007x", 7},
      {u"", 0},
      {u"x1", 0},
      {u"-", 0},
      {u"--1", 0},
      {u"- 1", 0},
      {u"12.9", 12},
      {u"1e3", 1},
      {u"0x10", 0},
      {u"007", 7},
      {u"1,000", 1},
      {u"١", 0},
      {u"\u00A05", 5},
      {u"-0", 0},
      {u"2147483647", 2147483647},
      {u"3ä", 3},
      {u"-2147483648", -2147483648LL},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->longLongValue(), row.value) << text;
      EXPECT_EQ(text->integerValue(), row.value) << text;
      EXPECT_EQ(text->intValue(), row.value) << text;
    });
  }
}

TEST(StringNumbersTests, IntegersEndAtTheLimitsOfTheirType) {
  using Limits = std::numeric_limits<long long>;
  forBothStorages(u"9223372036854775807", [](const Ref<NSString>& text) {
    EXPECT_EQ(text->longLongValue(), Limits::max());
    EXPECT_EQ(text->intValue(), 2147483647);
  });
  EXPECT_EQ(Ref<NSString>("9223372036854775808")->longLongValue(), Limits::max());
  EXPECT_EQ(Ref<NSString>("-9223372036854775808")->longLongValue(), Limits::min());
  EXPECT_EQ(Ref<NSString>("-9223372036854775809")->integerValue(), Limits::min());
  EXPECT_EQ(Ref<NSString>("99999999999999999999999")->integerValue(), Limits::max());
  EXPECT_EQ(Ref<NSString>("2147483648")->intValue(), 2147483647);
  EXPECT_EQ(Ref<NSString>("-2147483649")->intValue(), -2147483647 - 1);
}

TEST(StringNumbersTests, RealsAreExact) {
  const struct {
    std::u16string_view text;
    double value;
  } kRows[] = {
      {u"0.1", 0.1},
      {u"-1.5e3x", -1500},
      {u".5", 0.5},
      {u"5.", 5},
      {u".", 0},
      {u"", 0},
      {u"e5", 0},
      {u"1e", 1},
      {u"1e+", 1},
      {u"1e+2", 100},
      {u"1E-2", 0.01},
      {u"inf", 0},
      {u"nan", 0},
      {u"0x1p3", 0},
      {u"  +2", 2},
      {u"1,5", 1},
      {u"1.5.5", 1.5},
      {u"\u20033.25", 3.25},
      {u"4.9406564584124654e-324", 4.9406564584124654e-324},
      {u"1.7976931348623157e308", 1.7976931348623157e308},
      {u"9007199254740993", 9007199254740992.0},
  };
  for (const auto& row : kRows) {
    forBothStorages(row.text, [&](const Ref<NSString>& text) {
      EXPECT_EQ(text->doubleValue(), row.value) << text;
      EXPECT_EQ(text->floatValue(), static_cast<float>(row.value)) << text;
    });
  }
}

TEST(StringNumbersTests, RealsBeyondTheirTypeAreInfiniteOrZero) {
  EXPECT_EQ(Ref<NSString>("1e999")->doubleValue(), HUGE_VAL);
  EXPECT_EQ(Ref<NSString>("-1e999")->doubleValue(), -HUGE_VAL);
  EXPECT_EQ(Ref<NSString>("1e39")->floatValue(), HUGE_VALF);
  EXPECT_EQ(Ref<NSString>("1e-999")->doubleValue(), 0);
  EXPECT_TRUE(std::signbit(Ref<NSString>("-0")->doubleValue()));
}

TEST(StringNumbersTests, TruthIsAYOrATOrADigit) {
  for (const std::u16string_view text :
       {u"YES", u"y", u"true", u"T", u"1", u" 9", u"-1", u"+0002", u"\u3000Yes"}) {
    forBothStorages(text, [](const Ref<NSString>& string) { EXPECT_TRUE(string->boolValue()); });
  }
  for (const std::u16string_view text :
       {u"", u"NO", u"n", u"false", u"0", u"000", u"-0", u"x1", u"0.5", u"ä"}) {
    forBothStorages(text, [](const Ref<NSString>& string) { EXPECT_FALSE(string->boolValue()); });
  }
}

}  // namespace
}  // namespace kestova
