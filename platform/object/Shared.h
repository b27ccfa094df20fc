// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace kestova {

/// A count of references for what is no object, so that `Ref` can hold it and `make` make it.
///
///     struct Leaf : Shared<Leaf> { … };
template <class T>
class Shared {
 public:
  void retain() const noexcept { holders_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept {
    if (holders_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete static_cast<const T*>(this);
    }
  }

  /// Whether others than the caller hold it. What they did with it before they let go is seen then.
  bool isShared() const noexcept { return holders_.load(std::memory_order_acquire) != 1; }

 private:
  mutable std::atomic<std::uint32_t> holders_{1};
};

}  // namespace kestova
