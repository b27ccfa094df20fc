// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FSFileOperation.h>

#include <KestovaPlatform/NSURL.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "FileOperationClient.h"
#include "HeldTransfers.h"
#include "ScriptedFileOperations.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::figure;
using testing::FileOperationClient;
using testing::HeldTransfers;
using testing::OperationReport;
using testing::ScriptedFileOperations;
using testing::ScriptedFileSystemCalls;
using testing::serveUntil;
using Stages = std::vector<FSFileOperationStage>;

/// Nothing but what a test adds is ever served in it.
const Ref<NSString> kOwnMode = "org.kestova.tests.operations";

struct Status {
  FSRef item;
  FSFileOperationStage stage = 99;
  OSStatus error = 99;
  Ref<NSDictionary> figures;
};

Status statusOf(const FSFileOperationRef& operation) {
  Status status;
  EXPECT_EQ(FSFileOperationCopyStatus(operation, &status.item, &status.stage, &status.error,
                                      &status.figures),
            noErr);
  return status;
}

void waitForStage(const FSFileOperationRef& operation, FSFileOperationStage stage) {
  while (statusOf(operation).stage != stage) std::this_thread::yield();
}

OSStatus schedule(const FSFileOperationRef& operation, const Ref<NSString>& mode = kOwnMode) {
  return FSFileOperationScheduleWithRunLoop(operation, CFRunLoopGetCurrent(), mode);
}
OSStatus unschedule(const FSFileOperationRef& operation, const Ref<NSString>& mode = kOwnMode) {
  return FSFileOperationUnscheduleFromRunLoop(operation, CFRunLoopGetCurrent(), mode);
}
CFRunLoopRunResult takeTurn(const Ref<NSString>& mode = kOwnMode) {
  return CFRunLoopRunInMode(mode, 0, false);
}

class FSFileOperationTest : public testing::TransferFixture {
 protected:
  OSStatus startCopy(const FSFileOperationRef& operation, FileOperationClient& client,
                     const std::string& source, const Ref<NSString>& name, OptionBits options = 0) {
    const FSFileOperationClientContext context = client.context();
    return FSPathCopyObjectAsync(operation, at(source), at("into"), name, options,
                                 &FileOperationClient::tell, 0, &context);
  }
  OSStatus startCopy(const std::string& source, const Ref<NSString>& name, OptionBits options = 0) {
    return startCopy(operation_, client_, source, name, options);
  }
  void runUntilEnd(const Ref<NSString>& mode = kOwnMode) {
    serveUntil(mode, [this] { return client_.hasEnded(); });
  }
  /// A copy from its start to its end, on this thread's run loop.
  void copyWhole(const std::string& source, const Ref<NSString>& name) {
    ASSERT_EQ(startCopy(source, name), noErr);
    ASSERT_EQ(schedule(operation_), noErr);
    runUntilEnd();
  }
  const OperationReport& lastReport() const { return client_.reports.back(); }

  FileOperationClient client_;  // held by the operation, and so before it
  FSFileOperationRef operation_ = FSFileOperationCreate();
};

TEST_F(FSFileOperationTest, NothingIsNoOperation) {
  write("a", "text");
  const FSFileOperationRef nothing;
  EXPECT_EQ(startCopy(nothing, client_, "a", "b"), paramErr);
  EXPECT_EQ(FSPathMoveObjectAsync(nothing, at("a"), at("into"), "b", 0, nullptr, 0, nullptr),
            paramErr);
  EXPECT_EQ(schedule(nothing), paramErr);
  EXPECT_EQ(unschedule(nothing), paramErr);
  EXPECT_EQ(FSFileOperationCopyStatus(nothing, nullptr, nullptr, nullptr, nullptr), paramErr);
  EXPECT_EQ(FSFileOperationCancel(nothing), paramErr);
}

TEST_F(FSFileOperationTest, NothingIsNoRunLoopAndNoMode) {
  EXPECT_EQ(FSFileOperationScheduleWithRunLoop(operation_, nullptr, kOwnMode), paramErr);
  EXPECT_EQ(schedule(operation_, nullptr), paramErr);
  EXPECT_EQ(FSFileOperationUnscheduleFromRunLoop(operation_, nullptr, kOwnMode), paramErr);
  EXPECT_EQ(unschedule(operation_, nullptr), paramErr);
  EXPECT_EQ(unschedule(operation_), noErr) << "was never scheduled";
}

TEST_F(FSFileOperationTest, RefusesAtOnceWhatCannotBe) {
  write("a", "text");
  makeFolder("tree/inner");
  EXPECT_EQ(startCopy("missing", "b"), fnfErr);
  for (const char* name : {"x/y", "", ".", ".."}) {
    EXPECT_EQ(startCopy("a", name), paramErr) << name;
  }
  EXPECT_EQ(startCopy("a", std::string(256, 'x')), bdNamErr);
  for (const Ref<NSString>& name :
       {Ref<NSString>(u"\xD800"), Ref<NSString>(std::string(1, '\0'))}) {
    EXPECT_EQ(FSPathCopyObjectAsync(operation_, at("a"), at(""), name, 0, nullptr, 0, nullptr),
              paramErr)
        << "no file can be called " << name;
  }
  const auto into = [&](const std::string& source, const std::string& folder) {
    const FSFileOperationClientContext context = client_.context();
    return FSPathCopyObjectAsync(operation_, at(source), at(folder), "b", 0,
                                 &FileOperationClient::tell, 0, &context);
  };
  EXPECT_EQ(into("a", "missing"), dirNFErr);
  EXPECT_EQ(into("tree", "tree/inner"), badMovErr);
  schedule(operation_);
  takeTurn();
  EXPECT_TRUE(client_.reports.empty());
  EXPECT_EQ(client_.retained, 0);
  EXPECT_EQ(statusOf(operation_).stage, kFSOperationStageUndefined);
  EXPECT_EQ(startCopy("a", "b"), noErr) << "a refused operation is as good as new";
}

TEST_F(FSFileOperationTest, ACancelledOperationStartsNoMore) {
  write("a", "text");
  EXPECT_EQ(FSFileOperationCancel(operation_), noErr);
  EXPECT_EQ(startCopy("a", "b"), paramErr);
  EXPECT_EQ(client_.retained, 0);
}

TEST_F(FSFileOperationTest, StartsAgainAfterItsEnd) {
  write("a", "text");
  copyWhole("a", "b");
  client_.reports.clear();
  ASSERT_EQ(startCopy("a", "c"), noErr);
  runUntilEnd();
  EXPECT_EQ(list("into"), (std::set<std::string>{"b", "c"}));
}

TEST_F(FSFileOperationTest, WithoutANameTheItemKeepsItsOwn) {
  const std::string odd = "odd-\xFF\xC3";
  write(odd, "text");
  makeFolder("tree");
  copyWhole(odd, nullptr);
  client_.reports.clear();
  copyWhole("tree//", nullptr);
  EXPECT_EQ(list("into"), (std::set<std::string>{odd, "tree"}));
}

TEST_F(FSFileOperationTest, MovesAnItem) {
  write("a", "text");
  const FSFileOperationClientContext context = client_.context();
  ASSERT_EQ(FSPathMoveObjectAsync(operation_, at("a"), at("into"), "b", 0,
                                  &FileOperationClient::tell, 0, &context),
            noErr);
  schedule(operation_);
  runUntilEnd();
  EXPECT_EQ(lastReport().error, noErr);
  EXPECT_EQ(read("into/b"), "text");
  EXPECT_FALSE(exists("a"));
}

TEST_F(FSFileOperationTest, ReportsOnTheThreadOfTheRunLoopInTheCommonModes) {
  write("a", "text");
  std::vector<std::thread::id> threads;
  client_.whenTold = [&](const FSFileOperationRef&) {
    threads.push_back(std::this_thread::get_id());
  };
  ASSERT_EQ(startCopy("a", "b"), noErr);
  ASSERT_EQ(schedule(operation_, kCFRunLoopCommonModes), noErr);
  runUntilEnd(kCFRunLoopDefaultMode);
  EXPECT_EQ(threads, std::vector(client_.reports.size(), std::this_thread::get_id()));
  EXPECT_EQ(lastReport().operation, operation_.get());
  EXPECT_EQ(read("into/b"), "text");
}

TEST_F(FSFileOperationTest, ReportsOnlyWhileItsModeIsServed) {
  write("a", "text");
  ASSERT_EQ(startCopy("a", "b"), noErr);
  ASSERT_EQ(schedule(operation_), noErr);
  waitForStage(operation_, kFSOperationStageComplete);
  takeTurn(kCFRunLoopDefaultMode);
  EXPECT_TRUE(client_.reports.empty());
  runUntilEnd();
  EXPECT_EQ(client_.stages(), Stages{kFSOperationStageComplete});
}

TEST_F(FSFileOperationTest, UnscheduledItWorksAndReportsItsEndOnceItIsScheduled) {
  write("a", "text");
  ASSERT_EQ(startCopy("a", "b"), noErr);
  waitForStage(operation_, kFSOperationStageComplete);
  EXPECT_EQ(read("into/b"), "text");
  takeTurn();
  takeTurn(kCFRunLoopDefaultMode);
  EXPECT_TRUE(client_.reports.empty());
  ASSERT_EQ(schedule(operation_), noErr);
  runUntilEnd();
  EXPECT_EQ(client_.stages(), Stages{kFSOperationStageComplete});
}

TEST_F(FSFileOperationTest, ReportsItsEndOnceThoughItIsScheduledTwice) {
  write("a", "text");
  ASSERT_EQ(startCopy("a", "b"), noErr);
  ASSERT_EQ(schedule(operation_), noErr);
  ASSERT_EQ(schedule(operation_), noErr);
  ASSERT_EQ(schedule(operation_, kCFRunLoopCommonModes), noErr);
  runUntilEnd();
  const std::size_t told = client_.reports.size();
  takeTurn();
  takeTurn(kCFRunLoopDefaultMode);
  EXPECT_EQ(client_.reports.size(), told);
}

TEST_F(FSFileOperationTest, WithoutAStatusFunctionItWorksAllTheSame) {
  write("a", "text");
  ASSERT_EQ(FSPathCopyObjectAsync(operation_, at("a"), at("into"), "b", 0, nullptr, 0, nullptr),
            noErr);
  schedule(operation_);
  waitForStage(operation_, kFSOperationStageComplete);
  takeTurn();
  EXPECT_EQ(read("into/b"), "text");
}

TEST_F(FSFileOperationTest, ReportsAnExistingItemAtTheEndByTheSourcesPath) {
  write("a", "new");
  write("into/b", "old");
  copyWhole("a", "b");
  EXPECT_EQ(lastReport().error, dupFNErr);
  EXPECT_EQ(lastReport().item, at("a"));
  EXPECT_EQ(read("into/b"), "old");
  client_.reports.clear();
  ASSERT_EQ(startCopy("a", "b", kFSFileOperationOverwrite), noErr);
  runUntilEnd();
  EXPECT_EQ(lastReport().error, noErr);
  EXPECT_EQ(read("into/b"), "new");
}

TEST_F(FSFileOperationTest, NamesTheItemThatFailed) {
  ScriptedFileSystemCalls calls;
  calls.onOpen = [](int, const std::string& name, int) -> std::optional<int> {
    if (name != "bad") return std::nullopt;
    return ScriptedFileSystemCalls::failure(EIO);
  };
  makeFolder("tree/inner");
  write("tree/inner/bad", "text");
  copyWhole("tree", "copy");
  EXPECT_EQ(lastReport().error, ioErr);
  EXPECT_EQ(lastReport().item, at("tree/inner/bad"));
  operation_ = nullptr;
  EXPECT_TRUE(list("into").empty());
}

TEST_F(FSFileOperationTest, HoldsItsClientFromTheStartToItsOwnEnd) {
  write("a", "text");
  copyWhole("a", "b");
  EXPECT_EQ(client_.retained, 1);
  EXPECT_EQ(client_.released, 0);
  operation_ = nullptr;
  EXPECT_EQ(client_.retained, 1);
  EXPECT_EQ(client_.released, 1);
}

TEST_F(FSFileOperationTest, ANewRunLetsGoOfTheClientOfTheOldOne) {
  write("a", "text");
  copyWhole("a", "b");
  FileOperationClient next;
  EXPECT_EQ(startCopy(operation_, next, "missing", "c"), fnfErr);
  EXPECT_EQ(client_.released, 0) << "nothing has started";
  EXPECT_EQ(next.retained, 0);
  ASSERT_EQ(startCopy(operation_, next, "a", "c"), noErr);
  EXPECT_EQ(client_.released, 1);
  serveUntil(kOwnMode, [&] { return next.hasEnded(); });
  operation_ = nullptr;
  EXPECT_EQ(client_.released, 1);
  EXPECT_EQ(next.retained, 1);
  EXPECT_EQ(next.released, 1);
}

TEST_F(FSFileOperationTest, MayBeReleasedByItsLastReport) {
  write("a", "text");
  client_.whenTold = [this](const FSFileOperationRef&) {
    if (client_.hasEnded()) operation_ = nullptr;
  };
  copyWhole("a", "b");
  EXPECT_EQ(client_.released, 1);
  EXPECT_EQ(takeTurn(), kCFRunLoopRunFinished);
  EXPECT_EQ(read("into/b"), "text");
}

TEST_F(FSFileOperationTest, TwoReportOnOneRunLoop) {
  FileOperationClient other;
  const FSFileOperationRef second = FSFileOperationCreate();
  write("a", "text");
  write("b", "longer text");
  ASSERT_EQ(startCopy("a", "x"), noErr);
  ASSERT_EQ(startCopy(second, other, "b", "y"), noErr);
  schedule(operation_);
  schedule(second);
  serveUntil(kOwnMode, [&] { return client_.hasEnded() && other.hasEnded(); });
  EXPECT_EQ(lastReport().operation, operation_.get());
  EXPECT_EQ(other.reports.back().operation, second.get());
  EXPECT_EQ(figure(lastReport().figures, kFSOperationBytesCompleteKey), 4u);
  EXPECT_EQ(figure(other.reports.back().figures, kFSOperationBytesCompleteKey), 11u);
  EXPECT_EQ(list("into"), (std::set<std::string>{"x", "y"}));
  FSFileOperationCancel(second);  // lets go of `other` no later than it goes
}

TEST_F(FSFileOperationTest, HasNoStatusBeforeItsStart) {
  Status status;
  status.item.path = "left over";
  status.figures = NSDictionary::dictionary();
  EXPECT_EQ(FSFileOperationCopyStatus(operation_, &status.item, &status.stage, &status.error,
                                      &status.figures),
            noErr);
  EXPECT_EQ(status.item.path, "");
  EXPECT_EQ(status.stage, kFSOperationStageUndefined);
  EXPECT_EQ(status.error, noErr);
  EXPECT_EQ(status.figures, nullptr);
}

TEST_F(FSFileOperationTest, HasItsLastStatusAfterTheEnd) {
  write("a", "text");
  ASSERT_EQ(startCopy("a", "b"), noErr);
  waitForStage(operation_, kFSOperationStageComplete);
  const Status status = statusOf(operation_);
  EXPECT_EQ(status.item.path, at("a"));
  EXPECT_EQ(status.error, noErr);
  ASSERT_NE(status.figures, nullptr);
  EXPECT_EQ(status.figures->count(), 10u);
  EXPECT_EQ(figure(status.figures, kFSOperationTotalBytesKey), 4u);
}

TEST_F(FSFileOperationTest, EachPartOfTheStatusMayBeLeftOut) {
  write("a", "text");
  ASSERT_EQ(startCopy("a", "b"), noErr);
  waitForStage(operation_, kFSOperationStageComplete);
  for (const bool cancelled : {false, true}) {
    if (cancelled) FSFileOperationCancel(operation_);
    const OSStatus expected = cancelled ? userCanceledErr : noErr;
    Status only;
    EXPECT_EQ(FSFileOperationCopyStatus(operation_, nullptr, nullptr, nullptr, nullptr), noErr);
    EXPECT_EQ(FSFileOperationCopyStatus(operation_, &only.item, nullptr, nullptr, nullptr), noErr);
    EXPECT_EQ(FSFileOperationCopyStatus(operation_, nullptr, &only.stage, nullptr, nullptr), noErr);
    EXPECT_EQ(FSFileOperationCopyStatus(operation_, nullptr, nullptr, &only.error, nullptr), noErr);
    EXPECT_EQ(FSFileOperationCopyStatus(operation_, nullptr, nullptr, nullptr, &only.figures),
              noErr);
    EXPECT_EQ(only.item.path, cancelled ? "" : at("a"));
    EXPECT_EQ(only.stage, cancelled ? kFSOperationStageUndefined : kFSOperationStageComplete);
    EXPECT_EQ(only.error, expected);
    EXPECT_EQ(only.figures == nullptr, cancelled);
  }
}

/// Operations that wait on their way for the test to look at them.
class HeldFSFileOperationTest : public FSFileOperationTest {
 protected:
  void SetUp() override {
    makeFolder("tree");
    write("tree/before", "12345");
    write("tree/held", "123");
    write("tree/.hidden", "12");
  }
  void TearDown() override {
    held_.open();
    operation_ = nullptr;
  }
  void startAndSchedule() {
    ASSERT_EQ(startCopy("tree", "copy"), noErr);
    ASSERT_EQ(schedule(operation_), noErr);
  }
  void runUntilStage(FSFileOperationStage stage) {
    serveUntil(kOwnMode, [=, this] { return client_.stage() == stage; });
  }
  void runToTheMiddle() {
    startAndSchedule();
    held_.listing.open();
    runUntilStage(kFSOperationStageRunning);
  }
  void openAndRunUntilEnd() {
    held_.open();
    runUntilEnd();
  }

  HeldTransfers held_;
};

TEST_F(HeldFSFileOperationTest, ReportsEachStageInItsOrder) {
  startAndSchedule();
  runUntilStage(kFSOperationStagePreflighting);
  held_.listing.open();
  runUntilStage(kFSOperationStageRunning);
  openAndRunUntilEnd();
  Stages stages = client_.stages();
  EXPECT_TRUE(std::is_sorted(stages.begin(), stages.end()));
  stages.erase(std::unique(stages.begin(), stages.end()), stages.end());
  EXPECT_EQ(stages, (Stages{kFSOperationStagePreflighting, kFSOperationStageRunning,
                            kFSOperationStageComplete}));
  EXPECT_EQ(std::count(stages.begin(), stages.end(), kFSOperationStageComplete), 1);
}

TEST_F(HeldFSFileOperationTest, WithoutPreflightRunsFromTheStart) {
  ASSERT_EQ(startCopy("tree", "copy", kFSFileOperationSkipPreflight), noErr);
  schedule(operation_);
  runUntilStage(kFSOperationStageRunning);
  openAndRunUntilEnd();
  EXPECT_EQ(client_.stages().front(), kFSOperationStageRunning);
}

TEST_F(HeldFSFileOperationTest, FiguresNeverFallAndAreCompleteAtTheEnd) {
  runToTheMiddle();
  const Ref<NSDictionary> middle = lastReport().figures;
  EXPECT_EQ(figure(middle, kFSOperationTotalBytesKey), 10u);
  EXPECT_GT(figure(middle, kFSOperationObjectsRemainingKey), 0u);
  openAndRunUntilEnd();
  for (const StringConstant* key : {&kFSOperationBytesCompleteKey, &kFSOperationObjectsCompleteKey,
                                    &kFSOperationUserVisibleObjectsCompleteKey}) {
    EXPECT_TRUE(std::is_sorted(client_.reports.begin(), client_.reports.end(),
                               [&](const OperationReport& a, const OperationReport& b) {
                                 return figure(a.figures, *key) < figure(b.figures, *key);
                               }));
  }
  const Ref<NSDictionary> end = lastReport().figures;
  EXPECT_EQ(end->count(), 10u);
  EXPECT_EQ(figure(end, kFSOperationTotalBytesKey), 10u);
  EXPECT_EQ(figure(end, kFSOperationBytesCompleteKey), 10u);
  EXPECT_EQ(figure(end, kFSOperationBytesRemainingKey), 0u);
  EXPECT_EQ(figure(end, kFSOperationTotalObjectsKey), 4u);
  EXPECT_EQ(figure(end, kFSOperationObjectsCompleteKey), 4u);
  EXPECT_EQ(figure(end, kFSOperationObjectsRemainingKey), 0u);
  EXPECT_EQ(figure(end, kFSOperationTotalUserVisibleObjectsKey), 3u);
  EXPECT_EQ(figure(end, kFSOperationUserVisibleObjectsCompleteKey), 3u);
  EXPECT_EQ(figure(end, kFSOperationUserVisibleObjectsRemainingKey), 0u);
  EXPECT_GT(cast<NSNumber>(end->objectForKey(kFSOperationThroughputKey))->doubleValue(), 0);
}

TEST_F(HeldFSFileOperationTest, TellsTheItemsPath) {
  runToTheMiddle();
  openAndRunUntilEnd();
  for (const OperationReport& report : client_.reports) {
    EXPECT_EQ(report.item.rfind(at("tree"), 0), 0u) << report.item;
    EXPECT_EQ(report.error, noErr);
  }
}

TEST_F(HeldFSFileOperationTest, CanBeAskedWhileItRuns) {
  ASSERT_EQ(startCopy("tree", "copy"), noErr);
  held_.listing.open();
  waitForStage(operation_, kFSOperationStageRunning);
  const Status status = statusOf(operation_);
  EXPECT_EQ(status.error, noErr);
  EXPECT_EQ(status.item.path.rfind(at("tree"), 0), 0u);
  ASSERT_NE(status.figures, nullptr);
  EXPECT_EQ(figure(status.figures, kFSOperationTotalObjectsKey), 4u);
}

TEST_F(HeldFSFileOperationTest, ARunningOperationStartsNoOther) {
  runToTheMiddle();
  FileOperationClient other;
  EXPECT_EQ(startCopy(operation_, other, "tree", "other"), paramErr);
  EXPECT_EQ(other.retained, 0);
  openAndRunUntilEnd();
  EXPECT_EQ(list("into"), std::set<std::string>{"copy"});
}

TEST_F(HeldFSFileOperationTest, ReportsNothingWhereItIsNoLongerScheduled) {
  runToTheMiddle();
  const std::size_t told = client_.reports.size();
  ASSERT_EQ(unschedule(operation_), noErr);
  held_.open();
  waitForStage(operation_, kFSOperationStageComplete);
  EXPECT_EQ(takeTurn(), kCFRunLoopRunFinished);
  EXPECT_EQ(client_.reports.size(), told);
  schedule(operation_);
  runUntilEnd();
  EXPECT_EQ(client_.reports.size(), told + 1);
}

TEST_F(HeldFSFileOperationTest, CancelledByItsReportItReportsNoMoreAndLeavesNothing) {
  client_.whenTold = [this](const FSFileOperationRef& operation) {
    if (client_.stage() != kFSOperationStageRunning) return;
    while (list("into").empty()) std::this_thread::yield();  // until there is something half-made
    FSFileOperationCancel(operation);
  };
  runToTheMiddle();
  const std::size_t told = client_.reports.size();
  const Status status = statusOf(operation_);
  EXPECT_EQ(status.error, userCanceledErr);
  EXPECT_EQ(status.stage, kFSOperationStageUndefined);
  EXPECT_EQ(status.item.path, "");
  EXPECT_EQ(status.figures, nullptr);
  held_.open();
  operation_ = nullptr;
  EXPECT_EQ(takeTurn(), kCFRunLoopRunFinished);
  EXPECT_EQ(client_.reports.size(), told);
  EXPECT_TRUE(list("into").empty());
  EXPECT_EQ(client_.released, 1);
}

TEST_F(HeldFSFileOperationTest, MayBeCancelledByAnotherThread) {
  runToTheMiddle();
  const std::size_t told = client_.reports.size();
  std::thread([this] { FSFileOperationCancel(operation_); }).join();
  held_.open();
  EXPECT_EQ(takeTurn(), kCFRunLoopRunFinished);
  EXPECT_EQ(client_.reports.size(), told);
  EXPECT_EQ(statusOf(operation_).error, userCanceledErr);
}

TEST_F(HeldFSFileOperationTest, MayBeReleasedByAnyReport) {
  client_.whenTold = [this](const FSFileOperationRef&) {
    held_.open();
    operation_ = nullptr;
  };
  startAndSchedule();
  runUntilStage(kFSOperationStagePreflighting);
  EXPECT_EQ(takeTurn(), kCFRunLoopRunFinished);
  EXPECT_EQ(client_.reports.size(), 1u);
  EXPECT_EQ(client_.released, 1);
  std::set<std::string> names = list("into");
  names.erase("copy");
  EXPECT_TRUE(names.empty()) << "only the whole item may be there: " << *names.begin();
}

TEST(FSRefTest, HasAURLOfItsPath) {
  EXPECT_EQ(CFURLCreateFromFSRef({"/tmp/a b"})->path(), "/tmp/a b");
  EXPECT_EQ(CFURLCreateFromFSRef({"/tmp/a b"})->isFileURL(), true);
}

TEST(FSRefTest, HasAURLOfAPathThatIsNoUTF8) {
  const std::string path = "/tmp/odd-\xFF\xC3";
  EXPECT_EQ(CFURLCreateFromFSRef({path})->fileSystemRepresentation(), path);
}

TEST(FSRefTest, WithoutAnItemHasNoURL) { EXPECT_EQ(CFURLCreateFromFSRef({}), nullptr); }

/// Refuses everything, each in its own way.
class RefusingService : public FileOperationService {
 public:
  FSFileOperationRef create() override { return nullptr; }
  OSStatus copy(const FSFileOperationRef&, const Request&) override { return dskFulErr; }
  OSStatus move(const FSFileOperationRef&, const Request&) override { return ioErr; }
  OSStatus schedule(const FSFileOperationRef&, const CFRunLoopRef&, const Ref<NSString>&) override {
    return permErr;
  }
  OSStatus unschedule(const FSFileOperationRef&, const CFRunLoopRef&,
                      const Ref<NSString>&) override {
    return fBsyErr;
  }
  OSStatus copyStatus(const FSFileOperationRef&, FSRef*, FSFileOperationStage*, OSStatus*,
                      Ref<NSDictionary>*) override {
    return wPrErr;
  }
  OSStatus cancel(const FSFileOperationRef&) override { return memFullErr; }
};

TEST(FileOperationServiceTest, IsBehindEachFunction) {
  RefusingService service;
  FileOperationService* const system = &FileOperationService::shared();
  EXPECT_EQ(FileOperationService::setShared(&service), system);
  EXPECT_EQ(FSFileOperationCreate(), nullptr);
  EXPECT_EQ(FSPathCopyObjectAsync(nullptr, "/a", "/b", "c", 0, nullptr, 0, nullptr), dskFulErr);
  EXPECT_EQ(FSPathMoveObjectAsync(nullptr, "/a", "/b", "c", 0, nullptr, 0, nullptr), ioErr);
  EXPECT_EQ(schedule(nullptr), permErr);
  EXPECT_EQ(unschedule(nullptr), fBsyErr);
  EXPECT_EQ(FSFileOperationCopyStatus(nullptr, nullptr, nullptr, nullptr, nullptr), wPrErr);
  EXPECT_EQ(FSFileOperationCancel(nullptr), memFullErr);
  EXPECT_EQ(FileOperationService::setShared(nullptr), &service);
  EXPECT_EQ(&FileOperationService::shared(), system);
  EXPECT_NE(FSFileOperationCreate(), nullptr);
}

TEST(FileOperationServiceTest, GetsTheWholeRequest) {
  ScriptedFileOperations service;
  FileOperationClient client;
  const FSFileOperationClientContext context = client.context();
  const FSFileOperationRef operation = FSFileOperationCreate();
  EXPECT_EQ(FSPathMoveObjectAsync(operation, "/a", "/b", "c", kFSFileOperationOverwrite,
                                  &FileOperationClient::tell, 2.5, &context),
            noErr);
  ASSERT_EQ(service.started.size(), 1u);
  const ScriptedFileOperations::Started& started = service.started.front();
  EXPECT_FALSE(started.isCopy);
  EXPECT_EQ(started.operation, operation);
  EXPECT_EQ(started.request.source, "/a");
  EXPECT_EQ(started.request.destinationFolder, "/b");
  EXPECT_EQ(started.request.destinationName, "c");
  EXPECT_EQ(started.request.options, kFSFileOperationOverwrite);
  EXPECT_EQ(started.request.statusChangeInterval, 2.5);
  service.report(0, {});
  EXPECT_EQ(client.reports.size(), 1u);
}

}  // namespace
}  // namespace kestova
