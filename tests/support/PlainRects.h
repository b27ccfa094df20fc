// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Rects.h"

#include <algorithm>
#include <cstddef>
#include <functional>

/// Breaking and joining rectangles in plain steps, for comparison.
namespace kestova::testing {

inline double maxX(const NSRect& r) { return r.origin.x + r.size.width; }
inline double maxY(const NSRect& r) { return r.origin.y + r.size.height; }

/// As is one with a side that is no number.
inline bool isEmpty(const NSRect& r) { return !(r.size.width > 0) || !(r.size.height > 0); }

/// Empty where the two are not broken.
inline Rects plainlyBroken(const NSRect& a, const NSRect& b) {
  const double ax = a.origin.x, ay = a.origin.y, aw = a.size.width, ah = a.size.height;
  const double bx = b.origin.x, by = b.origin.y, bw = b.size.width, bh = b.size.height;
  const double aX = ax + aw, aY = ay + ah, bX = bx + bw, bY = by + bh;
  if (isEmpty(a) || isEmpty(b)) return {};
  if (!(ax < bX && bx < aX && ay < bY && by < aY)) return {};
  if (bx <= ax && aX <= bX && by <= ay && aY <= bY) return {b};
  if (ax <= bx && bX <= aX && ay <= by && bY <= aY) return {a};
  const bool L = ax < bx && bx < aX;
  const bool R = ax < bX && bX < aX;
  const bool B = ay < by && by < aY;
  const bool T = ay < bY && bY < aY;
  const int k = L + R + B + T;
  if (k == 1 && (L || R)) {
    const NSRect P = L ? a : b, Q = L ? b : a;
    if (P.size.height >= Q.size.height) {
      return {P, NSMakeRect(maxX(P), Q.origin.y, maxX(Q) - maxX(P), Q.size.height)};
    }
    return {NSMakeRect(P.origin.x, P.origin.y, Q.origin.x - P.origin.x, P.size.height), Q};
  }
  if (k == 1) {
    const NSRect P = B ? a : b, Q = B ? b : a;
    if (P.size.width >= Q.size.width) {
      return {P, NSMakeRect(Q.origin.x, maxY(P), Q.size.width, maxY(Q) - maxY(P))};
    }
    return {NSMakeRect(P.origin.x, P.origin.y, P.size.width, Q.origin.y - P.origin.y), Q};
  }
  if (k != 2) return {};
  if (L && R) return {NSMakeRect(ax, ay, bx - ax, ah), NSMakeRect(bX, ay, aX - bX, ah), b};
  if (B && T) return {NSMakeRect(ax, ay, aw, by - ay), NSMakeRect(ax, bY, aw, aY - bY), b};
  if (L && B) return {NSMakeRect(ax, ay, bx - ax, ah), NSMakeRect(bx, ay, aX - bx, by - ay), b};
  if (L && T) return {NSMakeRect(ax, ay, bx - ax, ah), NSMakeRect(bx, bY, aX - bx, aY - bY), b};
  if (R && B) return {NSMakeRect(ax, ay, bX - ax, by - ay), NSMakeRect(bX, ay, aX - bX, ah), b};
  return {NSMakeRect(ax, bY, bX - ax, aY - bY), NSMakeRect(bX, ay, aX - bX, ah), b};
}

inline Rects plainlyReduced(const NSRect& r, const NSRect& s) {
  if (r.origin.x == maxX(s) && r.origin.y == s.origin.y && maxY(r) == maxY(s)) {
    return {NSMakeRect(s.origin.x, r.origin.y, r.size.width + s.size.width, r.size.height)};
  }
  if (r.origin.y == maxY(s) && r.origin.x == s.origin.x && maxX(r) == maxX(s)) {
    return {NSMakeRect(r.origin.x, s.origin.y, r.size.width, r.size.height + s.size.height)};
  }
  return {};
}

inline Rects plainlyUnited(const NSRect& r, const NSRect& s) {
  if (isEmpty(r) || isEmpty(s)) return {};
  if (!(r.origin.x < maxX(s) && s.origin.x < maxX(r) && r.origin.y < maxY(s) &&
        s.origin.y < maxY(r))) {
    return {};
  }
  const double x = std::min(r.origin.x, s.origin.x), y = std::min(r.origin.y, s.origin.y);
  return {NSMakeRect(x, y, std::max(maxX(r), maxX(s)) - x, std::max(maxY(r), maxY(s)) - y)};
}

/// Whether one lies wholly to the right of the other or above it, so that nothing joins them.
inline bool standsBeyond(const NSRect& r, const NSRect& s) {
  const double right = maxX(s), top = maxY(s);
  return (r.origin.x > right && r.origin.x > s.origin.x && maxX(r) > right &&
          maxX(r) > s.origin.x) ||
         (r.origin.y > top && r.origin.y > s.origin.y && maxY(r) > top && maxY(r) > s.origin.y);
}

/// Tests every pair again after each join.
template <class Join>
Rects plainlyJoined(Rects list, const Join& join) {
  const auto joinOne = [&] {
    for (std::size_t i = 0; i < list.size(); ++i) {
      for (std::size_t j = 0; j < list.size(); ++j) {
        if (i == j || standsBeyond(list[i], list[j]) || standsBeyond(list[j], list[i])) continue;
        const Rects pieces = join(list[i], list[j]);
        if (!pieces.empty()) {
          list.erase(list.begin() + static_cast<std::ptrdiff_t>(std::max(i, j)));
          list.erase(list.begin() + static_cast<std::ptrdiff_t>(std::min(i, j)));
          list.insert(list.end(), pieces.begin(), pieces.end());
          return true;
        }
      }
    }
    return false;
  };
  while (joinOne()) {
  }
  return list;
}

}  // namespace kestova::testing
