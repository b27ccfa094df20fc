// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/BriefMutex.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <latch>
#include <mutex>
#include <thread>

#include "Stress.h"

namespace {

using kestova::BriefMutex;
using kestova::testing::Threads;

TEST(BriefMutexTests, TakesFourBytes) { EXPECT_EQ(sizeof(BriefMutex), 4U); }

TEST(BriefMutexTests, IsTakenByOneAndFreeAgainAfterwards) {
  BriefMutex mutex;
  EXPECT_TRUE(mutex.try_lock());
  EXPECT_FALSE(mutex.try_lock());
  mutex.unlock();
  EXPECT_TRUE(mutex.try_lock());
  mutex.unlock();
}

TEST(BriefMutexTests, WhatOneThreadDidTheNextOneSees) {
  constexpr int kThreads = 4;
  constexpr int kTurns = 20'000;
  BriefMutex mutex;
  long count = 0;
  {
    Threads threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.start([&] {
        for (int turn = 0; turn < kTurns; ++turn) {
          const std::lock_guard lock(mutex);
          ++count;
        }
      });
    }
  }
  EXPECT_EQ(count, long{kThreads} * kTurns);
}

/// Longer than anybody looks again before sleeping.
void holdForLong() {
  for (int i = 0; i < 2000; ++i) {
    std::this_thread::yield();
  }
}

TEST(BriefMutexTests, ThoseWhoSleepAreWokenOneAfterTheOther) {
  constexpr int kThreads = 6;
  BriefMutex mutex;
  std::latch begun(kThreads);
  int inside = 0;
  int most = 0;
  int had = 0;
  mutex.lock();
  Threads threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.start([&] {
      begun.count_down();
      const std::lock_guard lock(mutex);
      most = std::max(most, ++inside);
      holdForLong();
      --inside;
      ++had;
    });
  }
  begun.wait();
  holdForLong();
  mutex.unlock();
  threads.join();
  EXPECT_EQ(most, 1);
  EXPECT_EQ(had, kThreads);
}

}  // namespace
