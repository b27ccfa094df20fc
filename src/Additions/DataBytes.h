// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSString.h>

#include <cstddef>
#include <span>

namespace kestova {

/// The bytes of data, none for null.
inline std::span<const std::byte> bytesOf(const Ref<NSData>& data) {
  return data ? data->span() : std::span<const std::byte>();
}

/// The bytes at an address, none for null.
inline std::span<const std::byte> bytesAt(const void* bytes, NSUInteger length) {
  return {static_cast<const std::byte*>(bytes), bytes == nullptr ? 0 : length};
}

/// Throws NSRangeException unless the range lies in the data.
inline void checkRange(const Ref<NSData>& data, const char* operation, NSRange range) {
  const NSUInteger length = data->length();
  if (range.location > length || range.length > length - range.location) {
    throw NSException(NSRangeException,
                      NSString::stringWithFormat("%s: range {%lu, %lu} lies beyond length %lu",
                                                 operation, range.location, range.length, length));
  }
}

}  // namespace kestova
