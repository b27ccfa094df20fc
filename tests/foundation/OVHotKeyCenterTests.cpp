// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "HotKeyRecord.h"
#include "ScriptedHotKeyService.h"
#include "VirtualDisplay.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestova::testing {

/// A centre that says when it goes.
class SubclassedHotKeyCenter : public OVHotKeyCenter {
  KESTOVA_CLASS(SubclassedHotKeyCenter, OVHotKeyCenter)

 public:
  static Ref<SubclassedHotKeyCenter> init() { return make<SubclassedHotKeyCenter>(); }
};
KESTOVA_DEFINE_CLASS(SubclassedHotKeyCenter)

namespace {

constexpr NSUInteger kControlOption = NSControlKeyMask | NSAlternateKeyMask;

/// With a service that is no desktop's.
class OVHotKeyCenterTests : public ::testing::Test {
 protected:
  Ref<OVHotKey> add(NSUInteger keyCode, NSUInteger flags, const OVHotKey::Handler& handler = {}) {
    return center->registerHotKeyWithKeyCode_modifierFlags_handler(keyCode, flags, handler);
  }

  /// A handler that appends a letter to the text.
  OVHotKey::Handler noting(char letter) {
    return [this, letter](const auto&, const auto&) { text += letter; };
  }

  /// Lets the service tell that a hot key was released.
  static void release(const Ref<OVHotKey>& hotKey) {
    static_cast<EventHotKeyRef>(hotKey->hotKeyRef()->pointerValue())
        ->send(kEventHotKeyReleased, 0, NSZeroPoint);
  }

  const std::shared_ptr<ScriptedHotKeyService> service = useScriptedHotKeyService();
  Ref<OVHotKeyCenter> center = OVHotKeyCenter::init();
  std::string text;
};

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler, hasRegisteredHotKeyWithKeyCode_modifierFlags, registeredHotKeys
TEST_F(OVHotKeyCenterTests, ACombinationIsRegisteredOnce) {
  const NSUInteger flags = NSCommandKeyMask | NSShiftKeyMask;
  const auto hotKey = add(1, flags);
  ASSERT_NE(hotKey, nullptr);
  EXPECT_EQ(add(1, flags, noting('a')), nullptr) << "whatever the handler";
  EXPECT_EQ(center->registeredHotKeys()->count(), 1U);
  EXPECT_EQ(service->registered.size(), 1U);
  EXPECT_TRUE(center->hasRegisteredHotKeyWithKeyCode_modifierFlags(1, flags));
  EXPECT_FALSE(center->hasRegisteredHotKeyWithKeyCode_modifierFlags(1, NSCommandKeyMask));
  EXPECT_FALSE(center->hasRegisteredHotKeyWithKeyCode_modifierFlags(2, flags));
}

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler, registeredHotKeys
TEST_F(OVHotKeyCenterTests, OneKeyWithOtherFlagsIsAnotherHotKey) {
  EXPECT_NE(add(1, NSControlKeyMask), nullptr);
  EXPECT_NE(add(1, NSShiftKeyMask), nullptr);
  EXPECT_EQ(center->registeredHotKeys()->count(), 2U);
}

// Shows: hasRegisteredHotKeyWithKeyCode_modifierFlags, registerHotKeyWithKeyCode_modifierFlags_handler
TEST_F(OVHotKeyCenterTests, FlagsThatTheSystemIsNotToldOfCountInTheCentre) {
  EXPECT_NE(add(1, NSControlKeyMask), nullptr);
  EXPECT_FALSE(center->hasRegisteredHotKeyWithKeyCode_modifierFlags(1, NSControlKeyMask | 1));
  EXPECT_EQ(add(1, NSControlKeyMask | 1), nullptr) << "but to the system it is the same";
}

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler
TEST_F(OVHotKeyCenterTests, ACombinationThatTheSystemRefusesAnswersNull) {
  service->answer = eventHotKeyExistsErr;
  EXPECT_EQ(add(1, NSControlKeyMask), nullptr);
  EXPECT_EQ(center->registeredHotKeys()->count(), 0U);
  service->answer = noErr;
  EXPECT_NE(add(1, NSControlKeyMask), nullptr);
}

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler
TEST_F(OVHotKeyCenterTests, NumbersRiseByOneForEachSuccessfulRegistration) {
  const auto first = add(1, 0);
  service->answer = eventHotKeyExistsErr;
  EXPECT_FALSE(add(2, 0));
  service->answer = noErr;
  const auto second = add(3, 0);
  EXPECT_EQ(second->hotKeyID(), first->hotKeyID() + 1);
  const std::uint32_t number = second->hotKeyID();
  center->unregisterHotKey(second);
  EXPECT_EQ(add(3, 0)->hotKeyID(), number + 1) << "none comes twice";
}

// Shows: unregisterHotKey, unregisterHotKeyWithKeyCode_modifierFlags, hasRegisteredHotKeyWithKeyCode_modifierFlags
TEST_F(OVHotKeyCenterTests, UnregisteringGivesTheCombinationBack) {
  const auto a = add(1, 0);
  const auto b = add(2, NSControlKeyMask);
  center->unregisterHotKey(a);
  EXPECT_EQ(a->hotKeyRef(), nullptr);
  EXPECT_FALSE(center->hasRegisteredHotKeyWithKeyCode_modifierFlags(1, 0));
  center->unregisterHotKeyWithKeyCode_modifierFlags(2, 0);
  center->unregisterHotKeyWithKeyCode_modifierFlags(3, NSControlKeyMask);
  EXPECT_NE(b->hotKeyRef(), nullptr) << "exactly these flags";
  center->unregisterHotKeyWithKeyCode_modifierFlags(2, NSControlKeyMask);
  EXPECT_EQ(b->hotKeyRef(), nullptr);
  EXPECT_EQ(center->registeredHotKeys()->count(), 0U);
  EXPECT_TRUE(service->registered.empty());
  center->unregisterHotKey(a);
  center->unregisterHotKey(nullptr);
}

// Shows: registeredHotKeys
TEST_F(OVHotKeyCenterTests, TheRegisteredHotKeysAreASnapshot) {
  EXPECT_TRUE(add(1, 0));
  const auto before = center->registeredHotKeys();
  EXPECT_TRUE(add(2, 0));
  center->unregisterHotKeyWithKeyCode_modifierFlags(1, 0);
  EXPECT_EQ(before->count(), 1U);
  EXPECT_EQ(cast<OVHotKey>(before->anyObject())->keyCode(), 1U);
}

// Shows: hotKeyHandler
TEST_F(OVHotKeyCenterTests, TheHotKeyOfTheNumberIsInvoked) {
  const auto a = add(1, 0, noting('a'));
  const auto b = add(2, 0, noting('b'));
  release(b);
  release(a);
  release(b);
  EXPECT_EQ(text, "bab");
}

// Shows: hotKeyHandler
TEST_F(OVHotKeyCenterTests, OnlyTheNumberTellsHotKeysApart) {
  const auto a = add(1, 0, noting('a'));
  center->hotKeyHandler(
      Event::hotKeyEvent(kEventHotKeyReleased, {0x6f746872, a->hotKeyID()}, 0, NSZeroPoint, 1));
  EXPECT_EQ(text, "a") << "the signature is not compared";
  a->setHotKeyID(4000000000U);
  center->hotKeyHandler(
      Event::hotKeyEvent(kEventHotKeyReleased, {0x68746b31, 4000000000U}, 0, NSZeroPoint, 1));
  EXPECT_EQ(text, "aa");
}

// Shows: hotKeyHandler
TEST_F(OVHotKeyCenterTests, AnUnknownNumberInvokesNothing) {
  EXPECT_TRUE(add(1, 0, noting('a')));
  center->hotKeyHandler(
      Event::hotKeyEvent(kEventHotKeyReleased, {0x68746b31, 0xffffffff}, 0, NSZeroPoint, 1));
  center->hotKeyHandler(nullptr);
  EXPECT_EQ(text, "");
}

// Shows: hotKeyHandler
TEST_F(OVHotKeyCenterTests, TheHandlerGetsAKeyUpEventWithoutCharacters) {
  Ref<NSEvent> given;
  const auto hotKey = add(0x10028, NSControlKeyMask,
                          [&](const auto&, const Ref<NSEvent>& event) { given = event; });
  center->hotKeyHandler(Event::hotKeyEvent(kEventHotKeyReleased, {0, hotKey->hotKeyID()},
                                           shiftKey | cmdKey, NSMakePoint(3, 4), 5.5));
  ASSERT_NE(given, nullptr);
  EXPECT_EQ(given->type(), 11U);
  EXPECT_EQ(given->locationInWindow(), NSMakePoint(3, 4));
  EXPECT_EQ(given->modifierFlags(), 0x120000U) << "those that were down, not the registered ones";
  EXPECT_EQ(given->timestamp(), 5.5);
  EXPECT_EQ(given->windowNumber(), -1);
  EXPECT_EQ(given->context(), nullptr);
  EXPECT_EQ(given->characters(), "");
  EXPECT_EQ(given->charactersIgnoringModifiers(), "");
  EXPECT_FALSE(given->isARepeat());
  EXPECT_EQ(given->keyCode(), 0x28) << "the low 16 bits";
}

// Shows: init, hotKeyHandler
TEST_F(OVHotKeyCenterTests, APressInvokesNothing) {
  const auto hotKey = add(1, 0, noting('a'));
  const auto reference = static_cast<EventHotKeyRef>(hotKey->hotKeyRef()->pointerValue());
  reference->send(kEventHotKeyPressed, 0, NSZeroPoint);
  EXPECT_EQ(text, "");
}

// Shows: init
TEST_F(OVHotKeyCenterTests, AnEventIsReportedAsHandled) {
  const HotKeyRecord record;  // installed later, so it is asked first and takes everything
  const auto hotKey = add(1, 0, noting('a'));
  release(hotKey);
  EXPECT_EQ(text, "");
  const auto another = OVHotKeyCenter::init();
  release(hotKey);
  EXPECT_EQ(text, "") << "the latest centre takes the event, and doesn't know the hot key";
}

// Shows: unregisterHotKey, hotKeyHandler
TEST_F(OVHotKeyCenterTests, AHandlerMayUnregisterItsHotKey) {
  const auto hotKey = add(1, 0, [&](const Ref<OVHotKey>& self, const auto&) {
    text += 'a';
    center->unregisterHotKey(self);
  });
  release(hotKey);
  EXPECT_EQ(text, "a");
  EXPECT_EQ(hotKey->hotKeyRef(), nullptr);
  EXPECT_TRUE(service->registered.empty());
}

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler, hotKeyHandler
TEST_F(OVHotKeyCenterTests, AHandlerMayRegisterAndReleaseOthers) {
  Ref<OVHotKey> second;
  const auto first = add(1, 0, [&](const auto&, const auto&) {
    text += '1';
    second = add(2, 0, noting('2'));
    release(second);
  });
  release(first);
  EXPECT_EQ(text, "12");
}

// Shows: OVHotKeyCenter, hotKeyHandler
TEST_F(OVHotKeyCenterTests, AHandlerMayLetGoOfTheCentre) {
  const auto hotKey = add(1, 0, [&](const auto&, const auto&) { center = nullptr; });
  release(hotKey);
  EXPECT_EQ(center, nullptr);
  EXPECT_TRUE(service->registered.empty());
}

// Shows: hotKeyHandler
TEST_F(OVHotKeyCenterTests, WhatAHandlerThrowsComesThrough) {
  const auto hotKey =
      add(1, 0, [](const auto&, const auto&) { throw std::runtime_error("thrown"); });
  EXPECT_THROW(release(hotKey), std::runtime_error);
  EXPECT_THROW(release(hotKey), std::runtime_error);
}

// Shows: OVHotKeyCenter
TEST_F(OVHotKeyCenterTests, TheEndOfACentreUnregistersAllAndRemovesItsEventHandler) {
  const auto hotKey = add(1, 0, noting('a'));
  EXPECT_TRUE(add(2, 0));
  const auto number = hotKey->hotKeyID();
  center = nullptr;
  EXPECT_TRUE(service->registered.empty());
  EXPECT_EQ(hotKey->hotKeyRef(), nullptr);
  EXPECT_EQ(SendEventToEventTarget(
                Event::hotKeyEvent(kEventHotKeyReleased, {0, number}, 0, NSZeroPoint, 1),
                GetEventDispatcherTarget()),
            eventNotHandledErr);
}

/// In processes of their own: the shared centre stays, and takes events.
// Shows: sharedHotKeyCenter
TEST_F(OVHotKeyCenterTests, TheSharedCentreIsOneAndOfTheClassThatWasAskedFirst) {
  const int status = runInChild([] {
    const auto center = OVHotKeyCenter::sharedHotKeyCenter(SubclassedHotKeyCenter::staticClass());
    return cast<SubclassedHotKeyCenter>(center) != nullptr &&
                   OVHotKeyCenter::sharedHotKeyCenter() == center
               ? 7
               : 8;
  });
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

// Shows: sharedHotKeyCenter
TEST_F(OVHotKeyCenterTests, TheSharedCentreIsAnOrdinaryOneWhereNobodySaysOtherwise) {
  const int status = runInChild([] {
    const auto center = OVHotKeyCenter::sharedHotKeyCenter();
    return cast<SubclassedHotKeyCenter>(center) == nullptr &&
                   OVHotKeyCenter::sharedHotKeyCenter() == center
               ? 7
               : 8;
  });
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

using OVHotKeyCenterDeathTests = OVHotKeyCenterTests;

// Shows: sharedHotKeyCenter
TEST_F(OVHotKeyCenterDeathTests, ASharedCentreOfAnotherClassIsABrokenContract) {
  EXPECT_DEATH(static_cast<void>(OVHotKeyCenter::sharedHotKeyCenter(NSObject::staticClass())),
               "receiver is an OVHotKeyCenter");
}

/// On a real display.
class OVHotKeyCenterDisplayTests : public ::testing::Test {
 protected:
  Ref<OVHotKey> add(NSUInteger keyCode, NSUInteger flags, const OVHotKey::Handler& handler = {}) {
    return center->registerHotKeyWithKeyCode_modifierFlags_handler(keyCode, flags, handler);
  }

  const CapturedLog log;
  const VirtualDisplay display;
  const DisplayClient client{display};
  const Ref<OVHotKeyCenter> center = OVHotKeyCenter::init();
};

// Shows: hotKeyHandler, registerHotKeyWithKeyCode_modifierFlags_handler
TEST_F(OVHotKeyCenterDisplayTests, APressRunsNothingAndTheReleaseTheHandler) {
  Ref<NSEvent> given;
  const auto hotKey =
      add(40, kControlOption, [&](const auto&, const Ref<NSEvent>& event) { given = event; });
  ASSERT_NE(hotKey, nullptr);
  client.press(kKeyControl);
  client.press(kKeyAlt);
  client.press(kKeyK);
  const NSUInteger turns = NSRunLoop::mainRunLoop()->turnCount();
  EXPECT_TRUE(runUntil([&] { return NSRunLoop::mainRunLoop()->turnCount() > turns + 6; }));
  EXPECT_EQ(given, nullptr) << "not while it is held and repeats";
  client.release(kKeyK);
  ASSERT_TRUE(runUntil([&] { return given != nullptr; }));
  EXPECT_EQ(given->type(), NSKeyUp);
  EXPECT_EQ(given->keyCode(), 40);
  EXPECT_EQ(given->characters(), "");
  EXPECT_EQ(given->modifierFlags(), kControlOption);
  client.release(kKeyAlt);
  client.release(kKeyControl);
}

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler, hasRegisteredHotKeyWithKeyCode_modifierFlags
TEST_F(OVHotKeyCenterDisplayTests, ACombinationThatAnotherProgramHasAnswersNull) {
  ASSERT_TRUE(client.grab(XCB_MOD_MASK_CONTROL, kKeyK));
  EXPECT_EQ(add(40, NSControlKeyMask), nullptr);
  EXPECT_FALSE(center->hasRegisteredHotKeyWithKeyCode_modifierFlags(40, NSControlKeyMask));
}

// Shows: OVHotKey
TEST_F(OVHotKeyCenterDisplayTests, ADestroyedHotKeyIsFreeAtOnce) {
  auto hotKey = OVHotKey::initWithKeyCode_modifierFlags_handler(40, NSControlKeyMask, {});
  ASSERT_TRUE(hotKey->registerHotKey());
  EXPECT_FALSE(client.isFree(kKeyK));
  hotKey = nullptr;
  EXPECT_TRUE(client.isFree(kKeyK));
}

// Shows: unregisterHotKeyWithKeyCode_modifierFlags
TEST_F(OVHotKeyCenterDisplayTests, AnUnregisteredHotKeyIsFreeAtOnce) {
  ASSERT_NE(add(40, kControlOption), nullptr);
  EXPECT_FALSE(client.isFree(kKeyK));
  center->unregisterHotKeyWithKeyCode_modifierFlags(40, kControlOption);
  EXPECT_TRUE(client.isFree(kKeyK));
}

// Shows: registerHotKeyWithKeyCode_modifierFlags_handler, registeredHotKeys, hotKeyHandler
TEST_F(OVHotKeyCenterDisplayTests, TwoHundredHotKeysAreToldApart) {
  std::vector<NSUInteger> flags;
  for (NSUInteger bits = 1; bits < 16; ++bits) flags.push_back(bits * 0x20000);
  int found = 0;
  for (NSUInteger key = 0; key < 14; ++key) {
    constexpr NSUInteger kKeys[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 40};
    for (const NSUInteger flag : flags) {
      ASSERT_NE(add(kKeys[key], flag, [&](const auto&, const auto&) { ++found; }), nullptr);
    }
  }
  EXPECT_EQ(center->registeredHotKeys()->count(), 210U);
  client.type({kKeyControl, kKeyAlt, kKeyK});
  EXPECT_TRUE(runUntil([&] { return found == 1; }));
}

}  // namespace
}  // namespace kestova::testing
