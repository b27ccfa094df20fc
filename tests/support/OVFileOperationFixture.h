// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <gtest/gtest.h>

#include "ScriptedFileOperations.h"
#include "TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <string>

namespace kestova::testing {

/// Counts what it is told, and keeps the last status.
class FileOperationListener : public OVFileOperationDelegate {
 public:
  int reports = 0;
  int ends = 0;
  OSStatus endStatus = -1;
  std::function<void(const Ref<OVFileOperation>&)> whenChanged;
  std::function<void(const Ref<OVFileOperation>&)> whenFinished;

  void fileOperationStatusChanged(const Ref<OVFileOperation>& operation) override {
    ++reports;
    if (whenChanged) {
      whenChanged(operation);
    }
  }
  void fileOperationDidFinish_error(const Ref<OVFileOperation>& operation,
                                    OSStatus error) override {
    ++ends;
    endStatus = error;
    if (whenFinished) {
      whenFinished(operation);
    }
  }
};

inline void expectFlags(const OVFileOperation& operation, bool executing, bool finished,
                        bool cancelled) {
  EXPECT_EQ(operation.isExecuting(), executing);
  EXPECT_EQ(operation.isFinished(), finished);
  EXPECT_EQ(operation.isCancelled(), cancelled);
}

/// The verbs of tests about one operation with a delegate, on files of a folder of their own.
class OVFileOperationFixture : public ::testing::Test {
 protected:
  OVFileOperationFixture() {
    std::filesystem::create_directories(folder_.at("from"));
    operation_->setDelegate(&listener_);
  }
  ~OVFileOperationFixture() override { operation_->setDelegate(nullptr); }

  std::string source(const std::string& name, const std::string& contents = "contents") {
    return folder_.write("from/" + name, contents);
  }
  std::string target(const std::string& name) { return folder_.at("to/" + name); }
  void makeTargetFolder() { std::filesystem::create_directories(folder_.at("to")); }
  bool copyItems(const Ref<NSArray>& from, const Ref<NSArray>& to, Ref<NSError>* error = nullptr) {
    return operation_->beginCopyItemsAtPaths_toPaths_options_error(from, to, 0, error);
  }

  TemporaryFolder folder_;
  FileOperationListener listener_;
  Ref<OVFileOperation> operation_ = OVFileOperation::init();
};

/// The same on a service that reports what the test says, whatever the files are.
class OVFileOperationReportFixture : public OVFileOperationFixture {
 protected:
  void beginTwo() {
    makeTargetFolder();
    ASSERT_TRUE(
        copyItems(NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b"))));
  }
  void beginSingle() {
    ASSERT_EQ(operation_->beginCopyFromPath_toPath_options("/from/a", target("a"), 9), 0);
  }

  ScriptedFileOperations service_;
};

/// The figures of two items that have come some way.
inline constexpr ScriptedFigures kFirstFigures{.totalBytes = 100,
                                               .bytesComplete = 40,
                                               .bytesRemaining = 60,
                                               .totalObjects = 10,
                                               .objectsComplete = 4,
                                               .objectsRemaining = 6,
                                               .totalUserVisibleObjects = 8,
                                               .userVisibleObjectsComplete = 3,
                                               .userVisibleObjectsRemaining = 5,
                                               .throughput = 1.5};
inline constexpr ScriptedFigures kSecondFigures{.totalBytes = 7,
                                                .bytesComplete = 1,
                                                .bytesRemaining = 6,
                                                .totalObjects = 3,
                                                .objectsComplete = 1,
                                                .objectsRemaining = 2,
                                                .totalUserVisibleObjects = 2,
                                                .userVisibleObjectsComplete = 1,
                                                .userVisibleObjectsRemaining = 1,
                                                .throughput = 2.0};

}  // namespace kestova::testing
