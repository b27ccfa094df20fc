// SPDX-License-Identifier: Apache-2.0
// dirty-rectangles: joins two areas that are to be drawn again, so that nothing is drawn twice.
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>
#include <KestovaPlatform/NSValue.h>

#include <iostream>

using namespace kestova;

void redraw(NSRect area) { std::cout << NSStringFromRect(area) << '\n'; }

int main() {
  Ref<NSArray> dirty = NSArray::of(NSMakeRect(0, 0, 10, 10), NSMakeRect(5, 5, 10, 10));
  for (const id& piece : NSMergeRects(dirty)) {
    redraw(cast<NSValue>(piece)->rectValue());
  }
}
