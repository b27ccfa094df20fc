// SPDX-License-Identifier: Apache-2.0
#include "files/TreeRemover.h"

#include <cerrno>
#include <optional>

#include "ChildProcess.h"
#include "MountedTmpfs.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

class TreeRemoverTest : public testing::TransferFixture {
 protected:
  TreeRemoverTest() : folder_(::open(at("").c_str(), O_RDONLY | O_DIRECTORY)) {}
  int remove(const std::string& name) { return removeTree(folder_.get(), name); }

  FileDescriptor folder_;
};

TEST_F(TreeRemoverTest, RemovesFilesLinksAndFolders) {
  write("file", "text");
  makeFolder("folder");
  std::filesystem::create_symlink(at("folder"), at("link"));
  EXPECT_EQ(remove("file"), 0);
  EXPECT_EQ(remove("link"), 0);
  EXPECT_TRUE(exists("folder"));
  EXPECT_EQ(remove("folder"), 0);
  EXPECT_EQ(list(""), std::set<std::string>{"into"});
}

TEST_F(TreeRemoverTest, RemovesATreeOfManyBatches) {
  for (int folder = 0; folder < 50; ++folder) {
    makeFolder("tree/" + std::to_string(folder));
    for (int file = 0; file < 40; ++file)
      write("tree/" + std::to_string(folder) + "/" + std::to_string(file), "x");
  }
  for (int file = 0; file < 3000; ++file) write("tree/file " + std::to_string(file), "x");
  EXPECT_EQ(remove("tree"), 0);
  EXPECT_FALSE(exists("tree"));
}

TEST_F(TreeRemoverTest, DoesNotFollowLinks) {
  makeFolder("kept");
  write("kept/file", "text");
  makeFolder("tree");
  std::filesystem::create_directory_symlink(at("kept"), at("tree/link"));
  EXPECT_EQ(remove("tree"), 0);
  EXPECT_EQ(read("kept/file"), "text");
}

TEST_F(TreeRemoverTest, SaysWhatIsMissing) { EXPECT_EQ(remove("none"), ENOENT); }

TEST_F(TreeRemoverTest, LeavesOtherVolumes) {
  makeFolder("tree/a");
  const testing::MountedTmpfs other(at("tree/other"), "size=1m");
  if (!other.isMounted()) GTEST_SKIP() << "mounting needs root";
  write("tree/other/file", "text");
  EXPECT_EQ(remove("tree"), EBUSY);
  EXPECT_EQ(read("tree/other/file"), "text");
  EXPECT_FALSE(exists("tree/a"));
}

TEST_F(TreeRemoverTest, UnlocksFoldersThatTheirOwnerLocked) {
  if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
  makeFolder("tree/closed/inner");
  makeFolder("tree/readonly/inner");
  write("tree/readonly/inner/file", "text");
  ASSERT_EQ(std::system(("cd '" + at("") +
                         "' && chown -R 65534 . && chmod 755 . && chmod 0 tree/closed && "
                         "chmod 555 tree/readonly tree/readonly/inner")
                            .c_str()),
            0);
  EXPECT_EQ(testing::runAsNobody([&] { return remove("tree"); }), 0);
  EXPECT_FALSE(exists("tree"));
}

TEST_F(TreeRemoverTest, TellsWhyAnItemStaysAndRemovesTheOthers) {
  for (const int reason : {EACCES, EPERM, EIO, EROFS, EBUSY}) {
    SCOPED_TRACE(reason);
    makeFolder("tree/folder");
    write("tree/folder/kept", "text");
    write("tree/folder/file", "text");
    write("tree/file", "text");
    testing::ScriptedFileSystemCalls calls;
    calls.onUnlink = [reason](const std::string& name, int) -> std::optional<int> {
      if (name != "kept") return std::nullopt;
      return testing::ScriptedFileSystemCalls::failure(reason);
    };
    EXPECT_EQ(remove("tree"), reason);
    EXPECT_EQ(list("tree"), std::set<std::string>{"folder"});
    EXPECT_EQ(list("tree/folder"), std::set<std::string>{"kept"});
  }
}

TEST_F(TreeRemoverTest, TellsTheFirstOfSeveralReasons) {
  makeFolder("tree");
  for (const char* name : {"tree/1", "tree/2", "tree/3"}) write(name, "text");
  testing::ScriptedFileSystemCalls calls;
  int asked = 0;
  calls.onUnlink = [&asked](const std::string&, int flags) -> std::optional<int> {
    if (flags != 0) return std::nullopt;
    return testing::ScriptedFileSystemCalls::failure(++asked == 1 ? EIO : EACCES);
  };
  EXPECT_EQ(remove("tree"), EIO);
  EXPECT_EQ(list("tree").size(), 3U);
}

TEST_F(TreeRemoverTest, AFolderThatCannotBeListedStaysAndTheRestGoes) {
  makeFolder("tree/unreadable");
  makeFolder("tree/other");
  write("tree/unreadable/file", "text");
  write("tree/other/file", "text");
  testing::ScriptedFileSystemCalls calls;
  calls.onList = [](int folder) -> std::optional<ssize_t> {
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(folder));
    if (path.filename() != "unreadable") return std::nullopt;
    return testing::ScriptedFileSystemCalls::failure(EIO);
  };
  EXPECT_EQ(remove("tree"), EIO);
  EXPECT_EQ(list("tree"), std::set<std::string>{"unreadable"});
}

TEST_F(TreeRemoverTest, WhatBelongsToOthersIsAMatterOfPermissions) {
  if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
  makeFolder("tree/closed");
  makeFolder("tree/open");
  write("tree/closed/file", "text");
  write("tree/open/file", "text");
  ASSERT_EQ(std::system(("cd '" + at("") +
                         "' && chown -R 65534 . && chmod 755 . && chown root tree/closed && "
                         "chmod 755 tree/closed")
                            .c_str()),
            0);
  EXPECT_EQ(testing::runAsNobody([&] { return remove("tree"); }), EACCES);
  EXPECT_EQ(list("tree"), std::set<std::string>{"closed"});
}

TEST_F(TreeRemoverTest, WhatComesMeanwhileLeavesAFolderThatIsNotEmpty) {
  makeFolder("tree");
  write("tree/file", "text");
  testing::ScriptedFileSystemCalls calls;
  calls.onUnlink = [this](const std::string& name, int) -> std::optional<int> {
    if (name == "tree") write("tree/new", "text");
    return std::nullopt;
  };
  EXPECT_EQ(remove("tree"), ENOTEMPTY);
  EXPECT_EQ(list("tree"), std::set<std::string>{"new"});
}

}  // namespace
}  // namespace kestova
