// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace kestova {

/// The keyboard of an X server as it was when it was read: which key serves which virtual key, and
/// which modifier bits stand for which modifier keys. No key serves two virtual keys.
class XKeyboard {
 public:
  /// Asks the server, which must have been told of the keyboard extension. Nothing when the
  /// connection is lost.
  static std::optional<XKeyboard> read(xcb_connection_t* connection);

  /// The key for a virtual key code; 0 when this keyboard has none.
  xcb_keycode_t keyFor(std::uint32_t virtualKey) const {
    return virtualKey < keys_.size() ? keys_[virtualKey] : xcb_keycode_t{0};
  }

  /// The server's modifier bits for a hot key's modifiers.
  std::uint16_t modifiersFor(std::uint32_t hotKeyModifiers) const;

  /// The modifiers of a hot key that a state of the server's means, with alphaLock.
  std::uint32_t hotKeyModifiersIn(std::uint16_t state) const;

  /// Of a state the bits that tell hot keys apart.
  std::uint16_t significantBits(std::uint16_t state) const;

  /// Every sum of the bits for Caps Lock, Num Lock and Scroll Lock, 0 among them.
  const std::vector<std::uint16_t>& lockStates() const { return lockStates_; }

 private:
  struct Modifiers {
    std::uint16_t option = XCB_MOD_MASK_1;
    std::uint16_t command = XCB_MOD_MASK_4;
    std::uint16_t numLock = 0;
    std::uint16_t scrollLock = 0;
  };

  class Reader;

  std::array<xcb_keycode_t, 128> keys_{};
  Modifiers modifiers_;
  std::vector<std::uint16_t> lockStates_;
};

}  // namespace kestova
