// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSDate.h>
#include <gtest/gtest.h>

#include "SettableClock.h"

#include <ctime>

namespace kestova {
namespace {

TEST(ClockTests, TheMachinesOwnClockTellsTheTime) {
  const auto before = static_cast<double>(std::time(nullptr)) - NSTimeIntervalSince1970;
  const CFAbsoluteTime now = CFAbsoluteTimeGetCurrent();
  const auto after = static_cast<double>(std::time(nullptr)) - NSTimeIntervalSince1970;
  EXPECT_GE(now, before - 1);
  EXPECT_LE(now, after + 2);
}

TEST(ClockTests, TheUptimeNeverGoesBack) {
  NSTimeInterval last = systemUptime();
  for (int round = 0; round < 1000; ++round) {
    const NSTimeInterval next = systemUptime();
    ASSERT_GE(next, last);
    last = next;
  }
}

TEST(ClockTests, ATestsClockIsReadWhileItLives) {
  {
    testing::SettableClock clock(50);
    EXPECT_EQ(CFAbsoluteTimeGetCurrent(), 50);
    const NSTimeInterval start = systemUptime();
    clock.advance(2.5);
    EXPECT_EQ(CFAbsoluteTimeGetCurrent(), 52.5);
    EXPECT_EQ(systemUptime() - start, 2.5);
    clock.setAbsoluteTime(0);
    EXPECT_EQ(CFAbsoluteTimeGetCurrent(), 0);
    EXPECT_EQ(systemUptime() - start, 2.5);
  }
  EXPECT_GT(CFAbsoluteTimeGetCurrent(), 1e8) << "the machine's own clock again";
}

}  // namespace
}  // namespace kestova
