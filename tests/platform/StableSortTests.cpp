// SPDX-License-Identifier: Apache-2.0
#include "collections/StableSort.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "RandomRun.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace kestova {
namespace {

using testing::RandomRun;

int numberIn(const id& object) { return static_cast<const NSNumber&>(*object).intValue(); }

/// Numbers are ordered by their tens: those of the same ten are told apart by nobody but the test.
bool isBefore(const id& a, const id& b) { return numberIn(a) / 10 < numberIn(b) / 10; }

std::vector<id> objectsFrom(const std::vector<int>& numbers) {
  return {numbers.begin(), numbers.end()};
}

std::vector<int> numbersIn(const std::vector<id>& objects) {
  std::vector<int> numbers;
  std::ranges::transform(objects, std::back_inserter(numbers), numberIn);
  return numbers;
}

std::vector<int> sorted(const std::vector<int>& numbers) {
  auto objects = objectsFrom(numbers);
  stableSort(objects, isBefore);
  return numbersIn(objects);
}

TEST(StableSortTests, KeepsWhatIsTheSameInItsOrder) {
  EXPECT_EQ(sorted({}), std::vector<int>());
  EXPECT_EQ(sorted({7}), (std::vector<int>{7}));
  EXPECT_EQ(sorted({25, 12, 21, 19, 11, 20, 10, 3}),
            (std::vector<int>{3, 12, 19, 11, 10, 25, 21, 20}));
}

TEST(StableSortTests, SortsEveryOrderOfSevenObjectsOfThreeKinds) {
  std::vector<int> numbers{10, 11, 20, 21, 22, 30, 31};
  do {
    auto expected = numbers;
    std::ranges::stable_sort(expected, {}, [](int number) { return number / 10; });
    ASSERT_EQ(sorted(numbers), expected);
  } while (std::ranges::next_permutation(numbers).found);
}

TEST(StableSortTests, SortsAsAPlainSortDoesWhateverTheLength) {
  RandomRun random;
  for (std::size_t count = 0; count < 200; ++count) {
    std::vector<int> numbers(count);
    std::ranges::generate(numbers, [&] { return static_cast<int>(random.below(300)); });
    auto expected = numbers;
    std::ranges::stable_sort(expected, {}, [](int number) { return number / 10; });
    ASSERT_EQ(sorted(numbers), expected) << count;
  }
}

TEST(StableSortTests, ComparesWhatIsInOrderOnceAlready) {
  std::vector<int> numbers(600);
  std::ranges::generate(numbers, [next = 0]() mutable { return next++; });
  auto objects = objectsFrom(numbers);
  std::size_t comparisons = 0;
  stableSort(objects, [&](const id& a, const id& b) {
    ++comparisons;
    return numberIn(a) < numberIn(b);
  });
  EXPECT_EQ(comparisons, 599U);
  EXPECT_EQ(numbersIn(objects), numbers);
}

TEST(StableSortTests, NeedsNoMoreComparisonsThanMergingDoes) {
  RandomRun random;
  std::vector<int> numbers(4096);
  std::ranges::generate(numbers, [&] { return static_cast<int>(random.below(1'000'000)); });
  auto objects = objectsFrom(numbers);
  std::size_t comparisons = 0;
  stableSort(objects, [&](const id& a, const id& b) {
    ++comparisons;
    return numberIn(a) < numberIn(b);
  });
  EXPECT_LT(comparisons, 4096U * 14);
}

TEST(StableSortTests, AnOrderThatContradictsItselfLosesNothing) {
  RandomRun random;
  for (int round = 0; round < 50; ++round) {
    std::vector<int> numbers(100);
    std::ranges::generate(numbers, [next = 0]() mutable { return next++; });
    auto objects = objectsFrom(numbers);
    stableSort(objects, [&](const id&, const id&) { return random.below(2) == 0; });
    auto found = numbersIn(objects);
    std::ranges::sort(found);
    ASSERT_EQ(found, numbers);
  }
}

TEST(StableSortTests, AnArrayWhoseOrderThrowsStaysAsItWas) {
  const auto array = NSMutableArray::array();
  for (int number = 100; number > 0; --number) {
    array->addObject(number);
  }
  const auto before = array->copy();
  for (int limit : {0, 1, 50, 300}) {
    int left = limit;
    EXPECT_THROW(array->sortUsingComparator([&](const id& a, const id& b) {
      if (left-- == 0) {
        throw std::runtime_error("enough");
      }
      return numberIn(a) < numberIn(b) ? NSOrderedAscending : NSOrderedDescending;
    }),
                 std::runtime_error);
    EXPECT_TRUE(array->isEqual(before));
  }
}

}  // namespace
}  // namespace kestova
