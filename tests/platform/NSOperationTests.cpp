// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ExceptionExpectation.h"
#include "Stress.h"

#include <atomic>
#include <functional>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {
namespace {

/// Does what it is told.
class Work final : public NSOperation {
 public:
  explicit Work(std::function<void(Work&)> work) : work_(std::move(work)) {}
  void main() override { work_(*this); }

 private:
  std::function<void(Work&)> work_;
};

Ref<Work> work(std::function<void(Work&)> body) { return make<Work>(std::move(body)); }

/// Goes on until it is told to end, with the state of the class above.
class Continuing final : public NSOperation {
 public:
  bool isAsynchronous() const override { return true; }
  void start() override {
    if (begin()) {
      started.count_down();
    }
  }
  void end() { finish(); }

  std::latch started{1};
};

/// The same with a state of its own.
class SelfKept final : public NSOperation {
 public:
  bool isAsynchronous() const override { return true; }
  bool isExecuting() const override { return executing_.load(); }
  bool isFinished() const override { return finished_.load(); }
  void start() override {
    KeyValueChange change(*this, "isExecuting");
    executing_.store(true);
    started.count_down();
  }
  void end() {
    KeyValueChange executing(*this, "isExecuting");
    KeyValueChange finished(*this, "isFinished");
    executing_.store(false);
    finished_.store(true);
  }

  std::latch started{1};

 private:
  std::atomic<bool> executing_{false};
  std::atomic<bool> finished_{false};
};

/// Not ready until it is told so.
class Gated final : public NSOperation {
 public:
  bool isReady() const override { return open_.load() && NSOperation::isReady(); }
  void open() {
    KeyValueChange change(*this, "isReady");
    open_.store(true);
  }

 private:
  std::atomic<bool> open_{false};
};

/// Writes down the keys that change, with their new values.
class StateObserver final : public NSObject {
 public:
  explicit StateObserver(Ref<NSOperation> operation) : operation_(std::move(operation)) {
    for (const char* key : kKeys) {
      operation_->addObserver_forKeyPath_options_context(this, key, NSKeyValueObservingOptionNew,
                                                         nullptr);
    }
  }
  ~StateObserver() override { stop(); }

  void stop() {
    if (operation_) {
      for (const char* key : kKeys) {
        operation_->removeObserver_forKeyPath(this, key);
      }
      operation_ = nullptr;
    }
  }

  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                      const Ref<NSDictionary>& change,
                                                      void*) override {
    log += keyPath->displayUTF8() + "=" +
           change->objectForKey(NSKeyValueChangeNewKey)->description()->displayUTF8() + " ";
  }

  std::string log;

 private:
  static constexpr const char* kKeys[] = {"isReady", "isExecuting", "isFinished", "isCancelled"};

  Ref<NSOperation> operation_;
};

std::string stateOf(const NSOperation& operation) {
  std::string state;
  state += operation.isReady() ? 'r' : '-';
  state += operation.isExecuting() ? 'e' : '-';
  state += operation.isFinished() ? 'f' : '-';
  state += operation.isCancelled() ? 'c' : '-';
  return state;
}

TEST(NSOperationTests, IsPendingThenExecutingThenFinished) {
  std::string within;
  const auto operation = work([&](Work& self) { within = stateOf(self); });
  EXPECT_EQ(stateOf(*operation), "r---");
  operation->start();
  EXPECT_EQ(within, "re--");
  EXPECT_EQ(stateOf(*operation), "r-f-");
}

TEST(NSOperationTests, StartsOnceOnly) {
  int runs = 0;
  const auto operation = work([&](Work& self) {
    ++runs;
    expectException(NSInvalidArgumentException, [&] { self.start(); });
  });
  operation->start();
  operation->start();
  EXPECT_EQ(runs, 1);
}

TEST(NSOperationTests, WhatIsCancelledBeforeItsStartFinishesWithoutMain) {
  int runs = 0;
  const auto operation = work([&](Work&) { ++runs; });
  operation->cancel();
  EXPECT_EQ(stateOf(*operation), "r--c");
  operation->start();
  EXPECT_EQ(stateOf(*operation), "r-fc");
  EXPECT_EQ(runs, 0);
}

TEST(NSOperationTests, WhatIsCancelledLaterGoesOn) {
  bool wasCancelled = false;
  const auto operation = work([&](Work& self) {
    self.cancel();
    wasCancelled = self.isCancelled();
  });
  operation->start();
  EXPECT_TRUE(wasCancelled);
  EXPECT_EQ(stateOf(*operation), "r-fc");
}

TEST(NSOperationTests, WhatHasFinishedIsNotCancelled) {
  const auto operation = NSOperation::init();
  operation->start();
  operation->cancel();
  EXPECT_EQ(stateOf(*operation), "r-f-");
}

TEST(NSOperationTests, IsNotReadyWhileADependencyHasNotFinished) {
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  second->addDependency(first);
  EXPECT_FALSE(second->isReady());
  expectException(NSInvalidArgumentException, [&] { second->start(); });
  EXPECT_EQ(stateOf(*second), "----");
  first->start();
  EXPECT_TRUE(second->isReady());
  second->start();
  EXPECT_TRUE(second->isFinished());
}

TEST(NSOperationTests, ACancelledOneIsReadyWhateverItDependsOn) {
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  second->addDependency(first);
  second->cancel();
  EXPECT_TRUE(second->isReady());
}

TEST(NSOperationTests, ADependencyCountsOnceAndInTheOrderOfAdding) {
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  const auto third = NSOperation::init();
  third->addDependency(second);
  third->addDependency(first);
  third->addDependency(second);
  EXPECT_TRUE(third->dependencies()->isEqual(NSArray::of(second, first)));
  second->start();
  EXPECT_FALSE(third->isReady());
  first->start();
  EXPECT_TRUE(third->isReady());
  EXPECT_EQ(third->dependencies()->count(), 2U);
}

TEST(NSOperationTests, ADependencyThatIsRemovedIsNotWaitedFor) {
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  second->addDependency(first);
  second->removeDependency(first);
  second->removeDependency(first);
  second->removeDependency(nullptr);
  EXPECT_TRUE(second->isReady());
  EXPECT_EQ(second->dependencies()->count(), 0U);
  first->start();
  EXPECT_TRUE(second->isReady());
}

TEST(NSOperationTests, DependenciesThatAreRemovedTogetherAreNotWaitedFor) {
  const auto finished = NSOperation::init();
  finished->start();
  const auto pending = NSOperation::init();
  const auto operation = NSOperation::init();
  operation->removeDependencies();
  for (const auto& dependency : {finished, pending, NSOperation::init()}) {
    operation->addDependency(dependency);
  }
  EXPECT_FALSE(operation->isReady());
  operation->removeDependencies();
  EXPECT_TRUE(operation->isReady());
  EXPECT_EQ(operation->dependencies()->count(), 0U);
  operation->addDependency(pending);
  EXPECT_FALSE(operation->isReady());
  pending->start();
  EXPECT_TRUE(operation->isReady());
}

TEST(NSOperationTests, ThreadsMayAddAndRemoveTheSameDependency) {
  const StressTime time;
  while (!time.isOver()) {
    const auto dependency = NSOperation::init();
    const auto operation = NSOperation::init();
    Threads threads;
    threads.start(4, [&](int number) {
      for (int i = 0; i < 20'000; ++i) {
        if (number % 2 == 0) {
          operation->addDependency(dependency);
        } else if (i % 2 == 0) {
          operation->removeDependency(dependency);
        } else {
          operation->removeDependencies();
        }
      }
    });
    threads.join();
    operation->removeDependency(dependency);
    ASSERT_TRUE(operation->isReady());
    dependency->start();
    ASSERT_TRUE(operation->isReady());
  }
}

TEST(NSOperationTests, AFinishedDependencyIsNotWaitedFor) {
  for (const bool cancelled : {false, true}) {
    const auto first = NSOperation::init();
    if (cancelled) {
      first->cancel();
    }
    first->start();
    const auto second = NSOperation::init();
    second->addDependency(first);
    EXPECT_TRUE(second->isReady());
    EXPECT_EQ(second->dependencies()->count(), 1U);
  }
}

TEST(NSOperationTests, NothingIsNoDependency) {
  expectException(NSInvalidArgumentException, [] { NSOperation::init()->addDependency(nullptr); });
}

TEST(NSOperationTests, OnesThatDependOnEachOtherAreNeverReady) {
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  first->addDependency(second);
  second->addDependency(first);
  EXPECT_FALSE(first->isReady());
  EXPECT_FALSE(second->isReady());
  first->removeDependency(second);
  EXPECT_TRUE(first->isReady());
}

TEST(NSOperationTests, AnOperationMayGoBeforeWhatItDependsOn) {
  const auto first = NSOperation::init();
  for (int i = 0; i < 10; ++i) {
    NSOperation::init()->addDependency(first);
  }
  first->start();
  EXPECT_EQ(first->retainCount(), 1U);
}

TEST(NSOperationTests, ALongRowOfDependenciesMayGoAtOnce) {
  auto last = NSOperation::init();
  for (int i = 0; i < 300'000; ++i) {
    const auto next = NSOperation::init();
    next->addDependency(last);
    last = next;
  }
  last = nullptr;
}

TEST(NSOperationTests, ItsStatesAreObservedInTheirOrder) {
  const auto first = NSOperation::init();
  const auto second = NSOperation::init();
  const auto observer = make<StateObserver>(second);
  second->addDependency(first);
  first->start();
  second->start();
  observer->stop();
  EXPECT_EQ(observer->log, "isReady=0 isReady=1 isExecuting=1 isExecuting=0 isFinished=1 ");
}

TEST(NSOperationTests, CancellingIsObserved) {
  const auto operation = NSOperation::init();
  const auto observer = make<StateObserver>(operation);
  operation->cancel();
  operation->cancel();
  operation->start();
  observer->stop();
  EXPECT_EQ(observer->log, "isReady=1 isCancelled=1 isFinished=1 ");
}

TEST(NSOperationTests, ItsStateIsFoundByName) {
  const auto operation = NSOperation::init();
  EXPECT_TRUE(operation->valueForKey("isReady")->isEqual(true));
  EXPECT_TRUE(operation->valueForKey("ready")->isEqual(true));
  EXPECT_TRUE(operation->valueForKey("isFinished")->isEqual(false));
}

TEST(NSOperationTests, TheCompletionBlockIsCalledOnceAfterTheEnd) {
  std::string log;
  const auto operation = work([&](Work&) { log += 'm'; });
  operation->setCompletionBlock([&] { log += operation->isFinished() ? 'c' : '?'; });
  EXPECT_TRUE(operation->completionBlock());
  operation->start();
  operation->start();
  EXPECT_EQ(log, "mc");
  EXPECT_FALSE(operation->completionBlock());
  operation->setCompletionBlock([&] { log += '!'; });
  EXPECT_EQ(log, "mc");
}

TEST(NSOperationTests, TheCompletionBlockOfACancelledOneIsCalledToo) {
  int calls = 0;
  const auto operation = NSOperation::init();
  operation->setCompletionBlock([&] { ++calls; });
  operation->cancel();
  EXPECT_EQ(calls, 0);
  operation->start();
  EXPECT_EQ(calls, 1);
}

TEST(NSOperationTests, ItsCompletionBlockIsLetGoOfAfterTheCall) {
  const int before = CountingObject::alive();
  {
    const auto operation = NSOperation::init();
    operation->setCompletionBlock([operation, held = counted(1)] {});
    operation->start();
  }
  EXPECT_EQ(CountingObject::alive(), before);
}

TEST(NSOperationTests, PrioritiesBetweenTheConstantsGoTowardNormal) {
  const auto operation = NSOperation::init();
  EXPECT_EQ(operation->queuePriority(), NSOperationQueuePriorityNormal);
  const std::pair<NSInteger, NSInteger> table[] = {
      {-100, -8}, {-9, -8}, {-8, -8}, {-7, -4}, {-4, -4}, {-3, 0}, {0, 0},
      {3, 0},     {4, 4},   {7, 4},   {8, 8},   {9, 8},   {100, 8}};
  for (const auto& [given, kept] : table) {
    operation->setQueuePriority(given);
    EXPECT_EQ(operation->queuePriority(), kept) << given;
  }
}

TEST(NSOperationTests, KeepsItsName) {
  const auto operation = NSOperation::init();
  EXPECT_EQ(operation->name(), nullptr);
  operation->setName("thumbnail");
  EXPECT_EQ(operation->name(), "thumbnail");
  operation->setName(nullptr);
  EXPECT_EQ(operation->name(), nullptr);
}

TEST(NSOperationTests, WaitingReturnsWhenItHasFinished) {
  std::latch waits{1};
  std::atomic<bool> done{false};
  const auto operation = work([&](Work&) {
    waits.wait();
    done = true;
  });
  std::thread waiter([&] {
    operation->waitUntilFinished();
    EXPECT_TRUE(done.load());
  });
  std::thread runner([&] { operation->start(); });
  waits.count_down();
  waiter.join();
  runner.join();
  operation->waitUntilFinished();
}

TEST(NSOperationTests, AnExceptionLeavesAStartByHandAndTheOperationHasFinished) {
  const auto operation = work([](Work&) { throw std::runtime_error("work"); });
  EXPECT_THROW(operation->start(), std::runtime_error);
  EXPECT_EQ(stateOf(*operation), "r-f-");
  operation->waitUntilFinished();
}

/// Throws when it is told of a change, before it is made or after.
class Refusing final : public NSObject {
 public:
  explicit Refusing(bool beforehand) : beforehand_(beforehand) {}

  void observe(NSOperation& operation, const char* key) {
    const NSUInteger options = beforehand_ ? NSUInteger(NSKeyValueObservingOptionPrior) : 0;
    operation.addObserver_forKeyPath_options_context(this, key, options, nullptr);
  }
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                      const Ref<NSDictionary>&, void*) override {
    throw std::runtime_error("no");
  }

 private:
  const bool beforehand_;
};

TEST(NSOperationTests, AnObserverThatThrowsKeepsNobodyFromKnowingThatItHasFinished) {
  for (const bool beforehand : {true, false}) {
    for (const char* key : {"isExecuting", "isFinished"}) {
      SCOPED_TRACE(std::string(key) + (beforehand ? " before" : " after"));
      int completed = 0;
      const auto operation = NSOperation::init();
      const auto dependent = NSOperation::init();
      dependent->addDependency(operation);
      operation->setCompletionBlock([&] { ++completed; });
      auto refusing = make<Refusing>(beforehand);
      refusing->observe(*operation, key);
      EXPECT_THROW(operation->start(), std::runtime_error);
      refusing = nullptr;
      operation->start();
      EXPECT_TRUE(operation->isFinished());
      EXPECT_TRUE(dependent->isReady());
      EXPECT_EQ(completed, 1);
      operation->waitUntilFinished();
    }
  }
}

TEST(NSOperationTests, AnObserverOfADependentThatThrowsKeepsNoOtherOneWaiting) {
  for (const bool beforehand : {true, false}) {
    const auto queue = NSOperationQueue::init();
    const auto operation = NSOperation::init();
    const auto first = NSOperation::init();
    const auto second = NSOperation::init();
    first->addDependency(operation);
    second->addDependency(operation);
    queue->addOperations_waitUntilFinished(NSArray::of(first, second), false);
    const auto refusing = make<Refusing>(beforehand);
    refusing->observe(*first, "isReady");
    EXPECT_THROW(operation->start(), std::runtime_error);
    queue->waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(first->isFinished());
    EXPECT_TRUE(second->isFinished());
  }
}

TEST(NSOperationTests, ACancelledOneLeavesItsQueueThoughAnObserverThrows) {
  const auto queue = NSOperationQueue::init();
  const auto operation = NSOperation::init();
  operation->addDependency(NSOperation::init());
  queue->addOperation(operation);
  auto refusing = make<Refusing>(false);
  refusing->observe(*operation, "isCancelled");
  EXPECT_THROW(operation->cancel(), std::runtime_error);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(operation->isFinished());
}

TEST(NSOperationTests, AnAsynchronousOneExecutesUntilItEndsItself) {
  const auto operation = make<Continuing>();
  const auto observer = make<StateObserver>(operation);
  operation->start();
  EXPECT_EQ(stateOf(*operation), "re--");
  expectException(NSInvalidArgumentException, [&] { operation->start(); });
  operation->end();
  operation->end();
  EXPECT_EQ(stateOf(*operation), "r-f-");
  observer->stop();
  EXPECT_EQ(observer->log, "isExecuting=1 isExecuting=0 isFinished=1 ");
}

TEST(NSOperationTests, AnAsynchronousOneThatIsCancelledBeforeFinishes) {
  const auto operation = make<Continuing>();
  operation->cancel();
  operation->start();
  EXPECT_EQ(stateOf(*operation), "r-fc");
}

TEST(NSOperationTests, OnesWithAStateOfTheirOwnAreWaitedFor) {
  const auto operation = make<SelfKept>();
  const auto dependent = NSOperation::init();
  dependent->addDependency(operation);
  int completions = 0;
  operation->setCompletionBlock([&] { ++completions; });
  operation->start();
  EXPECT_FALSE(dependent->isReady());
  std::thread waiter([&] { operation->waitUntilFinished(); });
  operation->end();
  waiter.join();
  EXPECT_TRUE(dependent->isReady());
  EXPECT_EQ(completions, 1);
  const auto late = NSOperation::init();
  late->addDependency(operation);
  EXPECT_TRUE(late->isReady());
}

TEST(NSOperationTests, OnesWithAStateOfTheirOwnRunInAQueue) {
  const auto queue = NSOperationQueue::init();
  queue->setMaxConcurrentOperationCount(1);
  const auto first = make<SelfKept>();
  const auto second = make<Continuing>();
  const auto third = NSOperation::init();
  for (const Ref<NSOperation>& operation :
       {Ref<NSOperation>(first), Ref<NSOperation>(second), third}) {
    queue->addOperation(operation);
  }
  first->started.wait();
  EXPECT_EQ(queue->operationCount(), 3U);
  EXPECT_EQ(stateOf(*second), "r---");
  first->end();
  second->started.wait();
  EXPECT_EQ(queue->operationCount(), 2U);
  EXPECT_EQ(stateOf(*third), "r---");
  second->end();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(third->isFinished());
}

TEST(NSOperationTests, OnesWithAStateOfTheirOwnAreRefusedOnceTheyHaveStarted) {
  const auto queue = NSOperationQueue::init();
  queue->setSuspended(true);
  const auto waiting = NSOperation::init();
  queue->addOperation(waiting);
  const auto started = make<SelfKept>();
  started->start();
  expectException(NSInvalidArgumentException, [&] { queue->addOperation(started); });
  started->end();
  expectException(NSInvalidArgumentException, [&] { queue->addOperation(started); });
  EXPECT_EQ(queue->operationCount(), 1U);
  EXPECT_TRUE(queue->operations()->isEqual(NSArray::of(waiting)));
  queue->setSuspended(false);
  queue->waitUntilAllOperationsAreFinished();
}

TEST(NSOperationTests, MayBeStartedByHandAsItIsAdded) {
  const auto queue = NSOperationQueue::init();
  queue->setSuspended(true);
  const StressTime time;
  while (!time.isOver()) {
    std::vector<Ref<NSOperation>> operations(1000);
    for (auto& operation : operations) {
      operation = NSOperation::init();
    }
    std::atomic<std::size_t> adding{0};
    std::thread starter([&] {
      for (std::size_t i = 0; i < operations.size(); ++i) {
        while (adding.load() <= i) {
        }
        operations[i]->start();
      }
    });
    for (const auto& operation : operations) {
      ++adding;
      try {
        queue->addOperation(operation);
      } catch (const NSException& refusal) {
        EXPECT_EQ(refusal.name(), NSInvalidArgumentException);
      }
    }
    starter.join();
    ASSERT_EQ(queue->operationCount(), 0U);
    ASSERT_EQ(queue->operations()->count(), 0U);
  }
}

TEST(NSOperationTests, OneWithReasonsOfItsOwnWaitsUntilItIsReady) {
  const auto queue = NSOperationQueue::init();
  const auto first = NSOperation::init();
  const auto gated = make<Gated>();
  const auto ungated = make<Gated>();
  gated->addDependency(first);
  ungated->open();
  queue->addOperations_waitUntilFinished(NSArray::of(gated, ungated, first), false);
  ungated->waitUntilFinished();
  first->waitUntilFinished();
  EXPECT_FALSE(gated->isFinished());
  gated->open();
  gated->waitUntilFinished();
  EXPECT_EQ(stateOf(*gated), "r-f-");
}

TEST(NSBlockOperationTests, RunsItsBlock) {
  int runs = 0;
  const auto operation = NSBlockOperation::blockOperationWithBlock([&] { ++runs; });
  EXPECT_EQ(operation->executionBlocks()->count(), 1U);
  operation->start();
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(operation->isFinished());
}

TEST(NSBlockOperationTests, RunsSeveralBlocksSideBySideAndWaitsForAll) {
  std::latch bothRun{2};
  std::atomic<int> runs{0};
  const auto operation = NSBlockOperation::init();
  for (int i = 0; i < 2; ++i) {
    operation->addExecutionBlock([&] {
      bothRun.arrive_and_wait();
      ++runs;
    });
  }
  EXPECT_EQ(operation->executionBlocks()->count(), 2U);
  operation->start();
  EXPECT_EQ(runs.load(), 2);
}

TEST(NSBlockOperationTests, WithoutBlocksItHasNothingToDo) {
  const auto operation = NSBlockOperation::init();
  EXPECT_EQ(operation->executionBlocks()->count(), 0U);
  operation->start();
  EXPECT_TRUE(operation->isFinished());
}

TEST(NSBlockOperationTests, TakesNoBlockThatIsEmptyOrTooLate) {
  expectException(NSInvalidArgumentException,
                  [] { (void)NSBlockOperation::blockOperationWithBlock(nullptr); });
  const auto operation = NSBlockOperation::init();
  expectException(NSInvalidArgumentException, [&] { operation->addExecutionBlock(nullptr); });
  operation->addExecutionBlock([&] {
    expectException(NSInvalidArgumentException, [&] { operation->addExecutionBlock([] {}); });
  });
  operation->start();
  expectException(NSInvalidArgumentException, [&] { operation->addExecutionBlock([] {}); });
}

TEST(NSBlockOperationTests, AnExceptionOfItsBlockLeavesAStartByHand) {
  const auto operation =
      NSBlockOperation::blockOperationWithBlock([] { throw std::runtime_error("block"); });
  EXPECT_THROW(operation->start(), std::runtime_error);
  EXPECT_TRUE(operation->isFinished());
}

}  // namespace
}  // namespace kestova::testing
