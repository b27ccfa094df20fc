// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

namespace kestova::testing {

/// Random choices for one test. A failure prints the seed; the environment variable KESTOVA_SEED
/// set to it repeats the run.
class RandomRun {
 public:
  RandomRun()
      : seed_(chosenSeed()),
        engine_(seed_),
        trace_(__FILE__, __LINE__, "KESTOVA_SEED=" + std::to_string(seed_)) {}

  /// A number from 0 to `limit` - 1; 0 for a limit of 0.
  std::uint64_t below(std::uint64_t limit) {
    return limit == 0 ? 0 : std::uniform_int_distribution<std::uint64_t>(0, limit - 1)(engine_);
  }

 private:
  static std::uint32_t chosenSeed() {
    const char* given = std::getenv("KESTOVA_SEED");
    return given == nullptr ? std::random_device()()
                            : static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
  }

  std::uint32_t seed_;
  std::mt19937 engine_;
  ::testing::ScopedTrace trace_;
};

}  // namespace kestova::testing
