// SPDX-License-Identifier: Apache-2.0
// Text of any kind reads as hex as a plain loop over its characters does, in both storages and in
// pieces; bytes come back from their own hex.
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaFoundation/Additions/NSStringCodecAdditions.h>
#include <KestovaPlatform/HexCoding.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
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

int digitOf(char16_t unit) {
  constexpr std::u16string_view kDigits = u"0123456789abcdef";
  const char16_t lower = unit >= 'A' && unit <= 'F' ? static_cast<char16_t>(unit + 32) : unit;
  const std::size_t at = kDigits.find(lower);
  return at == std::u16string_view::npos ? -1 : static_cast<int>(at);
}

void requireBytes(const Ref<NSData>& data, const std::vector<std::uint8_t>& expected, bool isRead) {
  require((data != nullptr) == isRead);
  require(!isRead || (data->length() == expected.size() &&
                      std::equal(expected.begin(), expected.end(),
                                 reinterpret_cast<const std::uint8_t*>(data->bytes()))));
}

void compareStrictly(const Ref<NSString>& text, const std::u16string& units) {
  std::vector<std::uint8_t> digits;
  for (const char16_t unit : units) {
    if (digitOf(unit) >= 0) {
      digits.push_back(static_cast<std::uint8_t>(digitOf(unit)));
    }
  }
  std::vector<std::uint8_t> bytes;
  for (std::size_t index = 0; index + 1 < digits.size(); index += 2) {
    bytes.push_back(static_cast<std::uint8_t>(digits[index] << 4 | digits[index + 1]));
  }
  requireBytes(NSData_HexAdditions::dataFromHexString(text), bytes,
               !digits.empty() && digits.size() % 2 == 0);
}

bool isSpace(char16_t unit) {
  return (unit >= 9 && unit <= 13) || unit == 0x20 || unit == 0x85 || unit == 0xA0 ||
         unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 ||
         unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

std::uint8_t byteOf(char16_t first, char16_t second) {
  if (digitOf(first) >= 0) {
    return static_cast<std::uint8_t>(digitOf(second) >= 0 ? digitOf(first) << 4 | digitOf(second)
                                                          : digitOf(first));
  }
  return static_cast<std::uint8_t>(isSpace(first) ? std::max(digitOf(second), 0) : 0);
}

void compareLeniently(const Ref<NSString>& text, std::u16string units) {
  std::erase_if(units, [](char16_t unit) { return unit == 13 || unit == 10 || unit == 32; });
  std::vector<std::uint8_t> bytes;
  for (std::size_t index = 0; index + 1 < units.size(); index += 2) {
    bytes.push_back(byteOf(units[index], units[index + 1]));
  }
  requireBytes(NSString_HexAdditions::dataFromHexString(text), bytes,
               !units.empty() && units.size() % 2 == 0);
}

void compare(const Ref<NSString>& text) {
  const std::u16string units = text->utf16();
  for (const auto& string : {text, NSString::stringWithUTF16Storage(units)}) {
    compareStrictly(string, units);
    compareLeniently(string, units);
  }
}

void comparePieces(std::string_view text, std::size_t pieceSize) {
  HexReader whole;
  std::vector<std::byte> expected(text.size() / 2 + 1);
  expected.resize(whole.read(text, expected.data()));
  HexReader reader;
  std::vector<std::byte> bytes;
  for (std::size_t start = 0; start < text.size(); start += pieceSize) {
    const std::string_view piece = text.substr(start, pieceSize);
    std::vector<std::byte> room((piece.size() + 1) / 2);
    room.resize(reader.read(piece, room.data()));
    bytes.insert(bytes.end(), room.begin(), room.end());
  }
  require(bytes == expected && reader.digits() == whole.digits());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto data = NSData::dataWithBytes_length(bytes, size);
  const auto back = NSData_HexAdditions::dataFromHexString(hexString(data));
  require(size == 0 ? back == nullptr : data->isEqualToData(back));
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  comparePieces(text, size == 0 ? 1 : bytes[0] % 67 + std::size_t{1});
  if (const auto string = NSString::stringWithUTF8String(text)) {
    compare(string);
  }
  std::u16string units(size / 2, u'\0');
  std::memcpy(units.data(), bytes, units.size() * 2);
  compare(NSString::stringWithCharacters_length(units.data(), units.size()));
  return 0;
}
