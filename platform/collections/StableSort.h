// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace kestova {

/// Sorts objects, or anything else that moves; those of which none comes before the other stay as
/// they stood.
///
/// A comparison visits objects all over the memory, and that is what sorting costs. So each half is
/// sorted before the other one is touched, as long as a half fits into a cache, and where it does
/// not, the objects to come are asked for in time.
template <class T, class IsBefore>
class StableSort {
 public:
  /// `isBefore(a, b)` tells whether `a` has to stand before `b`. What it throws leaves the objects
  /// in any order, some of them lost.
  static void sort(std::span<T> objects, const IsBefore& isBefore) {
    std::vector<T> room(objects.size() / 2);
    StableSort(isBefore).sortWithin(objects, room.data());
  }

 private:
  explicit StableSort(const IsBefore& isBefore) : isBefore_(isBefore) {}

  /// The depth is the logarithm of the number of objects.
  void sortWithin(std::span<T> objects, T* room) const {
    if (objects.size() <= kFew) {
      return sortFew(objects);
    }
    const auto left = objects.first(objects.size() / 2);
    const auto right = objects.subspan(left.size());
    sortWithin(left, room);
    sortWithin(right, room);
    if (isBefore_(right.front(), left.back())) {
      merge({room, std::ranges::move(left, room).out}, right, objects.data());
    }
  }

  void sortFew(std::span<T> objects) const {
    for (std::size_t next = 1; next < objects.size(); ++next) {
      T object = std::move(objects[next]);
      std::size_t place = next;
      for (; place > 0 && isBefore_(object, objects[place - 1]); --place) {
        objects[place] = std::move(objects[place - 1]);
      }
      objects[place] = std::move(object);
    }
  }

  /// The second half may end where the result does.
  void merge(std::span<T> first, std::span<T> second, T* to) const {
    while (!first.empty() && !second.empty()) {
      isBefore_(second.front(), first.front()) ? take(second, to) : take(first, to);
    }
    std::ranges::move(second, std::ranges::move(first, to).out);
  }

  static void take(std::span<T>& from, T*& to) {
    askFor(from[std::min(kAhead, from.size() - 1)]);
    *to++ = std::move(from.front());
    from = from.subspan(1);
  }

  static void askFor(const id& object) { __builtin_prefetch(object.get()); }
  template <class Other>
  static void askFor(const Other&) {}

  static constexpr std::size_t kFew = 6;
  static constexpr std::size_t kAhead = 8;

  const IsBefore& isBefore_;
};

template <class T, class IsBefore>
void stableSort(std::vector<T>& objects, const IsBefore& isBefore) {
  StableSort<T, IsBefore>::sort(objects, isBefore);
}

}  // namespace kestova
