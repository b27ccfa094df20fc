// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringCodecAdditions.h>
#include <KestovaPlatform/Base32Coding.h>
#include <KestovaPlatform/HexCoding.h>

#include "Additions/DataBytes.h"
#include "Additions/HexData.h"

#include <string_view>

namespace kestova {
namespace {

Ref<NSData> readBase32(std::string_view text) {
  const auto bytes = NSMutableData::data();
  Base32Reader reader;
  const Base32Piece piece = reader.read(text, bytes->extend(text.size() / 8 * 5 + 5));
  bytes->setLength(piece.bytesWritten);
  return piece.charactersRead == text.size() ? NSData::taking(*bytes) : nullptr;
}

}  // namespace

inline namespace NSString_HexAdditions {

Ref<NSData> dataFromHexString(const Ref<NSString>& self) {
  LenientHexReader reader;
  return readHex(self, reader, [&] { return reader.characters(); });
}

}  // namespace NSString_HexAdditions

inline namespace NSString_Base32Additions {

Ref<NSString> stringFromBase32Data(const Ref<NSData>& data) {
  return NSString::stringWithEightBitStorage(base32Text(bytesOf(data)));
}

/// Characters of one byte become no longer, and the reader knows both their cases.
Ref<NSData> base32Data(const Ref<NSString>& self) {
  if (self->isEightBit()) {
    return readBase32({self->eightBitCharacters(), self->length()});
  }
  const auto text = self->uppercaseString()->UTF8String();
  return text ? readBase32(std::string_view(*text).substr(0, self->length())) : nullptr;
}

}  // namespace NSString_Base32Additions

}  // namespace kestova
