// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <cstdint>
#include <fstream>

namespace kestova::testing {

/// How much memory the process has at the moment, in bytes. Says little under a sanitizer, which
/// keeps for itself what has been freed.
inline std::int64_t residentBytes() {
  std::ifstream file("/proc/self/statm");
  std::int64_t total = 0;
  std::int64_t resident = 0;
  file >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

}  // namespace kestova::testing
