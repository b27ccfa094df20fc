// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaPlatform/ByteSearch.h>
#include <KestovaPlatform/HexCoding.h>
#include <KestovaPlatform/MessageDigest.h>

#include "Additions/DataBytes.h"
#include "Additions/HexData.h"

#include <limits>

namespace kestova {
namespace {

constexpr NSRange kNowhere = {NSNotFound, 0};

/// Whether there is a place in the range where so many bytes could stand, if it is one in memory.
bool mayHold(NSRange range, NSUInteger patternLength) {
  return patternLength > 0 && patternLength <= range.length &&
         range.length - patternLength <= std::numeric_limits<NSUInteger>::max() - range.location;
}

}  // namespace

inline namespace NSData_HexAdditions {

Ref<NSString> hexString(const Ref<NSData>& self) {
  return NSString::stringWithEightBitStorage(hexText(self->span()));
}

Ref<NSData> dataFromHexString(const Ref<NSString>& text) {
  HexReader reader;
  return text ? readHex(text, reader, [&] { return reader.digits(); }) : nullptr;
}

}  // namespace NSData_HexAdditions

inline namespace NSData_MD5Additions {

Ref<NSString> MD5(const Ref<NSData>& self) {
  MD5Digest digest;
  digest.update(self->span());
  return NSString::stringWithEightBitStorage(hexText(digest.finish()));
}

}  // namespace NSData_MD5Additions

NSRange OVRangeOfBytesInBytes(const void* haystack, const void* pattern, NSUInteger patternLength,
                              NSRange range) {
  if (!mayHold(range, patternLength)) {
    return kNowhere;
  }
  const auto* start = static_cast<const std::byte*>(haystack) + range.location;
  const std::size_t found =
      BytePattern(bytesAt(pattern, patternLength)).firstIn({start, range.length});
  return found == BytePattern::npos ? kNowhere : NSRange{range.location + found, patternLength};
}

inline namespace NSData_SearchAdditions {

NSRange rangeOfBytes_length_range(const Ref<NSData>& self, const void* bytes, NSUInteger length,
                                  NSRange range) {
  if (!mayHold(range, length)) {
    return kNowhere;
  }
  checkRange(self, "rangeOfBytes:length:range:", range);
  return OVRangeOfBytesInBytes(self->bytes(), bytes, length, range);
}

NSRange rangeOfData_range(const Ref<NSData>& self, const Ref<NSData>& data, NSRange range) {
  return rangeOfBytes_length_range(self, bytesOf(data).data(), bytesOf(data).size(), range);
}

}  // namespace NSData_SearchAdditions

}  // namespace kestova
