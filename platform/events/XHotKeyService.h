// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>

#include "events/XKeyboard.h"
#include "events/XProtocol.h"

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace kestova {

/// Hot keys as grabs of an X server.
class XHotKeyService final : public HotKeyService {
 public:
  /// The server that DISPLAY names; null, with the reason in a few words, when there is none.
  static std::shared_ptr<HotKeyService> connect(std::string& reason);

  ~XHotKeyService() override;

  std::string name() const override { return name_; }
  bool isLive() const override { return isLive_; }
  OSStatus registerHotKey(EventHotKeyRef hotKey) override;
  void unregisterHotKey(EventHotKeyRef hotKey) override;

 private:
  /// A key with modifiers, as the server knows them; the key 0 for none.
  struct Combination {
    xcb_keycode_t key = 0;
    std::uint16_t modifiers = 0;

    friend constexpr bool operator==(const Combination&, const Combination&) = default;
    std::uint32_t number() const { return std::uint32_t{key} << 16 | modifiers; }
  };
  using HotKeys = std::map<EventHotKeyRef, Combination>;

  XHotKeyService(XConnection connection, xcb_window_t root, std::string name);

  bool prepareKeyboard();
  bool selectKeyboardChanges();
  bool reportOneRepeatOnly();
  bool watchConnection();

  static Combination combinationOf(const EventHotKey& hotKey, const XKeyboard& keyboard);
  OSStatus grab(Combination combination);
  OSStatus grabFor(HotKeys::value_type& hotKey, Combination combination);
  void ungrab(Combination combination);
  void settle();
  void letGo(Combination combination);

  void takeEvent();
  void handle(const xcb_generic_event_t& event);
  void handlePress(const xcb_key_press_event_t& event);
  void handleRelease(const xcb_key_release_event_t& event);
  void handleEmptyQueue();
  void followKeyboard();
  std::vector<HotKeys::value_type*> hotKeysMovedBy(const XKeyboard& keyboard);
  void grabAgain(HotKeys::value_type& hotKey);
  void loseConnection();

  XConnection connection_;
  const xcb_window_t root_;
  const std::string name_;
  std::uint8_t firstKeyboardEvent_ = 0;
  Ref<RunLoopDescriptorSource> source_;
  XKeyboard keyboard_;
  bool isKeyboardStale_ = false;
  bool isLive_ = true;

  /// What each hot key has grabbed; the key 0 for one that waits for a keyboard that has it.
  HotKeys hotKeys_;
  /// The same the other way round, by the combination's number.
  std::map<std::uint32_t, EventHotKeyRef> byCombination_;
  /// The hot keys whose keys are down, by these keys.
  std::unordered_map<xcb_keycode_t, EventHotKeyRef> held_;
};

}  // namespace kestova
