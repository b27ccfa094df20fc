// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVHotKeyCenter,
                     .property<&OVHotKeyCenter::registeredHotKeys>("registeredHotKeys"))

namespace {

/// What a handler is called with: the key goes up, wherever no window is and without a text.
Ref<NSEvent> keyUpEvent(const Ref<NSEvent>& event, NSUInteger keyCode) {
  return NSEvent::
      keyEventWithType_location_modifierFlags_timestamp_windowNumber_context_characters_charactersIgnoringModifiers_isARepeat_keyCode(
          NSKeyUp, event->locationInWindow(), event->modifierFlags(), event->timestamp(), -1,
          nullptr, "", "", false, static_cast<std::uint16_t>(keyCode));
}

}  // namespace

Ref<OVHotKeyCenter> OVHotKeyCenter::sharedHotKeyCenter(const Class& receiver) {
  require(receiver.isSubclassOfClass(staticClass()), "receiver is an OVHotKeyCenter");
  static const auto& center = *new Ref<OVHotKeyCenter>(cast<OVHotKeyCenter>(receiver.make()));
  return center;
}

Ref<OVHotKeyCenter> OVHotKeyCenter::init() { return make<OVHotKeyCenter>(); }

OVHotKeyCenter::OVHotKeyCenter() {
  constexpr EventTypeSpec kHotKeyReleased{kEventClassKeyboard, kEventHotKeyReleased};
  InstallEventHandler(GetApplicationEventTarget(), &HotKeyHandler, {&kHotKeyReleased, 1}, this,
                      &mEventHandler);
}

OVHotKeyCenter::~OVHotKeyCenter() {
  while (const auto hotKey = cast<OVHotKey>(mHotKeys->anyObject())) {
    unregisterHotKey(hotKey);
  }
  RemoveEventHandler(mEventHandler);
}

Ref<OVHotKey> OVHotKeyCenter::registerHotKeyWithKeyCode_modifierFlags_handler(
    NSUInteger keyCode, NSUInteger modifierFlags, const OVHotKey::Handler& handler) {
  if (hasRegisteredHotKeyWithKeyCode_modifierFlags(keyCode, modifierFlags)) {
    return nullptr;
  }
  const auto hotKey =
      OVHotKey::initWithKeyCode_modifierFlags_handler(keyCode, modifierFlags, handler);
  if (!hotKey->registerHotKey()) {
    return nullptr;
  }
  mHotKeys->addObject(hotKey);
  return hotKey;
}

void OVHotKeyCenter::unregisterHotKey(const Ref<OVHotKey>& hotKey) {
  // The argument may be the set's own reference.
  const Ref<OVHotKey> kept = hotKey;
  if (kept) {
    mHotKeys->removeObject(kept);
    kept->unregisterHotKey();
  }
}

void OVHotKeyCenter::unregisterHotKeyWithKeyCode_modifierFlags(NSUInteger keyCode,
                                                               NSUInteger modifierFlags) {
  unregisterHotKey(hotKeyWithKeyCode_modifierFlags(keyCode, modifierFlags));
}

bool OVHotKeyCenter::hasRegisteredHotKeyWithKeyCode_modifierFlags(NSUInteger keyCode,
                                                                  NSUInteger modifierFlags) const {
  return hotKeyWithKeyCode_modifierFlags(keyCode, modifierFlags) != nullptr;
}

Ref<NSSet> OVHotKeyCenter::registeredHotKeys() const { return NSSet::setWithSet(mHotKeys); }

/// Hot keys are equal by key code and flags, so the set finds one by another.
Ref<OVHotKey> OVHotKeyCenter::hotKeyWithKeyCode_modifierFlags(NSUInteger keyCode,
                                                              NSUInteger modifierFlags) const {
  return cast<OVHotKey>(mHotKeys->member(
      OVHotKey::initWithKeyCode_modifierFlags_handler(keyCode, modifierFlags, nullptr)));
}

/// A hot key's number may be set by anybody at any time, so no index is kept of it. The set holds
/// nothing but hot keys.
Ref<OVHotKey> OVHotKeyCenter::hotKeyWithID(std::uint32_t hotKeyID) const {
  for (const id& member : mHotKeys) {
    auto* hotKey = static_cast<OVHotKey*>(member.get());
    if (hotKey->hotKeyID() == hotKeyID) {
      return Ref<OVHotKey>(hotKey);
    }
  }
  return nullptr;
}

void OVHotKeyCenter::hotKeyHandler(const EventRef& event) {
  EventHotKeyID hotKeyID;
  const OSStatus status = GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID,
                                            nullptr, sizeof hotKeyID, nullptr, &hotKeyID);
  const auto hotKey = status == noErr ? hotKeyWithID(hotKeyID.id) : nullptr;
  if (hotKey) {
    hotKey->invokeWithEvent(keyUpEvent(NSEvent::eventWithEventRef(event), hotKey->keyCode()));
  }
}

OSStatus OVHotKeyCenter::HotKeyHandler(const EventRef& event, void* center) {
  const Ref<OVHotKeyCenter> kept(static_cast<OVHotKeyCenter*>(center));
  kept->hotKeyHandler(event);
  return noErr;
}

}  // namespace kestova
