// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSFileHandle.h>

#include "files/FileDescriptor.h"

namespace kestova {

/// A handle that owns the descriptor, which is closed when there is no memory for one.
inline Ref<NSFileHandle> owningHandle(FileDescriptor descriptor) {
  auto handle = make<NSFileHandle>(descriptor.get(), true);
  descriptor.release();
  return handle;
}

}  // namespace kestova
