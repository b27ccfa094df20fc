// SPDX-License-Identifier: Apache-2.0
#include "files/FileMetadata.h"

#include "ChildProcess.h"
#include "FileAttributes.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::attribute;
using testing::isSameTime;
using testing::runAsNobody;
using testing::setAttribute;
using testing::setTimes;

CreatedFacts createdFacts(const struct stat& facts) {
  return {facts.st_uid, facts.st_gid, facts.st_mode & 07777};
}

class FileMetadataTest : public testing::TransferFixture {
 protected:
  FileMetadataTest() {
    ::chmod(at(".").c_str(), 0755);  // for other users
    write("source", "text");
    write("target", "");
  }

  FileDescriptor open(const char* name) const {
    return FileDescriptor(::open(at(name).c_str(), O_RDONLY | O_CLOEXEC));
  }
  /// Between open files.
  int copyMetadata() {
    const FileDescriptor from = open("source");
    const FileDescriptor to = open("target");
    return FileMetadata().copy({from.get()}, {to.get()}, facts("source"),
                               createdFacts(facts("target")));
  }
  /// Between entries that are not open.
  int copyMetadata(const char* source, const char* target) {
    const FileDescriptor folder = open(".");
    return FileMetadata().copy({-1, folder.get(), source}, {-1, folder.get(), target},
                               facts(source), createdFacts(facts(target)));
  }
};

TEST_F(FileMetadataTest, CopiesModeTimesAndAttributes) {
  ASSERT_TRUE(setAttribute(at("source"), "user.first", "one"));
  ASSERT_TRUE(setAttribute(at("source"), "user.empty", ""));
  ::chmod(at("source").c_str(), 0440);
  ASSERT_TRUE(setTimes(at("source"), {1000, 1}, {2000, 999999999}));
  EXPECT_EQ(copyMetadata(), 0);
  EXPECT_EQ(facts("target").st_mode & 07777, 0440u);
  EXPECT_TRUE(isSameTime(facts("target").st_atim, {1000, 1}));
  EXPECT_TRUE(isSameTime(facts("target").st_mtim, {2000, 999999999}));
  EXPECT_EQ(attribute(at("target"), "user.first"), "one");
  EXPECT_EQ(attribute(at("target"), "user.empty"), "");
}

TEST_F(FileMetadataTest, KeepsTheSetIdBitsOfAnOwnerThatIsKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give files away";
  ASSERT_EQ(::chown(at("source").c_str(), 1, 2), 0);
  ASSERT_EQ(::chmod(at("source").c_str(), 06755), 0);
  EXPECT_EQ(copyMetadata(), 0);
  EXPECT_EQ(facts("target").st_uid, 1u);
  EXPECT_EQ(facts("target").st_gid, 2u);
  EXPECT_EQ(facts("target").st_mode & 07777, 06755u);
}

TEST_F(FileMetadataTest, DropsTheSetIdBitsOfAnOwnerThatCannotBeKept) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
  ASSERT_EQ(::chmod(at("source").c_str(), 06755), 0);
  ASSERT_EQ(::chown(at("target").c_str(), 65534, 65534), 0);
  EXPECT_EQ(runAsNobody([this] { return copyMetadata(); }), 0);
  EXPECT_EQ(facts("target").st_uid, 65534u);
  EXPECT_EQ(facts("target").st_mode & 07777, 0755u);
}

TEST_F(FileMetadataTest, CopiesTheTimesOfALinkAndNotOfItsTarget) {
  std::filesystem::create_symlink("source", at("link"));
  std::filesystem::create_symlink("source", at("copy"));
  const struct stat before = facts("source");
  ASSERT_TRUE(setTimes(at("link"), {1000, 1}, {2000, 2}));
  EXPECT_EQ(copyMetadata("link", "copy"), 0);
  EXPECT_TRUE(isSameTime(facts("copy").st_mtim, {2000, 2}));
  EXPECT_TRUE(isSameTime(facts("source").st_mtim, before.st_mtim));
}

TEST_F(FileMetadataTest, CopiesTheModeOfAnEntryThatIsNotOpened) {
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  ASSERT_EQ(::chmod(at("pipe").c_str(), 0666), 0);
  ASSERT_EQ(::mkfifo(at("copy").c_str(), 0600), 0);
  EXPECT_EQ(copyMetadata("pipe", "copy"), 0);
  EXPECT_EQ(facts("copy").st_mode & 07777, 0666u);
}

TEST_F(FileMetadataTest, MakesCopiesThatTheirOwnerCanComplete) {
  struct stat readOnly {};
  readOnly.st_mode = S_IFREG | 04444;
  EXPECT_EQ(FileMetadata().modeForCreation(readOnly), ::geteuid() == 0 ? 0444u : 0644u);
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
  EXPECT_EQ(runAsNobody([&] { return FileMetadata().modeForCreation(readOnly) == 0644 ? 0 : 1; }),
            0);
}

TEST_F(FileMetadataTest, TellsWhatFails) {
  const FileDescriptor from = open("source");
  const FileItem nothing{-1, -1, "missing"};
  EXPECT_NE(FileMetadata().copy({from.get()}, nothing, facts("source"), {0, 0, 0}), 0);
}

}  // namespace
}  // namespace kestova
