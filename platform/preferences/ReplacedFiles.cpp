// SPDX-License-Identifier: Apache-2.0
#include "preferences/ReplacedFiles.h"

#include <KestovaPlatform/Dispatch.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <utility>

namespace kestova {
namespace {

constexpr int kMostAtOnce = 8;
constexpr std::chrono::seconds kPatience{1};
constexpr std::chrono::microseconds kNap{100};

/// Without a lock: a process that was forked from one that closes files has none of its threads,
/// and must not wait for them but for a while.
std::atomic<int> beingClosed{0};

}  // namespace

void letGoOfReplaced(FileDescriptor file) {
  if (!file || beingClosed >= kMostAtOnce) {
    return;
  }
  ++beingClosed;
  const auto shared = std::make_shared<FileDescriptor>(std::move(file));
  dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), [shared] {
    shared->close();
    --beingClosed;
  });
}

bool isRoomComing() noexcept { return beingClosed > 0; }

void awaitRoomOfReplaced() {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (isRoomComing() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kNap);
  }
}

}  // namespace kestova
