// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/UTF8.h>

#include <bit>
#include <cstddef>
#include <span>
#include <string_view>

namespace kestova {

/// \file
/// What whole vectors can do of the operations of UTF8.h. Each answers how far it came, which is
/// not at all for short texts and on processors without vectors: the caller does the rest one
/// character at a time.

/// How many bytes, from the beginning, are all below 0x80.
std::size_t asciiVectors(std::string_view bytes) noexcept;
std::size_t asciiVectors(std::u16string_view units) noexcept;

/// How many bytes hold nothing that is not well-formed, save that the last character may be cut.
/// `from` is where to begin: at a character, with at least `kUTF8LookBehind` checked bytes before.
inline constexpr std::size_t kUTF8LookBehind = 16;
std::size_t wellFormedUTF8Vectors(std::string_view bytes, std::size_t from) noexcept;

/// The same of the units whose bytes these are, with at least one checked unit before `from`.
/// Counts units.
std::size_t wellFormedUTF16Vectors(std::string_view bytes, std::size_t from,
                                   std::endian order) noexcept;

/// How far a measuring came, and what it measured.
struct MeasuredVectors {
  std::size_t read = 0;
  std::size_t length = 0;
};
MeasuredVectors utf16LengthVectors(std::string_view wellFormed) noexcept;

/// `from` is 1 or more; units from there on are counted, a pair with its second half.
MeasuredVectors utf8LengthVectors(std::u16string_view units, std::size_t from) noexcept;

/// Goes on with a conversion from `done`, which has come past the first character; ends between
/// two characters.
UTF8Piece writeUTF8Vectors(std::u16string_view units, std::span<char> buffer,
                           UTF8Piece done) noexcept;
UTF16Piece writeUTF16Vectors(std::string_view wellFormed, std::span<char16_t> buffer,
                             UTF16Piece done) noexcept;

}  // namespace kestova
