// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kestova {

/// The path without slashes at its end, or with one; the root is "/" to both.
std::string withoutTrailingSlashes(std::string path);
std::string withTrailingSlash(std::string path);

/// Whether a name in a folder is that of the folder itself or of the one above.
bool isSelfOrParent(std::string_view name);

}  // namespace kestova
