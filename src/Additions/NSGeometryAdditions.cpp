// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace kestova {
namespace {

/// What two rectangles become: up to three.
class Pieces {
 public:
  Pieces() = default;
  Pieces(const NSRect& only) : pieces_{only}, count_(1) {}
  Pieces(const NSRect& first, const NSRect& second) : pieces_{first, second}, count_(2) {}
  Pieces(const NSRect& first, const NSRect& second, const NSRect& third)
      : pieces_{first, second, third}, count_(3) {}

  explicit operator bool() const { return count_ > 0; }
  auto begin() const { return pieces_.begin(); }
  auto end() const { return begin() + count_; }

  bool contains(const NSRect& rect) const { return std::find(begin(), end(), rect) != end(); }

 private:
  std::array<NSRect, 3> pieces_;
  std::ptrdiff_t count_ = 0;
};

/// Which edges of a rectangle lie inside of the span of another one, in the bits of a number.
enum EdgesInside : unsigned { kLeft = 1, kRight = 2, kBottom = 4, kTop = 8 };

unsigned edgesInside(const NSRect& a, const NSRect& b) {
  const auto isWithinWidth = [&](double x) { return a.origin.x < x && x < NSMaxX(a); };
  const auto isWithinHeight = [&](double y) { return a.origin.y < y && y < NSMaxY(a); };
  return (isWithinWidth(b.origin.x) ? kLeft : 0U) | (isWithinWidth(NSMaxX(b)) ? kRight : 0U) |
         (isWithinHeight(b.origin.y) ? kBottom : 0U) | (isWithinHeight(NSMaxY(b)) ? kTop : 0U);
}

/// Of two rectangles side by side the taller one stays whole.
Pieces brokenAcross(const NSRect& left, const NSRect& right) {
  if (left.size.height >= right.size.height) {
    const double edge = NSMaxX(left);
    return {left, {{edge, right.origin.y}, {NSMaxX(right) - edge, right.size.height}}};
  }
  return {{left.origin, {right.origin.x - left.origin.x, left.size.height}}, right};
}

/// Of two rectangles above each other the wider one stays whole.
Pieces brokenAlong(const NSRect& lower, const NSRect& upper) {
  if (lower.size.width >= upper.size.width) {
    const double edge = NSMaxY(lower);
    return {lower, {{upper.origin.x, edge}, {upper.size.width, NSMaxY(upper) - edge}}};
  }
  return {{lower.origin, {lower.size.width, upper.origin.y - lower.origin.y}}, upper};
}

/// The parts of `a` beyond the edges of `b`, in all of `a`'s height or width.
NSRect leftOf(const NSRect& b, const NSRect& a) {
  return {a.origin, {b.origin.x - a.origin.x, a.size.height}};
}
NSRect rightOf(const NSRect& b, const NSRect& a) {
  return {{NSMaxX(b), a.origin.y}, {NSMaxX(a) - NSMaxX(b), a.size.height}};
}
NSRect below(const NSRect& b, const NSRect& a) {
  return {a.origin, {a.size.width, b.origin.y - a.origin.y}};
}
NSRect above(const NSRect& b, const NSRect& a) {
  return {{a.origin.x, NSMaxY(b)}, {a.size.width, NSMaxY(a) - NSMaxY(b)}};
}

/// A part of `a` without what lies to the left of `b`'s left edge or to the right of its right one.
NSRect fromLeftEdge(const NSRect& b, const NSRect& a, const NSRect& part) {
  return {{b.origin.x, part.origin.y}, {NSMaxX(a) - b.origin.x, part.size.height}};
}
NSRect toRightEdge(const NSRect& b, const NSRect& a, const NSRect& part) {
  return {{a.origin.x, part.origin.y}, {NSMaxX(b) - a.origin.x, part.size.height}};
}

/// `b` lies over a side of `a`, passes through it, or lies over a corner.
Pieces brokenAtEdges(const NSRect& a, const NSRect& b) {
  switch (edgesInside(a, b)) {
    case kLeft:
      return brokenAcross(a, b);
    case kRight:
      return brokenAcross(b, a);
    case kBottom:
      return brokenAlong(a, b);
    case kTop:
      return brokenAlong(b, a);
    case kLeft | kRight:
      return {leftOf(b, a), rightOf(b, a), b};
    case kBottom | kTop:
      return {below(b, a), above(b, a), b};
    case kLeft | kBottom:
      return {leftOf(b, a), fromLeftEdge(b, a, below(b, a)), b};
    case kLeft | kTop:
      return {leftOf(b, a), fromLeftEdge(b, a, above(b, a)), b};
    case kRight | kBottom:
      return {toRightEdge(b, a, below(b, a)), rightOf(b, a), b};
    case kRight | kTop:
      return {toRightEdge(b, a, above(b, a)), rightOf(b, a), b};
    default:
      return {};
  }
}

Pieces broken(const NSRect& a, const NSRect& b) {
  return !NSIntersectsRect(a, b) ? Pieces()
         : NSContainsRect(b, a)  ? Pieces(b)
         : NSContainsRect(a, b)  ? Pieces(a)
                                 : brokenAtEdges(a, b);
}

/// Nothing where breaking makes no progress, or the search would not end.
Pieces merged(const NSRect& r, const NSRect& s) {
  const Pieces pieces = broken(r, s);
  return pieces.contains(r) && pieces.contains(s) && !(r == s) ? Pieces() : pieces;
}

Pieces reduced(const NSRect& r, const NSRect& s) {
  if (r.origin.x == NSMaxX(s) && r.origin.y == s.origin.y && NSMaxY(r) == NSMaxY(s)) {
    return NSRect{{s.origin.x, r.origin.y}, {r.size.width + s.size.width, r.size.height}};
  }
  if (r.origin.y == NSMaxY(s) && r.origin.x == s.origin.x && NSMaxX(r) == NSMaxX(s)) {
    return NSRect{{r.origin.x, s.origin.y}, {r.size.width, r.size.height + s.size.height}};
  }
  return {};
}

Pieces united(const NSRect& r, const NSRect& s) { return NSUnionRect(r, s); }

constexpr auto abut = [](const NSRect& r, const NSRect& s) {
  return r.origin.x == NSMaxX(s) || r.origin.y == NSMaxY(s);
};

constexpr auto intersect = [](const NSRect& r, const NSRect& s) { return NSIntersectsRect(r, s); };

NSRect rectOf(const id& object) { return Unboxing<NSRect>::unbox(object); }

/// The search for pairs that can be joined. It starts again after each join but does not test again
/// what it has rejected: rectangles never change, so that a pair once rejected stays so.
class PairSearch {
 public:
  explicit PairSearch(const Ref<NSArray>& rects) : input_(rects) {
    if (rects) {
      candidates_.reserve(rects->count());
      for (const id& object : rects) {
        append(rectOf(object));
      }
    }
  }

  /// `meet` tells quickly of nearly all pairs that they stay as they are; `join` answers what the
  /// others become, nothing where they stay as well.
  template <class Meet, class Join>
  Ref<NSMutableArray> run(const Meet& meet, const Join& join) {
    std::size_t i = 0;
    while (i < candidates_.size()) {
      i = joinWithFirst(i, meet, join) ? 0 : i + 1;
    }
    return result();
  }

 private:
  /// Numbers are given in order and never again, so that the list is always ordered by them.
  struct Candidate {
    NSRect rect;
    std::size_t number;
    std::size_t testedBelow = 0;  // it was rejected with all that have a lower number
  };

  void append(const NSRect& rect) { candidates_.push_back({rect, nextNumber_++}); }

  /// Where the candidates begin that one was not tested with. They are at the end, and mostly none
  /// or few.
  std::size_t firstUntested(const Candidate& candidate) const {
    std::size_t index = candidates_.size();
    while (index > 0 && candidates_[index - 1].number >= candidate.testedBelow) {
      --index;
    }
    return index;
  }

  template <class Meet, class Join>
  bool joinWithFirst(std::size_t i, const Meet& meet, const Join& join) {
    const NSRect r = candidates_[i].rect;
    for (std::size_t j = firstUntested(candidates_[i]); j < candidates_.size(); ++j) {
      if (j == i || !meet(r, candidates_[j].rect)) {
        continue;
      }
      if (const Pieces pieces = join(r, candidates_[j].rect); pieces) {
        replace(std::minmax(i, j), pieces);
        return true;
      }
    }
    candidates_[i].testedBelow = nextNumber_;
    return false;
  }

  void replace(std::pair<std::size_t, std::size_t> indexes, const Pieces& pieces) {
    candidates_.erase(candidates_.begin() + static_cast<std::ptrdiff_t>(indexes.second));
    candidates_.erase(candidates_.begin() + static_cast<std::ptrdiff_t>(indexes.first));
    std::ranges::for_each(pieces, [&](const NSRect& piece) { append(piece); });
  }

  Ref<NSMutableArray> result() const {
    const std::size_t given = input_ ? input_->count() : 0;
    std::vector<id> objects;
    objects.reserve(candidates_.size());
    for (const Candidate& candidate : candidates_) {
      objects.push_back(candidate.number < given ? input_->objectAtIndex(candidate.number)
                                                 : id(candidate.rect));
    }
    return NSMutableArray::arrayWithObjects(std::move(objects));
  }

  const Ref<NSArray> input_;
  std::vector<Candidate> candidates_;
  std::size_t nextNumber_ = 0;
};

}  // namespace

bool NSBreakOverlappingRects(Ref<NSArray>* pieces, NSRect a, NSRect b) {
  const Pieces found = broken(a, b);
  if (found && pieces != nullptr) {
    *pieces = NSArray::arrayWithObjects({found.begin(), found.end()});
  }
  return static_cast<bool>(found);
}

Ref<NSMutableArray> NSReduceRects(const Ref<NSArray>& rects) {
  return PairSearch(rects).run(abut, reduced);
}

Ref<NSMutableArray> NSMergeRects(const Ref<NSArray>& rects) {
  return PairSearch(rects).run(intersect, merged);
}

Ref<NSMutableArray> NSUnionIntersectingRects(const Ref<NSArray>& rects) {
  return PairSearch(rects).run(intersect, united);
}

Ref<NSMutableArray> NSClipRects(const Ref<NSArray>& rects, NSRect clip) {
  const auto clipped = NSMutableArray::array();
  for (const id& object : rects ? rects : NSArray::array()) {
    const NSRect part = NSIntersectionRect(clip, rectOf(object));
    if (!NSEqualRects(part, NSZeroRect)) {
      clipped->addObject(part);
    }
  }
  return clipped;
}

Ref<NSMutableArray> NSOffsetRects(const Ref<NSArray>& rects, double dx, double dy) {
  const auto moved = NSMutableArray::array();
  for (const id& object : rects ? rects : NSArray::array()) {
    moved->addObject(NSOffsetRect(rectOf(object), dx, dy));
  }
  return moved;
}

NSRect NSFlipRect(NSRect rect, double height) {
  return {{rect.origin.x, height - (rect.origin.y + rect.size.height)}, rect.size};
}

}  // namespace kestova
