// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"

#include <cstdint>

namespace kestova::testing {
namespace {

Ref<NSEvent> keyEvent(NSEventType type, const Ref<NSString>& characters = "ä") {
  return NSEvent::
      keyEventWithType_location_modifierFlags_timestamp_windowNumber_context_characters_charactersIgnoringModifiers_isARepeat_keyCode(
          type, NSMakePoint(1, 2), NSControlKeyMask, 3.5, -1, nullptr, characters, "a", true, 40);
}

TEST(NSEventTests, ConstantsHaveTheirValues) {
  EXPECT_EQ(NSKeyDown, 10U);
  EXPECT_EQ(NSKeyUp, 11U);
  EXPECT_EQ(NSShiftKeyMask, 0x20000U);
  EXPECT_EQ(NSControlKeyMask, 0x40000U);
  EXPECT_EQ(NSAlternateKeyMask, 0x80000U);
  EXPECT_EQ(NSCommandKeyMask, 0x100000U);
}

TEST(NSEventTests, AKeyEventHasWhatItWasMadeOf) {
  const auto event = keyEvent(NSKeyUp);
  EXPECT_EQ(event->type(), NSKeyUp);
  EXPECT_EQ(event->locationInWindow(), NSMakePoint(1, 2));
  EXPECT_EQ(event->modifierFlags(), NSControlKeyMask);
  EXPECT_EQ(event->timestamp(), 3.5);
  EXPECT_EQ(event->windowNumber(), -1);
  EXPECT_EQ(event->context(), nullptr);
  EXPECT_EQ(event->characters(), "ä");
  EXPECT_EQ(event->charactersIgnoringModifiers(), "a");
  EXPECT_TRUE(event->isARepeat());
  EXPECT_EQ(event->keyCode(), 40);
  EXPECT_EQ(event->description(),
            "NSEvent: type=KeyUp loc={1,2} time=3.5 flags=0x40000 win=-1 keyCode=40");
  EXPECT_EQ(keyEvent(NSKeyDown)->type(), NSKeyDown);
}

TEST(NSEventTests, TextsAreCopied) {
  const auto text = NSMutableString::stringWithString("a");
  const auto event = keyEvent(NSKeyUp, text);
  text->appendString("b");
  EXPECT_EQ(event->characters(), "a");
}

TEST(NSEventTests, AnotherTypeIsNoKeyEvent) {
  expectException(NSInvalidArgumentException, [] { static_cast<void>(keyEvent(NSSystemDefined)); });
  expectException(NSInvalidArgumentException,
                  [] { static_cast<void>(keyEvent(static_cast<NSEventType>(1))); });
}

TEST(NSEventTests, ASystemEventKeepsModifiersPlaceAndTime) {
  for (std::uint32_t bits = 0; bits < 32; ++bits) {
    const auto event = NSEvent::eventWithEventRef(
        Event::hotKeyEvent(kEventHotKeyReleased, {1, 2}, bits << 8, NSMakePoint(3, 4), 5.5));
    EXPECT_EQ(event->type(), NSSystemDefined);
    EXPECT_EQ(event->locationInWindow(), NSMakePoint(3, 4));
    EXPECT_EQ(event->timestamp(), 5.5);
    EXPECT_EQ(event->windowNumber(), 0);
    EXPECT_EQ(event->modifierFlags(), ((bits & 1) != 0 ? 0x100000U : 0U) |      // Command
                                          ((bits & 2) != 0 ? 0x20000U : 0U) |   // Shift
                                          ((bits & 4) != 0 ? 0x10000U : 0U) |   // Caps Lock
                                          ((bits & 8) != 0 ? 0x80000U : 0U) |   // Option
                                          ((bits & 16) != 0 ? 0x40000U : 0U));  // Control
  }
  EXPECT_EQ(NSEvent::eventWithEventRef(nullptr), nullptr);
}

TEST(NSEventTests, ASystemEventHasNoKey) {
  const auto event =
      NSEvent::eventWithEventRef(Event::hotKeyEvent(6, {1, 2}, controlKey, NSZeroPoint, 1));
  expectException(NSInternalInconsistencyException,
                  [&] { static_cast<void>(event->characters()); });
  expectException(NSInternalInconsistencyException,
                  [&] { static_cast<void>(event->charactersIgnoringModifiers()); });
  expectException(NSInternalInconsistencyException, [&] { static_cast<void>(event->isARepeat()); });
  expectException(NSInternalInconsistencyException, [&] { static_cast<void>(event->keyCode()); });
  EXPECT_EQ(event->description(),
            "NSEvent: type=SystemDefined loc={0,0} time=1.0 flags=0x40000 win=0");
}

}  // namespace
}  // namespace kestova::testing
