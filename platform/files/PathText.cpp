// SPDX-License-Identifier: Apache-2.0
#include "files/PathText.h"

namespace kestova {

std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') {
    path.pop_back();
  }
  return path;
}

std::string withTrailingSlash(std::string path) {
  if (!path.ends_with('/')) {
    path.push_back('/');
  }
  return path;
}

bool isSelfOrParent(std::string_view name) { return name == "." || name == ".."; }

}  // namespace kestova
