// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/UTF8.h>

#include "text/UTF8Vectors.h"
#include "text/UnitOrder.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

// Each operation begins and ends one character at a time and leaves what lies between to the
// vectors, which look at neighbours and so can do neither the first character nor the last.

namespace kestova {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

/// Fewer bytes are looked at sooner than the vectors of the processor are found.
constexpr std::size_t kLeastForVectors = 64;

/// The character at an index, which moves behind it; U+FFFD for a surrogate that stands alone.
UChar32 nextCharacter(std::u16string_view units, std::size_t& index) noexcept {
  UChar32 character;
  U16_NEXT(units.data(), index, units.size(), character);
  return U_IS_SURROGATE(character) ? kReplacement : character;
}

/// From a character on: where `end` is reached, or the first character that is not well-formed.
std::size_t checkUTF8(std::string_view bytes, std::size_t index, std::size_t end) noexcept {
  while (index < end) {
    const std::size_t start = index;
    UChar32 character;
    U8_NEXT(bytes.data(), index, bytes.size(), character);
    if (character < 0) {
      return start;
    }
  }
  return index;
}

/// The same of units whose bytes stand anywhere.
std::size_t checkUTF16(std::string_view bytes, std::size_t index, std::size_t end,
                       std::endian order) noexcept {
  const std::size_t size = bytes.size() / sizeof(char16_t);
  while (index < end) {
    const char16_t unit = unitAt(bytes, index, order);
    const bool isPair =
        U16_IS_LEAD(unit) && size - index >= 2 && U16_IS_TRAIL(unitAt(bytes, index + 1, order));
    if (U16_IS_SURROGATE(unit) && !isPair) {
      break;
    }
    index += isPair ? 2 : 1;
  }
  return index;
}

/// Where the character begins that ends at the index or is cut there.
std::size_t characterBefore(std::string_view bytes, std::size_t index) noexcept {
  const std::size_t limit = index - std::min<std::size_t>(index, U8_MAX_LENGTH);
  while (index > limit && U8_IS_TRAIL(bytes[--index])) {
  }
  return index;
}

/// Whether no unit has a bit of `highBits`, which are those of eight bytes of units side by side.
template <class Unit>
bool hasNone(std::basic_string_view<Unit> units, std::uint64_t highBits) noexcept {
  constexpr std::size_t step = sizeof(std::uint64_t) / sizeof(Unit);
  if (units.size() < step) {
    return std::all_of(units.begin(), units.end(), [](Unit unit) {
      return static_cast<std::make_unsigned_t<Unit>>(unit) < 0x80;
    });
  }
  const auto blockAt = [](const Unit* place) {
    std::uint64_t block;
    std::memcpy(&block, place, sizeof block);
    return block;
  };
  const Unit* const last = units.data() + units.size() - step;
  std::uint64_t bits = blockAt(last);
  for (const Unit* place = units.data(); place < last; place += step) {
    bits |= blockAt(place);
  }
  return (bits & highBits) == 0;
}

/// Writes characters while they fit and begin before `end`.
UTF8Piece writeCharacters(std::u16string_view units, std::size_t end, std::span<char> buffer,
                          UTF8Piece done) noexcept {
  while (done.unitsRead < end) {
    std::size_t next = done.unitsRead;
    const UChar32 character = nextCharacter(units, next);
    if (buffer.size() - done.bytesWritten < static_cast<std::size_t>(U8_LENGTH(character))) {
      break;
    }
    U8_APPEND_UNSAFE(buffer.data(), done.bytesWritten, character);
    done.unitsRead = next;
  }
  return done;
}

UTF16Piece writeCharacters(std::string_view bytes, std::size_t end, std::span<char16_t> buffer,
                           UTF16Piece done) noexcept {
  while (done.bytesRead < end) {
    std::size_t next = done.bytesRead;
    UChar32 character;
    U8_NEXT_OR_FFFD(bytes.data(), next, bytes.size(), character);
    if (buffer.size() - done.unitsWritten < static_cast<std::size_t>(U16_LENGTH(character))) {
      break;
    }
    U16_APPEND_UNSAFE(buffer.data(), done.unitsWritten, character);
    done.bytesRead = next;
  }
  return done;
}

std::string_view bytesOf(std::u16string_view units) noexcept {
  return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
}

/// The bytes that a unit adds to a text; the second half of a pair makes four of the three that its
/// first half was taken for.
std::size_t utf8LengthAt(std::u16string_view units, std::size_t index) noexcept {
  const char16_t unit = units[index];
  const bool closesPair = index > 0 && U16_IS_TRAIL(unit) && U16_IS_LEAD(units[index - 1]);
  return closesPair ? 1 : 1U + (unit >= 0x80 ? 1U : 0U) + (unit >= 0x800 ? 1U : 0U);
}

}  // namespace

std::string_view withoutCutCharacter(std::string_view bytes) noexcept {
  auto length = static_cast<std::ptrdiff_t>(bytes.size());  // ICU looks at length - 2
  U8_TRUNCATE_IF_INCOMPLETE(bytes.data(), 0, length);
  return bytes.substr(0, static_cast<std::size_t>(length));
}

bool isASCII(std::string_view bytes) noexcept {
  const std::size_t looked = bytes.size() < kLeastForVectors ? 0 : asciiVectors(bytes);
  return hasNone(bytes.substr(looked), 0x8080808080808080U);
}

bool isASCII(std::u16string_view units) noexcept {
  return hasNone(units.substr(asciiVectors(units)), 0xFF80FF80FF80FF80U);
}

std::size_t wellFormedLengthOfUTF8(std::string_view bytes) noexcept {
  const std::size_t start = std::min(bytes.size(), kUTF8LookBehind);
  const std::size_t begun = checkUTF8(bytes, 0, start);
  if (begun < start) {
    return begun;
  }
  const std::size_t done = wellFormedUTF8Vectors(bytes, begun);
  return checkUTF8(bytes, characterBefore(bytes, done), bytes.size());
}

std::size_t wellFormedLengthOfUTF16(std::string_view bytes, std::endian order) noexcept {
  const std::size_t size = bytes.size() / sizeof(char16_t);
  const std::size_t begun = checkUTF16(bytes, 0, std::min<std::size_t>(size, 1), order);
  if (begun == 0) {
    return 0;
  }
  const std::size_t done = wellFormedUTF16Vectors(bytes, begun, order);
  const bool mayBeCut = U16_IS_LEAD(unitAt(bytes, done - 1, order));
  return checkUTF16(bytes, mayBeCut ? done - 1 : done, size, order);
}

std::size_t wellFormedLengthOfUTF16(std::u16string_view units) noexcept {
  return wellFormedLengthOfUTF16(bytesOf(units), std::endian::native);
}

bool isWellFormedUTF8(std::string_view bytes) noexcept {
  return wellFormedLengthOfUTF8(bytes) == bytes.size();
}

bool isWellFormedUTF16(std::u16string_view units) noexcept {
  return wellFormedLengthOfUTF16(units) == units.size();
}

bool isWellFormedUTF16(std::string_view bytes, std::endian order) noexcept {
  return wellFormedLengthOfUTF16(bytes, order) * sizeof(char16_t) == bytes.size();
}

std::size_t utf16LengthOfUTF8(std::string_view wellFormed) noexcept {
  auto [index, length] = utf16LengthVectors(wellFormed);
  for (; index < wellFormed.size(); ++index) {
    const auto byte = static_cast<unsigned char>(wellFormed[index]);
    length += (U8_IS_TRAIL(byte) ? 0U : 1U) + (byte >= 0xF0 ? 1U : 0U);
  }
  return length;
}

std::size_t utf8LengthOfUTF16(std::u16string_view units) noexcept {
  if (units.empty()) {
    return 0;
  }
  auto [index, length] = utf8LengthVectors(units, 1);
  for (; index < units.size(); ++index) {
    length += utf8LengthAt(units, index);
  }
  return length + utf8LengthAt(units, 0);
}

UTF8Piece writeUTF8(std::u16string_view units, std::span<char> buffer) noexcept {
  const auto begun = writeCharacters(units, std::min<std::size_t>(units.size(), 1), buffer, {});
  if (begun.unitsRead == 0) {
    return begun;
  }
  return writeCharacters(units, units.size(), buffer, writeUTF8Vectors(units, buffer, begun));
}

UTF16Piece writeUTF16(std::string_view wellFormed, std::span<char16_t> buffer) noexcept {
  const auto begun =
      writeCharacters(wellFormed, std::min<std::size_t>(wellFormed.size(), 1), buffer, {});
  if (begun.bytesRead == 0) {
    return begun;
  }
  return writeCharacters(wellFormed, wellFormed.size(), buffer,
                         writeUTF16Vectors(wellFormed, buffer, begun));
}

}  // namespace kestova
