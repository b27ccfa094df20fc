// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/NSThread.h>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

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
    std::unique_ptr<EventHotKey> hotKey;
    std::shared_ptr<HotKeyService> service;
  };

  static std::uint64_t combination(const EventHotKey& hotKey) {
    return std::uint64_t{hotKey.keyCode} << 32 | hotKey.modifiers;
  }

  std::unordered_map<EventHotKeyRef, Registration> registrations_;
  std::unordered_set<std::uint64_t> combinations_;
};

OSStatus HotKeyTable::add(const EventHotKey& hotKey, EventHotKeyRef* outRef) {
  if (combinations_.contains(combination(hotKey))) {
    return eventHotKeyExistsErr;
  }
  const auto service = HotKeyService::shared();
  if (service == nullptr) {
    return unimpErr;
  }
  auto registered = std::make_unique<EventHotKey>(hotKey);
  if (const OSStatus status = service->registerHotKey(registered.get()); status != noErr) {
    return status;
  }
  *outRef = registered.get();
  combinations_.insert(combination(hotKey));
  registrations_.emplace(*outRef, Registration{std::move(registered), service});
  return noErr;
}

OSStatus HotKeyTable::remove(EventHotKeyRef hotKey) {
  const auto found = registrations_.find(hotKey);
  if (found == registrations_.end()) {
    return eventHotKeyInvalidErr;
  }
  const Registration removed = std::move(found->second);
  registrations_.erase(found);
  combinations_.erase(combination(*removed.hotKey));
  removed.service->unregisterHotKey(hotKey);
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
