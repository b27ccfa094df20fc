// SPDX-License-Identifier: Apache-2.0
// Announcing the change of a property to its observers, beside GObject's notify.
#include <KestovaFoundation/OVKVOMutableDictionary.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSString.h>
#include <benchmark/benchmark.h>
#include <glib-object.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

class Gauge : public NSObject {
  KESTOVA_CLASS(Gauge, NSObject)

 public:
  int value() const { return value_; }
  void setValue(int value) {
    const KeyValueChange change(*this, "value");
    value_ = value;
  }

 private:
  int value_ = 0;
};
KESTOVA_DEFINE_CLASS(Gauge, .property<&Gauge::value, &Gauge::setValue>("value"))

class Counter : public NSObject {
 public:
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                      const Ref<NSDictionary>&, void*) override {
    ++calls_;
  }

 private:
  long calls_ = 0;
};

/// The C library elides locks in programs that never had a second thread; applications have some.
void haveHadThreads() {
  std::thread([] {}).join();
}

/// A change with that many observers that ask for the options.
void announce(benchmark::State& state, NSUInteger options) {
  haveHadThreads();
  const auto gauge = make<Gauge>();
  std::vector<Ref<Counter>> observers;
  for (int i = 0; i < state.range(0); ++i) {
    observers.push_back(make<Counter>());
    gauge->addObserver_forKeyPath_options_context(observers.back().get(), "value", options,
                                                  nullptr);
  }
  int value = 0;
  for (auto _ : state) {
    gauge->setValue(++value);
  }
  state.SetItemsProcessed(state.iterations() * std::max<std::int64_t>(state.range(0), 1));
}

void BM_Change(benchmark::State& state) { announce(state, 0); }
BENCHMARK(BM_Change)->Arg(0)->Arg(1)->Arg(10)->Arg(100);

void BM_ChangeWithNewValue(benchmark::State& state) {
  announce(state, NSKeyValueObservingOptionNew);
}
BENCHMARK(BM_ChangeWithNewValue)->Arg(1)->Arg(10);

void BM_ChangeWithBothValues(benchmark::State& state) {
  announce(state, NSKeyValueObservingOptionNew | NSKeyValueObservingOptionOld);
}
BENCHMARK(BM_ChangeWithBothValues)->Arg(1)->Arg(10);

/// A change by hand while nobody observes.
void BM_UnobservedPairByHand(benchmark::State& state) {
  const auto gauge = make<Gauge>();
  for (auto _ : state) {
    gauge->willChangeValueForKey("value");
    gauge->didChangeValueForKey("value");
  }
}
BENCHMARK(BM_UnobservedPairByHand);

/// An observed object with many observed properties.
void BM_DictionaryOfManyObservedKeys(benchmark::State& state) {
  haveHadThreads();
  const auto dictionary = OVKVOMutableDictionary::initWithObjects_forKeys(nullptr, nullptr);
  const auto observer = make<Counter>();
  for (int i = 0; i < state.range(0); ++i) {
    dictionary->addObserver_forKeyPath_options_context(observer.get(), "key" + std::to_string(i), 0,
                                                       nullptr);
  }
  const Ref<NSString> key = "key0";
  const id object = 1;
  for (auto _ : state) {
    dictionary->setObject_forKey(object, key);
  }
}
BENCHMARK(BM_DictionaryOfManyObservedKeys)->Arg(1)->Arg(100)->Arg(10000);

/// Registering and removing one more where there are some already.
void BM_RegisterAndRemove(benchmark::State& state) {
  haveHadThreads();
  const auto gauge = make<Gauge>();
  std::vector<Ref<Counter>> observers;
  const Ref<NSString> path = "value";
  for (int i = 0; i < state.range(0); ++i) {
    observers.push_back(make<Counter>());
    gauge->addObserver_forKeyPath_options_context(observers.back().get(), path, 0, nullptr);
  }
  const auto observer = make<Counter>();
  for (auto _ : state) {
    gauge->addObserver_forKeyPath_options_context(observer.get(), path, 0, nullptr);
    gauge->removeObserver_forKeyPath(observer.get(), path);
  }
}
BENCHMARK(BM_RegisterAndRemove)->Arg(0)->Arg(10)->Arg(1000);

/// \name The peer
/// @{

struct PeerGauge {
  GObject parent;
  int value;
};
struct PeerGaugeClass {
  GObjectClass parent;
};
GParamSpec* peerValue = nullptr;

void peerSet(GObject*, guint, const GValue*, GParamSpec*) {}
void peerGet(GObject* object, guint, GValue* value, GParamSpec*) {
  g_value_set_int(value, reinterpret_cast<PeerGauge*>(object)->value);
}

GType peerType() {
  static const GType type = g_type_register_static_simple(
      G_TYPE_OBJECT, "PeerGauge", sizeof(PeerGaugeClass),
      [](gpointer described, gpointer) {
        auto* objects = static_cast<GObjectClass*>(described);
        objects->set_property = peerSet;
        objects->get_property = peerGet;
        peerValue = g_param_spec_int("value", nullptr, nullptr, 0, G_MAXINT, 0, G_PARAM_READWRITE);
        g_object_class_install_property(objects, 1, peerValue);
      },
      sizeof(PeerGauge), nullptr, GTypeFlags{});
  return type;
}

void peerNotify(benchmark::State& state, GCallback told) {
  haveHadThreads();
  auto* object = static_cast<GObject*>(g_object_new(peerType(), nullptr));
  long calls = 0;
  for (int i = 0; i < state.range(0); ++i) {
    g_signal_connect(object, "notify::value", told, &calls);
  }
  for (auto _ : state) {
    ++reinterpret_cast<PeerGauge*>(object)->value;
    g_object_notify_by_pspec(object, peerValue);
  }
  state.SetItemsProcessed(state.iterations() * std::max<std::int64_t>(state.range(0), 1));
  benchmark::DoNotOptimize(calls);
  g_object_unref(object);
}

void BM_GObjectNotify(benchmark::State& state) {
  peerNotify(state, G_CALLBACK(+[](GObject*, GParamSpec*, gpointer calls) {
               ++*static_cast<long*>(calls);
             }));
}
BENCHMARK(BM_GObjectNotify)->Arg(0)->Arg(1)->Arg(10)->Arg(100);

/// The same where each observer reads the new value by its name, as ours is given it.
void BM_GObjectNotifyWithNewValue(benchmark::State& state) {
  peerNotify(state, G_CALLBACK(+[](GObject* object, GParamSpec*, gpointer calls) {
               GValue value = G_VALUE_INIT;
               g_object_get_property(object, "value", &value);
               *static_cast<long*>(calls) += g_value_get_int(&value);
             }));
}
BENCHMARK(BM_GObjectNotifyWithNewValue)->Arg(1)->Arg(10);

void BM_GObjectConnectAndDisconnect(benchmark::State& state) {
  haveHadThreads();
  auto* object = static_cast<GObject*>(g_object_new(peerType(), nullptr));
  const auto told = G_CALLBACK(+[](GObject*, GParamSpec*, gpointer) {});
  for (int i = 0; i < state.range(0); ++i) {
    g_signal_connect(object, "notify::value", told, nullptr);
  }
  for (auto _ : state) {
    const gulong handler = g_signal_connect(object, "notify::value", told, nullptr);
    g_signal_handler_disconnect(object, handler);
  }
  g_object_unref(object);
}
BENCHMARK(BM_GObjectConnectAndDisconnect)->Arg(0)->Arg(10)->Arg(1000);

/// @}

}  // namespace
}  // namespace kestova

BENCHMARK_MAIN();
