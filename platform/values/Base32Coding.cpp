// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Base32Coding.h>

#include "values/Base32Symbols.h"
#include "values/Base32Vectors.h"

#include <algorithm>
#include <array>

namespace kestova {
namespace {

constexpr unsigned kBitsOfSymbol = 5;
constexpr unsigned kBitsOfByte = 8;

auto raw(const auto* bytes) { return reinterpret_cast<const std::uint8_t*>(bytes); }
auto raw(auto* bytes) { return reinterpret_cast<std::uint8_t*>(bytes); }

bool isPassedOver(char character) {
  return character == '\n' || character == '\r' || character == ' ' || character == '-';
}

}  // namespace

void writeBase32(std::span<const std::byte> bytes, char* text) noexcept {
  const std::size_t groups = writeBase32ByVectors(raw(bytes.data()), bytes.size() / 5, raw(text));
  text += 8 * groups;
  std::uint32_t bits = 0;
  unsigned bitCount = 0;
  for (const std::byte byte : bytes.subspan(5 * groups)) {
    bits |= std::to_integer<std::uint32_t>(byte) << bitCount;
    bitCount += kBitsOfByte;
    for (; bitCount >= kBitsOfSymbol; bitCount -= kBitsOfSymbol, bits >>= kBitsOfSymbol) {
      *text++ = kBase32Symbols[bits & 0x1F];
    }
  }
  if (bitCount > 0) {
    *text = kBase32Symbols[bits];
  }
}

/// By pieces that stay near, since a string must be filled with something before it is written to.
std::string base32Text(std::span<const std::byte> bytes) {
  constexpr std::size_t kPiece = 2560;
  std::string text;
  text.reserve(base32Length(bytes.size()));
  std::array<char, base32Length(kPiece)> symbols;
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kPiece));
    writeBase32(piece, symbols.data());
    text.append(symbols.data(), base32Length(piece.size()));
    bytes = bytes.subspan(piece.size());
  }
  return text;
}

/// Vectors take over wherever a group begins; what they leave is read one character at a time.
Base32Piece Base32Reader::read(std::string_view text, std::byte* bytes) noexcept {
  Base32Piece piece;
  while (piece.charactersRead < text.size()) {
    if (bitCount_ == 0) {
      const std::size_t groups = readBase32ByVectors(raw(text.data()) + piece.charactersRead,
                                                     (text.size() - piece.charactersRead) / 8,
                                                     raw(bytes) + piece.bytesWritten);
      piece.charactersRead += 8 * groups;
      piece.bytesWritten += 5 * groups;
    }
    do {
      if (piece.charactersRead == text.size()) {
        return piece;
      }
      const char character = text[piece.charactersRead];
      const std::uint8_t value = kBase32Values[static_cast<std::uint8_t>(character)];
      if (value != kNoBase32Symbol) {
        piece.bytesWritten += step(value, bytes + piece.bytesWritten);
      } else if (!isPassedOver(character)) {
        return piece;
      }
      ++piece.charactersRead;
    } while (bitCount_ != 0);
  }
  return piece;
}

/// Answers how many bytes the value has filled: one or none.
std::size_t Base32Reader::step(std::uint8_t value, std::byte* bytes) noexcept {
  bits_ |= std::uint32_t{value} << bitCount_;
  bitCount_ += kBitsOfSymbol;
  if (bitCount_ < kBitsOfByte) {
    return 0;
  }
  *bytes = static_cast<std::byte>(bits_);
  bits_ >>= kBitsOfByte;
  bitCount_ -= kBitsOfByte;
  return 1;
}

}  // namespace kestova
