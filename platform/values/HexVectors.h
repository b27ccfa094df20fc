// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestova {

/// Writes two digits for each of `size` bytes.
void writeHexByVectors(const std::uint8_t* bytes, std::size_t size, std::uint8_t* text) noexcept;

/// Reads pairs of digits up to the first pair that holds something else, and answers how many there
/// were. All of the `pairs` bytes that there may be are overwritten.
std::size_t readHexPairsByVectors(const std::uint8_t* text, std::size_t pairs,
                                  std::uint8_t* bytes) noexcept;

}  // namespace kestova
