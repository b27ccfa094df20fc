// SPDX-License-Identifier: Apache-2.0
// A time zone by its name: the first look-up of a locale, later ones, and ICU's parser of zones.
#include <KestovaFoundation/Additions/NSTimeZoneAdditions.h>

#include <benchmark/benchmark.h>
#include <unicode/parsepos.h>
#include <unicode/tzfmt.h>

#include <memory>
#include <string>

namespace {

using kestova::NSLocale;
using kestova::NSString;
using kestova::Ref;
using kestova::timeZoneWithAName_inLocale;

/// Each iteration takes a locale of its own: what is known of a locale is kept for ever.
void FirstLookUp(benchmark::State& state) {
  static int number = 0;
  for (auto _ : state) {
    const std::string identifier = "en_US@x=a" + std::to_string(number++);
    const auto locale = NSLocale::localeWithLocaleIdentifier(identifier.c_str());
    benchmark::DoNotOptimize(timeZoneWithAName_inLocale("Pacific Standard Time", locale));
  }
}

void LaterLookUp(benchmark::State& state, const char* text) {
  const auto locale = NSLocale::localeWithLocaleIdentifier("en_US");
  const Ref<NSString> name = text;
  (void)timeZoneWithAName_inLocale(name, locale);
  for (auto _ : state) {
    benchmark::DoNotOptimize(timeZoneWithAName_inLocale(name, locale));
  }
}

void ParsedByICU(benchmark::State& state, const char* text) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::TimeZoneFormat> format(
      icu::TimeZoneFormat::createInstance(icu::Locale("en_US"), status));
  const auto name = icu::UnicodeString::fromUTF8(text);
  for (auto _ : state) {
    icu::ParsePosition position(0);
    const std::unique_ptr<icu::TimeZone> zone(
        format->parse(UTZFMT_STYLE_SPECIFIC_LONG, name, position));
    benchmark::DoNotOptimize(zone.get());
  }
}

BENCHMARK(FirstLookUp)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LaterLookUp, known, "Pacific Standard Time");
BENCHMARK_CAPTURE(LaterLookUp, unknown, "no zone at all");
BENCHMARK_CAPTURE(ParsedByICU, known, "Pacific Standard Time");

}  // namespace

BENCHMARK_MAIN();
