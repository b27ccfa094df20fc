// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bus/BusConnection.h"
#include "dispatch/ThreadSanitizer.h"
#include "notification/DistributedSignal.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <istream>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CapturedLog.h"
#include "CommandedProcess.h"
#include "PrivateBus.h"
#include "RunLoopThread.h"
#include "Stress.h"

namespace kestova::testing {
namespace {

using Lines = std::vector<std::string>;

std::string textOf(const id& object) { return object ? object->description()->displayUTF8() : "-"; }

/// Null for "-".
Ref<NSString> nameIn(const std::string& word) {
  return word == "-" ? nullptr : Ref<NSString>(word);
}

/// What a notification says: "name object value".
std::string lineOf(const NSNotification& notification) {
  const auto& userInfo = notification.userInfo();
  return textOf(notification.name()) + " " + textOf(notification.object()) + " " +
         textOf(userInfo ? userInfo->objectForKey("value") : nullptr);
}

/// Writes down what it hears.
class Listener final : public NSObject {
 public:
  void heard(const Ref<NSNotification>& notification) {
    lines.push_back(lineOf(*notification));
    last = notification;
    if (reaction) reaction();
  }
  void heardSomething() { lines.emplace_back("!"); }

  Lines lines;
  Ref<NSNotification> last;
  std::function<void()> reaction;
};

/// Runs the calling thread's run loop until something is so.
bool runUntil(const std::function<bool()>& reached) {
  const auto end = NSDate::dateWithTimeIntervalSinceNow(30);
  while (!reached() && end->timeIntervalSinceNow() > 0) {
    NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode, 1,
                                                                            true);
  }
  return reached();
}

/// Another program that listens and posts as it is told, and tells what it hears.
class OtherProgram {
 public:
  explicit OtherProgram(const CommandedProcess::Tell& tell, const std::string& address)
      : centre_(NSDistributedNotificationCenter::initWithBusAddress(address)) {
    listener_->reaction = [tell, listener = listener_.get()] { tell(listener->lines.back()); };
  }

  void perform(const std::string& verb, std::istream& words) const {
    std::string name, object, value;
    NSUInteger number = 0;
    if (verb == "add") {
      words >> name >> object >> number;
      centre_->addObserver_selector_name_object_suspensionBehavior(
          listener_.get(), sel<&Listener::heard>(), nameIn(name), nameIn(object),
          static_cast<NSNotificationSuspensionBehavior>(number));
    } else if (verb == "remove") {
      centre_->removeObserver(listener_.get());
    } else if (verb == "post") {
      words >> name >> object >> value >> number;
      centre_->postNotificationName_object_userInfo_options(
          nameIn(name), nameIn(object),
          value == "-" ? nullptr : NSDictionary::of({{"value", value}}), number);
    } else if (verb == "suspended") {
      words >> number;
      centre_->setSuspended(number != 0);
    }
  }

 private:
  const Ref<NSDistributedNotificationCenter> centre_;
  const Ref<Listener> listener_ = make<Listener>();
};

/// It runs in a process of its own: "add NAME OBJECT BEHAVIOUR", "remove", "post NAME OBJECT VALUE
/// OPTIONS", "suspended 0|1".
class OtherProcess : public CommandedProcess {
 public:
  explicit OtherProcess(const std::string& address)
      : CommandedProcess([&](const Tell& tell) {
          return
              [program = std::make_shared<OtherProgram>(tell, address)](
                  const std::string& verb, std::istream& words) { program->perform(verb, words); };
        }) {}
};

class NSDistributedNotificationCenterTests : public ::testing::Test {
 protected:
  ~NSDistributedNotificationCenterTests() override { centre->removeObserver(listener.get()); }

  void listen(
      const Ref<NSString>& name, const Ref<NSString>& object = nullptr,
      NSNotificationSuspensionBehavior behavior = NSNotificationSuspensionBehaviorCoalesce) {
    centre->addObserver_selector_name_object_suspensionBehavior(
        listener.get(), sel<&Listener::heard>(), name, object, behavior);
  }

  void post(const Ref<NSString>& name, const Ref<NSString>& object = nullptr,
            const Ref<NSString>& value = nullptr, NSUInteger options = 0) {
    centre->postNotificationName_object_userInfo_options(
        name, object, value ? NSDictionary::of({{"value", value}}) : nullptr, options);
  }

  /// What has been heard when that line comes.
  Lines heardUntil(const std::string& last) {
    EXPECT_TRUE(runUntil([&] {
      return !listener->lines.empty() && listener->lines.back() == last;
    })) << last;
    return listener->lines;
  }

  PrivateBus bus;
  const Ref<NSDistributedNotificationCenter> centre =
      NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  const Ref<Listener> listener = make<Listener>();
};

// Within one process

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

// Suspension

TEST_F(NSDistributedNotificationCenterTests, SuspendedDropLosesNotifications) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorDrop);
  EXPECT_FALSE(centre->suspended());
  centre->setSuspended(true);
  EXPECT_TRUE(centre->suspended());
  post("a", "x");
  centre->setSuspended(false);
  post("a", "end");
  EXPECT_EQ(heardUntil("a end -"), Lines{"a end -"});
}

TEST_F(NSDistributedNotificationCenterTests, SuspendedCoalesceKeepsTheLatestOfEachNameAndObject) {
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

TEST_F(NSDistributedNotificationCenterTests, SuspendedHoldKeepsAll) {
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

TEST_F(NSDistributedNotificationCenterTests, SuspendedDeliverImmediatelyBringsWhatWaits) {
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

TEST_F(NSDistributedNotificationCenterTests, APostingMayInsistOnComingAtOnce) {
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

TEST_F(NSDistributedNotificationCenterTests, WhoIsRemovedWhileSuspendedHearsNothingOfWhatWasHeld) {
  listen("a", nullptr, NSNotificationSuspensionBehaviorHold);
  listen("b", nullptr, NSNotificationSuspensionBehaviorHold);
  centre->setSuspended(true);
  post("a");
  post("b");
  centre->removeObserver_name_object(listener.get(), "a", nullptr);
  centre->setSuspended(false);
  EXPECT_EQ(heardUntil("b - -"), Lines{"b - -"});
}

TEST_F(NSDistributedNotificationCenterTests, OfTooMuchThatWaitsTheOldestIsDropped) {
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

// Between processes

TEST_F(NSDistributedNotificationCenterTests, EveryOtherProcessHearsAPostingOnce) {
  OtherProcess first(bus.address());
  OtherProcess second(bus.address());
  first.command("add a - 2");
  first.command("add a x 2");
  second.command("add - x 2");
  listen("a");
  post("a", "x", "1");
  first.command("post a x 2 0");
  heardUntil("a x 2");  // so the others have got it, too
  post("a", "x", "end");
  post("a", "y", "end");
  EXPECT_THAT(first.toldUntil("a y end"),
              ::testing::UnorderedElementsAre("a x 1", "a x 1", "a x 2", "a x 2", "a x end",
                                              "a x end", "a y end"))
      << "it asked twice, and hears itself";
  EXPECT_THAT(second.toldUntil("a x end"),
              ::testing::UnorderedElementsAre("a x 1", "a x 2", "a x end"));
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 4; }));
}

TEST_F(NSDistributedNotificationCenterTests, OtherProcessesHearOnlyWhatTheyAskedFor) {
  OtherProcess other(bus.address());
  other.command("add alpha x 2");
  for (const char* name : {"alphabet", "beta", "alpha"}) {
    for (const char* object : {"xy", "", "x"}) post(name, object);
    post(name);
  }
  EXPECT_EQ(other.toldUntil("alpha x -"), Lines{"alpha x -"});
  other.command("add end - 2");
  other.command("remove");
  other.command("add end - 2");
  post("alpha", "x");
  post("end");
  EXPECT_EQ(other.toldUntil("end - -"), (Lines{"alpha x -", "end - -"}));
}

TEST_F(NSDistributedNotificationCenterTests, TextThatNoRuleCanHoldIsHeardAllTheSame) {
  OtherProcess other(bus.address());
  const std::string lengthy(1024, 'l');
  for (const std::string& object :
       {std::string("it's"), std::string("a\\b"), std::string("a,b='c'"), std::string("ä"),
        lengthy.substr(0, 900)}) {
    other.command("add " + object + " " + object + " 2");
    post(object, object, "1");
    EXPECT_EQ(other.toldUntil(object + " " + object + " 1").back(), object + " " + object + " 1");
    post("no", object, "1");
    post(object, "no", "1");
  }
  other.command("add end - 2");
  post("end");
  EXPECT_EQ(other.toldUntil("end - -").size(), 6U);
}

TEST_F(NSDistributedNotificationCenterTests, AnotherProcessIsSuspendedAsItsObserversAsked) {
  OtherProcess other(bus.address());
  other.command("add drop - 1");
  other.command("add merge - 2");
  other.command("add hold - 3");
  other.command("add now - 4");
  other.command("suspended 1");
  for (const char* name : {"drop", "merge", "hold"}) {
    post(name, "x", "1");
    post(name, "x", "2");
  }
  post("now", "x", "3");
  EXPECT_EQ(other.toldUntil("now x 3"), (Lines{"merge x 2", "hold x 1", "hold x 2", "now x 3"}));
  post("drop", "x", "4", NSDistributedNotificationDeliverImmediately);
  EXPECT_EQ(other.toldUntil("drop x 4").size(), 5U);
  post("hold", "x", "5");
  other.command("suspended 0");
  EXPECT_EQ(other.toldUntil("hold x 5").size(), 6U);
}

TEST_F(NSDistributedNotificationCenterTests, TheBusIsLostAndComesBack) {
  const CapturedLog log;
  OtherProcess other(bus.address());
  other.command("add a - 2");
  listen("a");
  post("a", "x", "1");
  EXPECT_EQ(other.toldUntil("a x 1"), Lines{"a x 1"});
  bus.kill();
  post("a", "x", "2");
  EXPECT_EQ(heardUntil("a x 2"), (Lines{"a x 1", "a x 2"})) << "the own process goes on";
  bus.start();
  // Both look for it by themselves; each may be the later one.
  EXPECT_TRUE(runUntil([&] {
    other.command("post a y 3 0");
    return listener->lines.back() == "a y 3";
  }));
  post("a", "x", "4");
  EXPECT_EQ(other.toldUntil("a x 4").back(), "a x 4");
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(NSDistributedNotificationCenterTests, APostingFindsTheNewBusAtOnce) {
  OtherProcess other(bus.address());
  post("a");
  bus.kill();
  bus.start();
  other.command("add a - 2");
  post("a", "x", "1");
  EXPECT_EQ(other.toldUntil("a x 1"), Lines{"a x 1"});
}

TEST_F(NSDistributedNotificationCenterTests, WithoutABusOneLineIsLoggedAndTheProcessGoesOn) {
  OtherProcess other(bus.address());
  const CapturedLog log;
  bus.kill();
  listen("a");
  post("a", "x", "1");
  post("a", "x", "2");
  EXPECT_EQ(heardUntil("a x 2"), (Lines{"a x 1", "a x 2"}));
  EXPECT_EQ(log.lines(), Lines{"Distributed notifications reach only this process: there is no bus "
                               "(System.Error.ECONNREFUSED: Connection refused)"});
  bus.start();
  other.command("add b - 2");
  EXPECT_TRUE(runUntil([&] {
    other.command("post a y 3 0");
    return listener->lines.back() == "a y 3";
  }));
  EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(NSDistributedNotificationCenterTests, AFrozenBusHoldsUpOnePostingAndNotTheNext) {
  const CapturedLog log;
  bus.freeze();
  const auto start = NSDate::date();
  for (int i = 0; i < 100; ++i) post("a", "x", "1");
  EXPECT_LT(-start->timeIntervalSinceNow(), 30) << "a hundred seconds, were each to wait";
  EXPECT_EQ(log.lines().size(), 1U);
  bus.thaw();
}

TEST_F(NSDistributedNotificationCenterTests, AChildHearsOnlyWhatItAsksForAndCanPost) {
#if defined(KESTOVA_THREAD_SANITIZER)
  GTEST_SKIP() << "the thread sanitizer ends children that start threads";
#endif
  listen("a");
  post("a", "x", "1");
  heardUntil("a x 1");
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    centre->removeObserver(listener.get());  // not its own: nothing happens
    post("a", "x", "2");
    ::_exit(static_cast<int>(listener->lines.size()));
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 1);
  EXPECT_EQ(heardUntil("a x 2"), (Lines{"a x 1", "a x 2"}));
  post("a", "x", "3");
  EXPECT_EQ(heardUntil("a x 3"), (Lines{"a x 1", "a x 2", "a x 3"}));
}

TEST_F(NSDistributedNotificationCenterTests, ThreadsMayAddPostSuspendAndRemoveAtOnce) {
  const StressTime time;
  Threads threads;
  for (int number = 0; number < 4; ++number) {
    threads.start([&, number] {
      const auto own = make<Listener>();
      const Ref<NSString> name = "n" + std::to_string(number);
      while (!time.isOver()) {
        centre->addObserver_selector_name_object(own.get(), sel<&Listener::heard>(), name, nullptr);
        centre->addObserver_selector_name_object(own.get(), sel<&Listener::heard>(), "all", "x");
        for (const char* shared : {"all", "n0", "n1"}) {
          centre->postNotificationName_object_userInfo(shared, "x",
                                                       NSDictionary::of({{"value", "v"}}));
          NSRunLoop::currentRunLoop()->turn();
        }
        centre->setSuspended(number % 2 == 0);
        centre->removeObserver_name_object(own.get(), name, nullptr);
        centre->removeObserver(own.get());
      }
    });
  }
  threads.join();
  centre->setSuspended(false);
  listen("end");
  post("end");
  EXPECT_EQ(heardUntil("end - -"), Lines{"end - -"});
}

// What is in a message

/// A program that writes its own messages.
class Stranger {
 public:
  explicit Stranger(const std::string& address)
      : connection_(BusConnection::connect(BusAddress::at(address), 10)) {}

  const std::string& name() const { return connection_->uniqueName(); }

  /// Sends a signal with whatever `write` writes.
  void send(const std::function<void(sd_bus_message*)>& write) const {
    const BusMessage message = connection_->newSignal(
        "/org/kestova/DistributedNotifications", "org.kestova.DistributedNotifications1", "Posted");
    write(message.get());
    EXPECT_TRUE(connection_->send(message));
  }

 private:
  std::shared_ptr<BusConnection> connection_;
};

TEST_F(NSDistributedNotificationCenterTests, EveryKindOfValueArrivesInOtherProcesses) {
  const auto far = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  far->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), "a", nullptr);
  const auto userInfo = NSDictionary::of({
      {"text", u"ä€😀"},
      {"empty", ""},
      {"yes", true},
      {"no", false},
      {"small", -1},
      {"least", std::numeric_limits<std::int64_t>::min()},
      {"most", std::numeric_limits<std::uint64_t>::max()},
      {"half", 0.5},
      {"single", 0.25F},
      {"data", NSData::dataWithBytes_length("\0\xFF", 2)},
      {"no data", NSData::data()},
      {"date", NSDate::dateWithTimeIntervalSinceReferenceDate(-0.125)},
      {"array", NSArray::of("x", NSArray::array(), 2, NSDictionary::of({{"k", "v"}}))},
      {"nothing", NSDictionary::dictionary()},
  });
  centre->postNotificationName_object_userInfo("a", nullptr, userInfo);
  EXPECT_TRUE(runUntil([&] { return listener->last != nullptr; }));
  const auto& received = listener->last->userInfo();
  EXPECT_TRUE(received->isEqual(userInfo)) << textOf(received);
  EXPECT_EQ(textOf(received->objectForKey("yes")), textOf(id(true)));
  EXPECT_EQ(cast<NSNumber>(received->objectForKey("yes"))->value(), NSNumber::Value(true));
  EXPECT_EQ(listener->last->object(), nullptr);
  far->removeObserver(listener.get());
}

TEST_F(NSDistributedNotificationCenterTests, NoUserInfoAndAnEmptyOneAreToldApart) {
  const auto far = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  far->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), nullptr, nullptr);
  centre->postNotificationName_object("a", nullptr);
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 1; }));
  EXPECT_EQ(listener->last->userInfo(), nullptr);
  centre->postNotificationName_object_userInfo("a", "", NSDictionary::dictionary());
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 2; }));
  EXPECT_EQ(listener->last->object()->description(), "");
  EXPECT_EQ(listener->last->userInfo()->count(), 0U);
  far->removeObserver(listener.get());
}

TEST_F(NSDistributedNotificationCenterTests, TheMessageIsAsItIsDocumented) {
  const auto watcher = BusConnection::connect(BusAddress::at(bus.address()), 10);
  watcher->attachTo(NSRunLoop::currentRunLoop());
  std::vector<std::tuple<std::string, std::string, std::uint32_t, BusDictionary>> seen;
  const BusSlot slot =
      watcher->subscribe("type='signal',interface='org.kestova.DistributedNotifications1'",
                         [&](const BusMessage& message) {
                           EXPECT_EQ(message.path(), "/org/kestova/DistributedNotifications");
                           EXPECT_EQ(message.member(), "Posted");
                           EXPECT_EQ(message.signature(), "ssua{sv}");
                           auto& [name, object, bits, values] = seen.emplace_back();
                           EXPECT_TRUE(message.read(name, object, bits, values));
                         });
  post("a", "x", "1");
  post("b", nullptr, nullptr, NSDistributedNotificationDeliverImmediately);
  centre->postNotificationName_object_userInfo(
      "c", "", NSDictionary::of({{"bool", true}, {"whole", 7}, {"huge", ~0ULL}, {"real", 1.5F}}));
  EXPECT_TRUE(runUntil([&] { return seen.size() == 3; }));
  EXPECT_EQ(seen[0], std::tuple("a", "x", 0U, BusDictionary{{"value", std::string("1")}}));
  EXPECT_EQ(seen[1], std::tuple("b", "", 7U, BusDictionary{}));
  EXPECT_EQ(seen[2], std::tuple("c", "", 0U,
                                BusDictionary{{"bool", true},
                                              {"whole", std::int64_t{7}},
                                              {"huge", ~std::uint64_t{0}},
                                              {"real", 1.5}}));
}

TEST_F(NSDistributedNotificationCenterTests, AStrangerMayWriteSimplerTypes) {
  listen("a");
  const Stranger stranger(bus.address());
  stranger.send([](sd_bus_message* message) {
    const std::uint8_t bytes[] = {1, 2};
    sd_bus_message_append(message, "ssu", "a", "x", 0);
    sd_bus_message_open_container(message, 'a', "{sv}");
    sd_bus_message_append(message, "{sv}", "texts", "as", 2, "p", "q");
    sd_bus_message_append(message, "{sv}", "byte", "y", 3);
    sd_bus_message_append(message, "{sv}", "shorts", "(sd)", "date", 1.0);
    sd_bus_message_append(message, "{sv}", "path", "o", "/p");
    sd_bus_message_append(message, "{sv}", "numbers", "a{su}", 1, "n", 4);
    sd_bus_message_append(message, "{sv}", "16", "n", -5);
    sd_bus_message_append(message, "{sv}", "16u", "q", 6);
    sd_bus_message_append(message, "{sv}", "32", "i", -7);
    sd_bus_message_open_container(message, 'e', "sv");
    sd_bus_message_append(message, "s", "bytes");
    sd_bus_message_open_container(message, 'v', "ay");
    sd_bus_message_append_array(message, 'y', bytes, 2);
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
  });
  EXPECT_TRUE(runUntil([&] { return listener->last != nullptr; }));
  EXPECT_TRUE(listener->last->userInfo()->isEqual(NSDictionary::of({
      {"texts", NSArray::of("p", "q")},
      {"byte", 3},
      {"shorts", NSDate::dateWithTimeIntervalSinceReferenceDate(1)},
      {"path", "/p"},
      {"numbers", NSDictionary::of({{"n", 4}})},
      {"16", -5},
      {"16u", 6},
      {"32", -7},
      {"bytes", NSData::dataWithBytes_length("\1\2", 2)},
  }))) << textOf(listener->last->userInfo());
}

TEST_F(NSDistributedNotificationCenterTests, MalformedMessagesAreIgnoredWithOneLine) {
  const CapturedLog log;
  listen(nullptr);
  const Stranger stranger(bus.address());
  const auto sendValue = [&](const char* types, const std::function<void(sd_bus_message*)>& write) {
    stranger.send([&](sd_bus_message* message) {
      sd_bus_message_append(message, "ssu", "bad", "x", 0);
      sd_bus_message_open_container(message, 'a', "{sv}");
      sd_bus_message_open_container(message, 'e', "sv");
      sd_bus_message_append(message, "s", "value");
      sd_bus_message_open_container(message, 'v', types);
      write(message);
      sd_bus_message_close_container(message);
      sd_bus_message_close_container(message);
      sd_bus_message_close_container(message);
    });
  };
  stranger.send([](sd_bus_message*) {});
  stranger.send([](sd_bus_message* m) { sd_bus_message_append(m, "s", "bad"); });
  stranger.send([](sd_bus_message* m) { sd_bus_message_append(m, "ssua{ss}", "b", "", 0, 0); });
  stranger.send(
      [](sd_bus_message* m) { sd_bus_message_append(m, "ssua{sv}s", "b", "", 0, 0, "more"); });
  const std::string lengthy(1025, 'x');
  stranger.send(
      [&](sd_bus_message* m) { sd_bus_message_append(m, "ssua{sv}", lengthy.c_str(), "", 0, 0); });
  stranger.send(
      [&](sd_bus_message* m) { sd_bus_message_append(m, "ssua{sv}", "b", lengthy.c_str(), 0, 0); });
  const std::string huge(65'536, 'x');
  sendValue("s", [&](sd_bus_message* m) { sd_bus_message_append(m, "s", huge.c_str()); });
  sendValue("h", [&](sd_bus_message* m) { sd_bus_message_append(m, "h", 0); });
  sendValue("(sd)", [](sd_bus_message* m) { sd_bus_message_append(m, "(sd)", "dote", 1.0); });
  sendValue("(sd)", [](sd_bus_message* m) {
    sd_bus_message_append(m, "(sd)", "date", std::numeric_limits<double>::infinity());
  });
  sendValue("(ss)", [](sd_bus_message* m) { sd_bus_message_append(m, "(ss)", "date", "1"); });
  sendValue("v", [](sd_bus_message* m) { sd_bus_message_append(m, "v", "s", "twice"); });
  sendValue("a{us}", [](sd_bus_message* m) { sd_bus_message_append(m, "a{us}", 1, 2, "x"); });
  // Seventeen in each other, with the user info.
  sendValue((std::string(16, 'a') + "s").c_str(), [](sd_bus_message* m) {
    for (std::size_t below = 16; below-- > 0;) {
      sd_bus_message_open_container(m, 'a', (std::string(below, 'a') + "s").c_str());
    }
    for (int depth = 0; depth < 16; ++depth) sd_bus_message_close_container(m);
  });
  sendValue("ay", [&](sd_bus_message* m) {
    sd_bus_message_append_array(m, 'y', huge.data(), huge.size());
  });
  sendValue("ab", [](sd_bus_message* m) {
    sd_bus_message_open_container(m, 'a', "b");
    for (int i = 0; i < 5000; ++i) sd_bus_message_append(m, "b", 1);
    sd_bus_message_close_container(m);
  });
  stranger.send(
      [](sd_bus_message* m) { sd_bus_message_append(m, "ssua{sv}", "good", "", ~0U, 0); });
  EXPECT_EQ(heardUntil("good - -"), Lines{"good - -"});
  EXPECT_EQ(log.lines(), Lines{"A malformed distributed notification of " + stranger.name() +
                               " is ignored, as others will be"});
}

TEST_F(NSDistributedNotificationCenterTests, WhatCannotBeSentIsRefusedAndNotPosted) {
  listen(nullptr);
  const auto refuses = [&](const Ref<NSString>& name, const Ref<NSString>& object,
                           const Ref<NSDictionary>& userInfo) {
    try {
      centre->postNotificationName_object_userInfo(name, object, userInfo);
    } catch (const NSException& exception) {
      EXPECT_EQ(exception.name(), NSInvalidArgumentException);
      return exception.reason()->displayUTF8();
    }
    return std::string("nothing");
  };
  const auto with = [](const id& value) { return NSDictionary::of({{"value", value}}); };
  const std::string text =
      "The name or object of a distributed notification is too long or can't "
      "be sent";
  const std::string info = "The user info of a distributed notification ";
  EXPECT_EQ(refuses(std::string(1025, 'n'), nullptr, nullptr), text);
  EXPECT_EQ(refuses("a", std::string(1025, 'o'), nullptr), text);
  EXPECT_EQ(refuses(std::string_view("a\0b", 3), nullptr, nullptr), text);
  EXPECT_EQ(refuses("a", u"\xD800", nullptr), text);
  EXPECT_EQ(refuses("a", nullptr, with(NSNull::null())), info + "holds what is no property list");
  EXPECT_EQ(refuses("a", nullptr, with(listener)), info + "holds what is no property list");
  EXPECT_EQ(refuses("a", nullptr,
                    with(NSDate::dateWithTimeIntervalSinceReferenceDate(
                        std::numeric_limits<double>::infinity()))),
            info + "holds what is no property list");
  EXPECT_EQ(refuses("a", nullptr, NSDictionary::of({{1, "value"}})),
            info + "has a key that is no string");
  EXPECT_EQ(refuses("a", nullptr, with(std::string_view("a\0b", 3))),
            info + "holds text that can't be sent");
  EXPECT_EQ(refuses("a", nullptr, with(u"\xDC00")), info + "holds text that can't be sent");
  // 16 for the dictionary, 16 + 5 for the key, 16 for the value.
  EXPECT_EQ(refuses("a", nullptr, with(std::string(65'536 - 52, 'x'))), info + "is too large");
  EXPECT_EQ(refuses("a", nullptr, with(std::string(65'536 - 53, 'x'))), "nothing");
  id nested = "leaf";
  for (int depth = 0; depth < 15; ++depth) nested = NSArray::of(nested);
  EXPECT_EQ(refuses("a", nullptr, with(nested)), "nothing");
  EXPECT_EQ(refuses("a", nullptr, with(NSArray::of(nested))), info + "is nested too deeply");
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 2; }));
}

TEST_F(NSDistributedNotificationCenterTests, WhatIsJustSmallEnoughArrivesElsewhere) {
  const auto far = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  far->addObserver_selector_name_object(listener.get(), sel<&Listener::heard>(), nullptr, nullptr);
  const std::string name(1024, 'n');
  id nested = "leaf";
  for (int depth = 0; depth < 15; ++depth) {
    nested = depth % 2 == 0 ? id(NSArray::of(nested)) : id(NSDictionary::of({{"k", nested}}));
  }
  const auto deep = NSDictionary::of({{"value", nested}});
  const auto large = NSDictionary::of({{"value", std::string(65'536 - 53, 'x')}});
  centre->postNotificationName_object_userInfo(name, name, deep);
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 1; }));
  EXPECT_TRUE(listener->last->userInfo()->isEqual(deep));
  centre->postNotificationName_object_userInfo(name, name, large);
  EXPECT_TRUE(runUntil([&] { return listener->lines.size() == 2; }));
  EXPECT_TRUE(listener->last->userInfo()->isEqual(large));
  far->removeObserver(listener.get());
}

// Centres

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
  const auto listener = make<Listener>();
  const auto add = [&](NSObject* observer, SEL selector, NSUInteger behavior) {
    centre->addObserver_selector_name_object_suspensionBehavior(
        observer, selector, "a", nullptr, static_cast<NSNotificationSuspensionBehavior>(behavior));
  };
  const SEL heard = sel<&Listener::heard>();
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
