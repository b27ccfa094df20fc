// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

namespace kestova {

/// Finds a pattern in a time that grows with the lengths alone, whatever both hold, without memory
/// of its own: the two-way algorithm of Crochemore and Perrin. `Reader` is a random-access iterator
/// over bytes; with reverse iterators the search runs from the back.
template <class Reader>
class TwoWaySearch {
 public:
  /// The pattern is not empty.
  TwoWaySearch(Reader pattern, std::size_t size) : pattern_(pattern), size_(size) {
    const Suffix least = maximalSuffix(std::less<>());
    const Suffix greatest = maximalSuffix(std::greater<>());
    const Suffix cut = least.start > greatest.start ? least : greatest;
    cut_ = cut.start;
    const bool repeats = agreeUpTo(cut_, cut.period);
    step_ = repeats ? cut.period : (cut_ > size_ - cut_ ? cut_ : size_ - cut_) + 1;
    kept_ = repeats ? size_ - step_ : 0;
  }

  /// The first of so many starts in the text where the pattern begins; `starts` when there is none.
  std::size_t firstIn(Reader text, std::size_t starts) const {
    std::size_t known = 0;  // so many bytes of the pattern are known to agree at this start
    for (std::size_t start = 0; start < starts;) {
      const Reader here = text + static_cast<Distance>(start);
      std::size_t right = cut_ > known ? cut_ : known;
      while (right < size_ && at(pattern_, right) == at(here, right)) {
        ++right;
      }
      if (right < size_) {
        start += right - cut_ + 1;
        known = 0;
        continue;
      }
      std::size_t left = cut_;
      while (left > known && at(pattern_, left - 1) == at(here, left - 1)) {
        --left;
      }
      if (left <= known) {
        return start;
      }
      start += step_;
      known = kept_;
    }
    return starts;
  }

 private:
  using Distance = std::ptrdiff_t;

  struct Suffix {
    std::size_t start;
    std::size_t period;
  };

  static auto at(Reader bytes, std::size_t index) { return bytes[static_cast<Distance>(index)]; }

  /// The suffix of the pattern that is the greatest in an order of bytes, and its period.
  template <class Before>
  Suffix maximalSuffix(Before before) const {
    std::size_t best = 0;
    std::size_t other = 1;
    std::size_t offset = 0;
    std::size_t period = 1;
    while (other + offset < size_) {
      const auto a = at(pattern_, other + offset);
      const auto b = at(pattern_, best + offset);
      if (before(a, b)) {
        other += offset + 1;
        offset = 0;
        period = other - best;
      } else if (a != b) {
        best = other;
        other = best + 1;
        offset = 0;
        period = 1;
      } else if (++offset == period) {
        other += period;
        offset = 0;
      }
    }
    return {best, period};
  }

  /// Whether the first `count` bytes come again a distance later.
  bool agreeUpTo(std::size_t count, std::size_t distance) const {
    for (std::size_t index = 0; index < count; ++index) {
      if (index + distance >= size_ || at(pattern_, index) != at(pattern_, index + distance)) {
        return false;
      }
    }
    return true;
  }

  Reader pattern_;
  std::size_t size_;
  std::size_t cut_;   // where the pattern is cut: the right half is compared first
  std::size_t step_;  // how far to go on after the right half agreed and the left did not
  std::size_t kept_;  // how much is known to agree after that step
};

}  // namespace kestova
