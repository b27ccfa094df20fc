// SPDX-License-Identifier: Apache-2.0
// Numbers and words out of a text, beside QTextStream, GScanner and, for numbers alone, strtol and
// strtod.
#include <KestovaPlatform/NSScanner.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <QString>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using kestova::NSScanner;
using kestova::NSString;
using kestova::Ref;

constexpr int kNumbers = 100'000;

std::string integers() {
  std::string text;
  for (int i = 0; i < kNumbers; ++i) {
    text += std::to_string(i * 7919 % 1'000'003) + ' ';
  }
  return text;
}

std::string reals() {
  std::string text;
  char buffer[40];
  for (int i = 0; i < kNumbers; ++i) {
    std::snprintf(buffer, sizeof buffer, "%.12g ", i * 0.7123456);
    text += buffer;
  }
  return text;
}

std::string words() {
  std::string text;
  for (int i = 0; i < kNumbers; ++i) {
    text += "word" + std::to_string(i) + ", ";
  }
  return text;
}

/// 0: 8-bit storage, 1: UTF-16.
Ref<NSScanner> scannerOf(const std::string& text, const benchmark::State& state) {
  const std::u16string units(text.begin(), text.end());
  return NSScanner::scannerWithString(state.range(0) == 0
                                          ? NSString::stringWithUTF8String(text)
                                          : NSString::stringWithUTF16Storage(units));
}

void countNumbers(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kNumbers);
}

void IntegersHere(benchmark::State& state) {
  const auto scanner = scannerOf(integers(), state);
  for (auto _ : state) {
    scanner->setScanLocation(0);
    int value = 0;
    long sum = 0;
    while (scanner->scanInt(&value)) sum += value;
    benchmark::DoNotOptimize(sum);
  }
  countNumbers(state);
}

void IntegersQTextStream(benchmark::State& state) {
  QString text = QString::fromStdString(integers());
  for (auto _ : state) {
    QTextStream stream(&text);
    int value = 0;
    long sum = 0;
    for (stream >> value; stream.status() == QTextStream::Ok; stream >> value) sum += value;
    benchmark::DoNotOptimize(sum);
  }
  countNumbers(state);
}

void IntegersGScanner(benchmark::State& state) {
  const std::string text = integers();
  for (auto _ : state) {
    GScanner* scanner = g_scanner_new(nullptr);
    scanner->config->store_int64 = 1;
    g_scanner_input_text(scanner, text.data(), static_cast<guint>(text.size()));
    std::uint64_t sum = 0;
    while (g_scanner_get_next_token(scanner) == G_TOKEN_INT) {
      sum += g_scanner_cur_value(scanner).v_int64;
    }
    benchmark::DoNotOptimize(sum);
    g_scanner_destroy(scanner);
  }
  countNumbers(state);
}

void IntegersStrtol(benchmark::State& state) {
  const std::string text = integers();
  for (auto _ : state) {
    long sum = 0;
    const char* place = text.c_str();
    for (char* end = nullptr;; place = end) {
      const long value = std::strtol(place, &end, 10);
      if (end == place) break;
      sum += value;
    }
    benchmark::DoNotOptimize(sum);
  }
  countNumbers(state);
}

void RealsHere(benchmark::State& state) {
  const auto scanner = scannerOf(reals(), state);
  for (auto _ : state) {
    scanner->setScanLocation(0);
    double value = 0;
    double sum = 0;
    while (scanner->scanDouble(&value)) sum += value;
    benchmark::DoNotOptimize(sum);
  }
  countNumbers(state);
}

void RealsQTextStream(benchmark::State& state) {
  QString text = QString::fromStdString(reals());
  for (auto _ : state) {
    QTextStream stream(&text);
    double value = 0;
    double sum = 0;
    for (stream >> value; stream.status() == QTextStream::Ok; stream >> value) sum += value;
    benchmark::DoNotOptimize(sum);
  }
  countNumbers(state);
}

void RealsStrtod(benchmark::State& state) {
  const std::string text = reals();
  for (auto _ : state) {
    double sum = 0;
    const char* place = text.c_str();
    for (char* end = nullptr;; place = end) {
      const double value = std::strtod(place, &end);
      if (end == place) break;
      sum += value;
    }
    benchmark::DoNotOptimize(sum);
  }
  countNumbers(state);
}

void WordsHere(benchmark::State& state) {
  const auto scanner = scannerOf(words(), state);
  const Ref<NSString> comma = ",";
  for (auto _ : state) {
    scanner->setScanLocation(0);
    Ref<NSString> word;
    std::size_t length = 0;
    while (scanner->scanUpToString_intoString(comma, &word)) {
      length += word->length();
      scanner->scanString_intoString(comma);
    }
    benchmark::DoNotOptimize(length);
  }
  countNumbers(state);
}

void WordsQTextStream(benchmark::State& state) {
  QString text = QString::fromStdString(words());
  for (auto _ : state) {
    QTextStream stream(&text);
    QString word;
    qsizetype length = 0;
    for (stream >> word; !word.isEmpty(); stream >> word) length += word.size();
    benchmark::DoNotOptimize(length);
  }
  countNumbers(state);
}

BENCHMARK(IntegersHere)->ArgName("UTF16")->Arg(0)->Arg(1);
BENCHMARK(IntegersQTextStream);
BENCHMARK(IntegersGScanner);
BENCHMARK(IntegersStrtol);
BENCHMARK(RealsHere)->ArgName("UTF16")->Arg(0)->Arg(1);
BENCHMARK(RealsQTextStream);
BENCHMARK(RealsStrtod);
BENCHMARK(WordsHere)->ArgName("UTF16")->Arg(0)->Arg(1);
BENCHMARK(WordsQTextStream);

}  // namespace

BENCHMARK_MAIN();
