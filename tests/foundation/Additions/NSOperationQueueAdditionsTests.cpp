// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSOperationQueueAdditions.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <string>

namespace kestova::testing {
namespace {

// Shows: defaultOperationQueue
TEST(NSOperationQueueAdditionsTests, TheDefaultQueueIsOneWithDefaultSettings) {
  const auto queue = defaultOperationQueue();
  EXPECT_EQ(defaultOperationQueue(), queue);
  EXPECT_EQ(queue->maxConcurrentOperationCount(),
            NSOperationQueueDefaultMaxConcurrentOperationCount);
  EXPECT_FALSE(queue->isSuspended());
  EXPECT_EQ(queue->name(), nullptr);
  EXPECT_NE(queue, NSOperationQueue::mainQueue());
}

// Shows: addOperationWithBlock_dependencies
TEST(NSOperationQueueAdditionsTests, ABlockWaitsForItsDependencies) {
  const auto queue = NSOperationQueue::init();
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  std::string log;
  const auto added = addOperationWithBlock_dependencies(
      queue, [&] { log += "ran"; }, NSArray::of(second, first));
  EXPECT_TRUE(added->dependencies()->isEqual(NSArray::of(second, first)));
  EXPECT_EQ(queue->operations()->firstObject(), added);
  first->start();
  EXPECT_FALSE(added->isReady());
  second->start();
  added->waitUntilFinished();
  EXPECT_EQ(log, "ran");
}

// Shows: addOperationWithBlock_dependencies
TEST(NSOperationQueueAdditionsTests, ABlockAddedWithAnEmptyCollectionHasNoDependencies) {
  const auto queue = NSOperationQueue::init();
  for (const Ref<NSArray>& none : {NSArray::array(), Ref<NSArray>()}) {
    int runs = 0;
    const auto added = addOperationWithBlock_dependencies(
        queue, [&] { ++runs; }, none);
    EXPECT_EQ(added->dependencies()->count(), 0U);
    added->waitUntilFinished();
    EXPECT_EQ(runs, 1);
  }
}

// Shows: addOperationWithBlock_dependencies
TEST(NSOperationQueueAdditionsTests, WhatIsNoBlockOrNoOperationIsRefused) {
  const auto queue = NSOperationQueue::init();
  expectException(NSInvalidArgumentException,
                  [&] { (void)addOperationWithBlock_dependencies(queue, nullptr, nullptr); });
  expectException(NSInvalidArgumentException, [&] {
    (void)addOperationWithBlock_dependencies(
        queue, [] {}, NSArray::of("no operation"));
  });
  EXPECT_EQ(queue->operationCount(), 0U);
}

// Shows: addOperationWithBlock_dependencies
TEST(NSOperationQueueAdditionsDeathTest, AMissingQueueEndsTheProcess) {
  EXPECT_DEATH((void)addOperationWithBlock_dependencies(
                   nullptr, [] {}, nullptr),
               "self != nil");
}

}  // namespace
}  // namespace kestova::testing
