// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/FileDescriptor.h"

namespace kestova {

/// \name Files without a name any more
/// Giving back the room that a replaced file took can cost a file system as much as the new one
/// did. Nobody needs to wait for that. Threads: any.
/// @{

/// Closes the file in the background, or here and now where many are being closed already. Nothing
/// is not closed.
void letGoOfReplaced(FileDescriptor file);

/// Whether files are being closed at this moment, so that there is more room soon.
bool isRoomComing() noexcept;

/// Waits until those that are being closed have given their room back, for a second at most.
void awaitRoomOfReplaced();

/// @}

}  // namespace kestova
