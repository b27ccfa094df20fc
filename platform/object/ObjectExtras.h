// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include "object/ObserverTable.h"

namespace kestova {

/// What only few objects have. Made by the first thread that needs it, gone with its object.
class ObjectExtras {
 public:
  /// The object's extras, made if there are none.
  static ObjectExtras& of(NSObject& object);

  /// The object's extras; null when there are none.
  static ObjectExtras* existing(const NSObject& object) noexcept {
    return object.extras_.load(std::memory_order_acquire);
  }

  ObserverTable observers;
};

}  // namespace kestova
