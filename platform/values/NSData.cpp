// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/ByteSearch.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/HexCoding.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include "values/BlockHash.h"
#include "values/RangeCheck.h"

#include <algorithm>
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

NSRange NSData::rangeOfData_options_range(const Ref<NSData>& data, NSUInteger options,
                                          NSRange range) const {
  checkArgument(*this, "rangeOfData:options:range:", data != nullptr);
  checkRange(*this, "rangeOfData:options:range:", range, length_);
  const bool isBackwards = (options & NSDataSearchBackwards) != 0;
  auto searched = span().subspan(range.location, range.length);
  NSUInteger start = range.location;
  if ((options & NSDataSearchAnchored) != 0 && searched.size() > data->length()) {
    start += isBackwards ? searched.size() - data->length() : 0;
    searched = isBackwards ? searched.last(data->length()) : searched.first(data->length());
  }
  const BytePattern pattern(data->span());
  const std::size_t at = isBackwards ? pattern.lastIn(searched) : pattern.firstIn(searched);
  return at == BytePattern::npos ? NSRange{NSNotFound, 0} : NSRange{start + at, data->length()};
}

bool NSData::isEqualToData(const Ref<NSData>& other) const {
  return other && std::ranges::equal(span(), other->span());
}

bool NSData::isEqual(const id& other) const {
  return other == self() || isEqualToData(cast<NSData>(other));
}

NSUInteger NSData::hash() const { return hashOfBytes(span()); }

Ref<NSString> NSData::description() const {
  constexpr NSUInteger kGroup = 4;
  std::string text = "<";
  text.reserve(2 * length_ + length_ / kGroup + 2);
  for (NSUInteger index = 0; index < length_; index += kGroup) {
    const auto group = span().subspan(index, std::min(kGroup, length_ - index));
    char digits[2 * kGroup];
    writeHex(group, digits);
    text.append(index > 0 ? " " : "").append(digits, 2 * group.size());
  }
  return NSString::stringWithEightBitStorage(std::move(text += '>'));
}

id NSData::copy() const { return self(); }

id NSData::mutableCopy() const { return NSMutableData::dataWithBytes_length(bytes_, length_); }

}  // namespace kestova
