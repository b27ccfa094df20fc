// SPDX-License-Identifier: Apache-2.0
// Counts of bytes as text, beside QLocale, and such text as a count.
#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaPlatform/NSNumber.h>

#include <benchmark/benchmark.h>
#include <QLocale>
#include <QString>

#include <cstdint>
#include <vector>

namespace {

using kestova::NSNumber;
using kestova::OVByteFormatter;
using kestova::Ref;

constexpr int kCounts = 1024;

std::vector<std::int64_t> counts() {
  std::vector<std::int64_t> all;
  for (int i = 0; i < kCounts; ++i) {
    all.push_back((std::int64_t{i} * 7919 % 100'003) << (i % 32));
  }
  return all;
}

void FormatHere(benchmark::State& state) {
  const auto formatter = OVByteFormatter::init();
  std::vector<Ref<NSNumber>> numbers;
  for (const auto count : counts()) numbers.emplace_back(count);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(formatter->stringForObjectValue(numbers[i++ % kCounts]));
  }
}

void FormatQLocale(benchmark::State& state) {
  const QLocale locale("en_US");
  const auto all = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        locale.formattedDataSize(all[i++ % kCounts], 1, QLocale::DataSizeTraditionalFormat));
  }
}

void ParseHere(benchmark::State& state) {
  const auto formatter = OVByteFormatter::init();
  const Ref<kestova::NSString> text = "1.5 KB";
  for (auto _ : state) {
    kestova::id count;
    benchmark::DoNotOptimize(formatter->getObjectValue_forString_errorDescription(&count, text));
  }
}

BENCHMARK(FormatHere);
BENCHMARK(FormatQLocale);
BENCHMARK(ParseHere);

}  // namespace

BENCHMARK_MAIN();
