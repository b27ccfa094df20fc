// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Ref.h>

namespace kestova {

/// A point on the plane.
struct NSPoint {
  double x = 0;
  double y = 0;

  friend constexpr bool operator==(const NSPoint&, const NSPoint&) = default;
};

/// A width and a height. Neither is kept from being negative.
struct NSSize {
  double width = 0;
  double height = 0;

  friend constexpr bool operator==(const NSSize&, const NSSize&) = default;
};

/// A rectangle: its corner of least coordinates and its size, which is measured from there. What it
/// covers ends where `origin + size` rounds to, and neither side is kept from being negative.
struct NSRect {
  NSPoint origin;
  NSSize size;

  friend constexpr bool operator==(const NSRect&, const NSRect&) = default;
};

constexpr NSPoint NSMakePoint(double x, double y) { return {x, y}; }
constexpr NSSize NSMakeSize(double width, double height) { return {width, height}; }
constexpr NSRect NSMakeRect(double x, double y, double width, double height) {
  return {{x, y}, {width, height}};
}

inline constexpr NSPoint NSZeroPoint{};
inline constexpr NSSize NSZeroSize{};
inline constexpr NSRect NSZeroRect{};

/// A side of a rectangle.
enum NSRectEdge : NSUInteger {
  NSMinXEdge = 0,
  NSMinYEdge = 1,
  NSMaxXEdge = 2,
  NSMaxYEdge = 3,
};

/// \name Edges of a rectangle
///
/// The far edges are origin plus size, the middles origin plus half the size, each rounded once.
///
/// Threads: any number at a time, as for all that follows here.
/// @{
constexpr double NSMinX(const NSRect& rect) { return rect.origin.x; }
constexpr double NSMinY(const NSRect& rect) { return rect.origin.y; }
constexpr double NSMaxX(const NSRect& rect) { return rect.origin.x + rect.size.width; }
constexpr double NSMaxY(const NSRect& rect) { return rect.origin.y + rect.size.height; }
constexpr double NSMidX(const NSRect& rect) { return rect.origin.x + rect.size.width / 2; }
constexpr double NSMidY(const NSRect& rect) { return rect.origin.y + rect.size.height / 2; }
constexpr double NSWidth(const NSRect& rect) { return rect.size.width; }
constexpr double NSHeight(const NSRect& rect) { return rect.size.height; }
/// @}

/// \name Asking about rectangles
///
///     if (NSIntersectsRect(view, dirty)) redraw(NSIntersectionRect(view, dirty));
///
/// A rectangle is empty unless both of its sides are above 0. Numbers are compared as they are,
/// without a tolerance. A NaN is above, below and equal to nothing: a rectangle with one among its
/// sides is empty, one with a NaN origin meets and holds nothing.
/// @{

/// Whether all numbers are the same, by pairs. 0 and -0 are.
constexpr bool NSEqualPoints(NSPoint a, NSPoint b) { return a == b; }
constexpr bool NSEqualSizes(NSSize a, NSSize b) { return a == b; }
constexpr bool NSEqualRects(const NSRect& a, const NSRect& b) { return a == b; }

constexpr bool NSIsEmptyRect(const NSRect& rect) {
  return !(rect.size.width > 0 && rect.size.height > 0);
}

/// Whether the two share an area. Rectangles that only touch don't, and an empty one shares none.
constexpr bool NSIntersectsRect(const NSRect& a, const NSRect& b) {
  return !NSIsEmptyRect(a) && !NSIsEmptyRect(b) && NSMinX(a) < NSMaxX(b) && NSMinX(b) < NSMaxX(a) &&
         NSMinY(a) < NSMaxY(b) && NSMinY(b) < NSMaxY(a);
}

/// Whether no part of `inner` lies outside of `outer`; edges may be shared. An empty rectangle is
/// in none.
constexpr bool NSContainsRect(const NSRect& outer, const NSRect& inner) {
  return !NSIsEmptyRect(inner) && NSMinX(outer) <= NSMinX(inner) &&
         NSMaxX(inner) <= NSMaxX(outer) && NSMinY(outer) <= NSMinY(inner) &&
         NSMaxY(inner) <= NSMaxY(outer);
}

/// Whether a point lies in the rectangle or on its edges of least x and least y; the far ones
/// belong to the neighbours.
constexpr bool NSPointInRect(NSPoint point, const NSRect& rect) {
  return NSMinX(rect) <= point.x && point.x < NSMaxX(rect) && NSMinY(rect) <= point.y &&
         point.y < NSMaxY(rect);
}

/// The same for the pointer of the mouse, which is the upper left corner of the pixel that it
/// stands on: unless y grows downwards, the edge of greatest y belongs to the rectangle, that of
/// least y does not.
constexpr bool NSMouseInRect(NSPoint point, const NSRect& rect, bool isFlipped) {
  const bool isWithinHeight = isFlipped ? NSMinY(rect) <= point.y && point.y < NSMaxY(rect)
                                        : NSMinY(rect) < point.y && point.y <= NSMaxY(rect);
  return NSMinX(rect) <= point.x && point.x < NSMaxX(rect) && isWithinHeight;
}

/// @}
/// \name Rectangles made from others
/// @{

constexpr NSRect NSOffsetRect(const NSRect& rect, double dx, double dy) {
  return {{rect.origin.x + dx, rect.origin.y + dy}, rect.size};
}

/// Moves each side inwards, negative amounts outwards. A rectangle that is too small for that gets
/// negative sides.
constexpr NSRect NSInsetRect(const NSRect& rect, double dx, double dy) {
  return {{rect.origin.x + dx, rect.origin.y + dy},
          {rect.size.width - 2 * dx, rect.size.height - 2 * dy}};
}

/// What two rectangles share; the zero rectangle when they share no area. What one keeps of its
/// width or height it keeps exactly.
KESTOVA_PLATFORM_EXPORT NSRect NSIntersectionRect(const NSRect& a, const NSRect& b);

/// The smallest rectangle that holds both. An empty one adds nothing: the answer is the other one,
/// and the zero rectangle when both are empty. A NaN origin stays one.
KESTOVA_PLATFORM_EXPORT NSRect NSUnionRect(const NSRect& a, const NSRect& b);

/// The smallest rectangle with whole edges that holds this one; the zero rectangle for an empty
/// one.
KESTOVA_PLATFORM_EXPORT NSRect NSIntegralRect(const NSRect& rect);

/// Cuts a rectangle in two, `amount` away from one of its edges: what lies along the edge is the
/// slice. An amount below 0 counts as 0, one beyond the rectangle as all of it. Either pointer may
/// be null.
KESTOVA_PLATFORM_EXPORT void NSDivideRect(const NSRect& rect, NSRect* slice, NSRect* remainder,
                                          double amount, NSRectEdge edge);
/// @}

/// \name Geometry and ranges as text
///
///     const auto text = NSStringFromRect(NSMakeRect(0, 0, 10.5, 20));  // "{{0, 0}, {10.5, 20}}"
///     const NSRect rect = NSRectFromString(text);
///
/// Each number is the shortest decimal one that reads back as the same value, in every locale;
/// "inf", "-inf" and "nan" where it is none. Every value reads back equal, but for NaN, which
/// equals nothing.
///
/// Reading takes the first numbers that it finds, whatever stands around and between them, and 0
/// for those that are missing. It never fails: null and text without a number give zeros. A number
/// beyond what its type holds becomes infinite, or the largest. In ranges numbers are digits alone:
/// a sign or a point stands between two.
///
/// Threads: any number at a time.
/// @{
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSStringFromPoint(NSPoint point);      ///< "{x, y}"
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSStringFromSize(NSSize size);         ///< "{width, height}"
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSStringFromRect(const NSRect& rect);  ///< "{{x, y}, {w, h}}"
KESTOVA_PLATFORM_EXPORT Ref<NSString> NSStringFromRange(NSRange range);  ///< "{location, length}"

KESTOVA_PLATFORM_EXPORT NSPoint NSPointFromString(const Ref<NSString>& string);
KESTOVA_PLATFORM_EXPORT NSSize NSSizeFromString(const Ref<NSString>& string);
KESTOVA_PLATFORM_EXPORT NSRect NSRectFromString(const Ref<NSString>& string);
KESTOVA_PLATFORM_EXPORT NSRange NSRangeFromString(const Ref<NSString>& string);
/// @}

}  // namespace kestova
