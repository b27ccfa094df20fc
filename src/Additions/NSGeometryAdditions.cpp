// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>

#include "RectTree.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <functional>
#include <iterator>
#include <queue>
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

Pieces united(const NSRect& r, const NSRect& s) {
  return NSIntersectsRect(r, s) ? Pieces(NSUnionRect(r, s)) : Pieces();
}

NSRect rectOf(const id& object) { return Unboxing<NSRect>::unbox(object); }

std::vector<NSRect> rectsOf(const Ref<NSArray>& list) {
  std::vector<NSRect> rects;
  if (list) {
    rects.reserve(list->count());
    std::ranges::transform(list, std::back_inserter(rects), rectOf);
  }
  return rects;
}

/// What overlaps or nearly does.
template <Pieces (*joined)(const NSRect&, const NSRect&)>
struct Overlapping {
  static Pieces join(const NSRect& r, const NSRect& s) { return joined(r, s); }

  static bool mayJoin(const NSRect& r, const RectBounds& s) {
    return NSMinX(r) < s.maxX.greatest && s.minX.least < NSMaxX(r) && NSMinY(r) < s.maxY.greatest &&
           s.minY.least < NSMaxY(r);
  }
  static bool mayJoin(const RectBounds& r, const NSRect& s) { return mayJoin(s, r); }
};

/// What abuts.
struct Abutting {
  static Pieces join(const NSRect& r, const NSRect& s) { return reduced(r, s); }

  static bool mayJoin(const NSRect& r, const RectBounds& s) {
    return (s.maxX.hold(NSMinX(r)) && s.minY.hold(NSMinY(r)) && s.maxY.hold(NSMaxY(r))) ||
           (s.maxY.hold(NSMinY(r)) && s.minX.hold(NSMinX(r)) && s.maxX.hold(NSMaxX(r)));
  }
  static bool mayJoin(const RectBounds& r, const NSRect& s) {
    return (r.minX.hold(NSMaxX(s)) && r.minY.hold(NSMinY(s)) && r.maxY.hold(NSMaxY(s))) ||
           (r.minY.hold(NSMaxY(s)) && r.minX.hold(NSMinX(s)) && r.maxX.hold(NSMaxX(s)));
  }
};

/// The search for pairs that can be joined. `Pairs::join` answers what two become, nothing where
/// they stay as they are; `Pairs::mayJoin` tells of many at once that they can't be joined with
/// one.
///
/// Rectangles never change, so that a pair once rejected stays so. All in front of the cursor are
/// settled: none of them can be joined with anything but what has been put at the end since, and
/// that is offered to them before the cursor goes on.
template <class Pairs>
class PairSearch {
 public:
  explicit PairSearch(const Ref<NSArray>& list)
      : input_(list), rects_(rectsOf(list)), isGone_(rects_.size()), tree_(rects_) {}

  Ref<NSMutableArray> run() {
    for (; cursor_ < rects_.size(); ++cursor_) {
      if (!isGone_[cursor_] && joinWithFirst(cursor_)) {
        joinOffers();
      }
    }
    return result();
  }

 private:
  /// Numbers are given in order and never again, so that they tell the order of the list.
  using Number = RectTree::Number;

  /// The first one that is settled and can be joined with a new one. The least offer is the pair
  /// that comes next.
  struct Offer {
    Number settled;
    Number piece;

    friend auto operator<=>(const Offer&, const Offer&) = default;
  };

  bool canJoin(Number i, Number j) const {
    return i != j && static_cast<bool>(Pairs::join(rects_[i], rects_[j]));
  }

  bool joinWithFirst(Number i) {
    const Number j = tree_.first(
        rects_.size(), [&](const RectBounds& others) { return Pairs::mayJoin(rects_[i], others); },
        [&](Number other) { return canJoin(i, other); });
    if (j == rects_.size()) {
      return false;
    }
    replace(i, j);
    return true;
  }

  void joinOffers() {
    while (!offers_.empty()) {
      const auto [settled, piece] = offers_.top();
      offers_.pop();
      if (isGone_[piece]) {
        continue;
      }
      if (isGone_[settled]) {
        offer(piece);
      } else {
        replace(settled, piece);
      }
    }
  }

  void offer(Number piece) {
    const Number settled = tree_.first(
        cursor_, [&](const RectBounds& others) { return Pairs::mayJoin(others, rects_[piece]); },
        [&](Number other) { return canJoin(other, piece); });
    if (settled < cursor_) {
      offers_.push({settled, piece});
    }
  }

  void replace(Number i, Number j) {
    std::array<RectTree::Numbered, 3> added;
    std::size_t count = 0;
    for (const NSRect& piece : Pairs::join(rects_[i], rects_[j])) {
      added[count++] = {piece, rects_.size()};
      rects_.push_back(piece);
    }
    isGone_.resize(rects_.size());
    isGone_[i] = isGone_[j] = true;
    tree_.replace({i, j}, std::span(added).first(count));
    std::for_each_n(added.begin(), count, [&](const auto& piece) { offer(piece.number); });
  }

  Ref<NSMutableArray> result() const {
    const std::size_t given = input_ ? input_->count() : 0;
    std::vector<id> objects;
    for (Number number = 0; number < rects_.size(); ++number) {
      if (!isGone_[number]) {
        objects.push_back(number < given ? input_->objectAtIndex(number) : id(rects_[number]));
      }
    }
    return NSMutableArray::arrayWithObjects(std::move(objects));
  }

  const Ref<NSArray> input_;
  std::vector<NSRect> rects_;
  std::vector<bool> isGone_;
  RectTree tree_;
  std::priority_queue<Offer, std::vector<Offer>, std::greater<>> offers_;
  Number cursor_ = 0;
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
  return PairSearch<Abutting>(rects).run();
}

Ref<NSMutableArray> NSMergeRects(const Ref<NSArray>& rects) {
  return PairSearch<Overlapping<merged>>(rects).run();
}

Ref<NSMutableArray> NSUnionIntersectingRects(const Ref<NSArray>& rects) {
  return PairSearch<Overlapping<united>>(rects).run();
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
