// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <latch>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

/// A callable that tells when it is gone.
struct Tracer {
  explicit Tracer(std::shared_ptr<std::latch> latch) : gone(std::move(latch)) {}
  Tracer(Tracer&&) = default;
  ~Tracer() {
    if (gone != nullptr) {
      gone->count_down();
    }
  }
  void operator()() const {}

  std::shared_ptr<std::latch> gone;
};

class Dispatch : public ::testing::Test {
 protected:
  dispatch_queue_t global() const { return dispatch_get_global_queue(0, 0); }

  /// Returns when everything that was submitted to the serial queue before has run.
  void drain() {
    dispatch_sync(queue, [] {});
  }

  DispatchQueue queue = dispatchSerialQueue("org.kestova.tests");
};

using DispatchDeathTest = Dispatch;

TEST_F(Dispatch, SerialTasksRunInTheOrderOfTheirSubmission) {
  std::vector<int> order;
  for (int i = 0; i < 100; ++i) {
    dispatch_async(queue, [&order, i] { order.push_back(i); });
  }
  drain();
  ASSERT_EQ(order.size(), 100u);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
  }
}

TEST_F(Dispatch, ASerialQueueGuardsPlainVariablesOfManyThreads) {
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 250; ++j) {
        dispatch_sync(queue, [&] { ++count; });
        dispatch_async(queue, [&] { ++count; });
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(dispatch_sync(queue, [&] { return count; }), 2000);
}

TEST_F(Dispatch, ASynchronousTaskAnswersAndCopiesNothing) {
  auto only = std::make_unique<int>(42);
  const auto moved = dispatch_sync(queue, [&] { return std::move(only); });
  EXPECT_EQ(*moved, 42);

  const std::string text = "kept";
  const std::string& reference = text;
  EXPECT_EQ(dispatch_sync(queue, [&]() -> const std::string& { return reference; }), "kept");
}

TEST_F(Dispatch, ABlockIsTakenWhereACallableIs) {
  int runs = 0;
  const Block<void()> block = [&] { ++runs; };
  dispatch_async(queue, block);
  dispatch_sync(queue, block);
  EXPECT_EQ(runs, 2);
}

TEST_F(Dispatch, ACallableIsGoneAfterItHasRun) {
  const auto gone = std::make_shared<std::latch>(1);
  dispatch_async(queue, Tracer(gone));
  gone->wait();
}

TEST_F(Dispatch, TasksOfAConcurrentQueueRunSideBySide) {
  const DispatchQueue concurrent = dispatchConcurrentQueue();
  const auto both = std::make_shared<std::latch>(2);
  DispatchGroup group;
  group.async(concurrent, [=] { both->arrive_and_wait(); });
  group.async(concurrent, [=] { both->arrive_and_wait(); });
  group.wait();
  EXPECT_TRUE(both->try_wait());
}

TEST_F(Dispatch, BarriersRunAloneAndInTheirPlace) {
  const DispatchQueue concurrent = dispatchConcurrentQueue();
  std::atomic<int> before{0};
  int seen = -1;
  int after = -1;
  for (int i = 0; i < 10; ++i) {
    dispatch_async(concurrent, [&] { ++before; });
  }
  dispatch_barrier_async(concurrent, [&] { seen = before; });
  dispatch_async(concurrent, [&] { after = seen; });
  EXPECT_EQ(dispatch_barrier_sync(concurrent, [&] { return after; }), 10);
}

TEST_F(Dispatch, ADelayedBlockRunsAfterItsDelay) {
  std::latch ran(1);
  const auto start = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point end;
  dispatch_after(dispatchTimeAfter(0.02), queue, [&] {
    end = std::chrono::steady_clock::now();
    ran.count_down();
  });
  ran.wait();
  EXPECT_GE(end - start, std::chrono::milliseconds(20));
}

TEST_F(Dispatch, ADelayInThePastIsNoDelay) {
  std::latch ran(1);
  dispatch_after(dispatchTimeAfter(-5), queue, [&] { ran.count_down(); });
  ran.wait();
}

TEST_F(Dispatch, ABlockThatIsNeverDueIsLetGoOf) {
  const auto gone = std::make_shared<std::latch>(1);
  dispatch_after(DISPATCH_TIME_FOREVER, queue, Tracer(gone));
  EXPECT_TRUE(gone->try_wait());
}

TEST_F(Dispatch, DelaysAreCutOffToWholeNanoseconds) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(dispatchNanoseconds(0.5), 500'000'000);
  EXPECT_EQ(dispatchNanoseconds(1.9999999999), 1'999'999'999);
  EXPECT_EQ(dispatchNanoseconds(-1.9999999999), -1'999'999'999);
  EXPECT_EQ(dispatchNanoseconds(0.0000000009), 0);
  EXPECT_EQ(dispatchNanoseconds(std::nan("")), 0);
  EXPECT_EQ(dispatchNanoseconds(infinity), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(dispatchNanoseconds(-infinity), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(dispatchNanoseconds(1e10), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(dispatchTimeAfter(infinity), DISPATCH_TIME_FOREVER);
}

TEST_F(Dispatch, AQueueKnowsItsOwnTasks) {
  const DispatchQueue other = dispatchSerialQueue();
  EXPECT_FALSE(dispatchQueueIsCurrent(queue));
  EXPECT_TRUE(dispatch_sync(queue, [&] { return dispatchQueueIsCurrent(queue); }));
  EXPECT_FALSE(dispatch_sync(other, [&] { return dispatchQueueIsCurrent(queue); }));
}

TEST_F(Dispatch, OnceIsOnceForAllThreads) {
  static dispatch_once_t predicate;
  static int made;
  std::vector<std::thread> threads;
  std::atomic<int> seen{0};
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      dispatch_once(&predicate, [] { ++made; });
      seen += made;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(made, 1);
  EXPECT_EQ(seen, 4);
}

TEST_F(Dispatch, HoldersShareTheirQueue) {
  std::latch ran(1);
  {
    DispatchQueue first = dispatchSerialQueue();
    DispatchQueue second = first;
    DispatchQueue third(static_cast<dispatch_queue_t>(second));
    EXPECT_EQ(static_cast<dispatch_queue_t>(first), static_cast<dispatch_queue_t>(third));
    first = nullptr;
    second = std::move(third);
    dispatch_async(second, [&] { ran.count_down(); });
  }
  ran.wait();
  EXPECT_FALSE(DispatchQueue());
}

TEST_F(Dispatch, AGroupIsOverWhenItsLastTaskIs) {
  std::vector<int> results(8);
  DispatchGroup group;
  for (int& result : results) {
    group.async(global(), [&result] { result = 1; });
  }
  group.wait();
  EXPECT_EQ(results, std::vector<int>(8, 1));
}

TEST_F(Dispatch, AGroupCountsTasksOfOthers) {
  DispatchGroup group;
  group.enter();
  EXPECT_FALSE(group.waitFor(0));
  int result = 0;
  std::thread worker([&] {
    result = 7;
    group.leave();
  });
  EXPECT_TRUE(group.waitFor(60));
  EXPECT_EQ(result, 7);
  worker.join();
}

TEST_F(Dispatch, AGroupNotifiesOnceItIsEmpty) {
  std::latch notified(2);
  int result = 0;
  {
    DispatchGroup group;
    group.notify(queue, [&] { notified.count_down(); });
    group.async(global(), [&] { result = 1; });
    group.notify(queue, [&] {
      EXPECT_EQ(result, 1);
      notified.count_down();
    });
  }
  notified.wait();
}

TEST_F(Dispatch, ATimerFiresOnceOnItsQueue) {
  std::latch fired(1);
  int count = 0;
  DispatchTimer timer(queue);
  timer.setEventHandler([&] {
    EXPECT_TRUE(dispatchQueueIsCurrent(queue));
    if (++count == 1) {
      fired.count_down();
    }
  });
  timer.setTimer(DISPATCH_TIME_NOW);
  timer.resume();
  fired.wait();
  drain();
  EXPECT_EQ(dispatch_sync(queue, [&] { return count; }), 1);
}

TEST_F(Dispatch, ATimerKeepsABeatUntilItIsCancelled) {
  std::latch fired(5);
  std::latch cancelled(1);
  int count = 0;
  DispatchTimer timer(queue);
  timer.setEventHandler([&] {
    if (++count <= 5) {
      fired.count_down();
    }
  });
  timer.setCancelHandler([&] { cancelled.count_down(); });
  timer.setTimer(DISPATCH_TIME_NOW, 0.001);
  timer.resume();
  timer.resume();
  fired.wait();
  EXPECT_FALSE(timer.isCancelled());
  timer.cancel();
  EXPECT_TRUE(timer.isCancelled());
  cancelled.wait();
  const int last = dispatch_sync(queue, [&] { return count; });
  std::latch later(1);
  dispatch_after(dispatchTimeAfter(0.01), queue, [&] { later.count_down(); });
  later.wait();
  EXPECT_EQ(dispatch_sync(queue, [&] { return count; }), last);
}

TEST_F(Dispatch, ATimerIsSetAgainFromItsHandler) {
  std::latch fired(3);
  DispatchTimer timer(queue);
  int left = 3;
  timer.setEventHandler([&] {
    fired.count_down();
    if (--left > 0) {
      timer.setTimer(DISPATCH_TIME_NOW);
    }
  });
  timer.resume();
  timer.setTimer(DISPATCH_TIME_NOW);
  fired.wait();
  drain();
}

TEST_F(Dispatch, AHandlerThatIsReplacedIsLetGoOf) {
  const auto gone = std::make_shared<std::latch>(2);
  DispatchTimer timer;
  timer.setEventHandler(Tracer(gone));
  timer.setEventHandler(Tracer(gone));
  EXPECT_FALSE(gone->try_wait());
  timer.setEventHandler(nullptr);
  EXPECT_TRUE(gone->try_wait());
}

TEST_F(Dispatch, ATimerThatGoesLetsGoOfItsHandlers) {
  const auto gone = std::make_shared<std::latch>(4);
  {
    DispatchTimer atRest(queue);
    atRest.setEventHandler(Tracer(gone));
    atRest.setCancelHandler(Tracer(gone));
    DispatchTimer begun(queue);
    begun.setEventHandler(Tracer(gone));
    begun.setCancelHandler(Tracer(gone));
    begun.setTimer(DISPATCH_TIME_NOW, 0.001);
    begun.resume();
  }
  gone->wait();
}

TEST_F(Dispatch, NoHandlerRunsOnceACancelledTimersQueueIsDrained) {
  for (int i = 0; i < 50; ++i) {
    int alive = 1;
    {
      DispatchTimer timer(queue);
      timer.setEventHandler([&alive] { EXPECT_EQ(alive, 1); });
      timer.setTimer(DISPATCH_TIME_NOW, 0.0001);
      timer.resume();
      timer.cancel();
      drain();
      alive = 0;
    }
  }
}

TEST_F(DispatchDeathTest, AnExceptionThatLeavesABlockEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        dispatch_async(queue, [] { throw NSException(NSRangeException, "too far"); });
        drain();
      },
      "an exception left a submitted block: NSRangeException: too far");
  EXPECT_DEATH(dispatch_sync(queue, [] { throw 42; }), "an exception left a submitted block");
}

TEST_F(DispatchDeathTest, AnExceptionThatLeavesABlockReachesTheTerminateHandler) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto exitWithTheNumberThrown = [] {
    try {
      std::rethrow_exception(std::current_exception());
    } catch (int number) {
      std::_Exit(number);
    }
  };
  EXPECT_EXIT(
      {
        std::set_terminate(exitWithTheNumberThrown);
        dispatch_async(queue, [] { throw 42; });
        drain();
      },
      ::testing::ExitedWithCode(42), "an exception left a submitted block");
}

TEST_F(DispatchDeathTest, NothingIsSubmittedToNoQueue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(dispatch_async(nullptr, [] {}), "queue != nil");
  EXPECT_DEATH(dispatch_sync(nullptr, [] {}), "queue != nil");
  EXPECT_DEATH(dispatch_async(queue, nullptr), "block != nil");
}

}  // namespace
}  // namespace kestova
