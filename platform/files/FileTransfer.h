// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <KestovaPlatform/MacErrors.h>

#include "files/TransferControl.h"
#include "files/TransferEndpoints.h"
#include "files/TransferProgress.h"
#include "files/TransferRequest.h"
#include "files/TransferRun.h"

namespace kestova {

/// Where a transfer stands.
struct TransferSnapshot {
  TransferStage stage = TransferStage::undefined;
  /// 0 until the end; then 0 for success or the status of the failure.
  OSStatus status = noErr;
  /// Path of the source item last worked on; after a failure, of the item that failed.
  std::string item;
  TransferFigures figures;
};

/// Copies or moves one item, with all that is beneath it and all that belongs to it, in the
/// background.
///
///     FileTransfer transfer({"/home/me/Photos", "/media/disk", "Photos"});
///     if (transfer.start([&] { wakeMyLoop(); }) == noErr) { … transfer.snapshot() … }
///
/// The item appears under its new name only when it is complete; after a failure, a cancellation or
/// a crash there is either nothing there or what was there before. An existing item is replaced
/// only on request, and only once the new one is durable. A move removes its source only once the
/// copy is.
///
/// Kept: content with its holes, permissions, access and change times, extended attributes, access
/// control lists, symbolic links, links among the files of the item, special files, and owners
/// where the user may give them.
///
/// Threads: `snapshot` and `cancel` may be called from any thread, `start` from one. One thread
/// works, for folders two; none outlives the object. Descriptors: some two hundred at most, unless
/// more than a hundred folders above one another each hold more than a thousand entries. Memory
/// does not grow with the number of files, but for those that have several links.
class FileTransfer {
 public:
  /// Called when there is something new in the snapshot: at each stage, some forty times a second
  /// while there is progress, and once, as the last call, at the end. From a working thread, one
  /// call at a time, no lock held. It must not destroy the transfer or wait for it; it had best
  /// only wake the thread that is interested.
  using Listener = std::function<void()>;

  explicit FileTransfer(TransferRequest request);
  FileTransfer(const FileTransfer&) = delete;
  FileTransfer& operator=(const FileTransfer&) = delete;
  /// Cancels a running transfer and waits for its end, which the listener is told of.
  ~FileTransfer();

  /// Checks the request and starts the work. Answers `noErr`, or why it was not started and never
  /// will report: `paramErr` for an empty path, for a name that is empty, "." or "..", or holds a
  /// slash, and when it was started before; `bdNamErr` for a name too long for the volume; `fnfErr`
  /// for a missing source, `dirNFErr` for a missing destination folder; `badMovErr` when a folder
  /// would go into itself or take the place of a folder that it is in; `memFullErr` when no thread
  /// can be had; else the status of what the system says.
  OSStatus start(Listener listener = {});

  /// Ends the transfer with `userCanceledErr` within a few MiB of work; what was made is removed.
  /// No effect once the item has its new name. Does not wait.
  void cancel();

  TransferSnapshot snapshot() const;

  /// Waits until a started transfer has ended and its listener was told; answers its status.
  OSStatus wait();

 private:
  void work();
  void enterStage(TransferStage stage);
  void setItem(const std::string& item);
  void end(const TransferOutcome& outcome);
  void tellListener() const;

  const TransferRequest request_;
  TransferEndpoints ends_;
  Listener listener_;
  mutable TransferControl control_;
  std::thread thread_;

  mutable std::mutex mutex_;
  std::condition_variable change_;
  TransferStage stage_ = TransferStage::undefined;  // guarded by mutex_
  OSStatus status_ = noErr;                         // guarded by mutex_
  std::string item_;                                // guarded by mutex_
  bool ended_ = false;                              // guarded by mutex_; the listener has been told
};

}  // namespace kestova
