// SPDX-License-Identifier: Apache-2.0
// Objects handed from producers to consumers, beside a deque with a mutex and two condition
// variables, oneTBB and Boost. Every queue carries the same kind of item, a reference to an object
// that is moved from hand to hand.
#include <KestovaFoundation/OVThreadSafeQueue.h>
#include <KestovaPlatform/NSNumber.h>

#include <benchmark/benchmark.h>
#include <tbb/concurrent_queue.h>
#include <boost/thread/concurrent_queues/sync_bounded_queue.hpp>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <latch>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace {

using kestova::id;
using Items = std::vector<id>;

constexpr std::size_t kCapacity = 1024;

/// Without a bound, for its producers never wait.
class Here {
 public:
  void push(id item) { queue_->enqueue(std::move(item)); }
  void pop(id& item) { item = queue_->dequeue(); }

 private:
  kestova::Ref<kestova::OVThreadSafeQueue> queue_ = kestova::OVThreadSafeQueue::init();
};

template <class Item>
class MutexAndConditions {
 public:
  void push(Item item) {
    std::unique_lock lock(mutex_);
    notFull_.wait(lock, [this] { return items_.size() < kCapacity; });
    items_.push_back(std::move(item));
    lock.unlock();
    notEmpty_.notify_one();
  }
  void pop(Item& item) {
    std::unique_lock lock(mutex_);
    notEmpty_.wait(lock, [this] { return !items_.empty(); });
    item = std::move(items_.front());
    items_.pop_front();
    lock.unlock();
    notFull_.notify_one();
  }

 private:
  std::mutex mutex_;
  std::condition_variable notFull_, notEmpty_;
  std::deque<Item> items_;
};

class TBB {
 public:
  TBB() { queue_.set_capacity(kCapacity); }
  void push(id item) { queue_.push(std::move(item)); }
  void pop(id& item) { queue_.pop(item); }

 private:
  tbb::concurrent_bounded_queue<id> queue_;
};

class Boost {
 public:
  void push(id item) { queue_.push_back(std::move(item)); }
  void pop(id& item) { queue_.pull_front(item); }

 private:
  boost::sync_bounded_queue<id> queue_{kCapacity};
};

Items numbers(std::size_t count) {
  Items items;
  for (std::size_t i = 0; i < count; ++i) {
    items.emplace_back(static_cast<int>(i));
  }
  return items;
}

/// As many threads of each kind as the argument says; what the consumers got is what the producers
/// have the next time.
template <class Queue>
void HandOver(benchmark::State& state) {
  constexpr std::size_t kItems = 500'000;
  const auto pairs = static_cast<std::size_t>(state.range(0));
  std::vector<Items> stocks(pairs, Items());
  for (auto& stock : stocks) {
    stock = numbers(kItems);
  }
  for (auto _ : state) {
    Queue queue;
    std::latch start(static_cast<std::ptrdiff_t>(2 * pairs));
    std::vector<Items> received(pairs, Items(kItems));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < pairs; ++i) {
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        for (id& item : stocks[i]) {
          queue.push(std::move(item));
        }
      });
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        for (id& item : received[i]) {
          queue.pop(item);
        }
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
    stocks.swap(received);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pairs * kItems));
}

/// Two threads and two queues, one item to and fro.
template <class Queue>
void PingPong(benchmark::State& state) {
  Queue there, back;
  std::thread echo([&] {
    for (id item;;) {
      there.pop(item);
      const bool isEnd = item->isEqual(0);
      back.push(std::move(item));
      if (isEnd) {
        return;
      }
    }
  });
  id item = 1;
  for (auto _ : state) {
    there.push(std::move(item));
    back.pop(item);
  }
  there.push(0);
  echo.join();
}

BENCHMARK(HandOver<Here>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(HandOver<MutexAndConditions<id>>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(HandOver<Boost>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(HandOver<TBB>)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK(PingPong<Here>)->UseRealTime();
BENCHMARK(PingPong<MutexAndConditions<id>>)->UseRealTime();
BENCHMARK(PingPong<Boost>)->UseRealTime();
BENCHMARK(PingPong<TBB>)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
