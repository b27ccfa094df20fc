// SPDX-License-Identifier: Apache-2.0
#include "text/CharacterEncoder.h"

#include <KestovaPlatform/UTF8.h>

#include "text/Converter.h"
#include "text/StringEncodings.h"
#include "text/UnitOrder.h"

#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace kestova {
namespace {

ConversionEnd endOf(bool isAllRead) {
  return isAllRead ? ConversionEnd::kInputUsed : ConversionEnd::kBufferFull;
}

/// An encoder without any state, for a form of Unicode.
template <class Form>
class UnicodeEncoder final : public CharacterEncoder {
 public:
  explicit UnicodeEncoder(Form form) : form_(form) {}

  std::unique_ptr<CharacterEncoder> clone() const override {
    return std::make_unique<UnicodeEncoder>(form_);
  }
  EncodedPiece encode(std::u16string_view wellFormed, std::span<char> buffer) override {
    EncodedPiece done = form_.encode(wellFormed, buffer);
    done.end = endOf(done.unitsRead == wellFormed.size());
    return done;
  }
  std::size_t close(std::span<char>) override { return 0; }

 private:
  Form form_;
};

struct UTF8Form {
  EncodedPiece encode(std::u16string_view units, std::span<char> buffer) const {
    const UTF8Piece piece = writeUTF8(units, buffer);
    return {piece.unitsRead, piece.bytesWritten};
  }
};

struct UTF16Form {
  EncodedPiece encode(std::u16string_view units, std::span<char> buffer) const {
    std::size_t count = std::min(units.size(), buffer.size() / sizeof(char16_t));
    if (count > 0 && U16_IS_LEAD(units[count - 1])) {
      --count;
    }
    if (order == std::endian::native && count > 0) {
      std::memcpy(buffer.data(), units.data(), count * sizeof(char16_t));
      return {count, count * sizeof(char16_t)};
    }
    for (std::size_t i = 0; i < count; ++i) {
      const char16_t unit = inOrder(units[i], order);
      std::memcpy(buffer.data() + i * sizeof unit, &unit, sizeof unit);
    }
    return {count, count * sizeof(char16_t)};
  }
  std::endian order;
};

struct UTF32Form {
  EncodedPiece encode(std::u16string_view units, std::span<char> buffer) const {
    EncodedPiece done;
    while (done.unitsRead < units.size() && buffer.size() - done.bytesWritten >= sizeof(char32_t)) {
      UChar32 character;
      U16_NEXT_UNSAFE(units.data(), done.unitsRead, character);
      const char32_t value = inOrder(static_cast<char32_t>(character), order);
      std::memcpy(buffer.data() + done.bytesWritten, &value, sizeof value);
      done.bytesWritten += sizeof value;
    }
    return done;
  }
  std::endian order;
};

bool isPrivate(char16_t unit) {
  constexpr char16_t kFirstLeadOfPrivatePlanes = 0xDB80;
  return (unit >= 0xE000 && unit <= 0xF8FF) ||
         (U16_IS_LEAD(unit) && unit >= kFirstLeadOfPrivatePlanes);
}

class ConverterEncoder final : public CharacterEncoder {
 public:
  explicit ConverterEncoder(Converter converter)
      : converter_(std::move(converter)), maximumSize_(converter_.maximumSize()) {}

  std::unique_ptr<CharacterEncoder> clone() const override {
    auto result = std::make_unique<ConverterEncoder>(converter_.clone());
    result->hasWritten_ = hasWritten_;
    return result;
  }

  EncodedPiece encode(std::u16string_view wellFormed, std::span<char> buffer) override {
    EncodedPiece done;
    while (done.end == ConversionEnd::kInputUsed && done.unitsRead < wellFormed.size()) {
      const auto piece =
          nextPiece(wellFormed.substr(done.unitsRead), buffer.size() - done.bytesWritten);
      if (piece.empty()) {
        done.end = ConversionEnd::kBufferFull;
      } else {
        encodePiece(piece, buffer, done);
      }
    }
    return done;
  }

  /// ICU would put the header of ISO-2022-KR into an empty text as well.
  std::size_t close(std::span<char> buffer) override {
    if (!hasWritten_) {
      return 0;
    }
    std::u16string_view none;
    auto rest = buffer;
    converter_.encode(none, rest, true);
    return buffer.size() - rest.size();
  }

 private:
  /// The characters to convert next, for all of which there is room. Those for private use come one
  /// by one.
  std::u16string_view nextPiece(std::u16string_view units, std::size_t room) const {
    constexpr std::size_t kUnitsOwed = 10;  // what ICU may have to write besides, in units
    const std::size_t fitting = room / maximumSize_;
    const std::size_t limit = std::min(fitting - std::min(fitting, kUnitsOwed), Converter::kPiece);
    auto piece = units.substr(0, limit);
    if (!piece.empty() && U16_IS_LEAD(piece.back())) {
      piece.remove_suffix(1);
    }
    const auto found = std::find_if(piece.begin(), piece.end(), isPrivate);
    const auto ordinary = static_cast<std::size_t>(found - piece.begin());
    return ordinary > 0 ? piece.substr(0, ordinary)
                        : piece.substr(0, !piece.empty() && U16_IS_LEAD(piece[0]) ? 2 : 1);
  }

  void encodePiece(std::u16string_view piece, std::span<char> buffer, EncodedPiece& done) {
    auto rest = piece;
    auto room = buffer.subspan(done.bytesWritten);
    const bool isLost = isPrivate(piece[0]) && !comesBack(piece);
    const bool isRefused = isLost || U_FAILURE(converter_.encode(rest, room, false));
    done.bytesWritten = buffer.size() - room.size();
    hasWritten_ = hasWritten_ || done.bytesWritten > 0 || !isRefused;
    done.unitsRead += isLost ? piece.size() : piece.size() - rest.size();
    if (isRefused) {
      done.end = ConversionEnd::kRefused;
      done.refusedUnits = isLost ? piece.size() : converter_.refusedUnits();
    }
  }

  /// Whether a character is the same when it is decoded again. Some characters for private use
  /// stand for characters that Unicode took in later, and come back as these.
  bool comesBack(std::u16string_view character) const {
    std::array<char, 64> bytes;
    std::array<char16_t, 8> units;
    Converter probe = converter_.clone();
    probe.reset();
    auto rest = character;
    std::span<char> room(bytes);
    if (U_FAILURE(probe.encode(rest, room, true))) {
      return false;
    }
    std::string_view encoded(bytes.data(), bytes.size() - room.size());
    std::span<char16_t> roomForUnits(units);
    probe.decode(encoded, roomForUnits, true);
    return std::u16string_view(units.data(), units.size() - roomForUnits.size()) == character;
  }

  Converter converter_;
  std::size_t maximumSize_;
  bool hasWritten_ = false;
};

template <class Form>
std::unique_ptr<CharacterEncoder> makeEncoder(Form form) {
  return std::make_unique<UnicodeEncoder<Form>>(form);
}

std::unique_ptr<CharacterEncoder> makeConverterEncoder(CFStringEncoding encoding) {
  auto converter = openConverter(encoding);
  return converter ? std::make_unique<ConverterEncoder>(std::move(*converter)) : nullptr;
}

}  // namespace

std::unique_ptr<CharacterEncoder> makeCharacterEncoder(CFStringEncoding encoding) {
  switch (formOfEncoding(encoding)) {
    case EncodingForm::kUTF8:
      return makeEncoder(UTF8Form{});
    case EncodingForm::kUTF16:
      return makeEncoder(UTF16Form{byteOrderOfEncoding(encoding)});
    case EncodingForm::kUTF32:
      return makeEncoder(UTF32Form{byteOrderOfEncoding(encoding)});
    case EncodingForm::kConverter:
      return makeConverterEncoder(encoding);
  }
  return nullptr;
}

}  // namespace kestova
