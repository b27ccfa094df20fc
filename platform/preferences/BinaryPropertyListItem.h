// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "preferences/BinaryPropertyListLayout.h"

#include <endian.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace kestova {

/// Throws a PropertyListFault about what stands at a place of the data.
[[noreturn, gnu::cold]] void failAtByte(std::size_t place, const Ref<NSString>& fault);

/// A big-endian number of one to eight bytes. It is read as the end of eight: what stands in the
/// format has the header before it.
inline std::uint64_t unsignedFrom(std::span<const std::byte> bytes) {
  std::uint64_t value;
  std::memcpy(&value, bytes.data() + bytes.size() - sizeof value, sizeof value);
  return be64toh(value) & (~std::uint64_t(0) >> (64 - 8 * bytes.size()));
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
  id value() {
    switch (kind_) {
      case BinaryKind::asciiString:
        return asciiValue();
      case BinaryKind::integer:
        return integerValue();
      default:
        return rarerValue();
    }
  }
  std::size_t valueSize() const noexcept { return contents_.size(); }

  /// What an object that holds others refers to them with, each of them `size` bytes.
  std::span<const std::byte> references(std::size_t size);

 private:
  /// Takes the count off the front of the contents, where it is not in the first byte.
  std::size_t takeCount() {
    if (nibble_ != kCountFollows) {
      return nibble_;
    }
    return takeLargeCount();
  }
  std::size_t takeLargeCount();

  std::span<const std::byte> cut(std::size_t count, std::size_t unitSize) {
    if (count > contents_.size() / unitSize) {
      failAtByte(place_, "An object claims more bytes than there are");
    }
    return contents_ = contents_.first(count * unitSize);
  }

  id rarerValue();
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

inline std::size_t BinaryPropertyListItem::takeLargeCount() {
  const auto first = contents_.empty() ? 0 : std::to_integer<unsigned>(contents_[0]);
  const std::size_t size = std::size_t(1) << (first & 0xF);
  if (static_cast<BinaryKind>(first >> 4) != BinaryKind::integer || size > 8 ||
      size >= contents_.size()) {
    failAtByte(place_, "The count of an object is missing");
  }
  const std::uint64_t count = unsignedFrom(contents_.subspan(1, size));
  contents_ = contents_.subspan(1 + size);
  return count;
}

inline id BinaryPropertyListItem::asciiValue() {
  const auto bytes = cut(takeCount(), 1);
  auto string =
      NSString::stringWithUTF8String({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (!string || !string->isEightBit()) {
    failAtByte(place_, "A text in ASCII holds other bytes");
  }
  return string;
}

}  // namespace kestova
