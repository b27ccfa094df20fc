// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"

namespace kestova {
namespace {

using testing::counted;
using testing::expectException;

TEST(NSSetTests, EveryMakerMakesTheSame) {
  EXPECT_TRUE(NSSet::setWithArray(NSArray::of(1, 2, 1))->isEqual(NSSet::of(2, 1)));
  EXPECT_TRUE(NSSet::setWithObject(1)->isEqual(NSSet::of(1)));
  EXPECT_TRUE(NSMutableSet::setWithSet(NSSet::of(1))->isEqual(NSMutableSet::of(1)));
  EXPECT_TRUE(NSMutableSet::setWithObject(1)->isEqual(NSSet::of(1)));
  EXPECT_EQ(NSSet::setWithArray(nullptr)->count(), 0U);
  EXPECT_EQ(NSSet::setWithSet(nullptr)->count(), 0U);
  EXPECT_EQ(NSSet::set()->count() + NSMutableSet::setWithCapacity(9)->count(), 0U);
}

TEST(NSSetTests, TheFirstOfEqualObjectsStays) {
  const id first = counted(1);
  EXPECT_EQ(NSSet::of(first, counted(1))->anyObject(), first);
}

TEST(NSSetTests, NoMakerTakesNull) {
  expectException(NSInvalidArgumentException, [] { (void)NSSet::setWithObject(nullptr); });
  expectException(NSInvalidArgumentException, [] { (void)NSSet::of(1, nullptr); });
  expectException(NSInvalidArgumentException, [] { (void)NSMutableSet::setWithObject(nullptr); });
}

TEST(NSSetTests, AnImmutableSetIsItsOwnCopy) {
  const auto set = NSSet::of(1);
  EXPECT_EQ(set->copy(), set);
  EXPECT_EQ(NSSet::setWithSet(set), set);
}

TEST(NSSetTests, WalkingCountsNothing) {
  for (const id& member : NSSet::of(counted(1), counted(2))) {
    EXPECT_EQ(member->retainCount(), 1U);
  }
}

TEST(NSSetTests, ThePlatformsOwnClassesGoByThePublicNames) {
  EXPECT_EQ(NSStringFromClass(NSSet::set()->classDescriptor()), "NSSet");
  EXPECT_NE(cast<NSMutableSet>(NSClassFromString("NSMutableSet")->make()), nullptr);
}

TEST(NSSetTests, SetsOfSetsCompareByTheirMembers) {
  const auto outer = NSSet::of(NSSet::of(1, 2), NSSet::of(3));
  EXPECT_TRUE(outer->containsObject(NSMutableSet::of(2, 1)));
  EXPECT_FALSE(outer->containsObject(NSSet::of(1)));
}

}  // namespace
}  // namespace kestova
