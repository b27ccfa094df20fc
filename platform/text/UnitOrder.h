// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace kestova {

/// \file
/// Units of two and four bytes in either byte order, whose bytes may stand anywhere in memory.

constexpr char16_t inOrder(char16_t unit, std::endian order) noexcept {
  return order == std::endian::native ? unit : static_cast<char16_t>(unit >> 8 | unit << 8);
}

constexpr char32_t inOrder(char32_t value, std::endian order) noexcept {
  return order == std::endian::native
             ? value
             : value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

/// The unit of that index.
inline char16_t unitAt(std::string_view bytes, std::size_t index, std::endian order) noexcept {
  char16_t unit;
  std::memcpy(&unit, bytes.data() + index * sizeof unit, sizeof unit);
  return inOrder(unit, order);
}

/// The four bytes from an offset on.
inline char32_t characterAt(std::string_view bytes, std::size_t offset,
                            std::endian order) noexcept {
  char32_t value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return inOrder(value, order);
}

/// Copies the first `count` units out.
inline void copyUnits(std::string_view bytes, std::size_t count, std::endian order,
                      char16_t* to) noexcept {
  if (count > 0) {
    std::memcpy(to, bytes.data(), count * sizeof *to);
  }
  if (order != std::endian::native) {
    std::transform(to, to + count, to,
                   [](char16_t unit) { return static_cast<char16_t>(unit >> 8 | unit << 8); });
  }
}

}  // namespace kestova
