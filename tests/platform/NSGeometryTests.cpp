// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "RandomRun.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace kestova {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

bool isSameNumber(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
         (std::isnan(a) && std::isnan(b));
}

TEST(NSGeometryTests, GeometryIsWrittenInBraces) {
  EXPECT_EQ(NSStringFromRect(NSMakeRect(0, 0, 10, 20)), "{{0, 0}, {10, 20}}");
  EXPECT_EQ(NSStringFromRect(NSMakeRect(-1.5, 0.1, 1e300, 1e-7)), "{{-1.5, 0.1}, {1e+300, 1e-07}}");
  EXPECT_EQ(NSStringFromPoint(NSMakePoint(1, 2)), "{1, 2}");
  EXPECT_EQ(NSStringFromSize(NSMakeSize(640, 480.25)), "{640, 480.25}");
  EXPECT_EQ(NSStringFromRange(NSMakeRange(3, 4)), "{3, 4}");
  EXPECT_EQ(NSStringFromRange(NSMakeRange(NSNotFound, 0)), "{9223372036854775807, 0}");
}

TEST(NSGeometryTests, NumbersAreAsShortAsTheyCanBe) {
  EXPECT_EQ(NSStringFromPoint({0.1 + 0.2, 1.0 / 3}), "{0.30000000000000004, 0.3333333333333333}");
  EXPECT_EQ(NSStringFromPoint({-0.0, 100000}), "{-0, 100000}");
  EXPECT_EQ(NSStringFromPoint({kInfinity, -kInfinity}), "{inf, -inf}");
  EXPECT_EQ(NSStringFromPoint({std::nan(""), 0}), "{nan, 0}");
}

TEST(NSGeometryTests, WhatWasWrittenReadsBack) {
  EXPECT_EQ(NSRectFromString("{{0, 0}, {10, 20}}"), NSMakeRect(0, 0, 10, 20));
  EXPECT_EQ(NSPointFromString("{-1.5, 2e3}"), NSMakePoint(-1.5, 2000));
  EXPECT_EQ(NSSizeFromString("{640, 480.25}"), NSMakeSize(640, 480.25));
  EXPECT_EQ(NSRangeFromString("{3, 4}"), NSMakeRange(3, 4));
  EXPECT_EQ(NSRangeFromString(NSStringFromRange({NSNotFound, kLargest})),
            NSMakeRange(NSNotFound, kLargest));
}

TEST(NSGeometryTests, EveryValueReadsBackAsItWas) {
  testing::RandomRun random;
  const auto number = [&] { return std::bit_cast<double>(random.below(kLargest)); };
  for (int turn = 0; turn < 20000; ++turn) {
    const NSRect rect = NSMakeRect(number(), number(), number(), number());
    const auto text = NSStringFromRect(rect);
    const NSRect same = NSRectFromString(text);
    ASSERT_TRUE(isSameNumber(same.origin.x, rect.origin.x)) << text;
    ASSERT_TRUE(isSameNumber(same.origin.y, rect.origin.y)) << text;
    ASSERT_TRUE(isSameNumber(same.size.width, rect.size.width)) << text;
    ASSERT_TRUE(isSameNumber(same.size.height, rect.size.height)) << text;
  }
}

struct PointRow {
  const char16_t* text;
  NSPoint point;
};

TEST(NSGeometryTests, TakesTheFirstNumbersThatItFinds) {
  for (const auto& [text, point] : {
           PointRow{u"1 2", {1, 2}},
           PointRow{u"1,2", {1, 2}},
           PointRow{u"1;2;3", {1, 2}},
           PointRow{u"x=1 y=2", {1, 2}},
           PointRow{u"abc12def34", {12, 34}},
           PointRow{u"1-2", {1, -2}},
           PointRow{u"--5 +6", {-5, 6}},
           PointRow{u"- 5 -6", {5, -6}},
           PointRow{u".5 5.", {0.5, 5}},
           PointRow{u"1.2.3", {1.2, 0.3}},
           PointRow{u"1..2", {1, 0.2}},
           PointRow{u"1e2e3", {100, 3}},
           PointRow{u"1e 2", {1, 2}},
           PointRow{u"1e+ 2", {1, 2}},
           PointRow{u"1E-1 2E+1", {0.1, 20}},
           PointRow{u"e5 .e6", {5, 6}},
           PointRow{u"0x10", {0, 10}},
           PointRow{u"inf INFINITY", {kInfinity, kInfinity}},
           PointRow{u"-Inf +inf", {-kInfinity, kInfinity}},
           PointRow{u"info infinite 7", {7, 0}},
           PointRow{u"1e999 -1e999", {kInfinity, -kInfinity}},
           PointRow{u"1e-999 -1e-999", {0, 0}},
           PointRow{u"{3ä4}", {3, 4}},
           PointRow{u"３ 4", {4, 0}},
           PointRow{u"5\u00B76\U0001F600", {5, 6}},
       }) {
    testing::forBothStorages(text, [&, point = point](const Ref<NSString>& string) {
      EXPECT_EQ(NSPointFromString(string), point) << string;
      EXPECT_EQ(NSSizeFromString(string), NSMakeSize(point.x, point.y)) << string;
    });
  }
}

TEST(NSGeometryTests, NumbersMayBeLongerThanADoubleIsExact) {
  const std::string manyNines(2000, '9');
  const std::string zeros(2000, '0');
  EXPECT_EQ(NSPointFromString(manyNines + " 1"), NSMakePoint(kInfinity, 1));
  EXPECT_EQ(NSPointFromString("0." + zeros + "1 2"), NSMakePoint(0, 2));
  EXPECT_EQ(NSPointFromString("1." + zeros + "1"), NSMakePoint(1, 0));
}

TEST(NSGeometryTests, MissingNumbersAreZero) {
  EXPECT_EQ(NSRectFromString("{{1, 2}, {3}}"), NSMakeRect(1, 2, 3, 0));
  EXPECT_EQ(NSRectFromString("{1, 2}"), NSMakeRect(1, 2, 0, 0));
  EXPECT_EQ(NSPointFromString("{1}"), NSMakePoint(1, 0));
  EXPECT_EQ(NSRangeFromString("7"), NSMakeRange(7, 0));
}

TEST(NSGeometryTests, NothingAndJunkAreZeros) {
  for (const auto& text : {Ref<NSString>(), Ref<NSString>(""), Ref<NSString>("{{, }, {}}"),
                           Ref<NSString>("no numbers, here."), Ref<NSString>("+-.e-+")}) {
    EXPECT_EQ(NSRectFromString(text), NSRect()) << text;
    EXPECT_EQ(NSPointFromString(text), NSPoint()) << text;
    EXPECT_EQ(NSSizeFromString(text), NSSize()) << text;
    EXPECT_EQ(NSRangeFromString(text), NSRange()) << text;
  }
}

TEST(NSGeometryTests, RangesAreReadFromDigitsAlone) {
  EXPECT_EQ(NSRangeFromString("{-5, 6}"), NSMakeRange(5, 6));
  EXPECT_EQ(NSRangeFromString("1.5"), NSMakeRange(1, 5));
  EXPECT_EQ(NSRangeFromString("1e3"), NSMakeRange(1, 3));
  EXPECT_EQ(NSRangeFromString("a1b2c3"), NSMakeRange(1, 2));
  EXPECT_EQ(NSRangeFromString("18446744073709551615 18446744073709551616"),
            NSMakeRange(kLargest, kLargest));
  EXPECT_EQ(NSRangeFromString("0007"), NSMakeRange(7, 0));
}

}  // namespace
}  // namespace kestova
