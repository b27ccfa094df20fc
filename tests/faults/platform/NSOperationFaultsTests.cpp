// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSOperation.h>
#include <gtest/gtest.h>

#include "AllocationFaults.h"

using namespace kestova;
using namespace kestova::testing;

TEST(NSOperationFaults, ADependencyThatThereIsNoMemoryForIsNotWaitedFor) {
  Ref<NSOperation> operation;
  Ref<NSOperation> dependency;
  const int refused = walkAllocations(
      [&] {
        operation = dependency = nullptr;
        auto made = NSOperation::init();
        dependency = NSOperation::init();
        operation = std::move(made);
        operation->addDependency(dependency);
      },
      [&](bool threw) {
        if (operation != nullptr) {
          EXPECT_EQ(operation->dependencies()->count(), threw ? 0U : 1U);
          EXPECT_EQ(operation->isReady(), threw);
          dependency->start();
          operation->start();
          EXPECT_TRUE(operation->isFinished());
        }
      });
  EXPECT_GE(refused, 4);
}

TEST(NSOperationFaults, ARowOfOperationsGoesWithoutMemory) {
  Ref<NSOperation> last = NSOperation::init();
  for (int number = 0; number < 300; ++number) {
    const auto next = NSOperation::init();
    next->addDependency(last);
    last = next;
  }
  const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
  last = nullptr;
  EXPECT_TRUE(none.wasMet());
}
