// SPDX-License-Identifier: Apache-2.0
// Handing over empty operations one by one and waiting for all of them, beside QThreadPool with
// QRunnables, and the same through queues that run one at a time. An item is one operation, made,
// handed over and run.
#include <KestovaFoundation/OVNotificationQueue.h>
#include <KestovaFoundation/OVSerialOperationQueue.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <KestovaPlatform/NSString.h>

#include <benchmark/benchmark.h>
#include <QtCore/QRunnable>
#include <QtCore/QThreadPool>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using namespace kestova;

constexpr int kOperations = 100'000;

struct Queue {
  Ref<NSOperationQueue> queue = NSOperationQueue::init();
  void add() {
    queue->addOperationWithBlock([] {});
  }
  void wait() { queue->waitUntilAllOperationsAreFinished(); }
};

struct OneAtATime : Queue {
  OneAtATime() { queue->setMaxConcurrentOperationCount(1); }
};

struct Serial {
  Ref<OVSerialOperationQueue> queue = OVSerialOperationQueue::init();
  void add() {
    queue->addOperation(NSBlockOperation::blockOperationWithBlock([] {}));
  }
  void wait() { queue->waitUntilAllOperationsAreFinished(); }
};

struct Pool {
  QThreadPool pool;
  void add() {
    pool.start(QRunnable::create([] {}));
  }
  void wait() { pool.waitForDone(); }
};

struct PoolOfOne : Pool {
  PoolOfOne() { pool.setMaxThreadCount(1); }
};

template <class Executor>
void HandOver(benchmark::State& state) {
  Executor executor;
  for (auto _ : state) {
    for (int i = 0; i < kOperations; ++i) {
      executor.add();
    }
    executor.wait();
  }
  state.SetItemsProcessed(state.iterations() * kOperations);
}

/// An operation from its making to its end, and back to the one who waits.
template <class Executor>
void HandOverAndWait(benchmark::State& state) {
  Executor executor;
  for (auto _ : state) {
    executor.add();
    executor.wait();
  }
  state.SetItemsProcessed(state.iterations());
}

/// Requests that coalesce among as many names as the argument says, while nothing is posted.
void EnqueueNotification(benchmark::State& state) {
  const auto posting = NSOperationQueue::init();
  posting->setSuspended(true);
  const auto queue =
      OVNotificationQueue::initWithNotificationCenter_queue(NSNotificationCenter::init(), posting);
  std::vector<Ref<NSString>> names;
  for (int i = 0; i < state.range(0); ++i) {
    names.push_back("notification" + std::to_string(i));
  }
  std::size_t next = 0;
  for (auto _ : state) {
    queue->enqueueNotificationName_object_userInfo_coalesceMask(
        names[next++ % names.size()], nullptr, nullptr, OVNotificationCoalescingOnName);
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(HandOver<Queue>)->UseRealTime();
BENCHMARK(HandOver<Pool>)->UseRealTime();
BENCHMARK(HandOver<OneAtATime>)->UseRealTime();
BENCHMARK(HandOver<Serial>)->UseRealTime();
BENCHMARK(HandOver<PoolOfOne>)->UseRealTime();
BENCHMARK(HandOverAndWait<Queue>)->UseRealTime();
BENCHMARK(HandOverAndWait<Serial>)->UseRealTime();
BENCHMARK(HandOverAndWait<Pool>)->UseRealTime();
BENCHMARK(EnqueueNotification)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

}  // namespace

BENCHMARK_MAIN();
