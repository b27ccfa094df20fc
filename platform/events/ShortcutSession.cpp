// SPDX-License-Identifier: Apache-2.0
#include "events/ShortcutSession.h"

#include <KestovaPlatform/NSLog.h>
#include <xkbcommon/xkbcommon.h>

#include "events/KeyTable.h"

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>
#include <vector>

namespace kestova {
namespace {

/// A shortcut as the portal takes it and tells of it.
using Shortcut = std::tuple<std::string, BusDictionary>;

/// A value that may be a list of shortcuts, and is an empty one when it isn't.
struct MaybeShortcuts {
  std::vector<Shortcut> list;
};

/// How a request ended, as the portal counts it.
enum : std::uint32_t { kGranted = 0, kDismissed = 1 };

constexpr NSTimeInterval kAnswerTime = 25;

std::string newToken() {
  static unsigned last = 0;
  return "kestova_" + std::to_string(++last);
}

/// The object that answers a request, known before it is made so that no answer is missed.
std::string requestPath(std::string_view uniqueName, const std::string& token) {
  std::string sender(uniqueName.substr(1));
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(Portal::kPath) + "/request/" + sender + "/" + token;
}

std::string keysymName(std::uint32_t keysym) {
  std::array<char, 64> name{};
  xkb_keysym_get_name(keysym, name.data(), name.size());
  return name.data();
}

/// The combination that the desktop is to propose, as desktops write them.
std::string triggerFor(const EventHotKey& hotKey) {
  const auto named = [&](std::uint32_t modifier, const char* name) {
    return (hotKey.modifiers & modifier) != 0 ? name : "";
  };
  return std::string(named(controlKey, "CTRL+")) + named(optionKey, "ALT+") +
         named(shiftKey, "SHIFT+") + named(cmdKey, "LOGO+") +
         keysymName(keyTableRow(hotKey.keyCode)->keysym);
}

/// The object that a handle names, as a text or as a path; empty when it can't be one.
std::string sessionIn(const BusVariant& handle) {
  std::string session;
  if (const auto* text = std::get_if<std::string>(&handle)) {
    session = *text;
  } else if (const auto* path = std::get_if<BusObjectPath>(&handle)) {
    session = path->text;
  }
  return sd_bus_object_path_is_valid(session.c_str()) > 0 ? session : std::string();
}

}  // namespace

template <>
struct BusCoding<MaybeShortcuts> {
  static std::string signature() { return "v"; }
  static int read(sd_bus_message* message, MaybeShortcuts& value) {
    value.list.clear();
    const std::string wanted = BusCoding<std::vector<Shortcut>>::signature();
    const char* contents = nullptr;
    char type = 0;
    const int result = sd_bus_message_peek_type(message, &type, &contents);
    if (result <= 0 || type != 'v') {
      return result <= 0 ? result : -ENXIO;
    }
    if (contents != wanted) {
      return sd_bus_message_skip(message, "v");
    }
    return detail::readContainer(message, 'v', wanted, [&] {
      return BusCoding<std::vector<Shortcut>>::read(message, value.list);
    });
  }
};

ShortcutSession::ShortcutSession(std::shared_ptr<BusConnection> bus, HotKeys hotKeys)
    : bus_(std::move(bus)), hotKeys_(std::move(hotKeys)) {
  create();
}

/// A question that the person has not answered yet is taken back.
ShortcutSession::~ShortcutSession() {
  close(request_, Portal::kRequest);
  close(path_, Portal::kSession);
}

void ShortcutSession::close(const std::string& path, const char* interface) const {
  if (!path.empty()) {
    bus_->send(bus_->newCall(Portal::kName, path.c_str(), interface, "Close"));
  }
}

void ShortcutSession::remove(EventHotKeyRef hotKey) {
  std::erase_if(hotKeys_, [hotKey](const auto& entry) { return entry.second == hotKey; });
}

/// The call itself only says whether there will be an answer.
void ShortcutSession::request(BusMessage call, const std::string& token,
                              void (ShortcutSession::*answered)(const BusMessage&)) {
  BusError error;
  request_ = requestPath(bus_->uniqueName(), token);
  response_ = bus_->subscribe(
      "type='signal',sender='" + std::string(Portal::kName) + "',interface='" + Portal::kRequest +
          "',member='Response',path='" + request_ + "'",
      [this, answered](const BusMessage& response) {
        request_.clear();
        (this->*answered)(response);
      },
      &error);
  if (response_) {
    call_ = bus_->callAsync(
        call, kAnswerTime,
        [this](const BusMessage& reply) {
          if (const BusError refusal = reply.error()) {
            fail(refusal.text());
          }
        },
        &error);
  }
  if (error) {
    fail(error.text());
  }
}

void ShortcutSession::create() {
  const std::string token = newToken();
  BusMessage call =
      bus_->newCall(Portal::kName, Portal::kPath, Portal::kShortcuts, "CreateSession");
  call.append(BusDictionary{{"handle_token", token}, {"session_handle_token", newToken()}});
  request(call, token, &ShortcutSession::created);
}

void ShortcutSession::created(const BusMessage& response) {
  std::uint32_t ending = 0;
  BusDictionary results;
  if (!response.read(ending, results) || ending != kGranted) {
    return fail("it makes no session");
  }
  path_ = sessionIn(results["session_handle"]);
  if (path_.empty()) {
    return fail("it makes no session");
  }
  bind();
}

void ShortcutSession::bind() {
  std::vector<Shortcut> shortcuts;
  for (const auto& [name, hotKey] : hotKeys_) {
    shortcuts.emplace_back(name, BusDictionary{{"description", combinationText(*hotKey)},
                                               {"preferred_trigger", triggerFor(*hotKey)}});
  }
  const std::string token = newToken();
  BusMessage call =
      bus_->newCall(Portal::kName, Portal::kPath, Portal::kShortcuts, "BindShortcuts");
  call.append(BusObjectPath{path_}, shortcuts, "", BusDictionary{{"handle_token", token}});
  request(call, token, &ShortcutSession::bound);
}

void ShortcutSession::bound(const BusMessage& response) {
  std::uint32_t ending = 0;
  std::map<std::string, MaybeShortcuts> results;
  if (!response.read(ending, results) || ending != kGranted) {
    return fail(ending == kDismissed ? "they were refused" : "they can't be bound");
  }
  const std::vector<Shortcut>& granted = results["shortcuts"].list;
  for (const auto& [name, hotKey] : hotKeys_) {
    const bool isGranted =
        std::any_of(granted.begin(), granted.end(),
                    [&name = name](const Shortcut& one) { return std::get<0>(one) == name; });
    if (!isGranted) {
      NSLog("Hot keys: the desktop portal doesn't give %s", combinationText(*hotKey));
    }
  }
}

void ShortcutSession::fail(const std::string& reason) {
  request_.clear();
  for (const auto& [name, hotKey] : hotKeys_) {
    NSLog("Hot keys: the desktop portal doesn't give %s: %s", combinationText(*hotKey), reason);
  }
}

}  // namespace kestova
