// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include <thread>

#include "DistributedNotificationFixture.h"
#include "RunLoopThread.h"

namespace kestova::testing {
namespace {

using NSDistributedNotificationCenterTests = DistributedNotificationFixture;

TEST_F(NSDistributedNotificationCenterTests, ThePosterHearsItselfOnceAndLater) {
  listen("a");
  post("a", "o", "1");
  EXPECT_TRUE(listener->lines.empty());
  heardUntil("a o 1");
  // What comes back over the bus would be here before the second posting's.
  post("a", "o", "2");
  EXPECT_EQ(heardUntil("a o 2"), (Lines{"a o 1", "a o 2"}));
}

TEST_F(NSDistributedNotificationCenterTests, NullNameAndNullObjectMeanAny) {
  const auto byName = make<Listener>();
  const auto byObject = make<Listener>();
  const auto byBoth = make<Listener>();
  const auto add = [&](const Ref<Listener>& observer, const char* name, const char* object) {
    centre->addObserver_selector_name_object(observer.get(), sel<&Listener::heard>(), name, object);
  };
  add(byName, "a", nullptr);
  add(byObject, nullptr, "x");
  add(byBoth, "a", "x");
  listen(nullptr);
  for (const char* name : {"a", "b"}) {
    for (const char* object : {"x", "y"}) post(name, object);
    post(name);
  }
  EXPECT_EQ(heardUntil("b - -"), (Lines{"a x -", "a y -", "a - -", "b x -", "b y -", "b - -"}));
  EXPECT_EQ(byName->lines, (Lines{"a x -", "a y -", "a - -"}));
  EXPECT_EQ(byObject->lines, (Lines{"a x -", "b x -"}));
  EXPECT_EQ(byBoth->lines, (Lines{"a x -"}));
  for (const auto& each : {byName, byObject, byBoth}) centre->removeObserver(each.get());
}

TEST_F(NSDistributedNotificationCenterTests, AnEmptyObjectIsAnObject) {
  listen("a", "");
  post("a");
  post("a", "x");
  post("a", "");
  EXPECT_EQ(heardUntil("a  -"), Lines{"a  -"});
}

TEST_F(NSDistributedNotificationCenterTests, AnObserverMayTakeNothing) {
  centre->addObserver_selector_name_object(listener.get(), sel<&Listener::heardSomething>(), "a",
                                           nullptr);
  post("a");
  EXPECT_EQ(heardUntil("!"), Lines{"!"});
}

TEST_F(NSDistributedNotificationCenterTests, ObserversAreCalledOnTheThreadThatAddedThem) {
  RunLoopThread other;
  const auto there = make<Listener>();
  std::thread::id seenThere;
  there->reaction = [&] { seenThere = std::this_thread::get_id(); };
  std::thread::id expectedThere;
  other.perform([&] {
    expectedThere = std::this_thread::get_id();
    centre->addObserver_selector_name_object(there.get(), sel<&Listener::heard>(), "a", nullptr);
  });
  std::thread::id seenHere;
  listener->reaction = [&] { seenHere = std::this_thread::get_id(); };
  listen("a");
  std::thread([&] { post("a"); }).join();
  heardUntil("a - -");
  other.settle();
  EXPECT_EQ(seenHere, std::this_thread::get_id());
  EXPECT_EQ(seenThere, expectedThere);
  centre->removeObserver(there.get());
}

TEST_F(NSDistributedNotificationCenterTests, CommonModesAreServed) {
  const auto mode = unusedMode();
  const auto loop = NSRunLoop::currentRunLoop();
  loop->addCommonMode(mode);
  listen("a");
  post("a");
  EXPECT_TRUE(loop->runMode_beforeDate(mode, NSDate::dateWithTimeIntervalSinceNow(30)));
  EXPECT_EQ(listener->lines, Lines{"a - -"});
}

TEST_F(NSDistributedNotificationCenterTests, WhoIsRemovedHearsNothingEvenOfWhatWaits) {
  listen("a", "x");
  listen("a", "y");
  listen("b");
  post("a", "x");
  post("a", "y");
  centre->removeObserver_name_object(listener.get(), "a", "x");
  post("b");
  EXPECT_EQ(heardUntil("b - -"), (Lines{"a y -", "b - -"}));
  centre->removeObserver_name_object(listener.get(), "a", nullptr);
  post("a", "y");
  post("b");
  post("b", "end");
  EXPECT_EQ(heardUntil("b end -").size(), 4U);
  centre->removeObserver(listener.get());
  centre->removeObserver(listener.get());
  centre->removeObserver(nullptr);
}

TEST_F(NSDistributedNotificationCenterTests, AnObserverMayRemoveItselfAndPost) {
  listener->reaction = [&] {
    listener->reaction = nullptr;
    centre->removeObserver_name_object(listener.get(), "a", nullptr);
    post("b");
  };
  listen("a");
  listen("b");
  post("a");
  post("a");
  EXPECT_EQ(heardUntil("b - -"), (Lines{"a - -", "b - -"}));
}

TEST_F(NSDistributedNotificationCenterTests, AnExceptionLeavesTheRunAndTheNextIsHeard) {
  listener->reaction = [&] {
    listener->reaction = nullptr;
    throw NSException("Bad", "bad");
  };
  listen("a");
  post("a");
  post("a", "x");
  EXPECT_THROW(heardUntil("a x -"), NSException);
  EXPECT_EQ(heardUntil("a x -"), (Lines{"a - -", "a x -"}));
}

TEST_F(NSDistributedNotificationCenterTests, OneAddedTwiceHearsTwice) {
  listen("a");
  listen(nullptr);
  post("a");
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 2; }));
}

TEST_F(NSDistributedNotificationCenterTests, TheUserInfoIsACopy) {
  listen("a");
  const auto values = NSMutableArray::of("old");
  const auto userInfo = NSMutableDictionary::of({{"value", values}});
  centre->postNotificationName_object_userInfo("a", nullptr, userInfo);
  values->addObject("new");
  userInfo->setObject_forKey("more", "more");
  EXPECT_TRUE(runUntil([&] { return listener->last != nullptr; }));
  EXPECT_TRUE(
      listener->last->userInfo()->isEqual(NSDictionary::of({{"value", NSArray::of("old")}})));
}

TEST(NSDistributedNotificationCenterDefaultTests, TheDefaultCentreIsOneAndUsesTheSessionsBus) {
  EXPECT_EQ(NSDistributedNotificationCenter::defaultCenter(),
            NSDistributedNotificationCenter::defaultCenter());
}

TEST_F(NSDistributedNotificationCenterTests, ACentreMayGoWhileNotificationsWait) {
  auto passing = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  passing->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), "a", nullptr);
  passing->postNotificationName_object("a", nullptr);
  passing = nullptr;
  listen("end");
  post("end");
  EXPECT_EQ(heardUntil("end - -"), Lines{"end - -"});
}

TEST(NSDistributedNotificationCenterDeathTest, BrokenContracts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto centre = NSDistributedNotificationCenter::initWithBusAddress("unix:path=/nowhere");
  const auto listener = make<NotificationListener>();
  const auto add = [&](NSObject* observer, SEL selector, NSUInteger behavior) {
    centre->addObserver_selector_name_object_suspensionBehavior(
        observer, selector, "a", nullptr, static_cast<NSNotificationSuspensionBehavior>(behavior));
  };
  const SEL heard = sel<&NotificationListener::heard>();
  EXPECT_DEATH(add(nullptr, heard, 2), "observer != nil");
  EXPECT_DEATH(add(listener.get(), nullptr, 2), "selector != nil");
  EXPECT_DEATH(add(centre.get(), heard, 2), "the observer has the operation");
  EXPECT_DEATH(add(listener.get(), heard, 0), "suspensionBehavior is one of the four");
  EXPECT_DEATH(add(listener.get(), heard, 5), "suspensionBehavior is one of the four");
  EXPECT_DEATH(centre->postNotificationName_object(nullptr, nullptr), "name != nil");
  EXPECT_DEATH(static_cast<void>(NSDistributedNotificationCenter::initWithBusAddress(nullptr)),
               "address != nil");
}

}  // namespace
}  // namespace kestova::testing
