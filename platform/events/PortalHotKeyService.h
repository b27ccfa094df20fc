// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/RunLoopSource.h>

#include "bus/BusConnection.h"
#include "events/ShortcutSession.h"

#include <memory>
#include <string>
#include <vector>

namespace kestova {

/// Hot keys as shortcuts of the desktop's portal.
class PortalHotKeyService final : public HotKeyService {
 public:
  /// The portal of the session's bus; null, with the reason in a few words, when there is none that
  /// knows shortcuts.
  static std::shared_ptr<HotKeyService> connect(std::string& reason);

  ~PortalHotKeyService() override;

  std::string name() const override { return "the desktop portal"; }
  bool isLive() const override { return bus_->isOpen(); }
  bool asksThePerson() const override { return true; }
  OSStatus registerHotKey(EventHotKeyRef hotKey) override;
  void unregisterHotKey(EventHotKeyRef hotKey) override;

 private:
  using Sessions = std::vector<std::unique_ptr<ShortcutSession>>;

  explicit PortalHotKeyService(std::shared_ptr<BusConnection> bus);

  static bool knowsShortcuts(BusConnection& bus, BusError& error);
  bool watchPortal(BusError& error);
  bool listen(const std::string& interface, const std::string& rest,
              void (PortalHotKeyService::*handler)(const BusMessage&), BusError& error);

  void bindWaiting();
  void handleShortcut(const BusMessage& signal);
  void handleClosing(const BusMessage& signal);
  void handleOwner(const BusMessage& signal);
  void dropSessions();
  Sessions::iterator sessionAt(std::string_view path);

  std::shared_ptr<BusConnection> bus_;
  std::vector<BusSlot> slots_;
  Ref<RunLoopSource> binding_;
  bool hasPortal_ = true;

  /// All hot keys, by the names of their shortcuts.
  ShortcutSession::HotKeys hotKeys_;
  /// Those that are in no session yet.
  ShortcutSession::HotKeys waiting_;
  Sessions sessions_;
};

}  // namespace kestova
