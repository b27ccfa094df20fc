// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSEnumerator.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

/// A user's own: counts down from 3.
class Countdown : public NSEnumerator {
 public:
  id nextObject() override { return left_ == 0 ? nullptr : id(left_--); }

 private:
  int left_ = 3;
};

TEST(NSEnumeratorTests, RangeForWalksThroughWhatIsLeft) {
  const Ref<NSEnumerator> countdown = make<Countdown>();
  EXPECT_TRUE(countdown->nextObject()->isEqual(3));
  int expected = 2;
  for (const id& object : countdown) {
    EXPECT_TRUE(object->isEqual(expected--));
  }
  EXPECT_EQ(expected, 0);
}

TEST(NSEnumeratorTests, AllObjectsUsesThemUp) {
  const Ref<NSEnumerator> countdown = make<Countdown>();
  EXPECT_TRUE(countdown->nextObject()->isEqual(3));
  EXPECT_TRUE(countdown->allObjects()->isEqualToArray(NSArray::of(2, 1)));
  EXPECT_EQ(countdown->allObjects()->count(), 0U);
  EXPECT_EQ(countdown->nextObject(), nullptr);
}

TEST(NSEnumeratorTests, AWalkOverTheResultOfACallKeepsItAlive) {
  int sum = 0;
  for (const id& object : NSArray::of(1, 2, 3)->reverseObjectEnumerator()) {
    sum = sum * 10 + cast<NSNumber>(object)->intValue();
  }
  EXPECT_EQ(sum, 321);
}

TEST(NSEnumeratorTests, AnArrayThatShrinksEndsTheWalk) {
  const auto array = NSMutableArray::of(1, 2, 3);
  const auto forwards = array->objectEnumerator();
  const auto backwards = array->reverseObjectEnumerator();
  EXPECT_TRUE(forwards->nextObject()->isEqual(1));
  array->removeObjectsInRange({1, 2});
  EXPECT_EQ(forwards->nextObject(), nullptr);
  EXPECT_TRUE(backwards->nextObject()->isEqual(1));
  EXPECT_EQ(backwards->nextObject(), nullptr);
}

}  // namespace
}  // namespace kestova
