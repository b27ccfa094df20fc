// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "preferences/BinaryPropertyListLayout.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace kestova {

/// Throws a PropertyListFault about what stands at a place of the data.
[[noreturn]] void failAtByte(std::size_t place, const Ref<NSString>& fault);

/// A big-endian number of at most eight bytes.
inline std::uint64_t unsignedFrom(std::span<const std::byte> bytes) {
  std::uint64_t value = 0;
  for (const std::byte byte : bytes) {
    value = value << 8 | std::to_integer<std::uint64_t>(byte);
  }
  return value;
}

/// An object as it is written down in the binary format. What does not fit into the bytes that are
/// there throws a PropertyListFault.
class BinaryPropertyListItem {
 public:
  /// The object that begins at `place`, which lies in `objects`: all of the data that may hold
  /// objects.
  BinaryPropertyListItem(std::span<const std::byte> objects, std::size_t place)
      : kind_(static_cast<BinaryKind>(objects[place] >> 4)),
        nibble_(std::to_integer<unsigned>(objects[place]) & 0xF),
        place_(place),
        contents_(objects.subspan(place + 1)) {}

  BinaryKind kind() const noexcept { return kind_; }
  std::size_t place() const noexcept { return place_; }
  bool isString() const noexcept {
    return kind_ == BinaryKind::asciiString || kind_ == BinaryKind::utf16String;
  }

  /// The value of an object that refers to no others, immutable, and how many bytes it takes. For a
  /// UID it is the number.
  id value();
  std::size_t valueSize() const noexcept { return contents_.size(); }

  /// What an object that holds others refers to them with, each of them `size` bytes.
  std::span<const std::byte> references(std::size_t size);

 private:
  std::size_t takeCount();
  std::span<const std::byte> cut(std::size_t count, std::size_t unitSize);

  id simpleValue();
  id integerValue();
  id realValue();
  id dateValue();
  id dataValue();
  id asciiValue();
  id utf16Value();
  id uidValue();

  BinaryKind kind_;
  unsigned nibble_;
  std::size_t place_;
  /// What follows the first byte: at first all that is there, in the end what belongs to it.
  std::span<const std::byte> contents_;
};

}  // namespace kestova
