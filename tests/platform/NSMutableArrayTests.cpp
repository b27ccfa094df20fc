// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "PrimitiveCollections.h"

#include <utility>
#include <vector>

namespace kestova {
namespace {

using testing::counted;

/// Calls a block when it goes.
class Farewell final : public NSObject {
 public:
  explicit Farewell(Block<void()> block) : block_(std::move(block)) {}
  ~Farewell() override { block_(); }

 private:
  Block<void()> block_;
};

TEST(NSMutableArrayTests, IsMadeByName) {
  const auto made = cast<NSMutableArray>(NSClassFromString("NSMutableArray")->make());
  ASSERT_NE(made, nullptr);
  made->addObject(1);
  EXPECT_EQ(made->count(), 1U);
}

class DescribedArray : public testing::PrimitiveMutableArray {
  KESTOVA_CLASS(DescribedArray, NSMutableArray)
};
KESTOVA_DEFINE_CLASS(DescribedArray)

TEST(NSMutableArrayTests, AnInheritedInitDoesNotMakeASubclass) {
  const id made = DescribedArray::staticClass().make();
  EXPECT_TRUE(made == nullptr || cast<DescribedArray>(made));
}

TEST(NSMutableArrayTests, EveryMakerMakesItsOwnArray) {
  const auto original = NSMutableArray::arrayWithArray(NSArray::of(1));
  const auto copy = NSMutableArray::arrayWithArray(original);
  EXPECT_NE(copy, original);
  copy->addObject(2);
  EXPECT_EQ(original->count(), 1U);
  EXPECT_EQ(NSMutableArray::arrayWithCapacity(10)->count(), 0U);
  EXPECT_EQ(NSMutableArray::arrayWithArray(nullptr)->count(), 0U);
  EXPECT_EQ(NSMutableArray::arrayWithObject(1)->count(), 1U);
  EXPECT_EQ(NSMutableArray::arrayWithObjects_count(nullptr, 0)->count(), 0U);
}

class ArrayWithFarewells : public ::testing::Test {
 protected:
  /// An object that looks at the array when it goes, and finds no trace of itself.
  id farewell() {
    return make<Farewell>([this] {
      ++farewells_;
      countsSeen_.push_back(array_->count());
      for (const id& object : array_) {
        EXPECT_NE(object, nullptr);
      }
    });
  }

  Ref<NSMutableArray> array_ = NSMutableArray::array();
  int farewells_ = 0;
  std::vector<NSUInteger> countsSeen_;
};

TEST_F(ArrayWithFarewells, WhatIsRemovedGoesWhenTheArrayIsDone) {
  array_->addObject(farewell());
  array_->addObject(counted(1));
  array_->removeObjectAtIndex(0);
  EXPECT_EQ(countsSeen_, (std::vector<NSUInteger>{1}));
  array_->addObject(farewell());
  array_->replaceObjectAtIndex_withObject(1, counted(2));
  EXPECT_EQ(countsSeen_, (std::vector<NSUInteger>{1, 2}));
  array_->addObject(farewell());
  array_->removeObjectsInRange({1, 2});
  EXPECT_EQ(countsSeen_, (std::vector<NSUInteger>{1, 2, 1}));
  array_->addObject(farewell());
  array_->removeObjectIdenticalTo(array_->lastObject());
  array_->addObject(farewell());
  array_->removeAllObjects();
  EXPECT_EQ(countsSeen_, (std::vector<NSUInteger>{1, 2, 1, 1, 0}));
  EXPECT_EQ(farewells_, 5);
}

TEST(NSMutableArrayTests, ReplacingAnObjectByItselfKeepsIt) {
  const auto array = NSMutableArray::of(counted(1));
  for (const id& object : array) {
    array->replaceObjectAtIndex_withObject(0, object);
  }
  EXPECT_EQ(testing::valueOf(array->objectAtIndex(0)), 1);
}

TEST(NSMutableArrayTests, InsertingAnObjectOfItsOwnWhileItGrowsKeepsIt) {
  const auto array = NSMutableArray::of(counted(7));
  for (int round = 0; round < 100; ++round) {
    array->insertObject_atIndex(*begin(array), 0);  // a reference into the array's own storage
  }
  for (const id& object : array) {
    EXPECT_EQ(testing::valueOf(object), 7);
  }
}

}  // namespace
}  // namespace kestova
