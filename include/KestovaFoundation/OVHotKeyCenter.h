// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaFoundation/OVHotKey.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSSet.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstdint>

namespace kestova {

/// The hot keys of a program: key combinations that work whichever application is in front.
///
///     auto hotKey = OVHotKeyCenter::sharedHotKeyCenter()
///         ->registerHotKeyWithKeyCode_modifierFlags_handler(
///             40, NSControlKeyMask | NSAlternateKeyMask,
///             [](const Ref<OVHotKey>&, const Ref<NSEvent>&) { showWindow(); });
///     if (!hotKey) { … }   // another program has Control+Alt+K
///
/// A handler runs when its combination is released, not when it is pressed, on the main thread from
/// the main run loop with no lock held. It may register and unregister hot keys, its own too, and
/// run the loop again. What it throws leaves the run loop, and no other event is lost by it.
///
/// Threads: the main one alone.
///
/// Ownership: the centre keeps its hot keys until they are unregistered, and unregisters all when
/// it goes. The shared one lives as long as the process. Each centre takes all hot-key events, so a
/// program has one.
///
/// Cost: registering costs some round trips to the display server, or to a desktop's portal, which
/// is given up when it has not answered for 3 seconds; while nothing is pressed nothing wakes.
class KESTOVA_FOUNDATION_EXPORT OVHotKeyCenter : public NSObject {
  KESTOVA_CLASS(OVHotKeyCenter, NSObject)

 public:
  /// The one centre of the process, made when it is first asked for, of the class that is asked
  /// then: OVHotKeyCenter or one below it that the run time can make.
  static Ref<OVHotKeyCenter> sharedHotKeyCenter(const Class& receiver = staticClass());

  /// A centre without hot keys, which receives hot-key events from now on.
  static Ref<OVHotKeyCenter> init();

  /// A registered hot key for that key code and these flags (see OVHotKey); null when this centre
  /// has the combination already, whatever its handler, or the system refuses it.
  Ref<OVHotKey> registerHotKeyWithKeyCode_modifierFlags_handler(NSUInteger keyCode,
                                                                NSUInteger modifierFlags,
                                                                const OVHotKey::Handler& handler);

  /// Lets go of the hot key and unregisters it. Null does nothing.
  void unregisterHotKey(const Ref<OVHotKey>& hotKey);

  /// The same for the hot key with that key code and exactly these flags; nothing when there is
  /// none.
  void unregisterHotKeyWithKeyCode_modifierFlags(NSUInteger keyCode, NSUInteger modifierFlags);

  /// Whether there is a hot key with that key code and exactly these flags.
  bool hasRegisteredHotKeyWithKeyCode_modifierFlags(NSUInteger keyCode,
                                                    NSUInteger modifierFlags) const;

  /// The hot keys of this moment.
  Ref<NSSet> registeredHotKeys() const;

  /// Invokes the hot key that the event names, by its number alone, with a key event of the type
  /// NSKeyUp: with the event's location, modifier flags and time, the hot key's code, and no
  /// characters. Nothing happens when no hot key has the number. Called for every hot key that is
  /// released.
  void hotKeyHandler(const EventRef& event);

 protected:
  OVHotKeyCenter();
  ~OVHotKeyCenter() override;

 private:
  static OSStatus HotKeyHandler(const EventRef& event, void* center);

  Ref<OVHotKey> hotKeyWithKeyCode_modifierFlags(NSUInteger keyCode, NSUInteger modifierFlags) const;
  Ref<OVHotKey> hotKeyWithID(std::uint32_t hotKeyID) const;

  const Ref<NSMutableSet> mHotKeys = NSMutableSet::set();
  EventHandlerRef mEventHandler = nullptr;
};

}  // namespace kestova
