// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstdint>

namespace kestova {

/// What kind of event an NSEvent is.
enum NSEventType : NSUInteger {
  NSKeyDown = 10,
  NSKeyUp = 11,
  NSSystemDefined = 14,  ///< something that the system reports, such as a hot key
};

/// Modifier keys of an application event, as a sum of bits.
enum NSEventModifierFlags : NSUInteger {
  NSAlphaShiftKeyMask = 0x10000,  ///< Caps Lock
  NSShiftKeyMask = 0x20000,
  NSControlKeyMask = 0x40000,
  NSAlternateKeyMask = 0x80000,  ///< Option, the key Alt
  NSCommandKeyMask = 0x100000,   ///< the key with the desktop's sign (Super)
};

/// An event as applications see it.
///
///     Ref<NSEvent> event = NSEvent::eventWithEventRef(reported);
///     if ((event->modifierFlags() & NSControlKeyMask) != 0) { … }
///
/// Threads: immutable, so any number of them may read one at a time.
class KESTOVA_PLATFORM_EXPORT NSEvent : public NSObject {
  KESTOVA_CLASS(NSEvent, NSObject)

 public:
  /// A system event as an application event of the type NSSystemDefined, with its location,
  /// modifier keys and time and no window (number 0). Null is nothing.
  static Ref<NSEvent> eventWithEventRef(const EventRef& event);

  /// A key event of one's own. `type` is NSKeyDown or NSKeyUp, any other one throws
  /// NSInvalidArgumentException. `context` is what the event is drawn into, or null. Texts are
  /// copied and may be null.
  static Ref<NSEvent>
  keyEventWithType_location_modifierFlags_timestamp_windowNumber_context_characters_charactersIgnoringModifiers_isARepeat_keyCode(
      NSEventType type, NSPoint location, NSUInteger modifierFlags, NSTimeInterval timestamp,
      NSInteger windowNumber, const id& context, const Ref<NSString>& characters,
      const Ref<NSString>& charactersIgnoringModifiers, bool isARepeat, std::uint16_t keyCode);

  NSEventType type() const noexcept { return type_; }

  /// Where it happened: in the window, or for an event without one on the screen.
  NSPoint locationInWindow() const noexcept { return location_; }

  /// The modifier keys that were down, a sum of NSEventModifierFlags.
  NSUInteger modifierFlags() const noexcept { return modifierFlags_; }

  /// When it happened, in seconds of `systemUptime`.
  NSTimeInterval timestamp() const noexcept { return timestamp_; }

  NSInteger windowNumber() const noexcept { return windowNumber_; }
  const id& context() const noexcept { return context_; }

  /// \name Of key events alone
  /// Another event throws NSInternalInconsistencyException.
  /// @{
  Ref<NSString> characters() const;
  Ref<NSString> charactersIgnoringModifiers() const;
  bool isARepeat() const;

  /// The virtual key code (see VirtualKeys.h).
  std::uint16_t keyCode() const;
  /// @}

  /// "NSEvent: type=KeyUp loc={1,2} time=3.5 flags=0x40000 win=-1 keyCode=40", the last part for
  /// key events.
  Ref<NSString> description() const override;

 protected:
  NSEvent(NSEventType type, NSPoint location, NSUInteger modifierFlags, NSTimeInterval timestamp);

 private:
  bool isKeyEvent() const noexcept { return type_ == NSKeyDown || type_ == NSKeyUp; }
  void requireKeyEvent() const;

  const NSEventType type_;
  const NSPoint location_;
  const NSUInteger modifierFlags_;
  const NSTimeInterval timestamp_;
  NSInteger windowNumber_ = 0;
  id context_;
  Ref<NSString> characters_;
  Ref<NSString> charactersIgnoringModifiers_;
  bool isARepeat_ = false;
  std::uint16_t keyCode_ = 0;
};

}  // namespace kestova
