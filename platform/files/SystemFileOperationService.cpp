// SPDX-License-Identifier: Apache-2.0
#include "files/SystemFileOperationService.h"

#include "files/FileOperationRun.h"

#include <optional>

namespace kestova {
namespace {

template <class T>
void put(T* place, const T& value) {
  if (place != nullptr) {
    *place = value;
  }
}

}  // namespace

FSFileOperationRef SystemFileOperationService::create() { return make<FSFileOperation>(); }

OSStatus SystemFileOperationService::copy(const FSFileOperationRef& operation,
                                          const Request& request) {
  return start(operation, TransferKind::copy, request);
}

OSStatus SystemFileOperationService::move(const FSFileOperationRef& operation,
                                          const Request& request) {
  return start(operation, TransferKind::move, request);
}

OSStatus SystemFileOperationService::start(const FSFileOperationRef& operation, TransferKind kind,
                                           const Request& request) {
  return operation ? operation->run_->start(kind, request) : paramErr;
}

OSStatus SystemFileOperationService::schedule(const FSFileOperationRef& operation,
                                              const CFRunLoopRef& runLoop,
                                              const Ref<NSString>& mode) {
  if (!operation || !runLoop || !mode) {
    return paramErr;
  }
  runLoop->addSource_forMode(operation->run_->source(), mode);
  return noErr;
}

OSStatus SystemFileOperationService::unschedule(const FSFileOperationRef& operation,
                                                const CFRunLoopRef& runLoop,
                                                const Ref<NSString>& mode) {
  if (!operation || !runLoop || !mode) {
    return paramErr;
  }
  runLoop->removeSource_forMode(operation->run_->source(), mode);
  return noErr;
}

OSStatus SystemFileOperationService::copyStatus(const FSFileOperationRef& operation,
                                                FSRef* currentItem, FSFileOperationStage* stage,
                                                OSStatus* error, Ref<NSDictionary>* status) {
  if (!operation) {
    return paramErr;
  }
  const FileOperationRun& run = *operation->run_;
  const std::optional<TransferSnapshot> snapshot = run.status();
  if (!snapshot) {
    put(currentItem, FSRef());
    put(stage, FSFileOperationStage{kFSOperationStageUndefined});
    put(error, OSStatus{run.isCancelled() ? userCanceledErr : noErr});
    put(status, Ref<NSDictionary>());
    return noErr;
  }
  put(currentItem, FSRef{snapshot->item});
  put(stage, static_cast<FSFileOperationStage>(snapshot->stage));
  put(error, snapshot->status);
  put(status, FileOperationRun::dictionaryFor(snapshot->figures));
  return noErr;
}

OSStatus SystemFileOperationService::cancel(const FSFileOperationRef& operation) {
  if (!operation) {
    return paramErr;
  }
  operation->run_->cancel();
  return noErr;
}

}  // namespace kestova
