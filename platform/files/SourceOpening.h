// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/FileDescriptor.h"

namespace kestova {

/// Opens an entry of `folder` for reading, never following a symbolic link, never waiting for the
/// other end of a pipe, and leaving its access time alone where the user may ask for that. Nothing,
/// with `errno` set, on failure.
FileDescriptor openSourceFile(int folder, const char* name);

/// The same for a folder.
FileDescriptor openSourceFolder(int folder, const char* name);

/// Whether the user may not read an entry of `folder`; false also when that can't be told.
bool isUnreadable(int folder, const char* name);

/// Whether opening failed because the user may not read the source.
bool isPermissionError(int error);

}  // namespace kestova
