// SPDX-License-Identifier: Apache-2.0
// Any bytes in any encoding: they decode or are refused, and the text that they are is the same
// after being encoded and decoded again. The guess is an encoding in which they decode, and the
// same however the bytes are cut. The first byte chooses the encoding, the second one the cuts.
#include <KestovaFoundation/Additions/NSStringEncodingStuff.h>
#include <KestovaFoundation/OVStringEncodingGuess.h>
#include <KestovaPlatform/TextDecoder.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>

using namespace kestova;

namespace {

using Bytes = std::span<const std::uint8_t>;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

std::optional<std::u16string> decodedInPieces(Bytes bytes, CFStringEncoding encoding,
                                              std::size_t pieceSize) {
  auto decoder = TextDecoder::decoderForEncoding(encoding, LeadingMark::kIsNotPartOfText);
  std::array<char16_t, 16> units;
  std::u16string text;
  std::size_t read = 0;
  std::size_t given = 0;
  while (true) {
    const std::string_view piece(reinterpret_cast<const char*>(bytes.data()) + read, given - read);
    const auto input = given == bytes.size() ? TextInput::kEnds : TextInput::kGoesOn;
    const DecodedPiece done = decoder->decode(piece, units, input);
    read += done.bytesRead;
    require(read <= given && done.refusedBytes <= read);
    text.append(units.data(), done.unitsWritten);
    if (done.end == ConversionEnd::kRefused) {
      return std::nullopt;
    }
    if (done.end == ConversionEnd::kInputUsed) {
      if (given == bytes.size()) {
        return text;
      }
      given = std::min(given + pieceSize, bytes.size());
    }
  }
}

void checkEncoding(Bytes bytes, CFStringEncoding encoding, std::size_t pieceSize) {
  const auto text = CFStringCreateWithBytes(bytes.data(), bytes.size(), encoding, true);
  const auto pieces = decodedInPieces(bytes, encoding, pieceSize);
  require((text != nullptr) == pieces.has_value());
  if (!text) {
    return;
  }
  require(text == std::u16string_view(*pieces));
  const auto encoded = dataUsingCFStringEncoding_addBOM(text, encoding, false);
  const auto again = CFStringCreateWithBytes(
      reinterpret_cast<const std::uint8_t*>(encoded->bytes()), encoded->length(), encoding, false);
  require(again != nullptr && text->hasPrefix(again));
}

void checkGuess(Bytes bytes, std::size_t pieceSize) {
  const auto data = NSData::dataWithBytes_length(bytes.data(), bytes.size());
  const CFStringEncoding guessed = guessStringEncodingForData(data);
  OVStringEncodingGuess guess;
  for (std::size_t index = 0; index < bytes.size(); index += pieceSize) {
    const auto piece = bytes.subspan(index, std::min(pieceSize, bytes.size() - index));
    const bool wasSettled = guess.isSettled();
    const CFStringEncoding before = guess.encoding();
    guess.addBytes(std::as_bytes(piece));
    require(!wasSettled || guess.encoding() == before);
  }
  require(guess.encoding() == guessed);
  const bool isMarked = quicklyGuessStringEncodingForData(data) != kCFStringEncodingInvalidId;
  require(isMarked ||
          stringWithData_encoding(data, CFStringConvertEncodingToNSStringEncoding(guessed)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const auto encodings = CFStringGetListOfAvailableEncodings();
  const Bytes input(bytes + 2, size - 2);
  checkEncoding(input, encodings[bytes[0] % encodings.size()], 1 + bytes[1] % 8);
  checkGuess(input, 1 + bytes[1] % 8);
  return 0;
}
