// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

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

/// The hash of bytes. Their last block overlaps the one before it.
inline NSUInteger hashOfBytes(std::span<const std::byte> bytes) noexcept {
  const auto blockAt = [&](std::size_t place, auto block) {
    std::memcpy(&block, bytes.data() + place, sizeof block);
    return NSUInteger{block};
  };
  BlockHash hash(bytes.size());
  if (bytes.size() >= sizeof(std::uint64_t)) {
    const std::size_t last = bytes.size() - sizeof(std::uint64_t);
    for (std::size_t place = 0; place < last; place += sizeof(std::uint64_t)) {
      hash.add(blockAt(place, std::uint64_t{}));
    }
    hash.add(blockAt(last, std::uint64_t{}));
  } else if (bytes.size() >= sizeof(std::uint32_t)) {
    const std::size_t last = bytes.size() - sizeof(std::uint32_t);
    hash.add(blockAt(0, std::uint32_t{}) | blockAt(last, std::uint32_t{}) << 32);
  } else {
    for (std::size_t place = 0; place < bytes.size(); ++place) {
      hash.add(blockAt(place, std::uint8_t{}));
    }
  }
  return hash.value();
}

}  // namespace kestova
