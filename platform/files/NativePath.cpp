// SPDX-License-Identifier: Apache-2.0
#include "files/NativePath.h"

#include <KestovaPlatform/NSException.h>

namespace kestova {

std::optional<std::string> nativePath(const Ref<NSString>& path) {
  if (!path || path->length() == 0) {
    return std::nullopt;
  }
  try {
    return path->fileSystemRepresentation();
  } catch (const NSException&) {
    return std::nullopt;
  }
}

}  // namespace kestova
