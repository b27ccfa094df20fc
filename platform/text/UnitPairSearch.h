// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>

namespace kestova {

/// What a text that is searched for shows at both of its ends: its first unit and, `gap` units
/// later, its last one, each in two spellings, which may be the same.
template <class Unit>
struct UnitPair {
  Unit first[2];
  Unit last[2];
  std::size_t gap;
};

/// The smallest or the greatest index below `count` at which the pair stands; `count` when there is
/// none. There are `count + pair.gap` units to read.
std::size_t firstPair(const char* text, std::size_t count, const UnitPair<char>& pair) noexcept;
std::size_t firstPair(const char16_t* text, std::size_t count,
                      const UnitPair<char16_t>& pair) noexcept;
std::size_t lastPair(const char* text, std::size_t count, const UnitPair<char>& pair) noexcept;
std::size_t lastPair(const char16_t* text, std::size_t count,
                     const UnitPair<char16_t>& pair) noexcept;

/// Units that a search doesn't pass by: those from one on, and some below it.
struct OddUnits {
  char16_t from;
  std::array<char16_t, 8> others;
  std::size_t count;

  /// In ascending order. Where there is no room for a unit, it is one of those from which on all
  /// are odd.
  constexpr void add(char16_t unit) noexcept {
    if (count < others.size()) {
      others[count++] = unit;
    } else if (unit < from) {
      from = unit;
    }
  }

  constexpr bool contain(char16_t unit) const noexcept {
    bool isOther = false;
    for (std::size_t index = 0; index < count; ++index) {
      isOther |= unit == others[index];
    }
    return unit >= from || isOther;
  }
};

/// The smallest index below `count` at which the pair or an odd unit stands; `count` when there is
/// none. There are `count + pair.gap` units to read.
std::size_t firstPairOrOdd(const char16_t* text, std::size_t count, const UnitPair<char16_t>& pair,
                           const OddUnits& odd) noexcept;

}  // namespace kestova
