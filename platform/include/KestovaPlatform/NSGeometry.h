// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSRange.h>
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

/// A rectangle: its corner of least coordinates and its size.
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
