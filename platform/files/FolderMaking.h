// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace kestova {

/// Makes a folder with these permissions, or with those that the process gives to what it makes. 0
/// or the error number; one that can't be given its permissions stays.
int makeFolder(const std::string& path, std::optional<mode_t> permissions);

/// The same with those folders that lead to it, as far as they are missing; one that is there is
/// left as it is. The path doesn't end in a slash.
int makeFolders(const std::string& path, std::optional<mode_t> permissions);

}  // namespace kestova
