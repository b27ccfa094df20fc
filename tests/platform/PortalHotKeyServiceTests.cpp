// SPDX-License-Identifier: Apache-2.0
#include "events/PortalHotKeyService.h"

#include <KestovaPlatform/VirtualKeys.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "HotKeyRecord.h"
#include "ScriptedPortal.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <stdlib.h>

namespace kestova::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Answer = ScriptedPortal::Answer;

constexpr OSType kSignature = 0x68746b31;  // 'htk1'

class PortalHotKeyServiceTests : public ::testing::Test {
 protected:
  PortalHotKeyServiceTests() {
    ::setenv("WAYLAND_DISPLAY", "wayland-7", 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    HotKeyService::setShared(nullptr);
  }
  ~PortalHotKeyServiceTests() override {
    for (const EventHotKeyRef hotKey : hotKeys) UnregisterEventHotKey(hotKey);
    HotKeyService::setShared(nullptr);
    ::unsetenv("WAYLAND_DISPLAY");
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
  }

  OSStatus add(std::string_view key, std::uint32_t modifiers, EventHotKeyID hotKeyID) {
    EventHotKeyRef hotKey = nullptr;
    const OSStatus status = RegisterEventHotKey(VirtualKeyCodeForName(key).value(), modifiers,
                                                hotKeyID, GetEventDispatcherTarget(), 0, &hotKey);
    if (status == noErr) hotKeys.push_back(hotKey);
    return status;
  }
  OSStatus add(std::string_view key, std::uint32_t number) {
    return add(key, controlKey | optionKey, {kSignature, number});
  }

  void remove(std::size_t index) {
    EXPECT_EQ(UnregisterEventHotKey(hotKeys.at(index)), 0);
    hotKeys.erase(hotKeys.begin() + static_cast<std::ptrdiff_t>(index));
  }

  /// Serves the run loop until the portal has been asked for so many bindings, and has answered.
  void waitForBindings(std::size_t count) {
    ASSERT_TRUE(runUntil([&] {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
      return portal->bound().size() == count;
    }));
  }

  /// Until the latest line of the log is about this.
  bool waitForLog(const std::string& text) {
    return runUntil([&] {
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
      return !log.lines().empty() && log.lines().back().find(text) != std::string::npos;
    });
  }

  CapturedLog log;
  PrivateBus bus;
  std::optional<ScriptedPortal> portal{std::in_place, bus};
  HotKeyRecord record;
  std::vector<EventHotKeyRef> hotKeys;
};

TEST_F(PortalHotKeyServiceTests, PressAndReleaseAreTold) {
  ASSERT_EQ(add("K", 42), 0);
  waitForBindings(1);
  portal->send("Activated", "htk1-42");
  portal->send("Deactivated", "htk1-42");
  EXPECT_EQ(record.waitFor("-42"), "+42 -42 ");
  EXPECT_EQ(record.latest()->hotKeyID(), (EventHotKeyID{kSignature, 42}));
  EXPECT_EQ(record.latest()->modifiers(), controlKey | optionKey);
  EXPECT_THAT(log.lines(), ElementsAre("Hot keys: served by the desktop portal; not by the X "
                                       "server: this is a Wayland session"));
}

TEST_F(PortalHotKeyServiceTests, HotKeysOfOneTurnAreAskedForTogether) {
  ASSERT_EQ(add("K", controlKey | optionKey, {kSignature, 1}), 0);
  ASSERT_EQ(add("F5", shiftKey | cmdKey, {0, 4294967295U}), 0);
  ASSERT_EQ(add("KP7", 0, {kSignature, 2}), 0);
  waitForBindings(1);
  EXPECT_THAT(portal->bound().at(0),
              ElementsAre(ScriptedPortal::Shortcut{"00000000-4294967295", "Shift+Super+F5",
                                                   "SHIFT+LOGO+F5"},
                          ScriptedPortal::Shortcut{"htk1-1", "Control+Alt+K", "CTRL+ALT+k"},
                          ScriptedPortal::Shortcut{"htk1-2", "KP7", "KP_7"}));
  portal->send("Deactivated", "00000000-4294967295");
  EXPECT_EQ(record.waitFor("-4294967295"), "-4294967295 ");
}

TEST_F(PortalHotKeyServiceTests, ALaterHotKeyHasASessionOfItsOwn) {
  ASSERT_EQ(add("K", 1), 0);
  waitForBindings(1);
  ASSERT_EQ(add("L", 2), 0);
  waitForBindings(2);
  portal->send("Deactivated", "htk1-2", 0);
  portal->send("Deactivated", "htk1-1", 1);
  portal->send("Deactivated", "htk1-2", 1);
  portal->send("Deactivated", "htk1-1", 0);
  EXPECT_EQ(record.waitFor("-1"), "-2 -1 ") << "each in its own session only";
}

TEST_F(PortalHotKeyServiceTests, AShortcutOfNoHotKeyIsLeftAlone) {
  ASSERT_EQ(add("K", 1), 0);
  waitForBindings(1);
  portal->send("Deactivated", "htk1-2");
  portal->send("Deactivated", "");
  portal->sendFrom("Deactivated", "htk1-1", "/org/freedesktop/portal/desktop/session/other/one");
  portal->send("SomethingElse", "htk1-1");
  portal->send("Activated", "htk1-1");
  EXPECT_EQ(record.waitFor("+1"), "+1 ");
}

TEST_F(PortalHotKeyServiceTests, TheSameIdentifierCantBeHadTwice) {
  ASSERT_EQ(add("K", 1), 0);
  EXPECT_EQ(add("L", 1), -9878);
  EXPECT_EQ(add("K", 2), -9878);
}

TEST_F(PortalHotKeyServiceTests, WhatIsNoKeyIsRefused) {
  EventHotKeyRef hotKey = nullptr;
  EXPECT_EQ(RegisterEventHotKey(52, 0, {1, 1}, GetEventDispatcherTarget(), 0, &hotKey), -9879);
}

TEST_F(PortalHotKeyServiceTests, TheLastHotKeyOfASessionClosesIt) {
  ASSERT_EQ(add("K", 1), 0);
  ASSERT_EQ(add("L", 2), 0);
  waitForBindings(1);
  portal->send("Activated", "htk1-1");
  record.waitFor("+1");
  remove(0);
  portal->send("Deactivated", "htk1-1");
  portal->send("Deactivated", "htk1-2");
  EXPECT_EQ(record.waitFor("-2"), "+1 -2 ");
  EXPECT_THAT(portal->closed(), ElementsAre());
  remove(0);
  EXPECT_TRUE(runUntil([&] {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    return portal->closed().size() == 1;
  }));
  EXPECT_THAT(portal->closed().at(0), HasSubstr("/session/"));
}

TEST_F(PortalHotKeyServiceTests, AQuestionThatIsNotAnsweredYetIsTakenBack) {
  portal->setAnswer(Answer::none);
  ASSERT_EQ(add("K", 1), 0);
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
  remove(0);
  EXPECT_TRUE(runUntil([&] {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true);
    return portal->closed().size() == 1;
  }));
  EXPECT_THAT(portal->closed().at(0), HasSubstr("/request/"));
}

TEST_F(PortalHotKeyServiceTests, ARefusalIsTold) {
  portal->setAnswer(Answer::dismissed);
  ASSERT_EQ(add("K", 1), 0);
  EXPECT_TRUE(waitForLog("the desktop portal doesn't give Control+Alt+K"));
  portal->setAnswer(Answer::failed);
  ASSERT_EQ(add("L", 2), 0);
  EXPECT_TRUE(waitForLog("the desktop portal doesn't give Control+Alt+L"));
}

TEST_F(PortalHotKeyServiceTests, AHandleThatIsNoObjectIsNoSession) {
  for (const std::uint32_t number : {1U, 2U}) {
    portal->setSessionHandle(number == 1 ? "" : "not a path");
    ASSERT_EQ(add("K", number), 0);
    EXPECT_TRUE(waitForLog("doesn't give Control+Alt+K: it makes no session"));
    remove(0);
    HotKeyService::setShared(nullptr);
  }
  EXPECT_TRUE(portal->bound().empty());
}

TEST_F(PortalHotKeyServiceTests, ARefusedShortcutAmongOthersIsTold) {
  portal->setRefused("htk1-1");
  ASSERT_EQ(add("K", 1), 0);
  ASSERT_EQ(add("L", 2), 0);
  EXPECT_TRUE(waitForLog("the desktop portal doesn't give Control+Alt+K"));
  EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(PortalHotKeyServiceTests, ASessionThatTheDesktopClosesIsTold) {
  ASSERT_EQ(add("K", 1), 0);
  waitForBindings(1);
  portal->closeSession();
  EXPECT_TRUE(waitForLog("the desktop portal has taken Control+Alt+K back"));
  portal->send("Deactivated", "htk1-1");
  ASSERT_EQ(add("L", 2), 0) << "the service goes on";
  waitForBindings(2);
  portal->send("Deactivated", "htk1-2", 1);
  EXPECT_EQ(record.waitFor("-2"), "-2 ");
}

TEST_F(PortalHotKeyServiceTests, APortalThatComesBackIsAskedAgain) {
  ASSERT_EQ(add("K", 1), 0);
  waitForBindings(1);
  ASSERT_EQ(add("L", 2), 0);
  waitForBindings(2);
  portal.reset();
  EXPECT_TRUE(waitForLog("the desktop portal is gone"));
  EXPECT_EQ(add("A", 3), -9868);
  remove(1);
  portal.emplace(bus);
  EXPECT_TRUE(waitForLog("the desktop portal is back"));
  waitForBindings(1);
  EXPECT_THAT(portal->bound().at(0),
              ElementsAre(ScriptedPortal::Shortcut{"htk1-1", "Control+Alt+K", "CTRL+ALT+k"}));
  portal->send("Deactivated", "htk1-1");
  EXPECT_EQ(record.waitFor("-1"), "-1 ");
}

TEST_F(PortalHotKeyServiceTests, ADesktopWithoutShortcutsSaysSo) {
  portal.reset();
  portal.emplace(bus, ScriptedPortal::Shortcuts::unknown);
  EXPECT_EQ(add("K", 1), -4);
  EXPECT_THAT(log.lines(),
              ElementsAre(HasSubstr("Hot keys: no service; not by the X server: this is a Wayland "
                                    "session; not by the desktop portal: it has no shortcuts (")));
}

TEST_F(PortalHotKeyServiceTests, APortalThatHangsIsGivenUpAndTheNextOneFound) {
  portal.reset();
  portal.emplace(bus, ScriptedPortal::Shortcuts::unanswered);
  EXPECT_EQ(add("K", 1), -4);
  EXPECT_THAT(log.lines(),
              ElementsAre("Hot keys: no service; not by the X server: this is a Wayland session; "
                          "not by the desktop portal: it doesn't answer"));
  portal.reset();
  portal.emplace(bus);
  EXPECT_EQ(add("K", 1), 0);
  EXPECT_EQ(log.lines().back(),
            "Hot keys: served by the desktop portal; not by the X server: this is a Wayland "
            "session");
}

TEST_F(PortalHotKeyServiceTests, ABusWithoutAPortalSaysSo) {
  portal.reset();
  EXPECT_EQ(add("K", 1), -4);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("desktop portal: it has no shortcuts (")));
}

TEST_F(PortalHotKeyServiceTests, NoBusSaysSo) {
  bus.kill();
  EXPECT_EQ(add("K", 1), -4);
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("desktop portal: there is no session bus (")));
}

TEST_F(PortalHotKeyServiceTests, ALostBusIsReportedAndTheNextOneFound) {
  ASSERT_EQ(add("K", 1), 0);
  waitForBindings(1);
  bus.kill();
  EXPECT_TRUE(waitForLog("the connection to the desktop portal was lost"));
  EXPECT_FALSE(HotKeyService::shared() != nullptr && HotKeyService::shared()->isLive());
  portal.reset();
  bus.start();
  portal.emplace(bus);
  ASSERT_EQ(add("L", 2), 0);
  waitForBindings(1);
  portal->send("Deactivated", "htk1-2");
  EXPECT_EQ(record.waitFor("-2"), "-2 ");
}

}  // namespace
}  // namespace kestova::testing
