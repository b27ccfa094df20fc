// SPDX-License-Identifier: Apache-2.0
#pragma once

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

}  // namespace kestova
