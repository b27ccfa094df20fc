// SPDX-License-Identifier: Apache-2.0
// Requests to coalescers: beside libdispatch's own timed tasks, and beside a
// timer of Qt that is restarted. The resident memory of a burst that is still waiting is shown.
#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaFoundation/GCDKeyedCoalescer.h>
#include <KestovaFoundation/OVEnqueueCoalescedBlock.h>

#include <benchmark/benchmark.h>
#include <unistd.h>
#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <latch>

namespace {

using namespace kestova;

/// Nothing becomes due while a benchmark runs.
constexpr double kSeconds = 600;
constexpr std::int64_t kRequests = 200'000;

double residentBytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// Makes a number of requests and shows what each of them holds until it is due.
template <class Request>
void makeRequests(benchmark::State& state, const Request& request) {
  const double before = residentBytes();
  for (auto _ : state) {
    request();
  }
  state.counters["bytes_each"] =
      std::max(residentBytes() - before, 0.0) / static_cast<double>(state.iterations());
}

void Request(benchmark::State& state) {
  const auto coalescer = GCDCoalescer::init();
  const auto queue = dispatch_get_global_queue(0, 0);
  int value = 0;
  makeRequests(state,
               [&] { coalescer->dispatchOn_after_block(queue, kSeconds, [&value] { ++value; }); });
}

void KeyedRequest(benchmark::State& state) {
  const auto coalescer = GCDKeyedCoalescer::init();
  const auto queue = dispatch_get_global_queue(0, 0);
  const id keys[] = {"window", "colours", "fonts", "panels"};
  int value = 0;
  unsigned turn = 0;
  makeRequests(state, [&] {
    coalescer->dispatch_on_after_block(keys[turn++ % 4], queue, kSeconds, [&value] { ++value; });
  });
}

void BareTimedTask(benchmark::State& state) {
  const auto queue = dispatch_get_global_queue(0, 0);
  makeRequests(
      state, [&] { dispatch_after_f(dispatchTimeAfter(kSeconds), queue, nullptr, [](void*) {}); });
}

void QTimerRestarted(benchmark::State& state) {
  int count = 0;
  QCoreApplication application(count, nullptr);
  QTimer timer;
  timer.setSingleShot(true);
  makeRequests(state, [&] { timer.start(static_cast<int>(kSeconds * 1000)); });
}

/// A block that replaces the one that waits while another one runs.
void EnqueueWhileRunning(benchmark::State& state) {
  std::latch begun(1);
  std::latch end(1);
  std::latch done(1);
  const DispatchQueue queue = dispatchSerialQueue();
  OVEnqueueCoalescedBlock(&state, queue, [&] {
    begun.count_down();
    end.wait();
  });
  begun.wait();
  int value = 0;
  for (auto _ : state) {
    OVEnqueueCoalescedBlock(&state, queue, [&value] { ++value; });
  }
  OVEnqueueCoalescedBlock(&state, queue, [&] { done.count_down(); });
  end.count_down();
  done.wait();
}

BENCHMARK(EnqueueWhileRunning);
BENCHMARK(QTimerRestarted)->Iterations(kRequests);
BENCHMARK(Request)->Iterations(kRequests);
BENCHMARK(KeyedRequest)->Iterations(kRequests);
BENCHMARK(BareTimedTask)->Iterations(kRequests);

}  // namespace

BENCHMARK_MAIN();
