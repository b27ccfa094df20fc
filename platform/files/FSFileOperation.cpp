// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/FSFileOperation.h>

#include "files/FileOperationRun.h"
#include "files/SystemFileOperationService.h"

#include <atomic>

namespace kestova {

constinit const StringConstant kFSOperationTotalBytesKey{"kFSOperationTotalBytesKey"};
constinit const StringConstant kFSOperationBytesCompleteKey{"kFSOperationBytesCompleteKey"};
constinit const StringConstant kFSOperationBytesRemainingKey{"kFSOperationBytesRemainingKey"};
constinit const StringConstant kFSOperationTotalObjectsKey{"kFSOperationTotalObjectsKey"};
constinit const StringConstant kFSOperationObjectsCompleteKey{"kFSOperationObjectsCompleteKey"};
constinit const StringConstant kFSOperationObjectsRemainingKey{"kFSOperationObjectsRemainingKey"};
constinit const StringConstant kFSOperationTotalUserVisibleObjectsKey{
    "kFSOperationTotalUserVisibleObjectsKey"};
constinit const StringConstant kFSOperationUserVisibleObjectsCompleteKey{
    "kFSOperationUserVisibleObjectsCompleteKey"};
constinit const StringConstant kFSOperationUserVisibleObjectsRemainingKey{
    "kFSOperationUserVisibleObjectsRemainingKey"};
constinit const StringConstant kFSOperationThroughputKey{"kFSOperationThroughputKey"};

namespace {

std::atomic<FileOperationService*> replacement{nullptr};

FileOperationService& systemService() {
  static FileOperationService& service = *new SystemFileOperationService;
  return service;
}

}  // namespace

KESTOVA_DEFINE_CLASS(FSFileOperation)

FSFileOperation::FSFileOperation() : run_(std::make_unique<FileOperationRun>(*this)) {}

FSFileOperation::~FSFileOperation() = default;

FileOperationService& FileOperationService::shared() {
  FileOperationService* service = replacement.load();
  return service == nullptr ? systemService() : *service;
}

FileOperationService* FileOperationService::setShared(FileOperationService* service) {
  FileOperationService* before = replacement.exchange(service);
  return before == nullptr ? &systemService() : before;
}

FSFileOperationRef FSFileOperationCreate() { return FileOperationService::shared().create(); }

OSStatus FSPathCopyObjectAsync(const FSFileOperationRef& operation, const std::string& source,
                               const std::string& destinationFolder,
                               const Ref<NSString>& destinationName, OptionBits options,
                               FSPathFileOperationStatusProcPtr callback,
                               NSTimeInterval statusChangeInterval,
                               const FSFileOperationClientContext* context) {
  return FileOperationService::shared().copy(
      operation, {source, destinationFolder, destinationName, options, callback,
                  statusChangeInterval, context});
}

OSStatus FSPathMoveObjectAsync(const FSFileOperationRef& operation, const std::string& source,
                               const std::string& destinationFolder,
                               const Ref<NSString>& destinationName, OptionBits options,
                               FSPathFileOperationStatusProcPtr callback,
                               NSTimeInterval statusChangeInterval,
                               const FSFileOperationClientContext* context) {
  return FileOperationService::shared().move(
      operation, {source, destinationFolder, destinationName, options, callback,
                  statusChangeInterval, context});
}

OSStatus FSFileOperationScheduleWithRunLoop(const FSFileOperationRef& operation,
                                            const CFRunLoopRef& runLoop,
                                            const Ref<NSString>& mode) {
  return FileOperationService::shared().schedule(operation, runLoop, mode);
}

OSStatus FSFileOperationUnscheduleFromRunLoop(const FSFileOperationRef& operation,
                                              const CFRunLoopRef& runLoop,
                                              const Ref<NSString>& mode) {
  return FileOperationService::shared().unschedule(operation, runLoop, mode);
}

OSStatus FSFileOperationCopyStatus(const FSFileOperationRef& operation, FSRef* currentItem,
                                   FSFileOperationStage* stage, OSStatus* error,
                                   Ref<NSDictionary>* status) {
  return FileOperationService::shared().copyStatus(operation, currentItem, stage, error, status);
}

OSStatus FSFileOperationCancel(const FSFileOperationRef& operation) {
  return FileOperationService::shared().cancel(operation);
}

}  // namespace kestova
