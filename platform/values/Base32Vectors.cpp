// SPDX-License-Identifier: Apache-2.0
#include "values/Base32Vectors.h"

#include "values/Base32Symbols.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "values/Base32Vectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// A vector of 16 bytes holds two groups: ten bytes as bits, or sixteen as symbols. Between the two
// a group is one lane of 64 bits, in which the bits are spread, or gathered, in three steps: 40
// bits are two halves of 20, four of 10, eight of 5.

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {
namespace {  // units use the same names for different things

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

std::size_t writeGroups(const std::uint8_t*, std::size_t, std::uint8_t*) { return 0; }
std::size_t readGroups(const std::uint8_t*, std::size_t, std::uint8_t*) { return 0; }

#else

const hn::FixedTag<std::uint8_t, 16> kBytes;
const hn::Repartition<std::uint16_t, decltype(kBytes)> kPairs;
const hn::Repartition<std::uint32_t, decltype(kBytes)> kQuads;
const hn::Repartition<std::uint64_t, decltype(kBytes)> kGroups;
using Bytes = hn::Vec<hn::FixedTag<std::uint8_t, 16>>;

/// Vectors of whole groups read and write 16 bytes where 10 are meant: so many groups stay behind.
constexpr std::size_t kGroupsLeft = 4;

constexpr std::uint8_t kZero = 0x80;
alignas(16) constexpr std::uint8_t kToLanes[16] = {0, 1, 2, 3, 4, kZero, kZero, kZero,
                                                   5, 6, 7, 8, 9, kZero, kZero, kZero};
alignas(16) constexpr std::uint8_t kFromLanes[16] = {
    0, 1, 2, 3, 4, 8, 9, 10, 11, 12, kZero, kZero, kZero, kZero, kZero, kZero};

HWY_INLINE Bytes spread(Bytes packed) {
  const auto groups =
      hn::BitCast(kGroups, hn::TableLookupBytesOr0(packed, hn::Load(kBytes, kToLanes)));
  const auto halves = hn::BitCast(
      kQuads, hn::Or(hn::And(groups, hn::Set(kGroups, 0xFFFFF)),
                     hn::And(hn::ShiftLeft<12>(groups), hn::Set(kGroups, 0xFFFFFULL << 32))));
  const auto quarters =
      hn::BitCast(kPairs, hn::Or(hn::And(halves, hn::Set(kQuads, 0x3FF)),
                                 hn::And(hn::ShiftLeft<6>(halves), hn::Set(kQuads, 0x3FFU << 16))));
  return hn::BitCast(kBytes, hn::Or(hn::And(quarters, hn::Set(kPairs, 0x1F)),
                                    hn::And(hn::ShiftLeft<3>(quarters), hn::Set(kPairs, 0x1F00))));
}

/// The reverse. Every byte is below 32.
HWY_INLINE Bytes gather(Bytes values) {
  const auto eighths = hn::BitCast(kPairs, values);
  const auto quarters =
      hn::BitCast(kQuads, hn::Or(hn::And(eighths, hn::Set(kPairs, 0x1F)),
                                 hn::ShiftRight<3>(hn::And(eighths, hn::Set(kPairs, 0x1F00)))));
  const auto halves = hn::BitCast(
      kGroups, hn::Or(hn::And(quarters, hn::Set(kQuads, 0x3FF)),
                      hn::ShiftRight<6>(hn::And(quarters, hn::Set(kQuads, 0x3FFU << 16)))));
  const auto groups =
      hn::Or(hn::And(halves, hn::Set(kGroups, 0xFFFFF)),
             hn::ShiftRight<12>(hn::And(halves, hn::Set(kGroups, 0xFFFFFULL << 32))));
  return hn::TableLookupBytesOr0(hn::BitCast(kBytes, groups), hn::Load(kBytes, kFromLanes));
}

/// Entry `index` of a table of 32, whose halves these are.
HWY_INLINE Bytes lookUp32(Bytes lower, Bytes upper, Bytes index) {
  const auto column = hn::And(index, hn::Set(kBytes, 0x0F));
  const auto isUpper = hn::Ne(hn::And(index, hn::Set(kBytes, 0x10)), hn::Zero(kBytes));
  return hn::IfThenElse(isUpper, hn::TableLookupBytes(upper, column),
                        hn::TableLookupBytes(lower, column));
}

const std::uint8_t* symbols() {
  return reinterpret_cast<const std::uint8_t*>(kBase32Symbols.data());
}

std::size_t writeGroups(const std::uint8_t* bytes, std::size_t groups, std::uint8_t* text) {
  const auto lower = hn::LoadU(kBytes, symbols());
  const auto upper = hn::LoadU(kBytes, symbols() + 16);
  std::size_t done = 0;
  for (; groups - done >= kGroupsLeft; done += 2) {
    const auto values = spread(hn::LoadU(kBytes, bytes + 5 * done));
    hn::StoreU(lookUp32(lower, upper, values), kBytes, text + 8 * done);
  }
  return done;
}

/// The values of symbols; kNoBase32Symbol for what is none. Digits stand in one row of 16
/// characters, letters of one case in two.
HWY_INLINE Bytes valuesOf(Bytes text) {
  const std::uint8_t* values = kBase32Values.data();
  const auto digits = hn::LoadU(kBytes, values + 0x30);
  const auto letters =
      lookUp32(hn::LoadU(kBytes, values + 0x40), hn::LoadU(kBytes, values + 0x50), text);
  const auto digit = hn::TableLookupBytes(digits, hn::And(text, hn::Set(kBytes, 0x0F)));
  const auto row = hn::And(text, hn::Set(kBytes, 0xF0));
  const auto isDigit = hn::Eq(row, hn::Set(kBytes, 0x30));
  // 0x40, 0x50, 0x60 and 0x70 are those with this bit and without the highest one.
  const auto isLetter = hn::Eq(hn::And(text, hn::Set(kBytes, 0xC0)), hn::Set(kBytes, 0x40));
  return hn::IfThenElse(isDigit, digit,
                        hn::IfThenElse(isLetter, letters, hn::Set(kBytes, kNoBase32Symbol)));
}

std::size_t readGroups(const std::uint8_t* text, std::size_t groups, std::uint8_t* bytes) {
  std::size_t done = 0;
  for (; groups - done >= kGroupsLeft; done += 2) {
    const auto values = valuesOf(hn::LoadU(kBytes, text + 8 * done));
    if (!hn::AllFalse(kBytes, hn::Eq(values, hn::Set(kBytes, kNoBase32Symbol)))) {
      break;
    }
    hn::StoreU(gather(values), kBytes, bytes + 5 * done);
  }
  return done;
}

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kestova {

HWY_EXPORT(writeGroups);
HWY_EXPORT(readGroups);

std::size_t writeBase32ByVectors(const std::uint8_t* bytes, std::size_t groups,
                                 std::uint8_t* text) noexcept {
  return HWY_DYNAMIC_DISPATCH(writeGroups)(bytes, groups, text);
}

std::size_t readBase32ByVectors(const std::uint8_t* text, std::size_t groups,
                                std::uint8_t* bytes) noexcept {
  return HWY_DYNAMIC_DISPATCH(readGroups)(text, groups, bytes);
}

}  // namespace kestova
#endif
