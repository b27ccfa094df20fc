// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <gtest/gtest.h>

#include "OperationQueues.h"
#include "Stress.h"

#include <array>
#include <cstddef>
#include <latch>
#include <string>
#include <utility>

namespace kestova::testing {
namespace {

TEST(OperationQueueOrderTests, OneAtATimeRunsInTheOrderOfAdding) {
  const auto queue = queueOf(1);
  std::string log;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    queue->addOperationWithBlock([&log, letter] { log += letter; });
  }
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "abcdefghijklmnopqrstuvwxyz");
}

TEST(OperationQueueOrderTests, WhatSeveralThreadsAddKeepsTheOrderOfEach) {
  constexpr int kThreads = 8;
  constexpr int kEach = 2000;
  const auto queue = queueOf(1);
  std::array<int, kThreads> next{};
  bool isOrdered = true;
  {
    Threads threads;
    threads.start(kThreads, [&](int number) {
      for (int i = 0; i < kEach; ++i) {
        queue->addOperationWithBlock([&, number, i] {
          isOrdered &= std::exchange(next.at(static_cast<std::size_t>(number)), i + 1) == i;
        });
        if (i % 64 == 0) {
          EXPECT_LE(queue->operationCount(), static_cast<NSUInteger>(kThreads * kEach));
        }
      }
    });
  }
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(isOrdered);
  for (const int count : next) {
    EXPECT_EQ(count, kEach);
  }
}

TEST(OperationQueueOrderTests, HigherPrioritiesStartFirst) {
  const auto queue = queueOf(1);
  queue->setSuspended(true);
  std::string log;
  const auto add = [&](char letter, NSInteger priority) {
    const auto added = operation([&log, letter] { log += letter; });
    added->setQueuePriority(priority);
    queue->addOperation(added);
    return added;
  };
  (void)add('1', NSOperationQueuePriorityVeryLow);
  (void)add('2', NSOperationQueuePriorityLow);
  (void)add('3', NSOperationQueuePriorityNormal);
  (void)add('4', NSOperationQueuePriorityHigh);
  (void)add('5', NSOperationQueuePriorityVeryHigh);
  (void)add('6', NSOperationQueuePriorityVeryHigh);
  add('7', NSOperationQueuePriorityVeryLow)->setQueuePriority(NSOperationQueuePriorityHigh);
  queue->setSuspended(false);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "5647321");
}

/// A queue that runs one operation at a time, busy until `open`, and what it ran then.
class BusyQueue {
 public:
  BusyQueue() {
    queue->addOperationWithBlock([this] {
      isBusy_.count_down();
      opened_.wait();
    });
    isBusy_.wait();
  }

  Ref<NSBlockOperation> add(char letter, NSInteger priority = NSOperationQueuePriorityNormal) {
    auto added = operation([this, letter] { log_ += letter; });
    added->setQueuePriority(priority);
    queue->addOperation(added);
    return added;
  }

  const std::string& open() {
    opened_.count_down();
    queue->waitUntilAllOperationsAreFinished();
    return log_;
  }

  const Ref<NSOperationQueue> queue = queueOf(1);

 private:
  std::latch isBusy_{1};
  std::latch opened_{1};
  std::string log_;
};

TEST(OperationQueueOrderTests, HigherPrioritiesStartFirstHoweverLateTheyCome) {
  BusyQueue busy;
  (void)busy.add('1');
  (void)busy.add('2', NSOperationQueuePriorityLow);
  EXPECT_EQ(busy.queue->operationCount(), 3U);  // those after this one come to what is there
  (void)busy.add('3', NSOperationQueuePriorityVeryHigh);
  (void)busy.add('4');
  (void)busy.add('5', NSOperationQueuePriorityVeryLow);
  (void)busy.add('6', NSOperationQueuePriorityHigh);
  busy.add('7')->setQueuePriority(NSOperationQueuePriorityHigh);
  busy.add('8', NSOperationQueuePriorityHigh)->setQueuePriority(NSOperationQueuePriorityLow);
  EXPECT_EQ(busy.open(), "36714285");
}

TEST(OperationQueueOrderTests, ANormalOneComesBeforeThoseOfLowPriorityThatWaitAlready) {
  BusyQueue busy;
  (void)busy.add('1', NSOperationQueuePriorityLow);
  (void)busy.add('2', NSOperationQueuePriorityVeryLow);
  EXPECT_EQ(busy.queue->operationCount(), 3U);
  (void)busy.add('3');
  EXPECT_EQ(busy.open(), "312");
}

TEST(OperationQueueOrderTests, OneThatRunsAddsWhatComesNextByItsPriority) {
  const auto queue = queueOf(1);
  std::string log;
  const auto add = [&](char letter, NSInteger priority) {
    const auto added = operation([&log, letter] { log += letter; });
    added->setQueuePriority(priority);
    queue->addOperation(added);
  };
  const auto first = operation([&] {
    add('3', NSOperationQueuePriorityNormal);
    add('2', NSOperationQueuePriorityHigh);
    add('4', NSOperationQueuePriorityLow);
    log += '1';
  });
  queue->addOperations_waitUntilFinished(NSArray::of(first), true);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "1234");
}

TEST(OperationQueueOrderTests, WhatIsStartedByHandLeavesItsQueueAtOnce) {
  BusyQueue busy;
  const auto first = busy.add('1');
  (void)busy.add('2');
  first->start();
  EXPECT_EQ(busy.queue->operationCount(), 2U);
  EXPECT_EQ(busy.open(), "12");
}

}  // namespace
}  // namespace kestova::testing
