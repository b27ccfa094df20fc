// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSBeep.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ExceptionExpectation.h"
#include "ScriptedFileOperations.h"
#include "TemporaryFolder.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::CapturedLog;
using testing::expectException;
using testing::ScriptedFigures;
using testing::ScriptedFileOperations;
using testing::TemporaryFolder;

using Names = std::vector<std::string>;

class Listener : public OVFileOperationDelegate {
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

/// Writes down the keys of the changes in their order.
class KeyRecorder : public NSObject {
 public:
  Names keys;
  void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>& keyPath, const id&,
                                                      const Ref<NSDictionary>&, void*) override {
    keys.push_back(keyPath->displayUTF8());
  }
};

const Names kFigureKeys = {"totalBytes",
                           "bytesComplete",
                           "bytesRemaining",
                           "totalObjects",
                           "objectsComplete",
                           "objectsRemaining",
                           "totalUserVisibleObjects",
                           "userVisibleObjectsComplete",
                           "userVisibleObjectsRemaining"};

void expectFlags(const OVFileOperation& operation, bool executing, bool finished, bool cancelled) {
  EXPECT_EQ(operation.isExecuting(), executing);
  EXPECT_EQ(operation.isFinished(), finished);
  EXPECT_EQ(operation.isCancelled(), cancelled);
}

/// Runs this thread's run loop until the operation has ended.
void runUntilEnd(const Ref<OVFileOperation>& operation) {
  while (operation->isExecuting()) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 10.0, true);
  }
}

class OVFileOperationTests : public ::testing::Test {
 protected:
  OVFileOperationTests() {
    fs::create_directories(folder_.at("from"));
    operation_->setDelegate(&listener_);
  }
  ~OVFileOperationTests() override { operation_->setDelegate(nullptr); }

  std::string source(const std::string& name, const std::string& contents = "contents") {
    return folder_.write("from/" + name, contents);
  }
  std::string target(const std::string& name) { return folder_.at("to/" + name); }
  bool copyItems(const Ref<NSArray>& from, const Ref<NSArray>& to, Ref<NSError>* error = nullptr) {
    return operation_->beginCopyItemsAtPaths_toPaths_options_error(from, to, 0, error);
  }

  TemporaryFolder folder_;
  Listener listener_;
  Ref<OVFileOperation> operation_ = OVFileOperation::init();
};

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
  fs::create_directories(folder_.at("to"));
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
  fs::create_directories(folder_.at("to"));
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
  fs::create_directories(folder_.at("to"));
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
  fs::create_directories(folder_.at("to"));
  EXPECT_EQ(operation_->beginCopyFromPath_toPath_options(source("a"), target("b"), 0), 0);
  expectFlags(*operation_, true, false, false);
  runUntilEnd(operation_);
  EXPECT_EQ(folder_.read("to/b"), "contents");
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 1U);
}

// Shows: beginMoveFromPath_toPath_options
TEST_F(OVFileOperationTests, OneItemIsMovedOnTheRunLoop) {
  fs::create_directories(folder_.at("to"));
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
  fs::create_directories(folder_.at("to"));
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
  fs::create_directories(folder_.at("to"));
  const auto a = source("a");
  listener_.whenChanged = [](const Ref<OVFileOperation>& operation) { operation->cancel(); };
  // May have ended when it is looked at first, which is when it is cancelled.
  operation_->copyFromPath_toPath_options(a, target("b"), 0);
  listener_.whenChanged = nullptr;
  EXPECT_EQ(operation_->copyFromPath_toPath_options(a, target("c"), 0), -50);
}

// Shows: OVFileOperation, beginCopyFromPath_toPath_options
TEST_F(OVFileOperationTests, AnOperationThatGoesWhileItRunsLeavesNothingBehind) {
  fs::create_directories(folder_.at("to"));
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

// What is made of reports, whatever they are

class OVFileOperationReportTests : public OVFileOperationTests {
 protected:
  void beginTwo() {
    fs::create_directories(folder_.at("to"));
    ASSERT_TRUE(
        copyItems(NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b"))));
  }
  void beginSingle() {
    ASSERT_EQ(operation_->beginCopyFromPath_toPath_options("/from/a", target("a"), 9), 0);
  }

  ScriptedFileOperations service_;
};

constexpr ScriptedFigures kFirst{.totalBytes = 100,
                                 .bytesComplete = 40,
                                 .bytesRemaining = 60,
                                 .totalObjects = 10,
                                 .objectsComplete = 4,
                                 .objectsRemaining = 6,
                                 .totalUserVisibleObjects = 8,
                                 .userVisibleObjectsComplete = 3,
                                 .userVisibleObjectsRemaining = 5,
                                 .throughput = 1.5};
constexpr ScriptedFigures kSecond{.totalBytes = 7,
                                  .bytesComplete = 1,
                                  .bytesRemaining = 6,
                                  .totalObjects = 3,
                                  .objectsComplete = 1,
                                  .objectsRemaining = 2,
                                  .totalUserVisibleObjects = 2,
                                  .userVisibleObjectsComplete = 1,
                                  .userVisibleObjectsRemaining = 1,
                                  .throughput = 2.0};

// Shows: init
TEST_F(OVFileOperationReportTests, WithoutAServiceOperationThereIsNoOperation) {
  service_.creates = false;
  EXPECT_EQ(OVFileOperation::init(), nullptr);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationReportTests, EachItemsRequestNamesItsFolderItsNameAndItsContext) {
  beginTwo();
  ASSERT_EQ(service_.started.size(), 2U);
  const auto& second = service_.started[1];
  EXPECT_TRUE(second.isCopy);
  EXPECT_EQ(second.request.source, "/from/b");
  EXPECT_EQ(second.request.destinationFolder, folder_.at("to"));
  EXPECT_EQ(second.request.destinationName, "b");
  EXPECT_EQ(second.request.statusChangeInterval, 0.0);
  EXPECT_EQ(second.context.version, 0);
  const auto info = cast<NSDictionary>(id(static_cast<NSObject*>(second.context.info)));
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->count(), 5U);
  EXPECT_EQ(info->objectForKey("OVFileOperation"), operation_);
  EXPECT_TRUE(info->objectForKey("fromPath")->isEqual("/from/b"));
  EXPECT_TRUE(info->objectForKey("intoPath")->isEqual(folder_.at("to")));
  EXPECT_TRUE(info->objectForKey("fileName")->isEqual("b"));
  EXPECT_TRUE(info->objectForKey("index")->isEqual(1));
}

// Shows: beginMoveItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationReportTests, TheOptionsGoToEveryItem) {
  fs::create_directories(folder_.at("to"));
  ASSERT_TRUE(operation_->beginMoveItemsAtPaths_toPaths_options_error(
      NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b")), 9));
  ASSERT_EQ(service_.started.size(), 2U);
  for (const auto& item : service_.started) {
    EXPECT_FALSE(item.isCopy);
    EXPECT_EQ(item.request.options, 9U);
  }
}

// Shows: fromPath, toPath
TEST_F(OVFileOperationReportTests, APathThatChangesAfterTheStartIsKeptAsItWas) {
  const auto from = NSMutableString::stringWithString("/from/a");
  const auto to = NSMutableString::stringWithString("/to/a");
  ASSERT_EQ(operation_->beginCopyFromPath_toPath_options(from, to, 0), 0);
  from->appendString("b");
  to->appendString("b");
  EXPECT_EQ(operation_->fromPath(), "/from/a");
  EXPECT_EQ(operation_->toPath(), "/to/a");
}

// Shows: fromPaths, toPaths
TEST_F(OVFileOperationReportTests, ListsOfPathsThatChangeAfterTheStartAreKeptAsTheyWere) {
  fs::create_directories(folder_.at("to"));
  const auto from = NSMutableArray::array();
  const auto to = NSMutableArray::array();
  from->addObject("/from/a");
  to->addObject(target("a"));
  ASSERT_TRUE(copyItems(from, to));
  from->removeAllObjects();
  to->removeAllObjects();
  EXPECT_TRUE(operation_->fromPaths()->isEqual(NSArray::of("/from/a")));
  EXPECT_TRUE(operation_->toPaths()->isEqual(NSArray::of(target("a"))));
}

// Shows: beginCopyFromPath_toPath_options, totalBytes, currentFile
TEST_F(OVFileOperationReportTests, ASingleItemsContextIsTheOperationItself) {
  beginSingle();
  const auto& item = service_.started[0];
  EXPECT_EQ(item.context.info, static_cast<NSObject*>(operation_.get()));
  EXPECT_EQ(item.context.retain, nullptr);
  EXPECT_EQ(item.request.options, 9U);
  service_.report(0, kFirst);
  EXPECT_EQ(operation_->totalBytes(), 100U);
  EXPECT_EQ(operation_->currentFile(), "/from/item");
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsComplete, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationReportTests, ASingleItemsFiguresAreItsOwn) {
  beginSingle();
  service_.report(0, kFirst);
  EXPECT_EQ(operation_->totalBytes(), 100U);
  EXPECT_EQ(operation_->bytesComplete(), 40U);
  EXPECT_EQ(operation_->bytesRemaining(), 60U);
  EXPECT_EQ(operation_->totalObjects(), 10U);
  EXPECT_EQ(operation_->objectsComplete(), 4U);
  EXPECT_EQ(operation_->objectsRemaining(), 6U);
  EXPECT_EQ(operation_->totalUserVisibleObjects(), 8U);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 3U);
  EXPECT_EQ(operation_->userVisibleObjectsRemaining(), 5U);
  EXPECT_EQ(operation_->throughput(), 1.5);
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationReportTests, TheFiguresOfManyAreTheSumAtEveryReport) {
  beginTwo();
  service_.report(0, kFirst);
  EXPECT_EQ(operation_->totalBytes(), 100U);
  service_.report(1, kSecond);
  EXPECT_EQ(operation_->totalBytes(), 107U);
  EXPECT_EQ(operation_->bytesComplete(), 41U);
  EXPECT_EQ(operation_->bytesRemaining(), 66U);
  EXPECT_EQ(operation_->totalObjects(), 13U);
  EXPECT_EQ(operation_->objectsComplete(), 5U);
  EXPECT_EQ(operation_->objectsRemaining(), 8U);
  EXPECT_EQ(operation_->totalUserVisibleObjects(), 10U);
  EXPECT_EQ(operation_->userVisibleObjectsRemaining(), 6U);
  EXPECT_EQ(operation_->throughput(), 3.5);
  service_.report(0, kFirst, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 107U);
  service_.report(1, kSecond);
  EXPECT_EQ(operation_->totalBytes(), 107U);
}

// Shows: userVisibleObjectsComplete
TEST_F(OVFileOperationReportTests, UserVisibleObjectsOfManyCountAsCompleteFromTheStart) {
  beginTwo();
  service_.report(0, kFirst);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 8U);
  service_.report(1, kSecond);
  EXPECT_EQ(operation_->userVisibleObjectsComplete(), 10U);
}

// Shows: fileOperationDidFinish_error, isFinished, isExecuting
TEST_F(OVFileOperationReportTests, TheEndComesWithTheLastItemsEndAndItsStatus) {
  beginTwo();
  const CapturedLog log;
  service_.report(1, kSecond, kFSOperationStageComplete);
  EXPECT_EQ(listener_.ends, 0);
  expectFlags(*operation_, true, false, false);
  service_.report(0, kFirst, kFSOperationStageComplete, -36);
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(listener_.endStatus, -36);
  expectFlags(*operation_, false, true, false);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error, totalBytes, fileOperationDidFinish_error
TEST_F(OVFileOperationReportTests, ARunThatFollowsAFinishedOneCountsItsOwnItemsOnly) {
  beginTwo();
  service_.report(0, kFirst, kFSOperationStageComplete);
  service_.report(1, kFirst, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 200U);
  beginTwo();
  expectFlags(*operation_, true, false, false);
  service_.report(2, kSecond, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 7U);
  EXPECT_EQ(listener_.ends, 1);
  service_.report(3, kSecond, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 14U);
  EXPECT_EQ(listener_.ends, 2);
  expectFlags(*operation_, false, true, false);
}

// Shows: fileOperationStatusChanged, currentFile
TEST_F(OVFileOperationReportTests, TheDelegateHearsOfAReportThatHasBeenApplied) {
  listener_.whenChanged = [](const Ref<OVFileOperation>& operation) {
    EXPECT_EQ(operation->totalBytes(), 100U);
    EXPECT_EQ(operation->currentFile(), "/from/item");
    expectFlags(*operation, true, false, false);
  };
  beginSingle();
  service_.report(0, kFirst, kFSOperationStageComplete);
  EXPECT_EQ(listener_.reports, 1);
}

// Shows: setDelegate, isFinished
TEST_F(OVFileOperationReportTests, WithoutADelegateARunEndsAllTheSame) {
  operation_->setDelegate(nullptr);
  beginSingle();
  service_.report(0, kFirst, kFSOperationStageComplete);
  expectFlags(*operation_, false, true, false);
  EXPECT_EQ(listener_.reports, 0);
  EXPECT_EQ(listener_.ends, 0);
}

// Shows: fileOperationStatusChanged, fileOperationDidFinish_error, isExecuting
TEST_F(OVFileOperationReportTests, AFailedReportBeepsLogsAndGoesOn) {
  class CountingSound : public AlertSound {
   public:
    int beeps = 0;
    void play() override { ++beeps; }
  } sound;
  AlertSound::setCurrent(&sound);
  const CapturedLog log;
  beginSingle();
  service_.report(0, kFirst, kFSOperationStageRunning, -5000);
  EXPECT_EQ(sound.beeps, 1);
  EXPECT_EQ(log.lines(), (Names{"Error -5000"}));
  EXPECT_EQ(listener_.reports, 1);
  expectFlags(*operation_, true, false, false);
  service_.report(0, kFirst, kFSOperationStageComplete);
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(sound.beeps, 1);
  AlertSound::setCurrent(nullptr);
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsComplete, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationReportTests, FiguresAreAnnouncedInOrderAndThroughputIsNot) {
  const auto recorder = make<KeyRecorder>();
  Names observed = kFigureKeys;
  observed.emplace_back("throughput");
  for (const auto& key : observed) {
    operation_->addObserver_forKeyPath_options_context(recorder.get(), key, 0, nullptr);
  }
  beginSingle();
  service_.report(0, kFirst);
  EXPECT_EQ(recorder->keys, kFigureKeys);
  for (const auto& key : observed) {
    operation_->removeObserver_forKeyPath(recorder.get(), key);
  }
}

// Shows: totalBytes, bytesComplete, bytesRemaining, totalObjects, objectsComplete, objectsRemaining, totalUserVisibleObjects, userVisibleObjectsComplete, userVisibleObjectsRemaining, throughput
TEST_F(OVFileOperationReportTests, TheFiguresOfManyAreAnnouncedInTheSameOrder) {
  const auto recorder = make<KeyRecorder>();
  Names observed = kFigureKeys;
  observed.emplace_back("throughput");
  for (const auto& key : observed) {
    operation_->addObserver_forKeyPath_options_context(recorder.get(), key, 0, nullptr);
  }
  beginTwo();
  service_.report(1, kSecond);
  EXPECT_EQ(recorder->keys, kFigureKeys);
  for (const auto& key : observed) {
    operation_->removeObserver_forKeyPath(recorder.get(), key);
  }
}

// Shows: totalBytes, bytesComplete
TEST_F(OVFileOperationReportTests, AnObserverThatThrowsKeepsNoFigureFromBeingAnnounced) {
  class Refusing final : public NSObject {
    void observeValueForKeyPath_ofObject_change_context(const Ref<NSString>&, const id&,
                                                        const Ref<NSDictionary>&, void*) override {
      throw NSException(NSGenericException, "no");
    }
  };
  for (const bool beforehand : {true, false}) {
    const auto recorder = make<KeyRecorder>();
    const auto refusing = make<Refusing>();
    for (const auto& key : kFigureKeys) {
      operation_->addObserver_forKeyPath_options_context(recorder.get(), key,
                                                         NSKeyValueObservingOptionPrior, nullptr);
    }
    const NSUInteger options = beforehand ? NSUInteger(NSKeyValueObservingOptionPrior) : 0;
    operation_->addObserver_forKeyPath_options_context(refusing.get(), "bytesComplete", options,
                                                       nullptr);
    beginSingle();
    EXPECT_THROW(service_.report(0, kFirst), NSException);
    Names told = kFigureKeys;
    told.insert(told.end(), kFigureKeys.begin(), kFigureKeys.end());
    if (beforehand) {
      told = {"totalBytes", "bytesComplete", "bytesComplete", "totalBytes"};
    }
    EXPECT_EQ(recorder->keys, told);
  }
}

// Shows: isCancelled, isExecuting, isFinished, fromPath, toPath, currentFile
TEST_F(OVFileOperationReportTests, FlagsPathsAndCurrentFileCanBeObserved) {
  const auto recorder = make<KeyRecorder>();
  const Names observed = {"isCancelled", "isExecuting", "isFinished",
                          "fromPath",    "toPath",      "currentFile"};
  for (const auto& key : observed) {
    operation_->addObserver_forKeyPath_options_context(recorder.get(), key, 0, nullptr);
  }
  beginSingle();
  EXPECT_EQ(recorder->keys,
            (Names{"fromPath", "toPath", "isCancelled", "isExecuting", "isFinished"}));
  recorder->keys.clear();
  service_.report(0, kFirst, kFSOperationStageComplete);
  EXPECT_EQ(recorder->keys, (Names{"currentFile", "isExecuting", "isFinished"}));
  for (const auto& key : observed) {
    operation_->removeObserver_forKeyPath(recorder.get(), key);
  }
}

// Shows: fromPaths, toPaths, isCancelled, isExecuting, isFinished
TEST_F(OVFileOperationReportTests, ThePathsOfManyCanBeObserved) {
  const auto recorder = make<KeyRecorder>();
  const Names observed = {"fromPaths", "toPaths", "isCancelled", "isExecuting", "isFinished"};
  for (const auto& key : observed) {
    operation_->addObserver_forKeyPath_options_context(recorder.get(), key, 0, nullptr);
  }
  beginTwo();
  EXPECT_EQ(recorder->keys, observed);
  for (const auto& key : observed) {
    operation_->removeObserver_forKeyPath(recorder.get(), key);
  }
}

// Shows: cancel, isCancelled, fileOperationStatusChanged, fileOperationDidFinish_error
TEST_F(OVFileOperationReportTests, CancellingStopsAllItemsWithTheNextReport) {
  beginTwo();
  operation_->cancel();
  EXPECT_TRUE(service_.cancelled.empty());
  service_.report(1, kSecond);
  EXPECT_EQ(service_.cancelled.size(), 3U);  // the one for single items as well
  EXPECT_EQ(service_.unscheduled.size(), 3U);
  EXPECT_EQ(listener_.reports, 1);
  EXPECT_EQ(listener_.ends, 0);
  expectFlags(*operation_, true, false, true);
}

// Shows: cancel, isCancelled, isFinished
TEST_F(OVFileOperationReportTests, CancellingAfterTheEndLeavesItFinished) {
  beginSingle();
  service_.report(0, kFirst, kFSOperationStageComplete);
  operation_->cancel();
  expectFlags(*operation_, false, true, true);
}

// Shows: cancel, isCancelled, isExecuting, isFinished, fileOperationDidFinish_error
TEST_F(OVFileOperationReportTests, ACancelledRunDoesNotFinishEvenWithItsLastReport) {
  beginSingle();
  operation_->cancel();
  service_.report(0, kFirst, kFSOperationStageComplete);
  EXPECT_EQ(listener_.reports, 1);
  EXPECT_EQ(listener_.ends, 0);
  expectFlags(*operation_, true, false, true);
}

// Shows: fileOperationStatusChanged, cancel, setDelegate
TEST_F(OVFileOperationReportTests, ADelegateMayCancelAndLetGoFromWithin) {
  beginTwo();
  listener_.whenChanged = [this](const Ref<OVFileOperation>& operation) {
    operation->cancel();
    operation->setDelegate(nullptr);
    operation_ = OVFileOperation::init();
  };
  service_.report(0, kFirst);
  EXPECT_EQ(listener_.reports, 1);
  EXPECT_EQ(service_.cancelled.size(), 3U);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationReportTests, AFailedSchedulingIsToldWithItsOwnText) {
  service_.scheduleStatuses = {noErr, -50};
  fs::create_directories(folder_.at("to"));
  Ref<NSError> error;
  EXPECT_FALSE(
      copyItems(NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b")), &error));
  EXPECT_EQ(error->code(), -50);
  EXPECT_EQ(error->localizedDescription(),
            "FSFileOperationScheduleWithRunLoop failed with paramErr on the file /from/b.");
  expectFlags(*operation_, false, false, false);
  EXPECT_EQ(service_.cancelled.size(), 3U);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationReportTests, AnItemThatCannotStartCancelsThoseThatHaveStarted) {
  service_.startStatuses = {noErr, -43};
  fs::create_directories(folder_.at("to"));
  EXPECT_FALSE(copyItems(NSArray::of("/from/a", "/from/b"), NSArray::of(target("a"), target("b"))));
  ASSERT_EQ(service_.started.size(), 1U);
  ASSERT_EQ(service_.cancelled.size(), 2U);  // the one for single items as well
  EXPECT_TRUE(service_.cancelled[1] == service_.started[0].operation);
  EXPECT_TRUE(service_.unscheduled.at(1) == service_.started[0].operation);
}

// Shows: beginMoveItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationReportTests, AMoveThatCannotStartHasTheErrorTextOfACopy) {
  service_.startStatuses = {-5000};
  fs::create_directories(folder_.at("to"));
  Ref<NSError> error;
  EXPECT_FALSE(operation_->beginMoveItemsAtPaths_toPaths_options_error(
      NSArray::of("/from/a"), NSArray::of(target("a")), 0, &error));
  EXPECT_EQ(error->localizedDescription(),
            "FSPathMoveObjectAsync failed with afpAccessDenied on the file /from/a.");
  EXPECT_EQ(error->localizedFailureReason(), "Permission denied");
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(OVFileOperationReportTests, AFailedStartNeedsNoErrorPointer) {
  service_.startStatuses = {-5000};
  fs::create_directories(folder_.at("to"));
  EXPECT_FALSE(copyItems(NSArray::of("/from/a"), NSArray::of(target("a"))));
}

// Shows: copyFromPath_toPath_options, fileOperationStatusChanged, fileOperationDidFinish_error, currentFile
TEST_F(OVFileOperationReportTests, ABlockingRunEndsAtTheFirstFailedStatus) {
  const CapturedLog log;
  service_.polled = {{"/from/a", kFSOperationStageRunning, noErr, kFirst.dictionary()},
                     {"", kFSOperationStageRunning, noErr, nullptr},
                     {"/from/b", kFSOperationStageRunning, -36, kSecond.dictionary()}};
  EXPECT_EQ(operation_->copyFromPath_toPath_options("/from", target("a"), 0), -36);
  EXPECT_EQ(listener_.reports, 2);
  EXPECT_EQ(listener_.ends, 0);
  EXPECT_EQ(operation_->currentFile(), "/from/b");
  EXPECT_EQ(operation_->totalBytes(), 7U);
  EXPECT_TRUE(service_.scheduled.empty());
}

// Shows: copyFromPath_toPath_options
TEST_F(OVFileOperationReportTests, ABlockingRunPausesAfterEachLookAndAfterTheLastOneToo) {
  const auto start = std::chrono::steady_clock::now();
  service_.polled = {{"/from/a", kFSOperationStageRunning, noErr, nullptr},
                     {"/from/a", kFSOperationStageComplete, noErr, kFirst.dictionary()}};
  EXPECT_EQ(operation_->copyFromPath_toPath_options("/from", target("a"), 0), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
}

// Shows: moveFromPath_toPath_options
TEST_F(OVFileOperationReportTests, ABlockingRunUnschedulesWhatWasNeverScheduled) {
  service_.polled = {{"/from/a", kFSOperationStageComplete, noErr, kFirst.dictionary()}};
  EXPECT_EQ(operation_->moveFromPath_toPath_options("/from", target("a"), 0), 0);
  EXPECT_FALSE(service_.started[0].isCopy);
  EXPECT_EQ(service_.started[0].request.callback, nullptr);
  EXPECT_EQ(service_.unscheduled.size(), 1U);
  EXPECT_EQ(listener_.ends, 1);
}

// Shows: beginCopyFromPath_toPath_options, beginMoveFromPath_toPath_options
TEST_F(OVFileOperationReportTests, TheStatusOfStartingOrSchedulingOneItemIsAnswered) {
  service_.startStatuses = {-120, noErr};
  EXPECT_EQ(operation_->beginCopyFromPath_toPath_options("/from/a", target("a"), 0), -120);
  service_.scheduleStatuses = {-50};
  EXPECT_EQ(operation_->beginMoveFromPath_toPath_options("/from/a", target("a"), 0), -50);
}

// Shows: OVFileOperation
TEST(OVFileOperationDescriptionTests, TheClassNamesItsPropertiesInTheirOrder) {
  Names names;
  for (const Property& property : OVFileOperation::staticClass().properties()) {
    names.emplace_back(property.name);
  }
  EXPECT_EQ(
      names,
      (Names{"delegate", "isCancelled", "isExecuting", "isFinished", "fromPath", "toPath",
             "currentFile", "fromPaths", "toPaths", "totalBytes", "bytesComplete", "bytesRemaining",
             "totalObjects", "objectsComplete", "objectsRemaining", "totalUserVisibleObjects",
             "userVisibleObjectsComplete", "userVisibleObjectsRemaining", "throughput"}));
}

}  // namespace
}  // namespace kestova
