// SPDX-License-Identifier: Apache-2.0
// Hot keys on a display server of the benchmark's own: registering two hundred, the way from the
// server's release event to the handler, and finding the hot key of an event. Beside them the same
// way with nothing but the protocol: a client that waits for the event itself.
#include <KestovaFoundation/OVHotKeyCenter.h>
#include <KestovaPlatform/HotKeyService.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <benchmark/benchmark.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "../tests/support/VirtualDisplay.h"

namespace {

using namespace kestova;
using testing::DisplayClient;
using testing::VirtualDisplay;

constexpr NSUInteger kKeys[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 40};
constexpr NSUInteger kFlagUnit = 0x20000;

/// Every combination of modifiers with each of these keys but the last few: two hundred.
void addTwoHundred(OVHotKeyCenter& center, const OVHotKey::Handler& handler) {
  int count = 0;
  for (const NSUInteger key : kKeys) {
    for (NSUInteger bits = 1; bits < 16 && count < 200; ++bits, ++count) {
      benchmark::DoNotOptimize(
          center.registerHotKeyWithKeyCode_modifierFlags_handler(key, bits * kFlagUnit, handler));
    }
  }
}

/// From nothing to two hundred hot keys: connecting, reading the keyboard, registering.
void StartWithTwoHundred(benchmark::State& state) {
  const VirtualDisplay display;
  for (auto _ : state) {
    const auto center = OVHotKeyCenter::init();
    addTwoHundred(*center, {});
    state.PauseTiming();
    for (const id& hotKey : center->registeredHotKeys()) {
      center->unregisterHotKey(cast<OVHotKey>(hotKey));
    }
    HotKeyService::setShared(nullptr);
    state.ResumeTiming();
  }
}

/// How long each of many runs took, and the one in the middle.
class Durations {
 public:
  template <class Run>
  void measure(benchmark::State& state, Run&& run) {
    const auto start = std::chrono::steady_clock::now();
    run();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(taken.count());
    seconds_.push_back(taken.count());
  }

  void report(benchmark::State& state) {
    std::nth_element(seconds_.begin(), seconds_.begin() + static_cast<long>(seconds_.size() / 2),
                     seconds_.end());
    state.counters["median_us"] = seconds_[seconds_.size() / 2] * 1e6;
  }

 private:
  std::vector<double> seconds_;
};

/// Lets a key be pressed and taken note of, and measures from the moment that its release is asked
/// for to the handler.
void ReleaseToHandler(benchmark::State& state) {
  const VirtualDisplay display;
  const DisplayClient client(display);
  bool isReleased = false;
  const auto center = OVHotKeyCenter::init();
  addTwoHundred(*center, [&](const auto&, const auto&) { isReleased = true; });
  client.press(testing::kKeyControl);
  const auto loop = NSRunLoop::mainRunLoop();
  Durations durations;
  for (auto _ : state) {
    client.press(testing::kKeyA);
    while (loop->turn()) {
    }
    isReleased = false;
    durations.measure(state, [&] {
      client.releaseSoon(testing::kKeyA);
      while (!isReleased) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
      }
    });
  }
  durations.report(state);
  client.release(testing::kKeyControl);
}

/// The same with a grab, a poll and nothing else.
void ReleaseToClient(benchmark::State& state) {
  const VirtualDisplay display;
  const DisplayClient client(display);
  xcb_connection_t* connection = xcb_connect(display.name().c_str(), nullptr);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  xcb_grab_key(connection, 0, root, XCB_MOD_MASK_CONTROL, testing::kKeyA, XCB_GRAB_MODE_ASYNC,
               XCB_GRAB_MODE_ASYNC);
  xcb_flush(connection);
  const auto waitFor = [&](std::uint8_t type) {
    for (bool isThere = false; !isThere;) {
      pollfd descriptor{xcb_get_file_descriptor(connection), POLLIN, 0};
      poll(&descriptor, 1, 1000);
      while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
        isThere = isThere || event->response_type == type;
        std::free(event);
      }
    }
  };
  client.press(testing::kKeyControl);
  Durations durations;
  for (auto _ : state) {
    client.press(testing::kKeyA);
    waitFor(XCB_KEY_PRESS);
    durations.measure(state, [&] {
      client.releaseSoon(testing::kKeyA);
      waitFor(XCB_KEY_RELEASE);
    });
  }
  durations.report(state);
  xcb_disconnect(connection);
}

/// From the event that the service sends to the handler, with so many hot keys.
void EventToHandler(benchmark::State& state) {
  const VirtualDisplay display;
  const auto center = OVHotKeyCenter::init();
  std::size_t calls = 0;
  const OVHotKey::Handler handler = [&](const auto&, const auto&) { ++calls; };
  std::vector<EventRef> events;
  for (NSUInteger i = 0; i < static_cast<NSUInteger>(state.range(0)); ++i) {
    const auto hotKey = center->registerHotKeyWithKeyCode_modifierFlags_handler(
        kKeys[i / 15], (i % 15 + 1) * kFlagUnit, handler);
    events.push_back(
        Event::hotKeyEvent(kEventHotKeyReleased, {0, hotKey->hotKeyID()}, 0, NSZeroPoint, 1));
  }
  std::size_t next = 0;
  for (auto _ : state) {
    SendEventToEventTarget(events[next++ % events.size()], GetEventDispatcherTarget());
  }
  benchmark::DoNotOptimize(calls);
}

BENCHMARK(StartWithTwoHundred)->Unit(benchmark::kMillisecond)->Iterations(50);
BENCHMARK(ReleaseToHandler)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(300);
BENCHMARK(ReleaseToClient)->Unit(benchmark::kMicrosecond)->UseManualTime()->Iterations(300);
BENCHMARK(EventToHandler)->Arg(1)->Arg(20)->Arg(200);

}  // namespace

BENCHMARK_MAIN();
