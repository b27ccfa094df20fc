// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace kestova {

/// \name Case for texts that programs read
/// ASCII letters alone have one, and the same in every locale. To the C library "I" and "i" are
/// different letters where the process is in a Turkish one.
/// @{

/// The small letter of a large one; any other byte itself.
constexpr char lowercaseASCII(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The text with small letters in place of large ones.
inline std::string lowercaseASCII(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](char c) { return lowercaseASCII(c); });
  return result;
}

/// Whether the texts are the same but for case.
constexpr bool isSameButForCase(std::string_view a, std::string_view b) noexcept {
  return std::ranges::equal(a, b,
                            [](char x, char y) { return lowercaseASCII(x) == lowercaseASCII(y); });
}

/// @}

}  // namespace kestova
