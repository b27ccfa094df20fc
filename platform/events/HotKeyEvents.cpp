// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/NSThread.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>

namespace kestova {
namespace {

constexpr std::uint32_t kHotKeyModifiers = cmdKey | shiftKey | optionKey | controlKey;

/// The hot keys of this program, each with the service that reports it.
class HotKeyTable {
 public:
  OSStatus add(const EventHotKey& hotKey, EventHotKeyRef* outRef);
  OSStatus remove(EventHotKeyRef hotKey);

 private:
  struct Registration {
    EventHotKey hotKey;
    std::shared_ptr<HotKeyService> service;
  };

  static std::uint64_t combination(const EventHotKey& hotKey) {
    return std::uint64_t{hotKey.keyCode} << 32 | hotKey.modifiers;
  }

  /// By their combinations. A hot key stays where it is from before the service knows it.
  std::map<std::uint64_t, Registration> registrations_;
};

/// The service comes last but for what needs no memory: it never reports a hot key that is gone.
OSStatus HotKeyTable::add(const EventHotKey& hotKey, EventHotKeyRef* outRef) {
  if (registrations_.contains(combination(hotKey))) {
    return eventHotKeyExistsErr;
  }
  const auto service = HotKeyService::shared();
  if (service == nullptr) {
    return unimpErr;
  }
  decltype(registrations_) added;
  EventHotKey& registered =
      added.emplace(combination(hotKey), Registration{hotKey, service}).first->second.hotKey;
  const OSStatus status = service->registerHotKey(&registered);
  if (status == noErr) {
    registrations_.merge(added);
    *outRef = &registered;
  }
  return status;
}

/// Only what is one of these is looked into. They are few: nobody knows a thousand hot keys.
OSStatus HotKeyTable::remove(EventHotKeyRef hotKey) {
  const auto found =
      std::find_if(registrations_.begin(), registrations_.end(),
                   [hotKey](const auto& entry) { return &entry.second.hotKey == hotKey; });
  if (found == registrations_.end()) {
    return eventHotKeyInvalidErr;
  }
  const auto removed = registrations_.extract(found);
  removed.mapped().service->unregisterHotKey(hotKey);
  return noErr;
}

HotKeyTable& hotKeys() {
  static auto& table = *new HotKeyTable;
  return table;
}

}  // namespace

void EventHotKey::send(std::uint32_t kind, std::uint32_t modifiersDown, NSPoint location) const {
  SendEventToEventTarget(
      Event::hotKeyEvent(kind, hotKeyID, modifiersDown, location, systemUptime()), target);
}

OSStatus RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers, EventHotKeyID hotKeyID,
                             EventTargetRef target, OptionBits options, EventHotKeyRef* outRef) {
  require(NSThread::isMainThread(), "hot keys belong to the main thread");
  if (target == nullptr || options != 0 || outRef == nullptr) {
    return paramErr;
  }
  if ((modifiers & ~kHotKeyModifiers) != 0) {
    return eventHotKeyInvalidErr;
  }
  return hotKeys().add({keyCode, modifiers, hotKeyID, target}, outRef);
}

OSStatus UnregisterEventHotKey(EventHotKeyRef hotKey) {
  require(NSThread::isMainThread(), "hot keys belong to the main thread");
  return hotKeys().remove(hotKey);
}

}  // namespace kestova
