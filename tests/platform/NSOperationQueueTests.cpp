// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "OperationQueues.h"
#include "Stress.h"

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>

namespace kestova::testing {
namespace {

/// Counts what executes at once.
class Crowd {
 public:
  void enter() {
    const int now = ++inside_;
    int most = most_.load();
    while (now > most && !most_.compare_exchange_weak(most, now)) {
    }
  }
  void leave() { --inside_; }
  int most() const { return most_.load(); }

 private:
  std::atomic<int> inside_{0};
  std::atomic<int> most_{0};
};

TEST(NSOperationQueueTests, RunsWhatIsAddedAndLetsGoOfIt) {
  std::atomic<int> runs{0};
  const auto queue = NSOperationQueue::init();
  const auto added = operation([&] { ++runs; });
  queue->addOperation(added);
  queue->addOperationWithBlock([&] { ++runs; });
  queue->addOperations_waitUntilFinished(NSArray::of(operation([&] { ++runs; })), false);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(runs.load(), 3);
  EXPECT_EQ(queue->operationCount(), 0U);
  EXPECT_EQ(queue->operations()->count(), 0U);
  added->waitUntilFinished();
}

TEST(NSOperationQueueTests, ListsWhatHasNotFinishedInTheOrderOfAdding) {
  const auto queue = NSOperationQueue::init();
  queue->setSuspended(true);
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  const auto third = NSOperation::init();
  first->addDependency(third);
  queue->addOperations_waitUntilFinished(NSArray::of(first, second, third), false);
  EXPECT_TRUE(queue->operations()->isEqual(NSArray::of(first, second, third)));
  EXPECT_EQ(queue->operationCount(), 3U);
  queue->setSuspended(false);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(queue->operations()->count(), 0U);
}

TEST(NSOperationQueueTests, AnOperationHasLeftWhenItsCompletionBlockIsCalled) {
  const auto queue = NSOperationQueue::init();
  std::latch called{1};
  NSUInteger count = 99;
  const auto added = NSOperation::init();
  added->setCompletionBlock([&] {
    count = queue->operationCount();
    called.count_down();
  });
  queue->addOperation(added);
  called.wait();
  EXPECT_EQ(count, 0U);
}

TEST(NSOperationQueueTests, ACompletionBlockMayWaitForALaterOperation) {
  const auto queue = queueOf(1);
  const auto second = NSOperation::init();
  std::latch called{1};
  const auto first = operation([&] { queue->addOperation(second); });
  first->setCompletionBlock([&] {
    second->waitUntilFinished();
    queue->waitUntilAllOperationsAreFinished();
    called.count_down();
  });
  queue->addOperation(first);
  called.wait();
}

TEST(NSOperationQueueTests, TakesNothingTwice) {
  const auto queue = NSOperationQueue::init();
  const auto added = NSOperation::init();
  queue->addOperations_waitUntilFinished(NSArray::of(added), true);
  const auto suspended = NSOperationQueue::init();
  suspended->setSuspended(true);
  const auto waiting = NSOperation::init();
  suspended->addOperation(waiting);
  for (const Ref<NSOperation>& refused : {Ref<NSOperation>(), added, waiting}) {
    expectException(NSInvalidArgumentException, [&] { queue->addOperation(refused); });
  }
  expectException(NSInvalidArgumentException, [&] { queue->addOperationWithBlock(nullptr); });
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST(NSOperationQueueTests, WhatIsAddedRunsWhileAllOthersExecute) {
  const auto queue = NSOperationQueue::init();
  for (int row = 0; row < 200; ++row) {
    std::latch all{6};
    for (int i = 0; i < 6; ++i) {
      queue->addOperationWithBlock([&] { all.arrive_and_wait(); });
      if ((row + i) % 3 == 0) {
        std::this_thread::yield();
      }
    }
    queue->waitUntilAllOperationsAreFinished();
  }
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST(NSOperationQueueTests, NoMoreExecuteAtOnceThanItsMaximum) {
  for (const int maximum : {1, 2, 5}) {
    const auto queue = queueOf(maximum);
    Crowd crowd;
    for (int i = 0; i < 500; ++i) {
      queue->addOperationWithBlock([&] {
        crowd.enter();
        std::this_thread::yield();
        crowd.leave();
      });
    }
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_LE(crowd.most(), maximum);
    EXPECT_EQ(queue->maxConcurrentOperationCount(), maximum);
  }
}

TEST(NSOperationQueueTests, AsManyAsItsMaximumExecuteAtOnce) {
  const auto queue = queueOf(4);
  std::latch allRun{4};
  for (int i = 0; i < 4; ++i) {
    queue->addOperationWithBlock([&] { allRun.arrive_and_wait(); });
  }
  queue->waitUntilAllOperationsAreFinished();
}

TEST(NSOperationQueueTests, ByDefaultOperationsThatWaitForEachOtherDoNotStarve) {
  const auto queue = NSOperationQueue::init();
  EXPECT_EQ(queue->maxConcurrentOperationCount(),
            NSOperationQueueDefaultMaxConcurrentOperationCount);
  std::latch allRun{8};
  for (int i = 0; i < 8; ++i) {
    queue->addOperationWithBlock([&] { allRun.arrive_and_wait(); });
  }
  queue->waitUntilAllOperationsAreFinished();
}

TEST(NSOperationQueueTests, AMaximumOfZeroStartsNothing) {
  const auto queue = queueOf(0);
  const auto added = NSOperation::init();
  queue->addOperation(added);
  EXPECT_EQ(queue->operationCount(), 1U);
  queue->setMaxConcurrentOperationCount(2);
  added->waitUntilFinished();
  expectException(NSInvalidArgumentException, [&] { queue->setMaxConcurrentOperationCount(-2); });
  EXPECT_EQ(queue->maxConcurrentOperationCount(), 2);
}

TEST(NSOperationQueueTests, ASuspendedQueueStartsNothing) {
  const auto queue = NSOperationQueue::init();
  std::latch started{1};
  std::latch mayEnd{1};
  queue->addOperationWithBlock([&] {
    started.count_down();
    mayEnd.wait();
  });
  started.wait();
  queue->setSuspended(true);
  EXPECT_TRUE(queue->isSuspended());
  std::atomic<bool> ran{false};
  const auto added = operation([&] { ran = true; });
  queue->addOperation(added);
  mayEnd.count_down();
  while (queue->operationCount() > 1) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(ran.load());
  queue->setSuspended(false);
  added->waitUntilFinished();
  EXPECT_TRUE(ran.load());
}

TEST(NSOperationQueueTests, KnowsWhichQueueIsCurrent) {
  EXPECT_EQ(NSOperationQueue::currentQueue(), NSOperationQueue::mainQueue());
  std::thread([] { EXPECT_EQ(NSOperationQueue::currentQueue(), nullptr); }).join();
  const auto queue = NSOperationQueue::init();
  Ref<NSOperationQueue> seen;
  queue->addOperations_waitUntilFinished(
      NSArray::of(operation([&] { seen = NSOperationQueue::currentQueue(); })), true);
  EXPECT_EQ(seen, queue);
}

TEST(NSOperationQueueTests, KeepsItsName) {
  const auto queue = NSOperationQueue::init();
  EXPECT_EQ(queue->name(), nullptr);
  queue->setName("thumbnails");
  EXPECT_EQ(queue->name(), "thumbnails");
  EXPECT_TRUE(queue->valueForKey("name")->isEqual("thumbnails"));
}

TEST(NSOperationQueueTests, AQueueThatGoesHasItsOperationsRun) {
  const int before = CountingObject::alive();
  std::latch mayRun{1};
  std::atomic<int> runs{0};
  DispatchGroup group;
  {
    const auto queue = queueOf(1);
    queue->addOperationWithBlock([&] { mayRun.wait(); });
    for (int i = 0; i < 100; ++i) {
      group.enter();
      queue->addOperationWithBlock([&, held = counted(i)] {
        ++runs;
        group.leave();
      });
    }
  }
  mayRun.count_down();
  group.wait();
  EXPECT_EQ(runs.load(), 100);
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

TEST(NSOperationQueueTests, AQueueMayGoFromWithinItsOperation) {
  auto queue = NSOperationQueue::init();
  std::latch done{2};
  queue->setSuspended(true);
  queue->addOperationWithBlock([&] {
    queue = nullptr;
    EXPECT_EQ(NSOperationQueue::currentQueue(), nullptr);
    done.count_down();
  });
  queue->addOperationWithBlock([&] { done.count_down(); });
  queue->setMaxConcurrentOperationCount(1);
  NSOperationQueue* unowned = queue.get();
  unowned->setSuspended(false);
  done.wait();
}

TEST(NSOperationQueueTests, WhatCouldNeverStartFinishesAsCancelledWhenItsQueueGoes) {
  const int before = CountingObject::alive();
  for (const bool suspended : {true, false}) {
    std::atomic<int> runs{0};
    const auto added = operation([&, held = counted(1)] { ++runs; });
    const auto dependent = NSOperation::init();
    dependent->addDependency(added);
    {
      const auto queue = NSOperationQueue::init();
      queue->setSuspended(suspended);
      queue->setMaxConcurrentOperationCount(suspended ? 1 : 0);
      queue->addOperation(added);
      queue->addOperation(dependent);
    }
    added->waitUntilFinished();
    dependent->waitUntilFinished();
    EXPECT_TRUE(added->isCancelled());
    EXPECT_EQ(runs.load(), 0);
  }
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

TEST(NSOperationQueueTests, QueuesComeAndGoWhileThreadsUseThem) {
  const int before = CountingObject::alive();
  const StressTime time;
  {
    Threads threads;
    threads.start(8, [&](int number) {
      Ref<NSOperation> earlier;
      while (!time.isOver()) {
        const auto queue = queueOf(number % 3 + 1);
        for (int i = 0; i < 20; ++i) {
          const auto added = operation([held = counted(i)] {});
          added->setQueuePriority(i % 5 * 4 - 8);
          if (earlier) {
            added->addDependency(earlier);
          }
          added->setCompletionBlock([held = counted(i), queue] { (void)queue->operationCount(); });
          queue->addOperation(added);
          if (i % 4 == 0) {
            added->cancel();
          }
          if (i % 7 == 0 && earlier) {
            added->removeDependency(earlier);
          }
          earlier = added;
        }
        queue->setSuspended(number % 2 == 0);
        if (number % 4 == 1) {
          queue->waitUntilAllOperationsAreFinished();
        }
        queue->setSuspended(false);
      }
      earlier->waitUntilFinished();
    });
  }
  while (CountingObject::alive() != before) {
    std::this_thread::yield();
  }
}

TEST(NSOperationQueueDeathTest, AnExceptionEndsTheProcessWithItsText) {
  EXPECT_DEATH(
      {
        const auto queue = NSOperationQueue::init();
        queue->addOperationWithBlock([] { throw std::runtime_error("broken thumbnail"); });
        queue->waitUntilAllOperationsAreFinished();
      },
      "broken thumbnail");
}

TEST(NSOperationQueueDeathTest, AnOperationDoesNotWaitForItselfOrItsQueue) {
  EXPECT_DEATH(
      {
        const auto queue = NSOperationQueue::init();
        const auto added = NSBlockOperation::init();
        added->addExecutionBlock([&] { added->waitUntilFinished(); });
        queue->addOperations_waitUntilFinished(NSArray::of(added), true);
      },
      "an operation does not wait for itself");
  EXPECT_DEATH(
      {
        const auto queue = NSOperationQueue::init();
        queue->addOperations_waitUntilFinished(
            NSArray::of(operation([&] { queue->waitUntilAllOperationsAreFinished(); })), true);
      },
      "an operation does not wait for its own queue");
}

}  // namespace
}  // namespace kestova::testing
