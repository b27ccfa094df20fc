// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kestova {

/// The platform's integers: 64 bits wide on every machine.
using NSUInteger = std::uint64_t;
using NSInteger = std::int64_t;

/// One UTF-16 code unit: what lengths and indexes of text count.
using unichar = char16_t;

/// Seconds, as intervals and delays are given everywhere.
using NSTimeInterval = double;

/// What a search answers when there is nothing to be found: the largest NSInteger.
inline constexpr NSUInteger NSNotFound = 9223372036854775807U;

/// How two values are ordered.
enum NSComparisonResult : NSInteger {
  NSOrderedAscending = -1,
  NSOrderedSame = 0,
  NSOrderedDescending = 1,
};

}  // namespace kestova
