// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestova {

/// What a vector search compares: a pattern of two bytes or more, and the indexes of two of them.
struct VectorPattern {
  const std::uint8_t* bytes;
  std::size_t size;
  std::size_t probe;
  std::size_t secondProbe;
};

/// How a vector search ended.
struct VectorSearchEnd {
  enum Kind { kFound, kNotFound, kGivenUp } kind;
  /// Where it was found; where nothing but what was refuted lies before (behind, for the last one)
  /// when it was given up: so many starts are still to be tried.
  std::size_t position;
};

/// Tries the first `starts` places of `bytes` for the pattern, from the front or from the back.
/// There are `starts + size - 1` bytes. Gives up when comparing takes far longer than advancing.
VectorSearchEnd findFirstByVectors(const VectorPattern& pattern, const std::uint8_t* bytes,
                                   std::size_t starts) noexcept;
VectorSearchEnd findLastByVectors(const VectorPattern& pattern, const std::uint8_t* bytes,
                                  std::size_t starts) noexcept;

}  // namespace kestova
