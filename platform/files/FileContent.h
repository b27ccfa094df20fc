// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

#include "files/FileDescriptor.h"

namespace kestova {

/// Copies the bytes of regular files, by the fastest way that the two file systems allow.
///
/// Tried in this order: sharing the blocks (reflink); for small files one read and one write; for
/// large ones preallocating and moving pages through a pipe, `copy_file_range`, reading and
/// writing. A way that is found missing is not tried again. Holes stay holes. Interrupted and short
/// calls are continued; a zero answer of a call that moves pages is not taken for the end of the
/// file, only one of reading is.
///
/// A second thread helps with a file of 32 MiB and more where its blocks are reserved or in memory.
///
/// A file is copied up to the size it had when it was opened, less if it has become shorter.
///
/// Threads: one object per thread; it owns the thread's buffer and pipe.
class FileContent {
 public:
  /// Told of each piece of at most a few MiB that is done, for a large file by two threads at a
  /// time; false stops the copy with ECANCELED.
  using Observer = std::function<bool(std::uint64_t bytes)>;

  /// `preallocates`: whether reserving the blocks of a large file beforehand gains anything there.
  explicit FileContent(bool preallocates) : preallocates_(preallocates) {}

  /// Copies `source`, whose facts are `facts`, into the empty file `target`. 0 or the error number.
  int copy(int source, int target, const struct stat& facts, const Observer& observer);

 private:
  enum class Way { pipe, range, buffer };
  struct Job;
  class SharedRun;
  /// What one call achieved: bytes moved, none at a possible end of the file, or an error number.
  struct Step {
    ssize_t moved;
    int error;
  };

  bool share(const Job& job);
  int copySmall(Job& job);
  int copyUnsized(Job& job);
  int copyExtents(Job& job);
  int copyRun(Job& job, off_t offset, off_t end);
  int copyTogether(Job& job);
  int copyPieces(const Job& job, SharedRun& run);
  int copyPiece(const Job& job, SharedRun& run, off_t offset, off_t end);
  Step step(const Job& job, off_t offset, std::size_t size);
  Step throughPipe(const Job& job, off_t offset, std::size_t size);
  Step drainPipe(const Job& job, off_t offset, std::size_t size);
  Step inKernel(const Job& job, off_t offset, std::size_t size);
  Step throughBuffer(const Job& job, off_t offset, std::size_t size);
  bool openPipe();

  const bool preallocates_;
  Way way_ = Way::pipe;
  std::set<dev_t> unshareable_;  // source devices whose blocks the destination cannot share
  std::vector<char> buffer_;
  FileDescriptor pipeOut_;  // both or none; empty between calls
  FileDescriptor pipeIn_;
};

}  // namespace kestova
