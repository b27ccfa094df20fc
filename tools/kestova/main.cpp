// SPDX-License-Identifier: Apache-2.0
#include "Tool.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
  try {
    return kestova::tool::Tool().run(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "kestova: %s\n", exception.what());
    return kestova::tool::kFailed;
  }
}
