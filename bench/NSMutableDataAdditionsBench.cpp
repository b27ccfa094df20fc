// SPDX-License-Identifier: Apache-2.0
// Replacing 10,000, 100,000 and a million matches in 256 MiB by more bytes and by fewer, beside
// QByteArray.
#include <KestovaFoundation/Additions/NSMutableDataAdditions.h>

#include "ByteSamples.h"

#include <benchmark/benchmark.h>
#include <QByteArray>

#include <string>

namespace {

using namespace kestova;
using bench::kSampleSize;

constexpr const char* kPattern = "\x01\x02\x03\x04";

/// Text with so many matches, an odd number, spread over it.
std::string textWithMatches(std::int64_t count) {
  std::string text = bench::textBytes();
  const std::size_t step = text.size() / static_cast<std::size_t>(count);
  for (std::size_t match = 0; match < static_cast<std::size_t>(count); ++match) {
    text.replace(match * step, 4, kPattern);
  }
  return text;
}

std::string replacementOf(const benchmark::State& state) {
  return std::string(static_cast<std::size_t>(state.range(1)), 'x');
}

void ReplaceHere(benchmark::State& state) {
  const std::string text = textWithMatches(state.range(0));
  const std::string replacement = replacementOf(state);
  for (auto _ : state) {
    state.PauseTiming();
    const auto data = NSMutableData::dataWithBytes_length(text.data(), text.size());
    state.ResumeTiming();
    benchmark::DoNotOptimize(replaceOccurrencesOfBytes_length_withBytes_length_range(
        data, kPattern, 4, replacement.data(), replacement.size(), {0, text.size()}));
  }
}

void ReplaceQByteArray(benchmark::State& state) {
  const std::string text = textWithMatches(state.range(0));
  const std::string replacement = replacementOf(state);
  for (auto _ : state) {
    state.PauseTiming();
    QByteArray data(text.data(), static_cast<qsizetype>(text.size()));
    state.ResumeTiming();
    benchmark::DoNotOptimize(
        data.replace(kPattern, 4, replacement.data(), static_cast<qsizetype>(replacement.size())));
  }
}

void cases(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"matches", "bytes"})
      ->ArgsProduct({{10'001, 100'001, 1'000'001}, {2, 8}})
      ->Unit(benchmark::kMillisecond);
}

BENCHMARK(ReplaceHere)->Apply(cases);
BENCHMARK(ReplaceQByteArray)->Apply(cases);

}  // namespace

BENCHMARK_MAIN();
