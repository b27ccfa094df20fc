// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/UTF8.h>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace kestova {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

/// The character at an index, which moves behind it; U+FFFD for a surrogate that stands alone.
UChar32 nextCharacter(std::u16string_view units, std::size_t& index) noexcept {
  UChar32 character;
  U16_NEXT(units.data(), index, units.size(), character);
  return U_IS_SURROGATE(character) ? kReplacement : character;
}

}  // namespace

std::size_t wellFormedLengthOfUTF8(std::string_view bytes) noexcept {
  for (std::size_t index = 0; index < bytes.size();) {
    const std::size_t start = index;
    UChar32 character;
    U8_NEXT(bytes.data(), index, bytes.size(), character);
    if (character < 0) {
      return start;
    }
  }
  return bytes.size();
}

std::size_t wellFormedLengthOfUTF16(std::u16string_view units) noexcept {
  for (std::size_t index = 0; index < units.size();) {
    const std::size_t start = index;
    UChar32 character;
    U16_NEXT(units.data(), index, units.size(), character);
    if (U_IS_SURROGATE(character)) {
      return start;
    }
  }
  return units.size();
}

bool isASCII(std::string_view bytes) noexcept {
  return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return U8_IS_SINGLE(byte); });
}

bool isASCII(std::u16string_view units) noexcept {
  return std::all_of(units.begin(), units.end(), [](char16_t unit) { return unit < 0x80; });
}

bool isWellFormedUTF8(std::string_view bytes) noexcept {
  return wellFormedLengthOfUTF8(bytes) == bytes.size();
}

bool isWellFormedUTF16(std::u16string_view units) noexcept {
  return wellFormedLengthOfUTF16(units) == units.size();
}

std::size_t utf16LengthOfUTF8(std::string_view wellFormed) noexcept {
  std::size_t length = 0;
  for (const char byte : wellFormed) {
    const auto value = static_cast<unsigned char>(byte);
    length += (value < 0x80 || value >= 0xC0) + (value >= 0xF0);
  }
  return length;
}

std::size_t utf8LengthOfUTF16(std::u16string_view units) noexcept {
  std::size_t length = 0;
  for (std::size_t index = 0; index < units.size();) {
    const UChar32 character = nextCharacter(units, index);
    length += static_cast<std::size_t>(U8_LENGTH(character));
  }
  return length;
}

UTF8Piece writeUTF8(std::u16string_view units, std::span<char> buffer) noexcept {
  UTF8Piece done;
  while (done.unitsRead < units.size()) {
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

UTF16Piece writeUTF16(std::string_view wellFormed, std::span<char16_t> buffer) noexcept {
  UTF16Piece done;
  while (done.bytesRead < wellFormed.size()) {
    std::size_t next = done.bytesRead;
    UChar32 character;
    U8_NEXT_OR_FFFD(wellFormed.data(), next, wellFormed.size(), character);
    if (buffer.size() - done.unitsWritten < static_cast<std::size_t>(U16_LENGTH(character))) {
      break;
    }
    U16_APPEND_UNSAFE(buffer.data(), done.unitsWritten, character);
    done.bytesRead = next;
  }
  return done;
}

}  // namespace kestova
