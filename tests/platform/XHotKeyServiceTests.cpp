// SPDX-License-Identifier: Apache-2.0
#include "events/XHotKeyService.h"

#include <KestovaPlatform/VirtualKeys.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "HotKeyRecord.h"
#include "VirtualDisplay.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <stdlib.h>

namespace kestova::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr OSType kSignature = 0x74657374;

/// The hot keys of one test, given back at its end.
class XHotKeyServiceTests : public ::testing::Test {
 protected:
  ~XHotKeyServiceTests() override {
    for (const EventHotKeyRef hotKey : hotKeys) UnregisterEventHotKey(hotKey);
  }

  OSStatus add(std::string_view key, std::uint32_t modifiers, std::uint32_t number) {
    EventHotKeyRef hotKey = nullptr;
    const OSStatus status =
        RegisterEventHotKey(VirtualKeyCodeForName(key).value(), modifiers, {kSignature, number},
                            GetEventDispatcherTarget(), 0, &hotKey);
    if (status == noErr) hotKeys.push_back(hotKey);
    return status;
  }

  /// A hot key whose events show that all those before have been seen: F1 with number 99.
  void addEnd() { ASSERT_EQ(add("F1", 0, 99), 0); }
  std::string textUntilEnd() {
    client.type({kKeyF1});
    std::string text = record.waitFor("-99");
    EXPECT_TRUE(text.ends_with("+99 -99 ")) << text;
    record.clear();
    return text.substr(0, text.find("+99"));
  }

  CapturedLog log;
  VirtualDisplay display;
  DisplayClient client{display};
  HotKeyRecord record;
  std::vector<EventHotKeyRef> hotKeys;
};

TEST_F(XHotKeyServiceTests, PressAndReleaseAreToldOnceEach) {
  ASSERT_EQ(add("K", controlKey | optionKey, 1), 0);
  client.type({kKeyControl, kKeyAlt, kKeyK});
  EXPECT_EQ(record.waitFor("-1"), "+1 -1 ");
}

TEST_F(XHotKeyServiceTests, TheLogTellsWhichServiceIsLiveAndWhyAnotherIsNot) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  ASSERT_EQ(add("L", controlKey, 2), 0);
  EXPECT_THAT(log.lines(), ElementsAre("Hot keys: served by the X server " + display.name() +
                                       "; not by the desktop portal: this is no Wayland session"));
  EXPECT_EQ(HotKeyService::shared()->name(), "the X server " + display.name());
  EXPECT_EQ("Hot keys: " + HotKeyService::explanation(), log.lines().at(0));
}

TEST_F(XHotKeyServiceTests, WhileTheKeyRepeatsNothingIsTold) {
  ASSERT_EQ(add("K", controlKey | optionKey, 1), 0);
  client.press(kKeyControl);
  client.press(kKeyAlt);
  client.press(kKeyK);
  EXPECT_EQ(record.waitFor("+1"), "+1 ");
  const NSUInteger turns = NSRunLoop::mainRunLoop()->turnCount();
  EXPECT_TRUE(runUntil([&] { return NSRunLoop::mainRunLoop()->turnCount() > turns + 12; }));
  EXPECT_EQ(record.text(), "+1 ");
  client.release(kKeyK);
  EXPECT_EQ(record.waitFor("-1"), "+1 -1 ");
}

TEST_F(XHotKeyServiceTests, ModifiersThatGoUpFirstDontKeepTheReleaseBack) {
  ASSERT_EQ(add("K", controlKey | optionKey, 1), 0);
  for (const Key key : {kKeyControl, kKeyAlt, kKeyK}) client.press(key);
  for (const Key key : {kKeyControl, kKeyAlt, kKeyK}) client.release(key);
  EXPECT_EQ(record.waitFor("-1"), "+1 -1 ");
  EXPECT_EQ(record.latest()->modifiers(), 0U);
}

TEST_F(XHotKeyServiceTests, OtherModifiersAreAnotherCombination) {
  ASSERT_EQ(add("K", controlKey | optionKey, 1), 0);
  addEnd();
  client.type({kKeyK});
  client.type({kKeyControl, kKeyK});
  client.type({kKeyControl, kKeyAlt, kKeyShift, kKeyK});
  client.type({kKeyControl, kKeyAlt, kKeySuper, kKeyK});
  client.type({kKeyControl, kKeyAlt, kKeyL});
  EXPECT_EQ(textUntilEnd(), "");
}

TEST_F(XHotKeyServiceTests, EachModifierIsItsKey) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  ASSERT_EQ(add("K", shiftKey, 2), 0);
  ASSERT_EQ(add("K", optionKey, 3), 0);
  ASSERT_EQ(add("K", cmdKey, 4), 0);
  ASSERT_EQ(add("K", 0, 5), 0);
  addEnd();
  client.type({kKeyControl, kKeyK});
  client.type({kKeyShift, kKeyK});
  client.type({kKeyAlt, kKeyK});
  client.type({kKeySuper, kKeyK});
  client.type({kKeyK});
  EXPECT_EQ(textUntilEnd(), "+1 -1 +2 -2 +3 -3 +4 -4 +5 -5 ");
}

TEST_F(XHotKeyServiceTests, LocksDontMatter) {
  client.setModifier(5, kKeyScrollLock);
  ASSERT_EQ(add("K", controlKey | optionKey, 1), 0);
  addEnd();
  const auto typesIt = [&] {
    client.type({kKeyControl, kKeyAlt, kKeyK});
    return textUntilEnd() == "+1 -1 ";
  };
  for (unsigned locks = 0; locks < 8; ++locks) {
    // A Gray code: each step turns one of them, and all eight states come.
    EXPECT_TRUE(typesIt()) << locks;
    client.type({locks % 2 == 0 ? kKeyNumLock : locks % 4 == 1 ? kKeyCapsLock : kKeyScrollLock});
  }
}

TEST_F(XHotKeyServiceTests, ALockThatBecomesAModifierLaterDoesntMatterEither) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  addEnd();
  client.setModifier(5, kKeyScrollLock);
  EXPECT_TRUE(runUntil([&] { return !client.isFree(kKeyF1, XCB_MOD_MASK_3); }));
  client.type({kKeyScrollLock});
  client.type({kKeyControl, kKeyK});
  EXPECT_EQ(textUntilEnd(), "+1 -1 ");
}

TEST_F(XHotKeyServiceTests, AnEventTellsModifiersPlaceAndTime) {
  ASSERT_EQ(add("K", controlKey | cmdKey, 7), 0);
  client.movePointer(12, 34);
  client.type({kKeyCapsLock});
  const NSTimeInterval before = systemUptime();
  client.type({kKeyControl, kKeySuper, kKeyK});
  record.waitFor("-7");
  const EventRef event = record.latest();
  EXPECT_EQ(event->type(), (EventTypeSpec{0x6b657962, 6}));
  EXPECT_EQ(event->hotKeyID(), (EventHotKeyID{kSignature, 7}));
  EXPECT_EQ(event->modifiers(), controlKey | cmdKey | alphaLock);
  EXPECT_EQ(event->location(), NSMakePoint(12, 34));
  EXPECT_GE(event->timestamp(), before);
  EXPECT_LE(event->timestamp(), systemUptime());
}

TEST_F(XHotKeyServiceTests, WhatThisProgramHasItCantHaveAgain) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  EXPECT_EQ(add("K", controlKey, 2), -9878);
  EXPECT_EQ(add("K", controlKey | shiftKey, 2), 0);
  client.type({kKeyControl, kKeyK});
  EXPECT_EQ(record.waitFor("-1"), "+1 -1 ");
}

TEST_F(XHotKeyServiceTests, WhatAnotherProgramHasIsRefusedAndNothingStays) {
  ASSERT_TRUE(client.grab(XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_2, kKeyK));  // with Num Lock
  EXPECT_EQ(add("K", controlKey, 1), -9878);
  client.ungrab(XCB_MOD_MASK_ANY, kKeyK);
  EXPECT_TRUE(client.isFree(kKeyK));
  EXPECT_EQ(add("K", controlKey, 1), 0);
  EXPECT_FALSE(client.isFree(kKeyK));
}

TEST_F(XHotKeyServiceTests, AnUnregisteredKeyIsFreeAtOnce) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  ASSERT_EQ(add("K", shiftKey, 2), 0);
  EXPECT_FALSE(client.grab(XCB_MOD_MASK_CONTROL, kKeyK));
  EXPECT_EQ(UnregisterEventHotKey(hotKeys.at(0)), 0);
  EXPECT_TRUE(client.grab(XCB_MOD_MASK_CONTROL, kKeyK));
  EXPECT_FALSE(client.grab(XCB_MOD_MASK_SHIFT, kKeyK)) << "the other one stays";
  EXPECT_EQ(UnregisterEventHotKey(hotKeys.at(0)), -9879);
}

TEST_F(XHotKeyServiceTests, AKeyUnregisteredWhileItIsDownTellsNoRelease) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  addEnd();
  client.press(kKeyControl);
  client.press(kKeyK);
  EXPECT_EQ(record.waitFor("+1"), "+1 ");
  UnregisterEventHotKey(hotKeys.at(0));
  client.release(kKeyK);
  client.release(kKeyControl);
  EXPECT_EQ(textUntilEnd(), "+1 ");
}

TEST_F(XHotKeyServiceTests, AKeyMovesWithTheLayout) {
  ASSERT_EQ(add("A", controlKey, 1), 0);
  ASSERT_EQ(add("Q", controlKey, 2), 0);
  ASSERT_EQ(add("K", controlKey, 3), 0);
  addEnd();
  client.type({kKeyControl, kKeyA});
  EXPECT_EQ(textUntilEnd(), "+1 -1 ");
  display.setLayout("fr");
  EXPECT_TRUE(runUntil([&] {
    client.type({kKeyControl, kKeyQ});
    return textUntilEnd() == "+1 -1 ";
  })) << "A and Q have changed places";
  client.type({kKeyControl, kKeyA});
  client.type({kKeyControl, kKeyK});
  EXPECT_EQ(textUntilEnd(), "+2 -2 +3 -3 ");
  display.setLayout("us");
  EXPECT_TRUE(runUntil([&] {
    client.type({kKeyControl, kKeyA});
    return textUntilEnd() == "+1 -1 ";
  }));
}

TEST_F(XHotKeyServiceTests, ALayoutWithoutTheLetterHasThePlace) {
  display.setLayout("ru");
  ASSERT_EQ(add("K", controlKey, 1), 0);
  client.type({kKeyControl, kKeyK});
  EXPECT_EQ(record.waitFor("-1"), "+1 -1 ");
}

TEST_F(XHotKeyServiceTests, ALayoutThatIsSwitchedToDoesntMatter) {
  display.setLayout("us,ru -option grp:caps_toggle");
  ASSERT_EQ(add("K", controlKey, 1), 0);
  addEnd();
  client.type({kKeyCapsLock});
  client.type({kKeyControl, kKeyK});
  EXPECT_EQ(textUntilEnd(), "+1 -1 ");
}

TEST_F(XHotKeyServiceTests, AKeyThatAnotherProgramHasAfterAChangeOfLayoutIsToldAndWaits) {
  ASSERT_EQ(add("A", controlKey, 1), 0);
  addEnd();
  ASSERT_TRUE(client.grab(XCB_MOD_MASK_CONTROL, kKeyQ));
  display.setLayout("fr");
  EXPECT_TRUE(runUntil([&] { return log.lines().size() == 2; }));
  EXPECT_THAT(log.lines().back(), HasSubstr("another program has Control+A"));
  EXPECT_TRUE(client.isFree(kKeyA));
  client.ungrab(XCB_MOD_MASK_CONTROL, kKeyQ);
  display.setLayout("us");
  EXPECT_TRUE(runUntil([&] {
    client.type({kKeyControl, kKeyA});
    return textUntilEnd() == "+1 -1 ";
  }));
}

TEST_F(XHotKeyServiceTests, EveryKeyOfTheTableCanBeHadAndIsItsOwn) {
  for (const VirtualKey& key : VirtualKeys()) {
    EXPECT_EQ(add(key.name, controlKey, key.code), 0) << key.name;
  }
}

TEST_F(XHotKeyServiceTests, WhatIsNoKeyIsRefused) {
  EventHotKeyRef hotKey = nullptr;
  for (const std::uint32_t code : {52U, 55U, 56U, 57U, 58U, 59U, 127U, 128U, 65535U, 0xffffffffU}) {
    EXPECT_EQ(RegisterEventHotKey(code, controlKey, {kSignature, 1}, GetEventDispatcherTarget(), 0,
                                  &hotKey),
              -9879)
        << code;
  }
  EXPECT_EQ(
      RegisterEventHotKey(40, alphaLock, {kSignature, 1}, GetEventDispatcherTarget(), 0, &hotKey),
      -9879);
  EXPECT_EQ(hotKey, nullptr);
}

TEST_F(XHotKeyServiceTests, WhileNothingHappensTheLoopSleeps) {
  for (std::uint32_t number = 0; number < 20; ++number) {
    ASSERT_EQ(add(VirtualKeys()[number].name, controlKey, number), 0);
  }
  ASSERT_EQ(add("K", controlKey, 77), 0);
  client.type({kKeyControl, kKeyK});
  record.waitFor("-77");
  while (NSRunLoop::mainRunLoop()->turn()) {
  }
  const NSUInteger turns = NSRunLoop::mainRunLoop()->turnCount();
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.5, false);
  EXPECT_LE(NSRunLoop::mainRunLoop()->turnCount() - turns, 2U) << "the end of the time is a turn";
}

TEST_F(XHotKeyServiceTests, AHandlerMayRunTheLoop) {
  struct Nested {
    HotKeyRecord* record;
    DisplayClient* client;
    bool isDone = false;
  } nested{&record, &client};
  constexpr EventTypeSpec kReleased{kEventClassKeyboard, kEventHotKeyReleased};
  EventHandlerRef handler = nullptr;
  InstallEventHandler(
      GetEventDispatcherTarget(),
      [](const EventRef& event, void* data) -> OSStatus {
        auto& self = *static_cast<Nested*>(data);
        if (event->hotKeyID().id == 1 && !self.isDone) {
          self.isDone = true;
          self.client->type({kKeyControl, kKeyL});
          self.record->waitFor("-2");
        }
        return eventNotHandledErr;
      },
      {&kReleased, 1}, &nested, &handler);
  ASSERT_EQ(add("K", controlKey, 1), 0);
  ASSERT_EQ(add("L", controlKey, 2), 0);
  client.type({kKeyControl, kKeyK});
  EXPECT_EQ(record.waitFor("-1"), "+1 +2 -2 -1 ");
  RemoveEventHandler(handler);
}

TEST_F(XHotKeyServiceTests, WhatAHandlerThrowsLosesNoEvent) {
  constexpr EventTypeSpec kPressed{kEventClassKeyboard, kEventHotKeyPressed};
  EventHandlerRef handler = nullptr;
  InstallEventHandler(
      GetEventDispatcherTarget(),
      [](const EventRef&, void*) -> OSStatus { throw std::runtime_error("thrown"); },
      {&kPressed, 1}, nullptr, &handler);
  ASSERT_EQ(add("K", controlKey, 1), 0);
  client.type({kKeyControl, kKeyK});
  EXPECT_THROW(record.waitFor("-1"), std::runtime_error);
  EXPECT_EQ(record.waitFor("-1"), "-1 ");
  RemoveEventHandler(handler);
}

TEST_F(XHotKeyServiceTests, ALostServerIsReportedAndNotFatal) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  const auto service = HotKeyService::shared();
  display.kill();
  EXPECT_TRUE(runUntil([&] { return !service->isLive(); }));
  EXPECT_EQ(log.lines().back(),
            "Hot keys: the connection to the X server " + display.name() + " was lost");
  EXPECT_EQ(UnregisterEventHotKey(hotKeys.at(0)), 0);
  EXPECT_EQ(add("K", controlKey, 1), -4);
  EXPECT_EQ(log.lines().back(), "Hot keys: no service; not by the X server: the display " +
                                    display.name() +
                                    " can't be reached; not by the desktop portal: this is no "
                                    "Wayland session");
}

TEST_F(XHotKeyServiceTests, AfterALossTheNextHotKeyFindsTheServerOfNow) {
  ASSERT_EQ(add("K", controlKey, 1), 0);
  display.kill();
  const auto lost = HotKeyService::shared();
  EXPECT_TRUE(runUntil([&] { return !lost->isLive(); }));
  const VirtualDisplay next;
  DisplayClient nextClient(next);
  ASSERT_EQ(add("L", controlKey, 2), 0);
  nextClient.type({kKeyControl, kKeyL});
  EXPECT_EQ(record.waitFor("-2"), "+2 -2 ");
  for (const EventHotKeyRef hotKey : hotKeys) EXPECT_EQ(UnregisterEventHotKey(hotKey), 0);
}

TEST(XHotKeyServiceWithoutServerTests, WithoutADisplayTheStatusAndTheLogSaySo) {
  const CapturedLog log;
  ::unsetenv("DISPLAY");
  ::unsetenv("WAYLAND_DISPLAY");
  HotKeyService::setShared(nullptr);
  EventHotKeyRef hotKey = nullptr;
  EXPECT_EQ(
      RegisterEventHotKey(40, controlKey, {kSignature, 1}, GetEventDispatcherTarget(), 0, &hotKey),
      -4);
  EXPECT_EQ(
      RegisterEventHotKey(37, controlKey, {kSignature, 2}, GetEventDispatcherTarget(), 0, &hotKey),
      -4);
  EXPECT_EQ(hotKey, nullptr);
  EXPECT_THAT(log.lines(),  // once: there is nothing new to say about the second
              ElementsAre("Hot keys: no service; not by the X server: DISPLAY is not "
                          "set; not by the desktop portal: this is no Wayland session"));
}

}  // namespace
}  // namespace kestova::testing
