// SPDX-License-Identifier: Apache-2.0
#include "files/TreeRemover.h"

#include "ChildProcess.h"
#include "MountedTmpfs.h"
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
  EXPECT_NE(remove("tree"), 0);
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

}  // namespace
}  // namespace kestova
