// SPDX-License-Identifier: Apache-2.0
// The time from posting in one process to the observer's call in another, on a bus of their own,
// beside signals of GDBus. A second process answers each notification with one, and an item is one
// way: half the time until the answer is there. Both sleep in their run loops in between.
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/Selector.h>

#include <benchmark/benchmark.h>
#include <gio/gio.h>
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

namespace {

using namespace kestova;

constexpr char kPing[] = "Ping";
constexpr char kPong[] = "Pong";
constexpr char kObject[] = "org.kestova.bench";

class Listener final : public NSObject {
 public:
  void heard() { hasHeard = true; }

  bool hasHeard = false;
};

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

  /// Whether something was heard within a second.
  bool wait() {
    listener_->hasHeard = false;
    NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode, 1,
                                                                            true);
    return listener_->hasHeard;
  }

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

/// The second process: this program again, told what to be.
class Answerer {
 public:
  Answerer(const char* kind, const std::string& address) : child_(::fork()) {
    if (child_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::execl("/proc/self/exe", "answerer", kind, address.c_str(), nullptr);
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

template <class Side>
int answer(const char* address) {
  Side side(address, kPing, kPong);
  for (;;) {
    if (side.wait()) {
      side.post();
    }
  }
}

template <class Side>
void postAndHear(benchmark::State& state, const char* kind) {
  using Clock = std::chrono::steady_clock;
  const testing::PrivateBus bus;
  const Answerer answerer(kind, bus.address());
  Side side(bus.address().c_str(), kPong, kPing);
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

void BM_DistributedNotification(benchmark::State& state) { postAndHear<Centre>(state, "centre"); }
BENCHMARK(BM_DistributedNotification)->UseManualTime();

void BM_GDBusSignal(benchmark::State& state) { postAndHear<GioSignals>(state, "gio"); }
BENCHMARK(BM_GDBusSignal)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string_view(argv[0]) == "answerer") {
    return std::string_view(argv[1]) == "centre" ? answer<Centre>(argv[2])
                                                 : answer<GioSignals>(argv[2]);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
