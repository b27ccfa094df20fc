// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSIndexSet.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::expectException;
using testing::RandomRun;

constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

std::vector<NSUInteger> indexesOf(const Ref<NSIndexSet>& set) {
  std::vector<NSUInteger> indexes;
  for (const NSUInteger index : set) {
    indexes.push_back(index);
  }
  return indexes;
}

std::vector<NSRange> rangesOf(const Ref<NSIndexSet>& set, NSUInteger options = 0) {
  std::vector<NSRange> ranges;
  set->enumerateRangesWithOptions_usingBlock(
      options, [&](NSRange range, bool*) { ranges.push_back(range); });
  return ranges;
}

TEST(NSIndexSetTests, EveryMakerMakesTheSame) {
  const auto set = NSIndexSet::of({2, 1, 1});
  EXPECT_EQ(indexesOf(set), (std::vector<NSUInteger>{1, 2}));
  EXPECT_TRUE(set->isEqual(NSIndexSet::indexSetWithIndexesInRange({1, 2})));
  EXPECT_TRUE(set->isEqual(NSMutableIndexSet::of({1, 2})));
  EXPECT_TRUE(NSMutableIndexSet::initWithIndexSet(set)->isEqual(set));
  EXPECT_TRUE(NSIndexSet::indexSetWithIndex(7)->isEqual(NSMutableIndexSet::indexSetWithIndex(7)));
  EXPECT_EQ(NSIndexSet::initWithIndexSet(set), set);
  EXPECT_EQ(NSIndexSet::initWithIndexSet(nullptr)->count(), 0U);
  EXPECT_EQ(NSMutableIndexSet::initWithIndexSet(nullptr)->count(), 0U);
  EXPECT_EQ(NSIndexSet::indexSetWithIndexesInRange({9, 0})->count(), 0U);
}

TEST(NSIndexSetTests, AnEmptyOneHasNothing) {
  const auto empty = NSIndexSet::indexSet();
  EXPECT_EQ(empty->count(), 0U);
  EXPECT_EQ(empty->firstIndex(), NSNotFound);
  EXPECT_EQ(empty->lastIndex(), NSNotFound);
  EXPECT_EQ(empty->indexGreaterThanOrEqualToIndex(0), NSNotFound);
  EXPECT_EQ(empty->indexLessThanOrEqualToIndex(NSNotFound), NSNotFound);
  EXPECT_FALSE(empty->containsIndex(0));
  EXPECT_TRUE(indexesOf(empty).empty());
}

TEST(NSIndexSetTests, FindsTheNearestIndexes) {
  const auto set = NSIndexSet::of({2, 3, 7});
  EXPECT_EQ(set->count(), 3U);
  EXPECT_EQ(set->firstIndex(), 2U);
  EXPECT_EQ(set->lastIndex(), 7U);
  EXPECT_EQ(set->indexGreaterThanIndex(0), 2U);
  EXPECT_EQ(set->indexGreaterThanIndex(2), 3U);
  EXPECT_EQ(set->indexGreaterThanIndex(3), 7U);
  EXPECT_EQ(set->indexGreaterThanIndex(7), NSNotFound);
  EXPECT_EQ(set->indexGreaterThanIndex(kLargest), NSNotFound);
  EXPECT_EQ(set->indexGreaterThanOrEqualToIndex(7), 7U);
  EXPECT_EQ(set->indexLessThanIndex(0), NSNotFound);
  EXPECT_EQ(set->indexLessThanIndex(2), NSNotFound);
  EXPECT_EQ(set->indexLessThanIndex(7), 3U);
  EXPECT_EQ(set->indexLessThanIndex(NSNotFound), 7U);
  EXPECT_EQ(set->indexLessThanOrEqualToIndex(2), 2U);
}

TEST(NSIndexSetTests, AnswersForRangesAndOtherSets) {
  const auto set = NSIndexSet::of({2, 3, 4, 7});
  EXPECT_TRUE(set->containsIndexesInRange({2, 3}));
  EXPECT_FALSE(set->containsIndexesInRange({3, 3}));
  EXPECT_FALSE(set->containsIndexesInRange({7, kLargest}));
  EXPECT_TRUE(set->containsIndexesInRange({100, 0}));
  EXPECT_TRUE(set->intersectsIndexesInRange({0, 3}));
  EXPECT_FALSE(set->intersectsIndexesInRange({5, 2}));
  EXPECT_FALSE(set->intersectsIndexesInRange({3, 0}));
  EXPECT_EQ(set->countOfIndexesInRange({3, 5}), 3U);
  EXPECT_EQ(set->countOfIndexesInRange({3, kLargest}), 3U);
  EXPECT_EQ(set->countOfIndexesInRange({5, 2}), 0U);
  EXPECT_TRUE(set->containsIndexes(NSIndexSet::of({2, 7})));
  EXPECT_FALSE(set->containsIndexes(NSIndexSet::of({2, 5})));
  EXPECT_TRUE(set->containsIndexes(nullptr));
}

TEST(NSIndexSetTests, ABlockMeetsIndexesAndRunsInEitherDirection) {
  const auto set = NSIndexSet::of({1, 2, 5});
  std::string seen;
  const Block<void(NSUInteger, bool*)> untilTwo = [&](NSUInteger index, bool* stop) {
    seen += std::to_string(index);
    *stop = index == 2;
  };
  set->enumerateIndexesUsingBlock(untilTwo);
  EXPECT_EQ(seen, "12");
  seen.clear();
  set->enumerateIndexesWithOptions_usingBlock(NSEnumerationReverse, untilTwo);
  EXPECT_EQ(seen, "52");
  EXPECT_EQ(rangesOf(set), (std::vector<NSRange>{{1, 2}, {5, 1}}));
  EXPECT_EQ(rangesOf(set, NSEnumerationReverse), (std::vector<NSRange>{{5, 1}, {1, 2}}));
  int runs = 0;
  set->enumerateRangesUsingBlock([&](NSRange, bool* stop) {
    ++runs;
    *stop = true;
  });
  EXPECT_EQ(runs, 1);
}

TEST(NSIndexSetTests, ASetThatShrinksUnderABlockEndsTheWalk) {
  const auto set = NSMutableIndexSet::of({1, 3, 5});
  int runs = 0;
  set->enumerateRangesUsingBlock([&](NSRange, bool*) {
    ++runs;
    set->removeAllIndexes();
  });
  EXPECT_EQ(runs, 1);
}

TEST(NSIndexSetTests, FindsWhatPassesATest) {
  const auto set = NSIndexSet::of({1, 2, 3, 4});
  const auto isEven = [](NSUInteger index, bool*) { return index % 2 == 0; };
  EXPECT_EQ(set->indexPassingTest(isEven), 2U);
  EXPECT_EQ(indexesOf(set->indexesPassingTest(isEven)), (std::vector<NSUInteger>{2, 4}));
  const auto none = [](NSUInteger, bool*) { return false; };
  EXPECT_EQ(set->indexPassingTest(none), NSNotFound);
  EXPECT_EQ(indexesOf(set->indexesPassingTest([](NSUInteger index, bool* stop) {
              *stop = index == 2;
              return true;
            })),
            (std::vector<NSUInteger>{1, 2}));
}

TEST(NSIndexSetTests, WhatIsNoIndexThrowsAndChangesNothing) {
  const auto set = NSMutableIndexSet::of({1});
  const auto refuses = [&](auto&& change) {
    expectException(NSRangeException, change);
    EXPECT_EQ(indexesOf(set), std::vector<NSUInteger>{1});
  };
  refuses([] { (void)NSIndexSet::indexSetWithIndex(NSNotFound); });
  refuses([] { (void)NSIndexSet::of({NSNotFound}); });
  refuses([] { (void)NSIndexSet::indexSetWithIndexesInRange({NSNotFound - 1, 2}); });
  refuses([] { (void)NSMutableIndexSet::indexSetWithIndexesInRange({1, kLargest}); });
  refuses([&] { set->addIndex(NSNotFound); });
  refuses([&] { set->addIndexesInRange({0, NSNotFound + 1}); });
  refuses([&] { set->removeIndex(NSNotFound); });
  refuses([&] { set->removeIndexesInRange({2, kLargest}); });
  refuses([&] { set->shiftIndexesStartingAtIndex_by(0, -2); });
  refuses([&] { set->shiftIndexesStartingAtIndex_by(0, std::numeric_limits<NSInteger>::max()); });
  refuses([&] { set->shiftIndexesStartingAtIndex_by(0, std::numeric_limits<NSInteger>::min()); });
  EXPECT_FALSE(set->containsIndex(NSNotFound));
  set->addIndexesInRange({0, NSNotFound});
  EXPECT_EQ(set->count(), NSNotFound);
  EXPECT_EQ(set->lastIndex(), NSNotFound - 1);
}

TEST(NSIndexSetTests, NeighboursBecomeOneRun) {
  const auto set = NSMutableIndexSet::of({1, 3});
  set->addIndex(2);
  EXPECT_EQ(rangesOf(set), (std::vector<NSRange>{{1, 3}}));
  set->removeIndex(2);
  EXPECT_EQ(rangesOf(set), (std::vector<NSRange>{{1, 1}, {3, 1}}));
  set->addIndexesInRange({0, 10});
  EXPECT_EQ(rangesOf(set), (std::vector<NSRange>{{0, 10}}));
  set->removeIndexesInRange({2, 3});
  EXPECT_EQ(rangesOf(set), (std::vector<NSRange>{{0, 2}, {5, 5}}));
}

TEST(NSIndexSetTests, ShiftingFollowsAnArrayThatGrowsOrShrinks) {
  const auto grown = NSMutableIndexSet::of({1, 2, 3, 6});
  grown->shiftIndexesStartingAtIndex_by(2, 3);
  EXPECT_EQ(indexesOf(grown), (std::vector<NSUInteger>{1, 5, 6, 9}));
  const auto shrunk = NSMutableIndexSet::of({1, 2, 3, 6});
  shrunk->shiftIndexesStartingAtIndex_by(6, -3);
  EXPECT_EQ(indexesOf(shrunk), (std::vector<NSUInteger>{1, 2, 3}));
  shrunk->shiftIndexesStartingAtIndex_by(2, 0);
  EXPECT_EQ(indexesOf(shrunk), (std::vector<NSUInteger>{1, 2, 3}));
  const auto far = NSMutableIndexSet::of({0, 10});
  far->shiftIndexesStartingAtIndex_by(2, -5);
  EXPECT_EQ(indexesOf(far), std::vector<NSUInteger>{5});
}

TEST(NSIndexSetTests, CopiesDoNotChangeWithTheirSource) {
  const auto set = NSMutableIndexSet::of({1});
  const auto copy = cast<NSIndexSet>(set->copy());
  EXPECT_EQ(cast<NSMutableIndexSet>(copy), nullptr);
  EXPECT_EQ(copy->copy(), copy);
  const auto changing = cast<NSMutableIndexSet>(copy->mutableCopy());
  set->addIndex(2);
  changing->addIndex(3);
  EXPECT_EQ(indexesOf(copy), std::vector<NSUInteger>{1});
}

TEST(NSIndexSetTests, EqualityIsThatOfTheIndexes) {
  const auto set = NSIndexSet::of({1, 2});
  EXPECT_TRUE(set->isEqual(NSMutableIndexSet::of({2, 1})));
  EXPECT_EQ(set->hash(), NSMutableIndexSet::of({2, 1})->hash());
  EXPECT_FALSE(set->isEqual(NSIndexSet::of({1})));
  EXPECT_FALSE(set->isEqual(NSArray::of(1, 2)));
  EXPECT_FALSE(set->isEqual(nullptr));
  EXPECT_FALSE(set->isEqualToIndexSet(nullptr));
}

TEST(NSIndexSetTests, IsDescribedByItsRuns) {
  EXPECT_TRUE(NSIndexSet::of({0, 1, 5})->description()->hasSuffix(
      "[number of indexes: 3 (in 2 ranges), indexes: (0-1 5)]"));
  EXPECT_TRUE(NSIndexSet::of({0})->description()->hasPrefix("<NSIndexSet: 0x"));
}

/// Changes the set and a plain one in the same random way.
void changeBoth(RandomRun& random, NSMutableIndexSet& set, std::set<NSUInteger>& model) {
  const NSRange range{random.below(60), random.below(12)};
  const auto other = NSMutableIndexSet::indexSet();
  std::set<NSUInteger> otherModel;
  for (NSUInteger count = random.below(8); count > 0; --count) {
    const NSUInteger index = random.below(60);
    other->addIndex(index);
    otherModel.insert(index);
  }
  const auto shifted = [&](NSInteger delta) {
    std::set<NSUInteger> result;
    for (const NSUInteger index : model) {
      const auto kept = static_cast<NSInteger>(range.location) + std::min<NSInteger>(delta, 0);
      if (index >= range.location) {
        result.insert(index + static_cast<NSUInteger>(delta));
      } else if (static_cast<NSInteger>(index) < kept) {
        result.insert(index);
      }
    }
    return result;
  };
  switch (random.below(7)) {
    case 0:
      set.addIndexesInRange(range);
      for (NSUInteger index = range.location; index < NSMaxRange(range); ++index) {
        model.insert(index);
      }
      break;
    case 1:
      set.removeIndexesInRange(range);
      std::erase_if(model, [&](NSUInteger index) { return NSLocationInRange(index, range); });
      break;
    case 2:
      set.addIndexes(NSIndexSet::initWithIndexSet(other));
      model.merge(otherModel);
      break;
    case 3:
      set.removeIndexes(other);
      std::erase_if(model, [&](NSUInteger index) { return otherModel.contains(index); });
      break;
    case 4:
      set.shiftIndexesStartingAtIndex_by(range.location, static_cast<NSInteger>(range.length));
      model = shifted(static_cast<NSInteger>(range.length));
      std::erase_if(model, [](NSUInteger index) { return index >= 80; });
      set.removeIndexesInRange({80, 20});
      break;
    case 5: {
      const auto delta = static_cast<NSInteger>(std::min(range.length, range.location));
      set.shiftIndexesStartingAtIndex_by(range.location, -delta);
      model = shifted(-delta);
      break;
    }
    default:
      set.removeIndex(range.location);
      model.erase(range.location);
      set.addIndex(range.length);
      model.insert(range.length);
      break;
  }
}

/// Asks both every question about one number and one range.
void compareAnswers(const Ref<NSIndexSet>& set, const std::set<NSUInteger>& model, NSRange range) {
  const auto orNotFound = [&](auto place) { return place == model.end() ? NSNotFound : *place; };
  const auto below = [&](auto place) {
    return place == model.begin() ? NSNotFound : *std::prev(place);
  };
  const NSUInteger number = range.location;
  ASSERT_EQ(set->containsIndex(number), model.contains(number));
  ASSERT_EQ(set->indexGreaterThanIndex(number), orNotFound(model.upper_bound(number)));
  ASSERT_EQ(set->indexGreaterThanOrEqualToIndex(number), orNotFound(model.lower_bound(number)));
  ASSERT_EQ(set->indexLessThanIndex(number), below(model.lower_bound(number)));
  ASSERT_EQ(set->indexLessThanOrEqualToIndex(number), below(model.upper_bound(number)));
  const auto within = static_cast<NSUInteger>(std::ranges::count_if(
      model, [&](NSUInteger index) { return NSLocationInRange(index, range); }));
  ASSERT_EQ(set->countOfIndexesInRange(range), within);
  ASSERT_EQ(set->intersectsIndexesInRange(range), within > 0);
  ASSERT_EQ(set->containsIndexesInRange(range), within == range.length);
}

TEST(NSIndexSetTests, BehavesAsAPlainSetDoes) {
  RandomRun random;
  const auto set = NSMutableIndexSet::indexSet();
  std::set<NSUInteger> model;
  for (int step = 0; step < 5000; ++step) {
    changeBoth(random, *set, model);
    ASSERT_EQ(indexesOf(set), std::vector<NSUInteger>(model.begin(), model.end())) << step;
    ASSERT_EQ(set->count(), model.size());
    for (NSUInteger number = 0; number < 82; ++number) {
      compareAnswers(set, model, {number, random.below(20)});
    }
    const auto runs = rangesOf(set);
    for (std::size_t place = 1; place < runs.size(); ++place) {
      ASSERT_GT(runs[place].location, NSMaxRange(runs[place - 1]));
    }
  }
}

}  // namespace
}  // namespace kestova
