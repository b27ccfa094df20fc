// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestova {

/// Hands the units of a string, as they are stored, to a function that takes either view of them.
template <class Function>
decltype(auto) withStoredUnits(const Ref<NSString>& string, Function&& function) {
  return string->isEightBit()
             ? function(std::string_view(string->eightBitCharacters(), string->length()))
             : function(std::u16string_view(string->utf16Characters(), string->length()));
}

/// How many units the character at an index has: two for a pair of surrogates.
inline std::size_t characterLength(std::string_view, std::size_t) noexcept { return 1; }
inline std::size_t characterLength(std::u16string_view units, std::size_t index) noexcept {
  const bool isPair = (units[index] & 0xFC00) == 0xD800 && index + 1 < units.size() &&
                      (units[index + 1] & 0xFC00) == 0xDC00;
  return isPair ? 2 : 1;
}

/// The character at an index, of that many units.
inline std::uint32_t characterAt(std::string_view ascii, std::size_t index,
                                 std::size_t /*length*/) noexcept {
  return static_cast<unsigned char>(ascii[index]);
}
inline std::uint32_t characterAt(std::u16string_view units, std::size_t index,
                                 std::size_t length) noexcept {
  return length == 1 ? units[index]
                     : 0x10000U + ((units[index] & 0x3FFU) << 10) + (units[index + 1] & 0x3FFU);
}

}  // namespace kestova
