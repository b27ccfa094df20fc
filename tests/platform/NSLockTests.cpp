// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSLock.h>
#include <KestovaPlatform/NSRecursiveLock.h>
#include <KestovaPlatform/NSString.h>
#include <gtest/gtest.h>

#include "SettableClock.h"

#include <latch>
#include <mutex>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::SettableClock;

template <class Lock>
class LockTests : public ::testing::Test {
 protected:
  /// What another thread answers.
  template <class Question>
  static bool elsewhere(const Question& question) {
    bool answer = false;
    std::thread([&] { answer = question(); }).join();
    return answer;
  }

  Ref<Lock> lock = Lock::init();
};

using Locks = ::testing::Types<NSLock, NSRecursiveLock>;
TYPED_TEST_SUITE(LockTests, Locks);

TYPED_TEST(LockTests, OneThreadHoldsIt) {
  const auto tryOnce = [this] {
    const bool holds = this->lock->tryLock();
    if (holds) {
      this->lock->unlock();
    }
    return holds;
  };
  this->lock->lock();
  EXPECT_FALSE(this->elsewhere(tryOnce));
  this->lock->unlock();
  EXPECT_TRUE(this->elsewhere(tryOnce));
}

TYPED_TEST(LockTests, KeepsThreadsApart) {
  int sum = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int step = 0; step < 1000; ++step) {
        const std::lock_guard guard(*this->lock);
        ++sum;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(sum, 4000);
}

TYPED_TEST(LockTests, WaitsNoLongerThanUntilADate) {
  const auto holdsBefore = [this](const Ref<NSDate>& limit) {
    return this->elsewhere([&] {
      const bool holds = this->lock->lockBeforeDate(limit);
      if (holds) {
        this->lock->unlock();
      }
      return holds;
    });
  };
  this->lock->lock();
  EXPECT_FALSE(holdsBefore(nullptr));
  EXPECT_FALSE(holdsBefore(NSDate::distantPast()));
  EXPECT_FALSE(holdsBefore(NSDate::dateWithTimeIntervalSinceNow(0.01)));
  this->lock->unlock();
  EXPECT_TRUE(holdsBefore(nullptr));
  EXPECT_TRUE(holdsBefore(NSDate::distantFuture()));
}

TYPED_TEST(LockTests, ADateIsReadByTheClockInUse) {
  const SettableClock clock(1000);
  this->lock->lock();
  EXPECT_FALSE(this->elsewhere([this] {
    return this->lock->lockBeforeDate(NSDate::dateWithTimeIntervalSinceReferenceDate(999));
  }));
  this->lock->unlock();
}

TYPED_TEST(LockTests, WhoWaitsForADateGetsWhatIsGivenBackBefore) {
  this->lock->lock();
  std::latch begun(1);
  bool holds = false;
  std::thread waiter([&] {
    begun.count_down();
    holds = this->lock->lockBeforeDate(NSDate::distantFuture());
    this->lock->unlock();
  });
  begun.wait();
  this->lock->unlock();
  waiter.join();
  EXPECT_TRUE(holds);
}

TYPED_TEST(LockTests, OnlyItsHolderGivesItBack) {
  EXPECT_DEATH(this->lock->unlock(), "the thread holds the lock");
  const auto giveBackElsewhere = [this] {
    this->lock->lock();
    std::thread([this] { this->lock->unlock(); }).join();
  };
  EXPECT_DEATH(giveBackElsewhere(), "the thread holds the lock");
}

TEST(NSLockTests, IsNotTakenTwice) {
  const auto lock = NSLock::init();
  lock->lock();
  EXPECT_FALSE(lock->tryLock());
  lock->unlock();
  // In the statement itself, because the thread of a forked process is another one.
  const auto lockTwice = [&] {
    lock->lock();
    lock->lock();
  };
  const auto lockTwiceBeforeDate = [&] {
    lock->lock();
    (void)lock->lockBeforeDate(NSDate::distantFuture());
  };
  EXPECT_DEATH(lockTwice(), "does not hold the lock yet");
  EXPECT_DEATH(lockTwiceBeforeDate(), "does not hold the lock yet");
}

TEST(NSRecursiveLockTests, IsFreeOnceItWasGivenBackAsOften) {
  const auto lock = NSRecursiveLock::init();
  lock->lock();
  EXPECT_TRUE(lock->tryLock());
  EXPECT_TRUE(lock->lockBeforeDate(NSDate::distantPast()));
  const auto isFree = [&] {
    bool free = false;
    std::thread([&] {
      free = lock->tryLock();
      if (free) {
        lock->unlock();
      }
    }).join();
    return free;
  };
  lock->unlock();
  lock->unlock();
  EXPECT_FALSE(isFree());
  lock->unlock();
  EXPECT_TRUE(isFree());
}

TEST(NSRecursiveLockTests, IsMadeByItsName) {
  EXPECT_NE(cast<NSRecursiveLock>(NSClassFromString("NSRecursiveLock")->make()), nullptr);
  EXPECT_NE(cast<NSLock>(NSClassFromString("NSLock")->make()), nullptr);
}

}  // namespace
}  // namespace kestova
