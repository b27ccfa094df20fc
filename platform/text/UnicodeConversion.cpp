// SPDX-License-Identifier: Apache-2.0
#include "text/UnicodeConversion.h"

#include <unicode/utf8.h>

namespace kestova {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

std::u16string converted(std::string_view wellFormed) {
  std::u16string units(utf16LengthOfUTF8(wellFormed), u'\0');
  writeUTF16(wellFormed, units);
  return units;
}

}  // namespace

std::optional<std::u16string> utf16FromUTF8(std::string_view utf8) {
  if (!isWellFormedUTF8(utf8)) {
    return std::nullopt;
  }
  return converted(utf8);
}

std::optional<std::string> utf8FromUTF16(std::u16string_view units) {
  if (!isWellFormedUTF16(units)) {
    return std::nullopt;
  }
  return displayUTF8FromUTF16(units);
}

std::u16string displayUTF16FromUTF8(std::string_view utf8) {
  std::u16string units;
  while (!utf8.empty()) {
    std::size_t read = wellFormedLengthOfUTF8(utf8);
    units += converted(utf8.substr(0, read));
    if (read < utf8.size()) {
      [[maybe_unused]] UChar32 none;
      U8_NEXT(utf8.data(), read, utf8.size(), none);
      units += kReplacement;
    }
    utf8.remove_prefix(read);
  }
  return units;
}

std::string displayUTF8FromUTF16(std::u16string_view units) {
  std::string bytes(utf8LengthOfUTF16(units), '\0');
  writeUTF8(units, bytes);
  return bytes;
}

}  // namespace kestova
