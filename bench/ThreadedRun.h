// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <thread>

namespace kestova::bench {

/// Runs the benchmarks as in a program with threads: once there was one, the standard library
/// counts shared pointers atomically, as it does in any application.
inline int runThreaded(int argc, char** argv) {
  std::thread([] {}).join();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace kestova::bench
