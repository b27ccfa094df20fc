// SPDX-License-Identifier: Apache-2.0
#include "files/FileSystemCalls.h"

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::ScriptedFileSystemCalls;

class FileSystemCallsTest : public testing::TransferFixture {
 protected:
  FileDescriptor openFile(const char* name, int flags = O_RDWR | O_CREAT | O_CLOEXEC) {
    return FileDescriptor(calls_.openat(folder_.get(), name, flags, 0640));
  }

  const FileDescriptor folder_{::open(at(".").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  FileSystemCalls calls_;
};

TEST_F(FileSystemCallsTest, AreTheRealOnesUnlessOthersAreInUse) {
  FileSystemCalls* const real = &FileSystemCalls::current();
  {
    ScriptedFileSystemCalls scripted;
    EXPECT_EQ(&FileSystemCalls::current(), &scripted);
  }
  EXPECT_EQ(&FileSystemCalls::current(), real);
}

TEST_F(FileSystemCallsTest, ReadAndWriteAtPlaces) {
  const FileDescriptor file = openFile("a");
  EXPECT_EQ(calls_.pwrite(file.get(), "text", 4, 2), 4);
  std::array<char, 8> text{};
  EXPECT_EQ(calls_.pread(file.get(), text.data(), text.size(), 3), 3);
  EXPECT_EQ(std::string(text.data()), "ext");
  EXPECT_EQ(read("a"), std::string("\0\0text", 6));
}

TEST_F(FileSystemCallsTest, CopyRanges) {
  write("a", "some text");
  const FileDescriptor from = openFile("a");
  const FileDescriptor to = openFile("b");
  off_t in = 5;
  off_t out = 0;
  EXPECT_EQ(calls_.copyFileRange(from.get(), &in, to.get(), &out, 100), 4);
  EXPECT_EQ(in, 9);
  EXPECT_EQ(read("b"), "text");
}

TEST_F(FileSystemCallsTest, SpliceThroughAPipe) {
  write("a", "some text");
  const FileDescriptor from = openFile("a");
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  const FileDescriptor out(ends[0]);
  const FileDescriptor in(ends[1]);
  off_t offset = 5;
  EXPECT_EQ(calls_.splice(from.get(), &offset, in.get(), nullptr, 100), 4);
  std::array<char, 8> text{};
  EXPECT_EQ(::read(out.get(), text.data(), text.size()), 4);
  EXPECT_EQ(std::string(text.data()), "text");
}

TEST_F(FileSystemCallsTest, ReserveSpaceAndFlush) {
  const FileDescriptor file = openFile("a");
  EXPECT_EQ(calls_.fallocate(file.get(), 0, 4096), 0);
  EXPECT_EQ(facts("a").st_size, 4096);
  EXPECT_EQ(calls_.fdatasync(file.get()), 0);
  EXPECT_EQ(calls_.syncfs(folder_.get()), 0);
}

TEST_F(FileSystemCallsTest, CloneWholeFilesOrSayWhyNot) {
  write("a", "text");
  const FileDescriptor from = openFile("a");
  const FileDescriptor to = openFile("b");
  if (calls_.clone(to.get(), from.get()) == 0) {
    EXPECT_EQ(read("b"), "text");
  } else {
    EXPECT_TRUE(errno == EOPNOTSUPP || errno == ENOTTY || errno == EXDEV) << errno;
  }
}

TEST_F(FileSystemCallsTest, RenameLinkAndUnlink) {
  write("a", "text");
  const int folder = folder_.get();
  EXPECT_EQ(calls_.linkat(folder, "a", folder, "b"), 0);
  EXPECT_EQ(facts("a").st_ino, facts("b").st_ino);
  constexpr unsigned kNoReplace = 1;
  EXPECT_EQ(calls_.renameat2(folder, "a", folder, "b", kNoReplace), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(calls_.renameat2(folder, "a", folder, "c", kNoReplace), 0);
  EXPECT_EQ(calls_.unlinkat(folder, "b", 0), 0);
  EXPECT_EQ(calls_.unlinkat(folder, "into", AT_REMOVEDIR), 0);
  EXPECT_EQ(list("."), std::set<std::string>{"c"});
}

TEST_F(FileSystemCallsTest, ListAFolderToItsEnd) {
  std::vector<char> buffer(4096);
  EXPECT_GT(calls_.getdents64(folder_.get(), buffer.data(), buffer.size()), 0);
  EXPECT_EQ(calls_.getdents64(folder_.get(), buffer.data(), buffer.size()), 0);
}

TEST_F(FileSystemCallsTest, GiveOneThreadAMaskOfItsOwn) {
  const mode_t before = ::umask(077);
  int result = -1;
  mode_t own = 1;
  std::thread([&] {
    result = calls_.clearOwnUmask();
    own = ::umask(0);
  }).join();
  EXPECT_EQ(::umask(before), 077u);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(own, 0u);
}

TEST(UninterruptedTest, RepeatsOnlyWhatASignalInterrupted) {
  int calls = 0;
  const auto failing = [&](int error) {
    return [&calls, error] {
      errno = ++calls < 3 ? EINTR : error;
      return -1;
    };
  };
  EXPECT_EQ(uninterrupted(failing(EIO)), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(uninterrupted([] { return 5; }), 5);
}

}  // namespace
}  // namespace kestova
