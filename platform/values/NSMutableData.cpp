// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSData.h>

#include "values/RangeCheck.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSMutableData)

namespace {

void fill(std::byte* to, const void* from, NSUInteger length) {
  if (length > 0) {
    std::memcpy(to, from, length);
  }
}

/// The index after a range that may end behind the data, but not behind all memory.
NSUInteger checkedEnd(NSRange range) {
  if (range.length > std::numeric_limits<NSUInteger>::max() - range.location) {
    throw std::bad_alloc();
  }
  return NSMaxRange(range);
}

}  // namespace

Ref<NSMutableData> NSMutableData::data() { return make<NSMutableData>(); }

Ref<NSMutableData> NSMutableData::dataWithCapacity(NSUInteger capacity) {
  auto result = data();
  result->reserve(capacity);
  return result;
}

Ref<NSMutableData> NSMutableData::dataWithLength(NSUInteger length) {
  auto result = data();
  result->setLength(length);
  return result;
}

Ref<NSMutableData> NSMutableData::dataWithBytes_length(const void* bytes, NSUInteger length) {
  return make<NSMutableData>(bytes, length);
}

Ref<NSMutableData> NSMutableData::dataWithData(const Ref<NSData>& data) {
  return data ? dataWithBytes_length(data->bytes(), data->length()) : nullptr;
}

void NSMutableData::grow(NSUInteger extra) {
  const NSUInteger needed = checkedEnd({length_, extra});
  const bool canDouble = capacity_ <= std::numeric_limits<NSUInteger>::max() / 2;
  reserve(std::max({needed, canDouble ? 2 * capacity_ : needed, NSUInteger{16}}));
}

void NSMutableData::setLength(NSUInteger length) {
  if (length > length_) {
    increaseLengthBy(length - length_);
  } else {
    length_ = length;
  }
}

void NSMutableData::increaseLengthBy(NSUInteger extra) {
  if (extra > 0) {
    std::memset(extend(extra), 0, extra);
  }
}

void NSMutableData::appendBytes_length(const void* bytes, NSUInteger length) {
  fill(extend(length), bytes, length);
}

void NSMutableData::appendData(const Ref<NSData>& other) {
  checkArgument(*this, "appendData:", other != nullptr);
  const NSUInteger length = other->length();
  std::byte* end = extend(length);
  // Only now is it known where the other's bytes are: they may be this data's own.
  fill(end, other->bytes(), length);
}

void NSMutableData::replaceBytesInRange_withBytes(NSRange range, const void* bytes) {
  checkRange(*this, "replaceBytesInRange:withBytes:", {range.location, 0}, length_);
  setLength(std::max(length_, checkedEnd(range)));
  fill(bytes_ + range.location, bytes, range.length);
}

void NSMutableData::replaceBytesInRange_withBytes_length(NSRange range, const void* bytes,
                                                         NSUInteger length) {
  checkRange(*this, "replaceBytesInRange:withBytes:length:", range, length_);
  checkArgument(*this, "replaceBytesInRange:withBytes:length:", bytes != nullptr || length == 0);
  const NSUInteger tail = length_ - NSMaxRange(range);
  if (length > range.length) {
    extend(length - range.length);
  } else {
    length_ -= range.length - length;
  }
  if (tail > 0) {
    std::memmove(bytes_ + range.location + length, bytes_ + NSMaxRange(range), tail);
  }
  fill(bytes_ + range.location, bytes, length);
}

void NSMutableData::resetBytesInRange(NSRange range) {
  checkRange(*this, "resetBytesInRange:", {range.location, 0}, length_);
  setLength(std::max(length_, checkedEnd(range)));
  std::fill_n(bytes_ + range.location, range.length, std::byte{0});
}

void NSMutableData::setData(const Ref<NSData>& other) {
  checkArgument(*this, "setData:", other != nullptr);
  if (other.get() != this) {
    length_ = 0;
    appendData(other);
  }
}

id NSMutableData::copy() const { return NSData::dataWithBytes_length(bytes_, length_); }

}  // namespace kestova
