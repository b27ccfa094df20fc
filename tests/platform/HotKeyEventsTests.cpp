// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/HotKeyService.h>
#include <gtest/gtest.h>

#include "HotKeyRecord.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kestova::testing {
namespace {

constexpr EventTypeSpec kPressed{kEventClassKeyboard, kEventHotKeyPressed};
constexpr EventTypeSpec kReleased{kEventClassKeyboard, kEventHotKeyReleased};

EventRef eventOf(std::uint32_t kind) {
  return Event::hotKeyEvent(kind, {0x68746b31, 5}, controlKey | cmdKey, NSMakePoint(1, 2), 3.5);
}

/// A handler that appends its letter to a text and takes the event or not.
struct Handler {
  Handler(EventTargetRef target, std::string& text, char letter, OSStatus answer,
          std::vector<EventTypeSpec> types = {kReleased})
      : text_(text), letter_(letter), answer_(answer) {
    EXPECT_EQ(InstallEventHandler(target, &call, types, this, &reference), 0);
  }
  ~Handler() { RemoveEventHandler(reference); }

  EventHandlerRef reference = nullptr;
  EventHandlerRef toRemove = nullptr;

 private:
  static OSStatus call(const EventRef&, void* data) {
    auto& self = *static_cast<Handler*>(data);
    self.text_ += self.letter_;
    RemoveEventHandler(self.toRemove);
    return self.answer_;
  }

  std::string& text_;
  const char letter_;
  const OSStatus answer_;
};

TEST(HotKeyEventsTests, ConstantsHaveTheirValues) {
  EXPECT_EQ(kEventClassKeyboard, 0x6b657962U);
  EXPECT_EQ(kEventHotKeyReleased, 6U);
  EXPECT_EQ(cmdKey, 0x100U);
  EXPECT_EQ(shiftKey, 0x200U);
  EXPECT_EQ(optionKey, 0x800U);
  EXPECT_EQ(controlKey, 0x1000U);
  EXPECT_EQ(sizeof(EventHotKeyID), 8U);
}

TEST(HotKeyEventsTests, TheDirectObjectIsTheHotKeysIdentifier) {
  EventHotKeyID hotKeyID;
  EventParamType type = 0;
  std::size_t size = 0;
  for (const EventParamType wanted : {typeEventHotKeyID, typeWildCard}) {
    hotKeyID = {};
    EXPECT_EQ(
        GetEventParameter(eventOf(6), kEventParamDirectObject, wanted, &type, 8, &size, &hotKeyID),
        0);
    EXPECT_EQ(hotKeyID, (EventHotKeyID{0x68746b31, 5}));
    EXPECT_EQ(type, typeEventHotKeyID);
    EXPECT_EQ(size, 8U);
  }
}

TEST(HotKeyEventsTests, TheModifiersAreAParameter) {
  std::uint32_t modifiers = 0;
  EXPECT_EQ(GetEventParameter(eventOf(6), kEventParamKeyModifiers, typeUInt32, nullptr, 4, nullptr,
                              &modifiers),
            0);
  EXPECT_EQ(modifiers, 0x1100U);
}

TEST(HotKeyEventsTests, NoMoreThanTheBufferTakesIsCopied) {
  for (std::size_t size = 0; size <= 8; ++size) {
    unsigned char bytes[9] = {9, 9, 9, 9, 9, 9, 9, 9, 9};
    std::size_t whole = 0;
    EXPECT_EQ(GetEventParameter(eventOf(6), kEventParamDirectObject, typeEventHotKeyID, nullptr,
                                size, &whole, bytes),
              0);
    const EventHotKeyID expected{0x68746b31, 5};
    EXPECT_EQ(std::memcmp(bytes, &expected, size), 0);
    EXPECT_EQ(bytes[size], 9);
    EXPECT_EQ(whole, 8U);
  }
  EXPECT_EQ(GetEventParameter(eventOf(6), kEventParamDirectObject, typeEventHotKeyID, nullptr, 8,
                              nullptr, nullptr),
            0);
}

TEST(HotKeyEventsTests, OtherParametersAndTypesAreNotThere) {
  std::uint64_t data = 0;
  EXPECT_EQ(GetEventParameter(eventOf(6), 0x78787878, typeWildCard, nullptr, 8, nullptr, &data),
            -9870);
  EXPECT_EQ(GetEventParameter(eventOf(6), kEventParamDirectObject, typeUInt32, nullptr, 8, nullptr,
                              &data),
            -9870);
  EXPECT_EQ(GetEventParameter(eventOf(6), kEventParamKeyModifiers, typeEventHotKeyID, nullptr, 8,
                              nullptr, &data),
            -9870);
  EXPECT_EQ(
      GetEventParameter(nullptr, kEventParamDirectObject, typeWildCard, nullptr, 8, nullptr, &data),
      -50);
  EXPECT_EQ(data, 0U);
}

TEST(HotKeyEventsTests, TheLatestHandlerIsAskedFirstAndTheApplicationLast) {
  std::string text;
  const Handler a(GetApplicationEventTarget(), text, 'a', noErr);
  const Handler b(GetApplicationEventTarget(), text, 'b', eventNotHandledErr);
  const Handler c(GetEventDispatcherTarget(), text, 'c', eventNotHandledErr);
  const Handler d(GetEventDispatcherTarget(), text, 'd', eventNotHandledErr);
  EXPECT_EQ(SendEventToEventTarget(eventOf(6), GetEventDispatcherTarget()), 0);
  EXPECT_EQ(text, "dcba");
  text.clear();
  EXPECT_EQ(SendEventToEventTarget(eventOf(6), GetApplicationEventTarget()), 0);
  EXPECT_EQ(text, "ba");
}

TEST(HotKeyEventsTests, WhoTakesAnEventKeepsItFromTheOthers) {
  std::string text;
  const Handler a(GetApplicationEventTarget(), text, 'a', noErr);
  const Handler b(GetApplicationEventTarget(), text, 'b', noErr);
  SendEventToEventTarget(eventOf(6), GetEventDispatcherTarget());
  EXPECT_EQ(text, "b");
}

TEST(HotKeyEventsTests, HandlersGetTheTypesThatTheyAskedFor) {
  std::string text;
  const Handler a(GetApplicationEventTarget(), text, 'a', eventNotHandledErr, {kPressed});
  const Handler b(GetApplicationEventTarget(), text, 'b', eventNotHandledErr,
                  {kReleased, kPressed});
  const Handler c(GetApplicationEventTarget(), text, 'c', noErr, {{0x6d6f7573, 6}});
  EXPECT_EQ(SendEventToEventTarget(eventOf(5), GetApplicationEventTarget()), -9874);
  EXPECT_EQ(SendEventToEventTarget(eventOf(6), GetApplicationEventTarget()), -9874);
  EXPECT_EQ(text, "bab");
}

TEST(HotKeyEventsTests, AHandlerMayRemoveItselfAndOthers) {
  std::string text;
  Handler a(GetApplicationEventTarget(), text, 'a', eventNotHandledErr);
  Handler b(GetApplicationEventTarget(), text, 'b', eventNotHandledErr);
  Handler c(GetApplicationEventTarget(), text, 'c', eventNotHandledErr);
  c.toRemove = b.reference;
  a.toRemove = a.reference;
  SendEventToEventTarget(eventOf(6), GetApplicationEventTarget());
  EXPECT_EQ(text, "ca") << "b is removed while the event is on its way";
  SendEventToEventTarget(eventOf(6), GetApplicationEventTarget());
  EXPECT_EQ(text, "cac");
}

TEST(HotKeyEventsTests, WhatIsNothingIsRefused) {
  const auto handler = [](const EventRef&, void*) -> OSStatus { return noErr; };
  EventHandlerRef reference = nullptr;
  EXPECT_EQ(InstallEventHandler(nullptr, handler, {&kReleased, 1}, nullptr, &reference), -50);
  EXPECT_EQ(InstallEventHandler(GetApplicationEventTarget(), nullptr, {&kReleased, 1}, nullptr,
                                &reference),
            -50);
  EXPECT_EQ(InstallEventHandler(GetApplicationEventTarget(), handler, {}, nullptr, &reference),
            -50);
  EXPECT_EQ(reference, nullptr);
  EXPECT_EQ(RemoveEventHandler(nullptr), -50);
  EXPECT_EQ(SendEventToEventTarget(nullptr, GetApplicationEventTarget()), -50);
  EXPECT_EQ(SendEventToEventTarget(eventOf(6), nullptr), -50);
  EventHotKeyRef hotKey = nullptr;
  EXPECT_EQ(RegisterEventHotKey(40, 0, {}, nullptr, 0, &hotKey), -50);
  EXPECT_EQ(RegisterEventHotKey(40, 0, {}, GetApplicationEventTarget(), 1, &hotKey), -50);
  EXPECT_EQ(RegisterEventHotKey(40, 0, {}, GetApplicationEventTarget(), 0, nullptr), -50);
  EXPECT_EQ(UnregisterEventHotKey(nullptr), -9879);
}

/// A service that answers what it is told to.
struct ScriptedService final : HotKeyService {
  std::string name() const override { return "a script"; }
  bool isLive() const override { return true; }
  OSStatus registerHotKey(EventHotKeyRef hotKey) override {
    latest = hotKey;
    return answer;
  }
  void unregisterHotKey(EventHotKeyRef hotKey) override { unregistered.push_back(hotKey); }

  OSStatus answer = noErr;
  EventHotKeyRef latest = nullptr;
  std::vector<EventHotKeyRef> unregistered;
};

TEST(HotKeyEventsTests, TheServiceInUseGetsTheHotKey) {
  const auto service = std::make_shared<ScriptedService>();
  HotKeyService::setShared(service);
  const HotKeyRecord record;
  EventHotKeyRef hotKey = nullptr;
  service->answer = eventInternalErr;
  EXPECT_EQ(RegisterEventHotKey(40, controlKey, {1, 2}, GetApplicationEventTarget(), 0, &hotKey),
            -9868);
  EXPECT_EQ(hotKey, nullptr);
  service->answer = noErr;
  EXPECT_EQ(RegisterEventHotKey(40, controlKey, {1, 2}, GetApplicationEventTarget(), 0, &hotKey),
            0);
  ASSERT_EQ(hotKey, service->latest);
  EXPECT_EQ(hotKey->keyCode, 40U);
  EXPECT_EQ(hotKey->modifiers, 0x1000U);
  EXPECT_EQ(hotKey->hotKeyID, (EventHotKeyID{1, 2}));
  hotKey->send(kEventHotKeyReleased, shiftKey, NSMakePoint(3, 4));
  EXPECT_EQ(record.text(), "-2 ");
  EXPECT_EQ(record.latest()->modifiers(), 0x200U);
  EXPECT_EQ(record.latest()->location(), NSMakePoint(3, 4));
  HotKeyService::setShared(nullptr);
  EXPECT_EQ(UnregisterEventHotKey(hotKey), 0);
  EXPECT_EQ(service->unregistered, std::vector<EventHotKeyRef>{hotKey});
}

using HotKeyEventsDeathTests = ::testing::Test;

TEST(HotKeyEventsDeathTests, AnotherThreadIsABrokenContract) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::thread([] { UnregisterEventHotKey(nullptr); }).join(),
               "hot keys belong to the main thread");
  EXPECT_DEATH(std::thread([] { RemoveEventHandler(nullptr); }).join(),
               "event handlers belong to the main thread");
}

}  // namespace
}  // namespace kestova::testing
