// SPDX-License-Identifier: Apache-2.0
// The MD5 of 256 MiB, beside OpenSSL, GLib and Qt.
#include <KestovaPlatform/MessageDigest.h>

#include "ByteSamples.h"

#include <benchmark/benchmark.h>
#include <glib.h>
#include <openssl/evp.h>
#include <QByteArray>
#include <QCryptographicHash>

namespace {

using namespace kestova;
using bench::bytesOf;
using bench::countBytes;
using bench::kSampleSize;
using bench::randomBytes;

void SumHere(benchmark::State& state) {
  for (auto _ : state) {
    MD5Digest digest;
    digest.update(bytesOf(randomBytes()));
    benchmark::DoNotOptimize(digest.finish());
  }
  countBytes(state);
}

void SumOpenSSL(benchmark::State& state) {
  for (auto _ : state) {
    unsigned char sum[EVP_MAX_MD_SIZE];
    benchmark::DoNotOptimize(
        EVP_Digest(randomBytes().data(), kSampleSize, sum, nullptr, EVP_md5(), nullptr));
  }
  countBytes(state);
}

void SumGLib(benchmark::State& state) {
  for (auto _ : state) {
    g_free(g_compute_checksum_for_data(
        G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(randomBytes().data()), kSampleSize));
  }
  countBytes(state);
}

void SumQt(benchmark::State& state) {
  const auto bytes = QByteArray::fromRawData(randomBytes().data(), kSampleSize);
  for (auto _ : state) {
    benchmark::DoNotOptimize(QCryptographicHash::hash(bytes, QCryptographicHash::Md5));
  }
  countBytes(state);
}

void SumSmallHere(benchmark::State& state) {
  for (auto _ : state) {
    MD5Digest digest;
    digest.update(bytesOf(randomBytes()).first(64));
    benchmark::DoNotOptimize(digest.finish());
  }
}

void SumSmallOpenSSL(benchmark::State& state) {
  for (auto _ : state) {
    unsigned char sum[EVP_MAX_MD_SIZE];
    benchmark::DoNotOptimize(
        EVP_Digest(randomBytes().data(), 64, sum, nullptr, EVP_md5(), nullptr));
  }
}

BENCHMARK(SumHere)->Unit(benchmark::kMillisecond);
BENCHMARK(SumOpenSSL)->Unit(benchmark::kMillisecond);
BENCHMARK(SumGLib)->Unit(benchmark::kMillisecond);
BENCHMARK(SumQt)->Unit(benchmark::kMillisecond);
BENCHMARK(SumSmallHere);
BENCHMARK(SumSmallOpenSSL);

}  // namespace

BENCHMARK_MAIN();
