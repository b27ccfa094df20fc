// SPDX-License-Identifier: Apache-2.0
#include "files/TransferEndpoints.h"

#include <filesystem>
#include <string>

#include "TransferFixture.h"

namespace kestova {
namespace {

class TransferEndpointsTest : public testing::TransferFixture {
 protected:
  OSStatus open(const std::string& source, const std::string& folder, const std::string& name,
                std::uint32_t options = 0) {
    return ends_.open({source, folder, name, TransferKind::copy, options});
  }

  TransferEndpoints ends_;
};

TEST_F(TransferEndpointsTest, FindBothEnds) {
  write("a", "text");
  ASSERT_EQ(open(at("a"), at("into"), "b"), noErr);
  EXPECT_EQ(ends_.sourcePath, at("a"));
  EXPECT_EQ(ends_.sourceName, "a");
  EXPECT_EQ(ends_.source.st_ino, facts("a").st_ino);
  EXPECT_EQ(ends_.name, "b");
  EXPECT_TRUE(ends_.sourceFolder);
  EXPECT_TRUE(ends_.destination);
}

TEST_F(TransferEndpointsTest, TakeSlashesOffTheSource) {
  makeFolder("tree");
  ASSERT_EQ(open(at("tree") + "///", at("into") + "//", "b"), noErr);
  EXPECT_EQ(ends_.sourcePath, at("tree"));
  EXPECT_EQ(ends_.sourceName, "tree");
}

TEST_F(TransferEndpointsTest, FindASourceInTheWorkingFolder) {
  write("a", "text");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(at("."));
  EXPECT_EQ(open("a", "into", "b"), noErr);
  std::filesystem::current_path(before);
  EXPECT_EQ(ends_.sourceName, "a");
  EXPECT_EQ(ends_.source.st_ino, facts("a").st_ino);
}

TEST_F(TransferEndpointsTest, FindTheRootOfTheFileSystemAndRefuseItWithinItself) {
  EXPECT_EQ(open("/", at("into"), "root"), badMovErr);
  EXPECT_EQ(ends_.sourceName, ".");
}

TEST_F(TransferEndpointsTest, DoNotFollowASourceThatIsALink) {
  std::filesystem::create_symlink("nowhere", at("link"));
  ASSERT_EQ(open(at("link"), at("into"), "b"), noErr);
  EXPECT_TRUE(S_ISLNK(ends_.source.st_mode));
}

TEST_F(TransferEndpointsTest, KnowWhatHasTheNewName) {
  write("a", "text");
  ASSERT_EQ(open(at("a"), at("into"), "b"), noErr);
  struct stat existing {};
  EXPECT_EQ(ends_.findExisting(existing), ENOENT);
  std::filesystem::create_symlink("nowhere", at("into/b"));
  EXPECT_EQ(ends_.findExisting(existing), 0);
  EXPECT_TRUE(S_ISLNK(existing.st_mode));
}

TEST_F(TransferEndpointsTest, StayWhereTheyAreWhenTheirPathsChange) {
  write("a", "text");
  ASSERT_EQ(open(at("a"), at("into"), "b"), noErr);
  std::filesystem::rename(at("into"), at("elsewhere"));
  makeFolder("into");
  write("elsewhere/b", "text");
  struct stat existing {};
  EXPECT_EQ(ends_.findExisting(existing), 0);
}

TEST_F(TransferEndpointsTest, RefusePathsWithAZero) {
  write("a", "text");
  const std::string zero("\0x", 2);
  EXPECT_EQ(open(at("a") + zero, at("into"), "b"), paramErr);
  EXPECT_EQ(open(at("a"), at("into") + zero, "b"), paramErr);
}

TEST_F(TransferEndpointsTest, RefuseAFolderInTheWayOfItsOwnContentOnlyWhenItIsReplaced) {
  makeFolder("into/outer");
  write("into/outer/file", "text");
  EXPECT_EQ(open(at("into/outer/file"), at("into"), "outer"), noErr);
  EXPECT_EQ(open(at("into/outer/file"), at("into"), "outer", kTransferOverwrite), badMovErr);
}

TEST_F(TransferEndpointsTest, RefuseEndsBehindALoopOfLinks) {
  write("a", "text");
  std::filesystem::create_symlink("loop", at("loop"));
  EXPECT_NE(open(at("loop/a"), at("into"), "b"), noErr);
  EXPECT_NE(open(at("a"), at("loop"), "b"), noErr);
}

}  // namespace
}  // namespace kestova
