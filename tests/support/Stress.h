// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {

/// How long a test under stress goes on: a second, or as many as the environment variable
/// KESTOVA_STRESS_SECONDS says.
class StressTime {
 public:
  bool isOver() const { return std::chrono::steady_clock::now() >= end_; }

 private:
  static std::chrono::duration<double> length() {
    const char* given = std::getenv("KESTOVA_STRESS_SECONDS");
    return std::chrono::duration<double>(given == nullptr ? 1 : std::strtod(given, nullptr));
  }

  const std::chrono::steady_clock::time_point end_ =
      std::chrono::steady_clock::now() +
      std::chrono::duration_cast<std::chrono::steady_clock::duration>(length());
};

/// Threads that are all waited for at the end.
class Threads {
 public:
  Threads() = default;
  ~Threads() { join(); }
  Threads(const Threads&) = delete;
  Threads& operator=(const Threads&) = delete;

  void start(std::function<void()> body) { threads_.emplace_back(std::move(body)); }

  /// Starts several, each with its number.
  void start(int count, const std::function<void(int)>& body) {
    for (int number = 0; number < count; ++number) {
      start([=] { body(number); });
    }
  }

  void join() {
    for (auto& thread : threads_) {
      thread.join();
    }
    threads_.clear();
  }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace kestova::testing
