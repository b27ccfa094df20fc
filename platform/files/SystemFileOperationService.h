// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FSFileOperation.h>

#include "files/TransferRequest.h"

namespace kestova {

/// The real file-operation service: transfers on this machine's file systems.
class SystemFileOperationService : public FileOperationService {
 public:
  FSFileOperationRef create() override;
  OSStatus copy(const FSFileOperationRef& operation, const Request& request) override;
  OSStatus move(const FSFileOperationRef& operation, const Request& request) override;
  OSStatus schedule(const FSFileOperationRef& operation, const CFRunLoopRef& runLoop,
                    const Ref<NSString>& mode) override;
  OSStatus unschedule(const FSFileOperationRef& operation, const CFRunLoopRef& runLoop,
                      const Ref<NSString>& mode) override;
  OSStatus copyStatus(const FSFileOperationRef& operation, FSRef* currentItem,
                      FSFileOperationStage* stage, OSStatus* error,
                      Ref<NSDictionary>* status) override;
  OSStatus cancel(const FSFileOperationRef& operation) override;

 private:
  static OSStatus start(const FSFileOperationRef& operation, TransferKind kind,
                        const Request& request);
};

}  // namespace kestova
