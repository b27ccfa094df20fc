// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/TextConversion.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace kestova {

/// What TextEncoder does with well-formed UTF-16, on the same terms.
class CharacterEncoder {
 public:
  virtual ~CharacterEncoder() = default;
  virtual std::unique_ptr<CharacterEncoder> clone() const = 0;
  virtual EncodedPiece encode(std::u16string_view wellFormed, std::span<char> buffer) = 0;
  virtual std::size_t close(std::span<char> buffer) = 0;
};

/// Null when the encoding is not available.
std::unique_ptr<CharacterEncoder> makeCharacterEncoder(CFStringEncoding encoding);

}  // namespace kestova
