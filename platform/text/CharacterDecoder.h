// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/TextConversion.h>

#include <bit>
#include <memory>
#include <span>
#include <string_view>

namespace kestova {

/// What TextDecoder does behind a byte-order mark, on the same terms.
class CharacterDecoder {
 public:
  virtual ~CharacterDecoder() = default;
  virtual DecodedPiece decode(std::string_view bytes, std::span<char16_t> buffer,
                              TextInput input) = 0;
};

/// `order` matters to UTF-16 and UTF-32 alone. Null when the encoding is not available.
std::unique_ptr<CharacterDecoder> makeCharacterDecoder(CFStringEncoding encoding,
                                                       std::endian order);

}  // namespace kestova
