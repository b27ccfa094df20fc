// SPDX-License-Identifier: Apache-2.0
// Reads arbitrary bytes as an os-release file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "values/SystemRelease.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto version = kestova::systemVersionIn({reinterpret_cast<const char*>(data), size});
  if (version && ((*version)[0] < 0 || (*version)[1] < 0 || (*version)[2] < 0)) {
    std::abort();
  }
  return 0;
}
