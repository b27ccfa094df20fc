// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace kestova::tool {

/// Prints an object on a line of its own, at once. Bytes of a path that are no UTF-8 become U+FFFD:
/// JSON can't carry them.
void printJSONLine(const nlohmann::ordered_json& object);

}  // namespace kestova::tool
