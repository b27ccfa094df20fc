// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <unicode/unistr.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string_view>

namespace kestova {

/// A number of units as ICU counts them. Throws NSInvalidArgumentException for more than it can.
inline std::int32_t icuLength(std::size_t length) {
  if (length > std::numeric_limits<std::int32_t>::max()) [[unlikely]] {
    throw NSException(NSInvalidArgumentException,
                      "A text of more than 2147483647 units is too long for this.");
  }
  return static_cast<std::int32_t>(length);
}

/// The units as ICU's string, which refers to them until it is changed.
inline icu::UnicodeString icuText(std::u16string_view units) {
  return icu::UnicodeString(false, units.data(), icuLength(units.size()));
}

/// The units of ICU's string, which must live on. One that ran out of memory throws std::bad_alloc.
inline std::u16string_view unitsOf(const icu::UnicodeString& text) {
  if (text.isBogus() != 0) [[unlikely]] {
    throw std::bad_alloc();
  }
  return {text.getBuffer(), static_cast<std::size_t>(text.length())};
}

inline Ref<NSString> stringOf(const icu::UnicodeString& text) {
  const auto units = unitsOf(text);
  return NSString::stringWithCharacters_length(units.data(), units.size());
}

}  // namespace kestova
