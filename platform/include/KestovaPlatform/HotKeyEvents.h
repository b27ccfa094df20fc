// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/Gestalt.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestova {

using OptionBits = std::uint32_t;

/// What an event is about, and what happened there.
struct EventTypeSpec {
  OSType eventClass;
  std::uint32_t eventKind;

  friend constexpr bool operator==(const EventTypeSpec&, const EventTypeSpec&) = default;
};

/// The class of everything that comes from a keyboard: 'keyb'.
inline constexpr OSType kEventClassKeyboard = 0x6b657962;

/// \name Kinds of keyboard events
/// @{
inline constexpr std::uint32_t kEventHotKeyPressed = 5;
inline constexpr std::uint32_t kEventHotKeyReleased = 6;
/// @}

/// \name Modifier keys of a hot key and of an event, as a sum of bits
/// @{
inline constexpr std::uint32_t cmdKey = 0x100;  ///< the key with the desktop's sign (Super)
inline constexpr std::uint32_t shiftKey = 0x200;
inline constexpr std::uint32_t alphaLock = 0x400;  ///< Caps Lock; told by events, no hot key has it
inline constexpr std::uint32_t optionKey = 0x800;  ///< the key Alt
inline constexpr std::uint32_t controlKey = 0x1000;
/// @}

/// \name Parameters of an event and their types
/// @{
using EventParamName = OSType;
using EventParamType = OSType;
inline constexpr EventParamName kEventParamDirectObject = 0x2d2d2d2d;  ///< '----'
inline constexpr EventParamName kEventParamKeyModifiers = 0x6b6d6f64;  ///< 'kmod'
inline constexpr EventParamType typeEventHotKeyID = 0x686b6964;        ///< 'hkid', 8 bytes
inline constexpr EventParamType typeUInt32 = 0x6d61676e;               ///< 'magn', 4 bytes
inline constexpr EventParamType typeWildCard = 0x2a2a2a2a;             ///< '****': whichever it has
/// @}

/// What its owner knows a hot key by.
struct EventHotKeyID {
  OSType signature = 0;
  std::uint32_t id = 0;

  friend constexpr bool operator==(const EventHotKeyID&, const EventHotKeyID&) = default;
};

/// Something that happened to a hot key: which one, which modifier keys were down, where the
/// pointer was, and when.
///
/// Threads: immutable, so any number of them may read one at a time.
class KESTOVA_PLATFORM_EXPORT Event : public NSObject {
  KESTOVA_CLASS(Event, NSObject)

 public:
  /// `modifiers` is a sum of the bits above; `location` is where the pointer was, in pixels right
  /// and down from the upper left corner of the screen; `timestamp` is seconds of `systemUptime`.
  static Ref<Event> hotKeyEvent(std::uint32_t kind, EventHotKeyID hotKeyID, std::uint32_t modifiers,
                                NSPoint location, NSTimeInterval timestamp);

  EventTypeSpec type() const noexcept { return {kEventClassKeyboard, kind_}; }
  EventHotKeyID hotKeyID() const noexcept { return hotKeyID_; }
  std::uint32_t modifiers() const noexcept { return modifiers_; }
  NSPoint location() const noexcept { return location_; }
  NSTimeInterval timestamp() const noexcept { return timestamp_; }

 protected:
  Event(std::uint32_t kind, EventHotKeyID hotKeyID, std::uint32_t modifiers, NSPoint location,
        NSTimeInterval timestamp);

 private:
  const std::uint32_t kind_;
  const EventHotKeyID hotKeyID_;
  const std::uint32_t modifiers_;
  const NSPoint location_;
  const NSTimeInterval timestamp_;
};

using EventRef = Ref<Event>;

/// Copies a parameter of the event to where `data` points: at most `bufferSize` bytes of it, and
/// none when that is null. The direct object is the EventHotKeyID (typeEventHotKeyID), the key
/// modifiers are 32 bits (typeUInt32). `actualType` and `actualSize`, which may be null, tell the
/// type and the whole size.
///
/// Answers 0, −9870 (eventParameterNotFoundErr) when the event has no such parameter of that type,
/// −50 (paramErr) for no event. Any thread.
KESTOVA_PLATFORM_EXPORT OSStatus GetEventParameter(const EventRef& event, EventParamName name,
                                                   EventParamType desiredType,
                                                   EventParamType* actualType,
                                                   std::size_t bufferSize, std::size_t* actualSize,
                                                   void* data);

/// \name Where events go
///
/// An event that is sent to the dispatcher is offered to the handlers of the dispatcher and then to
/// those of the application, the latest installed one first, until one takes it.
///
/// Threads: the main one alone, for all that follows; another one is a broken contract.
/// @{

class EventTarget;
using EventTargetRef = EventTarget*;

/// The target that every event passes first. Lives as long as the process.
KESTOVA_PLATFORM_EXPORT EventTargetRef GetEventDispatcherTarget();

/// The target for what concerns the application as a whole. Lives as long as the process.
KESTOVA_PLATFORM_EXPORT EventTargetRef GetApplicationEventTarget();

/// Called for an event, on the main thread with no lock held. It answers 0 for an event that it has
/// taken, else the event goes on to the next handler. It may install and remove handlers, itself
/// too, and register and unregister hot keys. What it throws leaves the run loop.
using EventHandlerProcPtr = OSStatus (*)(const EventRef& event, void* userData);

struct EventHandler;
using EventHandlerRef = EventHandler*;

/// Calls the handler for events of these types that reach the target, until it is removed.
/// `outHandler` may be null: then it stays for good. Answers 0, or −50 (paramErr) for no target, no
/// handler or no types.
KESTOVA_PLATFORM_EXPORT OSStatus InstallEventHandler(EventTargetRef target,
                                                     EventHandlerProcPtr handler,
                                                     std::span<const EventTypeSpec> types,
                                                     void* userData, EventHandlerRef* outHandler);

/// Removes an installed handler: it isn't called any more, not even for an event that is just on
/// its way. Answers 0, or −50 (paramErr) for what is no installed handler.
KESTOVA_PLATFORM_EXPORT OSStatus RemoveEventHandler(EventHandlerRef handler);

/// Offers the event to the handlers of the target at once. Answers 0 when one has taken it, else
/// −9874 (eventNotHandledErr), or −50 (paramErr) for no event or no target.
KESTOVA_PLATFORM_EXPORT OSStatus SendEventToEventTarget(const EventRef& event,
                                                        EventTargetRef target);

/// @}
/// \name Hot keys
///
/// Keys that are taken from every program of the desktop and reported to this one:
///
///     EventHotKeyRef hotKey = nullptr;
///     OSStatus status = RegisterEventHotKey(40, controlKey | optionKey, {0x64656d6f, 1},
///                                           GetEventDispatcherTarget(), 0, &hotKey);
///
/// The service that does it is chosen when the first one is registered (see HotKeyService). Events
/// of the kinds kEventHotKeyPressed and kEventHotKeyReleased come once each however long the keys
/// are held down, on the main run loop in its common modes. A hot key is released when its key
/// goes up, whichever modifier keys are still down.
///
/// Threads: the main one alone; another one is a broken contract.
/// @{

struct EventHotKey;
using EventHotKeyRef = EventHotKey*;

/// Registers a virtual key code (see VirtualKeys.h) with modifier keys, a sum of cmdKey, shiftKey,
/// optionKey and controlKey. `options` is 0. Events carry `hotKeyID` and are sent to `target`.
///
/// Answers 0 and a reference; else, with nothing changed: −9878 (eventHotKeyExistsErr) when this
/// program or another one has the combination already; −9879 (eventHotKeyInvalidErr) for a key code
/// that stands for no key of this keyboard, or other modifiers; −4 (unimpErr) when the desktop has
/// no service; −9868 (eventInternalErr) when the service failed; −50 (paramErr) for no target, no
/// `outRef` or options other than 0. Cost: a round trip to the display server.
KESTOVA_PLATFORM_EXPORT OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                     EventHotKeyID hotKeyID, EventTargetRef target,
                                                     OptionBits options, EventHotKeyRef* outRef);

/// Gives the combination back: when this returns, another program can have it, and no event of it
/// comes any more. Answers 0, or −9879 (eventHotKeyInvalidErr) for what is not registered.
KESTOVA_PLATFORM_EXPORT OSStatus UnregisterEventHotKey(EventHotKeyRef hotKey);

/// @}

}  // namespace kestova
