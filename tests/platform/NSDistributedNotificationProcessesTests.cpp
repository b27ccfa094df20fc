// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "dispatch/ThreadSanitizer.h"

#include <istream>
#include <memory>
#include <string>

#include "CapturedLog.h"
#include "CommandedProcess.h"
#include "DistributedNotificationFixture.h"
#include "Stress.h"

namespace kestova::testing {
namespace {

/// Null for "-".
Ref<NSString> nameIn(const std::string& word) {
  return word == "-" ? nullptr : Ref<NSString>(word);
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
          listener_.get(), sel<&NotificationListener::heard>(), nameIn(name), nameIn(object),
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
  const Ref<NotificationListener> listener_ = make<NotificationListener>();
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

using NSDistributedNotificationProcessesTests = DistributedNotificationFixture;

TEST_F(NSDistributedNotificationProcessesTests, EveryOtherProcessHearsAPostingOnce) {
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

TEST_F(NSDistributedNotificationProcessesTests, OtherProcessesHearOnlyWhatTheyAskedFor) {
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

TEST_F(NSDistributedNotificationProcessesTests, TextThatNoRuleCanHoldIsHeardAllTheSame) {
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

TEST_F(NSDistributedNotificationProcessesTests, AnotherProcessIsSuspendedAsItsObserversAsked) {
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

TEST_F(NSDistributedNotificationProcessesTests, TheBusIsLostAndComesBack) {
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

TEST_F(NSDistributedNotificationProcessesTests, APostingFindsTheNewBusAtOnce) {
  OtherProcess other(bus.address());
  post("a");
  bus.kill();
  bus.start();
  other.command("add a - 2");
  post("a", "x", "1");
  EXPECT_EQ(other.toldUntil("a x 1"), Lines{"a x 1"});
}

TEST_F(NSDistributedNotificationProcessesTests, WithoutABusOneLineIsLoggedAndTheProcessGoesOn) {
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

TEST_F(NSDistributedNotificationProcessesTests, AFrozenBusHoldsUpOnePostingAndNotTheNext) {
  const CapturedLog log;
  bus.freeze();
  const auto start = NSDate::date();
  for (int i = 0; i < 100; ++i) post("a", "x", "1");
  EXPECT_LT(-start->timeIntervalSinceNow(), 30) << "a hundred seconds, were each to wait";
  EXPECT_EQ(log.lines().size(), 1U);
  bus.thaw();
}

TEST_F(NSDistributedNotificationProcessesTests, AChildHearsOnlyWhatItAsksForAndCanPost) {
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

TEST_F(NSDistributedNotificationProcessesTests, ThreadsMayAddPostSuspendAndRemoveAtOnce) {
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

}  // namespace
}  // namespace kestova::testing
