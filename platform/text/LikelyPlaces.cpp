// SPDX-License-Identifier: Apache-2.0
#include "text/LikelyPlaces.h"

#include <algorithm>

namespace kestova {

LikelyPlaces::LikelyPlaces(const TextPieces<char16_t>& pieces, std::u16string_view wanted,
                           std::size_t length)
    : pieces_(pieces), wanted_(wanted) {
  if (length < kShortest) {
    return;
  }
  const auto hasFewSpellings = [&](char16_t unit) {
    return pieces.folding().hasFewSpellings(unit);
  };
  const auto first = std::ranges::find_if(wanted, hasFewSpellings);
  if (first == wanted.end()) {
    return;
  }
  const auto last = std::find_if(wanted.rbegin(), wanted.rend(), hasFewSpellings).base() - 1;
  pairStart_ = static_cast<std::size_t>(first - wanted.begin());
  const auto spell = [&](char16_t unit, char16_t(&spellings)[2]) {
    std::ranges::copy(pieces.folding().spellings(unit), spellings);
  };
  spell(*first, pair_.first);
  spell(*last, pair_.last);
  pair_.gap = static_cast<std::size_t>(last - first);
  odd_ = pieces.folding().oddUnits();
}

/// A match of units that are all easy has the pair in it; any other one has an odd unit in it, and
/// before that no more units than are wanted.
std::size_t LikelyPlaces::next(std::size_t from, std::size_t to) {
  const std::size_t start = from;
  const std::size_t size = wanted_.size();
  const auto isWorthIt = [&](std::size_t place) {
    return effort_ <= kPatience + 4 * (passed_ + place - start);
  };
  if (pairStart_ == kNone || !isWorthIt(start)) {
    return from;
  }
  const auto answer = [&](std::size_t place) {
    passed_ += place - start;
    return place;
  };
  std::size_t index = from;
  while (to - index > pair_.gap) {
    const std::size_t count = to - index - pair_.gap;
    index += firstPairOrOdd(pieces_.text().data() + index, count, pair_, odd_);
    if (index == to - pair_.gap || !isWorthIt(index)) {
      break;
    }
    if (isOdd(index)) {
      const std::size_t end = passOdd(index);
      if (end == kNone) {
        return answer(std::max(from, index - std::min(index, size)));
      }
      from = index = end;
    } else {
      if (index >= from + pairStart_ && isEasyMatchAt(index - pairStart_, to)) {
        return answer(index - pairStart_);
      }
      ++index;
    }
  }
  return answer(std::max(from, index - std::min(index, size)));
}

/// Whether there is a match of easy units at a place. Such a one is the first: one that begins
/// before it would have to go on to an odd unit behind it.
bool LikelyPlaces::isEasyMatchAt(std::size_t place, std::size_t to) {
  if (to - place < wanted_.size()) {
    return false;
  }
  const std::u16string_view text = pieces_.text();
  for (std::size_t index = 0; index < wanted_.size(); ++index) {
    ++effort_;
    if (pieces_.folding().foldedUnit(text[place + index]) != wanted_[index]) {
      return false;
    }
  }
  return pieces_.isBoundary(place + wanted_.size());
}

/// Where the piece around an index ends if it can't be part of a match; kNone if it can.
std::size_t LikelyPlaces::passOdd(std::size_t index) {
  effort_ += kFolding + wanted_.size();
  const std::size_t end = pieces_.boundaryAtOrAfter(index + 1);
  piece_.clear();
  pieces_.appendFolded(pieces_.boundaryAtOrBefore(index), end, piece_);
  return wanted_.find(piece_) == wanted_.npos ? end : kNone;
}

}  // namespace kestova
