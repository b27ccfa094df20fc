// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>

#include <cstddef>
#include <span>
#include <string>

namespace kestova {

/// \name A file's contents in one piece
/// Each function answers 0 or the error number. They block, and may be called from any thread.
/// @{

/// Adds the contents to `contents`, which is incomplete after an error. Works for files that don't
/// tell their size, too.
int readWholeFile(const std::string& path, NSMutableData& contents);

/// The same for an open file, from where it is read next.
int readWholeFile(int file, NSMutableData& contents);

/// Writes all of it to an open file.
int writeAll(int file, std::span<const std::byte> contents);

/// Writes over the file in place, or makes it.
int writeWholeFile(const std::string& path, std::span<const std::byte> contents);

/// Makes the file; EEXIST when there is something by that name. After any other error there is not.
int createWholeFile(const std::string& path, std::span<const std::byte> contents);

/// Puts a complete new file in place of the old one or of none: at every instant, also after a
/// crash, the name stands for the whole of either. A symbolic link stays and the file behind it is
/// replaced, with its permissions kept. What is no regular file, such as a device, is written in
/// place.
int replaceWholeFile(const std::string& path, std::span<const std::byte> contents);

/// @}

}  // namespace kestova
