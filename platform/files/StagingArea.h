// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "files/FileDescriptor.h"

namespace kestova {

/// A private folder in the destination folder, in which an item is built before it takes its name.
///
/// Its name is ".kestova-partial-" and sixteen hexadecimal digits, its mode 0700. While its owner
/// lives, the owner's open descriptor holds an exclusive `flock` on it; the kernel lets go of that
/// when the owner dies in whatever way, and the next transfer into the same folder sweeps what is
/// left. So nothing that exists nowhere else may ever be put in here. `docs/formats/staging.md` has
/// the whole of the format.
///
/// Threads: none of its own.
class StagingArea {
 public:
  StagingArea() = default;
  StagingArea(const StagingArea&) = delete;
  StagingArea& operator=(const StagingArea&) = delete;
  /// Removes the folder with all that is in it.
  ~StagingArea();

  /// Removes the staging folders in `folder` whose owners are gone. Only those of the calling user.
  static void sweep(int folder);
  /// Whether a name is one of a staging folder.
  static bool isStagingName(std::string_view name);

  /// Makes the folder in `destination`, which must stay open. 0 or the error number.
  int create(int destination);
  int folder() const { return folder_.get(); }
  /// Of the folder itself: owner and group are those that new objects in here get.
  const struct stat& facts() const { return facts_; }

  /// Gives the complete entry `item` the name `name` in the destination; EEXIST when that is taken.
  int commit(const std::string& item, const std::string& name);
  /// The same, in place of what has the name now. That one is in here afterwards, if it still
  /// exists.
  int commitReplacing(const std::string& item, const std::string& name);

 private:
  int createOnce(const std::string& name);
  int take(const std::string& name);

  int destination_ = -1;
  std::string name_;
  FileDescriptor folder_;
  struct stat facts_ {};
};

}  // namespace kestova
