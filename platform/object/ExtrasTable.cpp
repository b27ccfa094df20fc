// SPDX-License-Identifier: Apache-2.0
#include "object/ExtrasTable.h"

#include <KestovaPlatform/Contract.h>

#include "object/ObjectExtras.h"

namespace kestova {

ExtrasTable& ExtrasTable::shared() {
  static auto& table = *new ExtrasTable();
  return table;
}

ExtrasTable::~ExtrasTable() {
  for (const auto& segment : segments_) {
    delete[] segment.load();
  }
}

std::uint32_t ExtrasTable::add(std::unique_ptr<ObjectExtras> extras) {
  const std::lock_guard lock(mutex_);
  const std::uint32_t number = freeNumber();
  placeOf(number).store(extras.release(), std::memory_order_release);
  return number;
}

void ExtrasTable::remove(std::uint32_t number) noexcept {
  delete placeOf(number).load(std::memory_order_acquire);
  const std::lock_guard lock(mutex_);
  freed_.push_back(number);
}

std::uint32_t ExtrasTable::freeNumber() {
  if (!freed_.empty()) {
    const std::uint32_t number = freed_.back();
    freed_.pop_back();
    return number;
  }
  require(next_ != kNoneYet, "fewer than four thousand million objects have extras");
  const unsigned segment = segmentOf(next_);
  if (next_ == sizeOfSegment(segment)) {
    freed_.reserve(2 * sizeOfSegment(segment));
    segments_[segment].store(new Place[sizeOfSegment(segment)]{}, std::memory_order_release);
  }
  return next_++;
}

}  // namespace kestova
