// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace kestova {

template <std::size_t Width>
struct BitsOfWidth;
template <>
struct BitsOfWidth<1> {
  using type = std::uint8_t;
};
template <>
struct BitsOfWidth<2> {
  using type = std::uint16_t;
};
template <>
struct BitsOfWidth<4> {
  using type = std::uint32_t;
};
template <>
struct BitsOfWidth<8> {
  using type = std::uint64_t;
};

/// The unsigned integer that holds the bits of a T.
template <class T>
using BitsOf = typename BitsOfWidth<sizeof(T)>::type;

template <class Bits>
constexpr Bits swappedBytes(Bits bits) {
  if constexpr (sizeof(Bits) == 2) {
    return __builtin_bswap16(bits);
  } else if constexpr (sizeof(Bits) == 4) {
    return __builtin_bswap32(bits);
  } else if constexpr (sizeof(Bits) == 8) {
    return __builtin_bswap64(bits);
  } else {
    return bits;
  }
}

template <class Bits>
constexpr Bits inByteOrder(Bits bits, bool littleEndian) {
  const bool isNative = littleEndian == (std::endian::native == std::endian::little);
  return isNative ? bits : swappedBytes(bits);
}

/// The bits of a value as they lie in memory in a byte order.
template <class T>
constexpr BitsOf<T> encoded(T value, bool littleEndian) {
  return inByteOrder(std::bit_cast<BitsOf<T>>(value), littleEndian);
}

/// The value whose bits lay in memory in a byte order.
template <class T>
constexpr T decoded(BitsOf<T> bits, bool littleEndian) {
  return std::bit_cast<T>(inByteOrder(bits, littleEndian));
}

}  // namespace kestova
