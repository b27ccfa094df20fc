// SPDX-License-Identifier: Apache-2.0
#include "Load.h"

#include <KestovaFoundation/GCDCoalescer.h>
#include <KestovaFoundation/GCDKeyedCoalescer.h>
#include <KestovaFoundation/OVEnqueueCoalescedBlock.h>
#include <KestovaFoundation/OVThrottlingDispatcher.h>
#include <KestovaPlatform/Dispatch.h>

#include <thread>

namespace kestova::soak {
namespace {

class Throttling final : public Load {
 public:
  Throttling()
      : queue_(dispatch_queue_create("org.kestova.soak", nullptr)),
        dispatcher_(OVThrottlingDispatcher::initWithQueue_seconds(queue_, 0.05)),
        coalescer_(GCDCoalescer::init()),
        keyed_(GCDKeyedCoalescer::init()),
        asking_([this](const std::stop_token& stop) { askUntil(stop); }) {}
  ~Throttling() override {
    asking_ = {};
    dispatch_release(queue_);
  }

  const char* name() const override { return "throttled and coalesced blocks"; }

 private:
  void askUntil(const std::stop_token& stop) {
    const id keys[] = {"a", "b", "c"};
    for (unsigned round = 0; !stop.stop_requested(); ++round) {
      dispatcher_->dispatch([this] { finishOne(); });
      OVEnqueueCoalescedBlock(this, queue_, [] {});
      keyed_->dispatch_on_after_block(keys[round % 3], queue_, 0.001, [] {});
      coalescer_->dispatchOn_after_block(queue_, 0.001, [] {});
      if (round % 100 == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
    }
  }

  dispatch_queue_t queue_;
  const Ref<OVThrottlingDispatcher> dispatcher_;
  const Ref<GCDCoalescer> coalescer_;
  const Ref<GCDKeyedCoalescer> keyed_;
  std::jthread asking_;
};

}  // namespace

std::unique_ptr<Load> throttling() { return std::make_unique<Throttling>(); }

}  // namespace kestova::soak
