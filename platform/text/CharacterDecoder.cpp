// SPDX-License-Identifier: Apache-2.0
#include "text/CharacterDecoder.h"

#include <KestovaPlatform/UTF8.h>

#include "text/Converter.h"
#include "text/StringEncodings.h"
#include "text/UnitOrder.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace kestova {
namespace {

/// As much of the input as the buffer is sure to have a use for, so that a small buffer does not
/// have the rest looked at over and over.
struct UsefulInput {
  UsefulInput(std::string_view all, std::size_t limit, TextInput input)
      : bytes(all.substr(0, limit)), isCut(bytes.size() < all.size()), input(input) {}

  /// Whether more bytes follow.
  bool goesOn() const { return isCut || input == TextInput::kGoesOn; }

  /// Ends a step behind which only part of a character is left.
  ConversionEnd end() const {
    return isCut ? ConversionEnd::kBufferFull : ConversionEnd::kInputUsed;
  }

  std::string_view bytes;
  bool isCut;
  TextInput input;
};

DecodedPiece refused(DecodedPiece done, std::size_t length) {
  done.bytesRead += length;
  done.end = ConversionEnd::kRefused;
  done.refusedBytes = length;
  return done;
}

class UTF8Decoder final : public CharacterDecoder {
 public:
  DecodedPiece decode(std::string_view all, std::span<char16_t> buffer, TextInput input) override {
    const UsefulInput useful(all, 3 * buffer.size(), input);
    const std::size_t length = wellFormedLengthOfUTF8(useful.bytes);
    const UTF16Piece piece = writeUTF16(useful.bytes.substr(0, length), buffer);
    const DecodedPiece done{piece.bytesRead, piece.unitsWritten, useful.end()};
    if (piece.bytesRead < length) {
      return {piece.bytesRead, piece.unitsWritten, ConversionEnd::kBufferFull};
    }
    const bool isCut = withoutCutCharacter(useful.bytes).size() == length;
    if (length == useful.bytes.size() || (isCut && useful.goesOn())) {
      return done;
    }
    std::size_t next = length;
    [[maybe_unused]] UChar32 none;
    U8_NEXT(all.data(), next, all.size(), none);
    return refused(done, next - length);
  }
};

class UTF16Decoder final : public CharacterDecoder {
 public:
  explicit UTF16Decoder(std::endian order) : order_(order) {}

  DecodedPiece decode(std::string_view all, std::span<char16_t> buffer, TextInput input) override {
    const UsefulInput useful(all, sizeof(char16_t) * buffer.size(), input);
    const std::size_t length = wellFormedLengthOfUTF16(useful.bytes, order_);
    copyUnits(useful.bytes, length, order_, buffer.data());
    const DecodedPiece done{sizeof(char16_t) * length, length, useful.end()};
    const std::size_t rest = useful.bytes.size() - done.bytesRead;
    const bool mayGoOn =
        rest < sizeof(char16_t) ||
        (rest < 2 * sizeof(char16_t) && U16_IS_LEAD(unitAt(useful.bytes, length, order_)));
    return rest == 0 || (mayGoOn && useful.goesOn())
               ? done
               : refused(done, std::min(rest, sizeof(char16_t)));
  }

 private:
  std::endian order_;
};

class UTF32Decoder final : public CharacterDecoder {
 public:
  explicit UTF32Decoder(std::endian order) : order_(order) {}

  DecodedPiece decode(std::string_view bytes, std::span<char16_t> buffer,
                      TextInput input) override {
    DecodedPiece done;
    for (; bytes.size() - done.bytesRead >= sizeof(char32_t); done.bytesRead += sizeof(char32_t)) {
      const char32_t character = characterAt(bytes, done.bytesRead, order_);
      if (character > 0x10FFFF || U_IS_SURROGATE(character)) {
        return refused(done, sizeof(char32_t));
      }
      if (buffer.size() - done.unitsWritten < 2) {
        done.end = ConversionEnd::kBufferFull;
        return done;
      }
      U16_APPEND_UNSAFE(buffer.data(), done.unitsWritten, character);
    }
    const std::size_t rest = bytes.size() - done.bytesRead;
    return rest == 0 || input == TextInput::kGoesOn ? done : refused(done, rest);
  }

 private:
  std::endian order_;
};

class ConverterDecoder final : public CharacterDecoder {
 public:
  explicit ConverterDecoder(Converter converter) : converter_(std::move(converter)) {}

  DecodedPiece decode(std::string_view all, std::span<char16_t> buffer, TextInput input) override {
    const UsefulInput useful(all, kMostAtOnce, input);
    const auto room = buffer.first(std::min(buffer.size(), kMostAtOnce));
    auto restOfBytes = useful.bytes;
    auto restOfRoom = room;
    const UErrorCode error = converter_.decode(restOfBytes, restOfRoom, !useful.goesOn());
    DecodedPiece done{useful.bytes.size() - restOfBytes.size(), room.size() - restOfRoom.size(),
                      useful.end()};
    if (error == U_BUFFER_OVERFLOW_ERROR) {
      done.end = ConversionEnd::kBufferFull;
    } else if (U_FAILURE(error)) {
      done.end = ConversionEnd::kRefused;
      done.refusedBytes = converter_.refusedBytes();
    }
    return done;
  }

 private:
  static constexpr std::size_t kMostAtOnce = std::size_t{1} << 20;  // ICU counts with 32 bits

  Converter converter_;
};

std::unique_ptr<CharacterDecoder> makeConverterDecoder(CFStringEncoding encoding) {
  auto converter = openConverter(encoding);
  return converter ? std::make_unique<ConverterDecoder>(std::move(*converter)) : nullptr;
}

}  // namespace

std::unique_ptr<CharacterDecoder> makeCharacterDecoder(CFStringEncoding encoding,
                                                       std::endian order) {
  switch (formOfEncoding(encoding)) {
    case EncodingForm::kUTF8:
      return std::make_unique<UTF8Decoder>();
    case EncodingForm::kUTF16:
      return std::make_unique<UTF16Decoder>(order);
    case EncodingForm::kUTF32:
      return std::make_unique<UTF32Decoder>(order);
    case EncodingForm::kConverter:
      return makeConverterDecoder(encoding);
  }
  return nullptr;
}

}  // namespace kestova
