// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSBeep.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "OVFileOperationFixture.h"

#include <chrono>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::CapturedLog;
using testing::expectFlags;
using testing::kFirstFigures;
using testing::kSecondFigures;

using Names = std::vector<std::string>;

class OVFileOperationReportTests : public testing::OVFileOperationReportFixture {};

// Shows: fileOperationDidFinish_error, isFinished, isExecuting
TEST_F(OVFileOperationReportTests, TheEndComesWithTheLastItemsEndAndItsStatus) {
  beginTwo();
  const CapturedLog log;
  service_.report(1, kSecondFigures, kFSOperationStageComplete);
  EXPECT_EQ(listener_.ends, 0);
  expectFlags(*operation_, true, false, false);
  service_.report(0, kFirstFigures, kFSOperationStageComplete, -36);
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(listener_.endStatus, -36);
  expectFlags(*operation_, false, true, false);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error, totalBytes, fileOperationDidFinish_error
TEST_F(OVFileOperationReportTests, ARunThatFollowsAFinishedOneCountsItsOwnItemsOnly) {
  beginTwo();
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
  service_.report(1, kFirstFigures, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 200U);
  beginTwo();
  expectFlags(*operation_, true, false, false);
  service_.report(2, kSecondFigures, kFSOperationStageComplete);
  EXPECT_EQ(operation_->totalBytes(), 7U);
  EXPECT_EQ(listener_.ends, 1);
  service_.report(3, kSecondFigures, kFSOperationStageComplete);
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
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
  EXPECT_EQ(listener_.reports, 1);
}

// Shows: setDelegate, isFinished
TEST_F(OVFileOperationReportTests, WithoutADelegateARunEndsAllTheSame) {
  operation_->setDelegate(nullptr);
  beginSingle();
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
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
  service_.report(0, kFirstFigures, kFSOperationStageRunning, -5000);
  EXPECT_EQ(sound.beeps, 1);
  EXPECT_EQ(log.lines(), (Names{"Error -5000"}));
  EXPECT_EQ(listener_.reports, 1);
  expectFlags(*operation_, true, false, false);
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(sound.beeps, 1);
  AlertSound::setCurrent(nullptr);
}

// Shows: cancel, isCancelled, fileOperationStatusChanged, fileOperationDidFinish_error
TEST_F(OVFileOperationReportTests, CancellingStopsAllItemsWithTheNextReport) {
  beginTwo();
  operation_->cancel();
  EXPECT_TRUE(service_.cancelled.empty());
  service_.report(1, kSecondFigures);
  EXPECT_EQ(service_.cancelled.size(), 3U);  // the one for single items as well
  EXPECT_EQ(service_.unscheduled.size(), 3U);
  EXPECT_EQ(listener_.reports, 1);
  EXPECT_EQ(listener_.ends, 0);
  expectFlags(*operation_, true, false, true);
}

// Shows: cancel, isCancelled, isFinished
TEST_F(OVFileOperationReportTests, CancellingAfterTheEndLeavesItFinished) {
  beginSingle();
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
  operation_->cancel();
  expectFlags(*operation_, false, true, true);
}

// Shows: cancel, isCancelled, isExecuting, isFinished, fileOperationDidFinish_error
TEST_F(OVFileOperationReportTests, ACancelledRunDoesNotFinishEvenWithItsLastReport) {
  beginSingle();
  operation_->cancel();
  service_.report(0, kFirstFigures, kFSOperationStageComplete);
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
  service_.report(0, kFirstFigures);
  EXPECT_EQ(listener_.reports, 1);
  EXPECT_EQ(service_.cancelled.size(), 3U);
}

// Shows: copyFromPath_toPath_options, fileOperationStatusChanged, fileOperationDidFinish_error, currentFile
TEST_F(OVFileOperationReportTests, ABlockingRunEndsAtTheFirstFailedStatus) {
  const CapturedLog log;
  service_.polled = {{"/from/a", kFSOperationStageRunning, noErr, kFirstFigures.dictionary()},
                     {"", kFSOperationStageRunning, noErr, nullptr},
                     {"/from/b", kFSOperationStageRunning, -36, kSecondFigures.dictionary()}};
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
                     {"/from/a", kFSOperationStageComplete, noErr, kFirstFigures.dictionary()}};
  EXPECT_EQ(operation_->copyFromPath_toPath_options("/from", target("a"), 0), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
}

// Shows: moveFromPath_toPath_options
TEST_F(OVFileOperationReportTests, ABlockingRunUnschedulesWhatWasNeverScheduled) {
  service_.polled = {{"/from/a", kFSOperationStageComplete, noErr, kFirstFigures.dictionary()}};
  EXPECT_EQ(operation_->moveFromPath_toPath_options("/from", target("a"), 0), 0);
  EXPECT_FALSE(service_.started[0].isCopy);
  EXPECT_EQ(service_.started[0].request.callback, nullptr);
  EXPECT_EQ(service_.unscheduled.size(), 1U);
  EXPECT_EQ(listener_.ends, 1);
}

}  // namespace
}  // namespace kestova
