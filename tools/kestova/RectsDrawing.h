// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSGeometry.h>

#include <optional>
#include <string>
#include <vector>

namespace kestova::tool {

/// What an operation does to a list of rectangles.
struct RectsChange {
  std::string title;
  std::vector<NSRect> before;
  std::vector<NSRect> after;
  std::optional<NSRect> frame;  // drawn with a broken line in both halves
};

/// An SVG picture of it, before and after side by side in one scale, y growing upwards. Each
/// rectangle has the number of its place in the list; empty ones are not seen.
std::string drawingOf(const RectsChange& change);

}  // namespace kestova::tool
