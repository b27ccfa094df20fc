// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestova {

/// \file
/// Groups of five bytes that are eight symbols. Each answers how many of the groups it did, from
/// the front; what it leaves is the caller's.

/// Leaves a few groups at the end.
std::size_t writeBase32ByVectors(const std::uint8_t* bytes, std::size_t groups,
                                 std::uint8_t* text) noexcept;

/// Stops also before a character that is no symbol, or a few groups earlier. All of the room for
/// `groups` may be overwritten.
std::size_t readBase32ByVectors(const std::uint8_t* text, std::size_t groups,
                                std::uint8_t* bytes) noexcept;

}  // namespace kestova
