// SPDX-License-Identifier: Apache-2.0
#pragma once

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

}  // namespace kestova
