// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSCharacterSet.h>
#include <unicode/utf16.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestova {

/// The character at an index, which then stands behind it. A pair of surrogates is one character,
/// an unpaired one is itself.
inline std::uint32_t nextCharacter(std::string_view ascii, std::size_t& index) noexcept {
  return static_cast<unsigned char>(ascii[index++]);
}
inline std::uint32_t nextCharacter(std::u16string_view units, std::size_t& index) noexcept {
  UChar32 character;
  U16_NEXT(units.data(), index, units.size(), character);
  return static_cast<std::uint32_t>(character);
}

/// Where the first character from `from` on stands for which a predicate holds; the size when there
/// is none.
template <class Unit, class Predicate>
std::size_t findCharacter(std::basic_string_view<Unit> units, std::size_t from,
                          Predicate&& predicate) {
  for (std::size_t index = from; index < units.size();) {
    const std::size_t start = index;
    if (predicate(nextCharacter(units, index))) {
      return start;
    }
  }
  return units.size();
}

/// The same for the first member of a set, and for the first character that is none.
template <class Unit>
std::size_t findMember(std::basic_string_view<Unit> units, std::size_t from,
                       const NSCharacterSet& set) {
  return findCharacter(units, from,
                       [&](auto character) { return set.longCharacterIsMember(character); });
}
template <class Unit>
std::size_t skipMembers(std::basic_string_view<Unit> units, std::size_t from,
                        const NSCharacterSet& set) {
  return findCharacter(units, from,
                       [&](auto character) { return !set.longCharacterIsMember(character); });
}

}  // namespace kestova
