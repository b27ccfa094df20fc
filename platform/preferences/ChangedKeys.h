// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "collections/ObjectTable.h"

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace kestova {

/// The keys of what was changed in a dictionary. Adding one costs next to nothing: a key may be
/// there several times, but of many not more than about twice on average.
class ChangedKeys {
 public:
  /// Answers the key, valid until the next one is added.
  const id& add(id key) {
    if (keys_.size() == most_) {
      thinOut();
    }
    return keys_.emplace_back(std::move(key));
  }

  /// What was added last was not changed after all.
  void takeBack() noexcept { keys_.pop_back(); }

  void addAll(const ChangedKeys& others) {
    for (const id& key : others.keys_) {
      add(key);
    }
  }

  bool isEmpty() const noexcept { return keys_.empty(); }

  /// Valid until one is added.
  std::span<const id> all() const noexcept { return keys_; }

 private:
  static constexpr std::size_t kFew = 1024;

  /// Leaves each key once.
  void thinOut() {
    const ObjectSet once(keys_.begin(), keys_.end());
    keys_.assign(once.begin(), once.end());
    most_ = 2 * keys_.size() + kFew;
  }

  std::vector<id> keys_;
  std::size_t most_ = kFew;
};

}  // namespace kestova
