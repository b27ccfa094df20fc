// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <latch>
#include <thread>
#include <vector>

#include "ExceptionExpectation.h"
#include "RunLoopThread.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::RunLoopThread;

std::string systemName() {
  std::array<char, 16> name;
  EXPECT_EQ(::pthread_getname_np(::pthread_self(), name.data(), name.size()), 0);
  return name.data();
}

TEST(NSThread, EachThreadIsOneObject) {
  const auto mine = NSThread::currentThread();
  EXPECT_EQ(NSThread::currentThread(), mine);
  RunLoopThread other;
  EXPECT_NE(other.object(), mine);
  other.perform([&] { EXPECT_EQ(NSThread::currentThread(), other.object()); });
  EXPECT_EQ(NSRunLoop::currentRunLoop(), mine->runLoop());
}

TEST(NSThread, TheMainThreadIsTheOneThatLoadedTheLibrary) {
  EXPECT_TRUE(NSThread::isMainThread());
  EXPECT_EQ(NSThread::mainThread(), NSThread::currentThread());
  EXPECT_EQ(NSRunLoop::mainRunLoop(), NSRunLoop::currentRunLoop());
  RunLoopThread other;
  other.perform([&] {
    EXPECT_FALSE(NSThread::isMainThread());
    EXPECT_NE(NSThread::mainThread(), NSThread::currentThread());
  });
}

TEST(NSThread, ANameIsSeenByTheSystemCutToWholeCharacters) {
  RunLoopThread other;
  other.perform([] {
    const auto thread = NSThread::currentThread();
    EXPECT_EQ(thread->name(), nullptr);
    thread->setName("thumbnails");
    EXPECT_EQ(thread->name(), "thumbnails");
    EXPECT_EQ(systemName(), "thumbnails");
    thread->setName("fourteen bytesé and more");
    EXPECT_EQ(systemName(), "fourteen bytes");
    thread->setName(nullptr);
    EXPECT_EQ(thread->name(), nullptr);
  });
}

TEST(NSThread, TheProgramKeepsItsNameWhenTheMainThreadIsNamed) {
  const std::string before = systemName();
  NSThread::mainThread()->setName("main");
  EXPECT_EQ(NSThread::mainThread()->name(), "main");
  EXPECT_EQ(systemName(), before);
  NSThread::mainThread()->setName(nullptr);
}

TEST(NSThread, ABlockIsPerformedOnItsThread) {
  RunLoopThread other;
  int result = 0;
  performOnThread(
      other.object(),
      [&] {
        EXPECT_EQ(NSThread::currentThread(), other.object());
        result = 1;
      },
      true);
  EXPECT_EQ(result, 1);
}

TEST(NSThread, BlocksAreKeptInOrderWhetherSomebodyWaitsOrNot) {
  RunLoopThread other;
  std::vector<int> order;
  for (int i = 0; i < 10; ++i) {
    performOnThread(
        other.object(), [&order, i] { order.push_back(i); }, i % 3 == 0);
  }
  other.settle();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(NSThread, OneWhoWaitsForItselfRunsTheBlockAtOnce) {
  bool ran = false;
  performBlockOnMainThread([&] { ran = true; }, true);
  EXPECT_TRUE(ran);
  ran = false;
  performBlockOnMainThread([&] { ran = true; }, false);
  EXPECT_FALSE(ran);
  NSRunLoop::currentRunLoop()->turn();
  EXPECT_TRUE(ran);
}

TEST(NSThread, ABlockWaitsForItsMode) {
  int calls = 0;
  performBlockOnMainThread([&] { ++calls; }, false, "NSThreadTests.mode");
  NSRunLoop::currentRunLoop()->turn();
  EXPECT_EQ(calls, 0);
  CFRunLoopRunInMode("NSThreadTests.mode", 0, false);
  EXPECT_EQ(calls, 1);
}

TEST(NSThread, AnotherThreadReachesTheMainOne) {
  int result = 0;
  std::thread worker([&] {
    performBlockOnMainThread([&] { result = 1; }, true);
    EXPECT_EQ(result, 1);
    performBlockOnMainThread([] { NSRunLoop::currentRunLoop()->stop(); }, false);
  });
  NSRunLoop::currentRunLoop()->run();
  worker.join();
}

TEST(NSThread, AnExceptionLeavesTheRunOfItsThreadAndTheWaiterGoesOn) {
  std::latch began(1);
  std::latch ended(1);
  Ref<NSThread> object;
  std::thread worker([&] {
    object = NSThread::currentThread();
    object->runLoop()->performBlock([&] { began.count_down(); });
    const auto keeper = RunLoopSource::sourceWithBlock([] {});
    object->runLoop()->addSource_forMode(keeper, NSDefaultRunLoopMode);
    EXPECT_THROW(object->runLoop()->run(), std::runtime_error);
    ended.count_down();
  });
  began.wait();
  performOnThread(
      object, [] { throw std::runtime_error("expected"); }, true);
  ended.wait();
  worker.join();
}

TEST(NSThread, AThreadThatEndedPerformsNothing) {
  Ref<NSThread> withLoop;
  Ref<NSThread> without;
  const auto token = std::make_shared<int>(0);
  std::thread([&] {
    withLoop = NSThread::currentThread();
    EXPECT_FALSE(withLoop->isFinished());
    withLoop->runLoop()->performBlock([token] { ++*token; });
  }).join();
  std::thread([&] { without = NSThread::currentThread(); }).join();
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_TRUE(withLoop->isFinished());
  EXPECT_TRUE(without->isFinished());
  EXPECT_EQ(without->runLoop(), nullptr);
  for (const auto& thread : {withLoop, without}) {
    performOnThread(
        thread, [token] { ++*token; }, false);
    expectException(NSDestinationInvalidException, [&] {
      performOnThread(
          thread, [token] { ++*token; }, true);
    });
  }
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_EQ(*token, 0);
}

TEST(NSThread, OneWhoWaitsIsToldWhenTheThreadEndsFirst) {
  Ref<NSThread> object;
  std::latch started(1);
  std::latch end(1);
  std::thread worker([&] {
    object = NSThread::currentThread();
    static_cast<void>(object->runLoop());
    started.count_down();
    end.wait();
  });
  started.wait();
  std::latch waiting(1);
  std::thread waiter([&] {
    performOnThread(
        object, [&] { waiting.count_down(); }, false);
    expectException(NSDestinationInvalidException, [&] {
      performOnThread(
          object, [] { FAIL(); }, true);
    });
  });
  end.count_down();
  worker.join();
  waiter.join();
  EXPECT_FALSE(waiting.try_wait());
}

TEST(NSThread, WhatGoesWithAThreadMayAskForItsRunLoop) {
  struct Asker {
    ~Asker() {
      EXPECT_EQ(NSThread::currentThread(), thread);
      EXPECT_EQ(NSRunLoop::currentRunLoop(), thread->runLoop());
      NSRunLoop::currentRunLoop()->performBlock([] {});
      *gone = true;
    }
    Ref<NSThread> thread;
    bool* gone;
  };
  bool goneByBlock = false;
  bool goneByVariable = false;
  std::thread([&] {
    thread_local Asker variable;
    variable.thread = NSThread::currentThread();
    variable.gone = &goneByVariable;
    const std::shared_ptr<Asker> asker(new Asker{NSThread::currentThread(), &goneByBlock});
    NSRunLoop::currentRunLoop()->performBlock([asker] {});
  }).join();
  EXPECT_TRUE(goneByBlock);
  EXPECT_TRUE(goneByVariable);
}

}  // namespace
}  // namespace kestova
