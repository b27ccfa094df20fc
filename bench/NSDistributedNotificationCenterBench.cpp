// SPDX-License-Identifier: Apache-2.0
// The time from posting in one process to the observer's call in another, beside signals of GDBus.
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Selector.h>

#include <benchmark/benchmark.h>
#include <gio/gio.h>

#include "ProcessExchange.h"

namespace {

using namespace kestova;
using bench::Listener;

constexpr char kObject[] = "org.kestova.bench";

/// One side of the exchange over our centre: hears one name and can post the other.
class Centre {
 public:
  Centre(const char* address, const char* hears, const char* posts)
      : centre_(NSDistributedNotificationCenter::initWithBusAddress(address)), posts_(posts) {
    centre_->addObserver_selector_name_object(listener_.get(), sel<&Listener::heard>(), hears,
                                              kObject);
  }
  ~Centre() { centre_->removeObserver(listener_.get()); }
  Centre(const Centre&) = delete;
  Centre& operator=(const Centre&) = delete;

  void post() { centre_->postNotificationName_object_userInfo(posts_, kObject, userInfo_); }

  bool wait() { return listener_->wait(); }

 private:
  const Ref<NSDistributedNotificationCenter> centre_;
  const Ref<Listener> listener_ = make<Listener>();
  const Ref<NSString> posts_;
  const Ref<NSDictionary> userInfo_ = NSDictionary::of({{"sender", kObject}});
};

/// The same over GDBus, with the same message.
class GioSignals {
 public:
  GioSignals(const char* address, const char* hears, const char* posts)
      : connection_(g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr)),
        posts_(posts) {
    g_dbus_connection_signal_subscribe(connection_, nullptr, kInterface, "Posted", kPath, hears,
                                       G_DBUS_SIGNAL_FLAGS_NONE, &GioSignals::heard, this, nullptr);
  }
  ~GioSignals() {
    g_dbus_connection_close_sync(connection_, nullptr, nullptr);
    g_object_unref(connection_);
  }
  GioSignals(const GioSignals&) = delete;
  GioSignals& operator=(const GioSignals&) = delete;

  void post() {
    GVariantBuilder values;
    g_variant_builder_init(&values, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&values, "{sv}", "sender", g_variant_new_string(kObject));
    g_dbus_connection_emit_signal(connection_, nullptr, kPath, kInterface, "Posted",
                                  g_variant_new("(ssua{sv})", posts_, kObject, 0U, &values),
                                  nullptr);
  }

  bool wait() {
    hasHeard_ = false;
    bool isOver = false;
    const guint limit = g_timeout_add(1000, &GioSignals::end, &isOver);
    while (!hasHeard_ && !isOver) {
      g_main_context_iteration(nullptr, TRUE);
    }
    if (!isOver) {
      g_source_remove(limit);
    }
    return hasHeard_;
  }

 private:
  static constexpr char kPath[] = "/org/kestova/Bench";
  static constexpr char kInterface[] = "org.kestova.Bench";

  static void heard(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                    gpointer self) {
    static_cast<GioSignals*>(self)->hasHeard_ = true;
  }
  static gboolean end(gpointer isOver) {
    *static_cast<bool*>(isOver) = true;
    return G_SOURCE_REMOVE;
  }

  GDBusConnection* const connection_;
  const char* const posts_;
  bool hasHeard_ = false;
};

void BM_DistributedNotification(benchmark::State& state) {
  bench::timeOneWay<Centre>(state, "centre");
}
BENCHMARK(BM_DistributedNotification)->UseManualTime();

void BM_GDBusSignal(benchmark::State& state) { bench::timeOneWay<GioSignals>(state, "gio"); }
BENCHMARK(BM_GDBusSignal)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  if (bench::isAnswerer(argc, argv, "centre")) {
    return bench::answer<Centre>(argv[2]);
  }
  if (bench::isAnswerer(argc, argv, "gio")) {
    return bench::answer<GioSignals>(argv[2]);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
