// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/HotKeyEvents.h>

#include <cstdint>
#include <memory>
#include <string>

namespace kestova {

/// A registered hot key, as services see it.
struct EventHotKey {
  std::uint32_t keyCode;
  std::uint32_t modifiers;
  EventHotKeyID hotKeyID;
  EventTargetRef target;

  /// Sends an event of that kind to the target. A handler may unregister this hot key: whoever
  /// calls this must not touch it afterwards.
  KESTOVA_PLATFORM_EXPORT void send(std::uint32_t kind, std::uint32_t modifiersDown,
                                    NSPoint location) const;
};

/// What takes keys from the whole desktop: the X server, or on Wayland the desktop's portal.
///
/// One is chosen when it is first asked for, and again while there is none or when the one before
/// was lost. The log says in one line which it is and why another one is not, and doesn't repeat
/// that there still is none. A test may put one of its own in place.
///
/// The portal asks the person whether a program may have its hot keys. So its answer that one is
/// registered only means that it was asked for; the log tells of those that the person refuses.
/// When the portal goes and comes again, hot keys are asked for again.
///
/// Threads: the main one alone.
class KESTOVA_PLATFORM_EXPORT HotKeyService {
 public:
  HotKeyService() = default;
  virtual ~HotKeyService() = default;
  HotKeyService(const HotKeyService&) = delete;
  HotKeyService& operator=(const HotKeyService&) = delete;

  /// What people know it by, such as "the X server :0".
  virtual std::string name() const = 0;

  /// Whether it can still report anything. Once false it stays so.
  virtual bool isLive() const = 0;

  /// Whether a hot key that was registered may still be refused, by a person who is asked.
  virtual bool asksThePerson() const { return false; }

  /// Begins to report a hot key, which stays where it is until it is unregistered. No two of them
  /// have the same key and modifiers. Answers as RegisterEventHotKey does; on failure nothing has
  /// changed.
  virtual OSStatus registerHotKey(EventHotKeyRef hotKey) = 0;

  /// Stops reporting it and gives the combination back. Must not fail, also when the service is
  /// lost.
  virtual void unregisterHotKey(EventHotKeyRef hotKey) = 0;

  /// The service in use; null when the desktop has none.
  static std::shared_ptr<HotKeyService> shared();

  /// Puts a service in use; null lets `shared` choose anew. Hot keys stay with the service that
  /// they were registered with.
  static void setShared(std::shared_ptr<HotKeyService> service);

  /// What the log was told about the last choice: "served by the X server :0; not by the desktop
  /// portal: this is no Wayland session". Empty when there was none.
  static std::string explanation();
};

}  // namespace kestova
