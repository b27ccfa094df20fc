// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/CFStringEncodings.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/TextConversion.h>

#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace kestova {

class CharacterDecoder;

/// What a byte-order mark at the front of a text is.
enum class LeadingMark {
  kIsCharacter,  ///< the character U+FEFF
  kTellsOrder,   ///< no part of the text, unless the encoding states its byte order: then U+FEFF
  kIsNotPartOfText,
};

/// Turns the bytes of one text into UTF-16 units, piece by piece.
///
///     auto decoder = TextDecoder::decoderForEncoding(kCFStringEncodingShiftJIS);
///     char16_t units[4096];
///     const DecodedPiece piece = decoder->decode(bytes, units, TextInput::kEnds);
///
/// Threads: one at a time. It owns its state alone and moves. A few bytes of state besides what the
/// encoding's tables take, which all conversions share.
class KESTOVA_PLATFORM_EXPORT TextDecoder {
 public:
  /// Nothing when the encoding is not available.
  static std::optional<TextDecoder> decoderForEncoding(CFStringEncoding encoding,
                                                       LeadingMark mark = LeadingMark::kTellsOrder);

  TextDecoder(TextDecoder&&) noexcept;
  TextDecoder& operator=(TextDecoder&&) noexcept;
  ~TextDecoder();

  /// Decodes the bytes that follow those read before, into a buffer of four units or more. Bytes of
  /// the last character may be left unread until more come; where the input ends they are refused.
  /// After a refusal the decoder is of no more use.
  DecodedPiece decode(std::string_view bytes, std::span<char16_t> buffer, TextInput input);

 private:
  TextDecoder(CFStringEncoding encoding, LeadingMark mark);

  /// How many bytes the mark at the front has, which settles the order; nothing as long as too few
  /// bytes are there to say.
  std::optional<std::size_t> skipMark(std::string_view bytes, TextInput input);

  CFStringEncoding encoding_;
  LeadingMark mark_;
  bool isBegun_ = false;
  std::unique_ptr<CharacterDecoder> characters_;
};

}  // namespace kestova
