// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "BothStorages.h"
#include "BuiltLocale.h"
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

TEST(NSGeometryTests, NumbersBeyondADoubleAreReadInEveryLocale) {
  const testing::BuiltLocale german("de_DE");
  EXPECT_EQ(NSPointFromString("1.5e999 0.5e-999"), NSMakePoint(kInfinity, 0));
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

const NSRect kSquare = NSMakeRect(0, 0, 10, 10);
const double kNaN = std::nan("");

TEST(NSGeometryTests, EdgesAreOriginPlusSize) {
  const NSRect rect = NSMakeRect(1, 2, 10, 20);
  EXPECT_EQ(NSMinX(rect), 1);
  EXPECT_EQ(NSMinY(rect), 2);
  EXPECT_EQ(NSMaxX(rect), 11);
  EXPECT_EQ(NSMaxY(rect), 22);
  EXPECT_EQ(NSMidX(rect), 6);
  EXPECT_EQ(NSMidY(rect), 12);
  EXPECT_EQ(NSWidth(rect), 10);
  EXPECT_EQ(NSHeight(rect), 20);
}

TEST(NSGeometryTests, RectanglesAreEqualWhenAllNumbersAre) {
  EXPECT_TRUE(NSEqualRects(kSquare, NSMakeRect(-0.0, 0, 10, 10)));
  EXPECT_FALSE(NSEqualRects(NSZeroRect, NSMakeRect(1, 1, 0, 0)));
  EXPECT_FALSE(NSEqualRects(NSMakeRect(kNaN, 0, 1, 1), NSMakeRect(kNaN, 0, 1, 1)));
  EXPECT_TRUE(NSEqualPoints(NSZeroPoint, NSMakePoint(0, 0)));
  EXPECT_FALSE(NSEqualSizes(NSZeroSize, NSMakeSize(0, 1)));
}

TEST(NSGeometryTests, RectanglesAreEmptyUnlessBothSidesArePositive) {
  EXPECT_FALSE(NSIsEmptyRect(kSquare));
  EXPECT_FALSE(NSIsEmptyRect(NSMakeRect(0, 0, kInfinity, 1e-300)));
  for (const double side : {0.0, -0.0, -1.0, -kInfinity, kNaN}) {
    EXPECT_TRUE(NSIsEmptyRect(NSMakeRect(0, 0, side, 1)));
    EXPECT_TRUE(NSIsEmptyRect(NSMakeRect(0, 0, 1, side)));
  }
}

TEST(NSGeometryTests, RectanglesIntersectWhereTheyShareAnArea) {
  EXPECT_TRUE(NSIntersectsRect(kSquare, kSquare));
  EXPECT_TRUE(NSIntersectsRect(kSquare, NSMakeRect(9, 9, 5, 5)));
  EXPECT_TRUE(NSIntersectsRect(kSquare, NSMakeRect(5, -5, kInfinity, 20)));
  for (const NSRect& other :
       {NSMakeRect(10, 0, 5, 10), NSMakeRect(0, -5, 10, 5), NSMakeRect(10, 10, 5, 5),
        NSMakeRect(20, 0, 5, 5), NSMakeRect(2, 2, 0, 5), NSMakeRect(8, 8, -5, 5),
        NSMakeRect(kNaN, 0, 5, 5), NSMakeRect(0, 0, kNaN, 5)}) {
    EXPECT_FALSE(NSIntersectsRect(kSquare, other)) << NSStringFromRect(other);
    EXPECT_FALSE(NSIntersectsRect(other, kSquare)) << NSStringFromRect(other);
  }
}

TEST(NSGeometryTests, ARectangleContainsWhatDoesNotReachBeyondIt) {
  EXPECT_TRUE(NSContainsRect(kSquare, kSquare));
  EXPECT_TRUE(NSContainsRect(kSquare, NSMakeRect(0, 2, 10, 3)));
  EXPECT_TRUE(NSContainsRect(NSMakeRect(0, 0, kInfinity, kInfinity), kSquare));
  for (const NSRect& inner :
       {NSMakeRect(-1, 0, 5, 5), NSMakeRect(0, 0, 10, 10.5), NSMakeRect(5, 5, 0, 1),
        NSMakeRect(5, 5, 1, -1), NSMakeRect(kNaN, 0, 1, 1), NSMakeRect(20, 20, 1, 1)}) {
    EXPECT_FALSE(NSContainsRect(kSquare, inner)) << NSStringFromRect(inner);
  }
}

TEST(NSGeometryTests, FarEdgesBelongToTheNeighbours) {
  EXPECT_TRUE(NSPointInRect({0, 0}, kSquare));
  EXPECT_TRUE(NSPointInRect({9.5, 0}, kSquare));
  EXPECT_FALSE(NSPointInRect({10, 0}, kSquare));
  EXPECT_FALSE(NSPointInRect({0, 10}, kSquare));
  EXPECT_FALSE(NSPointInRect({kNaN, 1}, kSquare));
  EXPECT_FALSE(NSPointInRect({0, 0}, NSZeroRect));
}

TEST(NSGeometryTests, TheMouseIsInTheRectangleOfItsPixel) {
  EXPECT_TRUE(NSMouseInRect({0, 10}, kSquare, false));
  EXPECT_FALSE(NSMouseInRect({0, 0}, kSquare, false));
  EXPECT_TRUE(NSMouseInRect({0, 0}, kSquare, true));
  EXPECT_FALSE(NSMouseInRect({0, 10}, kSquare, true));
  EXPECT_FALSE(NSMouseInRect({10, 5}, kSquare, true));
}

TEST(NSGeometryTests, OffsettingMovesAndInsettingShrinks) {
  EXPECT_EQ(NSOffsetRect(kSquare, 1.5, -2), NSMakeRect(1.5, -2, 10, 10));
  EXPECT_EQ(NSInsetRect(kSquare, 1, 2), NSMakeRect(1, 2, 8, 6));
  EXPECT_EQ(NSInsetRect(kSquare, -1, -2), NSMakeRect(-1, -2, 12, 14));
  EXPECT_EQ(NSInsetRect(kSquare, 6, 0), NSMakeRect(6, 0, -2, 10));
}

TEST(NSGeometryTests, TheIntersectionIsWhatBothShare) {
  EXPECT_EQ(NSIntersectionRect(kSquare, NSMakeRect(5, -5, 10, 10)), NSMakeRect(5, 0, 5, 5));
  EXPECT_EQ(NSIntersectionRect(NSMakeRect(5, -5, 10, 10), kSquare), NSMakeRect(5, 0, 5, 5));
  EXPECT_EQ(NSIntersectionRect(kSquare, NSMakeRect(2, 3, 4, 5)), NSMakeRect(2, 3, 4, 5));
  EXPECT_EQ(NSIntersectionRect(kSquare, NSMakeRect(5, 5, kInfinity, kInfinity)),
            NSMakeRect(5, 5, 5, 5));
}

TEST(NSGeometryTests, TheIntersectionWithoutASharedAreaIsTheZeroRectangle) {
  for (const NSRect& other :
       {NSMakeRect(10, 0, 5, 10), NSMakeRect(20, 20, 5, 5), NSMakeRect(2, 2, 0, 5),
        NSMakeRect(8, 8, -5, -5), NSMakeRect(kNaN, 0, 5, 5), NSMakeRect(0, 0, 5, kNaN)}) {
    EXPECT_EQ(NSIntersectionRect(kSquare, other), NSZeroRect);
    EXPECT_EQ(NSIntersectionRect(other, kSquare), NSZeroRect);
  }
}

TEST(NSGeometryTests, TheUnionHoldsBoth) {
  EXPECT_EQ(NSUnionRect(kSquare, NSMakeRect(20, -5, 5, 5)), NSMakeRect(0, -5, 25, 15));
  EXPECT_EQ(NSUnionRect(kSquare, NSMakeRect(2, 3, 4, 5)), kSquare);
  EXPECT_EQ(NSUnionRect(kSquare, NSMakeRect(5, 5, kInfinity, 1)), NSMakeRect(0, 0, kInfinity, 10));
  EXPECT_TRUE(std::isnan(NSUnionRect(kSquare, NSMakeRect(kNaN, 0, 1, 1)).origin.x));
  EXPECT_TRUE(std::isnan(NSUnionRect(NSMakeRect(kNaN, 0, 1, 1), kSquare).origin.x));
}

TEST(NSGeometryTests, AnEmptyRectangleAddsNothingToAUnion) {
  EXPECT_EQ(NSUnionRect(kSquare, NSMakeRect(50, 50, 0, 5)), kSquare);
  EXPECT_EQ(NSUnionRect(NSMakeRect(50, 50, 5, -5), kSquare), kSquare);
  EXPECT_EQ(NSUnionRect(NSMakeRect(1, 2, 0, 5), NSMakeRect(3, 4, 5, 0)), NSZeroRect);
}

/// 0.1 + 0.2 - 0.1 is not 0.2.
TEST(NSGeometryTests, WhatKeepsItsEdgesKeepsItsSize) {
  const NSRect inner = NSMakeRect(0.1, 0.1, 0.2, 0.2);
  EXPECT_EQ(NSIntersectionRect(NSMakeRect(-1, -1, 5, 5), inner), inner);
  EXPECT_EQ(NSUnionRect(inner, NSMakeRect(0.2, 0.1, 0.1, 0.1)), inner);
}

TEST(NSGeometryTests, IntegralEdgesLieOutside) {
  EXPECT_EQ(NSIntegralRect(NSMakeRect(0.5, -0.5, 1, 1)), NSMakeRect(0, -1, 2, 2));
  EXPECT_EQ(NSIntegralRect(kSquare), kSquare);
  EXPECT_EQ(NSIntegralRect(NSMakeRect(5, 5, 0, 3)), NSZeroRect);
}

TEST(NSGeometryTests, DividingCutsASliceAlongAnEdge) {
  const auto expectDivided = [](NSRectEdge edge, double amount, const NSRect& slice,
                                const NSRect& remainder) {
    NSRect cut, rest;
    NSDivideRect(NSMakeRect(0, 0, 10, 20), &cut, &rest, amount, edge);
    EXPECT_EQ(cut, slice) << edge << " " << amount;
    EXPECT_EQ(rest, remainder) << edge << " " << amount;
  };
  expectDivided(NSMinXEdge, 3, NSMakeRect(0, 0, 3, 20), NSMakeRect(3, 0, 7, 20));
  expectDivided(NSMinYEdge, 3, NSMakeRect(0, 0, 10, 3), NSMakeRect(0, 3, 10, 17));
  expectDivided(NSMaxXEdge, 3, NSMakeRect(7, 0, 3, 20), NSMakeRect(0, 0, 7, 20));
  expectDivided(NSMaxYEdge, 3, NSMakeRect(0, 17, 10, 3), NSMakeRect(0, 0, 10, 17));
  expectDivided(NSMinXEdge, 30, NSMakeRect(0, 0, 10, 20), NSMakeRect(10, 0, 0, 20));
  expectDivided(NSMaxXEdge, 30, NSMakeRect(0, 0, 10, 20), NSMakeRect(0, 0, 0, 20));
  expectDivided(NSMinYEdge, -1, NSMakeRect(0, 0, 10, 0), NSMakeRect(0, 0, 10, 20));
  expectDivided(NSMinYEdge, kNaN, NSMakeRect(0, 0, 10, 0), NSMakeRect(0, 0, 10, 20));
  NSDivideRect(kSquare, nullptr, nullptr, 1, NSMinXEdge);
}

}  // namespace
}  // namespace kestova
