// SPDX-License-Identifier: Apache-2.0
// Blocks handed to a throttling dispatcher that is throttling, so that each one replaces the one
// before: beside a slot with a mutex and the timer of Qt that a burst restarts.
#include <KestovaFoundation/OVThrottlingDispatcher.h>

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <QCoreApplication>
#include <QTimer>

#include <functional>
#include <mutex>
#include <utility>

namespace {

using namespace kestova;

/// Long enough that nothing but the first block runs.
constexpr double kSeconds = 3600;

long peakKibibytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

Ref<OVThrottlingDispatcher> throttling(NSUInteger mode) {
  auto dispatcher = OVThrottlingDispatcher::initWithQueue_seconds_mode(
      dispatch_get_global_queue(0, 0), kSeconds, mode);
  dispatcher->dispatch([] {});
  return dispatcher;
}

/// The blocks are made beforehand, as by a caller that keeps one.
void SupersededBlock(benchmark::State& state) {
  const auto dispatcher = throttling(static_cast<NSUInteger>(state.range(0)));
  int value = 0;
  const Block<void()> blocks[] = {[&] { ++value; }, [&] { --value; }};
  unsigned turn = 0;
  for (auto _ : state) {
    dispatcher->dispatch(blocks[turn++ % 2]);
  }
}

void SupersededLambda(benchmark::State& state) {
  const auto dispatcher = throttling(OVThrottleBetweenStarts);
  int value = 0;
  for (auto _ : state) {
    dispatcher->dispatch([&value] { ++value; });
  }
}

/// Shows how much the process grows while a million blocks come.
void BurstOfAMillion(benchmark::State& state) {
  const auto dispatcher = throttling(OVThrottleBetweenStarts);
  const long before = peakKibibytes();
  for (auto _ : state) {
    for (int i = 0; i < 1'000'000; ++i) {
      dispatcher->dispatch([i] { benchmark::DoNotOptimize(i); });
    }
  }
  state.counters["growth_KiB"] = static_cast<double>(peakKibibytes() - before);
}

void SlotWithMutex(benchmark::State& state) {
  std::mutex mutex;
  std::function<void()> slot;
  int value = 0;
  for (auto _ : state) {
    std::function<void()> block = [&value] { ++value; };
    const std::scoped_lock lock(mutex);
    std::swap(slot, block);
  }
}

void QTimerRestarted(benchmark::State& state) {
  int count = 0;
  QCoreApplication application(count, nullptr);
  QTimer timer;
  timer.setSingleShot(true);
  for (auto _ : state) {
    timer.start(static_cast<int>(kSeconds * 1000));
  }
}

BENCHMARK(SupersededBlock)->Arg(OVThrottleBetweenStarts)->Arg(OVThrottleBetweenExecution);
BENCHMARK(SupersededLambda);
BENCHMARK(BurstOfAMillion)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(SlotWithMutex);
BENCHMARK(QTimerRestarted);

}  // namespace

BENCHMARK_MAIN();
