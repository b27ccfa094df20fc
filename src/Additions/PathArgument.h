// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

namespace kestova {

/// An argument that names a path and is no option, whatever the path begins with.
inline Ref<NSString> pathArgument(const Ref<NSString>& path) {
  return path->hasPrefix("-") ? NSString::stringWithString("./")->stringByAppendingString(path)
                              : path;
}

}  // namespace kestova
