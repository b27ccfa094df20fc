// SPDX-License-Identifier: Apache-2.0
#include "files/TreeCopier.h"

#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

#include <atomic>
#include <cstdlib>
#include <latch>
#include <new>
#include <optional>
#include <string_view>

#include "ChildProcess.h"
#include "FileAttributes.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

using testing::ScriptedFileSystemCalls;

class TreeCopierTest : public testing::TransferFixture {
 protected:
  void expectFaithfulCopy() {
    ASSERT_EQ(copy("tree", "copy"), noErr) << last().item;
    EXPECT_EQ(differences(at("tree"), at("into/copy")), "");
    EXPECT_EQ(list("into"), std::set<std::string>{"copy"});
  }
  void run(const std::string& command) {
    ASSERT_EQ(std::system(("cd '" + at("") + "' && " + command).c_str()), 0) << command;
  }
  std::string manyFiles(const std::string& name, int count) {
    makeFolder(name);
    for (int file = 0; file < count; ++file) {
      write(name + "/" + std::to_string(file), std::string(static_cast<std::size_t>(file), 'x'));
    }
    return name;
  }
};

TEST_F(TreeCopierTest, CopiesAnEmptyFolder) {
  makeFolder("tree");
  expectFaithfulCopy();
  EXPECT_TRUE(list("into/copy").empty());
}

TEST_F(TreeCopierTest, CopiesFilesAndFolders) {
  manyFiles("tree/a/b", 30);
  manyFiles("tree/c", 20);
  makeFolder("tree/empty");
  expectFaithfulCopy();
}

TEST_F(TreeCopierTest, CopiesAFolderOfSeveralBatches) {
  makeFolder("tree");
  for (int file = 0; file < 5000; ++file)
    write("tree/file with a long name " + std::to_string(file), "x");
  for (int folder = 0; folder < 2000; ++folder)
    makeFolder("tree/folder " + std::to_string(folder) + "/x");
  expectFaithfulCopy();
  EXPECT_EQ(last().figures.objects.complete, 9001u);
}

TEST_F(TreeCopierTest, KeepsPermissionsOfAllKinds) {
  makeFolder("tree");
  for (const mode_t mode :
       {0u, 0400u, 0444u, 0600u, 0755u, 0777u, 01644u, 02755u, 04755u, 06711u}) {
    const std::string file = "tree/file" + std::to_string(mode);
    write(file, "text");
    ::chmod(at(file).c_str(), mode);
    const std::string folder = "tree/folder" + std::to_string(mode);
    makeFolder(folder + "/inner");
    ::chmod(at(folder).c_str(), mode);
  }
  expectFaithfulCopy();
  EXPECT_EQ(facts("into/copy/file" + std::to_string(06711)).st_mode & 07777, 06711u);
}

TEST_F(TreeCopierTest, KeepsPermissionsWhateverTheMask) {
  manyFiles("tree", 1);
  ::chmod(at("tree").c_str(), 0777);
  ::chmod(at("tree/0").c_str(), 0666);
  const mode_t before = ::umask(077);
  expectFaithfulCopy();
  EXPECT_EQ(::umask(before), 077u) << "the process's own mask has changed";
}

TEST_F(TreeCopierTest, KeepsPermissionsWhereAThreadCannotHaveAMaskOfItsOwn) {
  manyFiles("tree", 3);
  ::chmod(at("tree/1").c_str(), 0666);
  ScriptedFileSystemCalls calls;
  calls.onClearUmask = [] { return std::optional(ScriptedFileSystemCalls::failure(EPERM)); };
  expectFaithfulCopy();
}

TEST_F(TreeCopierTest, KeepsTimesToTheNanosecond) {
  manyFiles("tree/folder", 2);
  const timespec accessed{1000000000, 123456789};
  const timespec modified{-5, 987654321};
  std::filesystem::create_symlink("nowhere", at("tree/link"));
  for (const std::string name : {"tree/folder/1", "tree/link", "tree/folder", "tree"}) {
    ASSERT_TRUE(testing::setTimes(at(name), accessed, modified));
  }
  ASSERT_EQ(copy("tree", "copy"), noErr);
  for (const std::string name : {"/folder/1", "/link", "/folder", ""}) {
    const struct stat copied = facts("into/copy" + name);
    EXPECT_TRUE(testing::isSameTime(copied.st_atim, accessed)) << name;
    EXPECT_TRUE(testing::isSameTime(copied.st_mtim, modified)) << name;
  }
}

TEST_F(TreeCopierTest, KeepsOwners) {
  manyFiles("tree/folder", 3);
  std::filesystem::create_symlink("x", at("tree/link"));
  run("chown 65534:1234 tree/folder tree/folder/1 && chown -h 12:13 tree/link && chmod 4755 "
      "tree/folder/1");
  expectFaithfulCopy();
  EXPECT_EQ(facts("into/copy/folder/1").st_uid, 65534u);
  EXPECT_EQ(facts("into/copy/folder/1").st_mode & 07777, 04755u);
  EXPECT_EQ(facts("into/copy/link").st_uid, 12u);
}

TEST_F(TreeCopierTest, KeepsOwnersInAFolderThatHandsDownItsGroup) {
  manyFiles("tree/folder", 3);
  run("chown :4321 into && chmod g+s into");
  expectFaithfulCopy();
  EXPECT_EQ(facts("into/copy/folder").st_mode & S_ISGID, 0u);
}

TEST_F(TreeCopierTest, KeepsExtendedAttributes) {
  manyFiles("tree/folder", 2);
  ASSERT_TRUE(testing::setAttribute(at("tree/folder/1"), "user.colour", "green"));
  ASSERT_TRUE(testing::setAttribute(at("tree/folder/1"), "user.empty", ""));
  ASSERT_TRUE(testing::setAttribute(at("tree/folder"), "user.large", std::string(3000, 'v')));
  ASSERT_TRUE(testing::setAttribute(at("tree/folder/0"), "trusted.secret", "root only"));
  ASSERT_EQ(::chmod(at("tree/folder/1").c_str(), 0400), 0);
  expectFaithfulCopy();
  EXPECT_EQ(testing::attribute(at("into/copy/folder/1"), "user.colour"), "green");
  EXPECT_EQ(testing::attribute(at("into/copy/folder/1"), "user.empty"), "");
  EXPECT_EQ(testing::attribute(at("into/copy/folder"), "user.large").size(), 3000u);
  EXPECT_EQ(testing::attribute(at("into/copy/folder/0"), "trusted.secret"), "root only");
}

TEST_F(TreeCopierTest, KeepsMoreAttributesThanFitIntoOneSmallList) {
  manyFiles("tree", 1);
  for (int each = 0; each < 30; ++each) {
    const std::string name = "user." + std::string(60, 'n') + std::to_string(each);
    ASSERT_TRUE(testing::setAttribute(at("tree/0"), name.c_str(), "v"));
  }
  expectFaithfulCopy();
}

TEST_F(TreeCopierTest, KeepsAttributesOfLinksAndSpecialFiles) {
  makeFolder("tree");
  std::filesystem::create_symlink("x", at("tree/link"));
  ::mkfifo(at("tree/pipe").c_str(), 0600);
  ASSERT_TRUE(testing::setAttribute(at("tree/link"), "trusted.note", "link"));
  ASSERT_TRUE(testing::setAttribute(at("tree/pipe"), "trusted.note", "pipe"));
  expectFaithfulCopy();
  EXPECT_EQ(testing::attribute(at("into/copy/link"), "trusted.note"), "link");
  EXPECT_EQ(testing::attribute(at("into/copy/pipe"), "trusted.note"), "pipe");
}

TEST_F(TreeCopierTest, KeepsCapabilities) {
  manyFiles("tree", 2);
  run("chown 65534 tree/1 && setcap cap_net_raw+ep tree/1 2>/dev/null || "
      "setfattr -n security.capability -v 0x0100000200200000000000000000000000000000 tree/1");
  expectFaithfulCopy();
  EXPECT_NE(testing::attribute(at("into/copy/1"), "security.capability"), "(none)");
}

TEST_F(TreeCopierTest, KeepsAccessLists) {
  manyFiles("tree/folder", 2);
  run("setfacl -m u:nobody:rwx,g:daemon:r tree/folder/1 && setfacl -m u:nobody:rx tree/folder && "
      "setfacl -d -m u:nobody:rwx,g::r tree/folder");
  expectFaithfulCopy();
  EXPECT_NE(testing::attribute(at("into/copy/folder"), "system.posix_acl_default"), "(none)");
}

TEST_F(TreeCopierTest, TakesNoAccessListsFromTheDestination) {
  manyFiles("tree/folder", 2);
  run("setfacl -d -m u:nobody:rwx into");
  expectFaithfulCopy();
  EXPECT_EQ(testing::attribute(at("into/copy"), "system.posix_acl_default"), "(none)");
}

TEST_F(TreeCopierTest, CopiesLinksAsLinks) {
  manyFiles("tree/folder", 2);
  std::filesystem::create_symlink("folder", at("tree/to folder"));
  std::filesystem::create_symlink("does/not/exist", at("tree/dangling"));
  std::filesystem::create_symlink(std::string(4095, 'l'), at("tree/long"));
  std::filesystem::create_symlink("/", at("tree/root"));
  expectFaithfulCopy();
  EXPECT_EQ(last().figures.objects.complete, 8u);
}

TEST_F(TreeCopierTest, CopiesALinkThatIsTheSourceItself) {
  std::filesystem::create_symlink("target", at("link"));
  EXPECT_EQ(copy("link", "copy"), noErr);
  EXPECT_EQ(std::filesystem::read_symlink(at("into/copy")), "target");
}

TEST_F(TreeCopierTest, CopiesSpecialFiles) {
  makeFolder("tree");
  ASSERT_EQ(::mkfifo(at("tree/pipe").c_str(), 0640), 0);
  ASSERT_EQ(::mknod(at("tree/null").c_str(), S_IFCHR | 0666, makedev(1, 3)), 0);
  ASSERT_EQ(::mknod(at("tree/disk").c_str(), S_IFBLK | 0600, makedev(7, 250)), 0);
  ASSERT_EQ(::mknod(at("tree/socket").c_str(), S_IFSOCK | 0755, 0), 0);
  expectFaithfulCopy();
  EXPECT_EQ(facts("into/copy/null").st_rdev, makedev(1, 3));
  EXPECT_TRUE(S_ISSOCK(facts("into/copy/socket").st_mode));
}

TEST_F(TreeCopierTest, KeepsLinksAmongFilesOneFile) {
  manyFiles("tree/a", 3);
  manyFiles("tree/b", 1);
  std::filesystem::create_hard_link(at("tree/a/2"), at("tree/b/second"));
  std::filesystem::create_hard_link(at("tree/a/2"), at("tree/third"));
  std::filesystem::create_hard_link(at("tree/a/1"), at("outside"));
  expectFaithfulCopy();
  EXPECT_EQ(facts("into/copy/a/2").st_ino, facts("into/copy/b/second").st_ino);
  EXPECT_EQ(facts("into/copy/a/2").st_nlink, 3u);
  EXPECT_EQ(facts("into/copy/a/1").st_nlink, 1u);
  EXPECT_EQ(last().figures.bytes.complete, 3u) << "a further link has no bytes";
  EXPECT_EQ(last().figures.objects.complete, 9u);
}

TEST_F(TreeCopierTest, KeepsLinksAmongLinksAndPipes) {
  makeFolder("tree");
  std::filesystem::create_symlink("x", at("tree/link"));
  std::filesystem::create_hard_link(at("tree/link"), at("tree/link2"));
  ASSERT_EQ(::mkfifo(at("tree/pipe").c_str(), 0640), 0);
  std::filesystem::create_hard_link(at("tree/pipe"), at("tree/pipe2"));
  expectFaithfulCopy();
  EXPECT_EQ(facts("into/copy/pipe").st_nlink, 2u);
}

TEST_F(TreeCopierTest, KeepsLinksOfAnItemNamedLikeItsOwnFolderOfLinks) {
  manyFiles("tree", 2);
  std::filesystem::create_hard_link(at("tree/1"), at("tree/second"));
  ASSERT_EQ(copy("tree", "links"), noErr);
  EXPECT_EQ(differences(at("tree"), at("into/links")), "");
}

TEST_F(TreeCopierTest, CopiesNamesOfAnyBytes) {
  makeFolder("tree");
  for (const std::string name : {"\xff\xfe not text", "new\nline", "tab\t", " blank ", "*?[", "-rf",
                                 "\xe4", "caf\xc3\xa9", "cafe\xcc\x81", "..."}) {
    write("tree/" + name, name);
    makeFolder("tree/folder " + name);
  }
  expectFaithfulCopy();
  EXPECT_EQ(copy("tree/\xff\xfe not text", "\x80"), noErr);
  EXPECT_TRUE(exists("into/\x80"));
}

TEST_F(TreeCopierTest, CopiesHolesAsHoles) {
  makeFolder("tree");
  const std::string path = write("tree/sparse", "start");
  std::filesystem::resize_file(path, 50 << 20);
  {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(20 << 20) << std::string(1 << 20, 'm');
  }
  write("tree/only hole", "");
  std::filesystem::resize_file(at("tree/only hole"), 1 << 20);
  expectFaithfulCopy();
  EXPECT_LE(facts("into/copy/sparse").st_blocks, facts("tree/sparse").st_blocks + 16);
  EXPECT_EQ(facts("into/copy/only hole").st_blocks, 0);
  EXPECT_EQ(last().figures.bytes.complete, std::uint64_t{51 << 20});
}

class DeepTreeTest : public TreeCopierTest {
 protected:
  // Names go from a folder to its child by descriptors, as the paths are longer than a path can be.
  void makeDeep(int depth, const char* sibling) {
    makeFolder("tree");
    FileDescriptor folder(::open(at("tree").c_str(), O_RDONLY | O_DIRECTORY));
    const std::string name(100, 'n');
    for (int level = 0; level < depth; ++level) {
      ASSERT_EQ(::mkdirat(folder.get(), name.c_str(), 0755), 0);
      if (sibling) {
        ASSERT_EQ(::mkdirat(folder.get(), sibling, 0755), 0);
      }
      const FileDescriptor file(::openat(folder.get(), "file", O_CREAT | O_WRONLY, 0644));
      ASSERT_EQ(::write(file.get(), "text", 4), 4);
      folder = FileDescriptor(::openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY));
    }
  }
  int depthOf(const std::string& top) {
    FileDescriptor folder(::open(at(top).c_str(), O_RDONLY | O_DIRECTORY));
    int depth = -1;
    for (; folder; ++depth) {
      folder = FileDescriptor(
          ::openat(folder.get(), std::string(100, 'n').c_str(), O_RDONLY | O_DIRECTORY));
    }
    return depth;
  }
};

TEST_F(DeepTreeTest, CopiesAHundredLevels) {
  makeDeep(100, nullptr);
  ASSERT_EQ(copy("tree", "copy"), noErr);
  EXPECT_EQ(depthOf("into/copy"), 100);
}

TEST_F(DeepTreeTest, CopiesMoreLevelsThanDescriptorsAndPathsAllow) {
  makeDeep(1500, nullptr);
  ASSERT_EQ(copy("tree", "copy"), noErr);
  EXPECT_EQ(depthOf("into/copy"), 1500);
  EXPECT_EQ(last().figures.objects.complete, 3001u);
}

TEST_F(DeepTreeTest, CopiesDeepTreesWithSiblingsAtEachLevel) {
  makeDeep(1500, "sibling");
  ASSERT_EQ(copy("tree", "copy"), noErr);
  EXPECT_EQ(depthOf("into/copy"), 1500);
  EXPECT_EQ(last().figures.objects.complete, 4501u);
}

TEST_F(TreeCopierTest, FailsOnAFileThatVanishes) {
  manyFiles("tree/folder", 10);
  ScriptedFileSystemCalls calls;
  calls.onOpen = [&](int, const char* name, int flags) -> std::optional<int> {
    if (std::string(name) == "7" && (flags & O_CREAT) == 0) ::unlink(at("tree/folder/7").c_str());
    return std::nullopt;
  };
  EXPECT_EQ(copy("tree", "copy"), fnfErr);
  EXPECT_EQ(last().item, at("tree/folder/7"));
  EXPECT_EQ(last().stage, TransferStage::complete);
  EXPECT_TRUE(list("into").empty());
}

TEST_F(TreeCopierTest, DoesNotFollowALinkThatTookAFoldersPlace) {
  manyFiles("tree/folder", 2);
  manyFiles("secret", 2);
  ScriptedFileSystemCalls calls;
  std::atomic<bool> swapped = false;
  calls.onOpen = [&](int, const char* name, int flags) -> std::optional<int> {
    if (std::string(name) == "folder" && (flags & O_DIRECTORY) != 0 && !swapped.exchange(true)) {
      std::filesystem::rename(at("tree/folder"), at("moved away"));
      std::filesystem::create_directory_symlink(at("secret"), at("tree/folder"));
    }
    return std::nullopt;
  };
  EXPECT_NE(copy("tree", "copy", kTransferSkipPreflight), noErr);
  EXPECT_EQ(last().item, at("tree/folder"));
  EXPECT_TRUE(list("into").empty());
}

TEST_F(TreeCopierTest, DoesNotFollowALinkThatTookAFilesPlace) {
  manyFiles("tree", 2);
  write("secret", "secret");
  ScriptedFileSystemCalls calls;
  std::atomic<bool> swapped = false;
  calls.onOpen = [&](int, const char* name, int flags) -> std::optional<int> {
    if (std::string(name) == "1" && (flags & O_CREAT) == 0 && !swapped.exchange(true)) {
      ::unlink(at("tree/1").c_str());
      std::filesystem::create_symlink(at("secret"), at("tree/1"));
    }
    return std::nullopt;
  };
  EXPECT_EQ(copy("tree", "copy"), fnfErr);
  EXPECT_TRUE(list("into").empty());
}

TEST_F(TreeCopierTest, FailsOnAFileThatBecomesAPipeWithoutWaitingForIt) {
  manyFiles("tree", 2);
  ScriptedFileSystemCalls calls;
  std::atomic<bool> swapped = false;
  calls.onOpen = [&](int, const char* name, int flags) -> std::optional<int> {
    if (std::string(name) == "1" && (flags & O_CREAT) == 0 && !swapped.exchange(true)) {
      ::unlink(at("tree/1").c_str());
      ::mkfifo(at("tree/1").c_str(), 0600);
    }
    return std::nullopt;
  };
  EXPECT_EQ(copy("tree", "copy"), fnfErr);
}

TEST_F(TreeCopierTest, CorrectsTheFiguresOfAFileThatGrewAndOneThatShrank) {
  makeFolder("tree");
  write("tree/grows", "1234");
  write("tree/shrinks", "12345678");
  ScriptedFileSystemCalls calls;
  calls.onOpen = [&](int, const char* name, int flags) -> std::optional<int> {
    if ((flags & O_CREAT) != 0) return std::nullopt;
    if (std::string(name) == "grows") write("tree/grows", "123456");
    if (std::string(name) == "shrinks") write("tree/shrinks", "1");
    return std::nullopt;
  };
  EXPECT_EQ(copy("tree", "copy"), noErr);
  EXPECT_EQ(last().figures.bytes.total, 7u);
  EXPECT_EQ(last().figures.bytes.complete, 7u);
  EXPECT_EQ(last().figures.bytes.remaining, 0u);
}

TEST_F(TreeCopierTest, FailsWhenAListingCannotBeRead) {
  manyFiles("tree/folder", 10);
  ScriptedFileSystemCalls calls;
  std::atomic<int> listings = 0;
  calls.onList = [&](int) -> std::optional<ssize_t> {
    if (++listings != 4) return std::nullopt;
    return ScriptedFileSystemCalls::failure(EIO);
  };
  EXPECT_EQ(copy("tree", "copy", kTransferSkipPreflight), ioErr);
  EXPECT_TRUE(list("into").empty());
}

// The thread that copies the first of two links runs out of memory when another one needs the copy.
TEST_F(TreeCopierTest, NobodyWaitsForACopyThatThereIsNoMemoryFor) {
  makeFolder("tree/a");
  makeFolder("tree/b");
  write("tree/a/file", "text");
  std::filesystem::create_hard_link(at("tree/a/file"), at("tree/b/file"));
  ScriptedFileSystemCalls calls;
  std::latch bothAreOpen(2);
  std::atomic<int> copies = 0;
  calls.onOpen = [&](int, const char* name, int flags) -> std::optional<int> {
    if (std::string_view(name) != "file") return std::nullopt;
    if ((flags & O_CREAT) == 0) {
      bothAreOpen.count_down();
    } else if (++copies == 1) {
      bothAreOpen.wait();
      throw std::bad_alloc();
    }
    return std::nullopt;
  };
  EXPECT_EQ(copy("tree", "copy", kTransferSkipPreflight), memFullErr);
  EXPECT_TRUE(list("into").empty());
}

class PermissionTest : public TreeCopierTest {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
    manyFiles("tree/open", 3);
    manyFiles("tree/closed", 2);
    write("tree/secret", "secret");
    run("chown -R 65534:65534 . && chmod 755 . && chown root tree/closed tree/secret && chmod 0 "
        "tree/closed tree/secret");
  }
  // The parts of the outcome that fit into an exit code.
  int copyAsNobody(std::uint32_t options) {
    return testing::runAsNobody([&] {
      const OSStatus status = copy("tree", "copy", options);
      if (status == afpAccessDenied)
        return last().item == at("tree/secret") || last().item == at("tree/closed") ? 50 : 51;
      if (status != noErr) return 1;
      const TransferCount& objects = last().figures.objects;
      return objects.complete == 5 && objects.total == 5 && last().figures.bytes.total == 3 ? 0 : 2;
    });
  }
};

TEST_F(PermissionTest, WhatMayNotBeReadFailsTheCopy) {
  EXPECT_EQ(copyAsNobody(0), 50);
  EXPECT_EQ(copyAsNobody(kTransferSkipPreflight), 50);
  EXPECT_TRUE(list("into").empty());
}

TEST_F(PermissionTest, WhatMayNotBeReadIsLeftOutIfAsked) {
  EXPECT_EQ(copyAsNobody(kTransferSkipSourcePermissionErrors), 0);
  EXPECT_EQ(list("into/copy"), std::set<std::string>{"open"});
  EXPECT_EQ(list("into/copy/open").size(), 3u);
}

TEST_F(PermissionTest, WhatMayNotBeReadIsLeftOutWithoutPreflightToo) {
  EXPECT_EQ(copyAsNobody(kTransferSkipSourcePermissionErrors | kTransferSkipPreflight), 0);
}

TEST_F(PermissionTest, ASourceThatMayNotBeReadItselfIsNotLeftOut) {
  const int status = testing::runAsNobody([&] {
    return copy("tree/secret", "copy", kTransferSkipSourcePermissionErrors) == afpAccessDenied &&
                   copy("tree/closed", "copy2", kTransferSkipSourcePermissionErrors) ==
                       afpAccessDenied
               ? 0
               : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(PermissionTest, FoldersAndFilesWithoutTheRightToWriteAreCopied) {
  run("rm -rf tree/closed tree/secret && setfattr -n user.note -v x tree/open/1 tree/open && "
      "setfacl -m u:daemon:r tree && chmod 444 tree/open/1 && chmod 555 tree/open tree");
  const int status = testing::runAsNobody([&] { return copy("tree", "copy") == noErr ? 0 : 1; });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(differences(at("tree"), at("into/copy")), "");
}

TEST_F(PermissionTest, AnOwnerThatCannotBeKeptTakesTheSetIdBitsAlong) {
  run("rm -rf tree/closed tree/secret && chown root:root tree/open/1 && chmod 6755 tree/open/1");
  const int status = testing::runAsNobody([&] { return copy("tree", "copy") == noErr ? 0 : 1; });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(facts("into/copy/open/1").st_mode & 07777, 0755u);
  EXPECT_EQ(facts("into/copy/open/1").st_uid, 65534u);
}

TEST_F(PermissionTest, ADestinationThatMayNotBeWrittenToIsDenied) {
  run("rm -rf tree/closed tree/secret && chown root into && chmod 755 into");
  const int status =
      testing::runAsNobody([&] { return copy("tree", "copy") == afpAccessDenied ? 0 : 1; });
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace kestova
