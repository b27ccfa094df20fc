// SPDX-License-Identifier: Apache-2.0
#include "ItemPath.h"

#include <filesystem>
#include <system_error>

namespace kestova::tool {

namespace fs = std::filesystem;

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

std::string nameOf(const std::string& source) {
  const fs::path name = fs::path(source).filename();
  if (!name.empty() && name != "." && name != "..") {
    return name;
  }
  std::error_code failed;
  return fs::canonical(source, failed).filename();
}

}  // namespace kestova::tool
