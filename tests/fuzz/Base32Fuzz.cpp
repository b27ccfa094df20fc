// SPDX-License-Identifier: Apache-2.0
// Bytes come back from their symbols, and any text reads as a plain loop over it does, in pieces
// too.
#include <KestovaFoundation/Additions/NSStringCodecAdditions.h>
#include <KestovaPlatform/Base32Coding.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace kestova;

namespace {

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

struct PlainReading {
  std::vector<std::byte> bytes;
  std::size_t charactersRead = 0;
};

PlainReading plainReading(std::string_view text) {
  constexpr std::string_view kSymbols = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
  PlainReading reading;
  unsigned bits = 0;
  unsigned count = 0;
  for (; reading.charactersRead < text.size(); ++reading.charactersRead) {
    const char c = text[reading.charactersRead];
    const char upper = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    const std::size_t value = kSymbols.find(upper);
    if (value == std::string_view::npos) {
      if (std::string_view("\n\r -").find(c) == std::string_view::npos) {
        break;
      }
      continue;
    }
    bits |= static_cast<unsigned>(value) << count;
    count += 5;
    if (count >= 8) {
      reading.bytes.push_back(static_cast<std::byte>(bits));
      bits >>= 8;
      count -= 8;
    }
  }
  return reading;
}

PlainReading readPieces(std::string_view text, std::size_t pieceSize) {
  Base32Reader reader;
  PlainReading reading;
  while (reading.charactersRead < text.size()) {
    const std::string_view piece = text.substr(reading.charactersRead, pieceSize);
    std::vector<std::byte> room(piece.size() / 8 * 5 + 5);
    const Base32Piece read = reader.read(piece, room.data());
    reading.bytes.insert(reading.bytes.end(), room.data(), room.data() + read.bytesWritten);
    reading.charactersRead += read.charactersRead;
    if (read.charactersRead < piece.size()) {
      break;
    }
  }
  return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto data = NSData::dataWithBytes_length(bytes, size);
  const auto symbols = stringFromBase32Data(data);
  require(symbols->length() == base32Length(size));
  require(data->isEqualToData(base32Data(symbols)));
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  const PlainReading plain = plainReading(text);
  const PlainReading pieces = readPieces(text, size == 0 ? 1 : bytes[0] + std::size_t{1});
  require(pieces.charactersRead == plain.charactersRead && pieces.bytes == plain.bytes);
  const auto string = NSString::stringWithUTF8String(text);
  if (string && string->isEightBit()) {
    const auto read = base32Data(string);
    require((read != nullptr) == (plain.charactersRead == size));
    require(!read || (read->length() == plain.bytes.size()));
  } else if (string) {
    (void)base32Data(string);
  }
  return 0;
}
