// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FSFileOperation.h>
#include <KestovaPlatform/RunLoopSource.h>

#include "files/FileTransfer.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

namespace kestova {

/// What lies between a transfer's worker and a client's status function.
///
/// The worker signals a run-loop source; the source's block, on the thread that the operation is
/// scheduled on, asks the transfer how it stands and tells the client. A transfer's end is told
/// once, however many signals arrive after it.
///
/// Threads: `cancel` and `status` from any, everything else from the operation's own.
class FileOperationRun {
 public:
  /// `operation` owns this and is what the client gets to see.
  explicit FileOperationRun(FSFileOperation& operation);
  FileOperationRun(const FileOperationRun&) = delete;
  FileOperationRun& operator=(const FileOperationRun&) = delete;
  ~FileOperationRun();

  OSStatus start(TransferKind kind, const FileOperationService::Request& request);
  void cancel();

  const Ref<RunLoopSource>& source() const noexcept { return source_; }

  /// How it stands; nothing before the start and after a cancellation.
  std::optional<TransferSnapshot> status() const;
  bool isCancelled() const;

  static Ref<NSDictionary> dictionaryFor(const TransferFigures& figures);

 private:
  using Time = std::chrono::steady_clock::time_point;

  bool isBusy() const;
  void deliver();
  bool isDue(FSFileOperationStage stage, Time now) const;
  void holdOnToClient(const FileOperationService::Request& request);
  void letGoOfClient();

  FSFileOperation& operation_;
  Ref<RunLoopSource> source_;
  FSPathFileOperationStatusProcPtr callback_ = nullptr;
  FSFileOperationClientContext context_;
  std::chrono::duration<double> interval_{0};
  Time lastReport_;
  FSFileOperationStage lastStage_ = kFSOperationStageUndefined;

  mutable std::mutex mutex_;  // guards what follows
  std::unique_ptr<FileTransfer> transfer_;
  bool isCancelled_ = false;
};

}  // namespace kestova
