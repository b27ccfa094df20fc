// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ExceptionExpectation.h"
#include "OVFileOperationFixture.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::CapturedLog;
using testing::expectException;
using testing::expectFlags;

using Names = std::vector<std::string>;

/// Runs this thread's run loop until the operation has ended.
void runUntilEnd(const Ref<OVFileOperation>& operation) {
  while (operation->isExecuting()) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true);
  }
}

class OVFileOperationTests : public testing::OVFileOperationFixture {};

// Shows: init, isExecuting, isFinished, isCancelled, delegate, fromPath, toPaths, currentFile, totalBytes, throughput
TEST_F(OVFileOperationTests, ANewOperationIsIdleAndEmpty) {
  const auto operation = OVFileOperation::init();
  expectFlags(*operation, false, false, false);
  EXPECT_EQ(operation->delegate(), nullptr);
  EXPECT_EQ(operation->fromPath(), nullptr);
  EXPECT_EQ(operation->toPaths(), nullptr);
  EXPECT_EQ(operation->currentFile(), nullptr);
  EXPECT_EQ(operation->totalBytes(), 0U);
  EXPECT_EQ(operation->throughput(), 0.0);
}

/// A delegate that is an object as well.
class ObjectDelegate : public NSObject, public OVFileOperationDelegate {};

// Shows: delegate, setDelegate
TEST_F(OVFileOperationTests, ADelegateThatIsAnObjectIsReadAndSetByName) {
  const auto delegate = make<ObjectDelegate>();
  operation_->setValue_forKey(delegate, "delegate");
  EXPECT_EQ(operation_->delegate(), delegate.get());
  EXPECT_EQ(operation_->valueForKey("delegate"), delegate);
  operation_->setDelegate(&listener_);
  EXPECT_EQ(operation_->valueForKey("delegate"), nullptr);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error, isExecuting, fileOperationStatusChanged, fileOperationDidFinish_error
TEST_F(OVFileOperationTests, TwoEmptyListsStayExecutingWithoutACall) {
  EXPECT_TRUE(copyItems(NSArray::array(), NSArray::array()));
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
  expectFlags(*operation_, true, false, false);
  EXPECT_EQ(listener_.reports, 0);
  EXPECT_EQ(listener_.ends, 0);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationTests, AMissingDestinationFolderIsMadeWithThoseAboveIt) {
  ASSERT_TRUE(copyItems(NSArray::of(source("a")), NSArray::of(target("deep/deeper/b"))));
  EXPECT_TRUE(fs::is_directory(target("deep/deeper")));
  runUntilEnd(operation_);
  EXPECT_EQ(folder_.read("to/deep/deeper/b"), "contents");
  EXPECT_EQ(listener_.endStatus, 0);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error, fileOperationDidFinish_error, isFinished, fromPaths, toPaths
TEST_F(OVFileOperationTests, ManyItemsAreCopiedAndTheEndIsToldOnce) {
  const auto from = NSArray::of(source("a", "12345"), source("b", "123"));
  const auto to = NSArray::of(target("x"), target("y"));
  ASSERT_TRUE(copyItems(from, to));
  listener_.whenFinished = [](const Ref<OVFileOperation>& operation) {
    expectFlags(*operation, false, true, false);
  };
  runUntilEnd(operation_);
  EXPECT_EQ(folder_.read("to/x"), "12345");
  EXPECT_EQ(folder_.read("to/y"), "123");
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(operation_->totalBytes(), 8U);
  EXPECT_EQ(operation_->bytesComplete(), 8U);
  EXPECT_EQ(operation_->bytesRemaining(), 0U);
  EXPECT_EQ(operation_->objectsComplete(), 2U);
  EXPECT_TRUE(operation_->fromPaths()->isEqual(from));
  EXPECT_TRUE(operation_->toPaths()->isEqual(to));
}

// Shows: beginMoveItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationTests, ManyItemsAreMoved) {
  ASSERT_TRUE(operation_->beginMoveItemsAtPaths_toPaths_options_error(
      NSArray::of(source("a"), source("b")), NSArray::of(target("x"), target("y")), 0));
  runUntilEnd(operation_);
  EXPECT_EQ(folder_.read("to/x"), "contents");
  EXPECT_EQ(folder_.read("to/y"), "contents");
  EXPECT_TRUE(fs::is_empty(folder_.at("from")));
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error, isExecuting, isFinished, isCancelled
TEST_F(OVFileOperationTests, AFailedStartOfTheSecondItemStopsTheFirst) {
  Ref<NSError> error;
  EXPECT_FALSE(copyItems(NSArray::of(source("a"), folder_.at("from/missing")),
                         NSArray::of(target("a"), target("b")), &error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain(), "NSOSStatusErrorDomain");
  EXPECT_EQ(error->code(), -43);
  EXPECT_EQ(error->userInfo()->count(), 2U);
  EXPECT_EQ(error->localizedDescription(), "FSPathMoveObjectAsync failed with fnfErr on the file " +
                                               folder_.at("from/missing") + ".");
  EXPECT_EQ(error->localizedFailureReason(), "File not found");
  expectFlags(*operation_, false, false, false);
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
  EXPECT_EQ(listener_.reports, 0);
  EXPECT_FALSE(fs::exists(target("b")));
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error, isExecuting
TEST_F(OVFileOperationTests, AnImpossibleDestinationFolderFailsWithTheFileManagersError) {
  Ref<NSError> error;
  folder_.write("file", "");
  EXPECT_FALSE(copyItems(NSArray::of(source("a")), NSArray::of(folder_.at("file/sub/b")), &error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain(), "NSCocoaErrorDomain");
  expectFlags(*operation_, false, false, false);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationTests, FewerDestinationsThanSourcesAreRefused) {
  expectException(NSRangeException, [&] { copyItems(NSArray::of(source("a")), NSArray::array()); });
  expectFlags(*operation_, false, false, false);
}

// Shows: copyFromPath_toPath_options, fileOperationDidFinish_error, isFinished, fromPath, toPath, currentFile
TEST_F(OVFileOperationTests, ABlockingCopyReportsItsEndBeforeItReturns) {
  makeTargetFolder();
  EXPECT_EQ(operation_->copyFromPath_toPath_options(source("a", "12345"), target("b"), 0), 0);
  EXPECT_EQ(folder_.read("to/b"), "12345");
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(listener_.endStatus, 0);
  expectFlags(*operation_, false, true, false);
  EXPECT_EQ(operation_->fromPath(), folder_.at("from/a"));
  EXPECT_EQ(operation_->toPath(), target("b"));
  EXPECT_EQ(operation_->currentFile(), folder_.at("from/a"));
  EXPECT_EQ(operation_->bytesComplete(), 5U);
}

// Shows: moveFromPath_toPath_options
TEST_F(OVFileOperationTests, ABlockingMoveLeavesNoSource) {
  makeTargetFolder();
  EXPECT_EQ(operation_->moveFromPath_toPath_options(source("a"), target("b"), 0), 0);
  EXPECT_EQ(folder_.read("to/b"), "contents");
  EXPECT_FALSE(fs::exists(folder_.at("from/a")));
}

// Shows: copyFromPath_toPath_options, isExecuting
TEST_F(OVFileOperationTests, ABlockingCopyThatCannotStartStaysExecuting) {
  EXPECT_EQ(operation_->copyFromPath_toPath_options(folder_.at("from/missing"), target("b"), 0),
            -43);
  expectFlags(*operation_, true, false, false);
  EXPECT_EQ(listener_.reports, 0);
}

// Shows: copyFromPath_toPath_options
TEST_F(OVFileOperationTests, AnExistingDestinationIsKeptAndReportedUnlessItIsToBeOverwritten) {
  makeTargetFolder();
  folder_.write("to/b", "old");
  const CapturedLog log;
  EXPECT_EQ(operation_->copyFromPath_toPath_options(source("a"), target("b"), 0), -48);
  EXPECT_EQ(folder_.read("to/b"), "old");
  EXPECT_EQ(log.lines(), (Names{"Error -48"}));
  EXPECT_EQ(
      operation_->copyFromPath_toPath_options(source("a"), target("b"), kFSFileOperationOverwrite),
      0);
  EXPECT_EQ(folder_.read("to/b"), "contents");
}

// Shows: beginCopyFromPath_toPath_options, isExecuting, fileOperationDidFinish_error
TEST_F(OVFileOperationTests, OneItemIsCopiedOnTheRunLoop) {
  makeTargetFolder();
  EXPECT_EQ(operation_->beginCopyFromPath_toPath_options(source("a"), target("b"), 0), 0);
  expectFlags(*operation_, true, false, false);
  runUntilEnd(operation_);
  EXPECT_EQ(folder_.read("to/b"), "contents");
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 1U);
}

// Shows: beginMoveFromPath_toPath_options
TEST_F(OVFileOperationTests, OneItemIsMovedOnTheRunLoop) {
  makeTargetFolder();
  EXPECT_EQ(operation_->beginMoveFromPath_toPath_options(source("a"), target("b"), 0), 0);
  runUntilEnd(operation_);
  EXPECT_EQ(folder_.read("to/b"), "contents");
  EXPECT_FALSE(fs::exists(folder_.at("from/a")));
}

// Shows: copyFromPath_toPath_options
TEST_F(OVFileOperationTests, ABareDestinationNameMeansTheWorkingFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  EXPECT_EQ(operation_->copyFromPath_toPath_options(source("a"), "bare", 0), 0);
  fs::current_path(before);
  EXPECT_EQ(folder_.read("bare"), "contents");
}

// Shows: copyFromPath_toPath_options, currentFile
TEST_F(OVFileOperationTests, NamesThatAreNoUTF8AreCopied) {
  const std::string name = "odd-\xFF\xC3";
  source(name);
  makeTargetFolder();
  const auto from = NSString::stringWithFileSystemRepresentation(folder_.at("from/" + name));
  const auto to = NSString::stringWithFileSystemRepresentation(target(name));
  EXPECT_EQ(operation_->copyFromPath_toPath_options(from, to, 0), 0);
  EXPECT_EQ(folder_.read("to/" + name), "contents");
  EXPECT_TRUE(operation_->currentFile()->isEqualToString(from));
}

// Shows: cancel, isCancelled, isExecuting, isFinished, fileOperationStatusChanged, fileOperationDidFinish_error
TEST_F(OVFileOperationTests, ACancelledRunStopsWithItsNextReportAndNeverFinishes) {
  for (int i = 0; i < 2000; ++i) {
    source("file" + std::to_string(i));
  }
  ASSERT_TRUE(copyItems(NSArray::of(folder_.at("from")), NSArray::of(target("copy"))));
  operation_->cancel();
  while (listener_.reports == 0) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true);
  }
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false);
  EXPECT_EQ(listener_.reports, 1);
  EXPECT_EQ(listener_.ends, 0);
  expectFlags(*operation_, true, false, true);
}

// Shows: cancel, copyFromPath_toPath_options
TEST_F(OVFileOperationTests, ACancelledOperationCarriesNoOtherSingleItem) {
  makeTargetFolder();
  const auto a = source("a");
  listener_.whenChanged = [](const Ref<OVFileOperation>& operation) { operation->cancel(); };
  // May have ended when it is looked at first, which is when it is cancelled.
  operation_->copyFromPath_toPath_options(a, target("b"), 0);
  listener_.whenChanged = nullptr;
  EXPECT_EQ(operation_->copyFromPath_toPath_options(a, target("c"), 0), -50);
}

// Shows: OVFileOperation, beginCopyFromPath_toPath_options
TEST_F(OVFileOperationTests, AnOperationThatGoesWhileItRunsLeavesNothingBehind) {
  makeTargetFolder();
  for (int i = 0; i < 2000; ++i) {
    source("file" + std::to_string(i));
  }
  auto short_lived = OVFileOperation::init();
  EXPECT_EQ(short_lived->beginCopyFromPath_toPath_options(folder_.at("from"), target("copy"), 0),
            0);
  short_lived = nullptr;
  for (const auto& entry : fs::directory_iterator(folder_.at("to"))) {
    EXPECT_EQ(entry.path().filename(), "copy");
  }
}

}  // namespace
}  // namespace kestova
