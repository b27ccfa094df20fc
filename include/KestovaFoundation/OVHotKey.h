// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSEvent.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/NSValue.h>

#include <cstdint>

namespace kestova {

/// One key combination of the whole desktop and what happens when it is released. OVHotKeyCenter
/// makes, keeps and serves them; by itself a hot key can be registered, but nobody calls its
/// handler.
///
///     auto hotKey = OVHotKey::initWithKeyCode_modifierFlags_handler(
///         40, NSControlKeyMask | NSAlternateKeyMask, [](const Ref<OVHotKey>&, const auto&) { … });
///
/// Threads: the main one alone, but for equality, hash and description.
///
/// Ownership: it shares its handler. A registered hot key unregisters itself when it goes.
class KESTOVA_FOUNDATION_EXPORT OVHotKey : public NSObject {
  KESTOVA_CLASS(OVHotKey, NSObject)

 public:
  /// What is called with the hot key and an event of the type NSKeyUp.
  using Handler = Block<void(const Ref<OVHotKey>& hotKey, const Ref<NSEvent>& event)>;

  /// A hot key that is not registered. `keyCode` is a virtual key code (see VirtualKeys.h);
  /// `modifierFlags` is a sum of NSEventModifierFlags, of which Control, Command, Shift and Option
  /// count: other bits are kept and make it another hot key, but the system isn't told of them. The
  /// handler may be empty.
  static Ref<OVHotKey> initWithKeyCode_modifierFlags_handler(NSUInteger keyCode,
                                                             NSUInteger modifierFlags,
                                                             const Handler& handler);

  /// Takes the combination for this program and gives the hot key its identifier. False, with
  /// nothing changed, when it is taken already, by this program or another one, or the desktop has
  /// no service for it. Of the key code the low 16 bits count.
  bool registerHotKey();

  /// Gives the combination back. Nothing happens when it isn't registered.
  void unregisterHotKey();

  /// Calls the handler, if there is one, at once. It may unregister the hot key and let go of it;
  /// what it throws leaves this.
  void invokeWithEvent(const Ref<NSEvent>& event);

  /// The number that the system knows it by: 1 for the first one that a program registers, and
  /// never the same twice. 0 before it was registered for the first time.
  std::uint32_t hotKeyID() const noexcept { return mHotKeyID; }
  void setHotKeyID(std::uint32_t hotKeyID);

  /// The system's reference, boxed as an address; null while it isn't registered.
  const Ref<NSValue>& hotKeyRef() const noexcept { return mHotKeyRef; }
  void setHotKeyRef(const Ref<NSValue>& hotKeyRef);

  /// What the hot key was made with.
  const Handler& handler() const noexcept { return mHandler; }
  NSUInteger keyCode() const noexcept { return mKeyCode; }
  NSUInteger modifierFlags() const noexcept { return mModifierFlags; }

  /// Whether the other is a hot key with the same key code and the same modifier flags.
  bool isEqual(const id& other) const override;

  /// The sum of key code and modifier flags.
  NSUInteger hash() const override;

  /// "<OVHotKey: 0x…>", and on two more lines the key code and the names of the flags.
  Ref<NSString> description() const override;

 protected:
  OVHotKey(NSUInteger keyCode, NSUInteger modifierFlags, Handler handler);
  ~OVHotKey() override;

 private:
  id handlerObject() const noexcept { return mHandler.object(); }

  const Handler mHandler;
  const NSUInteger mKeyCode;
  const NSUInteger mModifierFlags;
  std::uint32_t mHotKeyID = 0;
  Ref<NSValue> mHotKeyRef;
};

}  // namespace kestova
