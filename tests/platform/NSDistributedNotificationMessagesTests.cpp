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
#include <gtest/gtest.h>

#include "bus/BusConnection.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "DistributedNotificationFixture.h"

namespace kestova::testing {
namespace {

using NSDistributedNotificationMessagesTests = DistributedNotificationFixture;

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

TEST_F(NSDistributedNotificationMessagesTests, EveryKindOfValueArrivesInOtherProcesses) {
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
  EXPECT_TRUE(received->isEqual(userInfo)) << Listener::textOf(received);
  EXPECT_EQ(Listener::textOf(received->objectForKey("yes")), Listener::textOf(id(true)));
  EXPECT_EQ(cast<NSNumber>(received->objectForKey("yes"))->value(), NSNumber::Value(true));
  EXPECT_EQ(listener->last->object(), nullptr);
  far->removeObserver(listener.get());
}

TEST_F(NSDistributedNotificationMessagesTests, NoUserInfoAndAnEmptyOneAreToldApart) {
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

TEST_F(NSDistributedNotificationMessagesTests, TheMessageIsAsItIsDocumented) {
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

TEST_F(NSDistributedNotificationMessagesTests, AStrangerMayWriteSimplerTypes) {
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
  }))) << Listener::textOf(listener->last->userInfo());
}

TEST_F(NSDistributedNotificationMessagesTests, MalformedMessagesAreIgnoredWithOneLine) {
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

TEST_F(NSDistributedNotificationMessagesTests, WhatCannotBeSentIsRefusedAndNotPosted) {
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

TEST_F(NSDistributedNotificationMessagesTests, WhatIsJustSmallEnoughArrivesElsewhere) {
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

}  // namespace
}  // namespace kestova::testing
