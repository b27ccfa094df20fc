// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSURLAdditions.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "ChildProcess.h"
#include "DeepFolders.h"
#include "ExceptionExpectation.h"
#include "MountedImage.h"
#include "MountedTmpfs.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::MountedTmpfs;

Ref<NSURL> fileURL(const std::string& path) {
  return NSURL::fileURLWithPath_isDirectory(NSString::stringWithFileSystemRepresentation(path),
                                            false);
}

std::string nameOf(const std::string& path) {
  const auto name = ov_volumeName(fileURL(path));
  return name ? name->fileSystemRepresentation() : "nothing";
}

std::string rootOf(const std::string& path) {
  const auto root = ov_volumeRootURL(fileURL(path));
  return root ? root->fileSystemRepresentation() : "nothing";
}

Ref<NSURL> urlOf(const char* text) { return NSURL::URLWithString(text); }

class NSURLAdditionsTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }

  testing::TemporaryFolder folder_;
};

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, AskingForTheVolumeOfWhatIsNoFileThrows) {
  for (const char* text : {"https://example.org/a", "a/b", "mailto:nobody@example.org"}) {
    const auto url = urlOf(text);
    const std::string reason = std::string("The url is not a file URL. ") + text;
    EXPECT_EQ(
        expectException(NSInvalidArgumentException, [&] { (void)ov_volumeName(url); }).reason(),
        reason);
    EXPECT_EQ(
        expectException(NSInvalidArgumentException, [&] { (void)ov_volumeRootURL(url); }).reason(),
        reason);
  }
}

// Shows: ov_volumeRootURL, ov_volumeName
TEST_F(NSURLAdditionsTests, TheRootIsOnTheStartupVolume) {
  EXPECT_TRUE(ov_volumeRootURL(fileURL("/"))->isEqual(urlOf("file:///")));
  EXPECT_TRUE(ov_volumeRootURL(fileURL("/no such item/at all"))->isEqual(urlOf("file:///")));
  EXPECT_NE(nameOf("/"), "nothing");
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, WhatIsNotThereYetIsOnTheVolumeOfTheFolderAbove) {
  EXPECT_EQ(nameOf("/no such item/at all"), nameOf("/"));
  const MountedTmpfs volume(at("Holiday"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  ::mkdir(volume.at("folder").c_str(), 0755);
  std::ofstream(volume.at("file")) << "x";
  for (const char* path : {"folder", "folder/new", "folder/new/newer", "file/below", "file"}) {
    EXPECT_EQ(nameOf(volume.at(path)), "Holiday") << path;
    EXPECT_EQ(rootOf(volume.at(path)), volume.path()) << path;
  }
  EXPECT_EQ(nameOf(volume.path()), "Holiday");
  EXPECT_TRUE(ov_volumeRootURL(fileURL(volume.at("new")))->hasDirectoryPath());
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, AVolumeHasTheNameOfItsLabel) {
  const testing::MountedImage volume(at("disk"), "ext4", "16M", "-L Winter");
  if (!volume.isMounted()) GTEST_SKIP() << "no ext4 can be mounted here";
  EXPECT_EQ(nameOf(volume.at("new")), "Winter");
  EXPECT_EQ(rootOf(volume.at("new")), at("disk"));
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, NamesOfVolumesMayHaveAnyBytes) {
  const MountedTmpfs volume(at("line\nfeed \xFF"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  EXPECT_EQ(nameOf(volume.at("\xFE\n")), "line\nfeed \xFF");
  EXPECT_EQ(rootOf(volume.at("\xFE\n")), volume.path());
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, ANameThatNoFileCanHaveCountsAsMissing) {
  EXPECT_EQ(ov_volumeName(urlOf("file:///a%00b/c")), nameOf("/"));
  EXPECT_TRUE(ov_volumeRootURL(urlOf("file:///a%00b/c"))->isEqual(urlOf("file:///")));
  EXPECT_EQ(nameOf("/" + std::string(5000, 'x') + "/y"), nameOf("/"));
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, LinksThatLeadToEachOtherCountAsMissing) {
  std::filesystem::create_symlink("b", at("a"));
  std::filesystem::create_symlink("a", at("b"));
  EXPECT_EQ(nameOf(at("a/b/c")), nameOf(folder_.path()));
  EXPECT_EQ(rootOf(at("a/b/c")), rootOf(folder_.path()));
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, BehindALinkTheNameIsThatOfItsEndAndTheRootThatOfTheLink) {
  const MountedTmpfs volume(at("Holiday"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  std::ofstream(volume.at("file")) << "x";
  std::filesystem::create_symlink(volume.path(), at("link"));
  EXPECT_EQ(nameOf(at("link/file")), "Holiday");
  EXPECT_EQ(rootOf(at("link/file")), rootOf(folder_.path()));
  EXPECT_EQ(nameOf(at("link")), nameOf(folder_.path()));
}

// Shows: ov_volumeName, ov_volumeRootURL
TEST_F(NSURLAdditionsTests, PathsMayBeLongerThanASystemCallTakes) {
  const std::string name(250, 'd');
  testing::makeDeepFolders(folder_.path(), 30, name);
  std::string deep = folder_.path();
  for (int level = 0; level < 30; ++level) deep += "/" + name;
  EXPECT_EQ(nameOf(deep), nameOf(folder_.path()));
  EXPECT_EQ(nameOf(deep + "/missing/below"), nameOf(folder_.path()));
  EXPECT_EQ(rootOf(deep), rootOf(folder_.path()));
}

/// Asks on a thread of its own that has only the rights of nobody.
class AskingThread {
 public:
  explicit AskingThread(const std::string& path)
      : thread_([this, path] {
          constexpr uid_t kNobody = 65534;
          // The call itself, because that of the library changes all threads.
          ::syscall(SYS_setresuid, -1, kNobody, -1);
          identifier_ = ::gettid();
          answer_ = nameOf(path);
          isAnswered_ = true;
        }) {}

  bool isAnswered() const { return isAnswered_; }

  std::string answer() {
    thread_.join();
    return answer_;
  }

  /// Returns when it has gone to sleep, and so been refused, so many times more.
  void waitForSleeps(long count) const {
    while (identifier_ == 0) std::this_thread::yield();
    for (const long first = sleeps(); sleeps() < first + count && !isAnswered_;) {
      std::this_thread::yield();
    }
  }

 private:
  long sleeps() const {
    std::ifstream status("/proc/self/task/" + std::to_string(identifier_) + "/status");
    constexpr std::string_view kName = "voluntary_ctxt_switches:";
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with(kName)) return std::stol(line.substr(kName.size()));
    }
    return 0;
  }

  std::atomic<pid_t> identifier_ = 0;
  std::atomic<bool> isAnswered_ = false;
  std::string answer_;
  std::thread thread_;
};

// Shows: ov_volumeName
TEST_F(NSURLAdditionsTests, WhatMayNotBeLookedAtIsAskedAgainUntilItMay) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give up its rights";
  ::chmod(folder_.path().c_str(), 0700);
  AskingThread asking(at("missing/below"));
  asking.waitForSleeps(6);
  EXPECT_FALSE(asking.isAnswered());
  ::chmod(folder_.path().c_str(), 0755);
  EXPECT_EQ(asking.answer(), nameOf(folder_.path()));
}

// Shows: ov_volumeName
TEST_F(NSURLAdditionsTests, APathThatRunsOutBelowVolumesHasItsNameThere) {
  EXPECT_EQ(ov_volumeName(urlOf("file:Volumes/Stick/no/such/item")), "Stick");
  EXPECT_EQ(ov_volumeName(urlOf("file:Volumes/Stick")), "Stick");
}

// Shows: ov_volumeName
TEST_F(NSURLAdditionsTests, ForAnyOtherPathThatRunsOutTheNameOfTheStartupVolumeIsAFailure) {
  for (const char* text : {"file:Volumes", "file:no/such/item", "file:volumes/Stick"}) {
    const auto exception = expectException(NSInternalInconsistencyException,
                                           [&] { (void)ov_volumeName(urlOf(text)); });
    EXPECT_TRUE(exception.reason()->hasPrefix("Cannot get the name of the startup volume. "));
    EXPECT_NE(exception.reason()->rangeOfString("Code=4").location, NSNotFound)
        << exception.reason();
  }
  EXPECT_EQ(
      expectException(NSInternalInconsistencyException, [] { (void)ov_volumeName(urlOf("file:")); })
          .reason(),
      "Cannot get the name of the startup volume. (null)");
}

// Shows: ov_volumeName
TEST_F(NSURLAdditionsTests, WhereTheStartupVolumeHasNoNameNothingIsTheAnswer) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can hide the table of mounts";
  const int status = testing::runInChild([] {
    const bool isReady = ::unshare(CLONE_NEWNS) == 0 &&
                         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         ::mount("tmpfs", "/proc", "tmpfs", 0, nullptr) == 0;
    return isReady && !ov_volumeName(urlOf("file:no/such/item")) &&
                   ov_volumeName(urlOf("file:Volumes/Stick"))->isEqual("Stick")
               ? 0
               : 1;
  });
  EXPECT_EQ(status, 0);
}

// Shows: ov_volumeName
TEST_F(NSURLAdditionsTests, ARelativePathThatIsThereIsAskedForItsName) {
  EXPECT_EQ(testing::runInChild([&] {
              ::mkdir(at("Volumes").c_str(), 0755);
              const auto expected = nameOf(folder_.path());
              return ::chdir(folder_.path().c_str()) == 0 &&
                             ov_volumeName(urlOf("file:Volumes/Stick")) == expected
                         ? 0
                         : 1;
            }),
            0);
}

// Shows: ov_volumeRootURL
TEST_F(NSURLAdditionsTests, TheRootOfAPathThatRunsOutIsNothing) {
  EXPECT_EQ(ov_volumeRootURL(urlOf("file:no/such/item")), nullptr);
  EXPECT_EQ(ov_volumeRootURL(urlOf("file:")), nullptr);
}

}  // namespace
}  // namespace kestova
