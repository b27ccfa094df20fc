// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include "values/BlockHash.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSData, .property<&NSData::length>("length"))

namespace {

/// The copying functions of C refuse null even for no bytes.
void copyBytes(void* to, const void* from, NSUInteger length) {
  if (length > 0) {
    std::memmove(to, from, length);
  }
}

NSUInteger hashOf(std::span<const std::byte> bytes) {
  BlockHash hash(bytes.size());
  while (!bytes.empty()) {
    NSUInteger block = 0;
    const auto count = std::min(bytes.size(), sizeof block);
    std::memcpy(&block, bytes.data(), count);
    hash.add(block);
    bytes = bytes.subspan(count);
  }
  return hash.value();
}

}  // namespace

NSData::NSData(const void* bytes, NSUInteger length) {
  reserve(length);
  copyBytes(bytes_, bytes, length);
  length_ = length;
}

NSData::~NSData() { std::free(bytes_); }

void NSData::reserve(NSUInteger capacity) {
  if (capacity <= capacity_) {
    return;
  }
  // No object may be larger: differences of addresses in it must be countable.
  constexpr NSUInteger kLargest = PTRDIFF_MAX;
  void* grown = capacity <= kLargest ? std::realloc(bytes_, capacity) : nullptr;
  if (grown == nullptr) {
    throw std::bad_alloc();
  }
  bytes_ = static_cast<std::byte*>(grown);
  capacity_ = capacity;
}

Ref<NSData> NSData::data() { return make<NSData>(); }

Ref<NSData> NSData::dataWithBytes_length(const void* bytes, NSUInteger length) {
  return make<NSData>(bytes, length);
}

Ref<NSData> NSData::dataWithData(const Ref<NSData>& data) { return copyOf(data); }

Ref<NSData> NSData::taking(NSMutableData& other) {
  auto data = make<NSData>();
  std::swap(data->bytes_, other.bytes_);
  std::swap(data->length_, other.length_);
  std::swap(data->capacity_, other.capacity_);
  return data;
}

void NSData::getBytes_range(void* buffer, NSRange range) const {
  checkRange(*this, "getBytes:range:", range, length_);
  copyBytes(buffer, bytes_ + range.location, range.length);
}

Ref<NSData> NSData::subdataWithRange(NSRange range) const {
  checkRange(*this, "subdataWithRange:", range, length_);
  return dataWithBytes_length(bytes_ + range.location, range.length);
}

bool NSData::isEqualToData(const Ref<NSData>& other) const {
  return other && std::ranges::equal(span(), other->span());
}

bool NSData::isEqual(const id& other) const {
  return other == self() || isEqualToData(cast<NSData>(other));
}

NSUInteger NSData::hash() const { return hashOf(span()); }

Ref<NSString> NSData::description() const {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "<";
  for (NSUInteger index = 0; index < length_; ++index) {
    const auto byte = std::to_integer<unsigned>(bytes_[index]);
    if (index > 0 && index % 4 == 0) {
      text.push_back(' ');
    }
    text.append({kDigits[byte >> 4], kDigits[byte & 0xF]});
  }
  return text + '>';
}

id NSData::copy() const { return self(); }

id NSData::mutableCopy() const { return NSMutableData::dataWithBytes_length(bytes_, length_); }

}  // namespace kestova
