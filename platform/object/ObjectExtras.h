// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSObject.h>

#include "object/AssociationTable.h"
#include "object/ExtrasTable.h"
#include "object/ObserverTable.h"

namespace kestova {

/// What only few objects have. Made by the first thread that needs it, gone with its object.
class ObjectExtras {
 public:
  /// The object's extras, made if there are none.
  static ObjectExtras& of(NSObject& object);

  /// The object's extras; null when there are none.
  static ObjectExtras* existing(const NSObject& object) noexcept {
    const std::uint32_t number = object.extras_.load(std::memory_order_acquire);
    return ExtrasTable::isNumber(number) ? ExtrasTable::shared().at(number) : nullptr;
  }

  /// Lets `share` have an object that others know by plain pointers. To be called before any of
  /// them does.
  static void letShare(const NSObject& object) noexcept {
    std::uint32_t none = 0;
    if (object.extras_.load(std::memory_order_relaxed) == none) {
      object.extras_.compare_exchange_strong(none, ExtrasTable::kNoneYet,
                                             std::memory_order_relaxed);
    }
  }

  /// Shares an object that may be on its way out, whose destructor can't have come far: the caller
  /// holds a lock that the destructor takes. Null once nothing else shares it. The object has
  /// extras or was let share: `release` may let go of any other one without counting.
  template <class T>
  static Ref<T> share(T& object) noexcept {
    require(object.extras_.load(std::memory_order_acquire) != 0, "the object may be shared");
    return tryRetain(object) ? Ref<T>::adopt(&object) : Ref<T>();
  }

  /// Gives a reference up. The last one of an object that can't be shared takes no locked
  /// operation.
  static void release(const NSObject& object) noexcept {
    const bool isLast = object.references_.load(std::memory_order_acquire) == 1 &&
                        object.extras_.load(std::memory_order_relaxed) == 0;
    if (isLast) {
      delete &object;
    } else {
      object.release();
    }
  }

  ObservingTable observing;
  ObserverTable observers;
  /// Goes first, for what is attached may observe the object until then.
  AssociationTable associations;

 private:
  static bool tryRetain(const NSObject& object) noexcept {
    std::uint32_t count = object.references_.load(std::memory_order_relaxed);
    while (count != 0 &&
           !object.references_.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) {
    }
    return count != 0;
  }
};

}  // namespace kestova
