// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSTypes.h>

namespace kestova {

/// Hashes a sequence, 64 bits at a time. Not for data that an attacker chooses to collide.
class BlockHash {
 public:
  /// `length` tells sequences apart whose last block is filled up with zeros.
  explicit constexpr BlockHash(NSUInteger length) noexcept : hash_(length * kFactor) {}

  constexpr void add(NSUInteger block) noexcept {
    hash_ = (hash_ ^ block) * kFactor;
    hash_ ^= hash_ >> 32;
  }

  constexpr NSUInteger value() const noexcept { return hash_; }

 private:
  /// 2^64 divided by the golden ratio: odd, and with bits set all over.
  static constexpr NSUInteger kFactor = 0x9E3779B97F4A7C15U;

  NSUInteger hash_;
};

}  // namespace kestova
