// SPDX-License-Identifier: Apache-2.0
// A hundred changes, of which the latest is saved and searched for, and a hundred notifications
// that become one.
#include <KestovaFoundation/KestovaFoundation.h>
#include <KestovaPlatform/KestovaPlatform.h>

#include <iostream>
#include <latch>

using namespace kestova;

int main() {
  const dispatch_queue_t queue = dispatch_queue_create("org.kestova.examples.tour", nullptr);
  const auto saver = OVThrottlingDispatcher::initWithQueue_seconds(queue, 0.2);
  const auto search = GCDCoalescer::init();
  int saved = 0;
  int searched = 0;
  std::latch latest(2);
  const auto reach = [&](int& last, int change) {
    last = change;
    if (change == 100) {
      latest.count_down();
    }
  };
  for (int change = 1; change <= 100; ++change) {
    saver->dispatch([=, &saved] { reach(saved, change); });
    search->dispatchOn_after_block(queue, 0.3, [=, &searched] { reach(searched, change); });
  }
  latest.wait();
  dispatch_release(queue);
  std::cout << "saved " << saved << ", searched for " << searched << '\n';

  const auto centre = NSNotificationCenter::init();
  const id observer = centre->addObserverForName_object_queue_usingBlock(
      "changed", nullptr, nullptr, [](const Ref<NSNotification>&) { std::cout << "changed\n"; });
  const auto serial = OVSerialOperationQueue::init();
  const auto notifications = OVNotificationQueue::initWithNotificationCenter_queue(centre, serial);
  serial->setSuspended(true);
  for (int change = 1; change <= 100; ++change) {
    notifications->enqueueNotificationName_object_userInfo_coalesceMask(
        "changed", nullptr, nullptr, OVNotificationCoalescingOnName);
  }
  serial->setSuspended(false);
  serial->waitUntilAllOperationsAreFinished();
  centre->removeObserver(observer.get());
}
