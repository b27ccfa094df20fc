// SPDX-License-Identifier: Apache-2.0
#include "files/FileOperationRun.h"

#include <optional>
#include <set>
#include <string>
#include <thread>

#include "FileOperationClient.h"
#include "HeldTransfers.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::FileOperationClient;
using testing::HeldTransfers;
using testing::serveUntil;

const Ref<NSString> kMode = "org.kestova.tests.runs";

class FileOperationRunTest : public testing::TransferFixture {
 protected:
  FileOperationRunTest() { NSRunLoop::currentRunLoop()->addSource_forMode(run_->source(), kMode); }

  OSStatus start(const std::string& source, const std::string& name, NSTimeInterval interval = 0) {
    const FSFileOperationClientContext context = client_.context();
    return run_->start(TransferKind::copy, {at(source), at("into"), name, 0,
                                            &FileOperationClient::tell, interval, &context});
  }
  void startAndEnd() {
    write("a", "text");
    ASSERT_EQ(start("a", "b"), noErr);
    serveUntil(kMode, [this] { return client_.hasEnded(); });
  }
  /// What a further word from the worker leads to.
  std::size_t reportsAfterASignal() {
    run_->source()->signal();
    CFRunLoopRunInMode(kMode, 0, false);
    return client_.reports.size();
  }

  FileOperationClient client_;
  FSFileOperationRef operation_ = FSFileOperationCreate();
  std::optional<FileOperationRun> run_{std::in_place, *operation_};
};

TEST_F(FileOperationRunTest, HasNoStatusBeforeItStarts) {
  EXPECT_FALSE(run_->status());
  EXPECT_FALSE(run_->isCancelled());
  EXPECT_EQ(reportsAfterASignal(), 0u);
}

TEST_F(FileOperationRunTest, TellsTheEndOnceHoweverManySignalsFollow) {
  startAndEnd();
  const std::size_t told = client_.reports.size();
  EXPECT_EQ(reportsAfterASignal(), told);
  EXPECT_EQ(reportsAfterASignal(), told);
}

TEST_F(FileOperationRunTest, TellsTheOldEndNoMoreWhenItCannotStartAgain) {
  startAndEnd();
  const std::size_t told = client_.reports.size();
  EXPECT_EQ(start("missing", "c"), fnfErr);
  EXPECT_EQ(reportsAfterASignal(), told);
  EXPECT_EQ(client_.retained, 1);
  ASSERT_TRUE(run_->status());
  EXPECT_EQ(run_->status()->stage, TransferStage::complete);
}

TEST_F(FileOperationRunTest, TellsEachRunsEnd) {
  startAndEnd();
  ASSERT_EQ(start("a", "c"), noErr);
  EXPECT_EQ(client_.released, 1);
  client_.reports.clear();
  serveUntil(kMode, [this] { return client_.hasEnded(); });
  EXPECT_EQ(list("into"), (std::set<std::string>{"b", "c"}));
}

class HeldFileOperationRunTest : public FileOperationRunTest {
 protected:
  void holdInTheMiddle(NSTimeInterval interval) {
    makeFolder("tree");
    write("tree/held", "text");
    held_.listing.open();
    ASSERT_EQ(start("tree", "copy", interval), noErr);
    serveUntil(kMode, [this] { return client_.stage() == kFSOperationStageRunning; });
  }
  void TearDown() override {
    held_.open();
    run_.reset();
  }

  HeldTransfers held_;
};

TEST_F(HeldFileOperationRunTest, WithoutAnIntervalTellsWheneverThereIsSomethingNew) {
  holdInTheMiddle(0);
  const std::size_t told = client_.reports.size();
  EXPECT_EQ(reportsAfterASignal(), told + 1);
  EXPECT_EQ(reportsAfterASignal(), told + 2);
}

TEST_F(HeldFileOperationRunTest, WithinTheIntervalTellsOnlyNewStages) {
  holdInTheMiddle(1e6);
  const std::size_t told = client_.reports.size();
  EXPECT_EQ(reportsAfterASignal(), told);
  held_.open();
  serveUntil(kMode, [this] { return client_.hasEnded(); });
  EXPECT_EQ(client_.reports.size(), told + 1);
}

TEST_F(HeldFileOperationRunTest, StartsNothingWhileItWorks) {
  holdInTheMiddle(0);
  EXPECT_EQ(start("tree", "other"), paramErr);
  EXPECT_EQ(client_.retained, 1);
}

TEST_F(HeldFileOperationRunTest, TellsNothingOnceItIsCancelled) {
  holdInTheMiddle(0);
  const std::size_t told = client_.reports.size();
  run_->source()->signal();
  run_->cancel();
  EXPECT_EQ(reportsAfterASignal(), told);
  EXPECT_TRUE(run_->isCancelled());
  EXPECT_FALSE(run_->status());
}

TEST_F(HeldFileOperationRunTest, GoesOnlyOnceNothingHalfMadeIsLeft) {
  holdInTheMiddle(0);
  while (list("into").empty()) std::this_thread::yield();  // until there is something half-made
  run_->cancel();
  held_.open();
  run_.reset();
  EXPECT_TRUE(list("into").empty());
  EXPECT_EQ(client_.released, 1);
}

}  // namespace
}  // namespace kestova
