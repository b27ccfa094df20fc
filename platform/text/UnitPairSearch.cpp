// SPDX-License-Identifier: Apache-2.0
#include "text/UnitPairSearch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "text/UnitPairSearch.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {
namespace {  // units use the same names for different things

namespace hn = hwy::HWY_NAMESPACE;

/// The unsigned integer that a lane holds a unit in.
template <class Unit>
using LaneOf = std::conditional_t<sizeof(Unit) == 1, std::uint8_t, std::uint16_t>;

template <class Unit>
HWY_INLINE bool isPairAt(const Unit* text, const UnitPair<Unit>& pair) {
  const Unit first = text[0];
  const Unit last = text[pair.gap];
  return (first == pair.first[0] || first == pair.first[1]) &&
         (last == pair.last[0] || last == pair.last[1]);
}

/// In which of the vector's places at `text` the pair stands.
template <class D, class Unit>
HWY_INLINE hn::Mask<D> pairsAt(D d, const Unit* text, const UnitPair<Unit>& pair) {
  using Lane = hn::TFromD<D>;
  const auto spelled = [d](const Unit* units, const Unit(&spellings)[2]) HWY_ATTR {
    const auto lanes = hn::LoadU(d, reinterpret_cast<const Lane*>(units));
    return hn::Or(hn::Eq(lanes, hn::Set(d, static_cast<Lane>(spellings[0]))),
                  hn::Eq(lanes, hn::Set(d, static_cast<Lane>(spellings[1]))));
  };
  return hn::And(spelled(text, pair.first), spelled(text + pair.gap, pair.last));
}

template <class Unit>
std::size_t firstPairIn(const Unit* text, std::size_t count, const UnitPair<Unit>& pair) {
  const hn::ScalableTag<LaneOf<Unit>> d;
  const std::size_t step = hn::Lanes(d);
  std::size_t index = 0;
  for (; count - index >= step; index += step) {
    const auto found = hn::FindFirstTrue(d, pairsAt(d, text + index, pair));
    if (found >= 0) {
      return index + static_cast<std::size_t>(found);
    }
  }
  while (index < count && !isPairAt(text + index, pair)) {
    ++index;
  }
  return index;
}

template <class Unit>
std::size_t lastPairIn(const Unit* text, std::size_t count, const UnitPair<Unit>& pair) {
  const hn::ScalableTag<LaneOf<Unit>> d;
  const std::size_t step = hn::Lanes(d);
  std::size_t end = count;
  while (end >= step && hn::AllFalse(d, pairsAt(d, text + end - step, pair))) {
    end -= step;
  }
  while (end > 0) {
    if (isPairAt(text + --end, pair)) {
      return end;
    }
  }
  return count;
}

std::size_t FirstPairOrOdd(const char16_t* text, std::size_t count, const UnitPair<char16_t>& pair,
                           const OddUnits& odd) {
  const hn::ScalableTag<std::uint16_t> d;
  const auto oddsAt = [&](const char16_t* units) HWY_ATTR {
    const auto lanes = hn::LoadU(d, reinterpret_cast<const std::uint16_t*>(units));
    auto found = hn::Gt(lanes, hn::Set(d, static_cast<std::uint16_t>(odd.from - 1)));
    for (std::size_t other = 0; other < odd.count; ++other) {
      found = hn::Or(found, hn::Eq(lanes, hn::Set(d, odd.others[other])));
    }
    return found;
  };
  std::size_t index = 0;
  for (const std::size_t step = hn::Lanes(d); count - index >= step; index += step) {
    const auto found =
        hn::FindFirstTrue(d, hn::Or(pairsAt(d, text + index, pair), oddsAt(text + index)));
    if (found >= 0) {
      return index + static_cast<std::size_t>(found);
    }
  }
  while (index < count && !isPairAt(text + index, pair) && !odd.contain(text[index])) {
    ++index;
  }
  return index;
}

std::size_t FirstBytePair(const char* text, std::size_t count, const UnitPair<char>& pair) {
  return firstPairIn(text, count, pair);
}
std::size_t FirstUnitPair(const char16_t* text, std::size_t count, const UnitPair<char16_t>& pair) {
  return firstPairIn(text, count, pair);
}
std::size_t LastBytePair(const char* text, std::size_t count, const UnitPair<char>& pair) {
  return lastPairIn(text, count, pair);
}
std::size_t LastUnitPair(const char16_t* text, std::size_t count, const UnitPair<char16_t>& pair) {
  return lastPairIn(text, count, pair);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kestova {

HWY_EXPORT(FirstBytePair);
HWY_EXPORT(FirstUnitPair);
HWY_EXPORT(LastBytePair);
HWY_EXPORT(LastUnitPair);
HWY_EXPORT(FirstPairOrOdd);

std::size_t firstPair(const char* text, std::size_t count, const UnitPair<char>& pair) noexcept {
  return HWY_DYNAMIC_DISPATCH(FirstBytePair)(text, count, pair);
}
std::size_t firstPair(const char16_t* text, std::size_t count,
                      const UnitPair<char16_t>& pair) noexcept {
  return HWY_DYNAMIC_DISPATCH(FirstUnitPair)(text, count, pair);
}
std::size_t lastPair(const char* text, std::size_t count, const UnitPair<char>& pair) noexcept {
  return HWY_DYNAMIC_DISPATCH(LastBytePair)(text, count, pair);
}
std::size_t lastPair(const char16_t* text, std::size_t count,
                     const UnitPair<char16_t>& pair) noexcept {
  return HWY_DYNAMIC_DISPATCH(LastUnitPair)(text, count, pair);
}

std::size_t firstPairOrOdd(const char16_t* text, std::size_t count, const UnitPair<char16_t>& pair,
                           const OddUnits& odd) noexcept {
  return HWY_DYNAMIC_DISPATCH(FirstPairOrOdd)(text, count, pair, odd);
}

}  // namespace kestova
#endif
