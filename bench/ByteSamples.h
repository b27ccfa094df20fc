// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <string>

namespace kestova::bench {

/// How much the benchmarks on bytes work on.
inline constexpr std::size_t kSampleSize = std::size_t{256} << 20;

/// Bytes of all values, the same in every run.
inline const std::string& randomBytes() {
  static const std::string bytes = [] {
    std::string result(kSampleSize, '\0');
    std::mt19937_64 random(1);
    for (std::size_t index = 0; index < result.size(); index += 8) {
      const std::uint64_t value = random();
      std::memcpy(result.data() + index, &value, 8);
    }
    return result;
  }();
  return bytes;
}

/// Words with the letters of English at about their usual rates.
inline const std::string& textBytes() {
  static const std::string bytes = [] {
    static constexpr const char* kWords[] = {
        "the ",   "of ",     "and ",     "house ", "was ",  "information ", "people, ", "time ",
        "there ", "number ", "water.\n", "which ", "have ", "through ",     "between ", "year "};
    std::string result;
    result.reserve(kSampleSize + 16);
    std::mt19937 random(1);
    while (result.size() < kSampleSize) {
      result += kWords[random() % std::size(kWords)];
    }
    result.resize(kSampleSize);
    return result;
  }();
  return bytes;
}

inline std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}

/// One sample a turn.
inline void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSampleSize));
}

}  // namespace kestova::bench
