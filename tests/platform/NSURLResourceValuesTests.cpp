// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSError.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSURL.h>
#include <gtest/gtest.h>

#include "values/SystemRelease.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "ChildProcess.h"
#include "DeepFolders.h"
#include "ExceptionExpectation.h"
#include "MountedImage.h"
#include "MountedTmpfs.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::MountedImage;
using testing::MountedTmpfs;

Ref<NSURL> urlOf(const std::string& path) {
  return NSURL::fileURLWithPath_isDirectory(NSString::stringWithFileSystemRepresentation(path),
                                            false);
}

/// The value of a key; null, and a failure of the test, when there is an error.
id valueOf(const std::string& path, const StringConstant& key) {
  id value;
  Ref<NSError> error;
  EXPECT_TRUE(urlOf(path)->getResourceValue_forKey_error(&value, key, &error)) << error;
  EXPECT_EQ(error, nullptr);
  return value;
}

bool isTrue(const std::string& path, const StringConstant& key) {
  const auto answer = cast<NSNumber>(valueOf(path, key));
  EXPECT_NE(answer, nullptr);
  return answer && answer->boolValue();
}

std::string volumeName(const std::string& path) {
  const auto name = cast<NSString>(valueOf(path, NSURLVolumeNameKey));
  return name ? name->fileSystemRepresentation() : "";
}

std::string volumeRoot(const std::string& path) {
  const auto root = cast<NSURL>(valueOf(path, NSURLVolumeURLKey));
  EXPECT_TRUE(root && root->hasDirectoryPath());
  return root ? root->fileSystemRepresentation() : "";
}

/// The error of a question that must fail, for whatever key; the value is left alone.
Ref<NSError> errorOf(const Ref<NSURL>& url) {
  Ref<NSError> error;
  for (const StringConstant* key : {&NSURLIsVolumeKey, &NSURLVolumeURLKey, &NSURLNameKey}) {
    id value = "as it was";
    EXPECT_FALSE(url->getResourceValue_forKey_error(&value, *key, &error));
    EXPECT_EQ(cast<NSString>(value), "as it was");
    EXPECT_FALSE(url->getResourceValue_forKey_error(nullptr, *key));
  }
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  return error;
}

NSInteger errnoIn(const Ref<NSError>& error) {
  return cast<NSError>(error->userInfo()->objectForKey(NSUnderlyingErrorKey))->code();
}

class NSURLResourceValuesTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }

  testing::TemporaryFolder folder_;
};

TEST_F(NSURLResourceValuesTests, AFileIsDescribed) {
  const auto file = folder_.write("file.txt", "12345");
  EXPECT_TRUE(valueOf(file, NSURLNameKey)->isEqual("file.txt"));
  EXPECT_FALSE(isTrue(file, NSURLIsDirectoryKey));
  EXPECT_TRUE(isTrue(file, NSURLIsRegularFileKey));
  EXPECT_FALSE(isTrue(file, NSURLIsSymbolicLinkKey));
  EXPECT_FALSE(isTrue(file, NSURLIsVolumeKey));
  EXPECT_TRUE(valueOf(file, NSURLFileSizeKey)->isEqual(5));
}

TEST_F(NSURLResourceValuesTests, AFolderHasNoSize) {
  EXPECT_TRUE(isTrue(folder_.path(), NSURLIsDirectoryKey));
  EXPECT_FALSE(isTrue(folder_.path(), NSURLIsRegularFileKey));
  EXPECT_EQ(valueOf(folder_.path(), NSURLFileSizeKey), nullptr);
}

TEST_F(NSURLResourceValuesTests, ALinkIsTheItemItself) {
  std::filesystem::create_symlink("nowhere", at("dangling"));
  std::filesystem::create_symlink("/", at("root"));
  for (const char* name : {"dangling", "root"}) {
    EXPECT_TRUE(isTrue(at(name), NSURLIsSymbolicLinkKey));
    EXPECT_FALSE(isTrue(at(name), NSURLIsDirectoryKey));
    EXPECT_FALSE(isTrue(at(name), NSURLIsVolumeKey));
    EXPECT_EQ(valueOf(at(name), NSURLFileSizeKey), nullptr);
  }
}

TEST_F(NSURLResourceValuesTests, AnUnknownKeyHasNoValue) {
  id value = "as it was";
  EXPECT_TRUE(urlOf("/")->getResourceValue_forKey_error(&value, "NSURLColourKey"));
  EXPECT_EQ(value, nullptr);
  EXPECT_TRUE(urlOf("/")->getResourceValue_forKey_error(nullptr, NSURLIsVolumeKey));
}

TEST_F(NSURLResourceValuesTests, WithoutAKeyThereIsNoQuestion) {
  testing::expectException(NSInvalidArgumentException, [] {
    id value;
    urlOf("/")->getResourceValue_forKey_error(&value, nullptr);
  });
}

TEST_F(NSURLResourceValuesTests, OnlyAFileHasValues) {
  const auto error = errorOf(NSURL::URLWithString("https://example.org/"));
  EXPECT_EQ(error->code(), 262);
  EXPECT_TRUE(error->userInfo()
                  ->objectForKey(NSURLErrorKey)
                  ->isEqual(NSURL::URLWithString("https://example.org/")));
}

TEST_F(NSURLResourceValuesTests, WhatLeadsToNothingIsMissing) {
  const auto file = folder_.write("file", "");
  std::filesystem::create_symlink("b", at("a"));
  std::filesystem::create_symlink("a", at("b"));
  std::filesystem::create_symlink("nowhere", at("dangling"));
  const struct {
    std::string path;
    int number;
  } rows[] = {
      {at("missing"), ENOENT},
      {at("missing/below"), ENOENT},
      {file + "/below", ENOTDIR},
      {at("a/below"), ELOOP},
      {at("dangling/below"), ENOENT},
      {at(std::string(256, 'x')), ENAMETOOLONG},
      {at(std::string(5000, 'x')), ENAMETOOLONG},
      {at(std::string(5000, 'x')) + "/below", ENAMETOOLONG},
  };
  for (const auto& row : rows) {
    const auto error = errorOf(urlOf(row.path));
    EXPECT_EQ(error->code(), 4) << row.path;
    EXPECT_EQ(errnoIn(error), row.number) << row.path;
    EXPECT_TRUE(error->userInfo()->objectForKey(NSFilePathErrorKey)->isEqual(row.path.c_str()));
  }
  EXPECT_EQ(errorOf(NSURL::URLWithString("file:///a%00b"))->code(), 4);
  EXPECT_EQ(errorOf(NSURL::URLWithString("file:"))->code(), 4);
}

TEST_F(NSURLResourceValuesTests, WhatCannotBeReachedIsAnotherError) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give up its rights";
  folder_.write("file", "");
  EXPECT_EQ(testing::runAsNobody([&] {
              const auto error = errorOf(urlOf(at("file")));
              return error->code() == 257 && errnoIn(error) == EACCES ? 0 : 1;
            }),
            0);
}

TEST_F(NSURLResourceValuesTests, NamesMayHaveAnyBytes) {
  for (const char* name : {"line\nfeed", "\xFF\xFE", "a b%20", "\\040"}) {
    folder_.write(name, "1");
    EXPECT_TRUE(isTrue(at(name), NSURLIsRegularFileKey)) << name;
    EXPECT_EQ(cast<NSString>(valueOf(at(name), NSURLNameKey))->fileSystemRepresentation(), name);
  }
}

TEST_F(NSURLResourceValuesTests, PathsMayBeLongerThanASystemCallTakes) {
  const std::string name(250, 'd');
  testing::makeDeepFolders(folder_.path(), 100, name);
  std::string deep = folder_.path();
  for (int level = 0; level < 100; ++level) deep += (level % 10 == 0 ? "///" : "/") + name;
  EXPECT_TRUE(isTrue(deep, NSURLIsDirectoryKey));
  EXPECT_TRUE(isTrue(deep + "/f", NSURLIsRegularFileKey));
  EXPECT_EQ(volumeRoot(deep), volumeRoot(folder_.path()));
  EXPECT_EQ(errorOf(urlOf(deep + "/missing"))->code(), 4);
  EXPECT_EQ(errorOf(urlOf(deep + "/f/missing"))->code(), 4);
}

TEST_F(NSURLResourceValuesTests, ARelativePathCountsFromTheCurrentFolder) {
  EXPECT_EQ(testing::runInChild([&] {
              folder_.write("file", "123");
              id size;
              return ::chdir(folder_.path().c_str()) == 0 &&
                             NSURL::URLWithString("file:file")
                                 ->getResourceValue_forKey_error(&size, NSURLFileSizeKey) &&
                             size->isEqual(3)
                         ? 0
                         : 1;
            }),
            0);
}

TEST_F(NSURLResourceValuesTests, TheVolumeOfTheRootHasTheNameOfTheSystem) {
  EXPECT_TRUE(isTrue("/", NSURLIsVolumeKey));
  EXPECT_EQ(volumeRoot("/"), "/");
  const auto system = systemNameIn(systemRelease());
  if (!system) GTEST_SKIP() << "the system has no name";
  EXPECT_EQ(volumeName("/"), *system);
}

TEST_F(NSURLResourceValuesTests, ASystemWithoutANameHasThatOfTheComputer) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can change its root";
  std::filesystem::create_directories(at("jail/proc"));
  std::filesystem::create_directories(at("jail/below"));
  const int status = testing::runInChild([&] {
    char name[256] = {};
    const bool isReady = ::unshare(CLONE_NEWNS | CLONE_NEWUTS) == 0 &&
                         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         ::mount("proc", at("jail/proc").c_str(), "proc", 0, nullptr) == 0 &&
                         ::sethostname("workbench", 9) == 0 &&
                         ::gethostname(name, sizeof name) == 0 &&
                         ::chroot(at("jail").c_str()) == 0 && ::chdir("/") == 0;
    return isReady && volumeName("/below") == "workbench" && volumeRoot("/below") == "/" &&
                   isTrue("/", NSURLIsVolumeKey) && !isTrue("/below", NSURLIsVolumeKey) &&
                   volumeName("/proc/version") == "proc" && volumeRoot("/proc") == "/proc"
               ? 0
               : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(NSURLResourceValuesTests, WithoutTheTableOfMountsVolumesAreUnknown) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can hide it";
  const auto folder = folder_.path();
  const int status = testing::runInChild([&] {
    const bool isReady = ::unshare(CLONE_NEWNS) == 0 &&
                         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         ::mount("tmpfs", "/proc", "tmpfs", 0, nullptr) == 0;
    Ref<NSError> error;
    id value;
    return isReady &&
                   !urlOf(folder)->getResourceValue_forKey_error(&value, NSURLVolumeNameKey,
                                                                 &error) &&
                   error->code() == 256 && errnoIn(error) == EIO &&
                   !urlOf(folder)->getResourceValue_forKey_error(&value, NSURLVolumeURLKey) &&
                   isTrue("/", NSURLIsVolumeKey)
               ? 0
               : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(NSURLResourceValuesTests, AVolumeWithoutALabelHasTheNameOfItsFolder) {
  for (const char* name : {"plain", "a b\tc\nd\\e", "\xFF", "\\040#"}) {
    const MountedTmpfs volume(at(name), "size=1m");
    if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
    ::mkdir(volume.at("inner").c_str(), 0755);
    std::ofstream(volume.at("inner/file")) << "x";
    EXPECT_EQ(volumeName(volume.at("inner/file")), name);
    EXPECT_EQ(volumeRoot(volume.at("inner/file")), volume.path());
    EXPECT_TRUE(isTrue(volume.path(), NSURLIsVolumeKey));
    EXPECT_FALSE(isTrue(volume.at("inner"), NSURLIsVolumeKey));
    EXPECT_FALSE(isTrue(volume.at("inner/file"), NSURLIsVolumeKey));
  }
}

TEST_F(NSURLResourceValuesTests, OfVolumesOnOneFolderTheUppermostCounts) {
  const MountedTmpfs outer(at("outer"), "size=1m");
  if (!outer.isMounted()) GTEST_SKIP() << "only root can mount";
  const MountedTmpfs first(outer.at("stack"), "size=1m");
  const MountedTmpfs second(outer.at("stack"), "size=1m");
  std::ofstream(second.at("file")) << "x";
  EXPECT_EQ(volumeRoot(second.at("file")), second.path());
  EXPECT_EQ(volumeName(second.at("file")), "stack");
  EXPECT_EQ(volumeName(outer.path()), "outer");
}

TEST_F(NSURLResourceValuesTests, APartThatIsMountedElsewhereIsAVolumeThere) {
  const MountedTmpfs volume(at("volume"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  ::mkdir(volume.at("source").c_str(), 0755);
  ::mkdir(volume.at("bound").c_str(), 0755);
  std::ofstream(volume.at("source/file")) << "x";
  std::ofstream(volume.at("alone")) << "x";
  const auto bind = [&](const char* from, const char* to) {
    return ::mount(volume.at(from).c_str(), volume.at(to).c_str(), nullptr, MS_BIND, nullptr) == 0;
  };
  ASSERT_TRUE(bind("source", "bound") && bind("source/file", "alone"));
  EXPECT_EQ(volumeName(volume.at("bound/file")), "bound");
  EXPECT_EQ(volumeRoot(volume.at("bound/file")), volume.at("bound"));
  EXPECT_TRUE(isTrue(volume.at("bound"), NSURLIsVolumeKey));
  EXPECT_EQ(volumeRoot(volume.at("source/file")), volume.path());
  EXPECT_FALSE(isTrue(volume.at("alone"), NSURLIsVolumeKey)) << "a file is no volume";
  EXPECT_EQ(volumeName(volume.at("alone")), "volume");
  EXPECT_EQ(volumeRoot(volume.at("alone")), volume.path());
  ::umount2(volume.at("alone").c_str(), MNT_DETACH);
  ::umount2(volume.at("bound").c_str(), MNT_DETACH);
}

TEST_F(NSURLResourceValuesTests, AVolumeHasTheNameOfItsLabel) {
  const struct {
    const char* kind;
    const char* size;
  } rows[] = {{"ext4", "16M"}, {"btrfs", "128M"}};
  for (const auto& [kind, size] : rows) {
    const MountedImage volume(at(kind), kind, size, "-L 'My \xC3\xA4 Disk'");
    if (!volume.isMounted()) GTEST_SKIP() << "no " << kind << " can be mounted here";
    std::ofstream(volume.at("file")) << "x";
    EXPECT_EQ(volumeName(volume.at("file")), "My \xC3\xA4 Disk") << kind;
    EXPECT_EQ(volumeRoot(volume.at("file")), at(kind));
  }
}

TEST_F(NSURLResourceValuesTests, WhereTheFileSystemTellsNoLabelTheRegisterOfDevicesDoes) {
  const MountedImage volume(at("disk"), "ext4", "16M");
  if (!volume.isMounted()) GTEST_SKIP() << "no ext4 can be mounted here";
  EXPECT_EQ(volumeName(at("disk")), "disk");
  struct stat facts;
  ASSERT_EQ(::stat(at("disk").c_str(), &facts), 0);
  const std::string entry = "/run/udev/data/b" + std::to_string(major(facts.st_dev)) + ":" +
                            std::to_string(minor(facts.st_dev));
  const int status = testing::runInChild([&] {
    const bool isReady = ::unshare(CLONE_NEWNS) == 0 &&
                         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         ::mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0;
    std::filesystem::create_directories("/run/udev/data");
    std::ofstream(entry) << "I:1\nE:ID_FS_LABEL=My_Stick\nE:ID_FS_LABEL_ENC=My\\x20Stick\nV:1\n";
    return isReady && volumeName(at("disk")) == "My Stick" ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(NSURLResourceValuesTests, AVolumeThatDoesNotAnswerHoldsUpNobodyElse) {
  const int server = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
  ::mkdir(at("silent").c_str(), 0755);
  const std::string options =
      "fd=" + std::to_string(server) + ",rootmode=40000,user_id=0,group_id=0";
  if (server < 0 || ::mount("silent", at("silent").c_str(), "fuse", 0, options.c_str()) != 0) {
    GTEST_SKIP() << "no such file system can be mounted here";
  }
  folder_.write("file", "x");
  EXPECT_EQ(volumeRoot(at("file")), volumeRoot("/tmp"));
  EXPECT_FALSE(volumeName(at("file")).empty());
  ::umount2(at("silent").c_str(), MNT_DETACH);
  ::close(server);
}

}  // namespace
}  // namespace kestova
