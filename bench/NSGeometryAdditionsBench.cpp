// SPDX-License-Identifier: Apache-2.0
// Joining lists of rectangles, beside QRegion, which keeps a union of rectangles in bands.
#include <KestovaFoundation/Additions/NSGeometryAdditions.h>

#include <benchmark/benchmark.h>
#include <QRect>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using kestova::id;
using kestova::NSArray;
using kestova::NSMakeRect;
using kestova::NSMutableArray;
using kestova::NSRect;
using kestova::Ref;

/// Squares in cells of a grid; of ten of them one reaches into the next cell, and one touches it.
std::vector<NSRect> someRects(const benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  const int side = static_cast<int>(std::ceil(std::sqrt(count)));
  std::mt19937 random(1);
  std::vector<NSRect> rects;
  for (int i = 0; i < count; ++i) {
    const unsigned choice = random() % 10;
    const double width = choice == 0 ? 12 : choice == 1 ? 10 : 8;
    rects.push_back(NSMakeRect(i % side * 10, i / side * 10, width, 8));
  }
  std::ranges::shuffle(rects, random);
  return rects;
}

using Operation = Ref<NSMutableArray> (*)(const Ref<NSArray>&);

void Here(benchmark::State& state, Operation operation) {
  const auto rects = someRects(state);
  const auto list = NSArray::arrayWithObjects({rects.begin(), rects.end()});
  for (auto _ : state) {
    benchmark::DoNotOptimize(operation(list));
  }
  state.SetComplexityN(state.range(0));
}

void UnionByQRegion(benchmark::State& state) {
  const auto rects = someRects(state);
  for (auto _ : state) {
    QRegion region;
    for (const NSRect& rect : rects) {
      region += QRect(int(rect.origin.x), int(rect.origin.y), int(rect.size.width),
                      int(rect.size.height));
    }
    benchmark::DoNotOptimize(region.rectCount());
  }
  state.SetComplexityN(state.range(0));
}

void sizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(100)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK_CAPTURE(Here, reduce, &kestova::NSReduceRects)->Apply(sizes);
BENCHMARK_CAPTURE(Here, merge, &kestova::NSMergeRects)->Apply(sizes);
BENCHMARK_CAPTURE(Here, unite, &kestova::NSUnionIntersectingRects)->Apply(sizes);
BENCHMARK(UnionByQRegion)->Apply(sizes);

}  // namespace

BENCHMARK_MAIN();
