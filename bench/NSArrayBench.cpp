// SPDX-License-Identifier: Apache-2.0
// Walking through, filling and sorting an array of shared objects, beside a vector of shared
// pointers.
#include <KestovaPlatform/NSArray.h>

#include "ThreadedRun.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace kestova;

using SharedVector = std::vector<std::shared_ptr<int>>;

std::vector<int> numbers(const benchmark::State& state) {
  std::vector<int> result(static_cast<std::size_t>(state.range(0)));
  std::mt19937 random(7);
  std::ranges::generate(result, random);
  return result;
}

Ref<NSArray> arrayOf(const benchmark::State& state) {
  const auto array = NSMutableArray::array();
  for (const int number : numbers(state)) {
    array->addObject(number);
  }
  return NSArray::arrayWithArray(array);
}

SharedVector vectorOf(const benchmark::State& state) {
  SharedVector vector;
  for (const int number : numbers(state)) {
    vector.push_back(std::make_shared<int>(number));
  }
  return vector;
}

void countItems(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void WalkHere(benchmark::State& state) {
  const auto array = arrayOf(state);
  for (auto _ : state) {
    for (const id& object : array) {
      benchmark::DoNotOptimize(object.get());
    }
  }
  countItems(state);
}

void WalkVector(benchmark::State& state) {
  const auto vector = vectorOf(state);
  for (auto _ : state) {
    for (const auto& object : vector) {
      benchmark::DoNotOptimize(object.get());
    }
  }
  countItems(state);
}

void WalkHereByIndex(benchmark::State& state) {
  const auto array = arrayOf(state);
  for (auto _ : state) {
    for (NSUInteger index = 0; index < array->count(); ++index) {
      benchmark::DoNotOptimize(array->objectAtIndex(index));
    }
  }
  countItems(state);
}

void WalkVectorByIndexCounted(benchmark::State& state) {
  const auto vector = vectorOf(state);
  for (auto _ : state) {
    for (std::size_t index = 0; index < vector.size(); ++index) {
      benchmark::DoNotOptimize(std::shared_ptr<int>(vector[index]));
    }
  }
  countItems(state);
}

void AppendHere(benchmark::State& state) {
  const id object = 1;
  for (auto _ : state) {
    const auto array = NSMutableArray::array();
    for (auto count = state.range(0); count > 0; --count) {
      array->addObject(object);
    }
    benchmark::DoNotOptimize(array);
  }
  countItems(state);
}

void AppendVector(benchmark::State& state) {
  const auto object = std::make_shared<int>(1);
  for (auto _ : state) {
    SharedVector vector;
    for (auto count = state.range(0); count > 0; --count) {
      vector.push_back(object);
    }
    benchmark::DoNotOptimize(vector);
  }
  countItems(state);
}

NSComparisonResult order(int a, int b) {
  return a < b ? NSOrderedAscending : a > b ? NSOrderedDescending : NSOrderedSame;
}

void SortHere(benchmark::State& state) {
  const auto array = arrayOf(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(array->sortedArrayUsingComparator([](const id& a, const id& b) {
      return order(static_cast<const NSNumber&>(*a).intValue(),
                   static_cast<const NSNumber&>(*b).intValue());
    }));
  }
  countItems(state);
}

void SortVector(benchmark::State& state) {
  const auto vector = vectorOf(state);
  for (auto _ : state) {
    SharedVector sorted = vector;
    std::ranges::stable_sort(sorted, {}, [](const auto& number) { return *number; });
    benchmark::DoNotOptimize(sorted);
  }
  countItems(state);
}

#define IN_TWO_SIZES(name) BENCHMARK(name)->Arg(1'000)->Arg(1'000'000)

IN_TWO_SIZES(WalkHere);
IN_TWO_SIZES(WalkVector);
IN_TWO_SIZES(WalkHereByIndex);
IN_TWO_SIZES(WalkVectorByIndexCounted);
IN_TWO_SIZES(AppendHere);
IN_TWO_SIZES(AppendVector);
IN_TWO_SIZES(SortHere);
IN_TWO_SIZES(SortVector);

}  // namespace

int main(int argc, char** argv) { return kestova::bench::runThreaded(argc, argv); }
