// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestova {

struct EventHotKey;

/// How one virtual key is found on a keyboard: by what it types, else by its place.
struct KeyTableRow {
  std::uint16_t code;
  std::string_view name;
  /// What it types without a modifier, as a keysym.
  std::uint32_t keysym;
  /// Where it is on the keyboard, as the X keyboard extension names places.
  const char* position;
};

/// All keys that can be hot keys. A key of a keyboard that would serve several rows serves the
/// first one: that is why letters stand before digits, and digits before signs.
std::span<const KeyTableRow> keyTable();

/// The row of a key code, null for none.
const KeyTableRow* keyTableRow(std::uint32_t code);

/// A hot key's combination for people: "Control+Alt+K".
std::string combinationText(const EventHotKey& hotKey);

}  // namespace kestova
