// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyService.h>

#include "bus/BusConnection.h"

#include <map>
#include <memory>
#include <string>

namespace kestova {

/// Where the desktop's portal is, and what it is asked about shortcuts with.
struct Portal {
  static constexpr const char* kName = "org.freedesktop.portal.Desktop";
  static constexpr const char* kPath = "/org/freedesktop/portal/desktop";
  static constexpr const char* kShortcuts = "org.freedesktop.portal.GlobalShortcuts";
  static constexpr const char* kRequest = "org.freedesktop.portal.Request";
  static constexpr const char* kSession = "org.freedesktop.portal.Session";
};

/// Some hot keys that the portal was asked for together: shortcuts can be bound only once in one
/// session. The portal asks the person, which may take any time; what the person refuses is told in
/// the log. The session is closed when this goes.
class ShortcutSession {
 public:
  /// By the names that the portal knows them by.
  using HotKeys = std::map<std::string, EventHotKeyRef>;

  /// Begins to ask.
  ShortcutSession(std::shared_ptr<BusConnection> bus, HotKeys hotKeys);
  ~ShortcutSession();
  ShortcutSession(const ShortcutSession&) = delete;
  ShortcutSession& operator=(const ShortcutSession&) = delete;

  /// The session's object; empty until the portal has made it.
  const std::string& path() const { return path_; }

  const HotKeys& hotKeys() const { return hotKeys_; }

  /// Forgets a hot key, whose shortcut the portal may go on telling about.
  void remove(EventHotKeyRef hotKey);

  /// Takes note that the portal has closed it.
  void setClosed() {
    request_.clear();
    path_.clear();
  }

 private:
  void request(BusMessage call, const std::string& token,
               void (ShortcutSession::*answered)(const BusMessage&));
  void create();
  void created(const BusMessage& response);
  void bind();
  void bound(const BusMessage& response);
  void fail(const std::string& reason);
  void close(const std::string& path, const char* interface) const;

  std::shared_ptr<BusConnection> bus_;
  HotKeys hotKeys_;
  std::string path_;
  /// The request that waits for its answer; empty for none.
  std::string request_;
  BusSlot call_;
  BusSlot response_;
};

}  // namespace kestova
