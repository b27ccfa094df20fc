// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <optional>
#include <string>

namespace kestova {

/// The bytes by which the file system knows a path; nothing for null, for "" and for a path that no
/// file can have.
std::optional<std::string> nativePath(const Ref<NSString>& path);

/// Whether there is a folder now, behind symbolic links too.
bool isFolder(const std::string& path);

}  // namespace kestova
