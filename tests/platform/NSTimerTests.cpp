// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSTimer.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "RunLoopThread.h"

namespace kestova {
namespace {

using testing::RunLoopThread;

/// A target for timers, which counts its calls.
class TimerTarget : public NSObject {
  KESTOVA_CLASS(TimerTarget, NSObject)

 public:
  static inline int alive = 0;

  void fired(const Ref<NSTimer>& timer) {
    ++calls;
    userInfo = timer->userInfo();
  }
  void firedWithoutArgument() { ++calls; }

  int calls = 0;
  id userInfo;

 private:
  TimerTarget() { ++alive; }
  ~TimerTarget() override { --alive; }
};

KESTOVA_DEFINE_CLASS(TimerTarget)

/// Timers of the test's own thread, which the test runs as far as it needs.
class NSTimerTest : public ::testing::Test {
 protected:
  ~NSTimerTest() override {
    for (const Ref<NSTimer>& timer : timers_) {
      timer->invalidate();
    }
  }

  /// Keeps a timer until the end of the test.
  Ref<NSTimer> kept(Ref<NSTimer> timer) {
    timers_.push_back(timer);
    return timer;
  }

  Ref<NSTimer> scheduled(NSTimeInterval interval, bool repeats, NSTimer::Callback block) {
    return kept(
        NSTimer::scheduledTimerWithTimeInterval_repeats_block(interval, repeats, std::move(block)));
  }

  /// Runs the loop until a callback stops it.
  void runUntilStopped(const Ref<NSString>& mode = NSDefaultRunLoopMode) {
    EXPECT_EQ(loop->runInMode_seconds_returnAfterSourceHandled(mode, 60, false),
              kCFRunLoopRunStopped);
  }

  /// Lets so much time go by that a timer of the tests would have fired, and runs the loop
  /// meanwhile.
  void runPastTheNextBeats() { loop->runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.01)); }

  Ref<NSRunLoop> loop = NSRunLoop::currentRunLoop();

 private:
  std::vector<Ref<NSTimer>> timers_;
};

using NSTimerDeathTest = NSTimerTest;

TEST_F(NSTimerTest, ATimerFiresOnceAndIsInvalidThen) {
  int calls = 0;
  const auto start = std::chrono::steady_clock::now();
  const auto timer = scheduled(0.005, false, [&](const Ref<NSTimer>& fired) {
    ++calls;
    EXPECT_TRUE(fired->isValid());
    loop->stop();
  });
  EXPECT_TRUE(timer->isValid());
  EXPECT_EQ(timer->timeInterval(), 0);
  runUntilStopped();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
  EXPECT_FALSE(timer->isValid());
  runPastTheNextBeats();
  EXPECT_EQ(calls, 1);
}

TEST_F(NSTimerTest, ARepeatingTimerFiresUntilItIsInvalid) {
  int calls = 0;
  const auto repeating = scheduled(0.001, true, [&](const Ref<NSTimer>& timer) {
    EXPECT_EQ(timer->timeInterval(), 0.001);
    if (++calls == 5) {
      timer->invalidate();
      EXPECT_FALSE(timer->isValid());
      loop->stop();
    }
  });
  runUntilStopped();
  runPastTheNextBeats();
  EXPECT_EQ(calls, 5);
}

TEST_F(NSTimerTest, TimersFireInTheOrderOfTheirMomentsWhicheverTheirModes) {
  std::string order;
  const auto now = NSDate::date();
  const auto add = [&](NSTimeInterval offset, char name, const Ref<NSString>& mode) {
    loop->addTimer_forMode(kept(NSTimer::initWithFireDate_interval_repeats_block(
                               NSDate::dateWithTimeInterval_sinceDate(offset, now), 0, false,
                               [&order, name](const Ref<NSTimer>&) { order += name; })),
                           mode);
  };
  add(-1, 'd', NSDefaultRunLoopMode);
  add(-3, 'b', NSDefaultRunLoopMode);
  add(-2, 'c', NSRunLoopCommonModes);
  add(-4, 'a', NSRunLoopCommonModes);
  loop->turn();
  EXPECT_EQ(order, "abcd");
}

TEST_F(NSTimerTest, BeatsThatWentByAreLeftOutAndTheBeatIsKept) {
  int calls = 0;
  const auto first = NSDate::dateWithTimeIntervalSinceNow(-1000.5);
  const auto timer = kept(NSTimer::initWithFireDate_interval_repeats_block(
      first, 100, true, [&](const Ref<NSTimer>&) { ++calls; }));
  loop->addTimer_forMode(timer, NSDefaultRunLoopMode);
  loop->turn();
  loop->turn();
  EXPECT_EQ(calls, 1);
  EXPECT_NEAR(timer->fireDate()->timeIntervalSinceDate(first), 1100, 0.01);
}

TEST_F(NSTimerTest, BeatsDuringTheCallbackAreLeftOutToo) {
  int calls = 0;
  const auto slow = scheduled(0.001, true, [&](const Ref<NSTimer>& timer) {
    ++calls;
    const auto next = timer->fireDate();
    while (next->timeIntervalSinceNow() > -0.005) {
      std::this_thread::yield();
    }
    if (calls == 2) {
      loop->stop();
    }
  });
  runUntilStopped();
  EXPECT_EQ(calls, 2);
}

TEST_F(NSTimerTest, ATimerDoesNotFireWithinItsOwnCallback) {
  int calls = 0;
  int depth = 0;
  loop->addCommonMode("NSTimerTests.inner");
  const auto timer =
      kept(NSTimer::timerWithTimeInterval_repeats_block(0.0001, true, [&](const Ref<NSTimer>&) {
        EXPECT_EQ(++depth, 1);
        ++calls;
        const NSUInteger before = loop->turnCount();
        loop->runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.005));
        EXPECT_EQ(
            loop->runInMode_seconds_returnAfterSourceHandled("NSTimerTests.inner", 0.005, false),
            kCFRunLoopRunTimedOut);
        // The first turn of each run and the last one, and none for the beats that went by.
        EXPECT_LE(loop->turnCount() - before, 4u);
        --depth;
        if (calls == 2) {
          loop->stop();
        }
      }));
  loop->addTimer_forMode(timer, NSRunLoopCommonModes);
  loop->addTimer_forMode(timer, "NSTimerTests.inner");
  runUntilStopped();
}

TEST_F(NSTimerTest, FireCallsAtOnceAndKeepsTheBeat) {
  int calls = 0;
  const auto repeating =
      kept(NSTimer::timerWithTimeInterval_repeats_block(100, true, [&](auto&) { ++calls; }));
  const auto before = repeating->fireDate();
  repeating->fire();
  repeating->fire();
  EXPECT_EQ(calls, 2);
  EXPECT_NEAR(repeating->fireDate()->timeIntervalSinceDate(before), 0, 0.01);

  const auto single =
      kept(NSTimer::timerWithTimeInterval_repeats_block(100, false, [&](auto&) { ++calls; }));
  single->fire();
  single->fire();
  EXPECT_EQ(calls, 3);
  EXPECT_FALSE(single->isValid());
}

TEST_F(NSTimerTest, ATargetIsCalledAndHeldUntilTheTimerIsInvalid) {
  {
    const auto target = make<TimerTarget>();
    const auto timer = kept(NSTimer::timerWithTimeInterval_target_selector_userInfo_repeats(
        100, target, sel<&TimerTarget::fired>(), "info", true));
    timer->fire();
    EXPECT_EQ(target->calls, 1);
    EXPECT_EQ(cast<NSString>(target->userInfo), "info");
    EXPECT_EQ(cast<NSString>(timer->userInfo()), "info");
    const auto other =
        kept(NSTimer::scheduledTimerWithTimeInterval_target_selector_userInfo_repeats(
            100, target, sel<&TimerTarget::firedWithoutArgument>(), nullptr, false));
    other->fire();
    EXPECT_EQ(target->calls, 2);
    EXPECT_EQ(target->retainCount(), 2u);
  }
  EXPECT_EQ(TimerTarget::alive, 1);
}

TEST_F(NSTimerTest, AnInvalidTimerHoldsNothing) {
  {
    const auto timer =
        kept(NSTimer::scheduledTimerWithTimeInterval_target_selector_userInfo_repeats(
            100, make<TimerTarget>(), sel<&TimerTarget::fired>(), "info", true));
    EXPECT_EQ(TimerTarget::alive, 1);
    timer->invalidate();
    timer->invalidate();
    EXPECT_EQ(TimerTarget::alive, 0);
    EXPECT_EQ(timer->userInfo(), nullptr);
    timer->fire();
  }
}

TEST_F(NSTimerTest, AFireDateMovesTheTimer) {
  int calls = 0;
  const auto timer = scheduled(1000, true, [&](const Ref<NSTimer>&) { ++calls; });
  loop->turn();
  EXPECT_EQ(calls, 0);
  timer->setFireDate(NSDate::distantPast());
  loop->turn();
  EXPECT_EQ(calls, 1);
  EXPECT_NEAR(timer->fireDate()->timeIntervalSinceNow(), 1000, 60);
  timer->setFireDate(NSDate::distantFuture());
  loop->turn();
  EXPECT_EQ(calls, 1);
}

TEST_F(NSTimerTest, ACallbackMovesItsOwnTimer) {
  int calls = 0;
  const auto timer = scheduled(1000, true, [&](const Ref<NSTimer>& fired) {
    if (++calls == 3) {
      loop->stop();
    } else {
      fired->setFireDate(NSDate::date());
    }
  });
  timer->setFireDate(NSDate::date());
  runUntilStopped();
  EXPECT_EQ(calls, 3);
  EXPECT_NEAR(timer->fireDate()->timeIntervalSinceNow(), 1000, 60);
}

TEST_F(NSTimerTest, ATimerThatAnotherInvalidatesInTheSameTurnDoesNotFire) {
  int calls = 0;
  Ref<NSTimer> second;
  const auto first = scheduled(1000, false, [&](const Ref<NSTimer>&) { second->invalidate(); });
  second = scheduled(1000, false, [&](const Ref<NSTimer>&) { ++calls; });
  first->setFireDate(NSDate::distantPast());
  second->setFireDate(NSDate::distantPast());
  loop->turn();
  EXPECT_FALSE(first->isValid());
  EXPECT_EQ(calls, 0);
}

TEST_F(NSTimerTest, UnusableIntervalsAreTheShortestOne) {
  for (const double interval : {0.0, -5.0, std::nan("")}) {
    const auto timer =
        kept(NSTimer::timerWithTimeInterval_repeats_block(interval, true, [](auto&) {}));
    EXPECT_EQ(timer->timeInterval(), 0.0001);
  }
  const auto endless = scheduled(std::numeric_limits<double>::infinity(), true, [](auto&) {});
  loop->turn();
  EXPECT_TRUE(endless->isValid());
}

TEST_F(NSTimerTest, AnExceptionOfTheCallbackLeavesTheTimerOnItsBeat) {
  int calls = 0;
  const auto timer = scheduled(0.0001, true, [&](const Ref<NSTimer>&) {
    if (++calls == 1) {
      throw std::runtime_error("expected");
    }
    loop->stop();
  });
  EXPECT_THROW(loop->run(), std::runtime_error);
  EXPECT_TRUE(timer->isValid());
  runUntilStopped();
  EXPECT_EQ(calls, 2);
  timer->invalidate();

  const auto single =
      scheduled(0, false, [](const Ref<NSTimer>&) { throw std::runtime_error("expected"); });
  EXPECT_THROW(loop->run(), std::runtime_error);
  EXPECT_FALSE(single->isValid());
}

TEST_F(NSTimerTest, OtherThreadsAddMoveAndEndTimers) {
  RunLoopThread thread;
  std::atomic<int> calls{0};
  for (int i = 0; i < 200; ++i) {
    const auto timer = NSTimer::timerWithTimeInterval_repeats_block(
        0.0001, true, [&](const Ref<NSTimer>&) { ++calls; });
    thread.runLoop()->addTimer_forMode(timer, NSRunLoopCommonModes);
    timer->setFireDate(NSDate::dateWithTimeIntervalSinceNow(0.00005));
    const int before = calls;
    while (calls == before) {
      std::this_thread::yield();
    }
    timer->invalidate();
  }
  thread.settle();
  const int last = calls;
  thread.settle();
  EXPECT_EQ(calls, last);
}

TEST_F(NSTimerDeathTest, ATimerBelongsToOneRunLoop) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        RunLoopThread thread;
        const auto timer = scheduled(1000, true, [](const Ref<NSTimer>&) {});
        thread.runLoop()->addTimer_forMode(timer, NSDefaultRunLoopMode);
      },
      "the timer belongs to another run loop");
}

TEST_F(NSTimerDeathTest, WhatATimerCallsIsThere) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(static_cast<void>(scheduled(1, false, nullptr)), "block != nil");
  EXPECT_DEATH(static_cast<void>(NSTimer::timerWithTimeInterval_target_selector_userInfo_repeats(
                   1, "no such target", sel<&TimerTarget::fired>(), nullptr, false)),
               "the target doesn't answer the selector");
}

}  // namespace
}  // namespace kestova
