// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSNumber.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "MountedTmpfs.h"
#include "TemporaryFolder.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::MountedTmpfs;
using testing::runAsNobody;
using testing::runInChild;
using testing::TemporaryFolder;
namespace fs = std::filesystem;

class NSFileManagerTests : public ::testing::Test {
 protected:
  Ref<NSString> pathOf(const std::string& name) {
    return NSString::stringWithFileSystemRepresentation(folder_.at(name));
  }
  void makeFile(const std::string& name, const std::string& contents = "") {
    folder_.write(name, contents);
  }
  void makeFolder(const std::string& name) { fs::create_directory(folder_.at(name)); }
  void makeLink(const std::string& name, const std::string& destination) {
    fs::create_symlink(destination, folder_.at(name));
  }
  Ref<NSString> newFile(const std::string& name, const std::string& contents = "") {
    makeFile(name, contents);
    return pathOf(name);
  }
  Ref<NSString> newFolder(const std::string& name) {
    makeFolder(name);
    return pathOf(name);
  }
  Ref<NSString> newLink(const std::string& name, const std::string& destination) {
    makeLink(name, destination);
    return pathOf(name);
  }
  bool isThere(const std::string& name) { return fs::exists(fs::symlink_status(folder_.at(name))); }

  mode_t modeOf(const std::string& name) {
    struct stat facts {};
    lstat(folder_.at(name).c_str(), &facts);
    return facts.st_mode & 07777;
  }

  bool createFolders(const Ref<NSString>& path, bool intermediates,
                     const Ref<NSDictionary>& attributes = nullptr) {
    return files_->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
        path, intermediates, attributes, &error_);
  }

  /// Expects the last error to be the platform's for a path, with the system's number behind it.
  void expectError(NSInteger code, const Ref<NSString>& path, int number) {
    ASSERT_NE(error_, nullptr);
    EXPECT_EQ(error_->domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error_->code(), code);
    EXPECT_TRUE(isEqualOrBothNull(error_->userInfo()->objectForKey(NSFilePathErrorKey), path));
    const auto underlying = cast<NSError>(error_->userInfo()->objectForKey(NSUnderlyingErrorKey));
    ASSERT_NE(underlying, nullptr);
    EXPECT_EQ(underlying->domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(underlying->code(), number);
    EXPECT_GT(error_->localizedDescription()->length(), 0U);
    EXPECT_NE(error_->localizedFailureReason(), nullptr);
    error_ = nullptr;
  }

  const TemporaryFolder folder_;
  const Ref<NSFileManager> files_ = NSFileManager::defaultManager();
  Ref<NSError> error_;
};

/// Paths that name nothing.
const std::vector<Ref<NSString>> kNoPaths = {nullptr, "", std::string("a\0b", 3),
                                             std::u16string{0xD800}};

TEST_F(NSFileManagerTests, TheDefaultManagerIsShared) {
  EXPECT_EQ(files_, NSFileManager::defaultManager());
  EXPECT_NE(files_, NSFileManager::init());
}

TEST_F(NSFileManagerTests, TellsWhatExistsAndWhetherItIsAFolder) {
  const struct {
    Ref<NSString> path;
    bool exists;
    bool isDirectory;
  } kRows[] = {
      {newFile("file"), true, false},
      {newFolder("folder"), true, true},
      {newLink("link to file", "file"), true, false},
      {newLink("link to folder", "folder"), true, true},
      {newLink("broken link", "missing"), false, false},
      {pathOf("missing"), false, false},
      {pathOf("file/below"), false, false},
      {pathOf("folder/"), true, true},
  };
  for (const auto& row : kRows) {
    bool isDirectory = !row.isDirectory;
    EXPECT_EQ(files_->fileExistsAtPath(row.path), row.exists) << row.path;
    EXPECT_EQ(files_->fileExistsAtPath_isDirectory(row.path, &isDirectory), row.exists);
    EXPECT_EQ(isDirectory, row.isDirectory) << row.path;
    EXPECT_EQ(files_->fileExistsAtPath_isDirectory(row.path, nullptr), row.exists);
  }
}

TEST_F(NSFileManagerTests, WhatNamesNothingDoesNotExistAndCannotBeUsed) {
  for (const auto& path : kNoPaths) {
    EXPECT_FALSE(files_->fileExistsAtPath(path));
    EXPECT_FALSE(files_->isReadableFileAtPath(path));
    EXPECT_FALSE(files_->isDeletableFileAtPath(path));
    EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(path, &error_), nullptr);
    expectError(NSFileReadInvalidFileNameError, path, EILSEQ);
    EXPECT_EQ(files_->attributesOfItemAtPath_error(path, &error_), nullptr);
    expectError(NSFileReadInvalidFileNameError, path, EILSEQ);
    EXPECT_EQ(files_->destinationOfSymbolicLinkAtPath_error(path, &error_), nullptr);
    expectError(NSFileReadInvalidFileNameError, path, EILSEQ);
    EXPECT_FALSE(createFolders(path, true));
    expectError(NSFileWriteInvalidFileNameError, path, EILSEQ);
    EXPECT_FALSE(files_->createSymbolicLinkAtPath_withDestinationPath_error(path, "a", &error_));
    expectError(NSFileWriteInvalidFileNameError, path, EILSEQ);
    EXPECT_FALSE(files_->removeItemAtPath_error(path, &error_));
    expectError(NSFileWriteInvalidFileNameError, path, EILSEQ);
    EXPECT_FALSE(files_->moveItemAtPath_toPath_error(path, pathOf("x"), &error_));
    expectError(NSFileWriteInvalidFileNameError, path, EILSEQ);
    EXPECT_FALSE(files_->copyItemAtPath_toPath_error(newFile("x"), path, &error_));
    expectError(NSFileWriteInvalidFileNameError, path, EILSEQ);
    EXPECT_TRUE(isThere("x"));
  }
}

TEST_F(NSFileManagerTests, ErrorsNeedNotBeAskedFor) {
  EXPECT_FALSE(files_->removeItemAtPath_error(pathOf("missing")));
  EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(pathOf("missing")), nullptr);
}

TEST_F(NSFileManagerTests, TellsWhatThisProcessMayDo) {
  const auto file = newFile("file");
  chmod(folder_.at("file").c_str(), 0644);
  chmod(folder_.path().c_str(), 0755);
  const auto asNobody = [&](const std::function<bool()>& question) {
    return runAsNobody([&] { return question() ? 1 : 0; }) == 1;
  };
  EXPECT_TRUE(asNobody([&] { return files_->isReadableFileAtPath(file); }));
  EXPECT_FALSE(asNobody([&] { return files_->isWritableFileAtPath(file); }));
  EXPECT_FALSE(asNobody([&] { return files_->isExecutableFileAtPath(file); }));
  EXPECT_FALSE(asNobody([&] { return files_->isDeletableFileAtPath(file); }));
  chmod(folder_.at("file").c_str(), 0003);
  EXPECT_FALSE(asNobody([&] { return files_->isReadableFileAtPath(file); }));
  EXPECT_TRUE(asNobody([&] { return files_->isWritableFileAtPath(file); }));
  EXPECT_TRUE(asNobody([&] { return files_->isExecutableFileAtPath(file); }));
  chmod(folder_.path().c_str(), 0777);
  EXPECT_TRUE(asNobody([&] { return files_->isDeletableFileAtPath(file); }));
  chmod(folder_.path().c_str(), 01777);
  EXPECT_FALSE(asNobody([&] { return files_->isDeletableFileAtPath(file); }));
  EXPECT_TRUE(files_->isDeletableFileAtPath(file)) << "the owner of a sticky folder may";
  EXPECT_TRUE(files_->isDeletableFileAtPath(newLink("broken", "missing")));
  EXPECT_FALSE(files_->isDeletableFileAtPath(pathOf("missing")));
  EXPECT_FALSE(files_->isDeletableFileAtPath("/"));
}

TEST_F(NSFileManagerTests, ListsNamesInOrder) {
  makeFile("b");
  makeFolder("a");
  makeFile("a/below");
  makeFile(".hidden");
  makeFile("\xE4\xFF");
  const auto names = files_->contentsOfDirectoryAtPath_error(folder_.path().string());
  ASSERT_EQ(names->count(), 4U);
  EXPECT_TRUE(names->objectAtIndex(0)->isEqual(".hidden"));
  EXPECT_TRUE(names->objectAtIndex(1)->isEqual("a"));
  EXPECT_TRUE(names->objectAtIndex(2)->isEqual("b"));
  EXPECT_EQ(cast<NSString>(names->objectAtIndex(3))->fileSystemRepresentation(), "\xE4\xFF");
  EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(newFolder("empty"))->count(), 0U);
}

TEST_F(NSFileManagerTests, ListingFailsWithTheReason) {
  EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(pathOf("missing"), &error_), nullptr);
  expectError(NSFileReadNoSuchFileError, pathOf("missing"), ENOENT);
  EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(newFile("file"), &error_), nullptr);
  expectError(NSFileReadNoSuchFileError, pathOf("file"), ENOTDIR);
  chmod(folder_.path().c_str(), 0700);
  EXPECT_EQ(runAsNobody([&] {
              (void)files_->contentsOfDirectoryAtPath_error(folder_.path().string(), &error_);
              return error_->code() == NSFileReadNoPermissionError ? 7 : 8;
            }),
            7);
}

TEST_F(NSFileManagerTests, AttributesTellWhatTheSystemKnows) {
  const auto file = newFile("file", "12345");
  chmod(folder_.at("file").c_str(), 04751);
  fs::create_hard_link(folder_.at("file"), folder_.at("second"));
  const timespec times[] = {{1, 0}, {978307200 + 7, 500000000}};
  utimensat(AT_FDCWD, folder_.at("file").c_str(), times, 0);
  struct stat facts {};
  stat(folder_.at("file").c_str(), &facts);

  const auto attributes = files_->attributesOfItemAtPath_error(file);
  ASSERT_NE(attributes, nullptr);
  const auto number = [&](const StringConstant& key) {
    return cast<NSNumber>(attributes->objectForKey(key))->unsignedLongLongValue();
  };
  EXPECT_TRUE(attributes->objectForKey(NSFileType)->isEqual(NSFileTypeRegular));
  EXPECT_EQ(number(NSFileSize), 5U);
  EXPECT_EQ(number(NSFilePosixPermissions), 04751U);
  EXPECT_EQ(number(NSFileReferenceCount), 2U);
  EXPECT_EQ(number(NSFileSystemFileNumber), facts.st_ino);
  EXPECT_EQ(number(NSFileOwnerAccountID), facts.st_uid);
  EXPECT_EQ(number(NSFileGroupOwnerAccountID), facts.st_gid);
  EXPECT_EQ(cast<NSDate>(attributes->objectForKey(NSFileModificationDate))
                ->timeIntervalSinceReferenceDate(),
            7.5);
  const auto created = cast<NSDate>(attributes->objectForKey(NSFileCreationDate));
  ASSERT_NE(created, nullptr);
  EXPECT_GT(created->timeIntervalSinceReferenceDate(), 7.5);
}

TEST_F(NSFileManagerTests, TwoItemsOfOneFileSystemShareItsNumber) {
  const auto numberOf = [&](const Ref<NSString>& path) {
    return files_->attributesOfItemAtPath_error(path)->objectForKey(NSFileSystemNumber);
  };
  EXPECT_TRUE(numberOf(newFile("a"))->isEqual(numberOf(newFile("b"))));
  EXPECT_FALSE(numberOf(pathOf("a"))->isEqual(numberOf("/proc")));
}

TEST_F(NSFileManagerTests, EveryKindOfItemHasItsType) {
  const auto typeOf = [&](const Ref<NSString>& path) {
    return cast<NSString>(files_->attributesOfItemAtPath_error(path)->objectForKey(NSFileType));
  };
  EXPECT_EQ(typeOf(newFolder("folder")), NSFileTypeDirectory);
  EXPECT_EQ(typeOf(newLink("link", "missing")), NSFileTypeSymbolicLink);
  EXPECT_EQ(typeOf("/dev/null"), NSFileTypeCharacterSpecial);
  mkfifo(folder_.at("pipe").c_str(), 0600);
  EXPECT_EQ(typeOf(pathOf("pipe")), NSFileTypeUnknown);
  mknod(folder_.at("block").c_str(), S_IFBLK | 0600, 0);
  EXPECT_EQ(typeOf(pathOf("block")), NSFileTypeBlockSpecial);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{AF_UNIX, {}};
  folder_.at("socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(typeOf(pathOf("socket")), NSFileTypeSocket);
  close(socket);
  EXPECT_EQ(files_->attributesOfItemAtPath_error(pathOf("missing"), &error_), nullptr);
  expectError(NSFileReadNoSuchFileError, pathOf("missing"), ENOENT);
}

TEST_F(NSFileManagerTests, MakesOneFolder) {
  EXPECT_TRUE(createFolders(pathOf("new"), false));
  EXPECT_TRUE(fs::is_directory(folder_.at("new")));
  EXPECT_FALSE(createFolders(pathOf("new"), false));
  expectError(NSFileWriteFileExistsError, pathOf("new"), EEXIST);
  EXPECT_FALSE(createFolders(pathOf("a/b"), false));
  expectError(NSFileNoSuchFileError, pathOf("a/b"), ENOENT);
  EXPECT_FALSE(createFolders(pathOf(std::string(300, 'x')), false));
  expectError(NSFileWriteInvalidFileNameError, pathOf(std::string(300, 'x')), ENAMETOOLONG);
}

TEST_F(NSFileManagerTests, MakesTheFoldersThatLeadToIt) {
  EXPECT_TRUE(createFolders(pathOf("a//b/c/"), true));
  EXPECT_TRUE(fs::is_directory(folder_.at("a/b/c")));
  EXPECT_TRUE(createFolders(pathOf("a/b/c"), true)) << "a folder that is there is a success";
  EXPECT_TRUE(createFolders("/", true));
  makeLink("link", "a");
  EXPECT_TRUE(createFolders(pathOf("link/d"), true));
  EXPECT_TRUE(fs::is_directory(folder_.at("a/d")));
  EXPECT_TRUE(createFolders(pathOf("link"), true));
  EXPECT_EQ(error_, nullptr);
}

TEST_F(NSFileManagerTests, AFileInTheWayIsAnError) {
  makeFile("file");
  EXPECT_FALSE(createFolders(pathOf("file"), true));
  expectError(NSFileWriteFileExistsError, pathOf("file"), EEXIST);
  EXPECT_FALSE(createFolders(pathOf("file/a/b"), true));
  expectError(NSFileWriteFileExistsError, pathOf("file/a/b"), EEXIST);
  makeLink("broken", "missing");
  EXPECT_FALSE(createFolders(pathOf("broken"), true));
  expectError(NSFileWriteFileExistsError, pathOf("broken"), EEXIST);
}

TEST_F(NSFileManagerTests, FoldersGetTheModeAskedForWhateverItForbids) {
  const mode_t mask = umask(077);
  const auto attributes = NSDictionary::of({{NSFilePosixPermissions, 0555}});
  EXPECT_TRUE(createFolders(pathOf("a/b"), true, attributes));
  EXPECT_TRUE(createFolders(pathOf("c"), false, attributes));
  EXPECT_TRUE(createFolders(pathOf("plain/below"), true));
  umask(mask);
  EXPECT_EQ(modeOf("a"), 0555U);
  EXPECT_EQ(modeOf("a/b"), 0555U);
  EXPECT_EQ(modeOf("c"), 0555U);
  EXPECT_EQ(modeOf("plain"), 0700U);
  EXPECT_EQ(modeOf("plain/below"), 0700U);
}

TEST_F(NSFileManagerTests, FoldersThatWereThereKeepTheirMode) {
  makeFolder("a");
  chmod(folder_.at("a").c_str(), 0750);
  EXPECT_TRUE(
      createFolders(pathOf("a/b"), true, NSDictionary::of({{NSFilePosixPermissions, 0700}})));
  EXPECT_EQ(modeOf("a"), 0750U);
  EXPECT_EQ(modeOf("a/b"), 0700U);
}

TEST_F(NSFileManagerTests, ThreadsThatMakeTheSameFoldersAllSucceed) {
  for (int round = 0; round < 20; ++round) {
    const auto path = pathOf(std::to_string(round) + "/a/b/c/d");
    std::latch start(4);
    std::atomic<int> successes = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        successes += files_->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
            path, true, nullptr);
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(successes, 4);
  }
}

TEST_F(NSFileManagerTests, LinksAreMadeAndRead) {
  EXPECT_TRUE(
      files_->createSymbolicLinkAtPath_withDestinationPath_error(pathOf("link"), "../ä", &error_));
  EXPECT_EQ(files_->destinationOfSymbolicLinkAtPath_error(pathOf("link"), &error_), "../ä");
  EXPECT_EQ(error_, nullptr);
  EXPECT_FALSE(
      files_->createSymbolicLinkAtPath_withDestinationPath_error(pathOf("link"), "x", &error_));
  expectError(NSFileWriteFileExistsError, pathOf("link"), EEXIST);
  EXPECT_EQ(files_->destinationOfSymbolicLinkAtPath_error(newFile("file"), &error_), nullptr);
  expectError(NSFileReadUnknownError, pathOf("file"), EINVAL);
  EXPECT_EQ(files_->destinationOfSymbolicLinkAtPath_error(pathOf("missing"), &error_), nullptr);
  expectError(NSFileReadNoSuchFileError, pathOf("missing"), ENOENT);
}

TEST_F(NSFileManagerTests, RemovesItemsOfEveryKind) {
  makeFolder("kept");
  makeFile("kept/file");
  makeFolder("folder");
  makeFolder("folder/sub");
  makeFile("folder/sub/file");
  makeLink("folder/link", "../kept");
  for (const auto& path :
       {newFile("file"), newLink("link", "kept"), pathOf("folder/"), newFile("\xFF")}) {
    EXPECT_TRUE(files_->removeItemAtPath_error(path, &error_)) << path;
  }
  EXPECT_EQ(error_, nullptr);
  EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(folder_.path().string())->count(), 1U);
  EXPECT_TRUE(isThere("kept/file")) << "a link is removed, not what it points at";
}

TEST_F(NSFileManagerTests, RemovingFailsWithTheReason) {
  EXPECT_FALSE(files_->removeItemAtPath_error(pathOf("missing"), &error_));
  expectError(NSFileNoSuchFileError, pathOf("missing"), ENOENT);
  EXPECT_FALSE(files_->removeItemAtPath_error(pathOf("missing/a"), &error_));
  expectError(NSFileNoSuchFileError, pathOf("missing/a"), ENOENT);
  makeFile("file");
  EXPECT_FALSE(files_->removeItemAtPath_error(pathOf("file/a"), &error_));
  expectError(NSFileNoSuchFileError, pathOf("file/a"), ENOTDIR);
  chmod(folder_.path().c_str(), 0755);
  EXPECT_EQ(runAsNobody([&] {
              files_->removeItemAtPath_error(pathOf("file"), &error_);
              return error_->code() == NSFileWriteNoPermissionError ? 7 : 8;
            }),
            7);
  EXPECT_TRUE(isThere("file"));
}

TEST_F(NSFileManagerTests, TheRootAndDotNamesAreNeverRemoved) {
  // In a child without rights, so that a fault here does no harm.
  EXPECT_EQ(runAsNobody([&] {
              for (const char* path : {"/", "//", ".", "..", "/tmp/.", "/tmp/.."}) {
                if (files_->removeItemAtPath_error(path, &error_) ||
                    cast<NSError>(error_->userInfo()->objectForKey(NSUnderlyingErrorKey))->code() !=
                        EINVAL) {
                  return 8;
                }
              }
              return 7;
            }),
            7);
}

TEST_F(NSFileManagerTests, MovesAndCopiesToANewName) {
  makeFolder("from");
  makeFile("from/file", "contents");
  EXPECT_TRUE(files_->copyItemAtPath_toPath_error(pathOf("from"), pathOf("copy/"), &error_));
  EXPECT_EQ(folder_.read("copy/file"), "contents");
  EXPECT_EQ(folder_.read("from/file"), "contents");
  EXPECT_TRUE(files_->moveItemAtPath_toPath_error(pathOf("from"), pathOf("to"), &error_));
  EXPECT_EQ(folder_.read("to/file"), "contents");
  EXPECT_FALSE(isThere("from"));
  EXPECT_EQ(error_, nullptr);
}

TEST_F(NSFileManagerTests, NothingIsEverReplaced) {
  makeFile("from", "new");
  makeFile("to", "old");
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(pathOf("from"), pathOf("to"), &error_));
  expectError(NSFileWriteFileExistsError, pathOf("to"), EEXIST);
  EXPECT_FALSE(files_->copyItemAtPath_toPath_error(pathOf("from"), pathOf("to"), &error_));
  expectError(NSFileWriteFileExistsError, pathOf("to"), EEXIST);
  EXPECT_EQ(folder_.read("from"), "new");
  EXPECT_EQ(folder_.read("to"), "old");
}

TEST_F(NSFileManagerTests, MovingFailsWithTheReason) {
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(pathOf("missing"), pathOf("to"), &error_));
  expectError(NSFileNoSuchFileError, pathOf("missing"), ENOENT);
  makeFile("from");
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(pathOf("from"), pathOf("missing/to"), &error_));
  expectError(NSFileNoSuchFileError, pathOf("from"), ENOENT);
  makeFolder("folder");
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(pathOf("folder"), pathOf("folder/in"), &error_));
  expectError(NSFileWriteUnknownError, pathOf("folder"), EINVAL);
}

TEST_F(NSFileManagerTests, MovesToAnotherVolumeAndTellsOfAFullOne) {
  const MountedTmpfs disk(folder_.at("disk"), "size=1m");
  ASSERT_TRUE(disk.isMounted()) << "only root can mount a small disk";
  makeFile("small", "contents");
  EXPECT_TRUE(files_->moveItemAtPath_toPath_error(pathOf("small"), pathOf("disk/small"), &error_));
  EXPECT_EQ(folder_.read("disk/small"), "contents");
  EXPECT_FALSE(isThere("small"));
  makeFile("large", std::string(3U << 20, 'x'));
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(pathOf("large"), pathOf("disk/large"), &error_));
  expectError(NSFileWriteOutOfSpaceError, pathOf("large"), ENOSPC);
  EXPECT_TRUE(isThere("large"));
  EXPECT_FALSE(isThere("disk/large"));
  disk.makeReadOnly();
  EXPECT_FALSE(createFolders(pathOf("disk/new"), false));
  expectError(NSFileWriteVolumeReadOnlyError, pathOf("disk/new"), EROFS);
  EXPECT_TRUE(createFolders(pathOf("disk"), true)) << "there already, and so no change";
}

TEST_F(NSFileManagerTests, KnowsTheCurrentFolder) {
  EXPECT_EQ(files_->currentDirectoryPath(), fs::current_path().string());
  const int status = runInChild([&] {
    fs::create_directory(folder_.at("gone"));
    fs::current_path(folder_.at("gone"));
    fs::remove(folder_.at("gone"));
    return files_->currentDirectoryPath() == nullptr ? 7 : 8;
  });
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(NSFileManagerTests, ChangesTheCurrentFolder) {
  const auto before = files_->currentDirectoryPath();
  EXPECT_TRUE(files_->changeCurrentDirectoryPath(folder_.path().string()));
  EXPECT_EQ(files_->currentDirectoryPath(), folder_.path().string());
  EXPECT_FALSE(files_->changeCurrentDirectoryPath(pathOf("missing")));
  EXPECT_FALSE(files_->changeCurrentDirectoryPath(nullptr));
  EXPECT_EQ(files_->currentDirectoryPath(), folder_.path().string());
  EXPECT_TRUE(files_->changeCurrentDirectoryPath(before));
}

/// What a question answers in a child process whose environment was changed first.
bool holdsInChild(const std::function<void()>& prepare, const std::function<bool()>& question) {
  return WEXITSTATUS(runInChild([&] {
           prepare();
           return question() ? 7 : 8;
         })) == 7;
}

TEST_F(NSFileManagerTests, TheTemporaryFolderIsTheChosenOneWhileItIsThere) {
  const auto chosen = [](const std::string& value) {
    return [value] { setenv("TMPDIR", value.c_str(), 1); };
  };
  const std::string own = folder_.path();
  EXPECT_TRUE(holdsInChild(chosen(own), [&] { return NSTemporaryDirectory() == own + "/"; }));
  EXPECT_TRUE(holdsInChild(chosen(own + "/"), [&] { return NSTemporaryDirectory() == own + "/"; }));
  EXPECT_TRUE(holdsInChild(chosen("/"), [] { return NSTemporaryDirectory() == "/"; }));
  for (const char* value : {"", "relative", "/no/such/folder", "/dev/null"}) {
    EXPECT_TRUE(holdsInChild(chosen(value), [] { return NSTemporaryDirectory() == "/tmp/"; }))
        << value;
  }
  EXPECT_TRUE(
      holdsInChild([] { unsetenv("TMPDIR"); }, [] { return NSTemporaryDirectory() == "/tmp/"; }));
}

TEST_F(NSFileManagerTests, TheHomeFolderIsTheChosenOneOrTheAccounts) {
  const std::string account = getpwuid(geteuid())->pw_dir;
  EXPECT_TRUE(holdsInChild([] { setenv("HOME", "/my/home", 1); },
                           [] { return NSHomeDirectory() == "/my/home"; }));
  EXPECT_TRUE(holdsInChild([] { setenv("HOME", "relative", 1); },
                           [&] { return NSHomeDirectory() == account; }));
  EXPECT_TRUE(holdsInChild([] { unsetenv("HOME"); }, [&] { return NSHomeDirectory() == account; }));
}

}  // namespace
}  // namespace kestova
