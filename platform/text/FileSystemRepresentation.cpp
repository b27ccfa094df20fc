// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/UTF8.h>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace kestova {
namespace {

/// The surrogate that stands for a byte from 0x80 to 0xFF of a name that is no UTF-8:
/// U+DC80…U+DCFF. Well-formed UTF-8 never decodes to a surrogate alone, so nothing else can be
/// taken for one.
constexpr char16_t kEscapeBase = 0xDC00;

constexpr bool isEscape(UChar32 character) {
  return character >= kEscapeBase + 0x80 && character <= kEscapeBase + 0xFF;
}

void appendEscaped(std::u16string& units, std::string_view bytes) {
  for (const char byte : bytes) {
    units.push_back(static_cast<char16_t>(kEscapeBase + static_cast<unsigned char>(byte)));
  }
}

std::u16string escaped(std::string_view bytes) {
  std::u16string units;
  units.reserve(bytes.size());
  for (std::size_t index = 0; index < bytes.size();) {
    const std::size_t start = index;
    UChar32 character;
    U8_NEXT(bytes.data(), index, bytes.size(), character);
    if (character < 0) {
      appendEscaped(units, bytes.substr(start, index - start));
    } else if (U_IS_BMP(character)) {
      units.push_back(static_cast<char16_t>(character));
    } else {
      units.append({U16_LEAD(character), U16_TRAIL(character)});
    }
  }
  return units;
}

void appendAsByte(std::string& bytes, UChar32 character, const NSString& path) {
  if (isEscape(character)) {
    bytes.push_back(static_cast<char>(character - kEscapeBase));
    return;
  }
  if (character == 0 || U_IS_SURROGATE(character)) {
    throw NSException(
        NSInvalidArgumentException,
        NSString::stringWithFormat("no file can have the name \"%@\"", path.description()));
  }
  char encoded[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(encoded, length, character);
  bytes.append(encoded, length);
}

}  // namespace

Ref<NSString> NSString::stringWithFileSystemRepresentation(std::string_view bytes) {
  if (auto wellFormed = stringWithUTF8String(bytes)) {
    return wellFormed;
  }
  return stringWithUTF16Storage(escaped(bytes));
}

std::string NSString::fileSystemRepresentation() const {
  if (const std::string_view ascii(eightBitCharacters(), isEightBit() ? length() : 0);
      !ascii.empty() && ascii.find('\0') == ascii.npos) {
    return std::string(ascii);
  }
  const std::u16string units = utf16();
  std::string bytes;
  bytes.reserve(units.size());
  for (std::size_t index = 0; index < units.size();) {
    UChar32 character;
    U16_NEXT(units.data(), index, units.size(), character);
    appendAsByte(bytes, character, *this);
  }
  return bytes;
}

}  // namespace kestova
