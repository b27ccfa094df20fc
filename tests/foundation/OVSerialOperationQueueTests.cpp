// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSOperationQueueAdditions.h>
#include <KestovaFoundation/OVSerialOperationQueue.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "Stress.h"

#include <algorithm>
#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

Ref<NSBlockOperation> operation(Block<void()> block = [] {}) {
  return NSBlockOperation::blockOperationWithBlock(std::move(block));
}

/// Does something when a queue that takes it asks about it, before it is in there.
class OperationThatIsAsked final : public NSOperation {
 public:
  OperationThatIsAsked(Block<void()> asked, Block<void()> work)
      : asked_(std::move(asked)), work_(std::move(work)) {}

  bool isReady() const override {
    if (const auto asked = std::exchange(asked_, nullptr)) {
      asked();
    }
    return NSOperation::isReady();
  }
  void main() override { work_(); }

 private:
  mutable Block<void()> asked_;
  const Block<void()> work_;
};

class OVSerialOperationQueueTests : public ::testing::Test {
 protected:
  /// Runs what has been added while the queue was suspended.
  std::string run() {
    queue->setSuspended(false);
    queue->waitUntilAllOperationsAreFinished();
    return log;
  }

  Ref<NSBlockOperation> add(char letter, NSInteger priority = NSOperationQueuePriorityNormal) {
    const auto added = operation([this, letter] { log += letter; });
    added->setQueuePriority(priority);
    queue->addOperation(added);
    return added;
  }

  Ref<OVSerialOperationQueue> queue = OVSerialOperationQueue::init();
  std::string log;
};

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, RunsInTheOrderOfAddingWhateverThePriorities) {
  queue->setSuspended(true);
  (void)add('a', NSOperationQueuePriorityVeryLow);
  (void)add('b', NSOperationQueuePriorityVeryHigh);
  (void)add('c', NSOperationQueuePriorityNormal);
  EXPECT_EQ(run(), "abc");
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, RunsInTheOrderOfAddingWhateverBecomesReadyFirst) {
  const auto other = NSOperation::init();
  const auto first = operation([&] { log += '1'; });
  first->addDependency(other);
  queue->addOperation(first);
  const auto second = add('2');
  EXPECT_FALSE(second->isReady());
  other->start();
  EXPECT_EQ(run(), "12");
}

// Shows: setMaxConcurrentOperationCount, init
TEST_F(OVSerialOperationQueueTests, CannotBeMadeConcurrent) {
  EXPECT_EQ(queue->maxConcurrentOperationCount(), 1);
  for (const NSInteger count : {4, 0, -1, -100}) {
    queue->setMaxConcurrentOperationCount(count);
    EXPECT_EQ(queue->maxConcurrentOperationCount(), 1);
  }
  queue->setValue_forKey(4, "maxConcurrentOperationCount");
  EXPECT_EQ(queue->maxConcurrentOperationCount(), 1);
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, EachOperationDependsOnTheOneBefore) {
  queue->setSuspended(true);
  const auto a = add('a');
  const auto b = add('b');
  const auto c = add('c');
  EXPECT_EQ(a->dependencies()->count(), 0U);
  EXPECT_TRUE(b->dependencies()->isEqual(NSArray::of(a)));
  EXPECT_TRUE(c->dependencies()->isEqual(NSArray::of(b)));
  (void)run();
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, AFinishedOperationHasNoDependenciesAndNoCompletionBlock) {
  queue->setSuspended(true);
  const auto other = NSOperation::init();
  other->start();
  const auto a = add('a');
  const auto b = operation();
  b->addDependency(other);
  std::latch called{1};
  bool wereRemoved = false;
  b->setCompletionBlock([&] {
    wereRemoved = b->dependencies()->count() == 0 && !b->completionBlock();
    called.count_down();
  });
  queue->addOperation(b);
  EXPECT_EQ(b->dependencies()->count(), 2U);
  (void)run();
  called.wait();
  EXPECT_TRUE(wereRemoved);
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, ItsOwnCompletionBlockIsCalledOnceAfterTheQueuesPart) {
  std::atomic<int> calls{0};
  std::latch called{1};
  const auto a = operation();
  a->setCompletionBlock([&] {
    ++calls;
    // The queue is empty and has let go: what is added now waits for nobody.
    const auto next = operation();
    queue->addOperation(next);
    EXPECT_EQ(next->dependencies()->count(), 0U);
    called.count_down();
  });
  queue->addOperation(a);
  called.wait();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(calls.load(), 1);
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, ItsLastOperationIsLetGoOfWhenItIsEmpty) {
  const int before = CountingObject::alive();
  std::latch called{1};
  auto last = operation([held = counted(1)] {});
  last->setCompletionBlock([&] { called.count_down(); });
  queue->addOperation(last);
  last = nullptr;
  called.wait();
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, AnOperationThatIsBeingAddedAsItEmptiesStaysInTheRow) {
  std::latch mayEnd{1};
  std::latch ended{1};
  const auto first = operation([&] { mayEnd.wait(); });
  first->setCompletionBlock([&] { ended.count_down(); });
  queue->addOperation(first);
  const auto second = make<OperationThatIsAsked>(
      [&] {
        mayEnd.count_down();
        ended.wait();
        queue->setSuspended(true);
      },
      [&] { log += '2'; });
  queue->addOperation(second);
  const auto third = add('3', NSOperationQueuePriorityVeryHigh);
  EXPECT_TRUE(third->dependencies()->isEqual(NSArray::of(second)));
  EXPECT_EQ(run(), "23");
}

// Shows: OVSerialOperationQueue
TEST_F(OVSerialOperationQueueTests, OtherWaysOfAddingDoNotChain) {
  queue->setSuspended(true);
  const auto a = add('a');
  const auto b = operation([&] { log += 'b'; });
  b->setQueuePriority(NSOperationQueuePriorityHigh);
  queue->addOperations_waitUntilFinished(NSArray::of(b), false);
  queue->addOperationWithBlock([&] { log += 'c'; });
  EXPECT_EQ(b->dependencies()->count(), 0U);
  EXPECT_FALSE(b->completionBlock());
  EXPECT_EQ(run(), "bac");
}

// Shows: addOperation, addOperationWithBlock_dependencies
TEST_F(OVSerialOperationQueueTests, OneAddedWithDependenciesIsChainedAsWell) {
  queue->setSuspended(true);
  const auto a = add('a');
  const auto other = NSOperation::init();
  const auto b = addOperationWithBlock_dependencies(
      queue, [&] { log += 'b'; }, NSArray::of(other));
  EXPECT_TRUE(b->dependencies()->isEqual(NSArray::of(other, a)));
  other->start();
  EXPECT_EQ(run(), "ab");
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, ACancelledOneDoesNotBreakTheRow) {
  queue->setSuspended(true);
  (void)add('a');
  add('b')->cancel();
  (void)add('c');
  EXPECT_EQ(run(), "ac");
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, WhatIsRefusedChangesNothing) {
  queue->setSuspended(true);
  const auto other = NSOperationQueue::init();
  other->setSuspended(true);
  const auto taken = operation();
  other->addOperation(taken);
  const auto a = add('a');
  for (const Ref<NSOperation>& refused : {Ref<NSOperation>(), Ref<NSOperation>(taken)}) {
    expectException(NSInvalidArgumentException, [&] { queue->addOperation(refused); });
  }
  expectException(NSInvalidArgumentException, [&] { queue->addOperation(a); });
  EXPECT_EQ(a->dependencies()->count(), 0U);
  EXPECT_EQ(taken->dependencies()->count(), 0U);
  EXPECT_FALSE(taken->completionBlock());
  const auto b = add('b');
  EXPECT_TRUE(b->dependencies()->isEqual(NSArray::of(a)));
  EXPECT_EQ(run(), "ab");
  other->cancelAllOperations();
}

// Shows: addOperation
TEST_F(OVSerialOperationQueueTests, WhatIsRefusedKeepsADependencyThatItHad) {
  queue->setSuspended(true);
  const auto other = NSOperationQueue::init();
  other->setSuspended(true);
  const auto a = add('a');
  const auto taken = operation();
  taken->addDependency(a);
  other->addOperation(taken);
  expectException(NSInvalidArgumentException, [&] { queue->addOperation(taken); });
  EXPECT_TRUE(taken->dependencies()->isEqual(NSArray::of(a)));
  EXPECT_EQ(run(), "a");
  other->cancelAllOperations();
}

// Shows: OVSerialOperationQueue
TEST_F(OVSerialOperationQueueTests, ALongRowRunsAndIsLetGoOf) {
  const int before = CountingObject::alive();
  queue->setSuspended(true);
  std::atomic<int> runs{0};
  for (int i = 0; i < 100'000; ++i) {
    queue->addOperation(operation([&, held = counted(i)] { ++runs; }));
  }
  (void)run();
  EXPECT_EQ(runs.load(), 100'000);
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

// Shows: OVSerialOperationQueue, addOperation
TEST_F(OVSerialOperationQueueTests, KeepsTheOrderOfEachOfSeveralThreads) {
  std::vector<std::vector<int>> order(4);
  Threads threads;
  threads.start(4, [&](int number) {
    for (int i = 0; i < 1000; ++i) {
      queue->addOperation(
          operation([&, number, i] { order[static_cast<std::size_t>(number)].push_back(i); }));
    }
  });
  threads.join();
  queue->waitUntilAllOperationsAreFinished();
  for (const auto& one : order) {
    ASSERT_EQ(one.size(), 1000U);
    EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
  }
}

// Shows: OVSerialOperationQueue
TEST_F(OVSerialOperationQueueTests, AQueueThatGoesHasItsOperationsRunInTheirOrder) {
  const int before = CountingObject::alive();
  std::latch mayRun{1};
  std::latch done{1};
  queue->addOperation(operation([&] { mayRun.wait(); }));
  for (char letter = 'a'; letter <= 'e'; ++letter) {
    queue->addOperation(operation([this, letter, held = counted(1)] { log += letter; }));
  }
  queue->addOperation(operation([&] { done.count_down(); }));
  queue = nullptr;
  mayRun.count_down();
  done.wait();
  EXPECT_EQ(log, "abcde");
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

// Shows: OVSerialOperationQueue
TEST_F(OVSerialOperationQueueTests, ASuspendedQueueThatGoesLeavesNothingBehind) {
  const int before = CountingObject::alive();
  queue->setSuspended(true);
  for (int i = 0; i < 10; ++i) {
    queue->addOperation(operation([this, held = counted(1)] { log += '!'; }));
  }
  const auto last = add('!');
  queue = nullptr;
  last->waitUntilFinished();
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
  EXPECT_EQ(log, "");
}

// Shows: OVSerialOperationQueue
TEST_F(OVSerialOperationQueueTests, AQueueMayGoFromWithinItsOperation) {
  std::latch done{2};
  queue->setSuspended(true);
  queue->addOperation(operation([&] {
    queue = nullptr;
    done.count_down();
  }));
  queue->addOperation(operation([&] { done.count_down(); }));
  OVSerialOperationQueue* unowned = queue.get();
  unowned->setSuspended(false);
  done.wait();
}

// Shows: OVSerialOperationQueue
TEST_F(OVSerialOperationQueueTests, QueuesComeAndGoWhileThreadsUseThem) {
  const int before = CountingObject::alive();
  {
    const StressTime time;
    Threads threads;
    threads.start(8, [&](int number) {
      while (!time.isOver()) {
        const auto own = OVSerialOperationQueue::init();
        for (int i = 0; i < 20; ++i) {
          const auto added = operation([held = counted(i)] {});
          if (i % 3 == 0) {
            added->setCompletionBlock([held = counted(i)] {});
          }
          own->addOperation(added);
          if (i % 5 == 0) {
            added->cancel();
          }
        }
        own->setSuspended(number % 2 == 0);
      }
    });
  }
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

}  // namespace
}  // namespace kestova::testing
