// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Ref.h>

namespace kestova {

/// A reference to what a const member function runs on.
template <class T>
Ref<T> reference(const T& object) {
  return Ref<T>(const_cast<T*>(&object));
}

}  // namespace kestova
