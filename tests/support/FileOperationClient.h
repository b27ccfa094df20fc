// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FSFileOperation.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace kestova::testing {

/// One call of a status function.
struct OperationReport {
  const FSFileOperation* operation;
  std::string item;
  FSFileOperationStage stage;
  OSStatus error;
  Ref<NSDictionary> figures;
};

inline NSUInteger figure(const Ref<NSDictionary>& figures, const StringConstant& key) {
  const auto number = cast<NSNumber>(figures->objectForKey(key));
  return number ? number->unsignedLongLongValue() : NSNotFound;
}

/// A client of file operations, which writes down what it is told and how often it is held on to.
class FileOperationClient {
 public:
  std::vector<OperationReport> reports;
  int retained = 0;
  int released = 0;
  std::function<void(const FSFileOperationRef&)> whenTold;

  FSFileOperationClientContext context() {
    return {.info = this, .retain = &retain, .release = &release};
  }
  FSFileOperationStage stage() const {
    return reports.empty() ? kFSOperationStageUndefined : reports.back().stage;
  }
  bool hasEnded() const { return stage() == kFSOperationStageComplete; }
  std::vector<FSFileOperationStage> stages() const {
    std::vector<FSFileOperationStage> result;
    for (const OperationReport& report : reports) result.push_back(report.stage);
    return result;
  }

  /// The status function, whose `info` is a client.
  static void tell(const FSFileOperationRef& operation, const char* item,
                   FSFileOperationStage stage, OSStatus error, const Ref<NSDictionary>& figures,
                   void* info) {
    auto& client = *static_cast<FileOperationClient*>(info);
    client.reports.push_back({operation.get(), item, stage, error, figures});
    if (client.whenTold) client.whenTold(operation);
  }

 private:
  static FileOperationClient& from(const void* info) {
    return *static_cast<FileOperationClient*>(const_cast<void*>(info));
  }
  static const void* retain(const void* info) {
    ++from(info).retained;
    return info;
  }
  static void release(const void* info) { ++from(info).released; }
};

/// Serves this thread's run loop in a mode until `condition`; a failure when nothing comes any
/// more.
inline void serveUntil(const Ref<NSString>& mode, const std::function<bool()>& condition) {
  while (!condition()) {
    ASSERT_EQ(CFRunLoopRunInMode(mode, 60, true), kCFRunLoopRunHandledSource);
  }
}

}  // namespace kestova::testing
