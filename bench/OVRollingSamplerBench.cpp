// SPDX-License-Identifier: Apache-2.0
// Samples added and asked for, from one and several threads: beside a ring with a mutex, and with
// adding on a bare serial queue.
#include <KestovaFoundation/OVRollingSampler.h>
#include <KestovaPlatform/Dispatch.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <vector>

namespace {

constexpr std::size_t kWindow = 1000;

class RingWithMutex {
 public:
  void addSample(double value) {
    const std::scoped_lock lock(mutex_);
    ring_[count_++ % ring_.size()] = {value, now()};
  }

  double sumForPreviousSeconds(double seconds) {
    const double cutOff = now() - seconds;
    double sum = 0;
    const std::scoped_lock lock(mutex_);
    for (std::size_t i = 0; i < std::min(count_, ring_.size()); ++i) {
      sum += ring_[i].time >= cutOff ? ring_[i].value : 0;
    }
    return sum;
  }

 private:
  struct Sample {
    double value, time;
  };

  static double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  }

  std::mutex mutex_;
  std::vector<Sample> ring_ = std::vector<Sample>(kWindow);
  std::size_t count_ = 0;
};

/// What entering libdispatch's own queue costs, with nothing to do there.
class BareQueue {
 public:
  void addSample(double) {
    dispatch_sync_f(queue_, this, [](void* self) { ++static_cast<BareQueue*>(self)->count_; });
  }

 private:
  dispatch_queue_t queue_ = dispatch_queue_create(nullptr, nullptr);
  std::size_t count_ = 0;
};

class Here {
 public:
  void addSample(double value) { sampler_->addSample(value); }
  double sumForPreviousSeconds(double seconds) {
    return sampler_->resultForPreviousSeconds(seconds).sum;
  }

 private:
  kestova::Ref<kestova::OVRollingSampler> sampler_ =
      kestova::OVRollingSampler::initWithWindowSize(kWindow);
};

template <class Sampler>
void Add(benchmark::State& state) {
  static auto& sampler = *new Sampler;
  for (auto _ : state) {
    sampler.addSample(1);
  }
}

template <class Sampler>
void Ask(benchmark::State& state) {
  Sampler sampler;
  for (std::size_t i = 0; i < kWindow; ++i) {
    sampler.addSample(1);
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(sampler.sumForPreviousSeconds(1));
  }
}

BENCHMARK(Add<Here>)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(Add<RingWithMutex>)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(Add<BareQueue>)->ThreadRange(1, 2)->UseRealTime();
BENCHMARK(Ask<Here>);
BENCHMARK(Ask<RingWithMutex>);

}  // namespace

BENCHMARK_MAIN();
