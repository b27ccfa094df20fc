// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThrottlingDispatcher.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "RunRecord.h"
#include "Stress.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <latch>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace kestova::testing {
namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

/// An interval that the tests see the end of, one that they work within, and one that never ends.
constexpr NSTimeInterval kShort = 0.02;
constexpr NSTimeInterval kLong = 0.5;
constexpr NSTimeInterval kEndless = 3600;

class OVThrottlingDispatcherTests : public ::testing::Test {
 protected:
  Ref<OVThrottlingDispatcher> make(NSUInteger mode, NSTimeInterval seconds) const {
    return OVThrottlingDispatcher::initWithQueue_seconds_mode(queue, seconds, mode);
  }
  Ref<OVThrottlingDispatcher> betweenStarts(NSTimeInterval seconds) const {
    return make(OVThrottleBetweenStarts, seconds);
  }
  Ref<OVThrottlingDispatcher> betweenExecution(NSTimeInterval seconds) const {
    return make(OVThrottleBetweenExecution, seconds);
  }

  /// A block that carries an object, to see when it is let go of.
  Block<void()> carrier(char name) const {
    return runs.block(name, [object = counted(0)] { (void)object; });
  }

  /// A block that notes when it began.
  Block<void()> noting(steady_clock::time_point& start, char name) const {
    return [this, &start, name] {
      start = steady_clock::now();
      runs.add(name);
    };
  }

  /// Returns when everything on the queue has run, also what comes after a block there.
  void drain() const {
    dispatch_sync(queue, [] {});
  }

  /// Dispatches a first block and returns when it has run and the dispatcher knows.
  void runFirst(const Ref<OVThrottlingDispatcher>& dispatcher) const {
    const std::size_t before = runs.names().size();
    dispatcher->dispatch(runs.block('A'));
    runs.waitFor(before + 1);
    drain();
  }

  std::size_t runsOf(char name) const {
    const std::string names = runs.names();
    return static_cast<std::size_t>(std::count(names.begin(), names.end(), name));
  }

  /// Returns when no counted object is left.
  static void waitUntilAllAreGone() {
    while (CountingObject::alive() > 0) {
      std::this_thread::yield();
    }
  }

  const DispatchQueue queue = dispatchSerialQueue();
  const RunRecord runs;
};

/// What holds in both modes.
class OVThrottlingDispatcherModeTests : public OVThrottlingDispatcherTests,
                                        public ::testing::WithParamInterface<NSUInteger> {
 protected:
  Ref<OVThrottlingDispatcher> make(NSTimeInterval seconds) const {
    return OVThrottlingDispatcherTests::make(GetParam(), seconds);
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, OVThrottlingDispatcherModeTests,
                         ::testing::Values(OVThrottleBetweenStarts, OVThrottleBetweenExecution),
                         [](const auto& mode) {
                           return mode.param == OVThrottleBetweenStarts ? "BetweenStarts"
                                                                        : "BetweenExecution";
                         });

using OVThrottlingDispatcherDeathTests = OVThrottlingDispatcherTests;

// Shows: OVThrottleBetweenStarts, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenStartsIsZeroAndBetweenExecutionIsOne) {
  EXPECT_EQ(OVThrottleBetweenStarts, 0U);
  EXPECT_EQ(OVThrottleBetweenExecution, 1U);
}

// Shows: OVThrottlingDispatcher
TEST_F(OVThrottlingDispatcherTests, ItsClassAloneMakesNone) {
  EXPECT_FALSE(OVThrottlingDispatcher::staticClass().make());
}

// Both modes, row by row.

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, AnIdleDispatcherRunsABlockAtOnce) {
  const auto dispatcher = make(kEndless);
  dispatcher->dispatch(runs.block('A'));
  EXPECT_EQ(runs.waitFor(1), "A");
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, ABlockWithinTheIntervalWaits) {
  const auto dispatcher = make(kEndless);
  runFirst(dispatcher);
  dispatcher->dispatch(carrier('B'));
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  EXPECT_EQ(CountingObject::alive(), 1);
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, ABlockReplacesTheOneThatWaits) {
  const auto dispatcher = make(kEndless);
  runFirst(dispatcher);
  for (const char name : {'B', 'C', 'D'}) {
    dispatcher->dispatch(carrier(name));
    EXPECT_EQ(CountingObject::alive(), 1) << "the one before is gone";
  }
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, OfABurstTheFirstAndTheLastRun) {
  const auto dispatcher = make(kLong);
  dispatcher->dispatch(runs.block('A'));
  runs.waitFor(1);
  for (const char name : {'B', 'C', 'D'}) {
    dispatcher->dispatch(runs.block(name));
  }
  EXPECT_EQ(runs.waitFor(2), "AD");
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, GoesIdleWhenNothingCameWithinTheInterval) {
  const auto dispatcher = make(kShort);
  runFirst(dispatcher);
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  runFirst(dispatcher);
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "AA");
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, TheLastBlockOfEachBurstRunsOnce) {
  const auto dispatcher = make(kShort);
  for (std::size_t burst = 1; burst <= 5; ++burst) {
    dispatcher->dispatch(runs.block('A'));
    dispatcher->dispatch(runs.block('B'));
    while (runsOf('B') < burst) {
      letRunWhatIsDue(kShort);
    }
  }
  EXPECT_EQ(runsOf('B'), 5U);
  EXPECT_LE(runsOf('A'), 5U);
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, ABlockMayDispatchTheNext) {
  const auto dispatcher = make(kShort);
  dispatcher->dispatch(runs.block('A', [&, this] { dispatcher->dispatch(runs.block('B')); }));
  EXPECT_EQ(runs.waitFor(2), "AB");
  drain();
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, ABlockThatHasRunIsLetGoOf) {
  const auto dispatcher = make(kEndless);
  dispatcher->dispatch(carrier('A'));
  runs.waitFor(1);
  drain();
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: OVThrottlingDispatcher
TEST_P(OVThrottlingDispatcherModeTests, ABlockThatWaitsIsDroppedWithTheDispatcher) {
  auto dispatcher = make(kEndless);
  runFirst(dispatcher);
  dispatcher->dispatch(carrier('B'));
  dispatcher = nullptr;
  EXPECT_EQ(CountingObject::alive(), 0);
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
}

// Shows: OVThrottlingDispatcher
TEST_P(OVThrottlingDispatcherModeTests, ABlockOnItsQueueStillRunsAfterTheDispatcher) {
  const Gate gate;
  auto dispatcher = make(kEndless);
  dispatch_async(queue, gate.wait());
  dispatcher->dispatch(runs.block('A'));
  letRunWhatIsDue(0.5);
  dispatcher = nullptr;
  EXPECT_EQ(runs.names(), "");
  gate.open();
  EXPECT_EQ(runs.waitFor(1), "A");
}

// Shows: OVThrottlingDispatcher
TEST_P(OVThrottlingDispatcherModeTests, ABlockMayLetGoOfItsDispatcher) {
  auto dispatcher = std::make_shared<Ref<OVThrottlingDispatcher>>(make(kLong));
  const Gate gate;
  (*dispatcher)->dispatch(runs.block('A', [=, this] {
    gate.wait()();
    (*dispatcher)->dispatch(runs.block('B'));
    *dispatcher = nullptr;
    runs.add('-');
  }));
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "A-");
  letRunWhatIsDue(2 * kLong);
  EXPECT_EQ(runs.names(), "A-");
}

// Shows: OVThrottlingDispatcher
TEST_P(OVThrottlingDispatcherModeTests, ABlockMayBeTheLastToHoldItsDispatcher) {
  auto dispatcher = make(kEndless);
  dispatcher->dispatch([record = runs, next = carrier('B'), kept = dispatcher] {
    kept->dispatch(next);
    record.add('A');
  });
  dispatcher = nullptr;
  EXPECT_EQ(runs.waitFor(1), "A");
  waitUntilAllAreGone();
  EXPECT_EQ(runs.names(), "A");
}

// Shows: dispatch
TEST_P(OVThrottlingDispatcherModeTests, WhatIsDroppedMayUseTheDispatcherAsItGoes) {
  const auto dispatcher = make(kEndless);
  runFirst(dispatcher);
  std::shared_ptr<void> farewell(nullptr, [&](void*) { dispatcher->dispatch(carrier('C')); });
  dispatcher->dispatch([kept = std::move(farewell)] { (void)kept; });
  dispatcher->dispatch(runs.block('B'));
  EXPECT_EQ(CountingObject::alive(), 1) << "B gave way to C";
}

// Between starts.

// Shows: initWithQueue_seconds, OVThrottleBetweenStarts
TEST_F(OVThrottlingDispatcherTests, BetweenStartsIsTheUsualMode) {
  const auto dispatcher =
      OVThrottlingDispatcher::initWithQueue_seconds(dispatch_get_global_queue(0, 0), kShort);
  const Gate gate;
  dispatcher->dispatch(runs.block('A', gate.wait()));
  runs.waitFor(1);
  dispatcher->dispatch(runs.block('B', [=] { gate.open(); }));
  EXPECT_EQ(runs.waitFor(2), "AB") << "B starts while A runs";
}

// Shows: dispatch, OVThrottleBetweenStarts
TEST_F(OVThrottlingDispatcherTests, BetweenStartsABlockThatRunsCanBeHandedOverAgain) {
  const auto dispatcher = betweenStarts(kShort);
  const Gate gate;
  const auto block = runs.block('A', gate.wait());
  dispatcher->dispatch(block);
  runs.waitFor(1);
  dispatcher->dispatch(block);
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AA");
}

// Shows: dispatch, OVThrottleBetweenStarts
TEST_F(OVThrottlingDispatcherTests, BetweenStartsTheNextWaitsForTheWholeIntervalFromTheStart) {
  const auto dispatcher = betweenStarts(kLong);
  const auto handedOver = steady_clock::now();
  dispatcher->dispatch(runs.block('A'));
  runs.waitFor(1);
  steady_clock::time_point started;
  dispatcher->dispatch(noting(started, 'B'));
  EXPECT_EQ(runs.waitFor(2), "AB");
  EXPECT_GE(started - handedOver, duration<double>(kLong));
}

// Between execution.

// Shows: dispatch, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenExecutionNoneStartsWhileOneRuns) {
  const DispatchQueue concurrent = dispatchConcurrentQueue();
  const auto dispatcher = OVThrottlingDispatcher::initWithQueue_seconds_mode(
      concurrent, kShort, OVThrottleBetweenExecution);
  const Gate gate;
  dispatcher->dispatch(runs.block('A', [=, this] {
    gate.wait()();
    runs.add('a');
  }));
  runs.waitFor(1);
  dispatcher->dispatch(runs.block('B'));
  dispatcher->dispatch(runs.block('C'));
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  gate.open();
  EXPECT_EQ(runs.waitFor(3), "AaC");
  dispatch_barrier_sync(concurrent, [] {});
}

// Shows: dispatch, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenExecutionTheIntervalBeginsAtTheEnd) {
  const auto dispatcher = betweenExecution(kEndless);
  const Gate gate;
  dispatcher->dispatch(runs.block('A', gate.wait()));
  runs.waitFor(1);
  dispatcher->dispatch(carrier('B'));
  dispatcher->dispatch(carrier('C'));
  EXPECT_EQ(CountingObject::alive(), 1) << "B was dropped";
  gate.open();
  drain();
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  EXPECT_EQ(CountingObject::alive(), 1) << "C waits";
}

// Shows: dispatch, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenExecutionTheNextWaitsForTheWholeIntervalFromTheEnd) {
  const auto dispatcher = betweenExecution(kLong);
  const Gate gate;
  steady_clock::time_point ended;
  dispatcher->dispatch(runs.block('A', [&] {
    gate.wait()();
    ended = steady_clock::now();
  }));
  runs.waitFor(1);
  steady_clock::time_point started;
  dispatcher->dispatch(noting(started, 'B'));
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AB");
  EXPECT_GE(started - ended, duration<double>(kLong));
}

// Shows: dispatch, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenExecutionTheBlockThatRunsIsForgottenWhenHandedOver) {
  const auto dispatcher = betweenExecution(kShort);
  const Gate gate;
  const Block<void()> block = runs.block('A', gate.wait());
  const Block<void()> copy = block;
  dispatcher->dispatch(block);
  runs.waitFor(1);
  dispatcher->dispatch(runs.block('B'));
  dispatcher->dispatch(copy);
  gate.open();
  drain();
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
  dispatcher->dispatch(block);
  EXPECT_EQ(runs.waitFor(2), "AA") << "it is forgotten only while it runs";
}

// Shows: dispatch, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenExecutionABlockMadeAfreshRuns) {
  const auto dispatcher = betweenExecution(kShort);
  const Gate gate;
  const auto callable = [=, this] { runs.block('A', gate.wait())(); };
  dispatcher->dispatch(callable);
  runs.waitFor(1);
  dispatcher->dispatch(callable);
  gate.open();
  EXPECT_EQ(runs.waitFor(2), "AA");
}

// Shows: OVThrottlingDispatcher, OVThrottleBetweenExecution
TEST_F(OVThrottlingDispatcherTests, BetweenExecutionTheDispatcherMayGoWhileABlockRuns) {
  auto dispatcher = betweenExecution(kShort);
  const Gate gate;
  dispatcher->dispatch(runs.block('A', gate.wait()));
  runs.waitFor(1);
  dispatcher->dispatch(carrier('B'));
  dispatcher = nullptr;
  EXPECT_EQ(CountingObject::alive(), 0);
  gate.open();
  drain();
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "A");
}

// Odd arguments.

// Shows: initWithQueue_seconds_mode, dispatch
TEST_F(OVThrottlingDispatcherTests, AnyOtherModeSwallowsEveryBlock) {
  for (const NSUInteger mode : {NSUInteger{2}, std::numeric_limits<NSUInteger>::max()}) {
    const auto dispatcher = make(mode, kShort);
    dispatcher->dispatch(carrier('A'));
    EXPECT_EQ(CountingObject::alive(), 0);
    letRunWhatIsDue();
    EXPECT_EQ(runs.names(), "");
  }
}

// Shows: initWithQueue_seconds_mode
TEST_F(OVThrottlingDispatcherTests, TheSmallestAndTheLargestIntervalAreIntervals) {
  const auto smallest = betweenStarts(std::numeric_limits<double>::denorm_min());
  runFirst(smallest);
  runFirst(smallest);
  EXPECT_EQ(runs.names(), "AA");
  const auto largest = betweenExecution(std::numeric_limits<double>::infinity());
  runFirst(largest);
  largest->dispatch(runs.block('B'));
  letRunWhatIsDue();
  EXPECT_EQ(runs.names(), "AAA");
}

// Shows: initWithQueue_seconds_mode, initWithQueue_seconds
TEST_F(OVThrottlingDispatcherDeathTests, AMissingQueueEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH((void)OVThrottlingDispatcher::initWithQueue_seconds_mode(nullptr, 1, 0),
               "Assertion failure in -\\[OVThrottlingDispatcher initWithQueue:seconds:mode:\\], "
               "OVThrottlingDispatcher:29: queue != nil\n");
  EXPECT_DEATH((void)OVThrottlingDispatcher::initWithQueue_seconds(nullptr, -1),
               "OVThrottlingDispatcher:29: queue != nil\n")
      << "the queue is looked at first";
}

// Shows: initWithQueue_seconds_mode
TEST_F(OVThrottlingDispatcherDeathTests, AnIntervalNotAboveZeroEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const double seconds : {0.0, -0.0, -1.0, std::nan("")}) {
    EXPECT_DEATH((void)betweenExecution(seconds),
                 "Assertion failure in -\\[OVThrottlingDispatcher initWithQueue:seconds:mode:\\], "
                 "OVThrottlingDispatcher:30: seconds > 0\\.0\n");
  }
}

// Shows: dispatch
TEST_F(OVThrottlingDispatcherDeathTests, AMissingBlockEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(betweenStarts(1)->dispatch(nullptr), "block != nil");
}

// Shows: dispatch
TEST_F(OVThrottlingDispatcherDeathTests, ABlockThatThrowsEndsTheProcessWithItsText) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const NSUInteger mode : {OVThrottleBetweenStarts, OVThrottleBetweenExecution}) {
    EXPECT_DEATH(
        {
          const auto dispatcher = make(mode, kEndless);
          dispatcher->dispatch([] { throw NSException(NSRangeException, "too far"); });
          runs.waitFor(1);
        },
        "an exception left a submitted block: NSRangeException: too far");
  }
}

// Many threads.

// Shows: OVThrottlingDispatcher, dispatch
TEST_P(OVThrottlingDispatcherModeTests, ABurstOfManyThreadsEndsWithTheLastBlock) {
  const auto dispatcher = make(0.001);
  Threads threads;
  threads.start(8, [&](int) {
    for (int i = 0; i < 10'000; ++i) {
      dispatcher->dispatch([] {});
    }
  });
  threads.join();
  dispatcher->dispatch(runs.block('Z'));
  EXPECT_EQ(runs.waitFor(1), "Z");
}

// Shows: OVThrottlingDispatcher
TEST_P(OVThrottlingDispatcherModeTests, DispatchersMayGoWhileOthersAreHammered) {
  const StressTime time;
  std::array<Ref<OVThrottlingDispatcher>, 4> slots;
  std::array<std::mutex, 4> mutexes;
  Threads threads;
  threads.start(8, [&](int number) {
    for (std::size_t i = static_cast<std::size_t>(number); !time.isOver(); ++i) {
      Ref<OVThrottlingDispatcher> dispatcher;
      {
        const std::scoped_lock lock(mutexes.at(i % 4));
        auto& slot = slots.at(i % 4);
        if (!slot || i % 16 == static_cast<std::size_t>(number)) {
          slot = make(1e-6 * static_cast<double>(1 + i % 50));
        }
        dispatcher = slot;
      }
      dispatcher->dispatch([object = counted(0)] { (void)object; });
    }
  });
  threads.join();
  slots = {};
  waitUntilAllAreGone();
}

}  // namespace
}  // namespace kestova::testing
