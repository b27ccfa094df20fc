// SPDX-License-Identifier: Apache-2.0
#include "bus/BusConnection.h"

#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "BusPeer.h"
#include "PrivateBus.h"
#include "RunLoopThread.h"

namespace kestova {
namespace {

using testing::PrivateBus;

constexpr char kPath[] = "/org/kestova/test";
constexpr char kInterface[] = "org.kestova.Test";
constexpr char kRule[] = "type='signal',interface='org.kestova.Test'";

/// Runs the calling thread's run loop until something is so.
bool runUntil(const std::function<bool()>& reached) {
  const auto end = NSDate::dateWithTimeIntervalSinceNow(30);
  while (!reached() && end->timeIntervalSinceNow() > 0) {
    NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode, 1,
                                                                            true);
  }
  return reached();
}

/// A service on a thread of its own that answers calls with what `answer` makes of them, and drops
/// those that it makes nothing of.
class Service {
 public:
  using Answer = std::function<BusMessage(const BusMessage&)>;

  Service(const std::string& address, Answer answer) {
    thread_.perform([this, &address, &answer] {
      connection_ = BusConnection::connect(BusAddress::at(address), 10);
      name_ = connection_->uniqueName();
      connection_->attachTo(NSRunLoop::currentRunLoop());
      slot_ = connection_->serve(kPath, [this, answer](const BusMessage& call) {
        if (const BusMessage reply = answer(call)) connection_->send(reply);
      });
    });
  }
  ~Service() {
    thread_.perform([this] {
      slot_ = {};
      connection_ = nullptr;
    });
  }

  const char* name() const { return name_.c_str(); }
  void perform(const std::function<void(BusConnection&)>& body) {
    thread_.perform([&] { body(*connection_); });
  }

 private:
  testing::RunLoopThread thread_;
  std::shared_ptr<BusConnection> connection_;
  std::string name_;
  BusSlot slot_;
};

/// Answers a call with its own arguments.
BusMessage echo(const BusMessage& call) {
  BusMessage reply = testing::newReply(call);
  sd_bus_message_copy(reply.get(), call.get(), 1);
  return reply;
}

class BusConnectionTests : public ::testing::Test {
 protected:
  std::shared_ptr<BusConnection> connect() {
    auto connection = BusConnection::connect(BusAddress::at(bus_.address()), 10);
    EXPECT_NE(connection, nullptr);
    return connection;
  }

  std::shared_ptr<BusConnection> attached() {
    auto connection = connect();
    connection->attachTo(NSRunLoop::currentRunLoop());
    return connection;
  }

  static BusMessage callTo(const BusConnection& connection, const Service& service) {
    return connection.newCall(service.name(), kPath, kInterface, "Say");
  }

  static void signal(BusConnection& connection, const std::string& text) {
    BusMessage message = connection.newSignal(kPath, kInterface, "Said");
    ASSERT_TRUE(message.append(text));
    ASSERT_TRUE(connection.send(message));
  }

  static BusConnection::Handler keepingIn(std::vector<std::string>& texts) {
    return [&texts](const BusMessage& message) {
      std::string text;
      EXPECT_TRUE(message.read(text));
      texts.push_back(text);
    };
  }

  PrivateBus bus_;
};

using Texts = std::vector<std::string>;

TEST_F(BusConnectionTests, AConnectionHasTheNameThatTheBusGaveIt) {
  const auto first = connect();
  const auto second = connect();
  EXPECT_EQ(first->uniqueName().front(), ':');
  EXPECT_NE(first->uniqueName(), second->uniqueName());
  EXPECT_TRUE(first->isOpen());
}

TEST_F(BusConnectionTests, WithoutABusThereIsNoConnectionButAnError) {
  bus_.kill();
  BusError error;
  EXPECT_EQ(BusConnection::connect(BusAddress::at(bus_.address()), 1, &error), nullptr);
  EXPECT_EQ(error.number, ECONNREFUSED);
  EXPECT_EQ(BusConnection::connect(BusAddress::at("unix:path=/nowhere/bus"), 1, &error), nullptr);
  EXPECT_EQ(error.number, ENOENT);
  EXPECT_EQ(BusConnection::connect(BusAddress::at("rubbish"), 1, &error), nullptr);
  EXPECT_TRUE(error);
  EXPECT_EQ(BusConnection::connect(BusAddress::at(""), 1), nullptr);
}

TEST_F(BusConnectionTests, ABusThatStandsStillIsGivenUpInTime) {
  bus_.freeze();
  BusError error;
  EXPECT_EQ(BusConnection::connect(BusAddress::at(bus_.address()), 0.05, &error), nullptr);
  EXPECT_EQ(error.number, ETIMEDOUT);
  bus_.thaw();
}

TEST_F(BusConnectionTests, EveryKindOfValueComesBackAsItWasSent) {
  const Service service(bus_.address(), echo);
  const auto connection = connect();
  BusMessage call = callTo(*connection, service);
  const std::vector<std::uint8_t> bytes = {0, 1, 255};
  const std::map<std::string, std::string> names = {{"a", "ä"}, {"b", ""}};
  const std::tuple<bool, std::int16_t> pair = {true, -7};
  const BusDictionary options = {{"flag", true},
                                 {"list", std::vector<std::string>{"x", "y"}},
                                 {"long", std::numeric_limits<std::int64_t>::min()},
                                 {"path", BusObjectPath{"/a/b"}},
                                 {"real", 0.5},
                                 {"text", std::string("t")},
                                 {"unsigned", std::uint32_t{7}},
                                 {"wide", std::numeric_limits<std::uint64_t>::max()}};
  ASSERT_TRUE(call.append(false, std::uint8_t{8}, std::uint16_t{9}, std::int32_t{-10}, "text",
                          BusObjectPath{"/"}, bytes, names, pair, options));
  const BusMessage reply = connection->call(call, 10);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply.signature(), "byqisoaya{ss}(bn)a{sv}");
  bool flag = true;
  std::uint8_t byte = 0;
  std::uint16_t small = 0;
  std::int32_t number = 0;
  std::string text;
  BusObjectPath path;
  std::vector<std::uint8_t> bytesBack;
  std::map<std::string, std::string> namesBack;
  std::tuple<bool, std::int16_t> pairBack;
  BusDictionary optionsBack;
  ASSERT_TRUE(reply.read(flag, byte, small, number, text, path, bytesBack, namesBack, pairBack,
                         optionsBack));
  EXPECT_EQ(std::tuple(flag, byte, small, number, text, path.text),
            std::tuple(false, 8, 9, -10, "text", "/"));
  EXPECT_EQ(bytesBack, bytes);
  EXPECT_EQ(namesBack, names);
  EXPECT_EQ(pairBack, pair);
  EXPECT_EQ(optionsBack, options);
}

TEST_F(BusConnectionTests, AVariantOfAnotherTypeIsSkipped) {
  const Service service(bus_.address(), echo);
  const auto connection = connect();
  BusMessage call = callTo(*connection, service);
  sd_bus_message_append(call.get(), "a{sv}s", 2, "bytes", "ay", 2, 1, 2, "text", "s", "t", "end");
  const BusMessage reply = connection->call(call, 10);
  BusDictionary options;
  std::string end;
  ASSERT_TRUE(reply.read(options, end));
  EXPECT_EQ(options, (BusDictionary{{"bytes", std::monostate()}, {"text", std::string("t")}}));
  EXPECT_EQ(end, "end");
}

TEST_F(BusConnectionTests, WhatDoesNotFitIsNotRead) {
  const Service service(bus_.address(), echo);
  const auto connection = connect();
  BusMessage call = callTo(*connection, service);
  ASSERT_TRUE(call.append("text", std::vector<std::string>{"a"}));
  const BusMessage reply = connection->call(call, 10);
  std::string text;
  std::uint32_t number = 0;
  std::vector<std::string> texts;
  std::vector<std::uint32_t> numbers;
  EXPECT_FALSE(reply.read(number));
  reply.rewind();
  EXPECT_FALSE(reply.read(text, numbers));
  reply.rewind();
  EXPECT_FALSE(reply.read(text, texts, number)) << "there is no third value";
  reply.rewind();
  EXPECT_TRUE(reply.read(text, texts));
}

TEST_F(BusConnectionTests, WhatNoMessageMayHoldIsRefused) {
  const auto connection = connect();
  BusMessage call = connection->newCall("org.example", kPath, kInterface, "Say");
  EXPECT_FALSE(call.append("\xFF"));
  EXPECT_FALSE(call.append(BusObjectPath{"no path"}));
  EXPECT_FALSE(call.append(BusVariant()));
  EXPECT_FALSE(connection->newCall("org.example", "no path", kInterface, "Say"));
  BusError error;
  EXPECT_FALSE(connection->send(BusMessage(), &error));
  EXPECT_EQ(error.number, EINVAL);
}

TEST_F(BusConnectionTests, ACallTellsTheErrorOfTheOtherSide) {
  const Service service(bus_.address(), [](const BusMessage& call) {
    return testing::newErrorReply(call, "org.kestova.Error.Full", "no room");
  });
  const auto connection = connect();
  BusError error;
  EXPECT_FALSE(connection->call(callTo(*connection, service), 10, &error));
  EXPECT_TRUE(error.is("org.kestova.Error.Full"));
  EXPECT_EQ(error.text(), "org.kestova.Error.Full: no room");
  EXPECT_TRUE(connection->isOpen());
  EXPECT_FALSE(connection->call(connection->newCall("org.kestova.Nobody", kPath, kInterface, "Say"),
                                10, &error));
  EXPECT_TRUE(error.is("org.freedesktop.DBus.Error.ServiceUnknown"));
}

TEST_F(BusConnectionTests, ACallThatIsNotAnsweredEndsInTime) {
  const Service service(bus_.address(), [](const BusMessage&) { return BusMessage(); });
  const auto connection = connect();
  BusError error;
  EXPECT_FALSE(connection->call(callTo(*connection, service), 0.02, &error));
  EXPECT_EQ(error.number, ETIMEDOUT);
}

TEST_F(BusConnectionTests, AnAnswerArrivesOnTheRunLoop) {
  const Service service(bus_.address(), echo);
  const auto connection = attached();
  BusMessage call = callTo(*connection, service);
  ASSERT_TRUE(call.append("hello"));
  Texts texts;
  const BusSlot slot = connection->callAsync(call, 10, keepingIn(texts));
  EXPECT_TRUE(texts.empty());
  EXPECT_TRUE(runUntil([&] { return !texts.empty(); }));
  EXPECT_EQ(texts, Texts{"hello"});
}

TEST_F(BusConnectionTests, AnAnswerThatDoesNotComeIsAnErrorOnTheRunLoop) {
  const Service service(bus_.address(), [](const BusMessage&) { return BusMessage(); });
  const auto connection = attached();
  int number = 0;
  const BusSlot slot =
      connection->callAsync(callTo(*connection, service), 0.02,
                            [&](const BusMessage& reply) { number = reply.error().number; });
  EXPECT_TRUE(runUntil([&] { return number != 0; }));
  EXPECT_EQ(number, ETIMEDOUT);
}

TEST_F(BusConnectionTests, ADroppedSlotForgetsItsCall) {
  const Service service(bus_.address(), echo);
  const auto connection = attached();
  Texts texts;
  BusMessage first = callTo(*connection, service);
  ASSERT_TRUE(first.append("first"));
  BusMessage second = callTo(*connection, service);
  ASSERT_TRUE(second.append("second"));
  BusSlot dropped = connection->callAsync(first, 10, keepingIn(texts));
  dropped = {};
  const BusSlot kept = connection->callAsync(second, 10, keepingIn(texts));
  EXPECT_TRUE(runUntil([&] { return !texts.empty(); }));
  EXPECT_EQ(texts, Texts{"second"});
}

TEST_F(BusConnectionTests, SignalsThatFitTheRuleArriveInOrder) {
  const auto sender = connect();
  const auto receiver = attached();
  Texts texts;
  const BusSlot slot = receiver->subscribe(std::string(kRule) + ",arg0='yes'", keepingIn(texts));
  Texts others;
  const BusSlot other = receiver->subscribe(kRule, keepingIn(others));
  for (const char* text : {"yes", "no", "yes", "yesterday", "end"}) signal(*sender, text);
  EXPECT_TRUE(runUntil([&] { return others.size() == 5; }));
  EXPECT_EQ(texts, (Texts{"yes", "yes"}));
  EXPECT_EQ(others, (Texts{"yes", "no", "yes", "yesterday", "end"}));
}

TEST_F(BusConnectionTests, AFilterSeesWhatTheMatchesAskFor) {
  const auto sender = connect();
  const auto receiver = attached();
  Texts texts;
  const BusSlot slot = receiver->filter([&](const BusMessage& message) {
    std::string text;
    if (message.interface() == kInterface && message.read(text)) texts.push_back(text);
  });
  const std::string rule = std::string(kRule) + ",arg0=";
  ASSERT_TRUE(receiver->addMatch(rule + "'a'"));
  ASSERT_TRUE(receiver->addMatch(rule + "'b'"));
  ASSERT_TRUE(receiver->addMatch(rule + "'end'"));
  ASSERT_TRUE(receiver->removeMatch(rule + "'b'"));
  for (const char* text : {"a", "b", "end"}) signal(*sender, text);
  EXPECT_TRUE(runUntil([&] { return texts.size() >= 2; }));
  EXPECT_EQ(texts, (Texts{"a", "end"}));
  BusError error;
  EXPECT_FALSE(receiver->removeMatch(rule + "'b'", &error));
  EXPECT_TRUE(error.is("org.freedesktop.DBus.Error.MatchRuleNotFound"));
  EXPECT_FALSE(receiver->addMatch("rubbish", &error));
}

TEST_F(BusConnectionTests, AFloodTakesTurnsWithTheRunLoopsOtherWork) {
  const auto sender = connect();
  const auto receiver = attached();
  std::size_t seen = 0;
  const BusSlot slot = receiver->subscribe(kRule, [&](const BusMessage&) { ++seen; });
  for (int i = 0; i < 1000; ++i) signal(*sender, std::to_string(i));
  // What was sent before is there when a call has been answered.
  const BusMessage ping =
      sender->newCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus.Peer", "Ping");
  ASSERT_TRUE(sender->call(ping, 10));
  NSRunLoop::currentRunLoop()->turn();
  EXPECT_LE(seen, 64U);
  EXPECT_TRUE(runUntil([&] { return seen == 1000; }));
}

TEST_F(BusConnectionTests, SignalsThatArriveDuringACallAreToldLater) {
  const auto receiver = attached();
  Service service(bus_.address(), echo);
  Texts texts;
  const BusSlot slot = receiver->subscribe(kRule, keepingIn(texts));
  service.perform([](BusConnection& connection) { signal(connection, "meanwhile"); });
  BusMessage call = callTo(*receiver, service);
  ASSERT_TRUE(call.append("x"));
  ASSERT_TRUE(receiver->call(call, 10));
  EXPECT_TRUE(texts.empty());
  EXPECT_TRUE(runUntil([&] { return !texts.empty(); }));
}

TEST_F(BusConnectionTests, AHandlerMayCallAndWaitAndRunTheLoopAndDropItself) {
  const Service service(bus_.address(), echo);
  const auto sender = connect();
  const auto receiver = attached();
  Texts texts;
  BusSlot nested = receiver->subscribe(kRule, keepingIn(texts));
  BusSlot slot;
  bool answered = false;
  slot = receiver->subscribe(std::string(kRule) + ",arg0='go'", [&](const BusMessage&) {
    slot = {};
    BusMessage call = callTo(*receiver, service);
    answered = call.append("x") && receiver->call(call, 10);
    signal(*sender, "inner");
    EXPECT_TRUE(runUntil([&] { return !texts.empty() && texts.back() == "inner"; }));
  });
  signal(*sender, "go");
  EXPECT_TRUE(runUntil([&] { return answered && texts.size() == 2; }));
  signal(*sender, "go");
  EXPECT_TRUE(runUntil([&] { return texts.size() == 3; }));
}

TEST_F(BusConnectionTests, AHandlerMayDropTheConnection) {
  const auto sender = connect();
  auto receiver = attached();
  int calls = 0;
  const BusSlot slot = receiver->subscribe(kRule, [&](const BusMessage&) {
    ++calls;
    receiver = nullptr;
  });
  signal(*sender, "one");
  EXPECT_TRUE(runUntil([&] { return calls > 0; }));
  EXPECT_EQ(calls, 1);
}

TEST_F(BusConnectionTests, AnExceptionLeavesTheRunAndTheNextMessageComes) {
  const auto sender = connect();
  const auto receiver = attached();
  Texts texts;
  const BusSlot slot = receiver->subscribe(kRule, [&](const BusMessage& message) {
    std::string text;
    message.read(text);
    texts.push_back(text);
    if (text == "bad") throw NSException("Bad", "bad", nullptr);
  });
  signal(*sender, "bad");
  signal(*sender, "good");
  ASSERT_TRUE(sender->call(
      sender->newCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus.Peer", "Ping"), 10));
  EXPECT_THROW(runUntil([&] { return texts.size() == 2; }), NSException);
  EXPECT_TRUE(runUntil([&] { return texts.size() == 2; }));
  EXPECT_EQ(texts, (Texts{"bad", "good"}));
}

TEST_F(BusConnectionTests, ALostBusIsToldOnceAndEverythingFailsThen) {
  const auto connection = attached();
  int losses = 0;
  connection->setLossHandler([&] { ++losses; });
  bus_.kill();
  EXPECT_TRUE(runUntil([&] { return losses > 0; }));
  EXPECT_FALSE(connection->isOpen());
  BusError error;
  EXPECT_FALSE(connection->send(connection->newSignal(kPath, kInterface, "Said"), &error));
  EXPECT_TRUE(error);
  EXPECT_FALSE(connection->addMatch(kRule, &error));
  EXPECT_FALSE(connection->subscribe(
      kRule, [](const BusMessage&) {}, &error));
  const auto turns = NSRunLoop::currentRunLoop()->turnCount();
  NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode,
                                                                          0.05, false);
  EXPECT_LE(NSRunLoop::currentRunLoop()->turnCount() - turns, 3U) << "it is watched no more";
  EXPECT_EQ(losses, 1);
}

TEST_F(BusConnectionTests, ALostBusEndsTheCallsThatWait) {
  const Service service(bus_.address(), [this](const BusMessage&) {
    bus_.kill();
    return BusMessage();
  });
  const auto connection = attached();
  BusError told;
  const BusSlot slot =
      connection->callAsync(callTo(*connection, service), BusConnection::kNoLimit,
                            [&](const BusMessage& reply) { told = reply.error(); });
  BusError error;
  EXPECT_FALSE(connection->call(callTo(*connection, service), BusConnection::kNoLimit, &error));
  EXPECT_TRUE(error);
  EXPECT_TRUE(runUntil([&] { return static_cast<bool>(told); }));
}

TEST_F(BusConnectionTests, ABusCanBeConnectedToAgainAtItsAddress) {
  const auto lost = connect();
  bus_.kill();
  bus_.start();
  const auto found = connect();
  EXPECT_TRUE(found->addMatch(kRule));
}

TEST_F(BusConnectionTests, AnIdleConnectionWakesNobody) {
  const auto connection = attached();
  const BusSlot slot = connection->subscribe(kRule, [](const BusMessage&) {});
  const auto loop = NSRunLoop::currentRunLoop();
  while (loop->turn()) {
  }
  const auto turns = loop->turnCount();
  loop->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode, 0.2, false);
  EXPECT_LE(loop->turnCount() - turns, 2U);
}

}  // namespace
}  // namespace kestova
