// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "collections/ObjectTable.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kestova {

/// The keys of a table to come in their order, and their hashes: these are taken while a key is at
/// hand, for soon it is far away in memory.
class HashedKeys {
 public:
  void reserve(std::size_t count);

  void add(id key) {
    hashes_.push_back(static_cast<std::uint32_t>(ObjectHash()(key)));
    keys_.push_back(std::move(key));
  }

  std::size_t size() const noexcept { return keys_.size(); }
  std::vector<id>& keys() noexcept { return keys_; }

  /// The lower half of each hash, which is what a table keeps of it.
  const std::vector<std::uint32_t>& hashes() const noexcept { return hashes_; }

 private:
  std::vector<id> keys_;
  std::vector<std::uint32_t> hashes_;
};

/// A table of as many keys as objects, for which it is made as one: sooner than key by key. Of
/// equal keys the first one stays, with the last one's object. Only what has no place in the table
/// is left of both; the keys are for nothing else any more then.
ObjectMap tableFromColumns(HashedKeys& hashed, std::vector<id>& objects);

}  // namespace kestova
