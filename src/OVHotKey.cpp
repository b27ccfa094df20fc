// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVHotKey.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/NSArray.h>

#include <array>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVHotKey,
                     .property<&OVHotKey::hotKeyID, &OVHotKey::setHotKeyID>("hotKeyID")
                         .property<&OVHotKey::hotKeyRef, &OVHotKey::setHotKeyRef>("hotKeyRef")
                         .property<&OVHotKey::handlerObject>("handler")
                         .property<&OVHotKey::keyCode>("keyCode")
                         .property<&OVHotKey::modifierFlags>("modifierFlags"))

namespace {

/// What the next hot key that is registered will be known by.
constinit std::uint32_t OVHotKeyNextHotKeyID = 1;

constexpr OSType kSignature = 0x68746b31;  // 'htk1'

struct Modifier {
  NSUInteger flag;
  const char* name;
  std::uint32_t serviceModifier;
};

/// In the order in which descriptions name them.
constexpr std::array kModifiers = {
    Modifier{NSControlKeyMask, "NSControlKeyMask", controlKey},
    Modifier{NSCommandKeyMask, "NSCommandKeyMask", cmdKey},
    Modifier{NSShiftKeyMask, "NSShiftKeyMask", shiftKey},
    Modifier{NSAlternateKeyMask, "NSAlternateKeyMask", optionKey},
};

std::uint32_t serviceModifiers(NSUInteger flags) {
  std::uint32_t modifiers = 0;
  for (const Modifier& modifier : kModifiers) {
    modifiers |= (flags & modifier.flag) != 0 ? modifier.serviceModifier : 0;
  }
  return modifiers;
}

Ref<NSString> flagsText(NSUInteger flags) {
  const auto names = NSMutableArray::array();
  for (const Modifier& modifier : kModifiers) {
    if ((flags & modifier.flag) != 0) {
      names->addObject(modifier.name);
    }
  }
  return names->count() == 0
             ? Ref<NSString>("ERROR: No valid flags")
             : NSString::stringWithFormat("(%@)", names->componentsJoinedByString(" | "));
}

}  // namespace

OVHotKey::OVHotKey(NSUInteger keyCode, NSUInteger modifierFlags, Handler handler)
    : mHandler(std::move(handler)), mKeyCode(keyCode), mModifierFlags(modifierFlags) {}

OVHotKey::~OVHotKey() {
  if (mHotKeyRef) {
    UnregisterEventHotKey(static_cast<EventHotKeyRef>(mHotKeyRef->pointerValue()));
  }
}

Ref<OVHotKey> OVHotKey::initWithKeyCode_modifierFlags_handler(NSUInteger keyCode,
                                                              NSUInteger modifierFlags,
                                                              const Handler& handler) {
  return make<OVHotKey>(keyCode, modifierFlags, handler);
}

bool OVHotKey::registerHotKey() {
  const EventHotKeyID hotKeyID{kSignature, OVHotKeyNextHotKeyID};
  EventHotKeyRef reference = nullptr;
  const OSStatus status =
      RegisterEventHotKey(static_cast<std::uint16_t>(mKeyCode), serviceModifiers(mModifierFlags),
                          hotKeyID, GetEventDispatcherTarget(), 0, &reference);
  if (status != noErr) {
    return false;
  }
  // Whoever observes what is set now may register other hot keys.
  ++OVHotKeyNextHotKeyID;
  try {
    setHotKeyRef(NSValue::valueWithPointer(reference));
  } catch (...) {
    // Nobody would know it to give it back.
    if (!mHotKeyRef) {
      UnregisterEventHotKey(reference);
    }
    throw;
  }
  setHotKeyID(hotKeyID.id);
  return true;
}

void OVHotKey::unregisterHotKey() {
  if (mHotKeyRef) {
    UnregisterEventHotKey(static_cast<EventHotKeyRef>(mHotKeyRef->pointerValue()));
    try {
      setHotKeyRef(nullptr);
    } catch (...) {
      mHotKeyRef = nullptr;  // it stands for nothing any more
      throw;
    }
  }
}

void OVHotKey::invokeWithEvent(const Ref<NSEvent>& event) {
  const Ref<OVHotKey> kept(this);
  if (mHandler) {
    mHandler(kept, event);
  }
}

void OVHotKey::setHotKeyID(std::uint32_t hotKeyID) {
  const KeyValueChange change(*this, "hotKeyID");
  mHotKeyID = hotKeyID;
}

void OVHotKey::setHotKeyRef(const Ref<NSValue>& hotKeyRef) {
  const KeyValueChange change(*this, "hotKeyRef");
  mHotKeyRef = hotKeyRef;
}

bool OVHotKey::isEqual(const id& other) const {
  const auto hotKey = cast<OVHotKey>(other);
  return hotKey && hotKey->mKeyCode == mKeyCode && hotKey->mModifierFlags == mModifierFlags;
}

NSUInteger OVHotKey::hash() const { return mKeyCode + mModifierFlags; }

Ref<NSString> OVHotKey::description() const {
  return NSString::stringWithFormat("%@\n\t(key: %lu\n\tflags: %@)", super::description(), mKeyCode,
                                    flagsText(mModifierFlags));
}

}  // namespace kestova
