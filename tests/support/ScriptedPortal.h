// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "BusPeer.h"
#include "PrivateBus.h"
#include "RunLoopThread.h"
#include "bus/BusConnection.h"

namespace kestova::testing {

/// A desktop's portal for global shortcuts, on a thread and a connection of its own: what it was
/// asked for is noted, and a test says what it answers and when keys are pressed.
class ScriptedPortal {
 public:
  /// What it says when it is asked about shortcuts.
  enum class Shortcuts { known, unknown, unanswered };

  /// What becomes of a request.
  enum class Answer { granted, dismissed, failed, none };

  struct Shortcut {
    std::string name;
    std::string description;
    std::string trigger;
    bool operator==(const Shortcut&) const = default;
  };

  explicit ScriptedPortal(const PrivateBus& bus, Shortcuts shortcuts = Shortcuts::known)
      : shortcuts_(shortcuts) {
    thread_.perform([&] { open(bus.address()); });
  }
  /// Ends as a portal that crashes: sessions are just gone.
  ~ScriptedPortal() {
    thread_.perform([this] {
      calls_ = BusSlot();
      closings_ = BusSlot();
      bus_ = nullptr;
    });
  }

  void setAnswer(Answer answer) {
    thread_.perform([&] { answer_ = answer; });
  }

  /// Answers that instead of the object of a new session.
  void setSessionHandle(std::string handle) {
    thread_.perform([&] { sessionHandle_ = std::move(handle); });
  }

  /// Leaves out the shortcut of that name when it grants the others.
  void setRefused(std::string name) {
    thread_.perform([&] { refused_ = std::move(name); });
  }

  /// Presses or releases the keys of a shortcut: sends "Activated" or "Deactivated".
  void send(const char* member, const std::string& name, std::size_t session = 0) {
    thread_.perform([&] { emit(member, sessions_.at(session), name); });
  }
  void sendFrom(const char* member, const std::string& name, const std::string& session) {
    thread_.perform([&] { emit(member, session, name); });
  }

  void closeSession(std::size_t session = 0) {
    thread_.perform([&] {
      BusMessage signal = bus_->newSignal(sessions_.at(session).c_str(),
                                          "org.freedesktop.portal.Session", "Closed");
      signal.append(BusDictionary{});
      bus_->send(signal);
    });
  }

  /// The shortcuts of each BindShortcuts so far, and the objects that were closed.
  std::vector<std::vector<Shortcut>> bound() {
    std::vector<std::vector<Shortcut>> copy;
    thread_.perform([&] { copy = bound_; });
    return copy;
  }
  std::vector<std::string> closed() {
    std::vector<std::string> copy;
    thread_.perform([&] { copy = closed_; });
    return copy;
  }

 private:
  using ShortcutList = std::vector<std::tuple<std::string, BusDictionary>>;

  void open(const std::string& address) {
    bus_ = BusConnection::connect(BusAddress::at(address), 10);
    if (bus_ == nullptr) throw std::runtime_error("no bus");
    bus_->attachTo(NSRunLoop::currentRunLoop());
    calls_ = bus_->serve("/org/freedesktop/portal/desktop",
                         [this](const BusMessage& call) { take(call); });
    closings_ = bus_->filter([this](const BusMessage& message) {
      if (message.member() == "Close") closed_.emplace_back(message.path());
    });
    requestName(*bus_, "org.freedesktop.portal.Desktop");
  }

  void take(const BusMessage& call) {
    if (call.member() == "Get") {
      version(call);
    } else if (call.member() == "CreateSession") {
      createSession(call);
    } else if (call.member() == "BindShortcuts") {
      bindShortcuts(call);
    }
  }

  void version(const BusMessage& call) {
    if (shortcuts_ == Shortcuts::known) {
      BusMessage reply = newReply(call);
      reply.append(BusVariant(std::uint32_t{1}));
      bus_->send(reply);
    } else if (shortcuts_ == Shortcuts::unknown) {
      bus_->send(
          newErrorReply(call, "org.freedesktop.DBus.Error.UnknownInterface", "no such interface"));
    }
  }

  static std::string token(const BusDictionary& options, const char* key) {
    return std::get<std::string>(options.at(key));
  }

  static std::string object(const BusMessage& call, const char* kind, const std::string& token) {
    std::string sender(call.sender().substr(1));
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string("/org/freedesktop/portal/desktop/") + kind + "/" + sender + "/" + token;
  }

  void createSession(const BusMessage& call) {
    BusDictionary options;
    call.read(options);
    sessions_.push_back(object(call, "session", token(options, "session_handle_token")));
    const std::string request = accept(call, options);
    respond(request, BusDictionary{{"session_handle", sessionHandle_.value_or(sessions_.back())}});
  }

  void bindShortcuts(const BusMessage& call) {
    BusObjectPath session;
    ShortcutList shortcuts;
    std::string window;
    BusDictionary options;
    call.read(session, shortcuts, window, options);
    bound_.emplace_back();
    for (const auto& [name, details] : shortcuts) {
      bound_.back().push_back(
          {name, token(details, "description"), token(details, "preferred_trigger")});
    }
    const std::string request = accept(call, options);
    std::erase_if(shortcuts, [this](const auto& one) { return std::get<0>(one) == refused_; });
    respondWithShortcuts(request, shortcuts);
  }

  /// Answers the call itself: with the object that will tell the outcome.
  std::string accept(const BusMessage& call, const BusDictionary& options) {
    const std::string request = object(call, "request", token(options, "handle_token"));
    BusMessage reply = newReply(call);
    reply.append(BusObjectPath{request});
    bus_->send(reply);
    return request;
  }

  BusMessage response(const std::string& request) const {
    BusMessage signal =
        bus_->newSignal(request.c_str(), "org.freedesktop.portal.Request", "Response");
    signal.append(static_cast<std::uint32_t>(answer_));
    return signal;
  }

  void respond(const std::string& request, const BusDictionary& results) {
    if (answer_ == Answer::none) return;
    BusMessage signal = response(request);
    signal.append(results);
    bus_->send(signal);
  }

  void respondWithShortcuts(const std::string& request, const ShortcutList& shortcuts) {
    if (answer_ == Answer::none) return;
    const BusMessage signal = response(request);
    sd_bus_message* raw = signal.get();
    sd_bus_message_open_container(raw, 'a', "{sv}");
    sd_bus_message_open_container(raw, 'e', "sv");
    sd_bus_message_append(raw, "s", "shortcuts");
    sd_bus_message_open_container(raw, 'v', "a(sa{sv})");
    BusCoding<ShortcutList>::append(raw, shortcuts);
    sd_bus_message_close_container(raw);
    sd_bus_message_close_container(raw);
    sd_bus_message_close_container(raw);
    bus_->send(signal);
  }

  void emit(const char* member, const std::string& session, const std::string& name) {
    BusMessage signal = bus_->newSignal("/org/freedesktop/portal/desktop",
                                        "org.freedesktop.portal.GlobalShortcuts", member);
    signal.append(BusObjectPath{session}, name, std::uint64_t{1}, BusDictionary{});
    bus_->send(signal);
  }

  const Shortcuts shortcuts_;
  RunLoopThread thread_;
  std::shared_ptr<BusConnection> bus_;
  BusSlot calls_;
  BusSlot closings_;
  Answer answer_ = Answer::granted;
  std::string refused_;
  std::optional<std::string> sessionHandle_;
  std::vector<std::string> sessions_;
  std::vector<std::vector<Shortcut>> bound_;
  std::vector<std::string> closed_;
};

}  // namespace kestova::testing
