// SPDX-License-Identifier: Apache-2.0
// 256 MiB as hex and back, beside OpenSSL; into memory that is there, and as whole operations.
#include <KestovaFoundation/Additions/NSDataAdditions.h>
#include <KestovaPlatform/HexCoding.h>

#include "ByteSamples.h"

#include <benchmark/benchmark.h>
#include <openssl/crypto.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace kestova;
using bench::bytesOf;
using bench::countBytes;
using bench::kSampleSize;
using bench::randomBytes;

std::string& digits() {
  static std::string text = hexText(bytesOf(randomBytes()));
  return text;
}

std::vector<std::byte>& room() {
  static std::vector<std::byte> bytes(kSampleSize + 1);
  return bytes;
}

void WriteHere(benchmark::State& state) {
  std::string& text = digits();
  for (auto _ : state) {
    writeHex(bytesOf(randomBytes()), text.data());
    benchmark::ClobberMemory();
  }
  countBytes(state);
}

void WriteOpenSSL(benchmark::State& state) {
  std::string text = digits();
  for (auto _ : state) {
    std::size_t length = 0;
    OPENSSL_buf2hexstr_ex(text.data(), text.size() + 1, &length,
                          reinterpret_cast<const unsigned char*>(randomBytes().data()), kSampleSize,
                          '\0');
    benchmark::ClobberMemory();
  }
  countBytes(state);
}

/// Digits on lines of so many characters, the line feed included.
std::string digitsInLines(std::int64_t lineLength) {
  std::string text;
  text.reserve(digits().size() + digits().size() / 8);
  const auto step = static_cast<std::size_t>(lineLength - 1);
  for (std::size_t start = 0; start < digits().size(); start += step) {
    text.append(digits(), start, step).append("\n");
  }
  return text;
}

void read(benchmark::State& state, const std::string& text) {
  std::vector<std::byte> bytes(text.size() / 2 + 1);
  for (auto _ : state) {
    HexReader reader;
    benchmark::DoNotOptimize(reader.read(std::string_view(text), bytes.data()));
  }
  countBytes(state);
}

void ReadHere(benchmark::State& state) { read(state, digits()); }
void ReadLinesHere(benchmark::State& state) { read(state, digitsInLines(state.range(0))); }

void ReadOpenSSL(benchmark::State& state) {
  const std::string& text = digits();
  for (auto _ : state) {
    std::size_t length = 0;
    OPENSSL_hexstr2buf_ex(reinterpret_cast<unsigned char*>(room().data()), room().size(), &length,
                          text.c_str(), '\0');
    benchmark::ClobberMemory();
  }
  countBytes(state);
}

void HexStringHere(benchmark::State& state) {
  const auto data = NSData::dataWithBytes_length(randomBytes().data(), kSampleSize);
  for (auto _ : state) {
    benchmark::DoNotOptimize(hexString(data).get());
  }
  countBytes(state);
}

void HexStringOpenSSL(benchmark::State& state) {
  for (auto _ : state) {
    std::string text(2 * kSampleSize, '\0');
    std::size_t length = 0;
    OPENSSL_buf2hexstr_ex(text.data(), text.size() + 1, &length,
                          reinterpret_cast<const unsigned char*>(randomBytes().data()), kSampleSize,
                          '\0');
    benchmark::DoNotOptimize(text.data());
  }
  countBytes(state);
}

void DataFromHexHere(benchmark::State& state) {
  const auto text = NSString::stringWithEightBitStorage(digits());
  for (auto _ : state) {
    benchmark::DoNotOptimize(NSData_HexAdditions::dataFromHexString(text).get());
  }
  countBytes(state);
}

BENCHMARK(WriteHere)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteOpenSSL)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadHere)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadOpenSSL)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadLinesHere)->ArgName("line")->Arg(61)->Arg(77)->Unit(benchmark::kMillisecond);
BENCHMARK(HexStringHere)->Unit(benchmark::kMillisecond);
BENCHMARK(HexStringOpenSSL)->Unit(benchmark::kMillisecond);
BENCHMARK(DataFromHexHere)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
