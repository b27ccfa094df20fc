// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace kestova {

/// A key of the keyboard by the number that hot keys and key events know it by.
///
/// Letters, digits and signs are the keys that type them without a modifier on the layout in use;
/// what no key types is the key at the place where an American keyboard has it. The whole table
/// stands in docs/formats/key-codes.md.
struct VirtualKey {
  std::uint16_t code;
  /// What people call it: "K", "7", "F5", "Return", "KP0".
  std::string_view name;
};

/// All keys that can be a hot key, in the order of the table. Any thread.
KESTOVA_PLATFORM_EXPORT std::span<const VirtualKey> VirtualKeys();

/// The key code of a name, whose case doesn't matter; nothing for an unknown one. Any thread.
KESTOVA_PLATFORM_EXPORT std::optional<std::uint16_t> VirtualKeyCodeForName(std::string_view name);

/// The name of a key code; empty for an unknown one. Any thread.
KESTOVA_PLATFORM_EXPORT std::string_view VirtualKeyName(std::uint32_t code);

}  // namespace kestova
