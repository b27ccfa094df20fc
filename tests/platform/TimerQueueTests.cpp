// SPDX-License-Identifier: Apache-2.0
#include "runloop/TimerQueue.h"

#include <gtest/gtest.h>

namespace kestova {
namespace {

using std::chrono::seconds;

class TimerQueueTest : public ::testing::Test {
 protected:
  Ref<NSTimer> added(Moment due) {
    Ref<NSTimer> timer =
        NSTimer::timerWithTimeInterval_repeats_block(1, true, [](const Ref<NSTimer>&) {});
    queue.add(timer, due);
    return timer;
  }

  static Moment at(int second) { return Moment(seconds(second)); }

  TimerQueue queue;
};

TEST_F(TimerQueueTest, TheEarliestTimerIsTakenFirstAndEqualOnesInTheirOrder) {
  const auto late = added(at(3));
  const auto early = added(at(1));
  const auto next = added(at(2));
  const auto alsoNext = added(at(2));
  EXPECT_EQ(queue.earliest(), at(1));
  EXPECT_EQ(queue.takeDue(at(3)), early);
  EXPECT_EQ(queue.takeDue(at(3)), next);
  EXPECT_EQ(queue.takeDue(at(3)), alsoNext);
  EXPECT_EQ(queue.takeDue(at(3)), late);
  EXPECT_EQ(queue.takeDue(at(3)), nullptr);
}

TEST_F(TimerQueueTest, NothingIsTakenBeforeItsMoment) {
  const auto timer = added(at(2));
  EXPECT_EQ(queue.takeDue(at(1)), nullptr);
  EXPECT_EQ(queue.takeDue(at(2)), timer);
}

TEST_F(TimerQueueTest, ATakenTimerStaysButIsDueNoMoreUntilItIsScheduled) {
  const auto timer = added(at(1));
  EXPECT_EQ(queue.takeDue(at(1)), timer);
  EXPECT_TRUE(queue.contains(*timer));
  EXPECT_FALSE(queue.isEmpty());
  EXPECT_EQ(queue.earliest(), never);
  queue.schedule(*timer, at(5));
  EXPECT_EQ(queue.earliest(), at(5));
}

TEST_F(TimerQueueTest, ARemovedTimerIsHandedOutAndForgotten) {
  const auto timer = added(at(1));
  EXPECT_EQ(queue.remove(*timer), timer);
  EXPECT_EQ(queue.remove(*timer), nullptr);
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_EQ(queue.earliest(), never);
  queue.schedule(*timer, at(1));
  EXPECT_EQ(queue.takeDue(at(1)), nullptr);
}

TEST_F(TimerQueueTest, AllCanBeRemovedAtOnce) {
  const auto one = added(at(1));
  const auto two = added(at(2));
  EXPECT_EQ(queue.removeAll().size(), 2u);
  EXPECT_TRUE(queue.isEmpty());
  EXPECT_EQ(one->retainCount(), 1u);
}

}  // namespace
}  // namespace kestova
