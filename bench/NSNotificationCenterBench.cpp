// SPDX-License-Identifier: Apache-2.0
// Telling ten observers, from one thread and from two, and adding and removing an observer while a
// thousand others are there, beside Qt's signals and boost::signals2. An item is one call of an
// observer, or one addition with its removal.
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSString.h>

#include <benchmark/benchmark.h>
#include <QtCore/QObject>
#include <boost/signals2.hpp>

#include <cstddef>
#include <functional>
#include <vector>

namespace {

using kestova::id;
using kestova::make;
using kestova::NSNotification;
using kestova::NSNotificationCenter;
using kestova::NSObject;
using kestova::NSString;
using kestova::Ref;

constexpr int kObservers = 10;

/// What every observer does: counts on its own thread, so that the calls alone are measured.
thread_local std::size_t calls = 0;

class Listener final : public NSObject {
 public:
  void heard(const Ref<NSNotification>&) { ++calls; }
};

struct Centre {
  Ref<NSNotificationCenter> centre = NSNotificationCenter::init();
  Ref<NSString> name = "documentDidChange";
  std::vector<id> observers;

  void addBlock() {
    observers.push_back(centre->addObserverForName_object_queue_usingBlock(
        name, nullptr, nullptr, [](const Ref<NSNotification>&) { ++calls; }));
  }
  void addSelector() {
    const auto listener = make<Listener>();
    centre->addObserver_selector_name_object(listener.get(), kestova::sel<&Listener::heard>(), name,
                                             nullptr);
    observers.push_back(listener);
  }
  void removeLast() {
    centre->removeObserver(observers.back().get());
    observers.pop_back();
  }
};

struct Blocks : Centre {
  Ref<NSNotification> notification = NSNotification::notificationWithName_object(name, nullptr);
  void add() { addBlock(); }
  void emit() { centre->postNotification(notification); }
};

struct Selectors : Centre {
  Ref<NSNotification> notification = NSNotification::notificationWithName_object(name, nullptr);
  void add() { addSelector(); }
  void emit() { centre->postNotification(notification); }
};

/// With a new notification for each posting.
struct NamedPosts : Centre {
  void add() { addBlock(); }
  void emit() { centre->postNotificationName_object(name, nullptr); }
};

void count(int) { ++calls; }

struct Boost {
  boost::signals2::signal<void(int)> signal;
  std::vector<boost::signals2::connection> connections;
  void add() { connections.push_back(signal.connect(&count)); }
  void removeLast() {
    connections.back().disconnect();
    connections.pop_back();
  }
  void emit() { signal(1); }
};

/// QObject's own signal with an argument, emitted in the way that the meta-object compiler writes,
/// so that it isn't needed.
struct Qt {
  QObject object;
  std::vector<QMetaObject::Connection> connections;
  void add() {
    connections.push_back(
        QObject::connect(&object, &QObject::objectNameChanged, [](const QString&) { ++calls; }));
  }
  void removeLast() {
    QObject::disconnect(connections.back());
    connections.pop_back();
  }
  void emit() {
    QString name;
    void* arguments[] = {nullptr, &name};
    QMetaObject::activate(&object, &QObject::staticMetaObject, index, arguments);
  }

  const int index = QObject::staticMetaObject.indexOfSignal("objectNameChanged(QString)");
};

/// The functions themselves: the limit.
struct Functions {
  std::vector<std::function<void(int)>> functions;
  void add() {
    functions.emplace_back([](int) { ++calls; });
  }
  void emit() {
    for (const auto& function : functions) {
      function(1);
    }
  }
};

template <class Peer>
void Post(benchmark::State& state) {
  static Peer* peer;
  if (state.thread_index() == 0) {
    peer = new Peer;
    for (int i = 0; i < kObservers; ++i) {
      peer->add();
    }
  }
  for (auto _ : state) {
    peer->emit();
  }
  benchmark::DoNotOptimize(calls);
  state.SetItemsProcessed(state.iterations() * kObservers);
}

template <class Peer>
void AddAndRemove(benchmark::State& state) {
  Peer peer;
  for (int i = 0; i < 1000; ++i) {
    peer.add();
  }
  for (auto _ : state) {
    peer.add();
    peer.removeLast();
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(Post<Blocks>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Post<Selectors>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Post<NamedPosts>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Post<Qt>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Post<Boost>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Post<Functions>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(AddAndRemove<Blocks>);
BENCHMARK(AddAndRemove<Selectors>);
BENCHMARK(AddAndRemove<Boost>);
BENCHMARK(AddAndRemove<Qt>);

}  // namespace

BENCHMARK_MAIN();
