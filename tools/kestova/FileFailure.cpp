// SPDX-License-Identifier: Apache-2.0
#include "FileFailure.h"

#include <cstdio>
#include <system_error>

namespace kestova::tool {

FileFailure::FileFailure(const std::string& name, int errorNumber)
    : FileFailure(name, std::generic_category().message(errorNumber)) {}

void printFailure(std::string_view line) {
  std::fprintf(stderr, "kestova: %.*s\n", static_cast<int>(line.size()), line.data());
}

}  // namespace kestova::tool
