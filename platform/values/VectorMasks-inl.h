// SPDX-License-Identifier: Apache-2.0
// Masks of vectors as numbers, once for each instruction set.
#if defined(KESTOVA_VECTOR_MASKS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef KESTOVA_VECTOR_MASKS_INL_H
#undef KESTOVA_VECTOR_MASKS_INL_H
#else
#define KESTOVA_VECTOR_MASKS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {

/// A word that holds just the bits of one mask: as wide as what is stored, so that it is not put
/// together in memory.
template <class D>
using MaskWord = std::conditional_t<
    (hwy::HWY_NAMESPACE::MaxLanes(D()) > 32), std::uint64_t,
    std::conditional_t<
        (hwy::HWY_NAMESPACE::MaxLanes(D()) > 16), std::uint32_t,
        std::conditional_t<(hwy::HWY_NAMESPACE::MaxLanes(D()) > 8), std::uint16_t, std::uint8_t>>>;

/// A bit for each lane, the first one in the lowest.
template <class D>
HWY_INLINE std::uint64_t bitsOf(D d, hwy::HWY_NAMESPACE::Mask<D> mask) {
  std::uint8_t bytes[8] = {};
  hwy::HWY_NAMESPACE::StoreMaskBits(d, mask, bytes);
  MaskWord<D> word;
  hwy::CopyBytes<sizeof(word)>(bytes, &word);
  asm(""
      : "+r"(word));  // g++ 12 may store 32 bits of a mask register, and read 64 back to widen it
  return word;
}

/// How many lanes a mask has.
template <class D>
HWY_INLINE std::size_t lanesIn(D d, hwy::HWY_NAMESPACE::Mask<D> mask) {
#if HWY_TARGET <= HWY_AVX3
  return hwy::PopCount(bitsOf(d, mask));
#else
  return hwy::HWY_NAMESPACE::CountTrue(d, mask);
#endif
}

}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#endif
