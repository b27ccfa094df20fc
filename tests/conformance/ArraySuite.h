// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSSortDescriptor.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

#include <functional>
#include <utility>
#include <vector>

/// What every array does, whoever made it. A family is a type with `static Ref<NSArray>
/// make(std::vector<id>)`; see ArrayTests.cpp for how a class joins.
namespace kestova::testing {

template <class Family>
class ArraySuite : public ::testing::Test {
 protected:
  template <class... Values>
  static Ref<NSArray> array(const Values&... values) {
    return Family::make({id(values)...});
  }
};

TYPED_TEST_SUITE_P(ArraySuite);

TYPED_TEST_P(ArraySuite, CountsAndHandsOutItsObjectsByIndex) {
  const auto letters = this->array("a", "b", "c");
  EXPECT_EQ(letters->count(), 3U);
  EXPECT_TRUE(letters->objectAtIndex(0)->isEqual("a"));
  EXPECT_TRUE(letters->objectAtIndex(2)->isEqual("c"));
  EXPECT_TRUE(letters->firstObject()->isEqual("a"));
  EXPECT_TRUE(letters->lastObject()->isEqual("c"));
}

TYPED_TEST_P(ArraySuite, AnEmptyOneHasNoEnds) {
  const auto empty = this->array();
  EXPECT_EQ(empty->count(), 0U);
  EXPECT_EQ(empty->firstObject(), nullptr);
  EXPECT_EQ(empty->lastObject(), nullptr);
  EXPECT_EQ(empty->objectEnumerator()->nextObject(), nullptr);
  for (const id& object : empty) {
    ADD_FAILURE() << object;
  }
}

TYPED_TEST_P(ArraySuite, FindsTheFirstEqualObjectAndTheVerySameOne) {
  const id first = counted(7);
  const id second = counted(7);
  const auto array = this->array(counted(1), first, second);
  EXPECT_EQ(array->indexOfObject(second), 1U);
  EXPECT_EQ(array->indexOfObjectIdenticalTo(second), 2U);
  EXPECT_TRUE(array->containsObject(counted(1)));
  EXPECT_FALSE(array->containsObject(counted(2)));
  EXPECT_EQ(array->indexOfObject(counted(2)), NSNotFound);
  EXPECT_EQ(array->indexOfObjectIdenticalTo(counted(7)), NSNotFound);
  EXPECT_EQ(array->indexOfObject(nullptr), NSNotFound);
  EXPECT_FALSE(array->containsObject(nullptr));
}

TYPED_TEST_P(ArraySuite, EveryWalkMeetsTheSameObjects) {
  const auto array = this->array(1, 2, 3);
  std::vector<int> forwards;
  for (const id& object : array) {
    forwards.push_back(cast<NSNumber>(object)->intValue());
  }
  EXPECT_EQ(forwards, (std::vector{1, 2, 3}));
  EXPECT_TRUE(array->objectEnumerator()->allObjects()->isEqualToArray(array));
  EXPECT_TRUE(array->reverseObjectEnumerator()->allObjects()->isEqualToArray(NSArray::of(3, 2, 1)));
}

TYPED_TEST_P(ArraySuite, AnEnumeratorKeepsItsArrayAlive) {
  const int before = CountingObject::alive();
  {
    Ref<NSEnumerator> enumerator = this->array(counted(1))->objectEnumerator();
    EXPECT_EQ(valueOf(enumerator->nextObject()), 1);
    EXPECT_EQ(enumerator->nextObject(), nullptr);
    EXPECT_EQ(enumerator->nextObject(), nullptr);
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TYPED_TEST_P(ArraySuite, ABlockIsLedThroughUntilItStops) {
  const auto array = this->array("a", "b", "c");
  std::string seen;
  const Block<void(const id&, NSUInteger, bool*)> untilB = [&](const id& object, NSUInteger index,
                                                               bool* stop) {
    seen += object->description()->displayUTF8() + std::to_string(index);
    *stop = object->isEqual("b");
  };
  array->enumerateObjectsUsingBlock(untilB);
  EXPECT_EQ(seen, "a0b1");
  seen.clear();
  array->enumerateObjectsWithOptions_usingBlock(NSEnumerationReverse, untilB);
  EXPECT_EQ(seen, "c2b1");
  seen.clear();
  array->enumerateObjectsWithOptions_usingBlock(0, untilB);
  EXPECT_EQ(seen, "a0b1");
}

TYPED_TEST_P(ArraySuite, FindsTheFirstObjectThatPassesATest) {
  const auto array = this->array(1, 3, 4, 6);
  EXPECT_EQ(array->indexOfObjectPassingTest([](const id& object, NSUInteger, bool*) {
    return cast<NSNumber>(object)->intValue() % 2 == 0;
  }),
            2U);
  EXPECT_EQ(array->indexOfObjectPassingTest([](const id&, NSUInteger index, bool* stop) {
    *stop = index == 1;
    return index == 2;
  }),
            NSNotFound);
}

TYPED_TEST_P(ArraySuite, FindsAllObjectsThatPassATest) {
  const auto array = this->array(1, 3, 4, 6);
  const auto isEven = [](const id& object, NSUInteger, bool*) {
    return cast<NSNumber>(object)->intValue() % 2 == 0;
  };
  EXPECT_TRUE(array->indexesOfObjectsPassingTest(isEven)->isEqual(NSIndexSet::of({2, 3})));
  EXPECT_TRUE(array
                  ->indexesOfObjectsPassingTest([](const id&, NSUInteger index, bool* stop) {
                    *stop = index == 1;
                    return true;
                  })
                  ->isEqual(NSIndexSet::of({0, 1})));
  EXPECT_EQ(this->array()->indexesOfObjectsPassingTest(isEven)->count(), 0U);
}

TYPED_TEST_P(ArraySuite, PicksObjectsByTheirIndexes) {
  const auto array = this->array("a", "b", "c");
  EXPECT_TRUE(
      array->objectsAtIndexes(NSIndexSet::of({2, 0}))->isEqualToArray(NSArray::of("a", "c")));
  EXPECT_EQ(array->objectsAtIndexes(NSIndexSet::indexSet())->count(), 0U);
  expectException(NSRangeException, [&] { (void)array->objectsAtIndexes(NSIndexSet::of({3})); });
  expectException(NSInvalidArgumentException, [&] { (void)array->objectsAtIndexes(nullptr); });
}

TYPED_TEST_P(ArraySuite, SortsByDescriptors) {
  const auto array = this->array("b", "c", "a");
  const auto descending = NSSortDescriptor::sortDescriptorWithKey_ascending(nullptr, false);
  EXPECT_TRUE(array->sortedArrayUsingDescriptors(NSArray::of(descending))
                  ->isEqualToArray(NSArray::of("c", "b", "a")));
  EXPECT_TRUE(array->sortedArrayUsingDescriptors(NSArray::array())->isEqualToArray(array));
}

TYPED_TEST_P(ArraySuite, CutsOutARange) {
  const auto array = this->array(1, 2, 3, 4);
  EXPECT_TRUE(array->subarrayWithRange({1, 2})->isEqualToArray(NSArray::of(2, 3)));
  EXPECT_TRUE(array->subarrayWithRange({4, 0})->isEqualToArray(NSArray::array()));
  expectException(NSRangeException, [&] { (void)array->subarrayWithRange({3, 2}); });
  expectException(NSRangeException, [&] { (void)array->subarrayWithRange({1, NSNotFound * 2}); });
}

TYPED_TEST_P(ArraySuite, AnIndexPastTheEndThrows) {
  const auto array = this->array(1);
  EXPECT_THROW((void)array->objectAtIndex(1), NSException);
  EXPECT_THROW((void)this->array()->objectAtIndex(0), NSException);
}

TYPED_TEST_P(ArraySuite, JoinsDescriptions) {
  EXPECT_EQ(this->array("a", 1, 0.5)->componentsJoinedByString(", "), "a, 1, 0.5");
  EXPECT_EQ(this->array("a", "b")->componentsJoinedByString(nullptr), "ab");
  EXPECT_EQ(this->array()->componentsJoinedByString(", "), "");
}

TYPED_TEST_P(ArraySuite, AddsToACopy) {
  const auto array = this->array(1);
  EXPECT_TRUE(array->arrayByAddingObject(2)->isEqualToArray(NSArray::of(1, 2)));
  EXPECT_TRUE(array->arrayByAddingObjectsFromArray(array)->isEqualToArray(NSArray::of(1, 1)));
  EXPECT_TRUE(array->arrayByAddingObjectsFromArray(nullptr)->isEqualToArray(NSArray::of(1)));
  EXPECT_EQ(array->count(), 1U);
  expectException(NSInvalidArgumentException, [&] { (void)array->arrayByAddingObject(nullptr); });
}

TYPED_TEST_P(ArraySuite, SortsByComparatorFunctionAndSelector) {
  const auto texts = this->array("b", "a", "c");
  const auto expected = NSArray::of("a", "b", "c");
  EXPECT_TRUE(texts->sortedArrayUsingSelector(sel<&NSString::compare>())->isEqualToArray(expected));
  EXPECT_TRUE(texts
                  ->sortedArrayUsingComparator([](const id& a, const id& b) {
                    return cast<NSString>(a)->compare(cast<NSString>(b));
                  })
                  ->isEqualToArray(expected));
  int calls = 0;
  const auto reversed = texts->sortedArrayUsingFunction_context(
      [](const id& a, const id& b, void* context) {
        ++*static_cast<int*>(context);
        return cast<NSString>(b)->compare(cast<NSString>(a));
      },
      &calls);
  EXPECT_TRUE(reversed->isEqualToArray(NSArray::of("c", "b", "a")));
  EXPECT_GT(calls, 0);
}

TYPED_TEST_P(ArraySuite, SortingKeepsTheOrderOfWhatIsTheSame) {
  const id first = counted(11);
  const id second = counted(21);
  const auto sorted =
      this->array(counted(5), first, second, counted(0))
          ->sortedArrayUsingComparator([](const id& a, const id& b) {
            const int order = valueOf(a) % 10 - valueOf(b) % 10;
            return order < 0 ? NSOrderedAscending : order > 0 ? NSOrderedDescending : NSOrderedSame;
          });
  EXPECT_EQ(sorted->objectAtIndex(1), first);
  EXPECT_EQ(sorted->objectAtIndex(2), second);
}

TYPED_TEST_P(ArraySuite, PerformsAnOperationOnEachObject) {
  const auto first = NSMutableArray::of(1);
  const auto second = NSMutableArray::of(2, 3);
  this->array(first, second)
      ->makeObjectsPerformSelector_withObject(sel<&NSMutableArray::addObject>(), "x");
  EXPECT_TRUE(first->isEqualToArray(NSArray::of(1, "x")));
  this->array(first, second)->makeObjectsPerformSelector(sel<&NSMutableArray::removeAllObjects>());
  EXPECT_EQ(first->count() + second->count(), 0U);
  EXPECT_THROW(this->array(1)->makeObjectsPerformSelector(sel<&NSMutableArray::removeAllObjects>()),
               std::bad_cast);
}

TYPED_TEST_P(ArraySuite, MapsPropertiesOfItsObjects) {
  const auto array = this->array(NSArray::of(1), NSArray::of(1, 2));
  EXPECT_TRUE(array->valueForKey("@count")->isEqual(2));
  const auto people =
      this->array(NSDictionary::of({{"name", NSDictionary::of({{"first", "Ada"}})}}),
                  NSDictionary::dictionary());
  EXPECT_TRUE(people->valueForKey("name")->isEqual(
      NSArray::of(NSDictionary::of({{"first", "Ada"}}), NSNull::null())));
  EXPECT_TRUE(people->valueForKeyPath("name.first")->isEqual(NSArray::of("Ada", NSNull::null())));
}

TYPED_TEST_P(ArraySuite, SetsAPropertyOfEachObject) {
  const auto first = NSMutableDictionary::dictionary();
  const auto second = NSMutableDictionary::dictionary();
  this->array(first, second)->setValue_forKey(3, "age");
  EXPECT_TRUE(first->objectForKey("age")->isEqual(3));
  EXPECT_TRUE(second->objectForKey("age")->isEqual(3));
}

TYPED_TEST_P(ArraySuite, EqualityIsThatOfTheObjectsInOrder) {
  const auto array = this->array(1, "two");
  const auto same = NSArray::of(1.0, "two");
  EXPECT_TRUE(array->isEqual(same));
  EXPECT_TRUE(same->isEqual(array));
  EXPECT_TRUE(array->isEqual(array));
  EXPECT_EQ(array->hash(), same->hash());
  EXPECT_FALSE(array->isEqual(NSArray::of("two", 1)));
  EXPECT_FALSE(array->isEqual(NSArray::of(1)));
  EXPECT_FALSE(array->isEqual("two"));
  EXPECT_FALSE(array->isEqual(nullptr));
  EXPECT_FALSE(array->isEqualToArray(nullptr));
}

TYPED_TEST_P(ArraySuite, CopiesShareTheObjects) {
  const id object = counted(1);
  const auto array = this->array(object);
  const auto copy = cast<NSArray>(array->copy());
  EXPECT_EQ(copy->objectAtIndex(0), object);
  EXPECT_EQ(cast<NSMutableArray>(copy), nullptr);
  EXPECT_EQ(copy->copy(), copy);
  const auto changing = cast<NSMutableArray>(array->mutableCopy());
  changing->addObject(counted(2));
  EXPECT_EQ(changing->count(), 2U);
  EXPECT_EQ(array->count(), 1U);
}

TYPED_TEST_P(ArraySuite, HoldsEachObjectOnceAndLetsGoOfIt) {
  const int before = CountingObject::alive();
  {
    const id object = counted(1);
    auto array = this->array(object, counted(2));
    EXPECT_EQ(object->retainCount(), 2U);
    for (const id& member : array) {
      EXPECT_LE(member->retainCount(), 3U);
    }
    (void)array->sortedArrayUsingComparator([](const id&, const id&) { return NSOrderedSame; });
    (void)array->description();
    EXPECT_EQ(object->retainCount(), 2U);
    array = nullptr;
    EXPECT_EQ(object->retainCount(), 1U);
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TYPED_TEST_P(ArraySuite, IsDescribedALineForEachObject) {
  EXPECT_EQ(this->array("a", 1)->description(), "(\n    a,\n    1\n)");
  EXPECT_EQ(this->array()->description(), "(\n)");
}

REGISTER_TYPED_TEST_SUITE_P(ArraySuite, CountsAndHandsOutItsObjectsByIndex, AnEmptyOneHasNoEnds,
                            FindsTheFirstEqualObjectAndTheVerySameOne, EveryWalkMeetsTheSameObjects,
                            AnEnumeratorKeepsItsArrayAlive, ABlockIsLedThroughUntilItStops,
                            FindsTheFirstObjectThatPassesATest, FindsAllObjectsThatPassATest,
                            PicksObjectsByTheirIndexes, SortsByDescriptors, CutsOutARange,
                            AnIndexPastTheEndThrows, JoinsDescriptions, AddsToACopy,
                            SortsByComparatorFunctionAndSelector,
                            SortingKeepsTheOrderOfWhatIsTheSame, PerformsAnOperationOnEachObject,
                            MapsPropertiesOfItsObjects, SetsAPropertyOfEachObject,
                            EqualityIsThatOfTheObjectsInOrder, CopiesShareTheObjects,
                            HoldsEachObjectOnceAndLetsGoOfIt, IsDescribedALineForEachObject);

}  // namespace kestova::testing
