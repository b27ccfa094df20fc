// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/MainThreadPerformer.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <utility>

#include "AllocationFaults.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Neither queues nor what runs in them finds any memory while it lives.
class NoMemory {
 public:
  bool wasMissed() const { return none_.wasMet(); }

 private:
  const ArmedFault none_{FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM),
                         FaultyThreads::all};
};

/// Executes until it is ended by hand, and keeps that state itself.
class EndedByHand final : public NSOperation {
 public:
  bool isAsynchronous() const override { return true; }
  bool isFinished() const override { return ended_.load(); }
  void start() override {}
  void end() {
    const KeyValueChange change(*this, "isFinished");
    ended_ = true;
  }

 private:
  std::atomic<bool> ended_ = false;
};

/// Is ready when it was let go.
class LetGoByHand final : public NSOperation {
 public:
  bool isReady() const override { return NSOperation::isReady() && letGo_.load(); }
  void letGo() {
    const KeyValueChange change(*this, "isReady");
    letGo_ = true;
  }

 private:
  std::atomic<bool> letGo_ = false;
};

/// A main loop that has no room for blocks at first.
class FullMainLoop final : public MainThreadPerformer {
 public:
  explicit FullMainLoop(int refusals) : refusals_(refusals) { setCurrent(this); }
  ~FullMainLoop() override {
    setCurrent(nullptr);
    dispatch_sync(queue_, [] {});
  }

  bool isMainThread() const override { return false; }
  void perform(Block<void()> block) override {
    if (refusals_.fetch_sub(1) > 0) {
      throw std::bad_alloc();
    }
    dispatch_async(queue_, std::move(block));
  }
  bool hasRefused() const { return refusals_.load() <= 0; }

 private:
  std::atomic<int> refusals_;
  const DispatchQueue queue_ = dispatchSerialQueue();
};

/// A suspended queue with that many operations, each of which counts itself.
Ref<NSOperationQueue> waitingQueue(int operations, std::atomic<int>& runs) {
  auto queue = NSOperationQueue::init();
  queue->setSuspended(true);
  for (int number = 0; number < operations; ++number) {
    queue->addOperationWithBlock([&runs] { ++runs; });
  }
  return queue;
}

}  // namespace

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

TEST(NSOperationFaults, AQueueNeedsNoMemoryToRunWhatItHas) {
  std::atomic<int> runs{0};
  const auto queue = waitingQueue(1000, runs);
  {
    const NoMemory memory;
    queue->setSuspended(false);
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_FALSE(memory.wasMissed());
  }
  EXPECT_EQ(runs.load(), 1000);
}

TEST(NSOperationFaults, AQueueNeedsNoMemoryForWhatIsAdded) {
  std::atomic<int> runs{0};
  const auto queue = waitingQueue(0, runs);
  queue->setSuspended(false);
  for (int number = 0; number < 100; ++number) {
    const auto operation = NSBlockOperation::blockOperationWithBlock([&] { ++runs; });
    const NoMemory memory;
    queue->addOperation(operation);
    operation->waitUntilFinished();
  }
  EXPECT_EQ(runs.load(), 100);
}

TEST(NSOperationFaults, WhoDependsOnAnOperationIsToldOfItsEndWithoutMemory) {
  std::atomic<int> runs{0};
  const auto queue = waitingQueue(0, runs);
  queue->setSuspended(false);
  const auto dependency = NSOperation::init();
  for (int number = 0; number < 3; ++number) {
    const auto operation = NSBlockOperation::blockOperationWithBlock([&] { ++runs; });
    operation->addDependency(dependency);
    queue->addOperation(operation);
  }
  const NoMemory memory;
  dependency->start();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(runs.load(), 3);
}

TEST(NSOperationFaults, AQueueThatGoesNeedsNoMemoryToCancelWhatItHas) {
  std::atomic<int> runs{0};
  auto queue = waitingQueue(10, runs);
  const auto last = NSOperation::init();
  queue->addOperation(last);
  {
    const NoMemory memory;
    queue = nullptr;
    last->waitUntilFinished();
  }
  EXPECT_TRUE(last->isCancelled());
  EXPECT_EQ(runs.load(), 0);
}

TEST(NSOperationFaults, AnOperationWhoseEndThereIsNoMemoryToFollowIsNotAdded) {
  const auto queue = NSOperationQueue::init();
  Ref<EndedByHand> operation;
  const int refused = walkAllocations(
      [&] {
        operation = nullptr;
        operation = make<EndedByHand>();
        queue->addOperation(operation);
      },
      [&](bool threw) {
        if (operation != nullptr) {
          EXPECT_EQ(queue->operationCount(), threw ? 0U : 1U);
          if (threw) {
            queue->addOperation(operation);
          }
          operation->end();
          queue->waitUntilAllOperationsAreFinished();
        }
      });
  EXPECT_GT(refused, 4);
}

TEST(NSOperationFaults, AnOperationWhoseReadinessThereIsNoMemoryToFollowStartsAllTheSame) {
  const auto queue = NSOperationQueue::init();
  Ref<LetGoByHand> operation;
  const int refused = walkAllocations(
      [&] {
        operation = make<LetGoByHand>();
        queue->addOperation(operation);
      },
      [&](bool threw) {
        if (!threw) {
          EXPECT_EQ(queue->operationCount(), 1U);
          operation->letGo();
          queue->waitUntilAllOperationsAreFinished();
        }
      });
  EXPECT_EQ(refused, 1);
}

TEST(NSOperationFaults, AMainLoopThatHasNoRoomIsAskedAgain) {
  FullMainLoop loop(3);
  std::atomic<int> runs{0};
  const auto queue = NSOperationQueue::mainQueue();
  for (int number = 0; number < 3; ++number) {
    queue->addOperationWithBlock([&] { ++runs; });
  }
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(runs.load(), 3);
  EXPECT_TRUE(loop.hasRefused());
}

TEST(NSOperationFaults, BlocksThatThereIsNoMemoryToHandOverRunAllTheSame) {
  std::atomic<int> runs{0};
  bool isStarted = false;
  walkAllocations(
      [&] {
        runs = 0;
        isStarted = false;
        const auto operation = NSBlockOperation::init();
        for (int number = 0; number < 4; ++number) {
          operation->addExecutionBlock([&] { ++runs; });
        }
        isStarted = true;
        operation->start();
      },
      [&](bool threw) {
        EXPECT_NE(isStarted, threw);
        EXPECT_EQ(runs.load(), isStarted ? 4 : 0);
      });
}
