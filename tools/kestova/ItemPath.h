// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kestova::tool {

/// The path as it was given, without slashes at its end: they would follow a symbolic link.
std::string withoutTrailingSlashes(std::string path);

/// The name under which an item arrives in a folder: its last component; of "." and ".." the one
/// that they stand for.
std::string nameOf(const std::string& source);

}  // namespace kestova::tool
