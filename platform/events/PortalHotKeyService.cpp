// SPDX-License-Identifier: Apache-2.0
#include "events/PortalHotKeyService.h"

#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSRunLoop.h>

#include "events/KeyTable.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

namespace kestova {
namespace {

/// How long a program may stand still for a bus or a portal that hangs. The bus starts a portal
/// that isn't running yet for the first question: one that takes longer is there for the next one.
constexpr NSTimeInterval kPatience = 3;

std::string reasonFor(const BusError& error) {
  return error.number == ETIMEDOUT ? "it doesn't answer"
                                   : "it has no shortcuts (" + error.text() + ")";
}

bool isPrintable(OSType code) {
  for (int shift = 0; shift < 32; shift += 8) {
    const std::uint32_t byte = code >> shift & 0xff;
    if (byte <= ' ' || byte > '~') {
      return false;
    }
  }
  return true;
}

/// What the portal knows a hot key by, the same in every run of a program: the signature, as four
/// characters where it is printable, and the number.
std::string shortcutName(EventHotKeyID hotKeyID) {
  const OSType code = hotKeyID.signature;
  std::array<char, 16> signature{};
  if (isPrintable(code)) {
    std::snprintf(signature.data(), signature.size(), "%c%c%c%c", static_cast<char>(code >> 24),
                  static_cast<char>(code >> 16), static_cast<char>(code >> 8),
                  static_cast<char>(code));
  } else {
    std::snprintf(signature.data(), signature.size(), "%08x", code);
  }
  return std::string(signature.data()) + "-" + std::to_string(hotKeyID.id);
}

}  // namespace

std::shared_ptr<HotKeyService> PortalHotKeyService::connect(std::string& reason) {
  BusError error;
  auto bus = BusConnection::connect(BusAddress::session(), kPatience, &error);
  if (bus == nullptr) {
    reason = "there is no session bus (" + error.text() + ")";
    return nullptr;
  }
  if (!knowsShortcuts(*bus, error)) {
    reason = reasonFor(error);
    return nullptr;
  }
  std::shared_ptr<PortalHotKeyService> service(new PortalHotKeyService(std::move(bus)));
  if (!service->watchPortal(error)) {
    reason = error.text();
    return nullptr;
  }
  return service;
}

bool PortalHotKeyService::knowsShortcuts(BusConnection& bus, BusError& error) {
  BusMessage call =
      bus.newCall(Portal::kName, Portal::kPath, "org.freedesktop.DBus.Properties", "Get");
  call.append(Portal::kShortcuts, "version");
  return static_cast<bool>(bus.call(call, kPatience, &error));
}

PortalHotKeyService::PortalHotKeyService(std::shared_ptr<BusConnection> bus)
    : bus_(std::move(bus)), binding_(RunLoopSource::sourceWithBlock([this] { bindWaiting(); })) {
  NSRunLoop::mainRunLoop()->addSource_forMode(binding_, NSRunLoopCommonModes);
  bus_->attachTo(NSRunLoop::mainRunLoop());
  bus_->setLossHandler([] { NSLog("Hot keys: the connection to the desktop portal was lost"); });
}

PortalHotKeyService::~PortalHotKeyService() {
  binding_->invalidate();
  bus_->setLossHandler(nullptr);
}

bool PortalHotKeyService::watchPortal(BusError& error) {
  const std::string fromPortal = ",sender='" + std::string(Portal::kName) + "'";
  return listen(Portal::kShortcuts, fromPortal, &PortalHotKeyService::handleShortcut, error) &&
         listen(Portal::kSession, fromPortal + ",member='Closed'",
                &PortalHotKeyService::handleClosing, error) &&
         listen("org.freedesktop.DBus",
                ",sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
                    std::string(Portal::kName) + "'",
                &PortalHotKeyService::handleOwner, error);
}

bool PortalHotKeyService::listen(const std::string& interface, const std::string& rest,
                                 void (PortalHotKeyService::*handler)(const BusMessage&),
                                 BusError& error) {
  slots_.push_back(bus_->subscribe(
      "type='signal',interface='" + interface + "'" + rest,
      [this, handler](const BusMessage& signal) { (this->*handler)(signal); }, &error));
  return static_cast<bool>(slots_.back());
}

/// Hot keys that are registered one after the other are asked for together, in the next turn: the
/// person is asked once.
OSStatus PortalHotKeyService::registerHotKey(EventHotKeyRef hotKey) {
  if (keyTableRow(hotKey->keyCode) == nullptr) {
    return eventHotKeyInvalidErr;
  }
  if (!hasPortal_) {
    return eventInternalErr;
  }
  const std::string name = shortcutName(hotKey->hotKeyID);
  if (hotKeys_.contains(name)) {
    return eventHotKeyExistsErr;
  }
  ShortcutSession::HotKeys registered{{name, hotKey}};
  waiting_.emplace(name, hotKey);
  hotKeys_.merge(registered);
  binding_->signal();
  return noErr;
}

void PortalHotKeyService::unregisterHotKey(EventHotKeyRef hotKey) {
  const auto isIt = [hotKey](const auto& entry) { return entry.second == hotKey; };
  std::erase_if(hotKeys_, isIt);
  std::erase_if(waiting_, isIt);
  for (const auto& session : sessions_) {
    session->remove(hotKey);
  }
  std::erase_if(sessions_, [](const auto& session) { return session->hotKeys().empty(); });
}

/// Signalled before: should there be no memory now, the next turn tries again.
void PortalHotKeyService::bindWaiting() {
  if (hasPortal_ && !waiting_.empty()) {
    binding_->signal();
    sessions_.push_back(std::make_unique<ShortcutSession>(bus_, waiting_));
    waiting_.clear();
  }
}

PortalHotKeyService::Sessions::iterator PortalHotKeyService::sessionAt(std::string_view path) {
  return std::find_if(sessions_.begin(), sessions_.end(), [&](const auto& session) {
    return !path.empty() && session->path() == path;
  });
}

/// The portal doesn't tell which modifier keys are down: the registered ones were.
void PortalHotKeyService::handleShortcut(const BusMessage& signal) {
  const bool isPress = signal.member() == "Activated";
  BusObjectPath path;
  std::string name;
  if ((!isPress && signal.member() != "Deactivated") || !signal.read(path, name)) {
    return;
  }
  const auto session = sessionAt(path.text);
  if (session == sessions_.end()) {
    return;
  }
  const auto found = (*session)->hotKeys().find(name);
  if (found != (*session)->hotKeys().end()) {
    const EventHotKeyRef hotKey = found->second;
    hotKey->send(isPress ? kEventHotKeyPressed : kEventHotKeyReleased, hotKey->modifiers,
                 NSZeroPoint);
  }
}

/// Asking again at once for what was just taken away would be importunate: the hot keys wait until
/// the portal comes anew.
void PortalHotKeyService::handleClosing(const BusMessage& signal) {
  const auto session = sessionAt(signal.path());
  if (session != sessions_.end()) {
    for (const auto& [name, hotKey] : (*session)->hotKeys()) {
      NSLog("Hot keys: the desktop portal has taken %s back", combinationText(*hotKey));
    }
    (*session)->setClosed();
    sessions_.erase(session);
  }
}

void PortalHotKeyService::handleOwner(const BusMessage& signal) {
  std::string name;
  std::string before;
  std::string now;
  if (!signal.read(name, before, now)) {
    return;
  }
  if (!before.empty()) {
    NSLog("Hot keys: the desktop portal is gone");
    dropSessions();
  }
  hasPortal_ = !now.empty();
  if (hasPortal_) {
    NSLog("Hot keys: the desktop portal is back");
    waiting_ = ShortcutSession::HotKeys(hotKeys_);
    binding_->signal();
  }
}

void PortalHotKeyService::dropSessions() {
  for (const auto& session : sessions_) {
    session->setClosed();
  }
  sessions_.clear();
}

}  // namespace kestova
