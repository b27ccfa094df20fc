// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "files/MountTable.h"

#include <sys/stat.h>

#include <string>

namespace kestova {

/// A mounted file system as people see it. One that is mounted in several places is a volume in
/// each of them, and a file that is mounted by itself stands in the volume of the folder that it is
/// seen in.
///
/// Only the file system of the item in question is ever asked: one that doesn't answer holds up
/// nobody who has nothing to do with it.
class Volume {
 public:
  /// Finds the volume that holds an item of these facts. Answers 0 or the error number.
  static int find(const struct statx& item, Volume& volume);

  /// The folder at the top. What lies outside of all that the process can reach by a path counts
  /// to its root, "/".
  const std::string& root() const { return mount_.place; }

  /// The label; without one the name of the folder at the top. The volume of "/" has the name of
  /// the system, the computer's without one.
  std::string name() const;

 private:
  Mount mount_;
};

/// Whether an item is the folder at the top of a volume.
bool isVolumeRoot(const std::string& path, const struct statx& item);

}  // namespace kestova
