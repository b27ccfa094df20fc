// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSRange.h>
#include <unicode/utf16.h>

#include "text/CharacterWalk.h"
#include "text/SearchPlace.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestova {

/// What a search for a member of a set answers where there is none.
inline constexpr NSRange kNoMember{NSNotFound, 0};

/// The character before an index, which then stands before it.
inline std::uint32_t previousCharacter(std::string_view ascii, std::size_t& index) noexcept {
  return static_cast<unsigned char>(ascii[--index]);
}
inline std::uint32_t previousCharacter(std::u16string_view units, std::size_t& index) noexcept {
  UChar32 character;
  U16_PREV(units.data(), 0, index, character);
  return static_cast<std::uint32_t>(character);
}

/// The member of a set that begins at an index, or ends there; nowhere when there is none.
template <class Unit>
NSRange memberFrom(std::basic_string_view<Unit> units, std::size_t start,
                   const NSCharacterSet& set) {
  std::size_t end = start;
  const bool isMember =
      start < units.size() && set.longCharacterIsMember(nextCharacter(units, end));
  return isMember ? NSRange{start, end - start} : kNoMember;
}
template <class Unit>
NSRange memberUpTo(std::basic_string_view<Unit> units, std::size_t end, const NSCharacterSet& set) {
  std::size_t start = end;
  const bool isMember = end > 0 && set.longCharacterIsMember(previousCharacter(units, start));
  return isMember ? NSRange{start, end - start} : kNoMember;
}

/// The last member.
template <class Unit>
NSRange lastMember(std::basic_string_view<Unit> units, const NSCharacterSet& set) {
  for (std::size_t end = units.size(); end > 0;) {
    if (const NSRange member = memberUpTo(units, end, set); member != kNoMember) {
      return member;
    }
    previousCharacter(units, end);
  }
  return kNoMember;
}

/// The member that a search finds among the units.
template <class Unit>
NSRange memberIn(std::basic_string_view<Unit> units, const NSCharacterSet& set, SearchPlace place) {
  switch (place) {
    case SearchPlace::first:
      return memberFrom(units, findMember(units, 0, set), set);
    case SearchPlace::last:
      return lastMember(units, set);
    case SearchPlace::start:
      return memberFrom(units, 0, set);
    case SearchPlace::end:
      return memberUpTo(units, units.size(), set);
  }
  return kNoMember;
}

}  // namespace kestova
