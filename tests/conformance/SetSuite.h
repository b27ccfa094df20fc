// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

#include <utility>
#include <vector>

/// What every set does, whoever made it. A family is a type with `static Ref<NSSet>
/// make(std::vector<id>)`, which gets each member once.
namespace kestova::testing {

template <class Family>
class SetSuite : public ::testing::Test {
 protected:
  template <class... Values>
  static Ref<NSSet> set(const Values&... values) {
    return Family::make({id(values)...});
  }
};

TYPED_TEST_SUITE_P(SetSuite);

TYPED_TEST_P(SetSuite, KnowsItsMembers) {
  const id one = counted(1);
  const auto set = this->set(one, counted(11));
  EXPECT_EQ(set->count(), 2U);
  EXPECT_EQ(set->member(counted(1)), one);
  EXPECT_TRUE(set->containsObject(counted(11)));
  EXPECT_FALSE(set->containsObject(counted(21)));
  EXPECT_FALSE(set->containsObject(nullptr));
  EXPECT_EQ(set->member(nullptr), nullptr);
}

TYPED_TEST_P(SetSuite, EveryWalkHasTheSameOrder) {
  const auto set = this->set(1, 2, 3);
  const auto members = set->allObjects();
  EXPECT_EQ(members->count(), 3U);
  EXPECT_TRUE(set->objectEnumerator()->allObjects()->isEqualToArray(members));
  EXPECT_TRUE(set->anyObject()->isEqual(members->firstObject()));
  NSUInteger index = 0;
  for (const id& member : set) {
    EXPECT_TRUE(member->isEqual(members->objectAtIndex(index++)));
  }
  EXPECT_EQ(index, 3U);
}

TYPED_TEST_P(SetSuite, AnEmptyOneHasNothing) {
  const auto empty = this->set();
  EXPECT_EQ(empty->count(), 0U);
  EXPECT_EQ(empty->anyObject(), nullptr);
  EXPECT_EQ(empty->allObjects()->count(), 0U);
  for (const id& member : empty) {
    ADD_FAILURE() << member;
  }
}

TYPED_TEST_P(SetSuite, ABlockIsLedThroughUntilItStops) {
  const auto set = this->set(1, 2, 3);
  int calls = 0;
  set->enumerateObjectsUsingBlock([&](const id& member, bool* stop) {
    EXPECT_TRUE(set->containsObject(member));
    *stop = ++calls == 2;
  });
  EXPECT_EQ(calls, 2);
}

TYPED_TEST_P(SetSuite, ComparesWithOtherSets) {
  const auto set = this->set(1, 2);
  EXPECT_TRUE(set->isSubsetOfSet(NSSet::of(1, 2, 3)));
  EXPECT_TRUE(set->isSubsetOfSet(set));
  EXPECT_FALSE(set->isSubsetOfSet(NSSet::of(1)));
  EXPECT_FALSE(set->isSubsetOfSet(NSSet::of(1, 3, 4)));
  EXPECT_FALSE(set->isSubsetOfSet(nullptr));
  EXPECT_TRUE(this->set()->isSubsetOfSet(nullptr));
  EXPECT_TRUE(set->intersectsSet(NSSet::of(2, 3)));
  EXPECT_FALSE(set->intersectsSet(NSSet::of(3)));
  EXPECT_FALSE(set->intersectsSet(nullptr));
}

TYPED_TEST_P(SetSuite, AddsToACopy) {
  const auto set = this->set(1);
  EXPECT_TRUE(set->setByAddingObject(2)->isEqualToSet(NSSet::of(1, 2)));
  EXPECT_TRUE(set->setByAddingObjectsFromSet(NSSet::of(1, 3))->isEqualToSet(NSSet::of(1, 3)));
  EXPECT_TRUE(set->setByAddingObjectsFromArray(NSArray::of(4))->isEqualToSet(NSSet::of(1, 4)));
  EXPECT_TRUE(set->setByAddingObjectsFromSet(nullptr)->isEqualToSet(set));
  EXPECT_EQ(set->count(), 1U);
  expectException(NSInvalidArgumentException, [&] { (void)set->setByAddingObject(nullptr); });
}

TYPED_TEST_P(SetSuite, MapsAndSetsPropertiesOfItsMembers) {
  const auto ada = NSMutableDictionary::of({{"name", "Ada"}});
  const auto bob = NSMutableDictionary::of({{"age", 3}});
  const auto set = this->set(ada, bob);
  EXPECT_TRUE(set->valueForKey("name")->isEqual(NSSet::of("Ada")));
  EXPECT_TRUE(set->valueForKey("@count")->isEqual(2));
  const auto arrays = this->set(NSMutableArray::of(1), NSMutableArray::of(2));
  arrays->makeObjectsPerformSelector(sel<&NSMutableArray::removeAllObjects>());
  for (const id& member : arrays) {
    EXPECT_EQ(cast<NSArray>(member)->count(), 0U);
  }
}

TYPED_TEST_P(SetSuite, EqualityIsThatOfTheMembers) {
  const auto set = this->set(1, "two");
  const auto same = NSSet::of("two", 1.0);
  EXPECT_TRUE(set->isEqual(same));
  EXPECT_TRUE(same->isEqual(set));
  EXPECT_EQ(set->hash(), same->hash());
  EXPECT_FALSE(set->isEqual(NSSet::of(1)));
  EXPECT_FALSE(set->isEqual(NSSet::of(1, "three")));
  EXPECT_FALSE(set->isEqual(NSArray::of(1, "two")));
  EXPECT_FALSE(set->isEqual(nullptr));
}

TYPED_TEST_P(SetSuite, CopiesShareTheMembers) {
  const id object = counted(1);
  const auto set = this->set(object);
  const auto copy = cast<NSSet>(set->copy());
  EXPECT_EQ(copy->anyObject(), object);
  EXPECT_EQ(cast<NSMutableSet>(copy), nullptr);
  EXPECT_EQ(copy->copy(), copy);
  const auto changing = cast<NSMutableSet>(set->mutableCopy());
  changing->removeAllObjects();
  EXPECT_EQ(set->count(), 1U);
}

TYPED_TEST_P(SetSuite, HoldsEachMemberOnceAndLetsGoOfIt) {
  const int before = CountingObject::alive();
  {
    const id object = counted(1);
    auto set = this->set(object, counted(2));
    EXPECT_EQ(object->retainCount(), 2U);
    (void)set->allObjects();
    (void)set->description();
    EXPECT_EQ(object->retainCount(), 2U);
    set = nullptr;
    EXPECT_EQ(object->retainCount(), 1U);
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TYPED_TEST_P(SetSuite, IsDescribedALineForEachMember) {
  EXPECT_EQ(this->set("a")->description(), "{(\n    a\n)}");
  EXPECT_EQ(this->set()->description(), "{(\n)}");
}

REGISTER_TYPED_TEST_SUITE_P(SetSuite, KnowsItsMembers, EveryWalkHasTheSameOrder,
                            AnEmptyOneHasNothing, ABlockIsLedThroughUntilItStops,
                            ComparesWithOtherSets, AddsToACopy, MapsAndSetsPropertiesOfItsMembers,
                            EqualityIsThatOfTheMembers, CopiesShareTheMembers,
                            HoldsEachMemberOnceAndLetsGoOfIt, IsDescribedALineForEachMember);

}  // namespace kestova::testing
