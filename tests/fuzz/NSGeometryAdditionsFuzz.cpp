// SPDX-License-Identifier: Apache-2.0
// Lists of rectangles are joined as by the plain search where all edges are whole numbers, and with
// any other numbers joining ends.
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>

#include "../support/PlainRects.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

using namespace kestova;

namespace {

using testing::Rects;

constexpr std::size_t kMostRects = 40;

void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// Four bytes for each rectangle.
Rects wholeRects(std::span<const std::uint8_t> bytes) {
  Rects rects;
  for (; bytes.size() >= 4 && rects.size() < kMostRects; bytes = bytes.subspan(4)) {
    rects.push_back(NSMakeRect(bytes[0] % 32, bytes[1] % 32, bytes[2] % 16, bytes[3] % 16));
  }
  return rects;
}

/// The bits of any four doubles.
Rects anyRects(std::span<const std::uint8_t> bytes) {
  Rects rects;
  for (; bytes.size() >= sizeof(NSRect) && rects.size() < kMostRects;
       bytes = bytes.subspan(sizeof(NSRect))) {
    NSRect rect;
    std::memcpy(&rect, bytes.data(), sizeof rect);
    rects.push_back(rect);
  }
  return rects;
}

void joinAsPlainly(const Rects& rects) {
  using testing::rectsOf;
  const auto list = testing::listOf(rects);
  require(rectsOf(NSReduceRects(list)) == testing::plainlyJoined(rects, testing::plainlyReduced));
  require(rectsOf(NSMergeRects(list)) == testing::plainlyJoined(rects, testing::plainlyBroken));
  require(rectsOf(NSUnionIntersectingRects(list)) ==
          testing::plainlyJoined(rects, testing::plainlyUnited));
}

void joinAny(const Rects& rects) {
  const auto list = testing::listOf(rects);
  require(NSReduceRects(list)->count() <= rects.size());
  require(NSUnionIntersectingRects(list)->count() <= rects.size());
  require(NSClipRects(list, rects.empty() ? NSZeroRect : rects[0])->count() <= rects.size());
  require(NSMergeRects(list) != nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  joinAsPlainly(wholeRects({data, size}));
  joinAny(anyRects({data, size}));
  return 0;
}
