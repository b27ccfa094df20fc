// SPDX-License-Identifier: Apache-2.0
// 256 MiB as symbols and back, beside a loop over the bits and GLib's Base64.
#include <KestovaPlatform/Base32Coding.h>

#include "ByteSamples.h"

#include <benchmark/benchmark.h>
#include <glib.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace kestova;
using bench::bytesOf;
using bench::countBytes;
using bench::kSampleSize;
using bench::randomBytes;

void WriteHere(benchmark::State& state) {
  std::string text(base32Length(kSampleSize), '\0');
  for (auto _ : state) {
    writeBase32(bytesOf(randomBytes()), text.data());
    benchmark::ClobberMemory();
  }
  countBytes(state);
}

void WriteLoop(benchmark::State& state) {
  constexpr std::string_view kSymbols = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
  std::string text(base32Length(kSampleSize), '\0');
  for (auto _ : state) {
    std::size_t written = 0;
    unsigned bits = 0;
    unsigned count = 0;
    for (const char byte : randomBytes()) {
      bits |= unsigned{static_cast<unsigned char>(byte)} << count;
      for (count += 8; count >= 5; count -= 5, bits >>= 5) {
        text[written++] = kSymbols[bits & 31];
      }
    }
    benchmark::ClobberMemory();
  }
  countBytes(state);
}

void WriteGLibBase64(benchmark::State& state) {
  for (auto _ : state) {
    g_free(g_base64_encode(reinterpret_cast<const guchar*>(randomBytes().data()), kSampleSize));
  }
  countBytes(state);
}

void ReadHere(benchmark::State& state) {
  const std::string text = base32Text(bytesOf(randomBytes()));
  std::vector<std::byte> bytes(kSampleSize + 5);
  for (auto _ : state) {
    Base32Reader reader;
    benchmark::DoNotOptimize(reader.read(text, bytes.data()));
  }
  countBytes(state);
}

void ReadLinesHere(benchmark::State& state) {
  const std::string symbols = base32Text(bytesOf(randomBytes()));
  std::string text;
  for (std::size_t start = 0; start < symbols.size(); start += 76) {
    text.append(symbols, start, 76).append("\n");
  }
  std::vector<std::byte> bytes(text.size());
  for (auto _ : state) {
    Base32Reader reader;
    benchmark::DoNotOptimize(reader.read(text, bytes.data()));
  }
  countBytes(state);
}

BENCHMARK(WriteHere)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteGLibBase64)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadHere)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadLinesHere)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
