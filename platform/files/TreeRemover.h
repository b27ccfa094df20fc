// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace kestova {

/// Removes the entry `name` of `folder` with all beneath it, as far as that is possible: what
/// cannot be removed stays, and the rest goes. Folders that their owner has locked against itself
/// are unlocked. Symbolic links are removed, never followed; other file systems mounted beneath
/// stay. 0, or the error number that keeps `name` in place: of all that could not be removed the
/// first one's, EBUSY for another file system, ENOTEMPTY for what came meanwhile.
///
/// Cost: a plain file or an empty folder takes one or two system calls; a tree is removed by up to
/// two threads and with little memory, however large and deep it is.
int removeTree(int folder, const std::string& name);

}  // namespace kestova
