// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/MainThreadPerformer.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "OperationQueues.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <latch>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace kestova::testing {
namespace {

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

TEST(MainOperationQueueTests, TheMainQueueRunsOnTheMainThreadOneAtATime) {
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

TEST(MainOperationQueueTests, AnApplicationNamesItsOwnMainThread) {
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

TEST(MainOperationQueueTests, APerformerThatDropsABlockTellsTheOneWhoWaits) {
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

TEST(MainOperationQueueDeathTest, TheMainThreadDoesNotWaitForItsOwnQueue) {
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
