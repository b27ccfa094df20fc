// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/HexCoding.h>
#include <KestovaPlatform/NSCharacterSet.h>

#include "values/HexDigit.h"
#include "values/HexVectors.h"

#include <algorithm>
#include <array>

namespace kestova {
namespace {

std::uint8_t* raw(std::byte* bytes) { return reinterpret_cast<std::uint8_t*>(bytes); }

/// Whether a scanner passes over it in front of a number.
bool isPassedOver(char16_t character) {
  return NSCharacterSet::whitespaceAndNewlineCharacterSet()->characterIsMember(character);
}

unsigned lenientByte(char16_t first, char16_t second) {
  const unsigned high = hexValueOf(first);
  const unsigned low = hexValueOf(second);
  if (high != kNoHexDigit) {
    return low != kNoHexDigit ? high << 4 | low : high;
  }
  return low != kNoHexDigit && isPassedOver(first) ? low : 0;
}

}  // namespace

/// Hands runs of digits to the vectors and what lies between them to a reader, one character at a
/// time.
struct HexRuns {
  template <class Reader>
  static std::size_t read(Reader& reader, std::string_view text, std::byte* bytes) {
    return read(
        reader, text,
        [&](std::size_t index) -> char16_t { return static_cast<unsigned char>(text[index]); },
        bytes);
  }

  /// Narrowed a stretch at a time; what does not fit stands for itself as some foreign byte.
  template <class Reader>
  static std::size_t read(Reader& reader, std::u16string_view text, std::byte* bytes) {
    std::array<char, 1024> narrow;
    std::size_t written = 0;
    while (!text.empty()) {
      const auto stretch = text.substr(0, narrow.size());
      std::ranges::transform(stretch, narrow.begin(), [](char16_t unit) {
        return static_cast<char>(unit < 0x80 ? unit : 0xFF);
      });
      written += read(
          reader, {narrow.data(), stretch.size()},
          [&](std::size_t index) { return stretch[index]; }, bytes + written);
      text.remove_prefix(stretch.size());
    }
    return written;
  }

 private:
  /// A run that was shorter than this is followed by a stretch without vectors.
  static constexpr std::size_t kShortRun = 8;
  static constexpr std::size_t kStretch = 64;

  template <class Reader, class CharacterAt>
  static std::size_t read(Reader& reader, std::string_view text, CharacterAt characterAt,
                          std::byte* bytes) {
    std::size_t written = 0;
    std::size_t index = 0;
    while (index < text.size()) {
      std::size_t stretch = 1;
      if (reader.count() % 2 == 0) {
        const std::size_t pairs =
            readHexPairsByVectors(reinterpret_cast<const std::uint8_t*>(text.data() + index),
                                  (text.size() - index) / 2, raw(bytes + written));
        reader.count() += 2 * pairs;
        written += pairs;
        index += 2 * pairs;
        stretch = pairs < kShortRun ? kStretch : 1;
      }
      for (; stretch > 0 && index < text.size(); --stretch, ++index) {
        written += reader.step(characterAt(index), bytes + written);
      }
    }
    return written;
  }
};

void writeHex(std::span<const std::byte> bytes, char* text) noexcept {
  writeHexByVectors(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                    reinterpret_cast<std::uint8_t*>(text));
}

/// By pieces that stay near, since a string must be filled with something before it is written to.
std::string hexText(std::span<const std::byte> bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  std::array<char, 4096> digits;
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), digits.size() / 2));
    writeHex(piece, digits.data());
    text.append(digits.data(), 2 * piece.size());
    bytes = bytes.subspan(piece.size());
  }
  return text;
}

std::size_t HexReader::read(std::string_view text, std::byte* bytes) noexcept {
  return HexRuns::read(*this, text, bytes);
}

std::size_t HexReader::read(std::u16string_view text, std::byte* bytes) noexcept {
  return HexRuns::read(*this, text, bytes);
}

std::size_t HexReader::step(char16_t character, std::byte* bytes) noexcept {
  const std::uint8_t value = hexValueOf(character);
  if (value == kNoHexDigit) {
    return 0;
  }
  if (digits_++ % 2 == 0) {
    firstDigit_ = value;
    return 0;
  }
  *bytes = static_cast<std::byte>(firstDigit_ << 4 | value);
  return 1;
}

std::size_t LenientHexReader::read(std::string_view text, std::byte* bytes) noexcept {
  return HexRuns::read(*this, text, bytes);
}

std::size_t LenientHexReader::read(std::u16string_view text, std::byte* bytes) noexcept {
  return HexRuns::read(*this, text, bytes);
}

std::size_t LenientHexReader::step(char16_t character, std::byte* bytes) noexcept {
  if (character == '\r' || character == '\n' || character == ' ') {
    return 0;
  }
  if (characters_++ % 2 == 0) {
    first_ = character;
    return 0;
  }
  *bytes = static_cast<std::byte>(lenientByte(first_, character));
  return 1;
}

}  // namespace kestova
