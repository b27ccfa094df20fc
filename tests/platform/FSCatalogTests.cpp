// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FSCatalog.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "DeepFolders.h"
#include "RandomRun.h"
#include "ShellRun.h"
#include "TemporaryFolder.h"
#include "files/FileSystemCalls.h"

namespace kestova {
namespace {

using testing::RandomRun;
using testing::runShell;

/// Does something whenever a folder's listing is read, or lets it fail.
class WatchedListings : public FileSystemCalls {
 public:
  /// Answers 0, or the error number with which the reading is to fail.
  using Action = std::function<int(int folder)>;

  explicit WatchedListings(Action action) : action_(std::move(action)) { setCurrent(this); }
  ~WatchedListings() override { setCurrent(nullptr); }

  ssize_t getdents64(int folder, void* buffer, std::size_t size) override {
    const ssize_t result = FileSystemCalls::getdents64(folder, buffer, size);
    if (const int error = action_(folder)) {
      errno = error;
      return -1;
    }
    return result;
  }

 private:
  Action action_;
};

std::string pathOf(int folder) {
  std::array<char, 4096> path{};
  const auto link = "/proc/self/fd/" + std::to_string(folder);
  const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
  return {path.data(), static_cast<std::size_t>(length)};
}

class FSCatalogTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }
  void write(const std::string& name, std::size_t size) const {
    folder_.write(name, std::string(size, 'x'));
  }
  void makeFolder(const std::string& name) const { ::mkdir(at(name).c_str(), 0755); }

  static FSIterator opened(const std::string& path) {
    FSIterator iterator;
    EXPECT_EQ(FSOpenIterator({path}, kFSIterateFlat, &iterator), noErr) << path;
    return iterator;
  }

  static OSStatus statusOfOpening(const std::string& path) {
    FSIterator iterator;
    const OSStatus status = FSOpenIterator({path}, kFSIterateFlat, &iterator);
    EXPECT_EQ(status == noErr, iterator != nullptr);
    return status;
  }

  static FSCatalogInfo sumsOf(const std::string& path, OSStatus expected = noErr) {
    FSCatalogInfo sums;
    EXPECT_EQ(FSGetSubtreeInfo(opened(path), &sums), expected) << path;
    return sums;
  }

  /// What is listed, by path, read so many at a time.
  static std::map<std::string, FSCatalogInfo> listed(const std::string& path, std::size_t maximum) {
    std::map<std::string, FSCatalogInfo> found;
    const FSIterator iterator = opened(path);
    std::vector<FSCatalogInfo> infos(maximum);
    std::vector<FSRef> items(maximum);
    OSStatus status = noErr;
    while (status == noErr) {
      std::size_t count = 0;
      status = FSGetCatalogInfoBulk(iterator, maximum, &count, infos.data(), items.data());
      EXPECT_EQ(status == noErr, count == maximum);
      for (std::size_t index = 0; index < count; ++index) {
        EXPECT_TRUE(found.emplace(items[index].path, infos[index]).second) << items[index].path;
      }
    }
    EXPECT_EQ(status, errFSNoMoreItems);
    return found;
  }

  /// The total that du finds for everything but folders, each name of a file counted.
  static std::uint64_t duOf(const std::string& path, const std::string& option) {
    const auto result =
        runShell(path, "find . ! -type d -print0 | du -lc -B1 " + option + " --files0-from=-");
    const auto lines = result.lines();
    return lines.empty() ? 0 : std::stoull(lines.back());
  }

  static void expectAsDu(const std::string& path) {
    const FSCatalogInfo sums = sumsOf(path);
    EXPECT_EQ(sums.dataLogicalSize, duOf(path, "--apparent-size"));
    EXPECT_EQ(sums.dataPhysicalSize, duOf(path, ""));
    EXPECT_EQ(sums.rsrcLogicalSize, 0U);
    EXPECT_EQ(sums.rsrcPhysicalSize, 0U);
  }

  testing::TemporaryFolder folder_;
};

TEST_F(FSCatalogTests, OnlyFoldersAreOpened) {
  write("file", 1);
  ASSERT_EQ(::symlink(".", at("link").c_str()), 0);
  EXPECT_EQ(statusOfOpening(at("")), noErr);
  EXPECT_EQ(statusOfOpening(at("file")), -1407);
  EXPECT_EQ(statusOfOpening(at("link")), -1407);
  EXPECT_EQ(statusOfOpening(at("missing")), -43);
  EXPECT_EQ(statusOfOpening(""), -43);
}

TEST_F(FSCatalogTests, AFolderThatMayNotBeReadIsNotOpened) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become nobody";
  makeFolder("locked");
  ::chmod(at("locked").c_str(), 0700);
  ::chmod(at("").c_str(), 0755);
  EXPECT_EQ(testing::runAsNobody([&] { return statusOfOpening(at("locked")) == -5000 ? 0 : 1; }),
            0);
}

TEST_F(FSCatalogTests, AnItemTellsItsKindAndSizes) {
  write("file", 1000);
  makeFolder("folder");
  ASSERT_EQ(::symlink("folder", at("link").c_str()), 0);
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  auto items = listed(at(""), 256);
  ASSERT_EQ(items.size(), 4U);
  EXPECT_EQ(items[at("file")].nodeFlags, 0);
  EXPECT_EQ(items[at("file")].dataLogicalSize, 1000U);
  EXPECT_GE(items[at("file")].dataPhysicalSize, 1000U);
  EXPECT_EQ(items[at("folder")].nodeFlags, 0x10);
  EXPECT_EQ(items[at("folder")].dataLogicalSize, 0U);
  EXPECT_EQ(items[at("link")].nodeFlags, 0);
  EXPECT_EQ(items[at("link")].dataLogicalSize, 6U);
  EXPECT_EQ(items[at("pipe")].dataLogicalSize, 0U);
  for (const auto& [path, listedInfo] : items) {
    FSCatalogInfo info;
    ASSERT_EQ(FSGetCatalogInfo({path}, &info), noErr);
    EXPECT_EQ(info.nodeFlags, listedInfo.nodeFlags) << path;
    EXPECT_EQ(info.dataLogicalSize, listedInfo.dataLogicalSize) << path;
    EXPECT_EQ(info.dataPhysicalSize, listedInfo.dataPhysicalSize) << path;
  }
}

TEST_F(FSCatalogTests, TheLastItemsComeWithTheStatusThatThereAreNoMore) {
  for (int number = 0; number < 600; ++number) write(std::to_string(number), 0);
  const FSIterator iterator = opened(at(""));
  std::array<FSCatalogInfo, 256> infos;
  std::size_t count = 0;
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, infos.data(), nullptr), noErr);
  EXPECT_EQ(count, 256U);
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, nullptr, nullptr), noErr);
  EXPECT_EQ(count, 256U);
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, infos.data(), nullptr), -1417);
  EXPECT_EQ(count, 88U);
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, infos.data(), nullptr), -1417);
  EXPECT_EQ(count, 0U);
}

TEST_F(FSCatalogTests, ItemsComeOnceHoweverManyAreTakenAtATime) {
  for (int number = 0; number < 300; ++number) write(std::to_string(number), 0);
  for (const std::size_t maximum : {1, 2, 7, 100, 299, 300, 301, 5000}) {
    EXPECT_EQ(listed(at(""), maximum).size(), 300U) << maximum;
  }
}

TEST_F(FSCatalogTests, NothingIsReadThroughAClosedOrMissingIterator) {
  const FSIterator iterator = opened(at(""));
  std::size_t count = 7;
  FSCatalogInfo info;
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 0, &count, nullptr, nullptr), -50);
  EXPECT_EQ(FSCloseIterator(iterator), noErr);
  EXPECT_EQ(FSCloseIterator(iterator), -50);
  EXPECT_EQ(FSCloseIterator(nullptr), -50);
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 1, &count, &info, nullptr), -50);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(FSGetCatalogInfoBulk(nullptr, 1, &count, &info, nullptr), -50);
  EXPECT_EQ(FSGetSubtreeInfo(iterator, &info), -50);
  EXPECT_EQ(FSGetSubtreeInfo(nullptr, &info), -50);
}

TEST_F(FSCatalogTests, AListingThatFailsGivesNoItems) {
  write("file", 1);
  const FSIterator iterator = opened(at(""));
  const WatchedListings failing([](int) { return EIO; });
  std::size_t count = 7;
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, nullptr, nullptr), -36);
  EXPECT_EQ(count, 0U);
}

TEST_F(FSCatalogTests, AnItemThatGoesAfterItWasListedIsLeftOut) {
  write("stays", 1);
  write("goes", 1);
  const WatchedListings removing([&](int) { return ::unlink(at("goes").c_str()), 0; });
  const auto items = listed(at(""), 256);
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items.begin()->first, at("stays"));
}

TEST_F(FSCatalogTests, AFolderThatIsRemovedWhileItIsOpenHasNoMoreItems) {
  makeFolder("goes");
  const FSIterator iterator = opened(at("goes"));
  ASSERT_EQ(::rmdir(at("goes").c_str()), 0);
  std::size_t count = 0;
  FSCatalogInfo sums;
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, nullptr, nullptr), -1417);
  EXPECT_EQ(FSGetSubtreeInfo(iterator, &sums), noErr);
  EXPECT_EQ(sums.dataLogicalSize, 0U);
}

TEST_F(FSCatalogTests, AMissingItemHasNoInfo) {
  FSCatalogInfo info;
  info.dataLogicalSize = 7;
  EXPECT_EQ(FSGetCatalogInfo({at("missing")}, &info), -43);
  EXPECT_EQ(FSGetCatalogInfo({""}, &info), -43);
  EXPECT_EQ(info.dataLogicalSize, 7U);
}

TEST_F(FSCatalogTests, ATreeHasTheSizesThatDuFinds) {
  makeFolder("a");
  makeFolder("a/b");
  makeFolder("a/empty");
  write("file", 1000);
  write("a/file", 100000);
  write("a/b/\n\xFF", 1);
  write("a/b/" + std::string(255, 'n'), 4097);
  ASSERT_EQ(::link(at("file").c_str(), at("a/same file").c_str()), 0);
  ASSERT_EQ(::symlink("..", at("a/b/loop").c_str()), 0);
  ASSERT_EQ(::symlink("nowhere at all", at("a/broken").c_str()), 0);
  ASSERT_EQ(::mkfifo(at("a/pipe").c_str(), 0600), 0);
  write("a/hole", 1);
  ASSERT_EQ(::truncate(at("a/hole").c_str(), 10 << 20), 0);
  expectAsDu(at(""));
  EXPECT_EQ(sumsOf(at("")).dataLogicalSize,
            1000U + 100000 + 1 + 4097 + 1000 + 2 + 14 + (10U << 20U));
}

TEST_F(FSCatalogTests, RandomTreesHaveTheSizesThatDuFinds) {
  RandomRun random;
  std::vector<std::string> folders = {""};
  for (int step = 0; step < 1500; ++step) {
    const std::string name = folders[random.below(folders.size())] + "/" + std::to_string(step);
    if (random.below(10) == 0) {
      makeFolder(name);
      folders.push_back(name);
    } else {
      write(name, random.below(3) == 0 ? 0 : random.below(20000));
    }
  }
  expectAsDu(at(""));
}

TEST_F(FSCatalogTests, ALargeFolderIsAddedUpWhole) {
  for (int number = 0; number < 5000; ++number) write(std::to_string(number), 3);
  EXPECT_EQ(sumsOf(at("")).dataLogicalSize, 15000U);
}

TEST_F(FSCatalogTests, TheIteratorsPlaceMakesNoDifferenceToTheSums) {
  for (int number = 0; number < 10; ++number) write(std::to_string(number), 3);
  const FSIterator iterator = opened(at(""));
  std::size_t count = 0;
  FSCatalogInfo sums;
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 5, &count, nullptr, nullptr), noErr);
  EXPECT_EQ(FSGetSubtreeInfo(iterator, &sums), noErr);
  EXPECT_EQ(sums.dataLogicalSize, 30U);
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 256, &count, nullptr, nullptr), errFSNoMoreItems);
  EXPECT_EQ(count, 5U);
}

TEST_F(FSCatalogTests, FoldersBeyondTheLongestPathAreAddedUp) {
  const std::size_t bytes = testing::makeDeepFolders(at(""), 5000);
  ASSERT_EQ(bytes, 50U);
  EXPECT_EQ(sumsOf(at("")).dataLogicalSize, 50U);
  EXPECT_EQ(runShell(at(""), "rm -r d").exitStatus, 0);
}

TEST_F(FSCatalogTests, AFolderThatMayNotBeReadIsToldAndTheRestAddedUp) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become nobody";
  makeFolder("locked");
  write("locked/secret", 100);
  write("file", 7);
  ::chmod(at("locked").c_str(), 0700);
  ::chmod(at("").c_str(), 0755);
  EXPECT_EQ(testing::runAsNobody([&] {
              const FSIterator iterator = opened(at(""));
              FSCatalogInfo sums;
              return FSGetSubtreeInfo(iterator, &sums) == -5000 ? int(sums.dataLogicalSize) : 1;
            }),
            7);
}

TEST_F(FSCatalogTests, AFolderWhoseListingFailsIsToldAndTheRestAddedUp) {
  makeFolder("bad");
  write("bad/file", 100);
  makeFolder("good");
  write("good/file", 7);
  const WatchedListings failing([&](int folder) { return pathOf(folder) == at("bad") ? EIO : 0; });
  EXPECT_EQ(sumsOf(at(""), ioErr).dataLogicalSize, 7U);
}

TEST_F(FSCatalogTests, WhatVanishesDuringAWalkIsNoFailure) {
  makeFolder("goes");
  write("goes/file", 100);
  write("goes too", 100);
  write("stays", 7);
  const WatchedListings removing([&](int folder) {
    if (pathOf(folder) + "/" == at("")) {
      ::unlink(at("goes/file").c_str());
      ::rmdir(at("goes").c_str());
      ::unlink(at("goes too").c_str());
    }
    return 0;
  });
  EXPECT_EQ(sumsOf(at("")).dataLogicalSize, 7U);
}

TEST_F(FSCatalogTests, FoldersThatMoveAwayDuringADeepWalkEndNothing) {
  // More levels than are kept open at a time, in each a second folder that is looked at on the way
  // back, when the way to it is gone.
  testing::makeDeepFolders(at(""), 300);
  std::string path = at("");
  for (int level = 0; level < 300; ++level) {
    ::mkdir((path + "/e").c_str(), 0755);
    path += "/d";
  }
  write("last", 7);
  std::atomic<bool> isMoved = false;  // listings are read on two threads
  const WatchedListings moving([&](int folder) {
    if (pathOf(folder).size() > at("").size() + 500 &&
        ::rename(at("d").c_str(), at("moved").c_str()) == 0) {
      isMoved = true;
    }
    return 0;
  });
  const FSCatalogInfo sums = sumsOf(at(""));
  EXPECT_TRUE(isMoved);
  EXPECT_GE(sums.dataLogicalSize, 7U);
  EXPECT_LE(sums.dataLogicalSize, 10U);
}

}  // namespace
}  // namespace kestova
