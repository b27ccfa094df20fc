// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSValue.h>

#include <ostream>
#include <vector>

namespace kestova {

inline void PrintTo(const NSRect& rect, std::ostream* stream) {
  *stream << NSStringFromRect(rect)->displayUTF8();
}

}  // namespace kestova

namespace kestova::testing {

/// Rectangles that can be compared with literals.
using Rects = std::vector<NSRect>;

inline Rects rectsOf(const Ref<NSArray>& list) {
  Rects rects;
  for (const id& object : list) {
    rects.push_back(Unboxing<NSRect>::unbox(object));
  }
  return rects;
}

inline Ref<NSArray> listOf(const Rects& rects) {
  return NSArray::arrayWithObjects({rects.begin(), rects.end()});
}

}  // namespace kestova::testing
