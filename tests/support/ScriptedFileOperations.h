// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FSFileOperation.h>
#include <KestovaPlatform/NSNumber.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace kestova::testing {

/// The figures of a status report, as a test writes them down.
struct ScriptedFigures {
  NSUInteger totalBytes = 0;
  NSUInteger bytesComplete = 0;
  NSUInteger bytesRemaining = 0;
  NSUInteger totalObjects = 0;
  NSUInteger objectsComplete = 0;
  NSUInteger objectsRemaining = 0;
  NSUInteger totalUserVisibleObjects = 0;
  NSUInteger userVisibleObjectsComplete = 0;
  NSUInteger userVisibleObjectsRemaining = 0;
  double throughput = 0;

  Ref<NSDictionary> dictionary() const {
    return NSDictionary::of({
        {kFSOperationTotalBytesKey, totalBytes},
        {kFSOperationBytesCompleteKey, bytesComplete},
        {kFSOperationBytesRemainingKey, bytesRemaining},
        {kFSOperationTotalObjectsKey, totalObjects},
        {kFSOperationObjectsCompleteKey, objectsComplete},
        {kFSOperationObjectsRemainingKey, objectsRemaining},
        {kFSOperationTotalUserVisibleObjectsKey, totalUserVisibleObjects},
        {kFSOperationUserVisibleObjectsCompleteKey, userVisibleObjectsComplete},
        {kFSOperationUserVisibleObjectsRemainingKey, userVisibleObjectsRemaining},
        {kFSOperationThroughputKey, throughput},
    });
  }
};

/// A file-operation service that does nothing but write down what it is asked, and reports what and
/// when a test says. It shows what a client makes of reports that no healthy disk gives in that
/// order.
class ScriptedFileOperations : public FileOperationService {
 public:
  struct Started {
    FSFileOperationRef operation;
    bool isCopy;
    Request request;
    FSFileOperationClientContext context;
  };
  struct PolledStatus {
    std::string path;
    FSFileOperationStage stage;
    OSStatus error;
    Ref<NSDictionary> status;
  };

  ScriptedFileOperations() : real_(FileOperationService::setShared(this)) {}
  ~ScriptedFileOperations() override {
    FileOperationService::setShared(nullptr);
    for (const Started& item : started) {
      letGoOf(item);
    }
  }

  std::vector<Started> started;
  std::vector<FSFileOperationRef> scheduled;
  std::vector<FSFileOperationRef> unscheduled;
  std::vector<FSFileOperationRef> cancelled;
  std::deque<PolledStatus> polled;
  bool creates = true;
  std::deque<OSStatus> startStatuses;     // noErr when there are none left
  std::deque<OSStatus> scheduleStatuses;  // noErr when there are none left

  /// Delivers a report of the i-th operation that was started.
  void report(std::size_t index, const ScriptedFigures& figures,
              FSFileOperationStage stage = kFSOperationStageRunning, OSStatus error = noErr,
              const char* path = "/from/item") {
    const Started item = started.at(index);
    item.request.callback(item.operation, path, stage, error, figures.dictionary(),
                          item.context.info);
  }

  FSFileOperationRef create() override { return creates ? real_->create() : nullptr; }
  OSStatus copy(const FSFileOperationRef& operation, const Request& request) override {
    return start(operation, true, request);
  }
  OSStatus move(const FSFileOperationRef& operation, const Request& request) override {
    return start(operation, false, request);
  }
  OSStatus schedule(const FSFileOperationRef& operation, const CFRunLoopRef&,
                    const Ref<NSString>&) override {
    scheduled.push_back(operation);
    return next(scheduleStatuses);
  }
  OSStatus unschedule(const FSFileOperationRef& operation, const CFRunLoopRef&,
                      const Ref<NSString>&) override {
    unscheduled.push_back(operation);
    return noErr;
  }
  OSStatus copyStatus(const FSFileOperationRef&, FSRef* currentItem, FSFileOperationStage* stage,
                      OSStatus* error, Ref<NSDictionary>* status) override {
    const PolledStatus answer = polled.front();
    polled.pop_front();
    currentItem->path = answer.path;
    *stage = answer.stage;
    *error = answer.error;
    *status = answer.status;
    return noErr;
  }
  OSStatus cancel(const FSFileOperationRef& operation) override {
    cancelled.push_back(operation);
    return noErr;
  }

 private:
  static OSStatus next(std::deque<OSStatus>& statuses) {
    if (statuses.empty()) {
      return noErr;
    }
    const OSStatus status = statuses.front();
    statuses.pop_front();
    return status;
  }

  OSStatus start(const FSFileOperationRef& operation, bool isCopy, const Request& request) {
    const OSStatus status = operation ? next(startStatuses) : paramErr;
    if (status == noErr) {
      Started item{operation, isCopy, request,
                   request.context == nullptr ? FSFileOperationClientContext() : *request.context};
      item.request.context = nullptr;
      started.push_back(std::move(item));
      keep(started.back());
    }
    return status;
  }

  static void keep(const Started& item) {
    if (item.context.retain != nullptr) {
      item.context.retain(item.context.info);
    }
  }
  static void letGoOf(const Started& item) {
    if (item.context.release != nullptr) {
      item.context.release(item.context.info);
    }
  }

  FileOperationService* real_;
};

}  // namespace kestova::testing
