// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSGeometry.h>

#include <string>
#include <string_view>
#include <vector>

namespace kestova::tool {

enum class RectsForm { kLines, kJSON };

/// Rectangles, and the form in which they were given.
struct RectList {
  RectsForm form = RectsForm::kLines;
  std::vector<NSRect> rects;
};

/// Reads "x,y,w,h" on a line each, or a JSON array of arrays of four numbers. Blanks around numbers
/// and empty lines don't count. What is malformed, or a number that is not finite, throws
/// FileFailure with `name`.
RectList readRects(std::string_view text, const std::string& name);

/// Four finite numbers with commas between; the same failures.
NSRect readRect(std::string_view text, const std::string& name);

/// Two of them.
NSPoint readPoint(std::string_view text, const std::string& name);

/// The rectangles in their form, ending with a line feed, with the shortest numbers that read back
/// equal. Throws FileFailure where one is not finite.
std::string textOf(const RectList& list);

}  // namespace kestova::tool
