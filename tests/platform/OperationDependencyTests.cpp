// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <gtest/gtest.h>

#include "OperationQueues.h"
#include "RandomRun.h"
#include "Stress.h"

#include <atomic>
#include <cstddef>
#include <latch>
#include <string>
#include <vector>

namespace kestova::testing {
namespace {

TEST(OperationDependencyTests, DependenciesComeBeforePriorities) {
  const auto queue = queueOf(1);
  std::string log;
  const auto first = operation([&] { log += '1'; });
  const auto second = operation([&] { log += '2'; });
  first->setQueuePriority(NSOperationQueuePriorityVeryLow);
  second->setQueuePriority(NSOperationQueuePriorityVeryHigh);
  second->addDependency(first);
  queue->addOperations_waitUntilFinished(NSArray::of(second, first), true);
  EXPECT_EQ(log, "12");
}

TEST(OperationDependencyTests, ADependencyThatIsAddedLateIsWaitedFor) {
  const auto queue = queueOf(1);
  queue->setSuspended(true);
  const auto other = NSOperation::init();
  std::string log;
  const auto first = operation([&] { log += '1'; });
  const auto second = operation([&] { log += '2'; });
  queue->addOperation(first);
  queue->addOperation(second);
  first->addDependency(other);
  queue->setSuspended(false);
  second->waitUntilFinished();
  EXPECT_EQ(log, "2");
  EXPECT_TRUE(queue->operations()->isEqual(NSArray::of(first)));
  other->start();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "21");
}

TEST(OperationDependencyTests, WhatIsGivenDependenciesAsItStartsRunsOnce) {
  const StressTime time;
  std::vector<Ref<NSOperation>> finished(100);
  for (auto& one : finished) {
    one = NSOperation::init();
    one->start();
  }
  while (!time.isOver()) {
    const auto queue = queueOf(1);
    const auto last = NSOperation::init();
    std::latch mayEnd{1};
    std::atomic<int> runs{0};
    const auto first = operation([&] { mayEnd.wait(); });
    const auto late = operation([&] { ++runs; });
    const auto later = operation([&] { ++runs; });
    queue->addOperation(first);
    queue->addOperation(late);
    queue->addOperation(later);
    mayEnd.count_down();
    for (const auto& one : finished) {
      late->addDependency(one);
    }
    later->addDependency(last);
    first->waitUntilFinished();
    last->start();
    queue->waitUntilAllOperationsAreFinished();
    ASSERT_EQ(runs.load(), 2);
  }
}

TEST(OperationDependencyTests, DependenciesReachAcrossQueues) {
  const auto one = NSOperationQueue::init();
  const auto other = NSOperationQueue::init();
  one->setSuspended(true);
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  second->addDependency(first);
  other->addOperation(second);
  one->addOperation(first);
  EXPECT_FALSE(second->isReady());
  one->setSuspended(false);
  second->waitUntilFinished();
  EXPECT_TRUE(first->isFinished());
}

TEST(OperationDependencyTests, ADependencyThatIsRemovedLetsAnOperationGo) {
  const auto queue = NSOperationQueue::init();
  const auto never = NSOperation::init();
  const auto waiting = NSOperation::init();
  waiting->addDependency(never);
  queue->addOperation(waiting);
  EXPECT_EQ(queue->operationCount(), 1U);
  waiting->removeDependency(never);
  waiting->waitUntilFinished();
}

TEST(OperationDependencyTests, ACancelledOneFinishesWithoutWaitingForItsDependencies) {
  const auto queue = NSOperationQueue::init();
  const auto never = NSOperation::init();
  bool ran = false;
  const auto waiting = operation([&] { ran = true; });
  waiting->addDependency(never);
  queue->addOperation(waiting);
  queue->cancelAllOperations();
  waiting->waitUntilFinished();
  EXPECT_TRUE(waiting->isCancelled());
  EXPECT_FALSE(ran);
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST(OperationDependencyTests, RandomDependenciesAreAlwaysKept) {
  RandomRun random;
  constexpr std::size_t kCount = 2000;
  std::vector<std::atomic<bool>> finished(kCount);
  std::atomic<int> broken{0};
  const auto queue = NSOperationQueue::init();
  const auto other = queueOf(2);
  std::vector<Ref<NSOperation>> operations;
  for (std::size_t i = 0; i < kCount; ++i) {
    std::vector<std::size_t> needed;
    for (auto count = random.below(4); count > 0 && i > 0; --count) {
      needed.push_back(random.below(i));
    }
    operations.push_back(operation([&, i, needed] {
      for (const std::size_t one : needed) {
        broken += finished[one] ? 0 : 1;
      }
      finished[i] = true;
    }));
    for (const std::size_t one : needed) {
      operations[i]->addDependency(operations[one]);
    }
  }
  for (std::size_t i = kCount; i > 0; --i) {
    (random.below(2) == 0 ? queue : other)->addOperation(operations[i - 1]);
  }
  queue->waitUntilAllOperationsAreFinished();
  other->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(broken.load(), 0);
  for (const auto& one : finished) {
    EXPECT_TRUE(one.load());
  }
}

}  // namespace
}  // namespace kestova::testing
