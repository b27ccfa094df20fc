// SPDX-License-Identifier: Apache-2.0
#include "values/ByteSearchVectors.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "values/ByteSearchVectors.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <bit>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace kestova {
namespace HWY_NAMESPACE {
namespace {  // units use the same names for different things

namespace hn = hwy::HWY_NAMESPACE;

/// Half a cache line at most: most loads are then from one line only, wherever they begin, which
/// outweighs their number.
const hn::CappedTag<std::uint8_t, 32> kBytes;

/// One bit for each place that a vector tries, that of the first place lowest.
using Candidates = std::uint32_t;

constexpr std::size_t kCacheLine = 64;

/// How far ahead memory is asked for: further than the processor does by itself, which stops where
/// a page ends.
constexpr std::size_t kAhead = 4096;

/// How many bytes agree from the front; up to seven fewer where they differ.
HWY_INLINE std::size_t commonLength(const std::uint8_t* a, const std::uint8_t* b,
                                    std::size_t size) {
  std::size_t index = 0;
  for (; size - index >= 8; index += 8) {
    std::uint64_t x;
    std::uint64_t y;
    std::memcpy(&x, a + index, 8);
    std::memcpy(&y, b + index, 8);
    if (x != y) {
      return index;
    }
  }
  for (; index < size && a[index] == b[index]; ++index) {
  }
  return index;
}

/// Weighs the comparing against the advancing. What it allows in all grows with the bytes passed
/// and the pattern's length, so that a search costs no more than that.
class Effort {
 public:
  explicit Effort(std::size_t patternSize) : allowed_(1024 + 16 * patternSize) {}

  void compared(std::size_t bytes) { spent_ += kComparison + bytes; }
  bool isTooMuchFor(std::size_t advanced) const { return spent_ > allowed_ + 8 * advanced; }

 private:
  static constexpr std::size_t kComparison = 16;

  std::size_t allowed_;
  std::size_t spent_ = 0;
};

/// The lanes for which both chosen bytes are what they are in the pattern, of the places from
/// `bytes` on.
HWY_INLINE auto candidateMask(const VectorPattern& pattern, const std::uint8_t* bytes) {
  const auto probe = hn::Set(kBytes, pattern.bytes[pattern.probe]);
  const auto secondProbe = hn::Set(kBytes, pattern.bytes[pattern.secondProbe]);
  return hn::And(hn::Eq(probe, hn::LoadU(kBytes, bytes + pattern.probe)),
                 hn::Eq(secondProbe, hn::LoadU(kBytes, bytes + pattern.secondProbe)));
}

HWY_INLINE Candidates candidatesAt(const VectorPattern& pattern, const std::uint8_t* bytes) {
  Candidates bits = 0;
  std::uint8_t stored[8] = {};  // what StoreMaskBits asks for
  hn::StoreMaskBits(kBytes, candidateMask(pattern, bytes), stored);
  std::memcpy(&bits, stored, sizeof bits);
  return bits;
}

/// Whether there is no candidate in four vectors.
HWY_INLINE bool isBlockEmpty(const VectorPattern& pattern, const std::uint8_t* bytes) {
  const std::size_t step = hn::Lanes(kBytes);
  const auto front = hn::Or(candidateMask(pattern, bytes), candidateMask(pattern, bytes + step));
  const auto back =
      hn::Or(candidateMask(pattern, bytes + 2 * step), candidateMask(pattern, bytes + 3 * step));
  return hn::AllFalse(kBytes, hn::Or(front, back));
}

/// From the front to the back.
struct Forwards {
  /// The lowest of the next `count` places after so many of all of them.
  static std::size_t place(std::size_t, std::size_t tried, std::size_t) { return tried; }

  /// A place that is so far ahead.
  static std::size_t placeAhead(std::size_t, std::size_t tried, std::size_t distance) {
    return tried + distance;
  }

  /// Takes the next candidate off.
  static std::size_t take(Candidates& left) {
    const int lowest = std::countr_zero(left);
    left &= left - 1;
    return static_cast<std::size_t>(lowest);
  }

  static std::size_t positionAfter(std::size_t refuted) { return refuted + 1; }
};

/// From the back to the front.
struct Backwards {
  static std::size_t place(std::size_t starts, std::size_t tried, std::size_t count) {
    return starts - tried - count;
  }

  static std::size_t placeAhead(std::size_t starts, std::size_t tried, std::size_t distance) {
    return starts - tried - distance;
  }

  static std::size_t take(Candidates& left) {
    const int highest = 31 - std::countl_zero(left);
    left ^= Candidates{1} << highest;
    return static_cast<std::size_t>(highest);
  }

  static std::size_t positionAfter(std::size_t refuted) { return refuted; }
};

template <class Order>
class Search {
 public:
  Search(const VectorPattern& pattern, const std::uint8_t* bytes, std::size_t starts)
      : pattern_(pattern), bytes_(bytes), starts_(starts), effort_(pattern.size) {}

  VectorSearchEnd run() {
    const std::size_t step = hn::Lanes(kBytes);
    starts_ < step ? tryPlaces() : tryVectors(step);
    return end_;
  }

 private:
  std::size_t next(std::size_t count) const { return Order::place(starts_, tried_, count); }

  void tryPlaces() {
    for (; tried_ < starts_; ++tried_) {
      const std::uint8_t* place = bytes_ + next(1);
      if (place[pattern_.probe] == pattern_.bytes[pattern_.probe] && isEndedBy(next(1))) {
        return;
      }
    }
  }

  /// Four vectors at a time as long as they hold no candidate. The last vector overlaps the one
  /// before it: what was refuted there is refuted again.
  void tryVectors(std::size_t step) {
    while (starts_ - tried_ >= 4 * step) {
      prefetch(4 * step);
      if (isBlockEmpty(pattern_, bytes_ + next(4 * step))) {
        tried_ += 4 * step;
      } else if (isEndedInVectors(4, step)) {
        return;
      }
    }
    if (isEndedInVectors((starts_ - tried_) / step, step) || tried_ == starts_) {
      return;
    }
    tried_ = starts_ - step;
    isEndedInVectors(1, step);
  }

  void prefetch(std::size_t size) const {
    for (std::size_t line = 0; line < size && starts_ - tried_ > kAhead + line;
         line += kCacheLine) {
      __builtin_prefetch(bytes_ + Order::placeAhead(starts_, tried_, kAhead + line));
    }
  }

  bool isEndedInVectors(std::size_t count, std::size_t step) {
    for (; count > 0; --count, tried_ += step) {
      const std::size_t start = next(step);
      for (Candidates left = candidatesAt(pattern_, bytes_ + start); left != 0;) {
        if (isEndedBy(start + Order::take(left))) {
          return true;
        }
      }
    }
    return false;
  }

  /// Whether the search ends with this candidate, found or given up.
  bool isEndedBy(std::size_t candidate) {
    const std::size_t common = commonLength(pattern_.bytes, bytes_ + candidate, pattern_.size);
    effort_.compared(common);
    if (common == pattern_.size) {
      end_ = {VectorSearchEnd::kFound, candidate};
    } else if (effort_.isTooMuchFor(tried_)) {
      end_ = {VectorSearchEnd::kGivenUp, Order::positionAfter(candidate)};
    }
    return end_.kind != VectorSearchEnd::kNotFound;
  }

  const VectorPattern& pattern_;
  const std::uint8_t* bytes_;
  std::size_t starts_;
  std::size_t tried_ = 0;
  Effort effort_;
  VectorSearchEnd end_ = {VectorSearchEnd::kNotFound, 0};
};

VectorSearchEnd findFirst(const VectorPattern& pattern, const std::uint8_t* bytes,
                          std::size_t starts) {
  return Search<Forwards>(pattern, bytes, starts).run();
}

VectorSearchEnd findLast(const VectorPattern& pattern, const std::uint8_t* bytes,
                         std::size_t starts) {
  return Search<Backwards>(pattern, bytes, starts).run();
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace kestova
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kestova {

HWY_EXPORT(findFirst);
HWY_EXPORT(findLast);

VectorSearchEnd findFirstByVectors(const VectorPattern& pattern, const std::uint8_t* bytes,
                                   std::size_t starts) noexcept {
  return HWY_DYNAMIC_DISPATCH(findFirst)(pattern, bytes, starts);
}

VectorSearchEnd findLastByVectors(const VectorPattern& pattern, const std::uint8_t* bytes,
                                  std::size_t starts) noexcept {
  return HWY_DYNAMIC_DISPATCH(findLast)(pattern, bytes, starts);
}

}  // namespace kestova
#endif
