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

EncodedPiece TextEncoder::encode(std::u16string_view units, std::span<char> buffer,
                                 TextInput input) {
  EncodedPiece done;
  bool isLast = false;
  while (done.end == ConversionEnd::kInputUsed && !isLast) {
    const auto rest = units.substr(done.unitsRead);
    isLast = rest.size() <= kBlock;
    const EncodedPiece block =
        encodeBlock(rest.substr(0, kBlock), buffer.subspan(done.bytesWritten),
                    isLast ? input : TextInput::kGoesOn);
    done = {done.unitsRead + block.unitsRead, done.bytesWritten + block.bytesWritten, block.end,
            block.refusedUnits};
  }
  return done;
}

EncodedPiece TextEncoder::encodeBlock(std::u16string_view units, std::span<char> buffer,
                                      TextInput input) {
  const std::size_t length = wellFormedLengthOfUTF16(units);
  const EncodedPiece done = characters_->encode(units.substr(0, length), buffer);
  const bool isCut =
      length + 1 == units.size() && U16_IS_LEAD(units[length]) && input == TextInput::kGoesOn;
  if (done.end != ConversionEnd::kInputUsed || length == units.size() || isCut) {
    return done;
  }
  return {length + 1, done.bytesWritten, ConversionEnd::kRefused, 1};
}

std::size_t TextEncoder::close(std::span<char> buffer) { return characters_->close(buffer); }

}  // namespace kestova
