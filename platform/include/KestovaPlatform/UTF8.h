// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>

#include <bit>
#include <cstddef>
#include <span>
#include <string_view>

namespace kestova {

/// \file
/// UTF-8 and UTF-16 as plain views: checking, measuring and converting, a vector of bytes at a
/// time.
///
///     char buffer[4096];
///     while (!units.empty()) {
///       const UTF8Piece piece = writeUTF8(units, buffer);
///       consume({buffer, piece.bytesWritten});
///       units.remove_prefix(piece.unitsRead);
///     }
///
/// Well-formed UTF-8 is what the Unicode standard calls so: no longer form than needed, no
/// surrogates, nothing above U+10FFFF, no character cut. Well-formed UTF-16 has no surrogate that
/// stands alone. Empty text is both.
///
/// Threads: any; nothing is kept. Nothing is allocated, and no byte outside the views is touched.

/// \name Checking
/// @{

KESTOVA_PLATFORM_EXPORT bool isWellFormedUTF8(std::string_view bytes) noexcept;
KESTOVA_PLATFORM_EXPORT bool isWellFormedUTF16(std::u16string_view units) noexcept;

/// How many bytes, or units, stand before the first sequence that is not well-formed: all of them
/// when there is none. A character cut at the end is not well-formed.
KESTOVA_PLATFORM_EXPORT std::size_t wellFormedLengthOfUTF8(std::string_view bytes) noexcept;
KESTOVA_PLATFORM_EXPORT std::size_t wellFormedLengthOfUTF16(std::u16string_view units) noexcept;

/// The same of units in a byte order, whose bytes may stand anywhere in memory. The length counts
/// units; an odd number of bytes is not well-formed.
KESTOVA_PLATFORM_EXPORT bool isWellFormedUTF16(std::string_view bytes, std::endian order) noexcept;
KESTOVA_PLATFORM_EXPORT std::size_t wellFormedLengthOfUTF16(std::string_view bytes,
                                                            std::endian order) noexcept;

/// The bytes without their last character if that is cut: what remains of well-formed UTF-8 that
/// was parted anywhere.
KESTOVA_PLATFORM_EXPORT std::string_view withoutCutCharacter(std::string_view bytes) noexcept;

/// Whether every byte, or unit, is below 0x80.
KESTOVA_PLATFORM_EXPORT bool isASCII(std::string_view bytes) noexcept;
KESTOVA_PLATFORM_EXPORT bool isASCII(std::u16string_view units) noexcept;

/// @}
/// \name Measuring
/// @{

/// How many UTF-16 units well-formed UTF-8 takes; never more than it has bytes. Of other bytes the
/// number means nothing.
KESTOVA_PLATFORM_EXPORT std::size_t utf16LengthOfUTF8(std::string_view wellFormed) noexcept;

/// How many bytes the units take in UTF-8, at most three for each; a surrogate that stands alone
/// counts as the three bytes of U+FFFD.
KESTOVA_PLATFORM_EXPORT std::size_t utf8LengthOfUTF16(std::u16string_view units) noexcept;

/// @}
/// \name Converting
/// @{

/// How far a conversion to UTF-8 came.
struct UTF8Piece {
  std::size_t unitsRead = 0;
  std::size_t bytesWritten = 0;
};

/// Writes as many whole characters as the buffer holds; four bytes of room always take one. A
/// surrogate that stands alone becomes U+FFFD, the bytes EF BF BD; the first half of a pair at the
/// end of `units` does stand alone, so a text that comes in parts is to be parted elsewhere. The
/// buffer behind what is written may be overwritten.
KESTOVA_PLATFORM_EXPORT UTF8Piece writeUTF8(std::u16string_view units,
                                            std::span<char> buffer) noexcept;

/// How far a conversion to UTF-16 came.
struct UTF16Piece {
  std::size_t bytesRead = 0;
  std::size_t unitsWritten = 0;
};

/// Writes as many whole characters as the buffer holds; two units of room always take one. Bytes
/// that are not well-formed give units that mean nothing. The buffer behind what is written may be
/// overwritten.
KESTOVA_PLATFORM_EXPORT UTF16Piece writeUTF16(std::string_view wellFormed,
                                              std::span<char16_t> buffer) noexcept;

/// @}

}  // namespace kestova
