// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"

#include <set>
#include <utility>
#include <vector>

/// What every mutable set does, whoever made it. A family is a type with
/// `static Ref<NSMutableSet> make(std::vector<id>)`, which gets each member once.
namespace kestova::testing {

template <class Family>
class MutableSetSuite : public ::testing::Test {
 protected:
  template <class... Values>
  static Ref<NSMutableSet> set(const Values&... values) {
    return Family::make({id(values)...});
  }

  static std::set<int> valuesOf(const Ref<NSSet>& set) {
    std::set<int> values;
    for (const id& member : set) {
      EXPECT_TRUE(values.insert(valueOf(member)).second) << "twice: " << member;
    }
    return values;
  }

  /// Changes the set and a standard one in the same random way.
  static void changeBoth(RandomRun& random, NSMutableSet& set, std::set<int>& model) {
    const int value = static_cast<int>(random.below(60));
    const int other = static_cast<int>(random.below(60));
    const auto both = NSSet::of(counted(value), counted(other));
    switch (random.below(12)) {
      case 0:
        set.unionSet(both);
        model.insert({value, other});
        break;
      case 1:
        set.minusSet(both);
        model.erase(value);
        model.erase(other);
        break;
      case 2:
        if (value < 3) {
          set.intersectSet(both);
          std::erase_if(model, [&](int each) { return each != value && each != other; });
        }
        break;
      case 3:
        set.addObjectsFromArray(NSArray::of(counted(value), counted(other)));
        model.insert({value, other});
        break;
      case 4:
      case 5:
      case 6:
        set.removeObject(counted(value));
        model.erase(value);
        break;
      default:
        set.addObject(counted(value));
        model.insert(value);
        break;
    }
  }
};

TYPED_TEST_SUITE_P(MutableSetSuite);

TYPED_TEST_P(MutableSetSuite, AddsAnObjectUnlessAnEqualOneIsThere) {
  const id first = counted(1);
  const auto set = this->set();
  set->addObject(first);
  set->addObject(counted(1));
  EXPECT_EQ(set->count(), 1U);
  EXPECT_EQ(set->anyObject(), first);
}

TYPED_TEST_P(MutableSetSuite, RemovesTheEqualMember) {
  const auto set = this->set(1, 2);
  set->removeObject(1.0);
  set->removeObject(3);
  EXPECT_TRUE(set->isEqual(NSSet::of(2)));
  set->removeAllObjects();
  EXPECT_EQ(set->count(), 0U);
}

TYPED_TEST_P(MutableSetSuite, RefusesNull) {
  const auto set = this->set(1);
  expectException(NSInvalidArgumentException, [&] { set->addObject(nullptr); });
  expectException(NSInvalidArgumentException, [&] { set->removeObject(nullptr); });
  EXPECT_TRUE(set->isEqual(NSSet::of(1)));
}

TYPED_TEST_P(MutableSetSuite, PutsSetsTogether) {
  const auto set = this->set(1, 2, 3);
  set->unionSet(NSSet::of(3, 4));
  EXPECT_TRUE(set->isEqual(NSSet::of(1, 2, 3, 4)));
  set->minusSet(NSSet::of(1, 9));
  EXPECT_TRUE(set->isEqual(NSSet::of(2, 3, 4)));
  set->intersectSet(NSSet::of(2, 3, 7));
  EXPECT_TRUE(set->isEqual(NSSet::of(2, 3)));
  set->setSet(NSSet::of(5));
  EXPECT_TRUE(set->isEqual(NSSet::of(5)));
}

TYPED_TEST_P(MutableSetSuite, TakesItselfAndNothingForTheOtherSet) {
  const auto set = this->set(1, 2);
  set->unionSet(set);
  set->intersectSet(set);
  set->setSet(set);
  set->unionSet(nullptr);
  set->minusSet(nullptr);
  set->addObjectsFromArray(nullptr);
  EXPECT_TRUE(set->isEqual(NSSet::of(1, 2)));
  set->minusSet(set);
  EXPECT_EQ(set->count(), 0U);
  set->addObject(1);
  set->intersectSet(nullptr);
  EXPECT_EQ(set->count(), 0U);
}

TYPED_TEST_P(MutableSetSuite, AnArgumentMayBelongToTheSet) {
  const auto set = this->set(counted(1), counted(2));
  for (const id& member : set) {
    set->removeObject(member);
    break;
  }
  EXPECT_EQ(set->count(), 1U);
}

TYPED_TEST_P(MutableSetSuite, ACopyDoesNotChangeWithIt) {
  const auto set = this->set(1);
  const auto copy = cast<NSSet>(set->copy());
  const auto same = NSSet::setWithSet(set);
  set->addObject(2);
  EXPECT_TRUE(copy->isEqual(NSSet::of(1)));
  EXPECT_TRUE(same->isEqual(NSSet::of(1)));
}

TYPED_TEST_P(MutableSetSuite, BehavesAsAStandardSetDoesAndLeaksNothing) {
  const int before = CountingObject::alive();
  RandomRun random;
  {
    const auto set = this->set();
    std::set<int> model;
    for (int step = 0; step < 2000; ++step) {
      this->changeBoth(random, *set, model);
      ASSERT_EQ(this->valuesOf(set), model) << "after step " << step;
    }
    EXPECT_EQ(CountingObject::alive() - before, static_cast<int>(set->count()));
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

REGISTER_TYPED_TEST_SUITE_P(MutableSetSuite, AddsAnObjectUnlessAnEqualOneIsThere,
                            RemovesTheEqualMember, RefusesNull, PutsSetsTogether,
                            TakesItselfAndNothingForTheOtherSet, AnArgumentMayBelongToTheSet,
                            ACopyDoesNotChangeWithIt, BehavesAsAStandardSetDoesAndLeaksNothing);

}  // namespace kestova::testing
