// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "object/KeyPathStep.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kestova {

/// The steps of registrations that stand at the properties of one object, by key.
class ObserverTable {
 public:
  /// Ends the registrations that are left: all have this object as their root.
  ~ObserverTable();

  void link(Ref<KeyPathStep> step);
  void unlink(const KeyPathStep& step) noexcept;

  /// The latest registration with this object as its root for the observer and path, and for the
  /// context where one is given; null when there is none.
  Ref<KeyPathRegistration> find(const NSObject* observer, const Ref<NSString>& keyPath,
                                void* const* context);

  /// Calls the function with each step at the key, in the order of registration. It is told with
  /// the table locked.
  template <class Collect>
  void stepsAt(std::string_view key, const Collect& collect) const {
    const std::scoped_lock lock(mutex_);
    const auto found = steps_.find(key);
    if (found != steps_.end()) {
      for (const auto& step : found->second) {
        collect(step);
      }
    }
  }

  bool isEmpty() const noexcept { return count_.load(std::memory_order_acquire) == 0; }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view key) const noexcept {
      return std::hash<std::string_view>()(key);
    }
  };
  using Steps = std::vector<Ref<KeyPathStep>>;

  void setCount(std::size_t count) noexcept { count_.store(count, std::memory_order_release); }

  mutable BriefMutex mutex_;  // guards the steps; never held while other code runs
  std::unordered_map<std::string, Steps, Hash, std::equal_to<>> steps_;
  std::atomic<std::size_t> count_{0};  // set under the mutex
};

/// The registrations in which one object is the observer. They end with it.
class ObservingTable {
 public:
  ~ObservingTable();

  void add(Ref<KeyPathRegistration> registration);
  void remove(const KeyPathRegistration& registration) noexcept;

 private:
  BriefMutex mutex_;  // guards the registrations; never held while other code runs
  std::vector<Ref<KeyPathRegistration>> registrations_;
};

}  // namespace kestova
