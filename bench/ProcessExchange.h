// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <benchmark/benchmark.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "../tests/support/PrivateBus.h"

namespace kestova::bench {

/// What one process posts and the other answers with.
inline constexpr char kPing[] = "Ping";
inline constexpr char kPong[] = "Pong";

/// An observer that hears one thing at a time.
class Listener final : public NSObject {
 public:
  void heard() { hasHeard_ = true; }

  /// Whether something is heard within a second, which the run loop serves.
  bool wait() {
    hasHeard_ = false;
    NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode, 1,
                                                                            true);
    return hasHeard_;
  }

 private:
  bool hasHeard_ = false;
};

/// The second process: this program again, told which side to be.
class Answerer {
 public:
  Answerer(const char* side, const std::string& address) : child_(::fork()) {
    if (child_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::execl("/proc/self/exe", "answerer", side, address.c_str(), nullptr);
      std::abort();
    }
  }
  ~Answerer() {
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
  }
  Answerer(const Answerer&) = delete;
  Answerer& operator=(const Answerer&) = delete;

 private:
  const pid_t child_;
};

/// What the second process does. A side is made of the bus's address, what it hears and what it
/// posts; `post` posts, and `wait` tells whether something was heard within a second.
template <class Side>
int answer(const char* address) {
  Side side(address, kPing, kPong);
  for (;;) {
    if (side.wait()) {
      side.post();
    }
  }
}

/// Whether the program was started as the second process, as that side.
inline bool isAnswerer(int argc, char** argv, std::string_view side) {
  return argc == 3 && std::string_view(argv[0]) == "answerer" && argv[1] == side;
}

/// Times one way between two processes on a bus of their own: half of what was there and back. Both
/// sleep in between.
template <class Side>
void timeOneWay(benchmark::State& state, const char* name) {
  using Clock = std::chrono::steady_clock;
  static const testing::PrivateBus bus;
  static const Answerer answerer(name, bus.address());
  static Side side(bus.address().c_str(), kPong, kPing);
  do {
    side.post();  // until the other side is there
  } while (!side.wait());
  std::vector<double> ways;
  for (auto _ : state) {
    const auto start = Clock::now();
    side.post();
    if (!side.wait()) {
      state.SkipWithError("no answer");
      break;
    }
    ways.push_back(std::chrono::duration<double>(Clock::now() - start).count() / 2);
    state.SetIterationTime(ways.back());
  }
  std::sort(ways.begin(), ways.end());
  if (!ways.empty()) {
    state.counters["median_us"] = ways[ways.size() / 2] * 1e6;
    state.counters["p99_us"] = ways[ways.size() * 99 / 100] * 1e6;
  }
}

}  // namespace kestova::bench
