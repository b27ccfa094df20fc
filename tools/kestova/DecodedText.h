// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "InputFile.h"

#include <KestovaPlatform/CFStringEncodings.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace kestova::tool {

/// The text of a file, piece by piece, however long it is. A byte-order mark at its front is no
/// part of it.
class DecodedText {
 public:
  /// Takes one piece, of whole characters: bytes where the encoding is UTF-8, units elsewhere.
  struct Visitor {
    std::function<void(std::string_view utf8)> bytes;
    std::function<void(std::u16string_view units)> units;
  };

  /// The file is read from where it stands. The encoding is available.
  DecodedText(InputFile& file, CFStringEncoding encoding) : file_(file), encoding_(encoding) {}

  /// Answers where the first byte stands that is no part of the encoding, or nothing when there is
  /// none. The pieces before it have been visited then.
  std::optional<std::uint64_t> visit(const Visitor& visitor);

 private:
  std::optional<std::uint64_t> visitUTF8(const Visitor& visitor);
  std::optional<std::uint64_t> visitDecoded(const Visitor& visitor);

  InputFile& file_;
  CFStringEncoding encoding_;
};

}  // namespace kestova::tool
