// SPDX-License-Identifier: Apache-2.0
// Durations as text, beside ICU's formatter of measures and plain snprintf.
#include <KestovaFoundation/OVTimeFormatter.h>
#include <KestovaPlatform/NSNumber.h>

#include <benchmark/benchmark.h>
#include <unicode/measfmt.h>
#include <unicode/measunit.h>
#include <unicode/measure.h>

#include <array>
#include <cstdio>
#include <vector>

namespace {

using kestova::NSNumber;
using kestova::OVTimeFormatter;
using kestova::Ref;

constexpr int kDurations = 1024;

std::vector<int> durations() {
  std::vector<int> seconds;
  for (int i = 0; i < kDurations; ++i) {
    seconds.push_back(i * 7919 % 864'000);
  }
  return seconds;
}

void Here(benchmark::State& state) {
  const auto formatter = OVTimeFormatter::init();
  formatter->setTimeStyle(static_cast<kestova::NSUInteger>(state.range(0)));
  std::vector<Ref<NSNumber>> numbers;
  for (const int seconds : durations()) numbers.emplace_back(seconds);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(formatter->stringForObjectValue(numbers[i++ % kDurations]));
  }
}

void ICU(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::MeasureFormat format(icu::Locale("en_US"), UMEASFMT_WIDTH_WIDE, status);
  const auto all = durations();
  std::size_t i = 0;
  for (auto _ : state) {
    const int seconds = all[i++ % kDurations];
    const icu::Measure measures[] = {
        {seconds / 86400, icu::MeasureUnit::createDay(status), status},
        {seconds / 3600 % 24, icu::MeasureUnit::createHour(status), status},
        {seconds / 60 % 60, icu::MeasureUnit::createMinute(status), status},
        {seconds % 60, icu::MeasureUnit::createSecond(status), status}};
    icu::UnicodeString text;
    icu::FieldPosition position;
    benchmark::DoNotOptimize(format.formatMeasures(measures, 4, text, position, status));
  }
}

void Snprintf(benchmark::State& state) {
  const auto all = durations();
  std::size_t i = 0;
  for (auto _ : state) {
    const int seconds = all[i++ % kDurations];
    std::array<char, 96> text;
    std::snprintf(text.data(), text.size(), "%d days, %d hours, %d minutes, %d seconds",
                  seconds / 86400, seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
    benchmark::DoNotOptimize(text);
  }
}

BENCHMARK(Here)->ArgName("style")->Arg(0)->Arg(3)->Arg(4);
BENCHMARK(ICU);
BENCHMARK(Snprintf);

}  // namespace

BENCHMARK_MAIN();
