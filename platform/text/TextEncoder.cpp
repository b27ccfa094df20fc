// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/TextEncoder.h>
#include <KestovaPlatform/UTF8.h>

#include "text/CharacterEncoder.h"

#include <unicode/utf16.h>

namespace kestova {

TextEncoder::TextEncoder(std::unique_ptr<CharacterEncoder> characters)
    : characters_(std::move(characters)) {}
TextEncoder::TextEncoder(TextEncoder&&) noexcept = default;
TextEncoder& TextEncoder::operator=(TextEncoder&&) noexcept = default;
TextEncoder::~TextEncoder() = default;

std::optional<TextEncoder> TextEncoder::encoderForEncoding(CFStringEncoding encoding) {
  auto characters = makeCharacterEncoder(encoding);
  return characters != nullptr ? std::optional(TextEncoder(std::move(characters))) : std::nullopt;
}

TextEncoder TextEncoder::clone() const { return TextEncoder(characters_->clone()); }

EncodedPiece TextEncoder::encode(std::u16string_view all, std::span<char> buffer, TextInput input) {
  // No unit takes less than a byte: what lies beyond is not looked at before there is room for it.
  const auto units = all.substr(0, buffer.size());
  const bool isCut = units.size() < all.size();
  const std::size_t length = wellFormedLengthOfUTF16(units);
  EncodedPiece done = characters_->encode(units.substr(0, length), buffer);
  if (done.end != ConversionEnd::kInputUsed) {
    return done;
  }
  const bool mayGoOn =
      length == units.size() || (length + 1 == units.size() && U16_IS_LEAD(units[length]) &&
                                 (isCut || input == TextInput::kGoesOn));
  if (mayGoOn) {
    done.end = isCut ? ConversionEnd::kBufferFull : ConversionEnd::kInputUsed;
    return done;
  }
  return {length + 1, done.bytesWritten, ConversionEnd::kRefused, 1};
}

std::size_t TextEncoder::close(std::span<char> buffer) { return characters_->close(buffer); }

}  // namespace kestova
