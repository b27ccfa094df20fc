// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace kestova {

class ObjectExtras;

/// The extras of all objects by number, so that an object that has none, as most, spends half a
/// pointer on them. Numbers begin with 1; 0 and `kNoneYet` stand for none.
///
/// Any thread may ask for extras whose number it has from the thread that added them, without a
/// lock: their place never moves.
class ExtrasTable {
 public:
  ExtrasTable() = default;
  ~ExtrasTable();
  ExtrasTable(const ExtrasTable&) = delete;
  ExtrasTable& operator=(const ExtrasTable&) = delete;

  /// Stands for none as 0 does, for an object that is told from all others so.
  static constexpr std::uint32_t kNoneYet = ~std::uint32_t(0);

  static constexpr bool isNumber(std::uint32_t number) noexcept {
    return number != 0 && number != kNoneYet;
  }

  /// The table of the process. It is never destroyed, since objects outlive everything.
  static ExtrasTable& shared();

  /// The number from now on of extras that were made for an object.
  std::uint32_t add(std::unique_ptr<ObjectExtras> extras);

  /// The extras of that number; null for none.
  ObjectExtras* at(std::uint32_t number) const noexcept {
    return isNumber(number) ? placeOf(number).load(std::memory_order_acquire) : nullptr;
  }

  /// Destroys the extras, and only then frees the number for others.
  void remove(std::uint32_t number) noexcept;

 private:
  using Place = std::atomic<ObjectExtras*>;

  static unsigned segmentOf(std::uint32_t number) noexcept {
    return static_cast<unsigned>(std::bit_width(number)) - 1;
  }
  static std::size_t sizeOfSegment(unsigned segment) noexcept { return std::size_t(1) << segment; }

  Place& placeOf(std::uint32_t number) const noexcept {
    const unsigned segment = segmentOf(number);
    return segments_[segment].load(std::memory_order_acquire)[number - sizeOfSegment(segment)];
  }

  std::uint32_t freeNumber();

  /// Segment n has the 2ⁿ numbers from 2ⁿ on. It is made with its first number and stays.
  std::array<std::atomic<Place*>, 32> segments_{};
  std::mutex mutex_;
  std::uint32_t next_ = 1;
  /// Has room for all numbers that were given away, so that removing never fails.
  std::vector<std::uint32_t> freed_;
};

}  // namespace kestova
