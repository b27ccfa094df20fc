// SPDX-License-Identifier: Apache-2.0
#include "preferences/UniqueLeaves.h"

#include "values/BlockHash.h"

#include <algorithm>
#include <bit>
#include <span>
#include <utility>

namespace kestova {
namespace {

/// Equal for equal bytes. Bytes at the end alone leave the lower bits of their hash alone, which
/// are those that a table of a power of two looks at.
std::size_t spreadHashOf(std::span<const std::byte> bytes) noexcept {
  BlockHash spread(hashOfBytes(bytes));
  spread.add(0);
  return spread.value();
}

}  // namespace

void UniqueLeaves::clear() {
  bytes_->setLength(0);
  end_ = 0;
  objects_.clear();
  leaves_ = 0;
  slots_.assign(kFewestSlots, 0);
}

void UniqueLeaves::expect(std::size_t objects) {
  const std::size_t wanted = objects_.size() + objects;
  if (wanted > objects_.capacity()) {
    objects_.reserve(std::max(wanted, 2 * objects_.capacity()));  // many small ones in linear time
  }
  keepHalfEmpty(leaves_ + objects);
}

std::size_t UniqueLeaves::addLeaf() {
  const std::string_view leaf = bytes().substr(end_);
  const std::size_t hash = spreadHashOf(bytes_->span().subspan(end_));
  std::size_t& slot = slots_[slotFor(leaf, hash)];
  if (slot != 0) {
    bytes_->setLength(end_);
    return slot - 1;
  }
  objects_.push_back({end_, hash});
  slot = objects_.size();
  end_ = bytes_->length();
  keepHalfEmpty(++leaves_);
  return objects_.size() - 1;
}

std::size_t UniqueLeaves::addOther() {
  objects_.push_back({end_, 0});
  return objects_.size() - 1;
}

/// A leaf ends where the next object begins.
bool UniqueLeaves::isLike(std::size_t number, std::string_view leaf) const noexcept {
  const std::size_t end = number + 1 < objects_.size() ? objects_[number + 1].place : end_;
  const std::size_t place = objects_[number].place;
  return bytes().substr(place, end - place) == leaf;
}

/// The place of the leaf in the table, or where it belongs.
std::size_t UniqueLeaves::slotFor(std::string_view leaf, std::size_t hash) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  while (slots_[at] != 0 &&
         (objects_[slots_[at] - 1].hash != hash || !isLike(slots_[at] - 1, leaf))) {
    at = (at + 1) & mask;
  }
  return at;
}

/// So that so many leaves fill no more than half of the table.
void UniqueLeaves::keepHalfEmpty(std::size_t leaves) {
  if (2 * leaves <= slots_.size()) {
    return;
  }
  const std::size_t size = 2 * std::bit_ceil(2 * leaves);
  if (leaves_ == 0) {
    slots_.assign(size, 0);
    return;
  }
  const auto old = std::exchange(slots_, std::vector<std::size_t>(size));
  const std::size_t mask = slots_.size() - 1;
  for (const std::size_t slot : old) {
    if (slot != 0) {
      std::size_t at = objects_[slot - 1].hash & mask;
      while (slots_[at] != 0) {
        at = (at + 1) & mask;
      }
      slots_[at] = slot;
    }
  }
}

}  // namespace kestova
