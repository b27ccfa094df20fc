// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/VirtualKeys.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "AllocationFaults.h"
#include "CapturedLog.h"
#include "HotKeyRecord.h"
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
