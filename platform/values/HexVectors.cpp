// SPDX-License-Identifier: Apache-2.0
#include "values/HexVectors.h"

#include "values/HexDigit.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "values/HexVectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {
namespace {  // units use the same names for different things

namespace hn = hwy::HWY_NAMESPACE;

const hn::ScalableTag<std::uint8_t> kBytes;
using Bytes = hn::Vec<hn::ScalableTag<std::uint8_t>>;

alignas(16) constexpr std::uint8_t kDigits[17] = "0123456789abcdef";

void writeHexBytes(const std::uint8_t* bytes, std::size_t size, std::uint8_t* text) {
  std::size_t index = 0;
#if HWY_TARGET != HWY_SCALAR
  const std::size_t step = hn::Lanes(kBytes);
  const auto digits = hn::LoadDup128(kBytes, kDigits);
  for (; size - index >= step; index += step) {
    const auto values = hn::LoadU(kBytes, bytes + index);
    const auto high = hn::TableLookupBytes(digits, hn::ShiftRight<4>(values));
    const auto low = hn::TableLookupBytes(digits, hn::And(values, hn::Set(kBytes, 0x0F)));
    hn::StoreInterleaved2(high, low, kBytes, text + 2 * index);
  }
#endif
  for (; index < size; ++index) {
    text[2 * index] = kDigits[bytes[index] >> 4];
    text[2 * index + 1] = kDigits[bytes[index] & 0x0F];
  }
}

/// The values of digits; kNoHexDigit in the lanes of what is none. Comparing by the lesser of two
/// values is one instruction everywhere.
HWY_INLINE Bytes valuesOf(Bytes text) {
  const auto digit = hn::Sub(text, hn::Set(kBytes, '0'));
  const auto letter = hn::Sub(hn::Or(text, hn::Set(kBytes, 0x20)), hn::Set(kBytes, 'a'));
  const auto isDigit = hn::Eq(digit, hn::Min(digit, hn::Set(kBytes, 9)));
  const auto isLetter = hn::Eq(letter, hn::Min(letter, hn::Set(kBytes, 5)));
  const auto letterValue =
      hn::IfThenElse(isLetter, hn::Add(letter, hn::Set(kBytes, 10)), hn::Set(kBytes, kNoHexDigit));
  return hn::IfThenElse(isDigit, digit, letterValue);
}

std::size_t readHexPairs(const std::uint8_t* text, std::size_t pairs, std::uint8_t* bytes) {
  std::size_t index = 0;
#if HWY_TARGET != HWY_SCALAR
  const std::size_t step = hn::Lanes(kBytes);
  for (; pairs - index >= step; index += step) {
    Bytes high;
    Bytes low;
    hn::LoadInterleaved2(kBytes, text + 2 * index, high, low);
    high = valuesOf(high);
    low = valuesOf(low);
    hn::StoreU(hn::Or(hn::ShiftLeft<4>(high), low), kBytes, bytes + index);
    const auto isForeign = hn::Eq(hn::Max(high, low), hn::Set(kBytes, kNoHexDigit));
    const auto firstForeign = hn::FindFirstTrue(kBytes, isForeign);
    if (firstForeign >= 0) {
      return index + static_cast<std::size_t>(firstForeign);
    }
  }
#endif
  for (; index < pairs; ++index) {
    const unsigned high = hexValueOf(text[2 * index]);
    const unsigned low = hexValueOf(text[2 * index + 1]);
    if (high == kNoHexDigit || low == kNoHexDigit) {
      break;
    }
    bytes[index] = static_cast<std::uint8_t>(high << 4 | low);
  }
  return index;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kestova {

HWY_EXPORT(writeHexBytes);
HWY_EXPORT(readHexPairs);

void writeHexByVectors(const std::uint8_t* bytes, std::size_t size, std::uint8_t* text) noexcept {
  HWY_DYNAMIC_DISPATCH(writeHexBytes)(bytes, size, text);
}

std::size_t readHexPairsByVectors(const std::uint8_t* text, std::size_t pairs,
                                  std::uint8_t* bytes) noexcept {
  return HWY_DYNAMIC_DISPATCH(readHexPairs)(text, pairs, bytes);
}

}  // namespace kestova
#endif
