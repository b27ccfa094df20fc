// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSOperationAdditions.h>
#include <KestovaPlatform/AssociatedObjects.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include <limits>

namespace kestova::testing {
namespace {

// Shows: cost
TEST(NSOperationAdditionsTests, AFreshOperationCostsNothing) {
  EXPECT_EQ(cost(NSOperation::init()), 0);
}

// Shows: setCost, cost
TEST(NSOperationAdditionsTests, TheCostIsWhatWasSetLast) {
  const auto operation = NSOperation::init();
  using Limits = std::numeric_limits<NSInteger>;
  for (const NSInteger value : {NSInteger{-5}, NSInteger{0}, Limits::max(), Limits::min()}) {
    setCost(operation, value);
    EXPECT_EQ(cost(operation), value);
  }
}

// Shows: setCost, cost
TEST(NSOperationAdditionsTests, EachOperationHasACostOfItsOwn) {
  const auto first = NSOperation::init();
  const auto second = NSBlockOperation::init();
  setCost(first, 1);
  setCost(second, 2);
  EXPECT_EQ(cost(first), 1);
  EXPECT_EQ(cost(second), 2);
}

// Shows: setCost, NSOperationCostAssociationKey
TEST(NSOperationAdditionsTests, TheCostIsANumberUnderItsKey) {
  const auto operation = NSOperation::init();
  setCost(operation, -5);
  EXPECT_TRUE(associatedObject(operation, &NSOperationCostAssociationKey)->isEqual(-5));
}

}  // namespace
}  // namespace kestova::testing
