// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kestova::testing {

/// \file
/// UTF-8 and UTF-16 one character at a time, by Unicode's table of well-formed byte sequences.

struct PlainCharacter {
  char32_t value;
  std::size_t length;
};

inline int byteAt(std::string_view bytes, std::size_t index) {
  return index < bytes.size() ? static_cast<unsigned char>(bytes[index]) : -1;
}

inline bool isBetween(int value, int first, int last) { return value >= first && value <= last; }

inline std::optional<PlainCharacter> firstOfUTF8(std::string_view bytes) {
  const int a = byteAt(bytes, 0);
  const int b = byteAt(bytes, 1);
  const auto continues = [&](std::size_t i) { return isBetween(byteAt(bytes, i), 0x80, 0xBF); };
  const auto bits = [&](std::size_t i) { return static_cast<char32_t>(byteAt(bytes, i) & 0x3F); };
  if (isBetween(a, 0, 0x7F)) {
    return PlainCharacter{static_cast<char32_t>(a), 1};
  }
  if (isBetween(a, 0xC2, 0xDF) && continues(1)) {
    return PlainCharacter{static_cast<char32_t>(a & 0x1F) << 6 | bits(1), 2};
  }
  if (isBetween(a, 0xE0, 0xEF) && continues(1) && continues(2) && (a != 0xE0 || b >= 0xA0) &&
      (a != 0xED || b <= 0x9F)) {
    return PlainCharacter{static_cast<char32_t>(a & 0x0F) << 12 | bits(1) << 6 | bits(2), 3};
  }
  if (isBetween(a, 0xF0, 0xF4) && continues(1) && continues(2) && continues(3) &&
      (a != 0xF0 || b >= 0x90) && (a != 0xF4 || b <= 0x8F)) {
    return PlainCharacter{
        static_cast<char32_t>(a & 0x07) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3), 4};
  }
  return std::nullopt;
}

inline std::optional<PlainCharacter> firstOfUTF16(std::u16string_view units) {
  const char16_t a = units[0];
  if (a < 0xD800 || a > 0xDFFF) {
    return PlainCharacter{a, 1};
  }
  if (a <= 0xDBFF && units.size() > 1 && units[1] >= 0xDC00 && units[1] <= 0xDFFF) {
    return PlainCharacter{0x10000 + ((a & 0x3FFU) << 10) + (units[1] & 0x3FFU), 2};
  }
  return std::nullopt;
}

inline std::string inUTF8(char32_t c) {
  const auto tail = [&](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    return {static_cast<char>(c)};
  }
  if (c < 0x800) {
    return {static_cast<char>(0xC0 | c >> 6), tail(0)};
  }
  if (c < 0x10000) {
    return {static_cast<char>(0xE0 | c >> 12), tail(6), tail(0)};
  }
  return {static_cast<char>(0xF0 | c >> 18), tail(12), tail(6), tail(0)};
}

inline std::u16string inUTF16(char32_t c) {
  return c < 0x10000 ? std::u16string{static_cast<char16_t>(c)}
                     : std::u16string{static_cast<char16_t>(0xD7C0 + (c >> 10)),
                                      static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
}

inline std::size_t plainLengthOfUTF8(std::string_view bytes) {
  std::size_t index = 0;
  while (index < bytes.size()) {
    const auto character = firstOfUTF8(bytes.substr(index));
    if (!character) {
      break;
    }
    index += character->length;
  }
  return index;
}

inline std::size_t plainLengthOfUTF16(std::u16string_view units) {
  std::size_t index = 0;
  while (index < units.size()) {
    const auto character = firstOfUTF16(units.substr(index));
    if (!character) {
      break;
    }
    index += character->length;
  }
  return index;
}

struct PlainUTF8 {
  std::size_t read = 0;
  std::string bytes;
};

inline PlainUTF8 plainUTF8Of(std::u16string_view units, std::size_t room) {
  PlainUTF8 done;
  while (done.read < units.size()) {
    const auto character =
        firstOfUTF16(units.substr(done.read)).value_or(PlainCharacter{0xFFFD, 1});
    const std::string bytes = inUTF8(character.value);
    if (done.bytes.size() + bytes.size() > room) {
      break;
    }
    done.bytes += bytes;
    done.read += character.length;
  }
  return done;
}

}  // namespace kestova::testing
