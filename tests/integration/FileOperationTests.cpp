// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVFileOperation.h>
#include <KestovaPlatform/NSLog.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "FileAttributes.h"
#include "MountedImage.h"
#include "MountedTmpfs.h"
#include "TemporaryFolder.h"
#include "TreeDifferences.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::CapturedLog;
using testing::MountedImage;
using testing::MountedTmpfs;
using testing::TemporaryFolder;
using testing::treeDifferences;
using Lines = std::vector<std::string>;
using Names = std::set<std::string>;

#define REQUIRE_ROOT() \
  if (::geteuid() != 0) GTEST_SKIP() << "only root can mount a file system"
#define REQUIRE_RSYNC() \
  if (std::system("rsync --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "rsync is missing"

class Listener : public OVFileOperationDelegate {
 public:
  int ends = 0;
  OSStatus endStatus = -1;
  std::function<void(const Ref<OVFileOperation>&)> whenChanged;

  void fileOperationStatusChanged(const Ref<OVFileOperation>& operation) override {
    if (whenChanged) whenChanged(operation);
  }
  void fileOperationDidFinish_error(const Ref<OVFileOperation>&, OSStatus error) override {
    ++ends;
    endStatus = error;
  }
};

/// File operations as an application has them, on whole volumes and big trees.
class FileOperationTest : public ::testing::Test {
 protected:
  FileOperationTest() {
    fs::create_directory(at("into"));
    operation_->setDelegate(&listener_);
  }
  ~FileOperationTest() override {
    if (operation_) operation_->setDelegate(nullptr);
  }

  std::string at(const std::string& name) const { return folder_.at(name); }
  std::string write(const std::string& name, std::size_t size, char filling = 'x') const {
    return folder_.write(name, std::string(size, filling));
  }
  OSStatus copy(const std::string& from, const std::string& to, OptionBits options = 0) {
    return operation_->copyFromPath_toPath_options(from, to, options);
  }
  OSStatus move(const std::string& from, const std::string& to, OptionBits options = 0) {
    return operation_->moveFromPath_toPath_options(from, to, options);
  }
  /// Copies many items at once and serves the run loop until all have ended.
  void copyAll(const Ref<NSArray>& from, const Ref<NSArray>& to, OptionBits options = 0) {
    ASSERT_TRUE(operation_->beginCopyItemsAtPaths_toPaths_options_error(from, to, options));
    while (operation_->isExecuting()) {
      ASSERT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), kCFRunLoopRunHandledSource);
    }
  }
  /// So many files of all lengths up to a few kilobytes, a hundred to a folder, and what else a
  /// tree may hold.
  void makeTree(const std::string& name, int count) const {
    for (int file = 0; file < count; ++file) {
      const std::string folder = name + "/" + std::to_string(file / 100);
      if (file % 100 == 0) fs::create_directories(at(folder));
      write(folder + "/" + std::to_string(file), static_cast<std::size_t>(file * 7 % 5000),
            static_cast<char>('a' + file % 26));
    }
    fs::create_symlink("0/1", at(name + "/link"));
    fs::create_hard_link(at(name + "/0/1"), at(name + "/second name"));
    fs::create_directory(at(name + "/.empty"));
    fs::permissions(at(name + "/0/2"), fs::perms::owner_read);
    testing::setAttribute(at(name + "/0/3"), "user.comment", "kept");
    testing::setTimes(at(name + "/0"), {1000, 1}, {2000, 999999999});
  }
  static Names list(const std::string& path) {
    Names names;
    for (const auto& entry : fs::directory_iterator(path)) names.insert(entry.path().filename());
    return names;
  }

  TemporaryFolder folder_;
  Listener listener_;
  Ref<OVFileOperation> operation_ = OVFileOperation::init();
};

// Shows: beginCopyItemsAtPaths_toPaths_options_error, fileOperationDidFinish_error
TEST_F(FileOperationTest, AnItemTooLargeForTheVolumeFailsAndTheOthersArrive) {
  REQUIRE_ROOT();
  const MountedTmpfs volume(at("volume"), "size=1m");
  ASSERT_TRUE(volume.isMounted());
  const CapturedLog log;
  copyAll(NSArray::of(write("first", 10000), write("large", 4 << 20), write("last", 20000)),
          NSArray::of(volume.at("first"), volume.at("large"), volume.at("last")));
  EXPECT_EQ(log.lines(), Lines{"Error -34"});
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_EQ(list(volume.path()), (Names{"first", "last"}));
  EXPECT_EQ(fs::file_size(volume.at("first")), 10000u);
  EXPECT_EQ(fs::file_size(volume.at("last")), 20000u);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(FileOperationTest, AVolumeThatFillsUpOnTheWayKeepsNothingHalfWritten) {
  REQUIRE_ROOT();
  const MountedTmpfs volume(at("volume"), "size=1m");
  ASSERT_TRUE(volume.isMounted());
  fs::create_directory(at("tree"));
  for (int file = 0; file < 40; ++file) write("tree/" + std::to_string(file), 100000);
  const CapturedLog log;
  copyAll(NSArray::of(at("tree"), write("small", 10000)),
          NSArray::of(volume.at("tree"), at("into/small")), kFSFileOperationSkipPreflight);
  EXPECT_EQ(log.lines(), Lines{"Error -34"});
  EXPECT_EQ(listener_.ends, 1);
  EXPECT_TRUE(fs::is_empty(volume.path()));
  EXPECT_EQ(fs::file_size(at("into/small")), 10000u);
}

/// Whether the first extent of a file is shared with another file.
bool sharesItsBlocks(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  alignas(fiemap) std::array<char, sizeof(fiemap) + sizeof(fiemap_extent)> room{};
  auto* map = reinterpret_cast<fiemap*>(room.data());
  map->fm_length = FIEMAP_MAX_OFFSET;
  map->fm_flags = FIEMAP_FLAG_SYNC;
  map->fm_extent_count = 1;
  const bool answered = ::ioctl(file, FS_IOC_FIEMAP, map) == 0;
  ::close(file);
  return answered && map->fm_mapped_extents == 1 &&
         (map->fm_extents[0].fe_flags & FIEMAP_EXTENT_SHARED) != 0;
}

// Shows: copyFromPath_toPath_options
TEST_F(FileOperationTest, BlocksAreSharedWhereTheVolumeCanShareThem) {
  REQUIRE_ROOT();
  const MountedImage volume(at("volume"), "btrfs", "128M");
  if (!volume.isMounted()) GTEST_SKIP() << "mkfs.btrfs or the kernel's btrfs is missing";
  write("volume/original", 20 << 20);
  EXPECT_EQ(copy(at("volume/original"), at("volume/copy")), noErr);
  EXPECT_TRUE(sharesItsBlocks(at("volume/copy")));
  EXPECT_EQ(folder_.read("volume/copy"), folder_.read("volume/original"));

  EXPECT_EQ(copy(at("volume/original"), at("into/copy")), noErr);
  EXPECT_EQ(folder_.read("into/copy"), folder_.read("volume/original"));
}

// Shows: copyFromPath_toPath_options
TEST_F(FileOperationTest, ACopyToAReadOnlyVolumeIsRefusedAsWriteProtected) {
  REQUIRE_ROOT();
  const MountedTmpfs volume(at("volume"), "size=1m");
  ASSERT_TRUE(volume.isMounted());
  volume.makeReadOnly();
  const CapturedLog log;
  EXPECT_EQ(copy(write("a", 10), volume.at("a")), -44);
  EXPECT_EQ(log.lines(), Lines{"Error -44"});
  EXPECT_TRUE(fs::is_empty(volume.path()));
}

// Shows: copyFromPath_toPath_options, objectsComplete, objectsRemaining
TEST_F(FileOperationTest, ATreeOfTenThousandFilesArrivesAsItIs) {
  REQUIRE_RSYNC();
  makeTree("tree", 10000);
  EXPECT_EQ(copy(at("tree"), at("into/copy")), 0);
  EXPECT_EQ(treeDifferences(at("tree"), at("into/copy")), "");
  EXPECT_EQ(list(at("into")), Names{"copy"});
  EXPECT_EQ(operation_->objectsComplete(), 10000u + 100 + 4);
  EXPECT_EQ(operation_->objectsRemaining(), 0u);
}

// Shows: copyFromPath_toPath_options
TEST_F(FileOperationTest, AHundredLevelsOfFoldersArriveAsTheyAre) {
  REQUIRE_RSYNC();
  std::string path = "tree";
  for (int level = 1; level < 100; ++level) path += "/level " + std::to_string(level);
  fs::create_directories(at(path));
  write(path + "/deepest", 1000);
  EXPECT_EQ(copy(at("tree"), at("into/copy")), 0);
  EXPECT_EQ(treeDifferences(at("tree"), at("into/copy")), "");
  path.replace(0, 4, "into/copy");
  EXPECT_EQ(fs::file_size(at(path + "/deepest")), 1000u);
}

// Shows: beginCopyItemsAtPaths_toPaths_options_error
TEST_F(FileOperationTest, NamesThatAreNoUTF8ArriveByteForByte) {
  const Names names = {"\xFF", "\xC3(", "a\xED\xA0\x80z", "line\nbreak", "\xE4\xF6\xFC.txt"};
  const std::string top = "odd-\xFE\xFF";
  fs::create_directory(at(top));
  for (const std::string& name : names) write(top + "/" + name, 10);
  const auto text = [this](const std::string& name) {
    return NSString::stringWithFileSystemRepresentation(at(name));
  };
  copyAll(NSArray::of(text(top)), NSArray::of(text("into/" + top)));
  EXPECT_EQ(listener_.endStatus, 0);
  EXPECT_EQ(list(at("into")), Names{top});
  EXPECT_EQ(list(at("into/" + top)), names);
}

// Shows: moveFromPath_toPath_options
TEST_F(FileOperationTest, AMoveAcrossVolumesBringsAllAndLeavesNothing) {
  REQUIRE_ROOT();
  REQUIRE_RSYNC();
  const MountedTmpfs first(at("first"), "size=64m");
  const MountedTmpfs second(at("second"), "size=64m");
  ASSERT_TRUE(first.isMounted() && second.isMounted());
  makeTree("first/tree", 500);
  ASSERT_EQ(copy(first.at("tree"), at("into/reference")), 0);
  ASSERT_EQ(treeDifferences(first.at("tree"), at("into/reference")), "");
  const CapturedLog log;
  EXPECT_EQ(move(first.at("tree"), second.at("tree"), kFSFileOperationDoNotMoveAcrossVolumes),
            -1303);
  EXPECT_EQ(log.lines(), Lines{"Error -1303"});
  EXPECT_EQ(list(first.path()), Names{"tree"});
  EXPECT_EQ(move(first.at("tree"), second.at("tree")), 0);
  EXPECT_EQ(treeDifferences(at("into/reference"), second.at("tree")), "");
  EXPECT_TRUE(fs::is_empty(first.path()));
  EXPECT_EQ(list(second.path()), Names{"tree"});
}

// Shows: cancel, beginCopyFromPath_toPath_options, isCancelled, fileOperationDidFinish_error
TEST_F(FileOperationTest, ACopyCancelledInTheMiddleLeavesAnEmptyFolder) {
  makeTree("tree", 10000);
  listener_.whenChanged = [](const Ref<OVFileOperation>& operation) {
    if (operation->bytesComplete() > 0) operation->cancel();
  };
  ASSERT_EQ(operation_->beginCopyFromPath_toPath_options(at("tree"), at("into/copy"), 0), 0);
  while (!operation_->isCancelled()) {
    ASSERT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), kCFRunLoopRunHandledSource);
  }
  EXPECT_LT(operation_->objectsComplete(), 10000u) << "it was over already";
  operation_->setDelegate(nullptr);
  operation_ = nullptr;
  EXPECT_TRUE(fs::is_empty(at("into")));
  EXPECT_EQ(listener_.ends, 0);
}

/// A copy over an existing tree by a process that somebody kills.
class KilledFileOperationTest : public FileOperationTest {
 protected:
  static constexpr int kFiles = 500;

  void makeVersion(const std::string& name, char filling) const {
    fs::create_directory(at(name));
    for (int file = 0; file < kFiles; ++file) {
      write(name + "/" + std::to_string(file), 2000, filling);
    }
  }
  /// What all files of a version hold; '?' for a mixture or a version that is not whole.
  char version(const std::string& name) const {
    const Names names = list(at(name));
    const std::string expected = folder_.read(name + "/0");
    const bool whole = names.size() == kFiles && expected.size() == 2000 &&
                       std::all_of(names.begin(), names.end(), [&](const std::string& each) {
                         return folder_.read(name + "/" + each) == expected;
                       });
    return whole ? expected.front() : '?';
  }
  /// How many files lie beneath the destination folder, but for the item itself.
  int filesOnTheWay() const {
    int count = 0;
    std::error_code gone;
    for (fs::recursive_directory_iterator entry(at("into"), gone), end; entry != end;
         entry.increment(gone)) {
      if (entry->path() == at("into/item")) entry.disable_recursion_pending();
      if (entry.depth() > 0) ++count;
    }
    return count;
  }
  /// Whether the process was killed, when so many files were on the way, before it ended.
  bool copyInAProcessKilledAfter(int files) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::_exit(copy(at("new"), at("into/item"), kFSFileOperationOverwrite) == 0 ? 0 : 1);
    }
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
      if (filesOnTheWay() >= files && ::kill(child, SIGKILL) == 0) {
        ::waitpid(child, &status, 0);
        break;
      }
      std::this_thread::yield();
    }
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << status;
    return WIFSIGNALED(status);
  }
};

// Shows: copyFromPath_toPath_options, OVFileOperation
TEST_F(KilledFileOperationTest, AKilledCopyLeavesTheOldOrTheNewItemAndTheNextCopySweepsTheRest) {
  makeVersion("new", 'n');
  write("other", 10);
  int timesKilled = 0;
  for (const int files : {0, 1, 100, 400, kFiles}) {
    fs::remove_all(at("into"));
    fs::create_directory(at("into"));
    makeVersion("into/item", 'o');
    const bool killed = copyInAProcessKilledAfter(files);
    timesKilled += killed ? 1 : 0;
    const char found = version("into/item");
    EXPECT_TRUE(found == 'n' || (killed && found == 'o')) << found << " after " << files;
    ASSERT_EQ(copy(at("other"), at("into/other")), 0);
    EXPECT_EQ(list(at("into")), (Names{"item", "other"})) << "after " << files;
  }
  EXPECT_GT(timesKilled, 0);
}

}  // namespace
}  // namespace kestova
