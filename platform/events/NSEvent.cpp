// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/NSException.h>

#include <array>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSEvent)

namespace {

struct ModifierPair {
  std::uint32_t reported;
  NSUInteger flag;
};

constexpr std::array kModifiers = {
    ModifierPair{cmdKey, NSCommandKeyMask},       ModifierPair{shiftKey, NSShiftKeyMask},
    ModifierPair{alphaLock, NSAlphaShiftKeyMask}, ModifierPair{optionKey, NSAlternateKeyMask},
    ModifierPair{controlKey, NSControlKeyMask},
};

NSUInteger flagsFor(std::uint32_t modifiers) {
  NSUInteger flags = 0;
  for (const ModifierPair& pair : kModifiers) {
    flags |= (modifiers & pair.reported) != 0 ? pair.flag : 0;
  }
  return flags;
}

const char* nameOf(NSEventType type) {
  switch (type) {
    case NSKeyDown:
      return "KeyDown";
    case NSKeyUp:
      return "KeyUp";
    case NSSystemDefined:
      break;
  }
  return "SystemDefined";
}

}  // namespace

NSEvent::NSEvent(NSEventType type, NSPoint location, NSUInteger modifierFlags,
                 NSTimeInterval timestamp)
    : type_(type), location_(location), modifierFlags_(modifierFlags), timestamp_(timestamp) {}

Ref<NSEvent> NSEvent::eventWithEventRef(const EventRef& event) {
  if (event == nullptr) {
    return nullptr;
  }
  return make<NSEvent>(NSSystemDefined, event->location(), flagsFor(event->modifiers()),
                       event->timestamp());
}

Ref<NSEvent> NSEvent::
    keyEventWithType_location_modifierFlags_timestamp_windowNumber_context_characters_charactersIgnoringModifiers_isARepeat_keyCode(
        NSEventType type, NSPoint location, NSUInteger modifierFlags, NSTimeInterval timestamp,
        NSInteger windowNumber, const id& context, const Ref<NSString>& characters,
        const Ref<NSString>& charactersIgnoringModifiers, bool isARepeat, std::uint16_t keyCode) {
  const auto event = make<NSEvent>(type, location, modifierFlags, timestamp);
  if (!event->isKeyEvent()) {
    throw NSException(NSInvalidArgumentException, "type is not that of a key event");
  }
  event->windowNumber_ = windowNumber;
  event->context_ = context;
  event->characters_ = copyOf(characters);
  event->charactersIgnoringModifiers_ = copyOf(charactersIgnoringModifiers);
  event->isARepeat_ = isARepeat;
  event->keyCode_ = keyCode;
  return event;
}

void NSEvent::requireKeyEvent() const {
  if (!isKeyEvent()) {
    throw NSException(NSInternalInconsistencyException, "the event is no key event");
  }
}

Ref<NSString> NSEvent::characters() const {
  requireKeyEvent();
  return characters_;
}

Ref<NSString> NSEvent::charactersIgnoringModifiers() const {
  requireKeyEvent();
  return charactersIgnoringModifiers_;
}

bool NSEvent::isARepeat() const {
  requireKeyEvent();
  return isARepeat_;
}

std::uint16_t NSEvent::keyCode() const {
  requireKeyEvent();
  return keyCode_;
}

Ref<NSString> NSEvent::description() const {
  const auto common = NSString::stringWithFormat(
      "NSEvent: type=%s loc={%g,%g} time=%.1f flags=0x%lx win=%ld", nameOf(type_), location_.x,
      location_.y, timestamp_, modifierFlags_, windowNumber_);
  return isKeyEvent() ? common->stringByAppendingFormat(" keyCode=%hu", keyCode_) : common;
}

}  // namespace kestova
