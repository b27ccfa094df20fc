// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/VirtualKeys.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdlib.h>

#include <string>

#include "AllocationFaults.h"
#include "CapturedLog.h"
#include "HotKeyRecord.h"
#include "PrivateBus.h"
#include "ScriptedPortal.h"
#include "VirtualDisplay.h"

using namespace kestova;
using namespace kestova::testing;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

OSStatus registerKey(EventHotKeyRef* hotKey) {
  return RegisterEventHotKey(VirtualKeyCodeForName("K").value(), controlKey, {0x74657374, 1},
                             GetEventDispatcherTarget(), 0, hotKey);
}

/// Registers without memory for the first allocation, the second and so on. `look` tells, while a
/// hot key may be registered, what is seen of that; each is given back afterwards.
template <class Look>
void expectNoneWithoutMemory(const Look& look) {
  EventHotKeyRef hotKey = nullptr;
  const int refused = walkAllocations(
      [&] {
        hotKey = nullptr;
        EXPECT_EQ(registerKey(&hotKey), noErr);
      },
      [&](bool threw) {
        EXPECT_EQ(hotKey == nullptr, threw);
        look(threw);
        EXPECT_EQ(UnregisterEventHotKey(hotKey), threw ? eventHotKeyInvalidErr : noErr);
      });
  EXPECT_GT(refused, 0);
}

/// A desktop without a display server, which has a portal.
class PortalHotKeyFaults : public ::testing::Test {
 protected:
  PortalHotKeyFaults() {
    ::setenv("WAYLAND_DISPLAY", "wayland-7", 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    HotKeyService::setShared(nullptr);
  }
  ~PortalHotKeyFaults() override {
    HotKeyService::setShared(nullptr);
    ::unsetenv("WAYLAND_DISPLAY");
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
  }

  CapturedLog log;
  PrivateBus bus;
  ScriptedPortal portal{bus};
};

}  // namespace

TEST(HotKeyFaults, ADisplayThatCannotBeServedIsNoServiceAndMayBeTriedAgain) {
  const CapturedLog log;
  const VirtualDisplay display;
  const auto loop = NSRunLoop::mainRunLoop();
  for (const auto& [call, reason] :
       {std::pair{FaultyCall::socket, " can't be reached"},
        std::pair{FaultyCall::connect, " can't be reached"},
        std::pair{FaultyCall::epoll_create1, " doesn't tell about its keyboard"}}) {
    SCOPED_TRACE(nameOf(call));
    HotKeyService::setShared(nullptr);
    const auto before = openDescriptors();
    EventHotKeyRef hotKey = nullptr;
    const ArmedFault none(call, 1, Fault::failingFromNowOn(EMFILE));
    EXPECT_EQ(registerKey(&hotKey), unimpErr);
    EXPECT_TRUE(none.wasMet());
    EXPECT_EQ(hotKey, nullptr);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_THAT(log.lines().back(), HasSubstr("the display " + display.name() + reason));
  }
  EventHotKeyRef hotKey = nullptr;
  EXPECT_EQ(registerKey(&hotKey), noErr);
  EXPECT_EQ(UnregisterEventHotKey(hotKey), noErr);
}

TEST(HotKeyFaults, AHotKeyThatThereIsNoMemoryForIsNotRegistered) {
  const CapturedLog log;
  const VirtualDisplay display;
  const DisplayClient client(display);
  expectNoneWithoutMemory([&](bool threw) { EXPECT_EQ(client.isFree(kKeyK), threw); });
  EXPECT_TRUE(client.isFree(kKeyK));
}

TEST(HotKeyFaults, AHotKeyMovesWithTheKeyboardOrIsGivenBackWhateverThereIsNoMemoryFor) {
  const CapturedLog log;
  const VirtualDisplay display;
  const DisplayClient client(display);
  int refused = 0;
  for (int nth = 1; nth <= 12; ++nth) {
    EventHotKeyRef hotKey = nullptr;
    ASSERT_EQ(registerKey(&hotKey), noErr);
    client.setModifier(nth % 2 == 0 ? 5 : 6, kKeyScrollLock);
    {
      const ArmedFault none(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
      try {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
      } catch (const std::bad_alloc&) {
        ++refused;
      }
    }
    EXPECT_EQ(UnregisterEventHotKey(hotKey), noErr);
    EXPECT_TRUE(client.isFree(kKeyK));
  }
  EXPECT_GT(refused, 0);
}

TEST_F(PortalHotKeyFaults, AHotKeyThatThereIsNoMemoryForIsNotRegistered) {
  expectNoneWithoutMemory([](bool) {});
  // None of them is asked for.
  while (NSRunLoop::mainRunLoop()->turn()) {
  }
  EXPECT_TRUE(portal.bound().empty());
}

// Each time with a connection of its own, to which nothing comes before it is asked for, and with
// no more allocations than asking takes: a connection without memory for a message is lost.
TEST_F(PortalHotKeyFaults, HotKeysThatThereIsNoMemoryToAskForAreAskedForInTheNextTurn) {
  int refused = 0;
  for (int nth = 1; nth <= 8; ++nth) {
    SCOPED_TRACE(nth);
    HotKeyService::setShared(nullptr);
    EventHotKeyRef hotKey = nullptr;
    ASSERT_EQ(registerKey(&hotKey), noErr);
    const std::size_t before = portal.bound().size();
    {
      const ArmedFault none(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
      try {
        NSRunLoop::mainRunLoop()->turn();
      } catch (const std::bad_alloc&) {
        ++refused;
      }
    }
    EXPECT_TRUE(runUntil([&] { return portal.bound().size() > before; }));
    EXPECT_EQ(UnregisterEventHotKey(hotKey), noErr);
  }
  EXPECT_GT(refused, 0);
}
