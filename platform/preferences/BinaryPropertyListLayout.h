// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestova {

/// \file
/// The binary format's numbers and names, which reader and writer share. All integers are
/// big-endian. docs/formats/property-list.md draws the whole.

inline constexpr std::string_view kBinaryMagic = "bplist";
inline constexpr std::string_view kBinaryVersion = "00";
inline constexpr std::size_t kBinaryHeaderSize = 8;

/// \name The trailer: where in it each number begins, and its size
/// @{
inline constexpr std::size_t kBinaryTrailerSize = 32;
inline constexpr std::size_t kOffsetSizeField = 6;
inline constexpr std::size_t kReferenceSizeField = 7;
inline constexpr std::size_t kObjectCountField = 8;
inline constexpr std::size_t kTopObjectField = 16;
inline constexpr std::size_t kOffsetTableField = 24;
/// @}

/// The upper four bits of an object's first byte; what the lower ones say depends on it.
enum class BinaryKind : std::uint8_t {
  simple = 0x0,
  integer = 0x1,
  real = 0x2,
  date = 0x3,
  data = 0x4,
  asciiString = 0x5,
  utf16String = 0x6,
  uid = 0x8,
  array = 0xA,
  set = 0xC,
  dictionary = 0xD,
};

/// The lower four bits where a count does not fit into them: an integer object with it follows.
inline constexpr unsigned kCountFollows = 0xF;

/// \name The lower four bits of simple objects
/// @{
inline constexpr unsigned kBinaryFalse = 0x8;
inline constexpr unsigned kBinaryTrue = 0x9;
/// @}

/// The one key of the dictionary that stands for a UID.
inline constexpr const char* kUIDKey = "CF$UID";

/// The fewest bytes of 1, 2, 4 and 8 that hold the number.
constexpr std::size_t sizeOfUnsigned(std::uint64_t value) noexcept {
  return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFF'FFFF ? 4 : 8;
}

/// Writes the number's lowest bytes where there is room for them. Answers the place behind.
constexpr char* putUnsigned(char* to, std::uint64_t value, std::size_t size) noexcept {
  for (char* byte = to + size; byte != to; value >>= 8) {
    *--byte = static_cast<char>(value);
  }
  return to + size;
}

}  // namespace kestova
