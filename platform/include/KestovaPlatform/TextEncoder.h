// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/TextConversion.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace kestova {

class CharacterEncoder;

/// Turns the UTF-16 units of one text into bytes, piece by piece. It writes no byte-order mark:
/// give it U+FEFF as the first character.
///
///     auto encoder = TextEncoder::encoderForEncoding(kCFStringEncodingISO_2022_JP);
///     char bytes[TextEncoder::kRoom];
///     const EncodedPiece piece = encoder->encode(units, bytes, TextInput::kEnds);
///     std::size_t closing = encoder->close(…);
///
/// Threads: one at a time. It owns its state alone and moves. A few bytes of state besides what the
/// encoding's tables take, which all conversions share.
class KESTOVA_PLATFORM_EXPORT TextEncoder {
 public:
  /// A buffer of so many bytes takes at least one character, and every closing.
  static constexpr std::size_t kRoom = 128;

  /// Nothing when the encoding is not available.
  static std::optional<TextEncoder> encoderForEncoding(CFStringEncoding encoding);

  TextEncoder(TextEncoder&&) noexcept;
  TextEncoder& operator=(TextEncoder&&) noexcept;
  ~TextEncoder();

  /// Another one in the same state.
  TextEncoder clone() const;

  /// Encodes the units that follow those read before. The first half of a pair at the end is left
  /// unread until more come; where the input ends it is refused. After a refusal the encoder goes
  /// on with the units behind.
  EncodedPiece encode(std::u16string_view units, std::span<char> buffer, TextInput input);

  /// Ends the text: writes what is owed, which is nothing in most encodings, and answers how many
  /// bytes that are.
  std::size_t close(std::span<char> buffer);

 private:
  /// So many units are looked at in one go, so that going on behind each of many refusals does not
  /// look at all that follows every time.
  static constexpr std::size_t kBlock = 4096;

  explicit TextEncoder(std::unique_ptr<CharacterEncoder> characters);

  EncodedPiece encodeBlock(std::u16string_view units, std::span<char> buffer, TextInput input);

  std::unique_ptr<CharacterEncoder> characters_;
};

}  // namespace kestova
