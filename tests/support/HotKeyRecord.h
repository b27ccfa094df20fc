// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Clock.h>
#include <KestovaPlatform/HotKeyEvents.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace kestova::testing {

/// Serves the main run loop until it has come true; false when it didn't in a long time.
inline bool runUntil(const std::function<bool()>& isTrue) {
  constexpr NSTimeInterval kPatience = 30;
  const NSTimeInterval limit = systemUptime() + kPatience;
  while (!isTrue() && systemUptime() < limit) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
  }
  return isTrue();
}

/// Notes the hot-key events that reach the application, as "+1 -1 ": + for pressed, - for released,
/// and the number of the hot key.
class HotKeyRecord {
 public:
  HotKeyRecord() {
    constexpr std::array kTypes = {EventTypeSpec{kEventClassKeyboard, kEventHotKeyPressed},
                                   EventTypeSpec{kEventClassKeyboard, kEventHotKeyReleased}};
    InstallEventHandler(GetApplicationEventTarget(), &note, kTypes, this, &handler_);
  }
  ~HotKeyRecord() { RemoveEventHandler(handler_); }
  HotKeyRecord(const HotKeyRecord&) = delete;
  HotKeyRecord& operator=(const HotKeyRecord&) = delete;

  /// What has come when this text has, or all that comes in a long time.
  const std::string& waitFor(const std::string& text) {
    runUntil([&] { return text_.find(text) != std::string::npos; });
    return text_;
  }

  const std::string& text() const { return text_; }
  const EventRef& latest() const { return latest_; }
  void clear() { text_.clear(); }

 private:
  static OSStatus note(const EventRef& event, void* record) {
    auto& self = *static_cast<HotKeyRecord*>(record);
    EventHotKeyID hotKeyID;
    GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof hotKeyID,
                      nullptr, &hotKeyID);
    self.text_ += event->type().eventKind == kEventHotKeyPressed ? "+" : "-";
    self.text_ += std::to_string(hotKeyID.id) + " ";
    self.latest_ = event;
    return noErr;
  }

  EventHandlerRef handler_ = nullptr;
  std::string text_;
  EventRef latest_;
};

}  // namespace kestova::testing
