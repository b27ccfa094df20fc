// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSFileManager.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>

#include "FileFaults.h"
#include "MountedTmpfs.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::FaultyCall;
using testing::FileFault;
using ::testing::IsSupersetOf;
using testing::MetCalls;
using testing::MountedTmpfs;
using testing::openDescriptors;
using testing::TemporaryFolder;
using testing::walkFileFaults;
using testing::walkHarmlessFaults;

/// What is beneath a folder, by path: permissions with length and hash of what a file holds, where
/// a link leads to, or "folder". Empty when the folder is not there.
using Tree = std::map<std::string, std::string>;

std::string contentsOf(const fs::directory_entry& item) {
  const auto permissions = std::to_string(static_cast<int>(item.symlink_status().permissions()));
  if (item.is_symlink()) return fs::read_symlink(item.path());
  if (item.is_directory()) return permissions + " folder";
  std::ifstream file(item.path(), std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(file), {});
  return permissions + " " + std::to_string(text.size()) + " " +
         std::to_string(std::hash<std::string>()(text));
}

Tree treeAt(const std::string& path) {
  Tree tree;
  if (!fs::exists(path)) return tree;
  tree["."] = contentsOf(fs::directory_entry(path));
  for (const auto& item : fs::recursive_directory_iterator(path)) {
    tree[fs::relative(item.path(), path)] = contentsOf(item);
  }
  return tree;
}

Ref<NSString> pathOf(const std::string& path) { return NSString::stringWithUTF8String(path); }

class NSFileManagerFaultsTests : public ::testing::Test {
 protected:
  NSFileManagerFaultsTests() { reset(); }

  /// A source with a file of many blocks, a small one, links of both kinds and a folder that nobody
  /// may write to; an empty place for the destination.
  void reset() {
    fs::remove_all(source_);
    fs::remove_all(place_);
    fs::create_directories(source_ + "/inner");
    fs::create_directory(place_);
    std::ofstream(source_ + "/large") << std::string(300'000, 'x');
    std::ofstream(source_ + "/inner/small") << "text";
    ::setxattr((source_ + "/inner/small").c_str(), "user.note", "n", 1, 0);
    fs::create_hard_link(source_ + "/inner/small", source_ + "/twin");
    fs::create_symlink("inner/small", source_ + "/link");
    fs::permissions(source_ + "/inner", fs::perms(0550));
    error_ = nullptr;
    descriptors_ = openDescriptors();
  }

  void copy() {
    succeeded_ = files_->copyItemAtPath_toPath_error(pathOf(source_), pathOf(target()), &error_);
  }
  void move() {
    succeeded_ = files_->moveItemAtPath_toPath_error(pathOf(source_), pathOf(target()), &error_);
  }
  std::string target() const { return place_ + "/copy"; }

  /// How many items are beside the target, whatever they are.
  std::ptrdiff_t leftovers() const {
    return std::distance(fs::directory_iterator(place_), {}) - (fs::exists(target()) ? 1 : 0);
  }

  /// A failed operation tells of the very fault, by the code that stands for its number.
  void expectErrorOf(const FileFault* fault) const {
    ASSERT_NE(fault, nullptr);
    ASSERT_NE(error_, nullptr);
    EXPECT_TRUE(error_->domain()->isEqual(NSCocoaErrorDomain));
    EXPECT_EQ(error_->code(), fault->error == ENOSPC   ? NSFileWriteOutOfSpaceError
                              : fault->error == EACCES ? NSFileWriteNoPermissionError
                                                       : NSFileWriteUnknownError);
  }

  void note(const FileFault* fault) {
    if (fault && !succeeded_) fatal_.insert(nameOf(fault->call));
    if (fault && succeeded_) survived_.insert(nameOf(fault->call));
  }

  TemporaryFolder folder_;
  std::string source_ = folder_.at("source");
  std::string place_ = folder_.at("place");
  Ref<NSFileManager> files_ = NSFileManager::defaultManager();
  Ref<NSError> error_;
  bool succeeded_ = false;
  std::ptrdiff_t descriptors_ = 0;
  MetCalls fatal_;
  MetCalls survived_;
};

constexpr std::array kCleaningCalls = {FaultyCall::unlinkat, FaultyCall::openat,
                                       FaultyCall::syscall, FaultyCall::fstat};

/// Whether a call may stay without effect behind the work: what it should remove is removed by the
/// next transfer into the folder.
bool isCleaning(const FileFault* fault) {
  return fault && std::ranges::count(kCleaningCalls, fault->call) > 0;
}

TEST_F(NSFileManagerFaultsTests, ACopyIsWholeOrNotThereAndTheSourceStays) {
  const Tree source = treeAt(source_);
  walkFileFaults([&] { copy(); },
                 [&](const FileFault* fault) {
                   EXPECT_EQ(openDescriptors(), descriptors_);
                   EXPECT_EQ(treeAt(source_), source);
                   EXPECT_EQ(treeAt(target()), succeeded_ ? source : Tree());
                   if (!isCleaning(fault)) {
                     EXPECT_EQ(leftovers(), 0);
                   }
                   if (!succeeded_) expectErrorOf(fault);
                   note(fault);
                   reset();
                 });
  EXPECT_THAT(fatal_, IsSupersetOf({"fchmod", "fgetxattr", "fsetxattr", "fstatat", "futimens",
                                    "mkdirat", "openat", "readlinkat", "renameat2", "symlinkat",
                                    "syscall", "utimensat"}));
  EXPECT_THAT(survived_,
              IsSupersetOf({"close", "fdopendir", "flock", "linkat", "readdir", "unlinkat"}));
}

TEST_F(NSFileManagerFaultsTests, WhatAFailedCleaningLeavesIsRemovedByTheNextCopy) {
  const Tree source = treeAt(source_);
  for (const FaultyCall call : kCleaningCalls) {
    SCOPED_TRACE(nameOf(call));
    walkFaults(
        call, testing::Fault::failing(EIO), testing::FaultyThreads::all, [&] { copy(); },
        [&](bool) {
          fs::remove_all(target());
          copy();
          EXPECT_TRUE(succeeded_);
          EXPECT_EQ(treeAt(target()), source);
          EXPECT_EQ(leftovers(), 0);
          reset();
        });
  }
}

TEST_F(NSFileManagerFaultsTests, ShortAndInterruptedCallsDoNotShowInACopy) {
  const Tree source = treeAt(source_);
  walkHarmlessFaults([&] { copy(); },
                     [&] {
                       EXPECT_TRUE(succeeded_);
                       EXPECT_EQ(treeAt(target()), source);
                       EXPECT_EQ(leftovers(), 0);
                       EXPECT_EQ(openDescriptors(), descriptors_);
                       reset();
                     });
}

TEST_F(NSFileManagerFaultsTests, AMovedItemIsInOnePlaceOrTheOther) {
  const Tree source = treeAt(source_);
  walkFileFaults([&] { move(); },
                 [&](const FileFault* fault) {
                   EXPECT_EQ(openDescriptors(), descriptors_);
                   EXPECT_EQ(treeAt(source_), succeeded_ ? Tree() : source);
                   EXPECT_EQ(treeAt(target()), succeeded_ ? source : Tree());
                   EXPECT_EQ(leftovers(), 0);
                   if (!succeeded_) expectErrorOf(fault);
                   note(fault);
                   reset();
                 });
  EXPECT_EQ(fatal_, (MetCalls{"fstat", "fstatat", "openat", "renameat2"}));
}

// The source goes only when its copy is whole: an item that can't be removed stays beside it.
TEST_F(NSFileManagerFaultsTests, AMoveToAnotherVolumeNeverLosesAnything) {
  const MountedTmpfs other(folder_.at("other"), "size=4m");
  if (!other.isMounted()) GTEST_SKIP() << "only root can mount";
  place_ = other.at("place");
  reset();
  const Tree source = treeAt(source_);
  walkFileFaults([&] { move(); },
                 [&](const FileFault* fault) {
                   EXPECT_EQ(openDescriptors(), descriptors_);
                   const Tree left = treeAt(source_);
                   const Tree moved = treeAt(target());
                   EXPECT_TRUE(left == source || moved == source);
                   EXPECT_TRUE(moved.empty() || moved == source);
                   if (succeeded_) {
                     EXPECT_EQ(left, Tree());
                   } else {
                     expectErrorOf(fault);
                   }
                   note(fault);
                   reset();
                 });
  EXPECT_THAT(fatal_, IsSupersetOf({"faccessat", "fdatasync", "mkdirat", "openat", "renameat2",
                                    "symlinkat", "syncfs", "unlinkat"}));
}

TEST_F(NSFileManagerFaultsTests, AFolderIsMadeOrTheErrorTellsWhyNot) {
  const auto path = pathOf(target());
  const auto attributes = NSDictionary::of({{NSFilePosixPermissions, 0700}});
  const auto met = walkFileFaults(
      [&] {
        succeeded_ = files_->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
            path, true, attributes, &error_);
      },
      [&](const FileFault* fault) {
        // Whether there is something by that name was found out by making it; what it is was not.
        if (fault && fault->call == FaultyCall::stat) {
          EXPECT_FALSE(succeeded_);
          EXPECT_EQ(error_->code(), NSFileWriteFileExistsError);
        } else if (!succeeded_) {
          expectErrorOf(fault);
        }
        const bool isMade = fs::exists(target());
        EXPECT_TRUE(isMade || !succeeded_);
        EXPECT_EQ(succeeded_ ? static_cast<int>(fs::status(target()).permissions()) : 0700, 0700);
        note(fault);
        reset();
      });
  EXPECT_EQ(met, (MetCalls{"chmod", "mkdir", "stat"}));
  EXPECT_EQ(fatal_, (MetCalls{"chmod", "mkdir", "stat"}));
  // Making a folder that is there fails in any case.
  EXPECT_EQ(survived_, MetCalls{"mkdir"});
}

TEST_F(NSFileManagerFaultsTests, ADuplicateIsWholeOrNotThere) {
  const auto file = pathOf(source_ + "/large");
  const std::string duplicate = source_ + "/large copy";
  walkFileFaults([&] { succeeded_ = duplicateFileAtPath_error(files_, file, &error_) != nullptr; },
                 [&](const FileFault* fault) {
                   EXPECT_EQ(openDescriptors(), descriptors_);
                   // What can't be asked about counts as not there, so the copy gets no other name.
                   if (fault && fault->call == FaultyCall::stat && !succeeded_) return reset();
                   EXPECT_EQ(fs::exists(duplicate), succeeded_);
                   if (succeeded_) {
                     EXPECT_EQ(fs::file_size(duplicate), 300'000U);
                   } else {
                     expectErrorOf(fault);
                   }
                   reset();
                 });
}

}  // namespace
}  // namespace kestova
