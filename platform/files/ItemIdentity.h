// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

namespace kestova {

/// Whether the facts are of one and the same item, by whatever names it was reached.
inline bool isSameItem(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace kestova
