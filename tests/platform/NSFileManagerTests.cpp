// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSFileManager.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSSet.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "ExceptionExpectation.h"
#include "FileAttributes.h"
#include "TemporaryFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::expectException;

class NSFileManagerTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }

  void expectError(const Ref<NSError>& error, NSInteger code, int number, const std::string& path) {
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain(), "NSCocoaErrorDomain");
    EXPECT_EQ(error->code(), code);
    EXPECT_TRUE(error->userInfo()->objectForKey(NSFilePathErrorKey)->isEqual(path));
    const auto underlying = cast<NSError>(error->userInfo()->objectForKey(NSUnderlyingErrorKey));
    ASSERT_NE(underlying, nullptr);
    EXPECT_EQ(underlying->domain(), "NSPOSIXErrorDomain");
    EXPECT_EQ(underlying->code(), number);
  }
  bool createFolders(const std::string& name, Ref<NSError>* error = nullptr) {
    return files_->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
        at(name), true, nullptr, error);
  }
  bool createFolder(const std::string& name, Ref<NSError>* error = nullptr) {
    return files_->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
        at(name), false, nullptr, error);
  }

  testing::TemporaryFolder folder_;
  Ref<NSFileManager> files_ = NSFileManager::defaultManager();
};

TEST_F(NSFileManagerTests, ThereIsOneDefaultManager) {
  EXPECT_EQ(files_, NSFileManager::defaultManager());
}

TEST_F(NSFileManagerTests, TellsWhatExistsAndWhatIsAFolder) {
  folder_.write("a", "x");
  fs::create_symlink("nowhere", at("broken"));
  bool isDirectory = true;
  EXPECT_TRUE(files_->fileExistsAtPath_isDirectory(at("a"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(files_->fileExistsAtPath_isDirectory(folder_.path().string(), &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(files_->fileExistsAtPath_isDirectory(at("none"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_FALSE(files_->fileExistsAtPath(at("broken")));
  EXPECT_FALSE(files_->fileExistsAtPath(""));
}

TEST_F(NSFileManagerTests, APathIsNeeded) {
  expectException(NSInvalidArgumentException, [&] { files_->fileExistsAtPath(nullptr); });
  expectException(NSInvalidArgumentException, [&] { files_->removeItemAtPath_error(nullptr); });
}

TEST_F(NSFileManagerTests, MakesFoldersWithThoseAbove) {
  EXPECT_TRUE(createFolders("a/b/c"));
  EXPECT_TRUE(fs::is_directory(at("a/b/c")));
  EXPECT_TRUE(createFolders("a/b/c"));
  EXPECT_TRUE(createFolders("a/b/d///"));
  EXPECT_TRUE(fs::is_directory(at("a/b/d")));
}

TEST_F(NSFileManagerTests, WithoutIntermediateFoldersAnExistingOneIsAnError) {
  Ref<NSError> error;
  EXPECT_TRUE(createFolder("a"));
  EXPECT_FALSE(createFolder("a", &error));
  expectError(error, NSFileWriteFileExistsError, EEXIST, at("a"));
  EXPECT_FALSE(createFolder("x/y", &error));
  expectError(error, NSFileNoSuchFileError, ENOENT, at("x/y"));
}

TEST_F(NSFileManagerTests, AFileInTheWayIsAnError) {
  folder_.write("a", "x");
  Ref<NSError> error;
  EXPECT_FALSE(createFolders("a", &error));
  expectError(error, NSFileWriteFileExistsError, EEXIST, at("a"));
  EXPECT_FALSE(createFolders("a/b", &error));
  expectError(error, NSFileNoSuchFileError, ENOTDIR, at("a/b"));
  EXPECT_FALSE(createFolders("a/b"));
}

TEST_F(NSFileManagerTests, AFolderGetsItsPermissions) {
  EXPECT_TRUE(files_->createDirectoryAtPath_withIntermediateDirectories_attributes_error(
      at("private"), false, NSDictionary::of({{NSFilePosixPermissions, 0700}})));
  struct stat facts {};
  ::stat(at("private").c_str(), &facts);
  EXPECT_EQ(facts.st_mode & 07777, 0700U);
}

TEST_F(NSFileManagerTests, TellsTheAttributesOfTheItemItself) {
  folder_.write("a", "12345");
  ::chmod(at("a").c_str(), 0640);
  testing::setTimes(at("a"), {1000000000, 0}, {1000000000, 500000000});
  const auto attributes = files_->attributesOfItemAtPath_error(at("a"));
  EXPECT_TRUE(attributes->objectForKey(NSFileType)->isEqual("NSFileTypeRegular"));
  EXPECT_TRUE(attributes->objectForKey(NSFileSize)->isEqual(5));
  EXPECT_TRUE(attributes->objectForKey(NSFilePosixPermissions)->isEqual(0640));
  EXPECT_TRUE(attributes->objectForKey(NSFileReferenceCount)->isEqual(1));
  EXPECT_TRUE(attributes->objectForKey(NSFileModificationDate)
                  ->isEqual(NSDate::dateWithTimeIntervalSince1970(1000000000.5)));

  fs::create_symlink("nowhere", at("link"));
  const auto ofLink = files_->attributesOfItemAtPath_error(at("link"));
  EXPECT_TRUE(ofLink->objectForKey(NSFileType)->isEqual("NSFileTypeSymbolicLink"));
  ::mkfifo(at("fifo").c_str(), 0600);
  EXPECT_TRUE(files_->attributesOfItemAtPath_error(at("fifo"))
                  ->objectForKey(NSFileType)
                  ->isEqual("NSFileTypeUnknown"));
}

TEST_F(NSFileManagerTests, AMissingItemHasNoAttributes) {
  Ref<NSError> error;
  EXPECT_EQ(files_->attributesOfItemAtPath_error(at("none"), &error), nullptr);
  expectError(error, NSFileReadNoSuchFileError, ENOENT, at("none"));
}

TEST_F(NSFileManagerTests, ListsTheNamesInAFolder) {
  folder_.write("a", "");
  folder_.write(".hidden", "");
  folder_.write("odd\xFF", "");
  const auto names = files_->contentsOfDirectoryAtPath_error(folder_.path().string());
  EXPECT_EQ(names->count(), 3U);
  EXPECT_TRUE(names->containsObject("a"));
  EXPECT_TRUE(names->containsObject(".hidden"));
  EXPECT_TRUE(names->containsObject(NSString::stringWithFileSystemRepresentation("odd\xFF")));
}

TEST_F(NSFileManagerTests, WhatIsNoFolderCannotBeListed) {
  Ref<NSError> error;
  EXPECT_EQ(files_->contentsOfDirectoryAtPath_error(folder_.write("a", ""), &error), nullptr);
  expectError(error, NSFileReadNoSuchFileError, ENOTDIR, at("a"));
}

TEST_F(NSFileManagerTests, RemovesATreeAndNoLinksTarget) {
  createFolders("tree/sub");
  folder_.write("kept", "kept");
  fs::create_symlink(at("kept"), at("tree/sub/link"));
  EXPECT_TRUE(files_->removeItemAtPath_error(at("tree/")));
  EXPECT_FALSE(fs::exists(at("tree")));
  EXPECT_EQ(folder_.read("kept"), "kept");
  Ref<NSError> error;
  EXPECT_FALSE(files_->removeItemAtPath_error(at("tree"), &error));
  expectError(error, NSFileNoSuchFileError, ENOENT, at("tree"));
}

TEST_F(NSFileManagerTests, MovesButNeverOverAnything) {
  folder_.write("a", "a");
  folder_.write("b", "b");
  Ref<NSError> error;
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(at("a"), at("b"), &error));
  expectError(error, NSFileWriteFileExistsError, EEXIST, at("b"));
  EXPECT_EQ(folder_.read("b"), "b");
  EXPECT_TRUE(files_->moveItemAtPath_toPath_error(at("a"), at("c")));
  EXPECT_EQ(folder_.read("c"), "a");
  EXPECT_FALSE(files_->moveItemAtPath_toPath_error(at("none"), at("d"), &error));
  expectError(error, NSFileNoSuchFileError, ENOENT, at("none"));
}

TEST_F(NSFileManagerTests, MakesAndReadsLinks) {
  EXPECT_TRUE(files_->createSymbolicLinkAtPath_withDestinationPath_error(at("link"), "some/where"));
  EXPECT_EQ(files_->destinationOfSymbolicLinkAtPath_error(at("link")), "some/where");
  Ref<NSError> error;
  EXPECT_EQ(files_->destinationOfSymbolicLinkAtPath_error(folder_.path().string(), &error), nullptr);
  expectError(error, NSFileReadUnknownError, EINVAL, folder_.path().string());
}

TEST_F(NSFileManagerTests, TellsWhatAUserMayDo) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  createFolders("open");
  createFolders("closed");
  folder_.write("open/readable", "x");
  folder_.write("closed/kept", "x");
  ::chmod(folder_.path().c_str(), 0755);
  ::chmod(at("open").c_str(), 0777);
  ::chmod(at("open/readable").c_str(), 0644);
  const int answers = testing::runAsNobody([&] {
    int bits = 0;
    bits |= files_->isReadableFileAtPath(at("open/readable")) ? 1 : 0;
    bits |= files_->isWritableFileAtPath(at("open/readable")) ? 2 : 0;
    bits |= files_->isExecutableFileAtPath(at("open/readable")) ? 4 : 0;
    bits |= files_->isDeletableFileAtPath(at("open/readable")) ? 8 : 0;
    bits |= files_->isDeletableFileAtPath(at("closed/kept")) ? 16 : 0;
    bits |= files_->isDeletableFileAtPath(at("none")) ? 32 : 0;
    return bits;
  });
  EXPECT_EQ(answers, 1 | 8);
}

TEST_F(NSFileManagerTests, AStickyFolderGuardsWhatOthersOwn) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  ::chmod(folder_.path().c_str(), 01777);
  folder_.write("mine", "x");
  EXPECT_TRUE(files_->isDeletableFileAtPath(at("mine")));
  EXPECT_EQ(testing::runAsNobody([&] { return files_->isDeletableFileAtPath(at("mine")) ? 1 : 0; }),
            0);
}

TEST_F(NSFileManagerTests, KnowsTheWorkingFolder) {
  const auto before = files_->currentDirectoryPath();
  EXPECT_TRUE(files_->changeCurrentDirectoryPath(folder_.path().string()));
  EXPECT_EQ(files_->currentDirectoryPath(), folder_.path().string());
  EXPECT_FALSE(files_->changeCurrentDirectoryPath(at("none")));
  EXPECT_TRUE(files_->changeCurrentDirectoryPath(before));
}

TEST(NSFileManagerFolderTests, KnowsTheTemporaryAndTheHomeFolder) {
  ::setenv("TMPDIR", "/some/tmp", 1);
  EXPECT_EQ(NSTemporaryDirectory(), "/some/tmp");
  ::unsetenv("TMPDIR");
  EXPECT_EQ(NSTemporaryDirectory(), "/tmp");
  const std::string home = ::getenv("HOME") == nullptr ? "" : ::getenv("HOME");
  ::setenv("HOME", "/home/somebody", 1);
  EXPECT_EQ(NSHomeDirectory(), "/home/somebody");
  ::unsetenv("HOME");
  EXPECT_TRUE(NSHomeDirectory()->hasPrefix("/"));
  if (!home.empty()) {
    ::setenv("HOME", home.c_str(), 1);
  }
}

}  // namespace
}  // namespace kestova
