// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <string>

#include <KestovaPlatform/MacErrors.h>

#include "files/FileDescriptor.h"

namespace kestova {

struct TransferRequest;

/// The two ends of a transfer, found and opened once, so that all later work is relative to these
/// folders whatever happens to their paths.
struct TransferEndpoints {
  std::string sourcePath;       ///< As given, without slashes at its end.
  FileDescriptor sourceFolder;  ///< The folder that holds the source.
  std::string sourceName;       ///< The source's name in it.
  struct stat source {};        ///< The source itself; a symbolic link is not followed.
  FileDescriptor destination;   ///< The destination folder.
  std::string name;             ///< The name that the item gets there.

  /// Opens the ends of `request` and checks what can be checked without work: the name, both ends
  /// being there, the source not going into itself. `noErr` or the status.
  OSStatus open(const TransferRequest& request);

  /// What has the new name at present: 0 with its facts, ENOENT when nothing has it, or the error
  /// number that keeps it from being known.
  int findExisting(struct stat& facts) const;

 private:
  int locateSource();
  int locateDestination(const std::string& path);
  /// That neither the source goes into itself nor an item is replaced that holds the source.
  OSStatus checkNesting(bool overwrites) const;
};

}  // namespace kestova
