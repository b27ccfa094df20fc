// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFlattenedArray.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <vector>

namespace kestova {
namespace {

using testing::counted;
using testing::expectException;
using testing::RandomRun;

class OVFlattenedArrayTests : public ::testing::Test {
 protected:
  /// What is thrown must be this, to the letter.
  template <class Statement>
  static void expectReason(const char* reason, const Statement& statement) {
    EXPECT_EQ(expectException(NSInvalidArgumentException, statement).reason(), reason);
  }

  struct Indexes {
    NSUInteger object = 99;
    NSUInteger array = 99;
  };

  static Indexes indexesFor(const Ref<OVFlattenedArray>& view, NSUInteger index) {
    Indexes found;
    view->getObjectIndex_arrayIndex_forObjectAtFlattenedIndex(&found.object, &found.array, index);
    return found;
  }

  /// (A, B), (), (C)
  Ref<OVFlattenedArray> view = OVFlattenedArray::initWithArrays(
      NSArray::of(NSArray::of("A", "B"), NSArray::array(), NSArray::of("C")));
  Ref<OVFlattenedArray> empty = OVFlattenedArray::initWithArrays(NSArray::array());
};

// Shows: objectAtIndex, count, initWithArrays
TEST_F(OVFlattenedArrayTests, IsItsArraysOneAfterTheOther) {
  EXPECT_EQ(view->count(), 3U);
  EXPECT_TRUE(view->objectAtIndex(0)->isEqual("A"));
  EXPECT_TRUE(view->objectAtIndex(1)->isEqual("B"));
  EXPECT_TRUE(view->objectAtIndex(2)->isEqual("C"));
  EXPECT_TRUE(view->isEqualToArray(NSArray::of("A", "B", "C")));
}

// Shows: arrayAtIndex, countInArrayAtIndex, arrayCount
TEST_F(OVFlattenedArrayTests, TellsItsArraysAndTheirCounts) {
  EXPECT_EQ(view->arrayCount(), 3U);
  EXPECT_EQ(view->countInArrayAtIndex(0), 2U);
  EXPECT_EQ(view->countInArrayAtIndex(1), 0U);
  EXPECT_TRUE(view->arrayAtIndex(2)->isEqualToArray(NSArray::of("C")));
  EXPECT_TRUE(view->valueForKey("@arrayCount")->isEqual(3));
  expectException(NSRangeException, [&] { (void)view->arrayAtIndex(3); });
  expectException(NSRangeException, [&] { (void)view->countInArrayAtIndex(3); });
}

// Shows: arrayIndexForObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, TellsTheArrayThatAnIndexLiesIn) {
  EXPECT_EQ(view->arrayIndexForObjectAtFlattenedIndex(0), 0U);
  EXPECT_EQ(view->arrayIndexForObjectAtFlattenedIndex(1), 0U);
  EXPECT_EQ(view->arrayIndexForObjectAtFlattenedIndex(2), 2U);
}

// Shows: getObjectIndex_arrayIndex_forObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, TellsTheArrayOfAnIndexAndThePlaceInIt) {
  const Indexes second = indexesFor(view, 1);
  EXPECT_EQ(second.object, 1U);
  EXPECT_EQ(second.array, 0U);
  const Indexes third = indexesFor(view, 2);
  EXPECT_EQ(third.object, 0U);
  EXPECT_EQ(third.array, 2U);
}

// Shows: flattenedIndexForObjectAtIndex_inArrayAtIndex
TEST_F(OVFlattenedArrayTests, TellsTheIndexOfAPlaceInAnArray) {
  EXPECT_EQ(view->flattenedIndexForObjectAtIndex_inArrayAtIndex(1, 0), 1U);
  EXPECT_EQ(view->flattenedIndexForObjectAtIndex_inArrayAtIndex(0, 2), 2U);
}

// Shows: objectAtIndex, arrayIndexForObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, AnIndexPastTheEndIsAnInvalidArgument) {
  constexpr auto kReason = "Index 3 is out of bounds (0-3)";
  expectReason(kReason, [&] { (void)view->objectAtIndex(3); });
  expectReason(kReason, [&] { (void)view->arrayIndexForObjectAtFlattenedIndex(3); });
  expectReason("Index 18446744073709551615 is out of bounds (0-3)",
               [&] { (void)view->objectAtIndex(~NSUInteger{0}); });
}

// Shows: getObjectIndex_arrayIndex_forObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, AnIndexPastTheEndHasNoPlace) {
  expectReason("Index 3 is out of bounds (0-3)", [&] { (void)indexesFor(view, 3); });
  expectReason("Index 0 is out of bounds (0-0)", [&] { (void)indexesFor(empty, 0); });
}

// Shows: flattenedIndexForObjectAtIndex_inArrayAtIndex
TEST_F(OVFlattenedArrayTests, AnIndexOfNoObjectOrNoArrayIsAnInvalidArgument) {
  expectReason("Object index 0 in subarray 1 is out of bounds (0-0)",
               [&] { (void)view->flattenedIndexForObjectAtIndex_inArrayAtIndex(0, 1); });
  expectReason("Object index 2 in subarray 0 is out of bounds (0-2)",
               [&] { (void)view->flattenedIndexForObjectAtIndex_inArrayAtIndex(2, 0); });
  expectReason("Array index 3 is out of bounds (0-3)",
               [&] { (void)view->flattenedIndexForObjectAtIndex_inArrayAtIndex(0, 3); });
  expectReason("Array index 0 is out of bounds (0-0)",
               [&] { (void)empty->flattenedIndexForObjectAtIndex_inArrayAtIndex(0, 0); });
}

// Shows: count, arrayCount, initWithArrays, objectAtIndex, arrayIndexForObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, AViewOfNoArraysHasNothing) {
  EXPECT_EQ(empty->count(), 0U);
  EXPECT_EQ(empty->arrayCount(), 0U);
  EXPECT_EQ(OVFlattenedArray::initWithArrays(nullptr)->count(), 0U);
  constexpr auto kReason = "Index 0 is out of bounds (0-0)";
  expectReason(kReason, [&] { (void)empty->objectAtIndex(0); });
  expectReason(kReason, [&] { (void)empty->arrayIndexForObjectAtFlattenedIndex(0); });
}

// Shows: initWithArrays, arrayAtIndex, count
TEST_F(OVFlattenedArrayTests, CopiesTheListAndSharesTheArrays) {
  const auto inner = NSMutableArray::of(1, 2);
  const auto list = NSMutableArray::of(inner);
  const auto shared = OVFlattenedArray::initWithArrays(list);
  list->removeAllObjects();
  EXPECT_EQ(shared->count(), 2U);
  EXPECT_EQ(shared->arrayAtIndex(0), inner);
}

// Shows: count, objectAtIndex, arrayIndexForObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, ItsCountIsFixedWhenItIsMade) {
  const auto inner = NSMutableArray::of(1, 2);
  const auto shared = OVFlattenedArray::initWithArrays(NSArray::of(inner));
  inner->addObject(3);
  EXPECT_EQ(shared->count(), 2U);
  EXPECT_TRUE(shared->objectAtIndex(2)->isEqual(3));
  expectReason("Index 2 is out of bounds (0-2)",
               [&] { (void)shared->arrayIndexForObjectAtFlattenedIndex(2); });
  inner->removeAllObjects();
  expectReason("Index 0 is out of bounds (0-2)", [&] { (void)shared->objectAtIndex(0); });
  expectReason("Index 0 is out of bounds (0-2)",
               [&] { (void)shared->arrayIndexForObjectAtFlattenedIndex(0); });
}

// Shows: initWithArrays
TEST_F(OVFlattenedArrayTests, TakesArraysOnly) {
  expectException(NSInvalidArgumentException,
                  [] { (void)OVFlattenedArray::initWithArrays(NSArray::of(NSArray::of(1), "A")); });
}

// Shows: getObjectIndex_arrayIndex_forObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, BothPlacesMustBeGiven) {
  NSUInteger index = 0;
  EXPECT_DEATH(view->getObjectIndex_arrayIndex_forObjectAtFlattenedIndex(&index, nullptr, 0),
               "arrayIndex != NULL");
  EXPECT_DEATH(view->getObjectIndex_arrayIndex_forObjectAtFlattenedIndex(nullptr, &index, 0),
               "objectIndex != NULL");
}

// Shows: initWithArrays, objectAtIndex
TEST_F(OVFlattenedArrayTests, FlattensViewsOfViews) {
  const auto outer = OVFlattenedArray::initWithArrays(NSArray::of(view, empty, view));
  EXPECT_TRUE(outer->isEqualToArray(NSArray::of("A", "B", "C", "A", "B", "C")));
}

// Shows: flattenedIndexForObjectAtIndex_inArrayAtIndex, arrayIndexForObjectAtFlattenedIndex
TEST_F(OVFlattenedArrayTests, EveryIndexConvertsAndComesBack) {
  RandomRun random;
  for (int round = 0; round < 200; ++round) {
    const auto arrays = NSMutableArray::array();
    std::vector<int> objects;
    for (auto count = random.below(6); count > 0; --count) {
      const auto array = NSMutableArray::array();
      for (auto size = random.below(4); size > 0; --size) {
        objects.push_back(static_cast<int>(objects.size()));
        array->addObject(objects.back());
      }
      arrays->addObject(array);
    }
    const auto flat = OVFlattenedArray::initWithArrays(arrays);
    ASSERT_EQ(flat->count(), objects.size());
    for (NSUInteger index = 0; index < objects.size(); ++index) {
      const Indexes found = indexesFor(flat, index);
      ASSERT_TRUE(flat->objectAtIndex(index)->isEqual(objects[index]));
      ASSERT_EQ(flat->arrayAtIndex(found.array)->objectAtIndex(found.object),
                flat->objectAtIndex(index));
      ASSERT_EQ(flat->arrayIndexForObjectAtFlattenedIndex(index), found.array);
      ASSERT_EQ(flat->flattenedIndexForObjectAtIndex_inArrayAtIndex(found.object, found.array),
                index);
    }
  }
}

}  // namespace
}  // namespace kestova
