// SPDX-License-Identifier: Apache-2.0
#include "files/TransferRun.h"

#include <atomic>
#include <optional>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "FileAttributes.h"
#include "MountedTmpfs.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::MountedTmpfs;
using testing::ScriptedFileSystemCalls;

class TransferRunTest : public testing::TransferFixture {
 protected:
  void makeVersion(const std::string& name, const std::string& text) {
    makeFolder(name + "/inner");
    write(name + "/file", text);
    write(name + "/inner/file", text);
  }
  void expectVersion(const std::string& name, const std::string& text) {
    EXPECT_EQ(read(name + "/file"), text);
    EXPECT_EQ(read(name + "/inner/file"), text);
  }
  void expectAlone(const std::string& name) {
    EXPECT_EQ(list("into"), std::set<std::string>{name});
  }
};

class OverwriteTest : public TransferRunTest, public ::testing::WithParamInterface<TransferKind> {
 protected:
  OSStatus transfer(const std::string& source, std::uint32_t options) {
    return carryOut(request(GetParam(), source, "item", options));
  }
  bool sourceStays() const { return GetParam() == TransferKind::copy; }
};

INSTANTIATE_TEST_SUITE_P(Kinds, OverwriteTest,
                         ::testing::Values(TransferKind::copy, TransferKind::move),
                         [](const auto& info) {
                           return info.param == TransferKind::copy ? "copy" : "move";
                         });

TEST_P(OverwriteTest, IsRefusedUnlessAskedFor) {
  write("a", "new");
  write("into/item", "old");
  for (const std::uint32_t options : {0u, std::uint32_t{kTransferSkipPreflight}}) {
    EXPECT_EQ(transfer("a", options), dupFNErr);
    EXPECT_EQ(last().item, at("a"));
    EXPECT_EQ(read("into/item"), "old");
    EXPECT_EQ(read("a"), "new");
  }
  expectAlone("item");
}

TEST_P(OverwriteTest, IsRefusedForAnEmptyFolderAndADanglingLinkToo) {
  write("a", "new");
  makeFolder("into/item");
  EXPECT_EQ(transfer("a", 0), dupFNErr);
  std::filesystem::remove(at("into/item"));
  std::filesystem::create_symlink("nowhere", at("into/item"));
  EXPECT_EQ(transfer("a", 0), dupFNErr);
  EXPECT_TRUE(std::filesystem::is_symlink(at("into/item")));
}

TEST_P(OverwriteTest, ReplacesAFileByAFile) {
  write("a", "new");
  write("into/item", "old");
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  EXPECT_EQ(read("into/item"), "new");
  EXPECT_EQ(exists("a"), sourceStays());
  expectAlone("item");
}

TEST_P(OverwriteTest, ReplacesAFolderByAFolderAsAWhole) {
  makeVersion("a", "new");
  makeVersion("into/item", "old");
  write("into/item/only in the old one", "old");
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  expectVersion("into/item", "new");
  EXPECT_FALSE(exists("into/item/only in the old one"));
  EXPECT_EQ(exists("a"), sourceStays());
  expectAlone("item");
}

TEST_P(OverwriteTest, ReplacesAFolderByAFile) {
  write("a", "new");
  makeVersion("into/item", "old");
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  EXPECT_EQ(read("into/item"), "new");
  EXPECT_EQ(exists("a"), sourceStays());
  expectAlone("item");
}

TEST_P(OverwriteTest, ReplacesAFileByAFolder) {
  makeVersion("a", "new");
  write("into/item", "old");
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  expectVersion("into/item", "new");
  EXPECT_EQ(exists("a"), sourceStays());
  expectAlone("item");
}

TEST_P(OverwriteTest, ReplacesALinkAndNotItsTarget) {
  write("a", "new");
  write("target", "target");
  std::filesystem::create_symlink(at("target"), at("into/item"));
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  EXPECT_FALSE(std::filesystem::is_symlink(at("into/item")));
  EXPECT_EQ(read("target"), "target");
}

TEST_P(OverwriteTest, ReplacesAFolderByALinkToAFolder) {
  makeVersion("target", "target");
  std::filesystem::create_directory_symlink(at("target"), at("a"));
  makeVersion("into/item", "old");
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  EXPECT_TRUE(std::filesystem::is_symlink(at("into/item")));
  expectVersion("target", "target");
}

TEST_P(OverwriteTest, TheNewItemIsDurableBeforeItTakesTheOldOnesPlace) {
  for (const bool folder : {false, true}) {
    folder ? makeVersion("a", "new") : void(write("a", "new"));
    write("into/item", "old");
    ScriptedFileSystemCalls calls;
    std::vector<std::string> order;
    calls.onFlush = [&]() -> std::optional<int> {
      order.push_back("flush");
      return std::nullopt;
    };
    calls.onRename = [&](const std::string&, const std::string& to,
                         unsigned flags) -> std::optional<int> {
      if (to == "item" && flags != 1) order.push_back("replace");
      return std::nullopt;
    };
    EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
    EXPECT_EQ(order, (std::vector<std::string>{"flush", "replace"}));
    std::filesystem::remove_all(at("into/item"));
    std::filesystem::remove_all(at("a"));
  }
}

TEST_P(OverwriteTest, KeepsTheOldItemWhenTheNewOneCannotBeMadeDurable) {
  makeVersion("a", "new");
  makeVersion("into/item", "old");
  ScriptedFileSystemCalls calls;
  calls.onFlush = [] { return std::optional(ScriptedFileSystemCalls::failure(EIO)); };
  EXPECT_EQ(transfer("a", kTransferOverwrite), ioErr);
  expectVersion("into/item", "old");
  expectVersion("a", "new");
  expectAlone("item");
}

TEST_P(OverwriteTest, WorksWithoutTheFlagsOfRenaming) {
  ScriptedFileSystemCalls calls;
  calls.onRename = [](const std::string&, const std::string&,
                      unsigned flags) -> std::optional<int> {
    if (flags == 0) return std::nullopt;
    return ScriptedFileSystemCalls::failure(EINVAL);
  };
  makeVersion("a", "new");
  makeVersion("into/item", "old");
  EXPECT_EQ(transfer("a", 0), dupFNErr);
  EXPECT_EQ(transfer("a", kTransferOverwrite), noErr);
  expectVersion("into/item", "new");
  EXPECT_EQ(exists("a"), sourceStays());
  expectAlone("item");
}

TEST_F(TransferRunTest, DoesNotReplaceWhatAppearsWhileItCopies) {
  write("a", "new");
  ScriptedFileSystemCalls calls;
  calls.onWrite = [&](int, std::size_t*, off_t) -> std::optional<ssize_t> {
    write("into/item", "came in between");
    return std::nullopt;
  };
  EXPECT_EQ(copy("a", "item"), dupFNErr);
  EXPECT_EQ(read("into/item"), "came in between");
  expectAlone("item");
}

TEST_F(TransferRunTest, CopiesAnItemOntoItself) {
  makeVersion("into/item", "same");
  EXPECT_EQ(copy("into/item", "item"), dupFNErr);
  EXPECT_EQ(copy("into/item", "item", kTransferOverwrite), noErr);
  expectVersion("into/item", "same");
  expectAlone("item");
}

TEST_F(TransferRunTest, MovesWithinAVolumeByRenaming) {
  makeVersion("a", "text");
  const ino_t before = facts("a/file").st_ino;
  EXPECT_EQ(move("a", "item"), noErr);
  expectVersion("into/item", "text");
  EXPECT_EQ(facts("into/item/file").st_ino, before);
  EXPECT_FALSE(exists("a"));
  EXPECT_EQ(last().figures.objects.total, 1u);
  EXPECT_EQ(last().figures.bytes.total, 0u);
}

TEST_F(TransferRunTest, CountsTheSizeOfAMovedFile) {
  write(".a", "text");
  EXPECT_EQ(move(".a", "item", kTransferDoNotMoveAcrossVolumes | kTransferSkipPreflight), noErr);
  EXPECT_EQ(last().figures.objects.complete, 1u);
  EXPECT_EQ(last().figures.userVisibleObjects.complete, 0u);
  EXPECT_EQ(last().figures.bytes.complete, 4u);
}

TEST_F(TransferRunTest, MovesAnItemOntoItselfByDoingNothing) {
  makeVersion("into/item", "same");
  EXPECT_EQ(move("into/item", "item", kTransferOverwrite), noErr);
  EXPECT_EQ(move("into/item", "item"), noErr);
  expectVersion("into/item", "same");
}

TEST_F(TransferRunTest, MovesALinkOverAnotherLinkToTheSameFile) {
  write("a", "text");
  std::filesystem::create_hard_link(at("a"), at("into/item"));
  EXPECT_EQ(move("a", "item", kTransferOverwrite), noErr);
  EXPECT_FALSE(exists("a"));
  EXPECT_EQ(read("into/item"), "text");
}

TEST_F(TransferRunTest, LosesNeitherOfTwoLinksInOneFolder) {
  write("into/a", "text");
  std::filesystem::create_hard_link(at("into/a"), at("into/item"));
  EXPECT_EQ(move("into/a", "item", kTransferOverwrite), noErr);
  EXPECT_EQ(read("into/item"), "text");
}

TEST_F(TransferRunTest, RenamesWithinAFolder) {
  makeVersion("into/a", "text");
  EXPECT_EQ(move("into/a", "b"), noErr);
  expectAlone("b");
}

/// Tests with a second volume, mounted at `other`.
class TwoVolumesTest : public TransferRunTest {
 protected:
  void SetUp() override {
    other_.emplace(at("other"), "size=4m,nr_inodes=1000");
    if (!other_->isMounted()) GTEST_SKIP() << "mounting needs root";
  }
  void makeOther(const std::string& options) {
    other_.reset();
    other_.emplace(at("other"), options);
    ASSERT_TRUE(other_->isMounted());
  }
  OSStatus toOther(TransferKind kind, const std::string& source, std::uint32_t options = 0) {
    return carryOut({at(source), at("other"), "item", kind, options});
  }
  void expectOtherEmpty() { EXPECT_TRUE(list("other").empty()); }

  std::optional<MountedTmpfs> other_;
};

TEST_F(TwoVolumesTest, CopiesFaithfully) {
  makeVersion("a", "text");
  std::filesystem::create_hard_link(at("a/file"), at("a/second"));
  testing::setAttribute(at("a/file"), "user.note", "x");
  EXPECT_EQ(toOther(TransferKind::copy, "a"), noErr);
  EXPECT_EQ(differences(at("a"), at("other/item")), "");
}

TEST_F(TwoVolumesTest, MovesAFile) {
  write("a", "text");
  EXPECT_EQ(toOther(TransferKind::move, "a"), noErr);
  EXPECT_EQ(read("other/item"), "text");
  EXPECT_FALSE(exists("a"));
  EXPECT_EQ(last().figures.bytes.complete, 4u);
}

TEST_F(TwoVolumesTest, MovesATree) {
  makeVersion("a", "text");
  std::filesystem::create_symlink("nowhere", at("a/link"));
  makeFolder("a/empty");
  EXPECT_EQ(toOther(TransferKind::move, "a"), noErr);
  expectVersion("other/item", "text");
  EXPECT_TRUE(exists("other/item/empty"));
  EXPECT_FALSE(exists("a"));
  EXPECT_EQ(list("other"), std::set<std::string>{"item"});
  EXPECT_EQ(last().figures.objects.complete, 6u);
}

TEST_F(TwoVolumesTest, MovesBackAndReplaces) {
  makeVersion("other/item", "new");
  makeVersion("into/item", "old");
  EXPECT_EQ(move("other/item", "item", kTransferOverwrite), noErr);
  expectVersion("into/item", "new");
  expectOtherEmpty();
}

TEST_F(TwoVolumesTest, DoesNotMoveAcrossIfAskedNotTo) {
  write("a", "text");
  EXPECT_EQ(toOther(TransferKind::move, "a", kTransferDoNotMoveAcrossVolumes), diffVolErr);
  EXPECT_EQ(read("a"), "text");
  expectOtherEmpty();
}

TEST_F(TwoVolumesTest, TheCopyIsDurableBeforeTheSourceGoes) {
  makeVersion("a", "text");
  ScriptedFileSystemCalls calls;
  std::vector<std::string> order;
  calls.onFlush = [&]() -> std::optional<int> {
    order.push_back("flush");
    return std::nullopt;
  };
  calls.onRename = [&](const std::string&, const std::string&, unsigned) -> std::optional<int> {
    order.push_back("rename");
    return std::nullopt;
  };
  std::atomic<bool> removing = false;
  calls.onUnlink = [&](const std::string& name, int) -> std::optional<int> {
    if (name == "file" && !removing.exchange(true)) order.push_back("remove");
    return std::nullopt;
  };
  EXPECT_EQ(toOther(TransferKind::move, "a"), noErr);
  EXPECT_EQ(order, (std::vector<std::string>{"rename", "flush", "rename", "flush", "remove"}));
}

TEST_F(TwoVolumesTest, AMoveThatCannotBeMadeDurableKeepsItsSource) {
  makeVersion("a", "text");
  for (int failing = 1; failing <= 2; ++failing) {
    ScriptedFileSystemCalls calls;
    int flushes = 0;
    calls.onFlush = [&]() -> std::optional<int> {
      if (++flushes != failing) return std::nullopt;
      return ScriptedFileSystemCalls::failure(EIO);
    };
    EXPECT_EQ(toOther(TransferKind::move, "a", kTransferOverwrite), ioErr);
    expectVersion("a", "text");
  }
}

TEST_F(TwoVolumesTest, AMoveWhoseSourceCannotBeRemovedSaysSoAndLosesNothing) {
  makeVersion("a", "text");
  ScriptedFileSystemCalls calls;
  calls.onUnlink = [&](const std::string& name, int) -> std::optional<int> {
    if (name != "file") return std::nullopt;
    return ScriptedFileSystemCalls::failure(EROFS);
  };
  EXPECT_EQ(toOther(TransferKind::move, "a"), wPrErr);
  expectVersion("a", "text");
  expectVersion("other/item", "text");
}

TEST_F(TwoVolumesTest, CancellingComesTooLateWhenTheCopyHasItsName) {
  makeVersion("a", "text");
  FileTransfer transfer({at("a"), at("other"), "item", TransferKind::move});
  ScriptedFileSystemCalls calls;
  calls.onUnlink = [&](const std::string&, int) -> std::optional<int> {
    transfer.cancel();
    return std::nullopt;
  };
  transfer.start();
  EXPECT_EQ(transfer.wait(), noErr);
  EXPECT_FALSE(exists("a"));
  expectVersion("other/item", "text");
}

TEST_F(TwoVolumesTest, KnowsBeforehandThatTheRoomIsTooSmall) {
  makeFolder("a");
  write("a/large", std::string(6 << 20, 'x'));
  ScriptedFileSystemCalls calls;
  std::atomic<int> created = 0;
  calls.onOpen = [&](int, const char*, int flags) -> std::optional<int> {
    created += (flags & O_CREAT) != 0;
    return std::nullopt;
  };
  EXPECT_EQ(toOther(TransferKind::copy, "a"), dskFulErr);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(last().figures.bytes.total, std::uint64_t{6 << 20});
  EXPECT_EQ(last().figures.bytes.complete, 0u);
  expectOtherEmpty();
}

TEST_F(TwoVolumesTest, CountsAllocatedBytesOfSparseFilesAgainstTheRoom) {
  write("a", "text");
  std::filesystem::resize_file(at("a"), 100 << 20);
  EXPECT_EQ(toOther(TransferKind::copy, "a"), noErr);
  EXPECT_EQ(facts("other/item").st_size, 100 << 20);
}

TEST_F(TwoVolumesTest, AFullVolumeLeavesNothing) {
  makeFolder("a");
  for (int file = 0; file < 12; ++file) {
    write("a/" + std::to_string(file), std::string(512 << 10, 'x'));
  }
  EXPECT_EQ(toOther(TransferKind::copy, "a", kTransferSkipPreflight), dskFulErr);
  EXPECT_EQ(last().item.substr(0, at("a/").size()), at("a/"));
  expectOtherEmpty();
}

TEST_F(TwoVolumesTest, AFullVolumeKeepsWhatIsThereAndTheSourceOfAMove) {
  write("a", std::string(5 << 20, 'x'));
  write("other/item", "old");
  EXPECT_EQ(toOther(TransferKind::move, "a", kTransferOverwrite | kTransferSkipPreflight),
            dskFulErr);
  EXPECT_EQ(read("other/item"), "old");
  EXPECT_EQ(facts("a").st_size, 5 << 20);
  EXPECT_EQ(list("other").size(), 1u);
}

TEST_F(TwoVolumesTest, RunningOutOfFilesIsAFullVolume) {
  makeOther("size=4m,nr_inodes=20");
  makeFolder("a");
  for (int file = 0; file < 50; ++file) write("a/" + std::to_string(file), "x");
  EXPECT_EQ(toOther(TransferKind::copy, "a"), dskFulErr);
  EXPECT_EQ(toOther(TransferKind::copy, "a", kTransferSkipPreflight), dskFulErr);
  expectOtherEmpty();
}

TEST_F(TwoVolumesTest, AReadOnlyVolumeIsWriteProtected) {
  other_->makeReadOnly();
  write("a", "text");
  EXPECT_EQ(toOther(TransferKind::copy, "a"), wPrErr);
  EXPECT_EQ(toOther(TransferKind::copy, "a", kTransferSkipPreflight), wPrErr);
  EXPECT_EQ(toOther(TransferKind::move, "a"), wPrErr);
  EXPECT_EQ(read("a"), "text");
}

TEST_F(TwoVolumesTest, AReadOnlySourceCannotBeMovedAndIsNotCopied) {
  write("other/item", "text");
  other_->makeReadOnly();
  EXPECT_EQ(move("other/item", "item"), wPrErr);
  EXPECT_TRUE(list("into").empty());
  EXPECT_EQ(copy("other/item", "item"), noErr);
}

TEST_F(TwoVolumesTest, AWriteErrorInTheMiddleLeavesNothing) {
  makeVersion("a", "text");
  write("a/large", std::string(3 << 20, 'x'));
  ScriptedFileSystemCalls calls;
  std::atomic<int> moves = 0;
  calls.onSplice = [&](int, int, std::size_t*) -> std::optional<ssize_t> {
    if (++moves != 4) return std::nullopt;
    return ScriptedFileSystemCalls::failure(EIO);
  };
  EXPECT_EQ(toOther(TransferKind::copy, "a"), ioErr);
  EXPECT_EQ(last().item, at("a/large"));
  expectOtherEmpty();
}

TEST_F(TwoVolumesTest, WalksIntoVolumesMountedInTheSource) {
  makeVersion("other/inner", "text");
  EXPECT_EQ(carryOut({at("other"), at("into"), "item"}), noErr);
  expectVersion("into/item/inner", "text");
}

TEST_F(TransferRunTest, AUserMovesAFolderWithoutTheRightToWriteWithinItsParent) {
  if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
  makeVersion("into/a", "text");
  ASSERT_EQ(std::system(("chown -R 65534:65534 '" + at("into") + "' && chmod 555 '" + at("into/a") +
                         "'; chmod 755 '" + at("") + "'")
                            .c_str()),
            0);
  EXPECT_EQ(testing::runAsNobody([&] { return move("into/a", "b") == noErr ? 0 : 1; }), 0);
  expectVersion("into/b", "text");
}

}  // namespace
}  // namespace kestova
