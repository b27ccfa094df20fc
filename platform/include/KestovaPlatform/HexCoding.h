// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kestova {

/// \file
/// Bytes as hexadecimal digits and back, a vector at a time. The text may come in pieces.
///
///     HexReader reader;
///     std::size_t count = reader.read("de:ad", bytes);      // DE AD
///     count += reader.read(":be:ef", bytes + count);        // BE EF
///     const bool isWhole = reader.digits() > 0 && reader.digits() % 2 == 0;
///
/// Threads: one at a time for a reader, any otherwise. Nothing is allocated but by hexText.

/// Writes two lower-case digits for each byte; `text` has room for them.
KESTOVA_PLATFORM_EXPORT void writeHex(std::span<const std::byte> bytes, char* text) noexcept;

/// The same as a text of its own.
KESTOVA_PLATFORM_EXPORT std::string hexText(std::span<const std::byte> bytes);

/// Reads hex digits of both cases, two for a byte; any other character is passed over.
class KESTOVA_PLATFORM_EXPORT HexReader {
 public:
  /// Reads the next piece of text and answers how many bytes it gave. `bytes` has room for
  /// (text.size() + 1) / 2 of them, all of which may be overwritten.
  std::size_t read(std::string_view text, std::byte* bytes) noexcept;
  std::size_t read(std::u16string_view text, std::byte* bytes) noexcept;

  /// How many digits there were. When it is odd, the last one waits for another.
  std::uint64_t digits() const noexcept { return digits_; }

 private:
  friend struct HexRuns;
  std::size_t step(char16_t character, std::byte* bytes) noexcept;
  std::uint64_t& count() noexcept { return digits_; }

  std::uint64_t digits_ = 0;
  std::uint8_t firstDigit_ = 0;
};

/// Reads any two characters as one byte, in the way a scanner reads a hexadecimal number: a space
/// at the front is passed over, the digits up to the first other character count, and what is no
/// number is 0. Only CR, LF and blanks are left out beforehand.
class KESTOVA_PLATFORM_EXPORT LenientHexReader {
 public:
  /// As of HexReader. In 8-bit text every byte is a character.
  std::size_t read(std::string_view text, std::byte* bytes) noexcept;
  std::size_t read(std::u16string_view text, std::byte* bytes) noexcept;

  /// How many characters there were, but for CR, LF and blanks. When it is odd, the last one waits
  /// for another.
  std::uint64_t characters() const noexcept { return characters_; }

 private:
  friend struct HexRuns;
  std::size_t step(char16_t character, std::byte* bytes) noexcept;
  std::uint64_t& count() noexcept { return characters_; }

  std::uint64_t characters_ = 0;
  char16_t first_ = 0;
};

}  // namespace kestova
