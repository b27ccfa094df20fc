// SPDX-License-Identifier: Apache-2.0
#include "text/PieceSearch.h"

#include "text/LikelyPlaces.h"

#include <algorithm>

namespace kestova {
namespace {

/// In 8-bit storage nothing is passed by: few searches go through its pieces.
class EveryPlace {
 public:
  EveryPlace(const TextPieces<char>&, std::u16string_view, std::size_t) noexcept {}
  std::size_t next(std::size_t from, std::size_t) const noexcept { return from; }
};

template <class Unit>
using PlacesIn = std::conditional_t<std::is_same_v<Unit, char>, EveryPlace, LikelyPlaces>;

}  // namespace

template <class Unit>
NSRange PieceSearch<Unit>::find(NSRange range, SearchPlace place) {
  const std::size_t end = NSMaxRange(range);
  const std::size_t to = pieces_.boundaryAtOrBefore(end);
  switch (place) {
    case SearchPlace::first:
      return first(pieces_.boundaryAtOrAfter(range.location), to);
    case SearchPlace::last:
      return last(pieces_.boundaryAtOrAfter(range.location), to);
    case SearchPlace::start:
      return pieces_.isBoundary(range.location) ? atStart(range.location, to) : kNowhere;
    case SearchPlace::end:
      return to == end ? atEnd(range.location, to) : kNowhere;
  }
  return kNowhere;
}

/// A window is at least twice as long as what is wanted, so that every step gets on by as much.
template <class Unit>
std::size_t PieceSearch<Unit>::windowAfter(std::size_t size) const noexcept {
  return std::max(std::min(2 * size, kLargestWindow), 2 * wanted_.size());
}

/// The next window begins with the first piece that was too near to the end of this one, or where
/// a match is likely behind that. After a long way it is small again.
template <class Unit>
NSRange PieceSearch<Unit>::first(std::size_t from, std::size_t to) {
  PlacesIn<Unit> places(pieces_, wanted_, to - std::min(from, to));
  for (std::size_t size = windowAfter(kFirstWindow / 2); from < to; size = windowAfter(size)) {
    const std::size_t passed = from;
    from = places.next(passed, to);
    if (from - passed > kLongWay) {
      size = windowAfter(kFirstWindow / 2);
    }
    const std::size_t windowEnd = foldFrom(from, to, size);
    const NSRange match = matchInWindow<Direction::forwards>();
    if (match.location != NSNotFound || windowEnd == to) {
      return match;
    }
    std::size_t index = units_.size() - wanted_.size() + 1;
    while (index < starts_.size() && starts_[index] == kInside) {
      ++index;
    }
    from = index < starts_.size() ? starts_[index] : windowEnd;
  }
  return kNowhere;
}

/// The next window ends with the last piece that was too near to the beginning of this one.
template <class Unit>
NSRange PieceSearch<Unit>::last(std::size_t from, std::size_t to) {
  for (std::size_t size = windowAfter(kFirstWindow / 2); from < to; size = windowAfter(size)) {
    const std::size_t start = foldBack(from, to, size);
    const NSRange match = matchInWindow<Direction::backwards>();
    if (match.location != NSNotFound || start == from) {
      return match;
    }
    std::size_t count = std::min(wanted_.size() - 1, units_.size());
    while (count > 0 && ends_[count - 1] == kInside) {
      --count;
    }
    to = count > 0 ? ends_[count - 1] : start;
  }
  return kNowhere;
}

template <class Unit>
NSRange PieceSearch<Unit>::atStart(std::size_t from, std::size_t to) {
  std::size_t matched = 0;
  std::size_t end = from;
  while (matched < wanted_.size() && end < to) {
    const std::size_t start = end;
    end = pieces_.boundaryAtOrAfter(start + 1);
    units_.clear();
    pieces_.appendFolded(start, end, units_);
    if (!wanted_.substr(matched).starts_with(units_)) {
      return kNowhere;
    }
    matched += units_.size();
  }
  return matched == wanted_.size() ? NSRange{from, end - from} : kNowhere;
}

template <class Unit>
NSRange PieceSearch<Unit>::atEnd(std::size_t from, std::size_t to) {
  std::size_t left = wanted_.size();
  std::size_t start = to;
  while (left > 0 && start > from) {
    const std::size_t end = start;
    start = startOfPieceBefore(end);
    units_.clear();
    pieces_.appendFolded(start, end, units_);
    if (start < from || !wanted_.substr(0, left).ends_with(units_)) {
      return kNowhere;
    }
    left -= units_.size();
  }
  return left == 0 ? NSRange{start, to - start} : kNowhere;
}

template <class Unit>
std::size_t PieceSearch<Unit>::foldFrom(std::size_t from, std::size_t to, std::size_t size) {
  resizeWindow(0);
  std::size_t end = from;
  while (end < to && units_.size() < size) {
    const std::size_t start = end;
    end = foldEasyUnits(start, to, size - units_.size());
    if (end == start) {
      end = pieces_.boundaryAtOrAfter(start + 1);
      foldPiece(start, end);
    }
  }
  return end;
}

template <class Unit>
std::size_t PieceSearch<Unit>::foldEasyUnits(std::size_t from, std::size_t to, std::size_t limit) {
  char16_t unit = pieces_.easyUnitAt(from);
  if (unit == 0) {
    return from;
  }
  const std::size_t first = units_.size();
  const std::size_t count = std::min({to - from, limit, kRun});
  resizeWindow(first + count);
  std::size_t done = 0;
  do {
    units_[first + done] = unit;
    starts_[first + done] = from + done;
    ends_[first + done] = from + done + 1;
  } while (++done < count && (unit = pieces_.easyUnitAt(from + done)) != 0);
  resizeWindow(first + done);
  return from + done;
}

template <class Unit>
void PieceSearch<Unit>::resizeWindow(std::size_t size) {
  units_.resize(size);
  starts_.resize(size, kInside);
  ends_.resize(size, kInside);
}

/// Pieces may leave nothing, so that it takes more of them than there are units to be had.
template <class Unit>
std::size_t PieceSearch<Unit>::foldBack(std::size_t from, std::size_t to, std::size_t size) {
  std::size_t start = to;
  do {
    const std::size_t units = std::min(std::max(size, 2 * (to - start)), to - from);
    start = std::max(from, pieces_.boundaryAtOrBefore(to - units));
    foldFrom(start, to, kInside);
  } while (start > from && units_.size() < 2 * wanted_.size());
  return start;
}

template <class Unit>
void PieceSearch<Unit>::foldPiece(std::size_t start, std::size_t end) {
  const std::size_t first = units_.size();
  pieces_.appendFolded(start, end, units_);
  if (units_.size() > first) {
    resizeWindow(units_.size());
    starts_[first] = start;
    ends_.back() = end;
  }
}

template <class Unit>
template <Direction direction>
NSRange PieceSearch<Unit>::matchInWindow() const {
  if (units_.size() < wanted_.size()) {
    return kNowhere;
  }
  const auto endOf = [&](std::size_t place) { return ends_[place + wanted_.size() - 1]; };
  const auto isWhole = [&](std::size_t place) {
    return starts_[place] != kInside && endOf(place) != kInside;
  };
  const std::size_t place =
      firstAccepted(UnitMatches<char16_t, ExactUnits, direction>(units_, wanted_), isWhole);
  return place == kInside ? kNowhere : NSRange{starts_[place], endOf(place) - starts_[place]};
}

template class PieceSearch<char>;
template class PieceSearch<char16_t>;

}  // namespace kestova
