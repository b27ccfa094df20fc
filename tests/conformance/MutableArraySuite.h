// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSortDescriptor.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <algorithm>
#include <utility>
#include <vector>

/// What every mutable array does, whoever made it. A family is a type with
/// `static Ref<NSMutableArray> make(std::vector<id>)`.
namespace kestova::testing {

template <class Family>
class MutableArraySuite : public ::testing::Test {
 protected:
  template <class... Values>
  static Ref<NSMutableArray> array(const Values&... values) {
    return Family::make({id(values)...});
  }

  static std::vector<int> valuesOf(const Ref<NSArray>& array) {
    std::vector<int> values;
    for (const id& object : array) {
      values.push_back(valueOf(object));
    }
    return values;
  }

  /// Changes the array and a vector in the same random way.
  static void changeBoth(RandomRun& random, NSMutableArray& array, std::vector<int>& model) {
    const int value = static_cast<int>(random.below(25));
    const auto index = random.below(model.size());
    const auto place = model.begin() + static_cast<std::ptrdiff_t>(index);
    const bool isEmpty = model.empty();
    const NSRange range{index, random.below(model.size() - index + 1)};
    const auto end = place + static_cast<std::ptrdiff_t>(range.length);
    const auto twoPlaces = [&](std::size_t size) {
      const auto other = random.below(size);
      return std::pair(std::min(index, other), std::max(index, other));
    };
    switch (random.below(14)) {
      case 0:
      case 1:
        array.addObject(counted(value));
        model.push_back(value);
        break;
      case 2:
      case 3:
        array.insertObject_atIndex(counted(value), index);
        model.insert(place, value);
        break;
      case 4:
        if (!isEmpty) {
          array.removeObjectAtIndex(index);
          model.erase(place);
        }
        break;
      case 5:
        if (!isEmpty) {
          array.replaceObjectAtIndex_withObject(index, counted(value));
          *place = value;
        }
        break;
      case 6:
        array.removeObject(counted(value));
        std::erase(model, value);
        break;
      case 7:
        array.removeObjectsInRange(range);
        model.erase(place, end);
        break;
      case 8:
        array.replaceObjectsInRange_withObjectsFromArray(
            range, NSArray::of(counted(value), counted(value + 1), counted(value + 2)));
        model.insert(model.erase(place, end), {value, value + 1, value + 2});
        break;
      case 9:
        if (!isEmpty) {
          array.exchangeObjectAtIndex_withObjectAtIndex(index, 0);
          std::swap(*place, model.front());
        }
        break;
      case 10:
        if (!isEmpty) {
          array.removeLastObject();
          model.pop_back();
        }
        break;
      case 11: {
        const auto [low, high] = twoPlaces(model.size() + 1);
        array.insertObjects_atIndexes(NSArray::of(counted(value), counted(value + 1)),
                                      NSIndexSet::of({low, high + 1}));
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(low), value);
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(high) + 1, value + 1);
        break;
      }
      case 12:
        if (!isEmpty) {
          const auto [low, high] = twoPlaces(model.size());
          array.removeObjectsAtIndexes(NSIndexSet::of({low, high}));
          model.erase(model.begin() + static_cast<std::ptrdiff_t>(high));
          if (low != high) {
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(low));
          }
        }
        break;
      default:
        array.removeObjectsInArray(NSArray::of(counted(value), counted(value + 5)));
        std::erase_if(model, [&](int each) { return each == value || each == value + 5; });
        break;
    }
  }
};

TYPED_TEST_SUITE_P(MutableArraySuite);

TYPED_TEST_P(MutableArraySuite, PutsObjectsWhereItIsTold) {
  const auto array = this->array();
  array->addObject("b");
  array->insertObject_atIndex("a", 0);
  array->insertObject_atIndex("c", 2);
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("a", "b", "c")));
  array->replaceObjectAtIndex_withObject(1, "B");
  array->removeObjectAtIndex(0);
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("B", "c")));
  array->removeLastObject();
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("B")));
}

TYPED_TEST_P(MutableArraySuite, RefusesNullAndIndexesPastTheEnd) {
  const auto array = this->array(1);
  const auto refuses = [&](const StringConstant& name, auto&& change) {
    expectException(name, change);
    EXPECT_TRUE(array->isEqualToArray(NSArray::of(1)));
  };
  refuses(NSInvalidArgumentException, [&] { array->addObject(nullptr); });
  refuses(NSInvalidArgumentException, [&] { array->insertObject_atIndex(nullptr, 0); });
  refuses(NSInvalidArgumentException, [&] { array->replaceObjectAtIndex_withObject(0, nullptr); });
  refuses(NSRangeException, [&] { array->insertObject_atIndex(2, 2); });
  refuses(NSRangeException, [&] { array->removeObjectAtIndex(1); });
  refuses(NSRangeException, [&] { array->replaceObjectAtIndex_withObject(1, 2); });
  refuses(NSRangeException, [&] { array->exchangeObjectAtIndex_withObjectAtIndex(0, 1); });
  refuses(NSRangeException, [&] { array->removeObjectsInRange({1, 1}); });
  refuses(NSRangeException, [&] {
    array->replaceObjectsInRange_withObjectsFromArray({2, 0}, NSArray::of(1));
  });
}

TYPED_TEST_P(MutableArraySuite, AnEmptyOneHasNoLastObjectToRemove) {
  expectException(NSRangeException, [&] { this->array()->removeLastObject(); });
}

TYPED_TEST_P(MutableArraySuite, InsertsObjectsWhereTheirIndexesWillBe) {
  const auto array = this->array("a", "b", "c");
  array->insertObjects_atIndexes(NSArray::of(1, 2, 3), NSIndexSet::of({1, 3, 5}));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("a", 1, "b", 2, "c", 3)));
  array->insertObjects_atIndexes(NSArray::of(8, 9), NSIndexSet::of({6, 7}));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("a", 1, "b", 2, "c", 3, 8, 9)));
  const auto doubled = this->array(1, 2);
  doubled->insertObjects_atIndexes(doubled, NSIndexSet::of({0, 1}));
  EXPECT_TRUE(doubled->isEqualToArray(NSArray::of(1, 2, 1, 2)));
  doubled->insertObjects_atIndexes(nullptr, NSIndexSet::indexSet());
  EXPECT_EQ(doubled->count(), 4U);
}

TYPED_TEST_P(MutableArraySuite, RemovesAndReplacesByIndexes) {
  const auto array = this->array("a", "b", "c", "d");
  array->replaceObjectsAtIndexes_withObjects(NSIndexSet::of({1, 3}), NSArray::of("B", "D"));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("a", "B", "c", "D")));
  array->removeObjectsAtIndexes(NSIndexSet::of({0, 2}));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("B", "D")));
  array->removeObjectsAtIndexes(NSIndexSet::indexSet());
  EXPECT_EQ(array->count(), 2U);
  array->removeObjectsAtIndexes(NSIndexSet::of({0, 1}));
  EXPECT_EQ(array->count(), 0U);
}

TYPED_TEST_P(MutableArraySuite, RefusesIndexesThatDoNotFit) {
  const auto array = this->array(1, 2);
  const auto refuses = [&](const StringConstant& name, auto&& change) {
    expectException(name, change);
    EXPECT_TRUE(array->isEqualToArray(NSArray::of(1, 2)));
  };
  refuses(NSRangeException, [&] {
    array->insertObjects_atIndexes(NSArray::of(3, 4), NSIndexSet::of({0, 4}));
  });
  refuses(NSInvalidArgumentException, [&] {
    array->insertObjects_atIndexes(NSArray::of(3), NSIndexSet::of({0, 1}));
  });
  refuses(NSInvalidArgumentException,
          [&] { array->insertObjects_atIndexes(NSArray::of(3), nullptr); });
  refuses(NSRangeException, [&] { array->removeObjectsAtIndexes(NSIndexSet::of({0, 2})); });
  refuses(NSInvalidArgumentException, [&] { array->removeObjectsAtIndexes(nullptr); });
  refuses(NSRangeException, [&] {
    array->replaceObjectsAtIndexes_withObjects(NSIndexSet::of({0, 2}), NSArray::of(3, 4));
  });
  refuses(NSInvalidArgumentException, [&] {
    array->replaceObjectsAtIndexes_withObjects(NSIndexSet::of({0}), NSArray::of(3, 4));
  });
}

TYPED_TEST_P(MutableArraySuite, TakesObjectsFromAnotherArrayAndFromItself) {
  const auto array = this->array(1, 2);
  array->addObjectsFromArray(array);
  EXPECT_TRUE(array->isEqualToArray(NSArray::of(1, 2, 1, 2)));
  array->addObjectsFromArray(nullptr);
  array->replaceObjectsInRange_withObjectsFromArray({0, 3}, NSArray::of(9));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of(9, 2)));
  array->setArray(array);
  EXPECT_TRUE(array->isEqualToArray(NSArray::of(9, 2)));
  array->setArray(NSArray::of(5));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of(5)));
  array->setArray(nullptr);
  EXPECT_EQ(array->count(), 0U);
}

TYPED_TEST_P(MutableArraySuite, RemovesEqualObjectsOrTheVerySameOnes) {
  const id one = counted(1);
  const auto array = this->array(one, counted(1), counted(2), one);
  array->removeObjectIdenticalTo(one);
  EXPECT_EQ(this->valuesOf(array), (std::vector{1, 2}));
  array->removeObject(one);
  EXPECT_EQ(this->valuesOf(array), (std::vector{2}));
  array->removeObject(nullptr);
  array->removeObject("absent");
  EXPECT_EQ(array->count(), 1U);
}

TYPED_TEST_P(MutableArraySuite, AnArgumentMayBelongToTheArray) {
  const auto array = this->array(counted(1), counted(2), counted(1));
  for (const id& object : array) {
    array->removeObject(object);
    break;
  }
  EXPECT_EQ(this->valuesOf(array), (std::vector{2}));
  for (const id& object : array) {
    array->replaceObjectAtIndex_withObject(0, object);
    break;
  }
  EXPECT_EQ(this->valuesOf(array), (std::vector{2}));
  array->removeObjectsInArray(array);
  EXPECT_EQ(array->count(), 0U);
}

TYPED_TEST_P(MutableArraySuite, SortsItself) {
  const auto array = this->array("b", "c", "a");
  array->sortUsingSelector(sel<&NSString::compare>());
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("a", "b", "c")));
  array->sortUsingComparator(
      [](const id& a, const id& b) { return cast<NSString>(b)->compare(cast<NSString>(a)); });
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("c", "b", "a")));
  array->sortUsingFunction_context(
      [](const id& a, const id& b, void*) { return cast<NSString>(a)->compare(cast<NSString>(b)); },
      nullptr);
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("a", "b", "c")));
  array->sortUsingDescriptors(
      NSArray::of(NSSortDescriptor::sortDescriptorWithKey_ascending(nullptr, false)));
  EXPECT_TRUE(array->isEqualToArray(NSArray::of("c", "b", "a")));
}

TYPED_TEST_P(MutableArraySuite, ACopyDoesNotChangeWithIt) {
  const auto array = this->array(1);
  const auto copy = cast<NSArray>(array->copy());
  const auto same = NSArray::arrayWithArray(array);
  array->addObject(2);
  EXPECT_TRUE(copy->isEqualToArray(NSArray::of(1)));
  EXPECT_TRUE(same->isEqualToArray(NSArray::of(1)));
}

TYPED_TEST_P(MutableArraySuite, AThrowingComparisonChangesNothing) {
  const auto array = this->array(2, 1);
  EXPECT_THROW(array->sortUsingComparator(
                   [](const id&, const id&) -> NSComparisonResult { throw std::bad_alloc(); }),
               std::bad_alloc);
  EXPECT_TRUE(array->isEqualToArray(NSArray::of(2, 1)));
}

TYPED_TEST_P(MutableArraySuite, BehavesAsAVectorDoesAndLeaksNothing) {
  const int before = CountingObject::alive();
  RandomRun random;
  {
    const auto array = this->array();
    std::vector<int> model;
    for (int step = 0; step < 2000; ++step) {
      this->changeBoth(random, *array, model);
      ASSERT_EQ(this->valuesOf(array), model) << "after step " << step;
    }
    EXPECT_EQ(CountingObject::alive() - before, static_cast<int>(array->count()));
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

REGISTER_TYPED_TEST_SUITE_P(MutableArraySuite, PutsObjectsWhereItIsTold,
                            RefusesNullAndIndexesPastTheEnd, AnEmptyOneHasNoLastObjectToRemove,
                            InsertsObjectsWhereTheirIndexesWillBe, RemovesAndReplacesByIndexes,
                            RefusesIndexesThatDoNotFit, TakesObjectsFromAnotherArrayAndFromItself,
                            RemovesEqualObjectsOrTheVerySameOnes, AnArgumentMayBelongToTheArray,
                            SortsItself, ACopyDoesNotChangeWithIt,
                            AThrowingComparisonChangesNothing, BehavesAsAVectorDoesAndLeaksNothing);

}  // namespace kestova::testing
