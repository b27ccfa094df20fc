// SPDX-License-Identifier: Apache-2.0
#include "files/FileTransfer.h"

#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::ScriptedFileSystemCalls;

constexpr std::size_t kMiB = 1024 * 1024;

class FileTransferTest : public testing::TransferFixture {
 protected:
  OSStatus startStatus(const std::string& source, const std::string& folder,
                       const std::string& name) const {
    return FileTransfer({source, folder, name}).start();
  }
  void expectCount(const TransferCount& count, std::uint64_t amount) const {
    EXPECT_EQ(count.total, amount);
    EXPECT_EQ(count.complete, amount);
    EXPECT_EQ(count.remaining, 0u);
  }
};

TEST_F(FileTransferTest, HasNothingToTellBeforeItStarts) {
  write("a", "text");
  const FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  const TransferSnapshot snapshot = transfer.snapshot();
  EXPECT_EQ(snapshot.stage, TransferStage::undefined);
  EXPECT_EQ(snapshot.status, noErr);
  EXPECT_EQ(snapshot.item, "");
  expectCount(snapshot.figures.bytes, 0);
}

TEST_F(FileTransferTest, CopiesAFile) {
  write("a", "text");
  EXPECT_EQ(copy("a", "b"), noErr);
  EXPECT_EQ(read("into/b"), "text");
  EXPECT_EQ(read("a"), "text");
  EXPECT_EQ(list("into"), std::set<std::string>{"b"});
}

TEST_F(FileTransferTest, CountsAFile) {
  write("a", "text");
  copy("a", "b");
  EXPECT_EQ(last().stage, TransferStage::complete);
  EXPECT_EQ(last().item, at("a"));
  expectCount(last().figures.bytes, 4);
  expectCount(last().figures.objects, 1);
  expectCount(last().figures.userVisibleObjects, 1);
  EXPECT_GT(last().figures.throughput, 0);
}

TEST_F(FileTransferTest, CountsATree) {
  makeFolder("tree/.hidden/inner");
  write("tree/one", "123");
  write("tree/.hidden/two", "45");
  write("tree/.hidden/.three", "6");
  EXPECT_EQ(copy("tree", "copy"), noErr);
  expectCount(last().figures.bytes, 6);
  expectCount(last().figures.objects, 6);
  expectCount(last().figures.userVisibleObjects, 4);
}

TEST_F(FileTransferTest, CountsTheSameWithoutPreflight) {
  makeFolder("tree/.hidden/inner");
  write("tree/one", "123");
  EXPECT_EQ(copy("tree", "copy", kTransferSkipPreflight), noErr);
  expectCount(last().figures.bytes, 3);
  expectCount(last().figures.objects, 4);
  expectCount(last().figures.userVisibleObjects, 3);
}

TEST_F(FileTransferTest, RefusesNamesThatAreNone) {
  write("a", "text");
  for (const std::string name : {"", ".", "..", "x/y", "/"}) {
    EXPECT_EQ(startStatus(at("a"), at("into"), name), paramErr) << name;
  }
  EXPECT_EQ(startStatus(at("a"), at("into"), std::string("x\0y", 3)), paramErr);
  EXPECT_EQ(startStatus("", at("into"), "b"), paramErr);
}

TEST_F(FileTransferTest, RefusesANameTooLongForTheVolume) {
  write("a", "text");
  EXPECT_EQ(startStatus(at("a"), at("into"), std::string(256, 'x')), bdNamErr);
  EXPECT_EQ(copy("a", std::string(255, 'x')), noErr);
}

TEST_F(FileTransferTest, RefusesAMissingSource) {
  EXPECT_EQ(startStatus(at("none"), at("into"), "b"), fnfErr);
  EXPECT_EQ(startStatus(at("none/none"), at("into"), "b"), fnfErr);
  write("a", "text");
  EXPECT_EQ(startStatus(at("a/none"), at("into"), "b"), fnfErr);
}

TEST_F(FileTransferTest, RefusesAMissingDestinationFolder) {
  write("a", "text");
  EXPECT_EQ(startStatus(at("a"), at("none"), "b"), dirNFErr);
  EXPECT_EQ(startStatus(at("a"), at("a"), "b"), dirNFErr);
  EXPECT_EQ(startStatus(at("a"), "", "b"), dirNFErr);
}

TEST_F(FileTransferTest, RefusesAFolderIntoItself) {
  makeFolder("tree/inner/deep");
  EXPECT_EQ(startStatus(at("tree"), at("tree"), "copy"), badMovErr);
  EXPECT_EQ(startStatus(at("tree"), at("tree/inner/deep"), "copy"), badMovErr);
  std::filesystem::create_directory_symlink(at("tree/inner"), at("shortcut"));
  EXPECT_EQ(startStatus(at("tree"), at("shortcut"), "copy"), badMovErr);
}

TEST_F(FileTransferTest, RefusesToReplaceAFolderByWhatIsInIt) {
  makeFolder("into/outer/inner");
  write("into/outer/inner/file", "text");
  const TransferRequest request{at("into/outer/inner/file"), at("into"), "outer",
                                TransferKind::move, kTransferOverwrite};
  EXPECT_EQ(FileTransfer(request).start(), badMovErr);
  EXPECT_EQ(read("into/outer/inner/file"), "text");
}

TEST_F(FileTransferTest, CopiesALinkToAFolderIntoThatFolder) {
  makeFolder("tree");
  std::filesystem::create_directory_symlink(at("tree"), at("link"));
  const TransferRequest request{at("link"), at("tree"), "copy"};
  EXPECT_EQ(carryOut(request), noErr);
  EXPECT_EQ(std::filesystem::read_symlink(at("tree/copy")), at("tree"));
}

TEST_F(FileTransferTest, StartsOnce) {
  write("a", "text");
  FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  EXPECT_EQ(transfer.start(), noErr);
  EXPECT_EQ(transfer.start(), paramErr);
  EXPECT_EQ(transfer.wait(), noErr);
  EXPECT_EQ(transfer.start(), paramErr);
}

TEST_F(FileTransferTest, MayStartAfterItWasRefused) {
  FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  EXPECT_EQ(transfer.start(), fnfErr);
  write("a", "text");
  EXPECT_EQ(transfer.start(), noErr);
  EXPECT_EQ(transfer.wait(), noErr);
}

TEST_F(FileTransferTest, TakesPathsWithSlashesAtTheirEnds) {
  makeFolder("tree/inner");
  EXPECT_EQ(carryOut({at("tree//"), at("into/"), "copy"}), noErr);
  EXPECT_TRUE(exists("into/copy/inner"));
}

TEST_F(FileTransferTest, TakesPathsRelativeToTheWorkingFolder) {
  write("a", "text");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(at(""));
  EXPECT_EQ(carryOut({"a", "into", "b"}), noErr);
  std::filesystem::current_path(before);
  EXPECT_EQ(read("into/b"), "text");
}

TEST_F(FileTransferTest, ReportsEachStageAndTheEndOnce) {
  write("a", "text");
  FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  std::vector<TransferStage> stages;
  ASSERT_EQ(transfer.start([&] { stages.push_back(transfer.snapshot().stage); }), noErr);
  transfer.wait();
  stages.erase(std::unique(stages.begin(), stages.end() - 1), stages.end() - 1);
  EXPECT_EQ(stages, (std::vector{TransferStage::preflighting, TransferStage::running,
                                 TransferStage::complete}));
}

TEST_F(FileTransferTest, SkipsThePreflightStageIfAsked) {
  write("a", "text");
  FileTransfer transfer(request(TransferKind::copy, "a", "b", kTransferSkipPreflight));
  TransferStage first = TransferStage::undefined;
  transfer.start([&] {
    if (first == TransferStage::undefined) first = transfer.snapshot().stage;
  });
  transfer.wait();
  EXPECT_EQ(first, TransferStage::running);
}

TEST_F(FileTransferTest, FiguresNeverFall) {
  for (int folder = 0; folder < 20; ++folder) {
    const std::string name = "tree/" + std::to_string(folder);
    makeFolder(name);
    for (int file = 0; file < 50; ++file) write(name + "/" + std::to_string(file), "some text");
  }
  FileTransfer transfer(request(TransferKind::copy, "tree", "copy"));
  TransferFigures before;
  ASSERT_EQ(transfer.start(), noErr);
  TransferSnapshot now;
  do {
    now = transfer.snapshot();
    EXPECT_GE(now.figures.bytes.complete, before.bytes.complete);
    EXPECT_GE(now.figures.bytes.total, before.bytes.total);
    EXPECT_GE(now.figures.objects.complete, before.objects.complete);
    EXPECT_GE(now.figures.objects.total, before.objects.total);
    EXPECT_EQ(now.figures.bytes.complete + now.figures.bytes.remaining, now.figures.bytes.total);
    before = now.figures;
  } while (now.stage != TransferStage::complete);
  expectCount(now.figures.objects, 1021);
  expectCount(now.figures.bytes, 9000);
}

TEST_F(FileTransferTest, NamesTheItemAtHandWhileItRuns) {
  makeFolder("tree/inner");
  write("tree/inner/big", std::string(8 * kMiB, 'x'));
  std::set<std::string> items;
  FileTransfer transfer(request(TransferKind::copy, "tree", "copy", kTransferSkipPreflight));
  transfer.start([&] { items.insert(transfer.snapshot().item); });
  transfer.wait();
  EXPECT_TRUE(items.contains(at("tree/inner/big")));
}

TEST_F(FileTransferTest, CancelledBeforeItsStartItEndsAtOnce) {
  write("a", "text");
  FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  transfer.cancel();
  EXPECT_EQ(transfer.start(), noErr);
  EXPECT_EQ(transfer.wait(), userCanceledErr);
  EXPECT_TRUE(list("into").empty());
}

TEST_F(FileTransferTest, CancelledMoveLeavesTheSource) {
  write("a", "text");
  FileTransfer transfer(request(TransferKind::move, "a", "b"));
  transfer.cancel();
  transfer.start();
  EXPECT_EQ(transfer.wait(), userCanceledErr);
  EXPECT_EQ(read("a"), "text");
  EXPECT_TRUE(list("into").empty());
}

TEST_F(FileTransferTest, CancelledInTheMiddleOfAFileItRemovesWhatItMade) {
  write("a", std::string(16 * kMiB, 'x'));
  FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  ScriptedFileSystemCalls calls;
  std::atomic<int> pieces = 0;
  calls.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
    if (++pieces == 6) transfer.cancel();
    return std::nullopt;
  };
  ASSERT_EQ(transfer.start(), noErr);
  EXPECT_EQ(transfer.wait(), userCanceledErr);
  EXPECT_LT(pieces, 12);
  EXPECT_TRUE(list("into").empty());
  const TransferFigures figures = transfer.snapshot().figures;
  EXPECT_GT(figures.bytes.complete, 0u);
  EXPECT_EQ(figures.bytes.total, 16 * kMiB);
}

TEST_F(FileTransferTest, CancelledInTheMiddleOfATreeItRemovesWhatItMade) {
  makeFolder("tree/inner");
  for (int file = 0; file < 200; ++file) write("tree/inner/" + std::to_string(file), "x");
  FileTransfer transfer(request(TransferKind::copy, "tree", "copy"));
  ScriptedFileSystemCalls calls;
  std::atomic<int> written = 0;
  calls.onWrite = [&](int, std::size_t*, off_t) -> std::optional<ssize_t> {
    if (++written == 50) transfer.cancel();
    return std::nullopt;
  };
  ASSERT_EQ(transfer.start(), noErr);
  EXPECT_EQ(transfer.wait(), userCanceledErr);
  EXPECT_LT(written, 60);
  EXPECT_TRUE(list("into").empty());
}

TEST_F(FileTransferTest, EndsWhenItIsDestroyed) {
  write("a", std::string(16 * kMiB, 'x'));
  ScriptedFileSystemCalls calls;
  std::latch begun(1);
  std::latch released(1);
  std::atomic<bool> first = true;
  calls.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
    if (first.exchange(false)) {
      begun.count_down();
      released.wait();
    }
    return std::nullopt;
  };
  auto transfer = std::make_unique<FileTransfer>(request(TransferKind::copy, "a", "b"));
  std::atomic<int> reportsAtTheEnd = 0;
  ASSERT_EQ(transfer->start([&, running = transfer.get()] {
    reportsAtTheEnd += running->snapshot().status == userCanceledErr;
  }),
            noErr);
  begun.wait();
  std::thread destroyer([&] { transfer.reset(); });
  released.count_down();
  destroyer.join();
  EXPECT_LE(reportsAtTheEnd, 1);
  EXPECT_FALSE(exists("into/.b"));
  for (const std::string& name : list("into")) EXPECT_EQ(name, "b");
}

TEST_F(FileTransferTest, CancellingAfterTheEndChangesNothing) {
  write("a", "text");
  FileTransfer transfer(request(TransferKind::copy, "a", "b"));
  transfer.start();
  transfer.wait();
  transfer.cancel();
  EXPECT_EQ(transfer.snapshot().status, noErr);
  EXPECT_EQ(read("into/b"), "text");
}

TEST_F(FileTransferTest, ManyRunAtOnceIntoOneFolder) {
  makeFolder("tree/inner");
  for (int file = 0; file < 20; ++file) write("tree/inner/" + std::to_string(file), "text");
  std::vector<std::unique_ptr<FileTransfer>> transfers;
  for (int each = 0; each < 8; ++each) {
    transfers.push_back(std::make_unique<FileTransfer>(
        request(TransferKind::copy, "tree", "copy" + std::to_string(each))));
    EXPECT_EQ(transfers.back()->start(), noErr);
  }
  for (const auto& transfer : transfers) EXPECT_EQ(transfer->wait(), noErr);
  EXPECT_EQ(list("into").size(), 8u);
  for (const std::string& name : list("into")) {
    EXPECT_EQ(differences(at("tree"), at("into/" + name)), "") << name;
  }
}

}  // namespace
}  // namespace kestova
