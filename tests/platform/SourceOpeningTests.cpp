// SPDX-License-Identifier: Apache-2.0
#include "files/SourceOpening.h"

#include <array>
#include <optional>
#include <string>

#include "ChildProcess.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::runAsNobody;
using testing::ScriptedFileSystemCalls;

class SourceOpeningTest : public testing::TransferFixture {
 protected:
  SourceOpeningTest() { ::chmod(at(".").c_str(), 0755); }  // for other users

  FileDescriptor openFile(const char* name) const { return openSourceFile(folder_.get(), name); }
  FileDescriptor openFolder(const char* name) const {
    return openSourceFolder(folder_.get(), name);
  }

  const FileDescriptor folder_{::open(at(".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

TEST_F(SourceOpeningTest, OpensAFileForReading) {
  write("a", "text");
  const FileDescriptor file = openFile("a");
  ASSERT_TRUE(file);
  std::array<char, 8> text{};
  EXPECT_EQ(::read(file.get(), text.data(), text.size()), 4);
  EXPECT_EQ(::fcntl(file.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(SourceOpeningTest, OpensAFolder) {
  makeFolder("tree");
  EXPECT_TRUE(openFolder("tree"));
  write("a", "text");
  EXPECT_FALSE(openFolder("a"));
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(SourceOpeningTest, SaysWhatIsMissing) {
  EXPECT_FALSE(openFile("missing"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(openFolder("missing"));
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(SourceOpeningTest, FollowsNoLinks) {
  write("a", "text");
  makeFolder("tree");
  std::filesystem::create_symlink("a", at("to-file"));
  std::filesystem::create_symlink("tree", at("to-folder"));
  EXPECT_FALSE(openFile("to-file"));
  EXPECT_EQ(errno, ELOOP);
  EXPECT_FALSE(openFolder("to-folder"));
}

TEST_F(SourceOpeningTest, DoesNotWaitForTheOtherEndOfAPipe) {
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  EXPECT_TRUE(openFile("pipe"));
}

TEST_F(SourceOpeningTest, LeavesTheAccessTimeAlone) {
  write("a", "text");
  makeFolder("tree");
  EXPECT_NE(::fcntl(openFile("a").get(), F_GETFL) & O_NOATIME, 0);
  EXPECT_NE(::fcntl(openFolder("tree").get(), F_GETFL) & O_NOATIME, 0);
}

TEST_F(SourceOpeningTest, OpensAnothersFileAllTheSame) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
  write("a", "text");
  const int flags = runAsNobody([&] {
    const FileDescriptor file = openFile("a");
    if (!file) return 1;
    return (::fcntl(file.get(), F_GETFL) & O_NOATIME) == 0 ? 0 : 2;
  });
  EXPECT_EQ(flags, 0);
}

TEST_F(SourceOpeningTest, TellsThatAFileMayNotBeRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
  write("a", "text");
  ::chmod(at("a").c_str(), 0600);
  const int error = runAsNobody([&] { return openFile("a") ? 0 : errno; });
  EXPECT_EQ(error, EACCES);
  EXPECT_TRUE(isPermissionError(EACCES));
  EXPECT_TRUE(isPermissionError(EPERM));
  EXPECT_FALSE(isPermissionError(ENOENT));
}

TEST_F(SourceOpeningTest, TriesAgainWhenASignalInterruptsIt) {
  write("a", "text");
  int tries = 0;
  ScriptedFileSystemCalls calls;
  calls.onOpen = [&](int, const std::string&, int) -> std::optional<int> {
    if (++tries < 3) return ScriptedFileSystemCalls::failure(EINTR);
    return std::nullopt;
  };
  EXPECT_TRUE(openFile("a"));
  EXPECT_EQ(tries, 3);
}

}  // namespace
}  // namespace kestova
