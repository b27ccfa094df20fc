// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/TextDecoder.h>
#include <KestovaPlatform/TextEncoder.h>
#include <KestovaPlatform/UTF8.h>

#include "text/StringEncodings.h"
#include "text/TextStorage.h"
#include "values/RangeCheck.h"

#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace kestova {
namespace {

/// Where encoded bytes go, which may have room for so many only.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual std::size_t room() const { return std::numeric_limits<std::size_t>::max(); }
  virtual void add(std::string_view bytes) = 0;
};

class ByteCounter final : public ByteSink {
 public:
  void add(std::string_view bytes) override { count_ += bytes.size(); }
  std::size_t count() const { return count_; }

 private:
  std::size_t count_ = 0;
};

class BufferSink final : public ByteSink {
 public:
  explicit BufferSink(std::span<char> buffer) : rest_(buffer) {}
  std::size_t room() const override { return rest_.size(); }
  void add(std::string_view bytes) override {
    std::copy(bytes.begin(), bytes.end(), rest_.begin());
    rest_ = rest_.subspan(bytes.size());
  }

 private:
  std::span<char> rest_;
};

class DataSink final : public ByteSink {
 public:
  void add(std::string_view bytes) override {
    data_->appendBytes_length(bytes.data(), bytes.size());
  }
  const Ref<NSMutableData>& data() const { return data_; }

 private:
  Ref<NSMutableData> data_ = NSMutableData::data();
};

/// Encodes characters as long as they fit into a sink together with the closing that they need.
class FittingEncoder {
 public:
  FittingEncoder(TextEncoder encoder, ByteSink& sink) : encoder_(std::move(encoder)), sink_(sink) {}

  /// Bytes that were written are with the sink; `bytesWritten` says nothing.
  EncodedPiece encode(std::u16string_view units) {
    EncodedPiece all;
    std::size_t limit = kPiece;
    while (all.end == ConversionEnd::kInputUsed && all.unitsRead < units.size()) {
      if (tryPiece(pieceOf(units.substr(all.unitsRead), limit), all)) {
        continue;
      }
      if (limit == 1) {
        all.end = ConversionEnd::kBufferFull;
      }
      limit = std::max<std::size_t>(limit / 2, 1);
    }
    return all;
  }

  void close() { sink_.add({bytes_.data(), encoder_.close(bytes_)}); }

 private:
  static constexpr std::size_t kPiece = 1024;

  /// At most `limit` units, and at least a whole character.
  static std::u16string_view pieceOf(std::u16string_view units, std::size_t limit) {
    auto piece = units.substr(0, limit);
    const bool cutsPair = piece.size() < units.size() && U16_IS_LEAD(piece.back()) &&
                          U16_IS_TRAIL(units[piece.size()]);
    return cutsPair ? units.substr(0, piece.size() == 1 ? 2 : piece.size() - 1) : piece;
  }

  /// Encodes a piece unless that takes more room than there is.
  bool tryPiece(std::u16string_view piece, EncodedPiece& all) {
    const bool isSureToFit = sink_.room() >= bytes_.size() + TextEncoder::kRoom;
    auto before = isSureToFit ? std::nullopt : std::optional(encoder_.clone());
    const EncodedPiece done = encoder_.encode(piece, bytes_, TextInput::kEnds);
    if (before && !fits(done.bytesWritten)) {
      encoder_ = std::move(*before);
      return false;
    }
    sink_.add({bytes_.data(), done.bytesWritten});
    all.unitsRead += done.unitsRead;
    all.refusedUnits = done.refusedUnits;
    all.end = done.end == ConversionEnd::kRefused ? done.end : ConversionEnd::kInputUsed;
    return true;
  }

  bool fits(std::size_t size) const {
    std::array<char, TextEncoder::kRoom> closing;
    return sink_.room() >= size && sink_.room() - size >= encoder_.clone().close(closing);
  }

  TextEncoder encoder_;
  ByteSink& sink_;
  std::array<char, 8 * kPiece + TextEncoder::kRoom> bytes_;
};

/// How a range of a string is to be encoded.
struct Encoding {
  CFStringEncoding encoding;
  char lossByte = 0;
  bool isExternal = false;
};

/// Encodes whole text as long as it fits; a refused character becomes the loss byte where there is
/// one. Answers how many units were converted.
std::size_t encodeUnits(FittingEncoder& encoder, std::u16string_view units, char lossByte) {
  std::size_t read = 0;
  while (read < units.size()) {
    const EncodedPiece done = encoder.encode(units.substr(read));
    read += done.unitsRead - done.refusedUnits;
    const auto loss = static_cast<char16_t>(static_cast<unsigned char>(lossByte));
    const bool isReplaced = done.end == ConversionEnd::kRefused && lossByte != 0 &&
                            encoder.encode({&loss, 1}).end == ConversionEnd::kInputUsed;
    if (!isReplaced) {
      break;
    }
    read += done.refusedUnits;
  }
  return read;
}

/// The same of the 8-bit storage, which is widened a piece at a time.
std::size_t encodeUnits(FittingEncoder& encoder, std::string_view ascii, char lossByte) {
  std::array<char16_t, 1024> units;
  std::size_t read = 0;
  while (read < ascii.size()) {
    const auto piece = ascii.substr(read, units.size());
    std::copy(piece.begin(), piece.end(), units.begin());
    const auto count = encodeUnits(encoder, {units.data(), piece.size()}, lossByte);
    read += count;
    if (count < piece.size()) {
      break;
    }
  }
  return read;
}

/// What 8-bit storage holds is the same bytes in every encoding that extends ASCII.
std::size_t copyASCII(std::string_view ascii, ByteSink& sink) {
  const std::size_t count = std::min(ascii.size(), sink.room());
  sink.add(ascii.substr(0, count));
  return count;
}

/// Answers how many units were converted; nothing when the encoding is not available.
std::optional<std::size_t> encodeRange(const NSString& string, NSRange range, const Encoding& how,
                                       ByteSink& sink) {
  auto encoder = TextEncoder::encoderForEncoding(how.encoding);
  if (!encoder) {
    return std::nullopt;
  }
  if (string.isEightBit() && extendsASCII(how.encoding)) {
    return copyASCII({string.eightBitCharacters() + range.location, range.length}, sink);
  }
  FittingEncoder fitting(std::move(*encoder), sink);
  if (how.isExternal && leavesByteOrderOpen(how.encoding)) {
    fitting.encode(u"\uFEFF");
  }
  const auto count = withUnits(string, [&](auto units) {
    return encodeUnits(fitting, units.substr(range.location, range.length), how.lossByte);
  });
  fitting.close();
  return count;
}

Ref<NSString> stringOf(std::u16string units) {
  return isASCII(units) ? NSString::stringWithCharacters_length(units.data(), units.size())
                        : NSString::stringWithUTF16Storage(std::move(units));
}

Ref<NSString> decodeWith(TextDecoder decoder, std::string_view bytes) {
  std::u16string units;
  std::array<char16_t, 4096> buffer;
  DecodedPiece piece;
  do {
    piece = decoder.decode(bytes, buffer, TextInput::kEnds);
    units.append(buffer.data(), piece.unitsWritten);
    bytes.remove_prefix(piece.bytesRead);
  } while (piece.end == ConversionEnd::kBufferFull);
  return piece.end == ConversionEnd::kInputUsed ? stringOf(std::move(units)) : nullptr;
}

Ref<NSString> decode(std::string_view bytes, CFStringEncoding encoding, LeadingMark mark) {
  auto decoder = TextDecoder::decoderForEncoding(encoding, mark);
  if (!decoder) {
    return nullptr;
  }
  if (extendsASCII(encoding) && isASCII(bytes)) {
    return NSString::stringWithUTF8String(bytes);
  }
  if (encoding == kCFStringEncodingUTF8) {
    const auto bom = byteOrderMarkOfEncoding(encoding);
    const bool isMarked = mark != LeadingMark::kIsCharacter && bytes.starts_with(bom);
    return NSString::stringWithUTF8String(bytes.substr(isMarked ? bom.size() : 0));
  }
  return decodeWith(std::move(*decoder), bytes);
}

std::string_view viewOf(const void* bytes, NSUInteger length) {
  return {static_cast<const char*>(bytes), length};
}

NSRange wholeOf(const NSString& string) { return {0, string.length()}; }

}  // namespace

NSUInteger CFStringGetBytes(const Ref<NSString>& string, NSRange range, CFStringEncoding encoding,
                            std::uint8_t lossByte, bool isExternalRepresentation,
                            std::uint8_t* buffer, NSUInteger maxBufLen, NSUInteger* usedBufLen) {
  if (!string) {
    throw NSException(NSInvalidArgumentException, "CFStringGetBytes: there is no string");
  }
  checkRange(*string, "CFStringGetBytes", range, string->length());
  const Encoding how{encoding, static_cast<char>(lossByte), isExternalRepresentation};
  ByteCounter counter;
  BufferSink sink({reinterpret_cast<char*>(buffer), buffer == nullptr ? 0 : maxBufLen});
  ByteSink& target = buffer == nullptr ? static_cast<ByteSink&>(counter) : sink;
  const auto count = encodeRange(*string, range, how, target);
  if (usedBufLen != nullptr) {
    *usedBufLen = buffer == nullptr ? counter.count() : maxBufLen - sink.room();
  }
  return count.value_or(0);
}

Ref<NSString> CFStringCreateWithBytes(const std::uint8_t* bytes, NSUInteger numBytes,
                                      CFStringEncoding encoding, bool isExternalRepresentation) {
  return decode(
      viewOf(bytes, numBytes), encoding,
      isExternalRepresentation ? LeadingMark::kIsNotPartOfText : LeadingMark::kIsCharacter);
}

Ref<NSString> NSString::initWithBytes_length_encoding(const void* bytes, NSUInteger length,
                                                      NSStringEncoding encoding) {
  return decode(viewOf(bytes, length), CFStringConvertNSStringEncodingToEncoding(encoding),
                LeadingMark::kTellsOrder);
}

Ref<NSString> NSString::initWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding) {
  return data ? initWithBytes_length_encoding(data->bytes(), data->length(), encoding) : nullptr;
}

Ref<NSData> NSString::dataUsingEncoding(NSStringEncoding encoding) const {
  return dataUsingEncoding_allowLossyConversion(encoding, false);
}

Ref<NSData> NSString::dataUsingEncoding_allowLossyConversion(NSStringEncoding encoding,
                                                             bool allowsLoss) const {
  const Encoding how{CFStringConvertNSStringEncodingToEncoding(encoding), allowsLoss ? '?' : '\0',
                     true};
  DataSink sink;
  return encodeRange(*this, wholeOf(*this), how, sink) == length() ? sink.data() : nullptr;
}

bool NSString::canBeConvertedToEncoding(NSStringEncoding encoding) const {
  const Encoding how{CFStringConvertNSStringEncodingToEncoding(encoding)};
  ByteCounter counter;
  return encodeRange(*this, wholeOf(*this), how, counter) == length();
}

NSUInteger NSString::lengthOfBytesUsingEncoding(NSStringEncoding encoding) const {
  const Encoding how{CFStringConvertNSStringEncodingToEncoding(encoding)};
  ByteCounter counter;
  return encodeRange(*this, wholeOf(*this), how, counter) == length() ? counter.count() : 0;
}

}  // namespace kestova
