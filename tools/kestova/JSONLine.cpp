// SPDX-License-Identifier: Apache-2.0
#include "JSONLine.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace kestova::tool {

void printJSONLine(const nlohmann::ordered_json& object) {
  using ErrorHandler = nlohmann::ordered_json::error_handler_t;
  std::puts(object.dump(-1, ' ', false, ErrorHandler::replace).c_str());
  std::fflush(stdout);
}

}  // namespace kestova::tool
