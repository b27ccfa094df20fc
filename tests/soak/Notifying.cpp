// SPDX-License-Identifier: Apache-2.0
#include "Load.h"

#include <KestovaFoundation/OVNotificationQueue.h>
#include <KestovaFoundation/OVSerialOperationQueue.h>
#include <KestovaPlatform/NSNotificationCenter.h>

#include <thread>

namespace kestova::soak {
namespace {

class Notifying final : public Load {
 public:
  Notifying()
      : centre_(NSNotificationCenter::init()),
        queue_(OVNotificationQueue::initWithNotificationCenter_queue(
            centre_, OVSerialOperationQueue::init())),
        observer_(observe([this] { finishOne(); })),
        first_([this](const std::stop_token& stop) { postUntil(stop); }),
        second_([this](const std::stop_token& stop) { postUntil(stop); }) {}
  ~Notifying() override {
    first_ = {};
    second_ = {};
    centre_->removeObserver(observer_.get());
  }

  const char* name() const override { return "notifications"; }

 private:
  id observe(Block<void()> block) {
    return centre_->addObserverForName_object_queue_usingBlock(
        "changed", nullptr, nullptr, [block](const Ref<NSNotification>&) { block(); });
  }

  void postUntil(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
      const id passing = observe([] {});
      for (int i = 0; i < 100; ++i) {
        centre_->postNotificationName_object("changed", nullptr);
        queue_->enqueueNotificationName_object_userInfo_coalesceMask(
            "changed", nullptr, nullptr, OVNotificationCoalescingOnName);
      }
      centre_->removeObserver(passing.get());
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  const Ref<NSNotificationCenter> centre_;
  const Ref<OVNotificationQueue> queue_;
  const id observer_;
  std::jthread first_;
  std::jthread second_;
};

}  // namespace

std::unique_ptr<Load> notifying() { return std::make_unique<Notifying>(); }

}  // namespace kestova::soak
