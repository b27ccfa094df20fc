// SPDX-License-Identifier: Apache-2.0
#include "files/FileOperationRun.h"

#include <KestovaPlatform/NSNumber.h>

#include <string>
#include <utility>

#include "files/NativePath.h"
#include "files/PathText.h"

namespace kestova {
namespace {

/// The name under which the source arrives when none is given: its own.
std::string lastComponent(const std::string& path) {
  const std::string bare = withoutTrailingSlashes(path);
  return bare.substr(bare.rfind('/') + 1);
}

}  // namespace

FileOperationRun::FileOperationRun(FSFileOperation& operation)
    : operation_(operation), source_(RunLoopSource::sourceWithBlock([this] { deliver(); })) {}

FileOperationRun::~FileOperationRun() {
  source_->invalidate();
  transfer_.reset();
  letGoOfClient();
}

bool FileOperationRun::isBusy() const {
  const std::scoped_lock lock(mutex_);
  return isCancelled_ || (transfer_ && transfer_->snapshot().stage != TransferStage::complete);
}

/// A run that cannot start leaves the one before it, its client and its end as they are.
OSStatus FileOperationRun::start(TransferKind kind, const FileOperationService::Request& request) {
  if (isBusy()) {
    return paramErr;
  }
  const std::optional<std::string> name =
      request.destinationName ? nativePath(request.destinationName) : lastComponent(request.source);
  if (!name) {
    return paramErr;
  }
  auto transfer = std::make_unique<FileTransfer>(
      TransferRequest{request.source, request.destinationFolder, *name, kind, request.options});
  const OSStatus status = transfer->start([source = source_] { source->signal(); });
  if (status != noErr) {
    return status;
  }
  letGoOfClient();
  holdOnToClient(request);
  lastStage_ = kFSOperationStageUndefined;
  const std::scoped_lock lock(mutex_);
  transfer_.swap(transfer);
  return noErr;
}

void FileOperationRun::holdOnToClient(const FileOperationService::Request& request) {
  callback_ = request.callback;
  interval_ = std::chrono::duration<double>(request.statusChangeInterval);
  if (request.context == nullptr) {
    return;
  }
  context_ = *request.context;
  if (context_.retain != nullptr) {
    context_.retain(context_.info);
  }
}

void FileOperationRun::cancel() {
  {
    const std::scoped_lock lock(mutex_);
    isCancelled_ = true;
    if (transfer_) {
      transfer_->cancel();
    }
  }
  source_->invalidate();
}

std::optional<TransferSnapshot> FileOperationRun::status() const {
  const std::scoped_lock lock(mutex_);
  if (isCancelled_ || !transfer_) {
    return std::nullopt;
  }
  return transfer_->snapshot();
}

bool FileOperationRun::isCancelled() const {
  const std::scoped_lock lock(mutex_);
  return isCancelled_;
}

/// A stage that is new is told at once; within one, the client's interval decides. Nothing follows
/// the end.
bool FileOperationRun::isDue(FSFileOperationStage stage, Time now) const {
  return stage != lastStage_ ||
         (stage != kFSOperationStageComplete && now - lastReport_ >= interval_);
}

void FileOperationRun::deliver() {
  const FSFileOperationRef keptAlive(&operation_);  // the client may let go of it
  const std::optional<TransferSnapshot> snapshot = status();
  if (!snapshot || callback_ == nullptr) {
    return;
  }
  const auto stage = static_cast<FSFileOperationStage>(snapshot->stage);
  const Time now = std::chrono::steady_clock::now();
  if (!isDue(stage, now)) {
    return;
  }
  lastStage_ = stage;
  lastReport_ = now;
  callback_(keptAlive, snapshot->item.c_str(), stage, snapshot->status,
            dictionaryFor(snapshot->figures), context_.info);
}

void FileOperationRun::letGoOfClient() {
  const FSFileOperationClientContext context = std::exchange(context_, {});
  if (context.release != nullptr) {
    context.release(context.info);
  }
}

Ref<NSDictionary> FileOperationRun::dictionaryFor(const TransferFigures& figures) {
  return NSDictionary::of({
      {kFSOperationTotalBytesKey, figures.bytes.total},
      {kFSOperationBytesCompleteKey, figures.bytes.complete},
      {kFSOperationBytesRemainingKey, figures.bytes.remaining},
      {kFSOperationTotalObjectsKey, figures.objects.total},
      {kFSOperationObjectsCompleteKey, figures.objects.complete},
      {kFSOperationObjectsRemainingKey, figures.objects.remaining},
      {kFSOperationTotalUserVisibleObjectsKey, figures.userVisibleObjects.total},
      {kFSOperationUserVisibleObjectsCompleteKey, figures.userVisibleObjects.complete},
      {kFSOperationUserVisibleObjectsRemainingKey, figures.userVisibleObjects.remaining},
      {kFSOperationThroughputKey, figures.throughput},
  });
}

}  // namespace kestova
