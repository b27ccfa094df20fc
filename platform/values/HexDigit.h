// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kestova {

inline constexpr std::uint8_t kNoHexDigit = 0xFF;

/// The value of each character as a hex digit of either case; kNoHexDigit for what is none.
inline constexpr std::array<std::uint8_t, 256> kHexValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoHexDigit);
  for (std::uint8_t value = 0; value < 10; ++value) {
    values[std::size_t{'0'} + value] = value;
  }
  for (std::uint8_t value = 10; value < 16; ++value) {
    values[std::size_t{'A'} + value - 10] = value;
    values[std::size_t{'a'} + value - 10] = value;
  }
  return values;
}();

constexpr std::uint8_t hexValueOf(char16_t character) {
  return character < kHexValues.size() ? kHexValues[character] : kNoHexDigit;
}

}  // namespace kestova
