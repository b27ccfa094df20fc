// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSString.h>

#include <string_view>

namespace kestova {

/// The bytes that a reader of HexCoding.h reads in a text. Null when what `count` answers
/// afterwards, the number of characters that went into them, is 0 or odd.
template <class Reader, class Count>
Ref<NSData> readHex(const Ref<NSString>& text, Reader& reader, Count count) {
  const auto bytes = NSMutableData::data();
  const NSUInteger length = text->length();
  std::byte* room = bytes->extend(length / 2 + 1);
  bytes->setLength(text->isEightBit()
                       ? reader.read(std::string_view(text->eightBitCharacters(), length), room)
                       : reader.read(std::u16string_view(text->utf16Characters(), length), room));
  return count() > 0 && count() % 2 == 0 ? NSData::taking(*bytes) : nullptr;
}

}  // namespace kestova
