// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "Bytes.h"
#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::counted;
using testing::dataOf;
using testing::expectException;
using testing::hex;
using testing::RandomRun;
using testing::valueOf;

Ref<NSArray> records() {
  const auto record = [](const char* name) { return NSDictionary::of({{"name", name}}); };
  return NSArray::of(record("x"), record("y"), record("x"));
}

bool isImmutable(const Ref<NSArray>& array) { return cast<NSMutableArray>(array) == nullptr; }

// Shows: firstObject
TEST(NSArrayKestovaAdditionsTests, TheFirstObjectOfNoneIsNull) {
  EXPECT_TRUE(firstObject(NSArray::of(1, 2))->isEqual(1));
  EXPECT_EQ(firstObject(NSArray::array()), nullptr);
}

// Shows: indexOfObjectWithValue_forKey, objectWithValue_forKey
TEST(NSArrayKestovaAdditionsTests, TheFirstObjectWithAValueIsFound) {
  EXPECT_EQ(indexOfObjectWithValue_forKey(records(), "x", "name"), 0U);
  EXPECT_EQ(indexOfObjectWithValue_forKey(records(), "y", "name"), 1U);
  EXPECT_EQ(indexOfObjectWithValue_forKey(records(), "z", "name"), 9223372036854775807U);
  EXPECT_TRUE(
      objectWithValue_forKey(records(), "y", "name")->isEqual(NSDictionary::of({{"name", "y"}})));
  EXPECT_EQ(objectWithValue_forKey(records(), "z", "name"), nullptr);
  EXPECT_EQ(indexOfObjectWithValue_forKey(NSArray::array(), "x", "name"), NSNotFound);
}

// Shows: indexOfObjectWithValue_forKey
TEST(NSArrayKestovaAdditionsTests, NullIsFoundAsAValueToo) {
  const auto some = records()->arrayByAddingObject(NSDictionary::of({{"size", 1}}));
  EXPECT_EQ(indexOfObjectWithValue_forKey(some, nullptr, "name"), 3U);
  EXPECT_EQ(indexOfObjectWithValue_forKey(records(), nullptr, "name"), NSNotFound);
}

/// Equals nothing, not even itself.
class Unequal final : public NSObject {
 public:
  bool isEqual(const id&) const override { return false; }
};

// Shows: indexOfObjectWithValue_forKey, objectWithValue_forKey
TEST(NSArrayKestovaAdditionsTests, TheVerySameValueIsFoundThoughItEqualsNothing) {
  const id value = make<Unequal>();
  const id other = make<Unequal>();
  const id holder = NSDictionary::of({{"name", value}});
  const auto array = NSArray::of(NSDictionary::of({{"name", other}}), holder);
  EXPECT_EQ(indexOfObjectWithValue_forKey(array, value, "name"), 1U);
  EXPECT_EQ(objectWithValue_forKey(array, value, "name"), holder);
}

/// Empties an array when it is asked for a value.
class Emptying : public NSObject {
 public:
  explicit Emptying(NSMutableArray& array) : array_(array) {}
  id valueForKey(const Ref<NSString>&) const override {
    array_.removeAllObjects();
    return nullptr;
  }

 private:
  NSMutableArray& array_;
};

// Shows: indexOfObjectWithValue_forKey
TEST(NSArrayKestovaAdditionsTests, AnArrayMayShrinkWhileAValueIsLookedFor) {
  const auto array = NSMutableArray::array();
  const id emptying = make<Emptying>(*array);
  array->setArray(NSArray::of(emptying, emptying, emptying));
  EXPECT_EQ(indexOfObjectWithValue_forKey(array, "x", "name"), NSNotFound);
}

// Shows: indexesOfObjectsInSet, indexesOfObjectsInArray
TEST(NSArrayKestovaAdditionsTests, OnlyTheFirstIndexOfEachMemberIsTold) {
  const auto array = NSArray::of("a", "b", "a", "c", "b");
  const auto found = indexesOfObjectsInSet(array, NSSet::of("b", "a", "z"));
  EXPECT_TRUE(found->isEqual(NSIndexSet::of({0, 1})));
  EXPECT_EQ(cast<NSMutableIndexSet>(found), nullptr);
  EXPECT_TRUE(
      indexesOfObjectsInArray(array, NSArray::of("c", "c", "b"))->isEqual(NSIndexSet::of({1, 3})));
  EXPECT_EQ(indexesOfObjectsInSet(array, nullptr)->count(), 0U);
  EXPECT_EQ(indexesOfObjectsInArray(array, nullptr)->count(), 0U);
}

// Shows: componentsEnclosedWith, componentsEnclosedBy_and
TEST(NSArrayKestovaAdditionsTests, EachStringIsEnclosedInOrder) {
  const auto letters = NSArray::of("a", "", "ü");
  EXPECT_TRUE(
      componentsEnclosedWith(letters, "\"")->isEqual(NSArray::of("\"a\"", "\"\"", "\"ü\"")));
  EXPECT_TRUE(
      componentsEnclosedBy_and(letters, "<", "/>")->isEqual(NSArray::of("<a/>", "</>", "<ü/>")));
  EXPECT_EQ(componentsEnclosedWith(NSArray::array(), "x")->count(), 0U);
  EXPECT_TRUE(isImmutable(componentsEnclosedWith(letters, "x")));
}

// Shows: componentsEnclosedWith, componentsEnclosedBy_and
TEST(NSArrayKestovaAdditionsTests, WhatIsNoStringIsRefusedForEnclosing) {
  expectException(NSInvalidArgumentException,
                  [] { (void)componentsEnclosedWith(NSArray::of(1), "x"); });
  expectException(NSInvalidArgumentException,
                  [] { (void)componentsEnclosedBy_and(NSArray::of("a"), nullptr, "x"); });
  expectException(NSInvalidArgumentException,
                  [] { (void)componentsEnclosedBy_and(NSArray::of("a"), "x", nullptr); });
}

const auto isEven = [](const id& object, bool*) {
  return cast<NSNumber>(object)->intValue() % 2 == 0;
};

// Shows: objectsWithOptions_passingTest
TEST(NSArrayKestovaAdditionsTests, ObjectsAreTestedInEitherDirection) {
  const auto numbers = NSArray::of(1, 2, 3, 4);
  EXPECT_TRUE(objectsWithOptions_passingTest(numbers, 0, isEven)->isEqual(NSArray::of(2, 4)));
  EXPECT_TRUE(objectsWithOptions_passingTest(numbers, 2, isEven)->isEqual(NSArray::of(4, 2)));
  EXPECT_TRUE(objectsWithOptions_passingTest(numbers, 1, isEven)->isEqual(NSArray::of(2, 4)));
  EXPECT_TRUE(
      objectsWithOptions_passingTest(numbers, ~NSUInteger{0}, isEven)->isEqual(NSArray::of(4, 2)));
  EXPECT_TRUE(isImmutable(objectsWithOptions_passingTest(numbers, 0, isEven)));
}

// Shows: objectsWithOptions_passingTest
TEST(NSArrayKestovaAdditionsTests, ATestMayStopWithOrWithoutTheObjectItStopsAt) {
  const auto numbers = NSArray::of(1, 2, 3, 4);
  const auto until = [&](int last, bool passes) {
    return objectsWithOptions_passingTest(numbers, 0, [=](const id& object, bool* stop) {
      *stop = object->isEqual(last);
      return !*stop || passes;
    });
  };
  EXPECT_TRUE(until(2, true)->isEqual(NSArray::of(1, 2)));
  EXPECT_TRUE(until(2, false)->isEqual(NSArray::of(1)));
}

// Shows: ov_objectPassingTest
TEST(NSArrayKestovaAdditionsTests, TheFirstObjectThatPassesIsFound) {
  const auto numbers = NSArray::of(1, 2, 3, 4);
  const auto even = [](const id& object, NSUInteger, bool* stop) { return isEven(object, stop); };
  EXPECT_TRUE(ov_objectPassingTest(numbers, even)->isEqual(2));
  EXPECT_EQ(ov_objectPassingTest(NSArray::of(1, 3), even), nullptr);
  EXPECT_EQ(ov_objectPassingTest(numbers,
                                 [](const id&, NSUInteger, bool* stop) {
                                   *stop = true;
                                   return false;
                                 }),
            nullptr);
}

// Shows: arrayByRemovingObject, arrayByRemovingObjectsInArray
TEST(NSArrayKestovaAdditionsTests, ACopyLacksTheEqualsOfWhatIsRemoved) {
  const auto array = NSMutableArray::of("a", "b", "a", "c");
  EXPECT_TRUE(arrayByRemovingObject(array, "a")->isEqual(NSArray::of("b", "c")));
  EXPECT_TRUE(arrayByRemovingObject(array, nullptr)->isEqual(array));
  EXPECT_TRUE(
      arrayByRemovingObjectsInArray(array, NSArray::of("c", "a"))->isEqual(NSArray::of("b")));
  EXPECT_TRUE(arrayByRemovingObjectsInArray(array, nullptr)->isEqual(array));
  EXPECT_EQ(array->count(), 4U);
  EXPECT_TRUE(isImmutable(arrayByRemovingObject(array, "a")));
  EXPECT_TRUE(isImmutable(arrayByRemovingObjectsInArray(array, nullptr)));
}

// Shows: arrayByRemovingObjectAtIndex, arrayByRemovingObjectsAtIndexes
TEST(NSArrayKestovaAdditionsTests, ACopyLacksThePositionsThatAreRemoved) {
  const auto array = NSMutableArray::of("a", "b", "a", "c");
  EXPECT_TRUE(arrayByRemovingObjectAtIndex(array, 1)->isEqual(NSArray::of("a", "a", "c")));
  EXPECT_TRUE(arrayByRemovingObjectsAtIndexes(array, NSIndexSet::of({0, 3}))
                  ->isEqual(NSArray::of("b", "a")));
  EXPECT_EQ(array->count(), 4U);
  EXPECT_TRUE(isImmutable(arrayByRemovingObjectAtIndex(array, 1)));
  EXPECT_TRUE(isImmutable(arrayByRemovingObjectsAtIndexes(array, NSIndexSet::indexSet())));
}

// Shows: arrayByInsertingObject_atIndex, arrayByInsertingObjects_atIndexes
TEST(NSArrayKestovaAdditionsTests, ACopyHasWhatIsInserted) {
  const auto array = NSMutableArray::of("a", "b");
  EXPECT_TRUE(arrayByInsertingObject_atIndex(array, "x", 2)->isEqual(NSArray::of("a", "b", "x")));
  EXPECT_TRUE(
      arrayByInsertingObjects_atIndexes(array, NSArray::of("x", "y"), NSIndexSet::of({0, 2}))
          ->isEqual(NSArray::of("x", "a", "y", "b")));
  EXPECT_EQ(array->count(), 2U);
  EXPECT_TRUE(isImmutable(arrayByInsertingObject_atIndex(array, "x", 2)));
  EXPECT_TRUE(
      isImmutable(arrayByInsertingObjects_atIndexes(array, NSArray::of("x"), NSIndexSet::of({0}))));
}

// Shows: arrayByRemovingObjectAtIndex, arrayByRemovingObjectsAtIndexes
TEST(NSArrayKestovaAdditionsTests, RemovingPastTheEndFailsAsInAMutableArray) {
  const auto array = NSArray::of("a");
  expectException(NSRangeException, [&] { (void)arrayByRemovingObjectAtIndex(array, 1); });
  expectException(NSRangeException,
                  [&] { (void)arrayByRemovingObjectsAtIndexes(array, NSIndexSet::of({1})); });
}

// Shows: arrayByInsertingObject_atIndex, arrayByInsertingObjects_atIndexes
TEST(NSArrayKestovaAdditionsTests, InsertingPastTheEndFailsAsInAMutableArray) {
  const auto array = NSArray::of("a");
  expectException(NSRangeException, [&] { (void)arrayByInsertingObject_atIndex(array, "x", 2); });
  expectException(NSInvalidArgumentException,
                  [&] { (void)arrayByInsertingObject_atIndex(array, nullptr, 0); });
  expectException(NSRangeException, [&] {
    (void)arrayByInsertingObjects_atIndexes(array, NSArray::of("x"), NSIndexSet::of({2}));
  });
  expectException(NSInvalidArgumentException, [&] {
    (void)arrayByInsertingObjects_atIndexes(array, NSArray::of("x"), NSIndexSet::of({0, 1}));
  });
}

// Shows: ajustedInsertionIndex_forMovingObjectsAtIndexes
TEST(NSArrayKestovaAdditionsTests, AnInsertionIndexIsAdjustedByWhatIsTakenOutBeforeIt) {
  const auto indexes = NSIndexSet::of({0, 1, 5});
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(4, indexes), 2U);
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(5, indexes), 3U);
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(6, indexes), 3U);
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(1, indexes), 0U);
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(0, indexes), 0U);
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(7, nullptr), 7U);
  EXPECT_EQ(ajustedInsertionIndex_forMovingObjectsAtIndexes(NSNotFound, indexes), NSNotFound - 3);
}

// Shows: ov_map
TEST(NSArrayKestovaAdditionsTests, AMapSkipsNullResults) {
  const auto numbers = NSArray::of(1, 2, 3);
  EXPECT_TRUE(ov_map(numbers, [](const id& number) -> id {
                return number->isEqual(2) ? id() : id(number->description());
              })->isEqual(NSArray::of("1", "3")));
  const auto none = ov_map(numbers, [](const id&) { return id(); });
  EXPECT_EQ(none->count(), 0U);
  EXPECT_TRUE(isImmutable(none));
}

// Shows: sortedArrayUsingKey_ascending_selector
TEST(NSArraySortingAdditionTests, ObjectsAreSortedByAPropertyInEitherDirection) {
  const auto named = [](const char* name) { return NSDictionary::of({{"name", name}}); };
  const auto array = NSArray::of(named("b"), named("C"), named("a"));
  const auto names = [&](bool ascending, SEL selector) {
    return sortedArrayUsingKey_ascending_selector(array, "name", ascending, selector)
        ->valueForKey("name");
  };
  EXPECT_TRUE(names(true, sel<&NSString::compare>())->isEqual(NSArray::of("C", "a", "b")));
  EXPECT_TRUE(names(false, sel<&NSString::compare>())->isEqual(NSArray::of("b", "a", "C")));
  EXPECT_TRUE(
      names(true, sel<&NSString::caseInsensitiveCompare>())->isEqual(NSArray::of("a", "b", "C")));
}

// Shows: arrayByRemovingObjectsInArray
TEST(NSArrayKestovaAdditionsTests, RemovingBehavesAsAPlainVectorDoes) {
  RandomRun random;
  for (int round = 0; round < 200; ++round) {
    std::vector<id> objects;
    std::vector<id> others;
    std::vector<int> left;
    for (auto count = random.below(12); count > 0; --count) {
      objects.push_back(counted(static_cast<int>(random.below(6))));
    }
    for (auto count = random.below(4); count > 0; --count) {
      others.push_back(counted(static_cast<int>(random.below(6))));
    }
    for (const id& object : objects) {
      if (std::ranges::none_of(others, [&](const id& other) { return object->isEqual(other); })) {
        left.push_back(valueOf(object));
      }
    }
    std::vector<int> here;
    for (const id& object : arrayByRemovingObjectsInArray(NSArray::arrayWithObjects(objects),
                                                          NSArray::arrayWithObjects(others))) {
      here.push_back(valueOf(object));
    }
    ASSERT_EQ(here, left);
  }
}

// Shows: componentsJoinedByData
TEST(NSArrayDataAdditionsTests, TheSeparatorStandsBetweenEachTwo) {
  const auto letters = NSArray::of(dataOf({'A'}), dataOf({'B'}), dataOf({'C'}));
  EXPECT_EQ(hex(componentsJoinedByData(letters, dataOf({','}))), "41 2c 42 2c 43");
  EXPECT_EQ(hex(componentsJoinedByData(letters, dataOf({1, 2}))), "41 01 02 42 01 02 43");
  EXPECT_EQ(hex(componentsJoinedByData(letters, NSData::data())), "41 42 43");
}

// Shows: componentsJoinedByData
TEST(NSArrayDataAdditionsTests, EmptyElementsAreSeparatedToo) {
  const auto gaps = NSArray::of(NSData::data(), dataOf({'B'}), NSData::data());
  EXPECT_EQ(hex(componentsJoinedByData(gaps, dataOf({','}))), "2c 42 2c");
}

// Shows: componentsJoinedByData
TEST(NSArrayDataAdditionsTests, JoiningNoElementsGivesNoBytes) {
  EXPECT_EQ(componentsJoinedByData(NSArray::array(), dataOf({','}))->length(), 0U);
  EXPECT_EQ(componentsJoinedByData(NSArray::array(), nullptr)->length(), 0U);
}

// Shows: componentsJoinedByData
TEST(NSArrayDataAdditionsTests, OneElementNeedsNoSeparatorAndIsCopied) {
  const auto one = dataOf({'A'});
  const auto joined = componentsJoinedByData(NSArray::of(one), nullptr);
  EXPECT_EQ(hex(joined), "41");
  joined->setLength(0);
  EXPECT_EQ(hex(one), "41") << "what is joined is a copy";
}

// Shows: componentsJoinedByData
TEST(NSArrayDataAdditionsTests, WhatIsNoDataIsRefused) {
  const auto two = NSArray::of(dataOf({'A'}), dataOf({'B'}));
  expectException(NSInvalidArgumentException, [&] { (void)componentsJoinedByData(two, nullptr); });
  expectException(NSInvalidArgumentException,
                  [] { (void)componentsJoinedByData(NSArray::of("text"), NSData::data()); });
}

// Shows: stringsByTrimmingCharactersInSet
TEST(NSArrayTrimmingStringsTests, EachStringLosesTheCharactersAtItsEnds) {
  const auto signs = NSCharacterSet::characterSetWithCharactersInString("-+");
  const auto trimmed = stringsByTrimmingCharactersInSet(NSArray::of("-a-b+", "c", "", "+-"), signs);
  EXPECT_TRUE(trimmed->isEqual(NSArray::of("a-b", "c", "", "")));
  EXPECT_TRUE(isImmutable(trimmed));
}

}  // namespace
}  // namespace kestova
