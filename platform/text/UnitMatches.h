// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "text/TwoWayMatches.h"
#include "text/UnitPairSearch.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

namespace kestova {

enum class Direction { forwards, backwards };

/// How units are told apart: as they are, or the letters of ASCII without their case. Both answer
/// the same unit for those that count as one, and the two spellings of a unit.
struct ExactUnits {
  static constexpr bool isExact = true;
  template <class Unit>
  static constexpr Unit fold(Unit unit) noexcept {
    return unit;
  }
  template <class Unit>
  static constexpr Unit otherSpelling(Unit unit) noexcept {
    return unit;
  }
};
struct CaselessASCII {
  static constexpr bool isExact = false;
  template <class Unit>
  static constexpr Unit fold(Unit unit) noexcept {
    return unit >= 'A' && unit <= 'Z' ? static_cast<Unit>(unit + ('a' - 'A')) : unit;
  }
  template <class Unit>
  static constexpr Unit otherSpelling(Unit unit) noexcept {
    if (const Unit lower = fold(unit); lower != unit) {
      return lower;
    }
    return unit >= 'a' && unit <= 'z' ? static_cast<Unit>(unit - ('a' - 'A')) : unit;
  }
};

/// Whether two runs of `size` units are the same.
template <class Units, class A, class B>
bool sameUnits(const A* a, const B* b, std::size_t size) noexcept {
  return std::equal(a, a + size, b, [](A x, B y) { return Units::fold(x) == Units::fold(y); });
}
template <>
inline bool sameUnits<ExactUnits>(const char* a, const char* b, std::size_t size) noexcept {
  return std::string_view(a, size) == std::string_view(b, size);
}

/// Every place where units stand in a text, overlapping ones included, from the front or from the
/// back. Likely places are found a vector at a time; where too many of them deceive, the rest is
/// searched in a way that nothing can slow down. So the time is linear in the text and what is
/// wanted, and nothing is allocated.
template <class Unit, class Units, Direction direction>
class UnitMatches {
 public:
  using View = std::basic_string_view<Unit>;
  static constexpr std::size_t npos = View::npos;

  /// `wanted` is not empty. Both must outlive this.
  UnitMatches(View text, View wanted) noexcept
      : text_(text),
        wanted_(wanted),
        places_(text.size() < wanted.size() ? 0 : text.size() - wanted.size() + 1),
        pair_{{wanted.front(), Units::otherSpelling(wanted.front())},
              {wanted.back(), Units::otherSpelling(wanted.back())},
              wanted.size() - 1} {}

  /// Where the next match begins; npos after the last one.
  std::size_t next() {
    while (!steady_ && effort_ <= kPatience + 4 * tried_) {
      const std::size_t place = nextCandidate();
      if (place == npos || isMatch(place)) {
        return place;
      }
    }
    if (!steady_) {
      steady_.emplace(turnSteady());
    }
    return inText(steady_->next());
  }

 private:
  /// A text or what is wanted, seen from the side where the search begins.
  struct FromSide {
    const Unit* units;
    std::size_t size;
    Unit operator()(std::size_t index) const noexcept {
      return Units::fold(direction == Direction::forwards ? units[index] : units[size - 1 - index]);
    }
  };
  using Steady = TwoWayMatches<FromSide, FromSide>;

  /// How many units may be compared in vain before that counts.
  static constexpr std::size_t kPatience = 4096;
  static constexpr std::size_t kStride = 64;

  std::size_t nextCandidate() noexcept {
    const std::size_t left = places_ - tried_;
    if constexpr (direction == Direction::forwards) {
      const std::size_t found = firstPair(text_.data() + tried_, left, pair_);
      tried_ += std::min(found + 1, left);
      return found == left ? npos : tried_ - 1;
    } else {
      const std::size_t found = lastPair(text_.data(), left, pair_);
      tried_ = found == left ? places_ : places_ - found;
      return found == left ? npos : found;
    }
  }

  /// What has been compared counts whether or not it was in vain: whoever asks for every
  /// overlapping match compares the same units again and again.
  bool isMatch(std::size_t place) noexcept {
    for (std::size_t done = 0; done < wanted_.size(); done += kStride) {
      const std::size_t size = std::min(kStride, wanted_.size() - done);
      effort_ += size;
      if (!sameUnits<Units>(text_.data() + place + done, wanted_.data() + done, size)) {
        return false;
      }
    }
    return true;
  }

  Steady turnSteady() const {
    const std::size_t left = places_ - tried_ + wanted_.size() - 1;
    const Unit* start = direction == Direction::forwards ? text_.data() + tried_ : text_.data();
    return Steady({start, left}, left, {wanted_.data(), wanted_.size()}, wanted_.size());
  }

  std::size_t inText(std::size_t place) const noexcept {
    if (place == npos) {
      return npos;
    }
    return direction == Direction::forwards ? tried_ + place : places_ - tried_ - 1 - place;
  }

  View text_;
  View wanted_;
  /// How many places a match may begin at, and how many of them have been tried.
  std::size_t places_;
  std::size_t tried_ = 0;
  UnitPair<Unit> pair_;
  std::size_t effort_ = 0;
  std::optional<Steady> steady_;
};

}  // namespace kestova
