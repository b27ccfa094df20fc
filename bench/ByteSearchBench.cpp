// SPDX-License-Identifier: Apache-2.0
// Looking through 256 MiB for bytes that are not there, beside memmem and, as the limit, memchr.
#include <KestovaPlatform/ByteSearch.h>

#include "ByteSamples.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

namespace {

using kestova::BytePattern;
using kestova::bench::kSampleSize;
using kestova::bench::randomBytes;
using kestova::bench::textBytes;

enum Sample { kRandom, kText, kAlmost };

const std::string& almostBytes() {
  static const std::string bytes(kSampleSize, 'a');
  return bytes;
}

const std::string& sampleOf(const benchmark::State& state) {
  const auto sample = static_cast<Sample>(state.range(0));
  return sample == kRandom ? randomBytes() : sample == kText ? textBytes() : almostBytes();
}

/// A piece of the sample of so many bytes, with two changed in the middle; for the sample of one
/// letter, that letter with another at the end, which is where a comparison finds out last.
std::string patternOf(const benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(1));
  std::string pattern = sampleOf(state).substr(777'777, size);
  switch (static_cast<Sample>(state.range(0))) {
    case kRandom:
      pattern[size / 2] = static_cast<char>(pattern[size / 2] ^ 0x55);
      break;
    case kText:
      pattern.replace(size / 2, 2, "zq");
      break;
    case kAlmost:
      pattern.back() = 'e';
      break;  // commoner than "a": the worst choice
  }
  return pattern;
}

template <class Search>
void searchAll(benchmark::State& state, Search search) {
  const std::string& sample = sampleOf(state);
  const std::string pattern = patternOf(state);
  for (auto _ : state) {
    if (search(sample, pattern)) {
      state.SkipWithError("the pattern is there");
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sample.size()));
}

void FirstHere(benchmark::State& state) {
  searchAll(state, [](const std::string& sample, const std::string& pattern) {
    return BytePattern(pattern).firstIn(sample) != BytePattern::npos;
  });
}

void LastHere(benchmark::State& state) {
  searchAll(state, [](const std::string& sample, const std::string& pattern) {
    return BytePattern(pattern).lastIn(sample) != BytePattern::npos;
  });
}

void FirstMemmem(benchmark::State& state) {
  searchAll(state, [](const std::string& sample, const std::string& pattern) {
    return memmem(sample.data(), sample.size(), pattern.data(), pattern.size()) != nullptr;
  });
}

void ReadingMemchr(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::memchr(textBytes().data(), 1, textBytes().size()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSampleSize));
}

void samples(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"sample", "length"})
      ->ArgsProduct({{kRandom, kText, kAlmost}, {4, 16, 64}})
      ->Unit(benchmark::kMillisecond);
}

BENCHMARK(ReadingMemchr)->Unit(benchmark::kMillisecond);
BENCHMARK(FirstHere)->Apply(samples);
BENCHMARK(FirstMemmem)->Apply(samples);
BENCHMARK(LastHere)->Apply(samples);

}  // namespace

BENCHMARK_MAIN();
