// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVHotKey.h>
#include <KestovaFoundation/OVKVOReceptionist.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "CountingObject.h"
#include "ScriptedHotKeyService.h"

#include <cstdlib>
#include <memory>
#include <string>

namespace kestova::testing {
namespace {

constexpr NSUInteger kKey = 40;

Ref<OVHotKey> hotKey(NSUInteger keyCode, NSUInteger flags, const OVHotKey::Handler& handler = {}) {
  return OVHotKey::initWithKeyCode_modifierFlags_handler(keyCode, flags, handler);
}

class OVHotKeyTests : public ::testing::Test {
 protected:
  const std::shared_ptr<ScriptedHotKeyService> service = useScriptedHotKeyService();
};

// Shows: initWithKeyCode_modifierFlags_handler, keyCode, modifierFlags, hotKeyID, hotKeyRef, handler
TEST_F(OVHotKeyTests, ANewHotKeyIsNotRegistered) {
  const auto key = hotKey(kKey, NSControlKeyMask);
  EXPECT_EQ(key->keyCode(), kKey);
  EXPECT_EQ(key->modifierFlags(), 0x40000U);
  EXPECT_EQ(key->hotKeyID(), 0U);
  EXPECT_EQ(key->hotKeyRef(), nullptr);
  EXPECT_EQ(key->handler(), nullptr);
  EXPECT_TRUE(service->registered.empty());
}

// Shows: registerHotKey, hotKeyRef, modifierFlags
TEST_F(OVHotKeyTests, RegisteringTellsTheServiceKeyModifiersAndIdentifier) {
  const auto key = hotKey(0x10028, NSControlKeyMask | 0x10001);
  ASSERT_TRUE(key->registerHotKey());
  ASSERT_EQ(service->registered.size(), 1U);
  const EventHotKey& registered = *service->registered[0];
  EXPECT_EQ(registered.keyCode, 0x28U) << "the low 16 bits";
  EXPECT_EQ(registered.modifiers, 0x1000U) << "other flags are not passed on";
  EXPECT_EQ(registered.hotKeyID, (EventHotKeyID{0x68746b31, key->hotKeyID()}));
  EXPECT_EQ(registered.target, GetEventDispatcherTarget());
  EXPECT_EQ(key->hotKeyRef()->pointerValue(), service->registered[0]);
  EXPECT_EQ(key->modifierFlags(), NSControlKeyMask | 0x10001U);
}

// Shows: registerHotKey
TEST_F(OVHotKeyTests, EachFlagIsTranslatedByItself) {
  for (NSUInteger bits = 0; bits < 16; ++bits) {
    const auto key = hotKey(kKey, bits * 0x20000);
    ASSERT_TRUE(key->registerHotKey());
    EXPECT_EQ(service->registered.at(0)->modifiers,
              ((bits & 1) != 0 ? 0x200U : 0U) | ((bits & 2) != 0 ? 0x1000U : 0U) |
                  ((bits & 4) != 0 ? 0x800U : 0U) | ((bits & 8) != 0 ? 0x100U : 0U))
        << bits;
  }
}

using OVHotKeyDeathTests = OVHotKeyTests;

/// What the numbers of the first hot keys of a process are.
int numbersOfANewProcess(ScriptedHotKeyService& service) {
  const auto first = hotKey(1, 0);
  const auto second = hotKey(2, 0);
  service.answer = eventHotKeyExistsErr;
  const bool isRefused =
      !second->registerHotKey() && second->hotKeyID() == 0 && second->hotKeyRef() == nullptr;
  service.answer = noErr;
  const bool isFirst = first->registerHotKey() && first->hotKeyID() == 1;
  service.answer = unimpErr;
  const bool isRefusedAgain = !second->registerHotKey() && second->hotKeyID() == 0;
  service.answer = noErr;
  const bool isSecond = second->registerHotKey() && second->hotKeyID() == 2;
  first->unregisterHotKey();
  const bool isThird = first->registerHotKey() && first->hotKeyID() == 3;
  return isRefused && isFirst && isRefusedAgain && isSecond && isThird ? 7 : 8;
}

// Shows: registerHotKey, hotKeyID
TEST_F(OVHotKeyDeathTests, TheFirstHotKeyIsNumberOneAndOnlyASuccessAdvancesTheNumber) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process that has not registered anything
  EXPECT_EXIT(std::exit(numbersOfANewProcess(*service)), ::testing::ExitedWithCode(7), "");
}

// Shows: registerHotKey, hotKeyID, hotKeyRef
TEST_F(OVHotKeyTests, WhoObservesARegistrationMayRegisterAnother) {
  const auto first = hotKey(1, 0);
  const auto second = hotKey(2, 0);
  const auto receptionist = OVKVOReceptionist::receptionistForKeyPath_object_handler(
      "hotKeyRef", first,
      [&](const auto&, const id&, const auto&) { EXPECT_TRUE(second->registerHotKey()); });
  ASSERT_TRUE(first->registerHotKey());
  receptionist->cancel();
  ASSERT_EQ(service->registered.size(), 2U);
  EXPECT_EQ(first->hotKeyID(), service->registered[0]->hotKeyID.id);
  EXPECT_EQ(second->hotKeyID(), service->registered[1]->hotKeyID.id);
  EXPECT_EQ(second->hotKeyID(), first->hotKeyID() + 1);
}

// Shows: registerHotKey
TEST_F(OVHotKeyTests, ARegisteredHotKeyCannotBeRegisteredAgain) {
  const auto key = hotKey(kKey, 0);
  ASSERT_TRUE(key->registerHotKey());
  const auto reference = key->hotKeyRef();
  const auto number = key->hotKeyID();
  EXPECT_FALSE(key->registerHotKey());
  EXPECT_EQ(key->hotKeyRef(), reference);
  EXPECT_EQ(key->hotKeyID(), number);
}

// Shows: unregisterHotKey, hotKeyRef, hotKeyID
TEST_F(OVHotKeyTests, UnregisteringClearsTheReferenceAndKeepsTheNumber) {
  const auto key = hotKey(kKey, 0);
  ASSERT_TRUE(key->registerHotKey());
  const auto number = key->hotKeyID();
  key->unregisterHotKey();
  EXPECT_EQ(key->hotKeyRef(), nullptr);
  EXPECT_EQ(key->hotKeyID(), number);
  EXPECT_TRUE(service->registered.empty());
  key->unregisterHotKey();
  EXPECT_TRUE(key->registerHotKey());
}

// Shows: setHotKeyRef, unregisterHotKey
TEST_F(OVHotKeyTests, UnregisteringGivesBackWhatTheReferenceNames) {
  const auto key = hotKey(kKey, 0);
  ASSERT_TRUE(key->registerHotKey());
  const auto reference = key->hotKeyRef();
  key->setHotKeyRef(nullptr);
  key->unregisterHotKey();
  EXPECT_EQ(service->registered.size(), 1U);
  key->setHotKeyRef(reference);
  key->unregisterHotKey();
  EXPECT_TRUE(service->registered.empty());
}

// Shows: OVHotKey
TEST_F(OVHotKeyTests, DestroyingARegisteredHotKeyUnregistersItAndLetsGoOfItsHandler) {
  auto key = hotKey(kKey, 0, [object = counted(1)](const auto&, const auto&) { (void)object; });
  ASSERT_TRUE(key->registerHotKey());
  EXPECT_EQ(service->registered.size(), 1U);
  key = nullptr;
  EXPECT_TRUE(service->registered.empty());
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: invokeWithEvent
TEST_F(OVHotKeyTests, TheHandlerGetsTheHotKeyAndTheEvent) {
  Ref<OVHotKey> given;
  Ref<NSEvent> givenEvent;
  const auto key = hotKey(kKey, 0, [&](const Ref<OVHotKey>& hotKey, const Ref<NSEvent>& event) {
    given = hotKey;
    givenEvent = event;
  });
  const auto event = NSEvent::eventWithEventRef(Event::hotKeyEvent(6, {}, 0, NSZeroPoint, 1));
  key->invokeWithEvent(event);
  EXPECT_EQ(given, key);
  EXPECT_EQ(givenEvent, event);
  hotKey(kKey, 0)->invokeWithEvent(event);
}

// Shows: invokeWithEvent
TEST_F(OVHotKeyTests, AHandlerMayLetGoOfTheHotKey) {
  Ref<OVHotKey> key;
  key = hotKey(kKey, 0, [&, object = counted(1)](const Ref<OVHotKey>& hotKey, const auto&) {
    key = nullptr;
    EXPECT_EQ(hotKey->keyCode(), kKey);
    EXPECT_EQ(valueOf(object), 1);
  });
  key->invokeWithEvent(nullptr);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(CountingObject::alive(), 0);
}

// Shows: isEqual
TEST_F(OVHotKeyTests, KeyCodeAndFlagsMakeEquality) {
  const auto key = hotKey(1, 2, [](const auto&, const auto&) {});
  EXPECT_TRUE(key->isEqual(hotKey(1, 2)));
  EXPECT_FALSE(key->isEqual(hotKey(1, 3)));
  EXPECT_FALSE(key->isEqual(hotKey(2, 2)));
  EXPECT_FALSE(key->isEqual(hotKey(0, 3))) << "though the hashes are equal";
  EXPECT_FALSE(key->isEqual("key"));
  EXPECT_FALSE(key->isEqual(nullptr));
  const auto registered = hotKey(1, 2);
  ASSERT_TRUE(registered->registerHotKey());
  EXPECT_TRUE(key->isEqual(registered));
}

// Shows: hash
TEST_F(OVHotKeyTests, TheHashIsTheSumOfKeyCodeAndFlags) {
  EXPECT_EQ(hotKey(1, 0x40000)->hash(), 0x40001U);
  EXPECT_EQ(hotKey(0, 0)->hash(), 0U);
  EXPECT_EQ(hotKey(2, ~NSUInteger{0})->hash(), 1U);
}

// Shows: description
TEST_F(OVHotKeyTests, TheDescriptionNamesTheFlagsInOrder) {
  struct Row {
    NSUInteger flags;
    const char* text;
  };
  for (const Row& row : {Row{0, "ERROR: No valid flags"}, Row{0x10000, "ERROR: No valid flags"},
                         Row{0x40000, "(NSControlKeyMask)"}, Row{0x100000, "(NSCommandKeyMask)"},
                         Row{0x20000, "(NSShiftKeyMask)"}, Row{0x80000, "(NSAlternateKeyMask)"},
                         Row{0xc0000, "(NSControlKeyMask | NSAlternateKeyMask)"},
                         Row{~NSUInteger{0},
                             "(NSControlKeyMask | NSCommandKeyMask | "
                             "NSShiftKeyMask | NSAlternateKeyMask)"}}) {
    const auto key = hotKey(40, row.flags);
    const auto text = key->description()->displayUTF8();
    EXPECT_TRUE(text.starts_with("<OVHotKey: 0x")) << text;
    EXPECT_EQ(text.substr(text.find('>') + 1),
              "\n\t(key: 40\n\tflags: " + std::string(row.text) + ")");
  }
}

// Shows: keyCode, modifierFlags, handler, hotKeyRef, setHotKeyID, hotKeyID
TEST_F(OVHotKeyTests, PropertiesAreReadAndWrittenByTheirNames) {
  const auto key = hotKey(40, 0x40000, [](const auto&, const auto&) {});
  EXPECT_TRUE(key->valueForKey("keyCode")->isEqual(40));
  EXPECT_TRUE(key->valueForKey("modifierFlags")->isEqual(0x40000));
  EXPECT_EQ(OVHotKey::Handler::fromObject(key->valueForKey("handler")), key->handler());
  EXPECT_EQ(key->valueForKey("hotKeyRef"), nullptr);
  key->setValue_forKey(9, "hotKeyID");
  EXPECT_EQ(key->hotKeyID(), 9U);
  ASSERT_TRUE(key->registerHotKey());
  EXPECT_EQ(key->valueForKey("hotKeyRef"), key->hotKeyRef());
}

}  // namespace
}  // namespace kestova::testing
