// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <optional>

#include "files/HardLinkTable.h"
#include "files/StagingArea.h"
#include "files/TransferControl.h"
#include "files/TransferEndpoints.h"

namespace kestova {

/// Builds a whole copy of a transfer's source, with everything that belongs to it, in a staging
/// area, under the name that it is to have.
///
/// Figures, reports and failures go to the control. On failure an unfinished copy is left to the
/// staging area. What may not be read is left out if so asked, except the source itself.
///
/// Threads: `run` uses the calling thread, which it gives a file mode mask of its own (0), and, for
/// folders, one more.
class TreeCopier {
 public:
  TreeCopier(TransferControl& control, const TransferEndpoints& endpoints,
             const StagingArea& staging, bool skipsUnreadable);

  void run();

  /// The mode that the copy is to get as soon as it has its place: of a folder without the owner's
  /// right to write, which an ordinary user could not rename.
  std::optional<mode_t> modeAfterwards() const { return modeAfterwards_; }

 private:
  class Worker;
  struct Place;

  TransferControl& control_;
  const TransferEndpoints& ends_;
  const StagingArea& staging_;
  const bool skipsUnreadable_;
  const bool preallocates_;
  HardLinkTable links_;
  std::optional<mode_t> modeAfterwards_;  // written by the thread that finishes the top folder
};

}  // namespace kestova
