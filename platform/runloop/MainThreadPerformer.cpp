// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/MainThreadPerformer.h>

#include <atomic>

namespace kestova {
namespace {

constinit std::atomic<MainThreadPerformer*> currentPerformer{nullptr};

}  // namespace

MainThreadPerformer::~MainThreadPerformer() = default;

MainThreadPerformer* MainThreadPerformer::current() noexcept {
  return currentPerformer.load(std::memory_order_acquire);
}

void MainThreadPerformer::setCurrent(MainThreadPerformer* performer) noexcept {
  currentPerformer.store(performer, std::memory_order_release);
}

}  // namespace kestova
