// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace kestova {

/// Every place where one sequence stands in another, overlapping ones included, in order: in time
/// linear in both and without memory of its own, whatever they are (the two-way algorithm of
/// Crochemore and Perrin). `At` answers an element by its index; elements are compared by value.
template <class TextAt, class WantedAt>
class TwoWayMatches {
 public:
  static constexpr std::size_t npos = std::string_view::npos;

  /// Both sequences by their elements and lengths; the wanted one is not empty.
  TwoWayMatches(TextAt text, std::size_t size, WantedAt wanted, std::size_t wantedSize)
      : text_(text), size_(size), wanted_(wanted), wantedSize_(wantedSize) {
    const Suffix less = maximalSuffix([](auto a, auto b) { return a < b; });
    const Suffix greater = maximalSuffix([](auto a, auto b) { return b < a; });
    const Suffix& later = less.start > greater.start ? less : greater;
    middle_ = later.start;
    period_ = later.period;
    repeats_ = isPeriodic();
    if (!repeats_) {
      period_ = std::max(middle_, wantedSize_ - middle_) + 1;
    }
  }

  /// The next place; npos after the last one.
  std::size_t next() {
    while (wantedSize_ <= size_ && place_ <= size_ - wantedSize_) {
      const std::size_t place = place_;
      if (const std::size_t right = rightPart(); right < wantedSize_) {
        advance(right - middle_ + 1, 0);
        continue;
      }
      const bool found = hasLeftPart();
      advance(period_, repeats_ ? wantedSize_ - period_ : 0);
      if (found) {
        return place;
      }
    }
    return npos;
  }

 private:
  struct Suffix {
    std::size_t start;
    std::size_t period;
  };

  /// Where the greatest suffix begins in an order of elements, and how it repeats.
  template <class Less>
  Suffix maximalSuffix(Less less) const {
    std::size_t start = 0;
    std::size_t period = 1;
    std::size_t candidate = 1;
    std::size_t same = 0;
    while (candidate + same < wantedSize_) {
      const auto own = wanted_(start + same);
      const auto other = wanted_(candidate + same);
      if (less(other, own)) {
        candidate += same + 1;
        same = 0;
        period = candidate - start;
      } else if (less(own, other)) {
        start = candidate++;
        same = 0;
        period = 1;
      } else if (++same == period) {
        candidate += period;
        same = 0;
      }
    }
    return {start, period};
  }

  /// Whether all of the wanted sequence repeats with the period of its right part.
  bool isPeriodic() const {
    for (std::size_t index = 0; index < middle_; ++index) {
      if (period_ + index >= wantedSize_ || wanted_(index) != wanted_(period_ + index)) {
        return false;
      }
    }
    return true;
  }

  std::size_t rightPart() const {
    std::size_t index = std::max(middle_, known_);
    while (index < wantedSize_ && wanted_(index) == text_(place_ + index)) {
      ++index;
    }
    return index;
  }

  bool hasLeftPart() const {
    std::size_t index = middle_;
    while (index > known_ && wanted_(index - 1) == text_(place_ + index - 1)) {
      --index;
    }
    return index <= known_;
  }

  void advance(std::size_t distance, std::size_t known) {
    place_ += distance;
    known_ = known;
  }

  TextAt text_;
  std::size_t size_;
  WantedAt wanted_;
  std::size_t wantedSize_;
  std::size_t middle_ = 0;
  std::size_t period_ = 1;
  bool repeats_ = false;
  std::size_t place_ = 0;
  /// How many of the wanted elements are known to stand at `place_`, from its beginning on.
  std::size_t known_ = 0;
};

}  // namespace kestova
