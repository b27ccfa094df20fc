// SPDX-License-Identifier: Apache-2.0
#include "dispatch/MainQueue.h"

#include <unistd.h>

#include <cstdint>

// libdispatch exports these for run loops and declares them in none of its installed headers.
extern "C" {
int _dispatch_get_main_queue_handle_4CF();
void _dispatch_main_queue_callback_4CF(void* message);
}

namespace kestova {

int MainQueue::descriptor() { return _dispatch_get_main_queue_handle_4CF(); }

void MainQueue::drain() {
  // The descriptor is an eventfd that doesn't block; draining the queue leaves it as it is.
  std::uint64_t count = 0;
  [[maybe_unused]] const auto size = ::read(descriptor(), &count, sizeof count);
  _dispatch_main_queue_callback_4CF(nullptr);
}

}  // namespace kestova
