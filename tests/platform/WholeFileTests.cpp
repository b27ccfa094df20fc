// SPDX-License-Identifier: Apache-2.0
#include "files/WholeFile.h"

#include "ChildProcess.h"
#include "MountedTmpfs.h"
#include "ScriptedFileSystemCalls.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

namespace kestova {
namespace {

using testing::runAsNobody;
using testing::TemporaryFolder;
namespace fs = std::filesystem;

std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}

class WholeFileTests : public ::testing::Test {
 protected:
  mode_t modeOf(const std::string& name) {
    struct stat facts;
    EXPECT_EQ(stat(folder_.at(name).c_str(), &facts), 0);
    return facts.st_mode & 07777;
  }
  std::size_t filesInFolder() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()));
  }

  TemporaryFolder folder_;
};

TEST_F(WholeFileTests, ReadingAddsToWhatIsThere) {
  const auto contents = NSMutableData::dataWithBytes_length("a", 1);
  EXPECT_EQ(readWholeFile(folder_.write("file", "bc"), *contents), 0);
  EXPECT_EQ(contents->length(), 3U);
  EXPECT_EQ(readWholeFile(folder_.at("missing"), *contents), ENOENT);
  EXPECT_EQ(readWholeFile(folder_.path(), *contents), EISDIR);
  EXPECT_EQ(contents->length(), 3U);
}

TEST_F(WholeFileTests, AFileThatClaimsMuchIsReadWithoutBelievingIt) {
  folder_.write("sparse", "");
  fs::resize_file(folder_.at("sparse"), 40U << 20);
  const auto contents = NSMutableData::data();
  EXPECT_EQ(readWholeFile(folder_.at("sparse"), *contents), 0);
  EXPECT_EQ(contents->length(), 40U << 20);
}

TEST_F(WholeFileTests, ReplacingLeavesOneCompleteFile) {
  EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("first")), 0);
  EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("second")), 0);
  EXPECT_EQ(folder_.read("file"), "second");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(WholeFileTests, ReplacingMakesAnotherFileOfIt) {
  folder_.write("file", "old");
  fs::create_hard_link(folder_.at("file"), folder_.at("held"));
  EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("new")), 0);
  EXPECT_EQ(folder_.read("held"), "old");
}

TEST_F(WholeFileTests, ReplacingKeepsPermissions) {
  folder_.write("file", "old");
  for (const mode_t mode : {0600U, 0640U, 0777U, 0444U}) {
    chmod(folder_.at("file").c_str(), mode);
    EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("new")), 0);
    EXPECT_EQ(modeOf("file"), mode);
  }
}

TEST_F(WholeFileTests, ANewFileGetsTheModeOfNewFiles) {
  const mode_t mask = umask(027);
  EXPECT_EQ(replaceWholeFile(folder_.at("atomic"), bytesOf("x")), 0);
  EXPECT_EQ(writeWholeFile(folder_.at("plain"), bytesOf("x")), 0);
  umask(mask);
  EXPECT_EQ(modeOf("atomic"), 0640U);
  EXPECT_EQ(modeOf("plain"), 0640U);
}

TEST_F(WholeFileTests, ASymbolicLinkStaysAndItsFileIsReplaced) {
  folder_.write("file", "old");
  fs::create_symlink("file", folder_.at("link"));
  EXPECT_EQ(replaceWholeFile(folder_.at("link"), bytesOf("new")), 0);
  EXPECT_TRUE(fs::is_symlink(folder_.at("link")));
  EXPECT_EQ(folder_.read("file"), "new");
}

TEST_F(WholeFileTests, CreatingLeavesWhatIsThereAndNoPart) {
  EXPECT_EQ(createWholeFile(folder_.at("file"), bytesOf("new")), 0);
  EXPECT_EQ(createWholeFile(folder_.at("file"), bytesOf("other")), EEXIST);
  EXPECT_EQ(folder_.read("file"), "new");
  const testing::MountedTmpfs disk(folder_.at("disk"), "size=64k");
  ASSERT_TRUE(disk.isMounted()) << "only root can mount a small disk";
  EXPECT_EQ(createWholeFile(disk.at("file"), bytesOf(std::string(200000, 'x'))), ENOSPC);
  EXPECT_FALSE(fs::exists(disk.at("file")));
}

TEST_F(WholeFileTests, ADeviceIsWrittenInPlace) {
  EXPECT_EQ(replaceWholeFile("/dev/null", bytesOf("x")), 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(WholeFileTests, AFailureLeavesTheOldFileAndNoOther) {
  fs::create_directory(folder_.at("folder"));
  EXPECT_EQ(replaceWholeFile(folder_.at("folder"), bytesOf("x")), EISDIR);
  EXPECT_EQ(replaceWholeFile(folder_.at("missing/file"), bytesOf("x")), ENOENT);
  EXPECT_EQ(writeWholeFile(folder_.at("missing/file"), bytesOf("x")), ENOENT);
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(WholeFileTests, AFullDiskLeavesTheOldFileAndNoOther) {
  const testing::MountedTmpfs disk(folder_.at("disk"), "size=64k");
  ASSERT_TRUE(disk.isMounted()) << "only root can mount a small disk";
  const std::string path = disk.at("file");
  ASSERT_EQ(replaceWholeFile(path, bytesOf("old")), 0);
  EXPECT_EQ(replaceWholeFile(path, bytesOf(std::string(200000, 'x'))), ENOSPC);
  const auto contents = NSMutableData::data();
  EXPECT_EQ(readWholeFile(path, *contents), 0);
  EXPECT_EQ(contents->length(), 3U);
  EXPECT_EQ(std::distance(fs::directory_iterator(disk.path()), fs::directory_iterator()), 1);
}

TEST_F(WholeFileTests, AFailureAtAnyStepLeavesTheOldFileAndNoOther) {
  folder_.write("file", "old");
  {
    testing::ScriptedFileSystemCalls calls;
    calls.onFlush = [&] { return calls.failure(EIO); };
    EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("new")), EIO);
  }
  {
    testing::ScriptedFileSystemCalls calls;
    calls.onRename = [&](auto&&...) { return calls.failure(EIO); };
    EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("new")), EIO);
  }
  EXPECT_EQ(folder_.read("file"), "old");
  EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(WholeFileTests, AnInterruptedOpenIsRepeated) {
  int interruptions = 3;
  testing::ScriptedFileSystemCalls calls;
  calls.onOpen = [&](auto&&...) {
    return interruptions-- > 0 ? std::optional(calls.failure(EINTR)) : std::nullopt;
  };
  EXPECT_EQ(replaceWholeFile(folder_.at("file"), bytesOf("new")), 0);
  EXPECT_EQ(folder_.read("file"), "new");
}

TEST_F(WholeFileTests, WhereNothingMayBeMadeNothingIsReplaced) {
  folder_.write("file", "old");
  chmod(folder_.path().c_str(), 0755);
  EXPECT_EQ(runAsNobody([&] { return replaceWholeFile(folder_.at("file"), bytesOf("new")); }),
            EACCES);
  EXPECT_EQ(folder_.read("file"), "old");
}

}  // namespace
}  // namespace kestova
