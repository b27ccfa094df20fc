// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "PlainRects.h"
#include "RandomRun.h"
#include "Rects.h"
#include "Sanitizers.h"

#include <bitset>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::listOf;
using testing::RandomRun;
using testing::Rects;
using testing::rectsOf;
using testing::underSanitizer;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

NSRect rect(double x, double y, double width, double height) {
  return NSMakeRect(x, y, width, height);
}

/// Empty where the two are not broken.
Rects broken(const NSRect& a, const NSRect& b) {
  Ref<NSArray> pieces;
  const bool isBroken = NSBreakOverlappingRects(&pieces, a, b);
  EXPECT_EQ(isBroken, pieces != nullptr);
  EXPECT_EQ(NSBreakOverlappingRects(nullptr, a, b), isBroken);
  return rectsOf(pieces ? pieces : NSArray::array());
}

Rects reduced(const Rects& list) { return rectsOf(NSReduceRects(listOf(list))); }
Rects merged(const Rects& list) { return rectsOf(NSMergeRects(listOf(list))); }
Rects united(const Rects& list) { return rectsOf(NSUnionIntersectingRects(listOf(list))); }

const NSRect kSquare = rect(0, 0, 10, 10);

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, RectanglesThatOnlyTouchAreNotBroken) {
  EXPECT_EQ(broken(kSquare, rect(10, 0, 10, 10)), Rects());
  EXPECT_EQ(broken(kSquare, rect(0, 10, 10, 10)), Rects());
  EXPECT_EQ(broken(kSquare, rect(10, 10, 10, 10)), Rects());
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, TheOneThatHoldsTheOtherIsKept) {
  EXPECT_EQ(broken(kSquare, kSquare), Rects{kSquare});
  EXPECT_EQ(broken(kSquare, rect(2, 2, 3, 3)), Rects{kSquare});
  EXPECT_EQ(broken(rect(2, 2, 3, 3), kSquare), Rects{kSquare});
  EXPECT_EQ(broken(rect(0, 0, 5, 10), kSquare), Rects{kSquare});
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, OverASideTheTallerOneStaysWhole) {
  const NSRect tall = rect(5, -5, 10, 20);
  EXPECT_EQ(broken(kSquare, tall), (Rects{rect(0, 0, 5, 10), tall}));
  const NSRect tallLeft = rect(-5, -5, 10, 20);
  EXPECT_EQ(broken(kSquare, tallLeft), (Rects{tallLeft, rect(5, 0, 5, 10)}));
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, OverASideTheWiderOneStaysWhole) {
  const NSRect wide = rect(-5, 5, 20, 10);
  EXPECT_EQ(broken(kSquare, wide), (Rects{rect(0, 0, 10, 5), wide}));
  const NSRect wideBelow = rect(-5, -5, 20, 10);
  EXPECT_EQ(broken(kSquare, wideBelow), (Rects{wideBelow, rect(0, 5, 10, 5)}));
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, OfEvenOnesTheLeftOrLowerOneStaysWhole) {
  EXPECT_EQ(broken(kSquare, rect(5, 0, 10, 10)), (Rects{kSquare, rect(10, 0, 5, 10)}));
  EXPECT_EQ(broken(rect(5, 0, 10, 10), kSquare), (Rects{kSquare, rect(10, 0, 5, 10)}));
  EXPECT_EQ(broken(kSquare, rect(0, 5, 10, 10)), (Rects{kSquare, rect(0, 10, 10, 5)}));
  EXPECT_EQ(broken(rect(0, 5, 10, 10), kSquare), (Rects{kSquare, rect(0, 10, 10, 5)}));
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, ACrossLeavesAPieceOnEitherSide) {
  const NSRect upright = rect(8, -10, 4, 30);
  EXPECT_EQ(broken(rect(0, 0, 20, 4), upright),
            (Rects{rect(0, 0, 8, 4), rect(12, 0, 8, 4), upright}));
  const NSRect level = rect(-10, 8, 30, 4);
  EXPECT_EQ(broken(rect(0, 0, 4, 20), level), (Rects{rect(0, 0, 4, 8), rect(0, 12, 4, 8), level}));
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, ACornerLeavesTwoPiecesTheLeftOneFirst) {
  const NSRect upperRight = rect(5, 5, 10, 10);
  EXPECT_EQ(broken(kSquare, upperRight), (Rects{rect(0, 0, 5, 10), rect(5, 0, 5, 5), upperRight}));
  const NSRect lowerRight = rect(5, -5, 10, 10);
  EXPECT_EQ(broken(kSquare, lowerRight), (Rects{rect(0, 0, 5, 10), rect(5, 5, 5, 5), lowerRight}));
  const NSRect upperLeft = rect(-5, 5, 10, 10);
  EXPECT_EQ(broken(kSquare, upperLeft), (Rects{rect(0, 0, 5, 5), rect(5, 0, 5, 10), upperLeft}));
  const NSRect lowerLeft = rect(-5, -5, 10, 10);
  EXPECT_EQ(broken(kSquare, lowerLeft), (Rects{rect(0, 5, 5, 5), rect(5, 0, 5, 10), lowerLeft}));
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, OneThatSticksIntoASideIsNotBroken) {
  EXPECT_EQ(broken(kSquare, rect(3, 3, 4, 20)), Rects());
  EXPECT_EQ(broken(kSquare, rect(3, -10, 4, 15)), Rects());
  EXPECT_EQ(broken(kSquare, rect(3, 3, 20, 4)), Rects());
  EXPECT_EQ(broken(kSquare, rect(-10, 3, 15, 4)), Rects());
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, OneThatIsStuckIntoIsBroken) {
  EXPECT_EQ(broken(rect(3, 3, 4, 20), kSquare), (Rects{kSquare, rect(3, 10, 4, 13)}));
  EXPECT_EQ(broken(rect(-10, 3, 15, 4), kSquare), (Rects{rect(-10, 3, 10, 4), kSquare}));
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, WhatIsNotBrokenLeavesTheListAlone) {
  const Ref<NSArray> before = NSArray::of("before");
  Ref<NSArray> pieces = before;
  EXPECT_FALSE(NSBreakOverlappingRects(&pieces, kSquare, rect(10, 0, 10, 10)));
  EXPECT_EQ(pieces, before);
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, EmptyAndUnorderedRectanglesAreNotBroken) {
  const double nan = std::nan("");
  for (const NSRect& other :
       {rect(2, 2, 0, 5), rect(2, 2, 5, 0), rect(8, 8, -5, 5), rect(8, 8, 5, -5),
        rect(nan, 2, 5, 5), rect(2, 2, nan, 5), rect(-kInfinity, 0, kInfinity, 5)}) {
    EXPECT_EQ(broken(kSquare, other), Rects());
    EXPECT_EQ(broken(other, kSquare), Rects());
  }
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, InfiniteRectanglesAreBrokenAsOthers) {
  const NSRect endless = rect(5, -5, kInfinity, 20);
  EXPECT_EQ(broken(kSquare, endless), (Rects{rect(0, 0, 5, 10), endless}));
}

/// The cells that a rectangle covers on a grid of 6 x 6.
using Cells = std::bitset<36>;

Cells cellsOf(const NSRect& rect) {
  Cells cells;
  for (int y = static_cast<int>(rect.origin.y); y < NSMaxY(rect); ++y) {
    for (int x = static_cast<int>(rect.origin.x); x < NSMaxX(rect); ++x) {
      cells.set(static_cast<std::size_t>(y * 6 + x));
    }
  }
  return cells;
}

Rects allOnGrid() {
  Rects all;
  for (int x = 0; x < 6; ++x)
    for (int y = 0; y < 6; ++y)
      for (int right = x + 1; right <= 6; ++right)
        for (int top = y + 1; top <= 6; ++top) {
          all.push_back(rect(x, y, right - x, top - y));
        }
  return all;
}

// Shows: NSBreakOverlappingRects
TEST(NSBreakOverlappingRectsTests, EveryPlacementOnAGridKeepsTheAreaWithoutOverlaps) {
  const Rects all = allOnGrid();
  ASSERT_EQ(all.size(), 441U);
  for (const NSRect& a : all) {
    for (const NSRect& b : all) {
      const Rects pieces = broken(a, b);
      ASSERT_EQ(pieces, testing::plainlyBroken(a, b))
          << ::testing::PrintToString(a) << " " << ::testing::PrintToString(b);
      Cells covered;
      for (const NSRect& piece : pieces) {
        const Cells cells = cellsOf(piece);
        ASSERT_TRUE((covered & cells).none());
        covered |= cells;
      }
      ASSERT_TRUE(pieces.empty() || covered == (cellsOf(a) | cellsOf(b)));
    }
  }
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects, NSClipRects, NSOffsetRects
TEST(NSGeometryAdditionsTests, EmptyListsGiveNewEmptyLists) {
  const auto empty = NSMutableArray::array();
  for (const Ref<NSMutableArray>& result :
       {NSReduceRects(empty), NSMergeRects(empty), NSUnionIntersectingRects(empty),
        NSClipRects(empty, kSquare), NSOffsetRects(empty, 1, 1), NSReduceRects(nullptr),
        NSMergeRects(nullptr), NSUnionIntersectingRects(nullptr), NSClipRects(nullptr, kSquare),
        NSOffsetRects(nullptr, 1, 1)}) {
    ASSERT_TRUE(result);
    EXPECT_EQ(result->count(), 0U);
    EXPECT_NE(result, empty);
  }
}

// Shows: NSReduceRects
TEST(NSGeometryAdditionsTests, ReducingJoinsWhatAbutsExactly) {
  EXPECT_EQ(reduced({kSquare, rect(10, 0, 5, 10)}), Rects{rect(0, 0, 15, 10)});
  EXPECT_EQ(reduced({rect(10, 0, 5, 10), kSquare}), Rects{rect(0, 0, 15, 10)});
  EXPECT_EQ(reduced({kSquare, rect(0, 10, 10, 5)}), Rects{rect(0, 0, 10, 15)});
  EXPECT_EQ(reduced({rect(0, 10, 10, 5), kSquare}), Rects{rect(0, 0, 10, 15)});
}

// Shows: NSReduceRects
TEST(NSGeometryAdditionsTests, ReducingLeavesOtherPairsAlone) {
  for (const NSRect& other : {rect(10, 0, 5, 8), rect(10, 1, 5, 10), rect(9, 0, 5, 10),
                              rect(11, 0, 5, 10), rect(0, 10, 9, 5), rect(10, 10, 10, 10)}) {
    EXPECT_EQ(reduced({kSquare, other}), (Rects{kSquare, other}));
  }
}

// Shows: NSReduceRects
TEST(NSGeometryAdditionsTests, ReducingGoesOnWithWhatItHasJoined) {
  EXPECT_EQ(reduced({kSquare, rect(10, 0, 10, 10), rect(20, 0, 10, 10)}),
            Rects{rect(0, 0, 30, 10)});
  EXPECT_EQ(reduced({rect(50, 0, 1, 1), kSquare, rect(10, 0, 10, 10), rect(20, 0, 10, 10)}),
            (Rects{rect(50, 0, 1, 1), rect(0, 0, 30, 10)}));
}

// Shows: NSMergeRects
TEST(NSGeometryAdditionsTests, MergingBreaksOverlapsApart) {
  EXPECT_EQ(merged({kSquare, rect(2, 2, 3, 3)}), Rects{kSquare});
  EXPECT_EQ(merged({kSquare, rect(5, 5, 10, 10)}),
            (Rects{rect(0, 0, 5, 10), rect(5, 0, 5, 5), rect(5, 5, 10, 10)}));
  EXPECT_EQ(merged({kSquare, kSquare, kSquare}), Rects{kSquare});
}

// Shows: NSMergeRects
TEST(NSGeometryAdditionsTests, MergingTriesAPairBothWays) {
  EXPECT_EQ(merged({kSquare, rect(3, 3, 4, 20)}), (Rects{kSquare, rect(3, 10, 4, 13)}));
  EXPECT_EQ(merged({rect(3, 3, 4, 20), kSquare}), (Rects{kSquare, rect(3, 10, 4, 13)}));
}

// Shows: NSMergeRects
TEST(NSGeometryAdditionsTests, MergingKeepsPairsThatBreakingGivesBack) {
  const NSRect left = rect(0.6, 0, 1.04, 1);
  const NSRect right = rect(1.64, -1, 1, 3);
  ASSERT_TRUE(NSIntersectsRect(left, right));
  ASSERT_EQ(broken(left, right), (Rects{left, right}));
  EXPECT_EQ(merged({left, right}), (Rects{left, right}));
}

// Shows: NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, UnitingReplacesByTheBoundingBox) {
  EXPECT_EQ(united({kSquare, rect(20, 0, 5, 5), rect(5, 5, 10, 10)}),
            (Rects{rect(20, 0, 5, 5), rect(0, 0, 15, 15)}));
  EXPECT_EQ(united({kSquare, rect(10, 0, 5, 5)}), (Rects{kSquare, rect(10, 0, 5, 5)}));
}

// Shows: NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, UnitingGoesOnWithTheBoundingBox) {
  EXPECT_EQ(united({kSquare, rect(12, 12, 2, 2), rect(8, 8, 5, 2)}),
            (Rects{rect(12, 12, 2, 2), rect(0, 0, 13, 10)}));
  EXPECT_EQ(united({kSquare, rect(12, 12, 2, 2), rect(8, 8, 5, 5)}), Rects{rect(0, 0, 14, 14)});
}

// Shows: NSClipRects
TEST(NSGeometryAdditionsTests, ClippingKeepsWhatLiesInside) {
  EXPECT_EQ(rectsOf(NSClipRects(listOf({kSquare, rect(20, 20, 5, 5)}), rect(5, 5, 10, 10))),
            Rects{rect(5, 5, 5, 5)});
  EXPECT_EQ(rectsOf(NSClipRects(listOf({rect(1, 1, 2, 2), kSquare, rect(-5, 0, 5, 10)}), kSquare)),
            (Rects{rect(1, 1, 2, 2), kSquare}));
  EXPECT_EQ(rectsOf(NSClipRects(listOf({kSquare}), rect(5, 5, 0, 0))), Rects());
}

// Shows: NSOffsetRects
TEST(NSGeometryAdditionsTests, OffsettingMovesEachRectangle) {
  EXPECT_EQ(rectsOf(NSOffsetRects(listOf({kSquare, rect(1, 2, -3, 0)}), 0.5, -4)),
            (Rects{rect(0.5, -4, 10, 10), rect(1.5, -2, -3, 0)}));
}

// Shows: NSFlipRect
TEST(NSGeometryAdditionsTests, FlippingMirrorsInTheHeight) {
  EXPECT_EQ(NSFlipRect(rect(10, 20, 30, 40), 100), rect(10, 40, 30, 40));
  EXPECT_EQ(NSFlipRect(NSFlipRect(rect(10, 20, 30, 40), 100), 100), rect(10, 20, 30, 40));
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, TheGivenListIsNeverChangedAndUntouchedObjectsAreShared) {
  const auto list =
      NSMutableArray::arrayWithArray(listOf({kSquare, rect(100, 100, 5, 5), rect(5, 5, 10, 10)}));
  const id untouched = list->objectAtIndex(1);
  EXPECT_EQ(NSReduceRects(list)->objectAtIndex(1), untouched);
  EXPECT_EQ(NSMergeRects(list)->objectAtIndex(0), untouched);
  EXPECT_EQ(NSUnionIntersectingRects(list)->objectAtIndex(0), untouched);
  EXPECT_EQ(rectsOf(list), (Rects{kSquare, rect(100, 100, 5, 5), rect(5, 5, 10, 10)}));
}

// Shows: NSClipRects, NSOffsetRects
TEST(NSGeometryAdditionsTests, ClippingAndOffsettingLeaveTheGivenListAlone) {
  const auto list = NSMutableArray::arrayWithArray(listOf({kSquare, rect(20, 20, 5, 5)}));
  EXPECT_NE(NSClipRects(list, rect(-100, -100, 200, 200)), list);
  EXPECT_NE(NSOffsetRects(list, 0, 0), list);
  EXPECT_EQ(NSClipRects(list, rect(5, 5, 10, 10))->count(), 1U);
  EXPECT_EQ(NSOffsetRects(list, 1, 1)->count(), 2U);
  EXPECT_EQ(rectsOf(list), (Rects{kSquare, rect(20, 20, 5, 5)}));
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects, NSClipRects, NSOffsetRects
TEST(NSGeometryAdditionsTests, WhatIsNoRectangleThrows) {
  const Ref<NSArray> list = NSArray::of(kSquare, "text");
  using Operation = Ref<NSMutableArray> (*)(const Ref<NSArray>&);
  for (const Operation operation : {&NSReduceRects, &NSMergeRects, &NSUnionIntersectingRects}) {
    testing::expectException(NSInvalidArgumentException, [&] { (void)operation(list); });
  }
  testing::expectException(NSInvalidArgumentException, [&] { (void)NSClipRects(list, kSquare); });
  testing::expectException(NSInvalidArgumentException, [&] { (void)NSOffsetRects(list, 1, 1); });
}

void expectAsPlain(const Rects& list) {
  ASSERT_EQ(reduced(list), testing::plainlyJoined(list, testing::plainlyReduced));
  ASSERT_EQ(merged(list), testing::plainlyJoined(list, testing::plainlyBroken));
  ASSERT_EQ(united(list), testing::plainlyJoined(list, testing::plainlyUnited));
}

Rects randomRects(RandomRun& random, std::size_t count, std::uint64_t extent,
                  std::uint64_t longest) {
  const auto number = [&](std::uint64_t limit) { return static_cast<double>(random.below(limit)); };
  Rects rects;
  for (std::size_t i = 0; i < count; ++i) {
    rects.push_back(rect(number(extent), number(extent), number(longest) + (i % 7 == 0 ? 0 : 1),
                         number(longest) + 1));
  }
  return rects;
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, ListsAreJoinedInTheOrderOfThePlainSearch) {
  RandomRun random;
  for (int turn = 0; turn < 3000; ++turn) {
    const std::size_t count = random.below(12);
    expectAsPlain(randomRects(random, count, 4 + random.below(20), 2 + random.below(8)));
    ASSERT_FALSE(HasFatalFailure());
  }
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, AHundredRectanglesAreJoinedAsByThePlainSearch) {
  RandomRun random;
  expectAsPlain(randomRects(random, 100, 100, 8));
  expectAsPlain(randomRects(random, 100, 40, 3));
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, AThousandRectanglesAreJoinedAsByThePlainSearch) {
  RandomRun random;
  expectAsPlain(randomRects(random, 1000, 1500, 8));
}

/// The plain search takes seconds where there are many joins, so there are but few near the front.
// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, ManyRectanglesAreJoinedAsByThePlainSearch) {
  RandomRun random;
  Rects list;
  const int side = underSanitizer ? 50 : 100;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      list.push_back(rect(x * 10, y * 10, 8, 8));
    }
  }
  for (int i = 0; i < 3; ++i) {
    NSRect& chosen = list[random.below(2'000)];
    chosen = rect(NSMinX(chosen) + 4, NSMinY(chosen) + 4, 8, 8);
    NSRect& widened = list[random.below(2'000)];
    widened.size.width = 10;
  }
  expectAsPlain(list);
}

Rects allOnGridOf(int side) {
  Rects all = allOnGrid();
  std::erase_if(all, [&](const NSRect& r) { return NSMaxX(r) > side || NSMaxY(r) > side; });
  return all;
}

// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, EveryListOfThreeOnAGridIsJoinedAsByThePlainSearch) {
  const Rects all = allOnGridOf(underSanitizer ? 2 : 3);
  for (const NSRect& a : all) {
    for (const NSRect& b : all) {
      for (const NSRect& c : all) {
        expectAsPlain({a, b, c});
        ASSERT_FALSE(HasFatalFailure());
      }
    }
  }
}

/// Enough for several levels of the search, which touch, hold and repeat each other.
// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, CrowdedListsAreJoinedAsByThePlainSearch) {
  RandomRun random;
  for (int turn = 0; turn < testing::shareOf(200); ++turn) {
    expectAsPlain(randomRects(random, 60, 4 + random.below(30), 1 + random.below(4)));
    ASSERT_FALSE(HasFatalFailure());
  }
}

/// Each bar is cut by all that lie across, so that there are many times as many as at first.
// Shows: NSMergeRects
TEST(NSGeometryAdditionsTests, BarsThatCrossAreBrokenAsByThePlainSearch) {
  Rects bars;
  for (int i = 0; i < 16; ++i) {
    bars.push_back(rect(0, 4 * i + 1, 80, 2));
    bars.push_back(rect(4 * i + 1, 0, 2, 80));
  }
  const Rects pieces = merged(bars);
  EXPECT_EQ(pieces.size(), 16U + 16U * 17U);
  EXPECT_EQ(pieces, testing::plainlyJoined(bars, testing::plainlyBroken));
}

/// Sides that go backwards or nowhere, and what is no number: these have edges that others abut on.
// Shows: NSReduceRects, NSMergeRects, NSUnionIntersectingRects
TEST(NSGeometryAdditionsTests, UnorderedRectanglesAreJoinedAsByThePlainSearch) {
  RandomRun random;
  const auto number = [&](std::initializer_list<double> numbers) {
    return std::data(numbers)[random.below(numbers.size())];
  };
  const auto origin = [&] { return number({0, 1, 2, 3, 4, std::nan("")}); };
  const auto side = [&] { return number({1, 1, 2, 3, 0, -1, -2, std::nan("")}); };
  for (int turn = 0; turn < testing::shareOf(2000); ++turn) {
    Rects list;
    for (int i = 0; i < 30; ++i) {
      list.push_back(rect(origin(), origin(), side(), side()));
    }
    const auto expectAsPlainly = [&](const auto& joined, const auto& join) {
      ASSERT_EQ(::testing::PrintToString(joined(list)),
                ::testing::PrintToString(testing::plainlyJoined(list, join)));
    };
    expectAsPlainly(reduced, testing::plainlyReduced);
    expectAsPlainly(merged, testing::plainlyBroken);
    expectAsPlainly(united, testing::plainlyUnited);
    ASSERT_FALSE(HasFatalFailure());
  }
}

// Shows: NSReduceRects
TEST(NSGeometryAdditionsTests, ReducingJoinsWhatIsEndless) {
  EXPECT_EQ(reduced({rect(0, 0, 5, kInfinity), rect(5, 0, kInfinity, kInfinity)}),
            Rects{rect(0, 0, kInfinity, kInfinity)});
  EXPECT_EQ(reduced({rect(0, 5, kInfinity, 1), rect(9, 9, 1, 1), rect(0, 0, kInfinity, 5)}),
            (Rects{rect(9, 9, 1, 1), rect(0, 0, kInfinity, 6)}));
}

/// Far edges of pieces are rounded up here as often as not, and overlap again by the last bit.
// Shows: NSMergeRects
TEST(NSGeometryAdditionsTests, MergingEndsWhereEdgesAreRounded) {
  RandomRun random;
  const auto tenths = [&] { return static_cast<double>(random.below(300)) / 10; };
  for (int turn = 0; turn < 2000; ++turn) {
    Rects list;
    for (int i = 0; i < 12; ++i) {
      list.push_back(rect(tenths(), tenths(), tenths() / 2 + 0.1, tenths() / 2 + 0.1));
    }
    const Rects pieces = merged(list);
    ASSERT_FALSE(pieces.empty());
    ASSERT_LT(pieces.size(), 1000U);
  }
}

}  // namespace
}  // namespace kestova
