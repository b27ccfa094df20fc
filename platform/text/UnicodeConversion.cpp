// SPDX-License-Identifier: Apache-2.0
#include "text/UnicodeConversion.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace kestova {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

/// Decodes; `onError` answers the character to put in place of bytes that are none, negative to
/// give up. UTF-16 never needs more units than UTF-8 bytes, which bounds the result before it is
/// written.
template <class OnError>
std::optional<std::u16string> decode(std::string_view utf8, OnError onError) {
  std::u16string result(utf8.size(), u'\0');
  std::size_t written = 0;
  for (std::size_t index = 0; index < utf8.size();) {
    UChar32 character;
    U8_NEXT(utf8.data(), index, utf8.size(), character);
    if (character < 0 && (character = onError()) < 0) {
      return std::nullopt;
    }
    U16_APPEND_UNSAFE(result.data(), written, character);
  }
  result.resize(written);
  return result;
}

/// Encodes; `onError` as above. A UTF-16 unit never needs more than three bytes.
template <class OnError>
std::optional<std::string> encode(std::u16string_view units, OnError onError) {
  std::string result;
  result.reserve(units.size());
  for (std::size_t index = 0; index < units.size();) {
    UChar32 character;
    U16_NEXT(units.data(), index, units.size(), character);
    if (U_IS_SURROGATE(character) && (character = onError()) < 0) {
      return std::nullopt;
    }
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, character);
    result.append(bytes, length);
  }
  return result;
}

constexpr auto refuse = [] { return UChar32{-1}; };
constexpr auto replace = [] { return kReplacement; };

}  // namespace

std::optional<std::u16string> utf16FromUTF8(std::string_view utf8) { return decode(utf8, refuse); }
std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
  return encode(units, refuse);
}
std::u16string displayUTF16FromUTF8(std::string_view utf8) { return *decode(utf8, replace); }
std::string displayUTF8FromUTF16(std::u16string_view units) { return *encode(units, replace); }

std::string_view withoutCutCharacter(std::string_view utf8) noexcept {
  auto length = utf8.size();
  U8_TRUNCATE_IF_INCOMPLETE(utf8.data(), 0U, length);
  return utf8.substr(0, length);
}

}  // namespace kestova
