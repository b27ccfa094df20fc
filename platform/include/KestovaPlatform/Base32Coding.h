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
/// Bytes as text of 32 symbols and back, a vector at a time.
///
/// The symbols are "0123456789ABCDEFGHJKMNPQRSTVWXYZ" for the values 0 to 31. The first one stands
/// for the 5 lowest bits of the first byte, the next for the 5 bits above them, and so on; the last
/// one is filled up with zero bits. Eight symbols are five bytes. There is no padding.
///
///     char text[16];
///     writeBase32(bytes, text);
///     Base32Reader reader;
///     const Base32Piece piece = reader.read({text, base32Length(bytes.size())}, back);
///
/// Threads: one at a time for a reader, any otherwise. Nothing is allocated but by base32Text.

/// How many symbols so many bytes take.
constexpr std::size_t base32Length(std::size_t byteCount) noexcept {
  return byteCount / 5 * 8 + (byteCount % 5 * 8 + 4) / 5;
}

/// Writes base32Length(bytes.size()) symbols; `text` has room for them. A text may be written in
/// pieces of which all but the last are of five bytes or a multiple.
KESTOVA_PLATFORM_EXPORT void writeBase32(std::span<const std::byte> bytes, char* text) noexcept;

/// The same as a text of its own.
KESTOVA_PLATFORM_EXPORT std::string base32Text(std::span<const std::byte> bytes);

/// How far a reading came.
struct Base32Piece {
  std::size_t charactersRead = 0;
  std::size_t bytesWritten = 0;
};

/// Reads symbols, the letters of both cases; LF, CR, blanks and "-" are passed over. The text may
/// come in pieces. Bits that fill no byte at the end are dropped.
class KESTOVA_PLATFORM_EXPORT Base32Reader {
 public:
  /// Reads up to the first character that is neither a symbol nor passed over, or the end. `bytes`
  /// has room for text.size() / 8 * 5 + 5 of them, all of which may be overwritten.
  Base32Piece read(std::string_view text, std::byte* bytes) noexcept;

 private:
  std::size_t step(std::uint8_t value, std::byte* bytes) noexcept;

  /// Invariant: fewer than 8 bits are waiting to fill a byte.
  std::uint32_t bits_ = 0;
  unsigned bitCount_ = 0;
};

}  // namespace kestova
