// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSSetAdditions.h>
#include <gtest/gtest.h>

namespace kestova {
namespace {

class NSSetAdditionsTests : public ::testing::Test {
 protected:
  /// Whether a result is that set, immutable, and the set that was asked is as it was.
  ::testing::AssertionResult is(const Ref<NSSet>& result, const Ref<NSSet>& expected) {
    if (cast<NSMutableSet>(result) || !set_->isEqual(NSSet::of("a", "b", "c"))) {
      return ::testing::AssertionFailure() << "changes or was changed";
    }
    return result->isEqual(expected) ? ::testing::AssertionSuccess()
                                     : ::testing::AssertionFailure() << result;
  }

  const Ref<NSMutableSet> set_ = NSMutableSet::of("a", "b", "c");
};

// Shows: setIntersectingSet
TEST_F(NSSetAdditionsTests, AnIntersectionHasWhatBothHave) {
  EXPECT_TRUE(is(setIntersectingSet(set_, NSSet::of("b", "c", "d")), NSSet::of("b", "c")));
  EXPECT_TRUE(is(setIntersectingSet(set_, NSSet::set()), NSSet::set()));
  EXPECT_TRUE(is(setIntersectingSet(set_, nullptr), NSSet::set()));
}

// Shows: setByRemovingObject
TEST_F(NSSetAdditionsTests, ACopyLacksTheObjectThatIsRemoved) {
  EXPECT_TRUE(is(setByRemovingObject(set_, "a"), NSSet::of("b", "c")));
  EXPECT_TRUE(is(setByRemovingObject(set_, "z"), set_));
  EXPECT_TRUE(is(setByRemovingObject(set_, nullptr), set_));
}

// Shows: setByRemovingObjectsFromSet, setByRemovingObjectsFromArray
TEST_F(NSSetAdditionsTests, ACopyLacksWhatTheOtherCollectionHas) {
  EXPECT_TRUE(is(setByRemovingObjectsFromSet(set_, NSSet::of("a", "z")), NSSet::of("b", "c")));
  EXPECT_TRUE(is(setByRemovingObjectsFromSet(set_, NSSet::set()), set_));
  EXPECT_TRUE(is(setByRemovingObjectsFromSet(set_, nullptr), set_));
  EXPECT_TRUE(is(setByRemovingObjectsFromArray(set_, NSArray::of("a", "a", "c")), NSSet::of("b")));
  EXPECT_TRUE(is(setByRemovingObjectsFromArray(set_, NSArray::array()), set_));
  EXPECT_TRUE(is(setByRemovingObjectsFromArray(set_, nullptr), set_));
}

}  // namespace
}  // namespace kestova
