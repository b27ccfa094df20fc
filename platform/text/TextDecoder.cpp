// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/TextDecoder.h>

#include "text/CharacterDecoder.h"
#include "text/StringEncodings.h"

#include <vector>

namespace kestova {
namespace {

/// The encodings whose mark at the front is no part of a text.
std::vector<CFStringEncoding> markedEncodings(CFStringEncoding encoding, LeadingMark mark) {
  if (mark == LeadingMark::kIsCharacter) {
    return {};
  }
  switch (encoding) {
    case kCFStringEncodingUTF8:
      return {encoding};
    case kCFStringEncodingUTF16:
      return {kCFStringEncodingUTF16BE, kCFStringEncodingUTF16LE};
    case kCFStringEncodingUTF32:
      return {kCFStringEncodingUTF32BE, kCFStringEncodingUTF32LE};
    default:
      return mark == LeadingMark::kIsNotPartOfText ? std::vector{encoding}
                                                   : std::vector<CFStringEncoding>();
  }
}

}  // namespace

TextDecoder::TextDecoder(CFStringEncoding encoding, LeadingMark mark)
    : encoding_(encoding),
      mark_(mark),
      characters_(makeCharacterDecoder(encoding, byteOrderOfEncoding(encoding))) {}
TextDecoder::TextDecoder(TextDecoder&&) noexcept = default;
TextDecoder& TextDecoder::operator=(TextDecoder&&) noexcept = default;
TextDecoder::~TextDecoder() = default;

std::optional<TextDecoder> TextDecoder::decoderForEncoding(CFStringEncoding encoding,
                                                           LeadingMark mark) {
  TextDecoder decoder(encoding, mark);
  return decoder.characters_ != nullptr ? std::optional(std::move(decoder)) : std::nullopt;
}

std::optional<std::size_t> TextDecoder::skipMark(std::string_view bytes, TextInput input) {
  for (const CFStringEncoding marked : markedEncodings(encoding_, mark_)) {
    const std::string_view mark = byteOrderMarkOfEncoding(marked);
    if (bytes.starts_with(mark)) {
      characters_ = makeCharacterDecoder(encoding_, byteOrderOfEncoding(marked));
      return mark.size();
    }
    if (mark.starts_with(bytes) && input == TextInput::kGoesOn) {
      return std::nullopt;
    }
  }
  return 0;
}

DecodedPiece TextDecoder::decode(std::string_view bytes, std::span<char16_t> buffer,
                                 TextInput input) {
  std::size_t markLength = 0;
  if (!isBegun_) {
    const auto length = skipMark(bytes, input);
    if (!length) {
      return {};
    }
    markLength = *length;
    isBegun_ = true;
  }
  DecodedPiece piece = characters_->decode(bytes.substr(markLength), buffer, input);
  piece.bytesRead += markLength;
  return piece;
}

}  // namespace kestova
