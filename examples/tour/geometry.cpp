// SPDX-License-Identifier: Apache-2.0
// geometry: collects what has to be drawn again, and prepares it for a screen whose y grows down.
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>
#include <KestovaPlatform/NSValue.h>

#include <iostream>

using namespace kestova;

void show(const char* title, const Ref<NSArray>& rects) {
  std::cout << title << '\n';
  for (const id& rect : rects) {
    std::cout << "  " << NSStringFromRect(cast<NSValue>(rect)->rectValue()) << '\n';
  }
}

int main() {
  const auto dirty = NSArray::of(NSMakeRect(0, 0, 10, 10), NSMakeRect(5, 5, 10, 10),
                                 NSMakeRect(15, 5, 10, 10), NSMakeRect(90, 90, 20, 20));

  const auto visible = NSClipRects(dirty, NSMakeRect(0, 0, 100, 100));
  show("without overlaps", NSMergeRects(visible));
  show("in fewer, larger pieces", NSReduceRects(NSUnionIntersectingRects(visible)));

  const NSRect view = NSMakeRect(10, 20, 30, 40);
  std::cout << "from the top: " << NSStringFromRect(NSFlipRect(view, 100)) << '\n';

  std::cout << std::boolalpha;
  Ref<NSArray> pieces;
  const NSRect page = NSMakeRect(0, 0, 10, 10);
  const NSRect tongue = NSMakeRect(3, 3, 4, 20);  // sticks into one side
  std::cout << "cut the page: " << NSBreakOverlappingRects(&pieces, page, tongue) << '\n';
  std::cout << "cut the tongue: " << NSBreakOverlappingRects(&pieces, tongue, page) << '\n';
  show("the tongue cut", pieces);
}
