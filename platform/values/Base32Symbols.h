// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace kestova {

inline constexpr std::string_view kBase32Symbols = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";

inline constexpr std::uint8_t kNoBase32Symbol = 0xFF;

/// The value of each character as a symbol, letters of both cases; kNoBase32Symbol for what is
/// none.
inline constexpr std::array<std::uint8_t, 256> kBase32Values = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoBase32Symbol);
  for (std::size_t value = 0; value < kBase32Symbols.size(); ++value) {
    const auto symbol = static_cast<std::uint8_t>(kBase32Symbols[value]);
    values[symbol] = static_cast<std::uint8_t>(value);
    values[symbol | 0x20] = static_cast<std::uint8_t>(value);  // digits have that bit already
  }
  return values;
}();

}  // namespace kestova
