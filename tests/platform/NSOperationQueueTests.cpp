// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/MainThreadPerformer.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "RandomRun.h"
#include "RunLoopThread.h"
#include "Stress.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <latch>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

Ref<NSBlockOperation> operation(Block<void()> block) {
  return NSBlockOperation::blockOperationWithBlock(std::move(block));
}

Ref<NSOperationQueue> queueOf(NSInteger maximum) {
  const auto queue = NSOperationQueue::init();
  queue->setMaxConcurrentOperationCount(maximum);
  return queue;
}

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

/// Stands for an application with a main loop of its own.
class OwnMainLoop final : public MainThreadPerformer {
 public:
  OwnMainLoop() {
    MainThreadPerformer::setCurrent(this);
    started_.wait();
  }
  ~OwnMainLoop() override {
    MainThreadPerformer::setCurrent(nullptr);
    post(nullptr);
    thread_.join();
  }

  bool isMainThread() const override { return std::this_thread::get_id() == thread_.get_id(); }
  void perform(Block<void()> block) override { post(std::move(block)); }

 private:
  void post(Block<void()> block) {
    {
      const std::lock_guard lock(mutex_);
      blocks_.push_back(std::move(block));
    }
    changed_.notify_one();
  }

  void run() {
    started_.count_down();
    for (;;) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return !blocks_.empty(); });
      const Block<void()> block = std::move(blocks_.front());
      blocks_.pop_front();
      lock.unlock();
      if (!block) {
        return;
      }
      block();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Block<void()>> blocks_;
  std::latch started_{1};
  std::thread thread_{[this] { run(); }};
};

void runMainLoopUntil(const std::atomic<bool>& done) {
  while (!done.load()) {
    (void)NSRunLoop::mainRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode,
                                                                               10, true);
  }
}

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

TEST(NSOperationQueueTests, OneAtATimeRunsInTheOrderOfAdding) {
  const auto queue = queueOf(1);
  std::string log;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    queue->addOperationWithBlock([&log, letter] { log += letter; });
  }
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(log, "abcdefghijklmnopqrstuvwxyz");
}

TEST(NSOperationQueueTests, HigherPrioritiesStartFirst) {
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

TEST(NSOperationQueueTests, HigherPrioritiesStartFirstHoweverLateTheyCome) {
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

TEST(NSOperationQueueTests, ANormalOneComesBeforeThoseOfLowPriorityThatWaitAlready) {
  BusyQueue busy;
  (void)busy.add('1', NSOperationQueuePriorityLow);
  (void)busy.add('2', NSOperationQueuePriorityVeryLow);
  EXPECT_EQ(busy.queue->operationCount(), 3U);
  (void)busy.add('3');
  EXPECT_EQ(busy.open(), "312");
}

TEST(NSOperationQueueTests, OneThatRunsAddsWhatComesNextByItsPriority) {
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

TEST(NSOperationQueueTests, WhatIsStartedByHandLeavesItsQueueAtOnce) {
  BusyQueue busy;
  const auto first = busy.add('1');
  (void)busy.add('2');
  first->start();
  EXPECT_EQ(busy.queue->operationCount(), 2U);
  EXPECT_EQ(busy.open(), "12");
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

TEST(NSOperationQueueTests, WhatSeveralThreadsAddKeepsTheOrderOfEach) {
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

TEST(NSOperationQueueTests, DependenciesComeBeforePriorities) {
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

TEST(NSOperationQueueTests, ADependencyThatIsAddedLateIsWaitedFor) {
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

TEST(NSOperationQueueTests, WhatIsGivenDependenciesAsItStartsRunsOnce) {
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

TEST(NSOperationQueueTests, DependenciesReachAcrossQueues) {
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

TEST(NSOperationQueueTests, ADependencyThatIsRemovedLetsAnOperationGo) {
  const auto queue = NSOperationQueue::init();
  const auto never = NSOperation::init();
  const auto waiting = NSOperation::init();
  waiting->addDependency(never);
  queue->addOperation(waiting);
  EXPECT_EQ(queue->operationCount(), 1U);
  waiting->removeDependency(never);
  waiting->waitUntilFinished();
}

TEST(NSOperationQueueTests, ACancelledOneFinishesWithoutWaitingForItsDependencies) {
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

TEST(NSOperationQueueTests, TheMainQueueRunsOnTheMainThreadOneAtATime) {
  const auto queue = NSOperationQueue::mainQueue();
  EXPECT_EQ(queue->maxConcurrentOperationCount(), 1);
  queue->setMaxConcurrentOperationCount(4);
  queue->setSuspended(true);
  EXPECT_EQ(queue->maxConcurrentOperationCount(), 1);
  EXPECT_FALSE(queue->isSuspended());
  std::string log;
  std::atomic<bool> done{false};
  std::thread([&] {
    for (char letter = 'a'; letter <= 'e'; ++letter) {
      queue->addOperationWithBlock([&log, letter] {
        log += NSThread::isMainThread() ? letter : '?';
        log += NSOperationQueue::currentQueue() == NSOperationQueue::mainQueue() ? '+' : '-';
      });
    }
    queue->addOperationWithBlock([&] { done = true; });
  }).join();
  EXPECT_EQ(log, "");
  runMainLoopUntil(done);
  EXPECT_EQ(log, "a+b+c+d+e+");
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST(NSOperationQueueTests, AnApplicationNamesItsOwnMainThread) {
  OwnMainLoop loop;
  EXPECT_EQ(MainThreadPerformer::current(), &loop);
  EXPECT_EQ(NSOperationQueue::currentQueue(), nullptr);
  std::string log;
  const auto note = [&] {
    log += loop.isMainThread() ? 'm' : '?';
    log += NSOperationQueue::currentQueue() == NSOperationQueue::mainQueue() ? '+' : '-';
  };
  NSOperationQueue::mainQueue()->addOperations_waitUntilFinished(NSArray::of(operation(note)),
                                                                 true);
  performBlockOnMainThread(note, true);
  performBlockOnMainThread([&] { performBlockOnMainThread(note, true); }, true);
  performBlockOnMainThread(note, false);
  performBlockOnMainThread([] {}, true);
  EXPECT_EQ(log, "m+m+m+m+");
}

TEST(NSOperationQueueTests, APerformerThatDropsABlockTellsTheOneWhoWaits) {
  class Dropping final : public MainThreadPerformer {
   public:
    Dropping() { MainThreadPerformer::setCurrent(this); }
    ~Dropping() override { MainThreadPerformer::setCurrent(nullptr); }
    bool isMainThread() const override { return false; }
    void perform(Block<void()>) override {}
  };
  const Dropping performer;
  expectException(NSDestinationInvalidException, [] { performBlockOnMainThread([] {}, true); });
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

TEST(NSOperationQueueTests, RandomDependenciesAreAlwaysKept) {
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

TEST(NSOperationQueueDeathTest, TheMainThreadDoesNotWaitForItsOwnQueue) {
  EXPECT_DEATH(
      {
        NSOperationQueue::mainQueue()->addOperationWithBlock([] {});
        NSOperationQueue::mainQueue()->waitUntilAllOperationsAreFinished();
      },
      "the main thread does not wait for its own queue");
  EXPECT_DEATH(NSOperationQueue::mainQueue()->addOperations_waitUntilFinished(
                   NSArray::of(NSOperation::init()), true),
               "the main thread does not wait for its own queue");
}

}  // namespace
}  // namespace kestova::testing
