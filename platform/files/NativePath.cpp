// SPDX-License-Identifier: Apache-2.0
#include "files/NativePath.h"

#include <KestovaPlatform/NSException.h>

#include <filesystem>

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

bool isFolder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

}  // namespace kestova
