// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include <string>

#include "CapturedLog.h"
#include "DistributedNotificationFixture.h"

namespace kestova::testing {
namespace {

using NSDistributedNotificationSuspensionTests = DistributedNotificationFixture;

TEST_F(NSDistributedNotificationSuspensionTests, SuspendedDropLosesNotifications) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorDrop);
  EXPECT_FALSE(centre->suspended());
  centre->setSuspended(true);
  EXPECT_TRUE(centre->suspended());
  post("a", "x");
  centre->setSuspended(false);
  post("a", "end");
  EXPECT_EQ(heardUntil("a end -"), Lines{"a end -"});
}

TEST_F(NSDistributedNotificationSuspensionTests,
       SuspendedCoalesceKeepsTheLatestOfEachNameAndObject) {
  listen(nullptr, nullptr, NSNotificationSuspensionBehaviorCoalesce);
  centre->setSuspended(true);
  post("a", "x", "1");
  post("a", "y", "2");
  post("b", "x", "3");
  post("a", "x", "4");
  post("a", nullptr, "5");
  post("a", nullptr, "6");
  centre->setSuspended(false);
  EXPECT_EQ(heardUntil("a - 6"), (Lines{"a y 2", "b x 3", "a x 4", "a - 6"}));
}

TEST_F(NSDistributedNotificationSuspensionTests, SuspendedHoldKeepsAll) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorHold);
  centre->setSuspended(true);
  post("a", "x", "1");
  post("a", "x", "2");
  post("a", "x", "3");
  NSRunLoop::currentRunLoop()->turn();
  EXPECT_TRUE(listener->lines.empty());
  centre->setSuspended(false);
  EXPECT_EQ(heardUntil("a x 3"), (Lines{"a x 1", "a x 2", "a x 3"}));
}

TEST_F(NSDistributedNotificationSuspensionTests, SuspendedDeliverImmediatelyBringsWhatWaits) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorHold);
  listen("b", nullptr, NSNotificationSuspensionBehaviorDeliverImmediately);
  centre->setSuspended(true);
  post("a", "x", "1");
  post("a", "x", "2");
  post("b", "x", "3");
  EXPECT_EQ(heardUntil("b x 3"), (Lines{"a x 1", "a x 2", "b x 3"}));
  EXPECT_TRUE(centre->suspended());
  post("a", "x", "4");
  post("b", "x", "5");
  EXPECT_EQ(heardUntil("b x 5"), (Lines{"a x 1", "a x 2", "b x 3", "a x 4", "b x 5"}));
}

TEST_F(NSDistributedNotificationSuspensionTests, APostingMayInsistOnComingAtOnce) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorDrop);
  centre->setSuspended(true);
  post("a", "x", "1");
  post("a", "x", "2", NSDistributedNotificationDeliverImmediately);
  centre->postNotificationName_object_userInfo_deliverImmediately(
      "a", "x", NSDictionary::of({{"value", "3"}}), false);
  centre->postNotificationName_object_userInfo_deliverImmediately(
      "a", "x", NSDictionary::of({{"value", "4"}}), true);
  EXPECT_EQ(heardUntil("a x 4"), (Lines{"a x 2", "a x 4"}));
}

TEST_F(NSDistributedNotificationSuspensionTests,
       WhoIsRemovedWhileSuspendedHearsNothingOfWhatWasHeld) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorHold);
  listen("b", nullptr, NSNotificationSuspensionBehaviorHold);
  centre->setSuspended(true);
  post("a");
  post("b");
  centre->removeObserver_name_object(listener.get(), "a", nullptr);
  centre->setSuspended(false);
  EXPECT_EQ(heardUntil("b - -"), Lines{"b - -"});
}

TEST_F(NSDistributedNotificationSuspensionTests, OfTooMuchThatWaitsTheOldestIsDropped) {
  const CapturedLog log;
  listen("a", nullptr, NSNotificationSuspensionBehaviorHold);
  centre->setSuspended(true);
  const auto heavy = NSData::dataWithBytes_length(std::string(60'000, 'x').data(), 60'000);
  const int count = 300;  // of which 278 weigh 16 MiB
  for (int i = 0; i < count; ++i) {
    centre->postNotificationName_object_userInfo(
        "a", nullptr, NSDictionary::of({{"value", std::to_string(i)}, {"heavy", heavy}}));
  }
  centre->setSuspended(false);
  heardUntil("a - 299");
  EXPECT_EQ(listener->lines.size(), 278U);
  EXPECT_EQ(listener->lines.front(), "a - 22");
  EXPECT_EQ(log.lines(), Lines{"Too many distributed notifications wait: the oldest are dropped"});
}

}  // namespace
}  // namespace kestova::testing
