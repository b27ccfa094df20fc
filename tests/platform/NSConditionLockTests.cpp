// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSConditionLock.h>
#include <KestovaPlatform/NSDate.h>
#include <gtest/gtest.h>

#include "SettableClock.h"
#include "Stress.h"

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>
#include <vector>

namespace kestova::testing {
namespace {

constexpr NSTimeInterval kLong = 60;

Ref<NSDate> inSeconds(NSTimeInterval seconds) {
  return NSDate::dateWithTimeIntervalSinceNow(seconds);
}

/// Runs something on another thread and waits for it.
template <class Callable>
auto elsewhere(Callable&& callable) {
  decltype(callable()) result{};
  std::thread([&] { result = callable(); }).join();
  return result;
}

TEST(NSConditionLockTests, ANewLockIsFreeAndHasItsCondition) {
  EXPECT_EQ(NSConditionLock::init()->condition(), 0);
  const auto lock = NSConditionLock::initWithCondition(-7);
  EXPECT_EQ(lock->condition(), -7);
  EXPECT_TRUE(lock->tryLock());
  lock->unlock();
}

TEST(NSConditionLockTests, TheConditionChangesOnUnlockingWithOneAndStaysOtherwise) {
  const auto lock = NSConditionLock::initWithCondition(1);
  lock->lock();
  EXPECT_EQ(lock->condition(), 1);
  lock->unlockWithCondition(2);
  EXPECT_EQ(lock->condition(), 2);
  lock->lock();
  lock->unlock();
  EXPECT_EQ(lock->condition(), 2);
}

TEST(NSConditionLockTests, OneThreadHoldsItAtATime) {
  const auto lock = NSConditionLock::init();
  lock->lock();
  EXPECT_FALSE(elsewhere([&] { return lock->tryLock(); }));
  EXPECT_FALSE(elsewhere([&] { return lock->tryLockWhenCondition(0); }));
  lock->unlock();
  EXPECT_TRUE(elsewhere([&] {
    const bool taken = lock->tryLock();
    lock->unlock();
    return taken;
  }));
}

TEST(NSConditionLockTests, TryingWithAConditionTakesItOnlyWithThatOne) {
  const auto lock = NSConditionLock::initWithCondition(3);
  EXPECT_FALSE(lock->tryLockWhenCondition(4));
  EXPECT_TRUE(lock->tryLockWhenCondition(3));
  lock->unlockWithCondition(4);
  EXPECT_TRUE(lock->tryLockWhenCondition(4));
  lock->unlock();
}

TEST(NSConditionLockTests, WaitsForItsConditionWhereverItComesFrom) {
  const auto lock = NSConditionLock::initWithCondition(0);
  std::vector<int> order;
  Threads threads;
  threads.start([&] {
    lock->lockWhenCondition(1);
    order.push_back(1);
    lock->unlockWithCondition(2);
  });
  threads.start([&] {
    lock->lockWhenCondition(2);
    order.push_back(2);
    lock->unlockWithCondition(3);
  });
  lock->lock();
  order.push_back(0);
  lock->unlockWithCondition(1);
  lock->lockWhenCondition(3);
  EXPECT_EQ(order, (std::vector{0, 1, 2}));
  lock->unlock();
}

TEST(NSConditionLockTests, AWaiterIsServedWhoeverLetsGoWithItsConditionInPlace) {
  const auto lock = NSConditionLock::initWithCondition(1);
  lock->lock();
  std::atomic<int> served{0};
  Threads threads;
  threads.start(4, [&](int) {
    lock->lockWhenCondition(1);
    ++served;
    lock->unlock();
  });
  lock->unlock();
  threads.join();
  EXPECT_EQ(served, 4);
}

TEST(NSConditionLockTests, ADateThatHasPassedOrNoneMeansNotToWait) {
  const auto lock = NSConditionLock::initWithCondition(0);
  for (const auto& date : {NSDate::distantPast(), inSeconds(-1), Ref<NSDate>()}) {
    EXPECT_FALSE(lock->lockWhenCondition_beforeDate(1, date));
    EXPECT_TRUE(lock->lockWhenCondition_beforeDate(0, date));
    EXPECT_FALSE(elsewhere([&] { return lock->lockBeforeDate(date); }));
    EXPECT_FALSE(elsewhere([&] { return lock->lockWhenCondition_beforeDate(0, date); }));
    lock->unlock();
    EXPECT_TRUE(lock->lockBeforeDate(date));
    lock->unlock();
  }
}

TEST(NSConditionLockTests, GivesUpAtTheDateAndNotBefore) {
  const auto lock = NSConditionLock::initWithCondition(0);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(lock->lockWhenCondition_beforeDate(1, inSeconds(0.05)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(49));
  EXPECT_TRUE(lock->tryLock()) << "who gave up must not keep it";
  EXPECT_FALSE(elsewhere([&] { return lock->lockBeforeDate(inSeconds(0.05)); }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(98));
  lock->unlock();
}

TEST(NSConditionLockTests, GivesUpAtTheDateAlsoWhileAnotherThreadHoldsIt) {
  const auto lock = NSConditionLock::initWithCondition(0);
  std::latch waits(1);
  bool taken = true;
  Threads threads;
  std::latch holds(1);
  threads.start([&] {
    waits.count_down();
    taken = lock->lockWhenCondition_beforeDate(1, inSeconds(0.1));
    holds.wait();
  });
  waits.wait();
  lock->lock();
  holds.count_down();
  threads.join();
  EXPECT_FALSE(taken);
  lock->unlock();
}

TEST(NSConditionLockTests, TakesItBeforeTheDateWhenTheConditionComes) {
  const auto lock = NSConditionLock::initWithCondition(0);
  bool taken = false;
  Threads threads;
  threads.start([&] {
    taken = lock->lockWhenCondition_beforeDate(1, inSeconds(kLong));
    if (taken) {
      lock->unlockWithCondition(2);
    }
  });
  lock->lock();
  lock->unlockWithCondition(1);
  lock->lockWhenCondition(2);
  lock->unlock();
  threads.join();
  EXPECT_TRUE(taken);
}

TEST(NSConditionLockTests, TheFarFutureIsFarEnough) {
  const auto lock = NSConditionLock::initWithCondition(5);
  EXPECT_TRUE(lock->lockWhenCondition_beforeDate(5, NSDate::distantFuture()));
  lock->unlock();
  EXPECT_TRUE(lock->lockBeforeDate(NSDate::dateWithTimeIntervalSinceReferenceDate(1e300)));
  lock->unlock();
}

TEST(NSConditionLockTests, AClockThatStandsStillDoesNotKeepAThreadWaiting) {
  const SettableClock clock(1000);
  const auto lock = NSConditionLock::initWithCondition(0);
  EXPECT_FALSE(lock->lockWhenCondition_beforeDate(1, inSeconds(0.02)));
  EXPECT_TRUE(lock->tryLock());
  EXPECT_FALSE(elsewhere([&] { return lock->lockBeforeDate(inSeconds(0.02)); }));
  lock->unlock();
}

TEST(NSConditionLockTests, EveryConditionInTurnReachesItsOwnThread) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 500;
  const auto lock = NSConditionLock::initWithCondition(0);
  std::vector<int> turns;
  Threads threads;
  threads.start(kThreads, [&](int own) {
    for (int round = 0; round < kRounds; ++round) {
      lock->lockWhenCondition(own);
      turns.push_back(own);
      lock->unlockWithCondition((own + 1) % kThreads);
    }
  });
  threads.join();
  ASSERT_EQ(turns.size(), std::size_t{kThreads * kRounds});
  for (std::size_t i = 0; i < turns.size(); ++i) {
    ASSERT_EQ(turns[i], static_cast<int>(i % kThreads)) << "turn " << i;
  }
}

TEST(NSConditionLockTests, NoWakeUpIsLostAmongThoseThatGiveUp) {
  constexpr int kTokens = 2000;
  const auto lock = NSConditionLock::initWithCondition(0);
  int tokens = 0;
  std::atomic<int> taken{0};
  Threads sleeper, impatient;
  impatient.start(3, [&](int) {
    while (taken < kTokens) {
      if (lock->lockWhenCondition_beforeDate(1, inSeconds(0.0002))) {
        ++taken;
        lock->unlockWithCondition(--tokens > 0 ? 1 : 0);
      }
    }
  });
  // This one never gives up: a wake-up that is lost leaves it asleep.
  sleeper.start([&] {
    for (bool isEnd = false; !isEnd;) {
      lock->lockWhenCondition(1);
      ++taken;
      isEnd = taken > kTokens;
      lock->unlockWithCondition(--tokens > 0 ? 1 : 0);
    }
  });
  for (int i = 0; i < kTokens; ++i) {
    lock->lock();
    ++tokens;
    lock->unlockWithCondition(1);
  }
  impatient.join();
  lock->lock();
  EXPECT_EQ(tokens, 0);
  tokens = 1;  // for the one that is left
  lock->unlockWithCondition(1);
  sleeper.join();
  EXPECT_EQ(taken, kTokens + 1);
}

TEST(NSConditionLockTests, WhoGivesUpAsItIsChosenLeavesTheLockToTheNext) {
  using Clock = std::chrono::steady_clock;
  constexpr NSTimeInterval kMoment = 0.0002;
  const StressTime time;
  for (int round = 0; !time.isOver(); ++round) {
    const auto lock = NSConditionLock::initWithCondition(0);
    std::latch first(1), second(1);
    Threads threads;
    threads.start([&] {
      first.count_down();
      if (lock->lockWhenCondition_beforeDate(1, inSeconds(kMoment))) {
        lock->unlock();
      }
    });
    first.wait();
    threads.start([&] {
      second.count_down();
      lock->lockWhenCondition(1);  // what is lost leaves it asleep
      lock->unlock();
    });
    second.wait();
    // The condition comes when the time of the first one runs out, now sooner and now later.
    const auto comes = Clock::now() + std::chrono::microseconds(130 + round % 200);
    while (Clock::now() < comes) {
    }
    lock->lock();
    lock->unlockWithCondition(1);
  }
}

TEST(NSConditionLockDeathTests, UnlockingWhatNobodyHoldsIsABrokenContract) {
  const auto lock = NSConditionLock::init();
  EXPECT_DEATH(lock->unlock(), "the lock is held");
  EXPECT_DEATH(lock->unlockWithCondition(1), "the lock is held");
}

}  // namespace
}  // namespace kestova::testing
