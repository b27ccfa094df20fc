// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/MountTable.h"

#include <string>

namespace kestova {

/// The label that people gave to the file system of a mount; empty when it has none, or when nobody
/// can tell. The file system itself is asked first, the system's register of devices otherwise.
std::string volumeLabel(const Mount& mount);

/// The text behind the escapes of that register: `\x` and two hexadecimal digits stand for a byte.
std::string unescapedLabel(std::string_view text);

}  // namespace kestova
