// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace kestova {

/// A sequence of bytes to be looked for, prepared for any number of searches.
///
///     const BytePattern boundary("\r\n\r\n");
///     const std::size_t at = boundary.firstIn(bytes);
///     if (at != BytePattern::npos) …
///
/// Threads: immutable, so any number of threads may search with one at a time.
///
/// It keeps no copy: the bytes must stay until the last search.
///
/// A search takes a time that grows with the bytes that it passes, whatever these and the pattern
/// are, at close to the speed of reading them where the pattern's rarest bytes are rare. It
/// allocates nothing.
///
/// The empty pattern is found nowhere.
class KESTOVA_PLATFORM_EXPORT BytePattern {
 public:
  /// What a search answers when there is nothing to be found.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  explicit BytePattern(std::span<const std::byte> pattern) noexcept;
  explicit BytePattern(std::string_view pattern) noexcept
      : BytePattern(std::as_bytes(std::span(pattern))) {}

  std::size_t size() const noexcept { return pattern_.size(); }

  /// Where the pattern begins for the first time among the bytes, lying wholly in them.
  std::size_t firstIn(std::span<const std::byte> bytes) const noexcept;
  std::size_t firstIn(std::string_view bytes) const noexcept {
    return firstIn(std::as_bytes(std::span(bytes)));
  }

  /// Where it begins for the last time.
  std::size_t lastIn(std::span<const std::byte> bytes) const noexcept;
  std::size_t lastIn(std::string_view bytes) const noexcept {
    return lastIn(std::as_bytes(std::span(bytes)));
  }

 private:
  std::span<const std::byte> pattern_;
  /// The indexes of two bytes of the pattern that are expected to be rare.
  std::size_t rarest_ = 0;
  std::size_t secondRarest_ = 0;
};

}  // namespace kestova
