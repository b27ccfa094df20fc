// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSTypes.h>

#include <algorithm>

namespace kestova {

/// A run of units: the index of the first one and how many there are.
struct NSRange {
  NSUInteger location = 0;
  NSUInteger length = 0;

  friend constexpr bool operator==(const NSRange&, const NSRange&) = default;
};

constexpr NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }

/// The index after the last unit. Wraps around when the range leaves the 64 bits.
constexpr NSUInteger NSMaxRange(NSRange range) { return range.location + range.length; }

/// Whether a unit is in the range, also in one that leaves the 64 bits.
constexpr bool NSLocationInRange(NSUInteger location, NSRange range) {
  return location >= range.location && location - range.location < range.length;
}

constexpr bool NSEqualRanges(NSRange a, NSRange b) { return a == b; }

/// The units that both ranges have; {0, 0} when they share none.
constexpr NSRange NSIntersectionRange(NSRange a, NSRange b) {
  const NSUInteger start = std::max(a.location, b.location);
  const NSUInteger end = std::min(NSMaxRange(a), NSMaxRange(b));
  return start < end ? NSRange{start, end - start} : NSRange{};
}

}  // namespace kestova
