// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kestova {

/// What two bytes side by side can have wrong, as the nibbles for which they have it: of the first
/// byte both, of the second one the high one. Bit n of a set stands for the nibble n.
struct UTF8PairError {
  std::uint16_t firstHigh;
  std::uint16_t firstLow;
  std::uint16_t secondHigh;
};

inline constexpr std::uint16_t kAnyNibble = 0xFFFF;
inline constexpr std::uint16_t kContinuationNibbles = 0x0F00;

/// The last one is no error by itself: a continuation behind another, as characters of three and
/// four bytes have it.
inline constexpr std::array<UTF8PairError, 8> kUTF8PairErrors = {{
    {0xF000, kAnyNibble, 0xF0FF},                // too short: behind a lead byte no continuation
    {0x00FF, kAnyNibble, kContinuationNibbles},  // too long: a continuation behind ASCII
    {0x1000, 0x0003, kContinuationNibbles},      // C0, C1: longer than needed
    {0x4000, 0x0001, 0x0300},                    // E0 80…9F: longer than needed
    {0x4000, 0x2000, 0x0C00},                    // ED A0…BF: a surrogate
    {0x8000, 0xFFF0, 0x0E00},                    // F4 90…BF, F5…FF 90…BF: above U+10FFFF
    {0x8000, 0xFFE1, 0x0100},  // F0 80…8F: longer than needed; F5…FF 80…8F: above
    {kContinuationNibbles, kAnyNibble, kContinuationNibbles},
}};

inline constexpr std::uint8_t kSecondContinuation = 0x80;

using NibbleTable = std::array<std::uint8_t, 16>;

/// For each nibble the errors, a bit for each, that it allows.
struct UTF8ErrorTables {
  NibbleTable byFirstHighNibble{};
  NibbleTable byFirstLowNibble{};
  NibbleTable bySecondHighNibble{};
};

constexpr NibbleTable nibbleTable(std::uint16_t UTF8PairError::*nibbles) {
  NibbleTable table{};
  for (std::size_t nibble = 0; nibble < table.size(); ++nibble) {
    for (std::size_t error = 0; error < kUTF8PairErrors.size(); ++error) {
      const auto isAllowed = (kUTF8PairErrors[error].*nibbles >> nibble & 1) != 0;
      table[nibble] = static_cast<std::uint8_t>(table[nibble] | isAllowed << error);
    }
  }
  return table;
}

alignas(16) inline constexpr UTF8ErrorTables kUTF8ErrorTables = {
    nibbleTable(&UTF8PairError::firstHigh), nibbleTable(&UTF8PairError::firstLow),
    nibbleTable(&UTF8PairError::secondHigh)};

}  // namespace kestova
