// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>
#include <KestovaPlatform/FoundationErrors.h>
#include <KestovaPlatform/NSBeep.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSTimer.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>

#include "BothStorages.h"
#include "ChildProcess.h"
#include "DeepFolders.h"
#include "MountedTmpfs.h"
#include "RandomRun.h"
#include "ShellRun.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using namespace std::literals;
using testing::forBothStorages;

Ref<NSString> pathText(const std::string& path) {
  return NSString::stringWithFileSystemRepresentation(path);
}

/// Counts the beeps while it lives.
class CountedBeeps : public AlertSound {
 public:
  CountedBeeps() { setCurrent(this); }
  ~CountedBeeps() override { setCurrent(nullptr); }
  void play() override { ++count; }

  int count = 0;
};

class NSFileManagerAdditionsTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }
  Ref<NSString> path(const std::string& name) const { return pathText(at(name)); }
  void write(const std::string& name, const std::string& text = "") const {
    folder_.write(name, text);
  }
  void makeFolder(const std::string& name) const { fs::create_directories(at(name)); }

  /// The names in a folder.
  std::set<std::string> names(const std::string& name) const {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(at(name))) {
      found.insert(entry.path().filename());
    }
    return found;
  }

  std::string duplicateOf(const std::string& name) const {
    return pathForDuplicateOfFileAtPath(files_, path(name))->fileSystemRepresentation();
  }
  std::string uniqueOf(const std::string& name) const {
    return uniquePathForFileWithDesiredPath(files_, path(name))->fileSystemRepresentation();
  }
  bool move(const std::string& from, const std::string& to, bool replace) const {
    return moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(files_, path(from), path(to),
                                                                     replace);
  }
  std::uint64_t size(const std::string& name, NSUInteger options = 0) const {
    return sizeOfItemAtPath_options(files_, path(name), options);
  }
  Ref<NSString> typeOf(const std::string& name) const {
    return fileTypeForFileAtPath(files_, path(name));
  }

  const Ref<NSFileManager> files_ = NSFileManager::defaultManager();
  testing::TemporaryFolder folder_;
};

// Names

// Shows: validatedFileName
TEST_F(NSFileManagerAdditionsTests, AValidNameHasColonsForSlashes) {
  forBothStorages(u"a/b", [&](const Ref<NSString>& name) {
    EXPECT_EQ(validatedFileName(files_, name), u"a:b");
  });
  EXPECT_EQ(validatedFileName(files_, "/a//b/"), u":a::b:");
  EXPECT_EQ(validatedFileName(files_, "a:b"), u"a:b");
  EXPECT_EQ(validatedFileName(files_, ""), u"");
  EXPECT_EQ(validatedFileName(files_, nullptr), nullptr);
}

// Shows: validatedFileName
TEST_F(NSFileManagerAdditionsTests, AValidNameHasNoControlCharacters) {
  forBothStorages(
      u"a\0\x01\n\t\x7f\x85\x200e\xfeff"
      u"b"sv,
      [&](const Ref<NSString>& name) { EXPECT_EQ(validatedFileName(files_, name), u"ab"); });
  EXPECT_EQ(validatedFileName(files_, "\n"), u"");
}

// Shows: validatedFileName
TEST_F(NSFileManagerAdditionsTests, AValidNameIsDecomposed) {
  EXPECT_EQ(validatedFileName(files_, u"\u00e9"), u"e\u0301");
  EXPECT_EQ(validatedFileName(files_, u"\uac00"), u"\u1100\u1161");
}

// Shows: validatedFileName
TEST_F(NSFileManagerAdditionsTests, AValidNameHas255UnitsAtMost) {
  for (const std::size_t length : {254, 255, 256, 300}) {
    forBothStorages(std::u16string(length, u'n'), [&](const Ref<NSString>& name) {
      EXPECT_EQ(validatedFileName(files_, name)->length(), std::min<std::size_t>(length, 255));
    });
  }
  // The cut comes after the decomposition: 200 letters are 400 units then.
  EXPECT_EQ(
      validatedFileName(files_, NSString::stringWithUTF16Storage(std::u16string(200, u'\u00e9')))
          ->length(),
      255U);
}

// Shows: validatedFileName
TEST_F(NSFileManagerAdditionsTests, ACharacterThatHalfFitsIsLeftOut) {
  const std::u16string smile = u"\U0001F600";
  const auto cut = validatedFileName(
      files_, NSString::stringWithUTF16Storage(std::u16string(254, u'n') + smile + u"x"));
  EXPECT_EQ(cut->utf16(), std::u16string(254, u'n'));
  const auto fits = validatedFileName(
      files_, NSString::stringWithUTF16Storage(std::u16string(253, u'n') + smile));
  EXPECT_EQ(fits->utf16(), std::u16string(253, u'n') + smile);
}

// Shows: validatedFileName
TEST_F(NSFileManagerAdditionsTests, NamesOfAnyBytesStayValidAndHalfCharactersAreNot) {
  EXPECT_EQ(validatedFileName(files_, pathText("\xFF\xFE"))->fileSystemRepresentation(),
            "\xFF\xFE");
  EXPECT_EQ(validatedFileName(files_, NSString::stringWithUTF16Storage(u"a\xD800z")), nullptr);
}

// Shows: pathForDuplicateOfFileAtPath, uniquePathForFileWithDesiredPath
TEST_F(NSFileManagerAdditionsTests, AFreePathNeedsNoOtherName) {
  EXPECT_EQ(duplicateOf("missing.txt"), at("missing.txt"));
  EXPECT_EQ(uniqueOf("missing.txt"), at("missing.txt"));
  EXPECT_EQ(pathForDuplicateOfFileAtPath(files_, nullptr), nullptr);
  EXPECT_EQ(uniquePathForFileWithDesiredPath(files_, nullptr), nullptr);
}

// Shows: pathForDuplicateOfFileAtPath
TEST_F(NSFileManagerAdditionsTests, TheNamesOfDuplicatesGrow) {
  write("report.txt");
  EXPECT_EQ(duplicateOf("report.txt"), at("report copy.txt"));
  write("report copy.txt");
  EXPECT_EQ(duplicateOf("report.txt"), at("report copy.txt copy 1.txt"));
  write("report copy.txt copy 1.txt");
  EXPECT_EQ(duplicateOf("report.txt"), at("report copy.txt copy 1.txt copy 2.txt"));
  write("report copy.txt copy 1.txt copy 2.txt");
  EXPECT_EQ(duplicateOf("report.txt"), at("report copy.txt copy 1.txt copy 2.txt copy 3.txt"));
}

// Shows: pathForDuplicateOfFileAtPath
TEST_F(NSFileManagerAdditionsTests, TheNamesOfDuplicatesWithoutExtensionGrowAsWell) {
  makeFolder("notes");
  EXPECT_EQ(duplicateOf("notes"), at("notes copy"));
  EXPECT_EQ(duplicateOf("notes/"), at("notes copy"));
  write("notes copy");
  EXPECT_EQ(duplicateOf("notes"), at("notes copy copy 1"));
  write("notes copy copy 1");
  EXPECT_EQ(duplicateOf("notes"), at("notes copy copy 1 copy 2"));
}

// Shows: uniquePathForFileWithDesiredPath
TEST_F(NSFileManagerAdditionsTests, UniqueNamesAreNumberedFromTwo) {
  write("a.txt");
  EXPECT_EQ(uniqueOf("a.txt"), at("a 2.txt"));
  write("a 2.txt");
  EXPECT_EQ(uniqueOf("a.txt"), at("a 3.txt"));
  write("a 4.txt");
  EXPECT_EQ(uniqueOf("a.txt"), at("a 3.txt"));
  EXPECT_EQ(uniqueOf("a 2.txt"), at("a 2 2.txt"));
  write("plain");
  EXPECT_EQ(uniqueOf("plain"), at("plain 2"));
  for (int number = 2; number < 120; ++number) write("plain " + std::to_string(number));
  EXPECT_EQ(uniqueOf("plain"), at("plain 120"));
}

// Shows: uniquePathForFileWithDesiredPath
TEST_F(NSFileManagerAdditionsTests, UniqueNamesPutTheNumberBeforeTheExtensionWhateverTheName) {
  for (const auto& [name, expected] : std::initializer_list<std::pair<const char*, const char*>>{
           {"two words.tar.gz", "two words.tar 2.gz"},
           {".hidden", ".hidden 2"},
           {"%@ %ld.txt", "%@ %ld 2.txt"},
           {"line\nfeed.x", "line\nfeed 2.x"},
           {"\xFF.x", "\xFF 2.x"},
           {"-n", "-n 2"}}) {
    write(name);
    EXPECT_EQ(uniqueOf(name), at(expected)) << name;
  }
}

// Shows: pathForDuplicateOfFileAtPath, duplicateFileAtPath_error
TEST_F(NSFileManagerAdditionsTests, ANameThatGrowsTooLongIsAnsweredAsItIs) {
  const std::string name(252, 'n');
  write(name);
  EXPECT_EQ(duplicateOf(name), at(name + " copy"));
  Ref<NSError> error;
  EXPECT_EQ(duplicateFileAtPath_error(files_, path(name), &error), nullptr);
  EXPECT_NE(error, nullptr);
}

// Shows: duplicateFileAtPath_error
TEST_F(NSFileManagerAdditionsTests, ADuplicateIsACopyWithAllThatIsInIt) {
  makeFolder("a.d/b");
  write("a.d/b/c", "text");
  const auto copy = duplicateFileAtPath_error(files_, path("a.d"));
  EXPECT_EQ(copy->fileSystemRepresentation(), at("a copy.d"));
  EXPECT_EQ(folder_.read("a copy.d/b/c"), "text");
  EXPECT_EQ(folder_.read("a.d/b/c"), "text");
}

// Shows: duplicateFileAtPath_error
TEST_F(NSFileManagerAdditionsTests, WhatIsMissingHasNoDuplicateAndThePlatformsError) {
  Ref<NSError> error;
  EXPECT_EQ(duplicateFileAtPath_error(files_, path("missing"), &error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain(), u"NSCocoaErrorDomain");
  EXPECT_EQ(duplicateFileAtPath_error(files_, path("missing")), nullptr);
  EXPECT_EQ(duplicateFileAtPath_error(files_, nullptr), nullptr);
}

// Folders and types

// Shows: findSystemFolderType_forDomain
TEST_F(NSFileManagerAdditionsTests, SystemFoldersAreFoundByKindAndDomain) {
  EXPECT_EQ(findSystemFolderType_forDomain(files_, kApplicationSupportFolderType, kSystemDomain),
            u"/usr/share");
  EXPECT_EQ(findSystemFolderType_forDomain(files_, kTemporaryFolderType, kLocalDomain), u"/tmp");
  EXPECT_EQ(findSystemFolderType_forDomain(files_, kTrashFolderType, kSystemDomain), nullptr);
  EXPECT_EQ(findSystemFolderType_forDomain(files_, 0, kUserDomain), nullptr);
}

// Shows: fileTypeForFileAtPath
TEST_F(NSFileManagerAdditionsTests, AFileHasItsTypeInOneLine) {
  write("text", "just words\n");
  write("empty");
  write("\xFF\n", "just words\n");
  makeFolder("folder");
  EXPECT_EQ(typeOf("text"), u"ASCII text");
  EXPECT_EQ(typeOf("\xFF\n"), u"ASCII text");
  EXPECT_EQ(typeOf("empty"), u"empty");
  EXPECT_EQ(typeOf("folder"), u"directory");
  EXPECT_EQ(fileTypeForFileAtPath(files_, nullptr), nullptr);
  EXPECT_EQ(fileTypeForFileAtPath(files_, NSString::stringWithUTF16Storage(u"\xD800")), nullptr);
}

// Shows: fileTypeForFileAtPath
TEST_F(NSFileManagerAdditionsTests, APathThatLooksLikeAnOptionIsAPath) {
  write("-v", "just words\n");
  const auto before = files_->currentDirectoryPath();
  files_->changeCurrentDirectoryPath(path(""));
  EXPECT_EQ(fileTypeForFileAtPath(files_, "-v"), u"ASCII text");
  files_->changeCurrentDirectoryPath(before);
}

// Shows: fileTypeForFileAtPath
TEST_F(NSFileManagerAdditionsTests, NothingOfTheThreadIsServedWhileTheTypeIsAwaited) {
  write("text", "just words\n");
  std::thread([&] {
    bool isServed = false;
    NSRunLoop::currentRunLoop()->performInModes_block(
        NSArray::of(NSDefaultRunLoopMode, NSRunLoopCommonModes), [&] { isServed = true; });
    EXPECT_NE(typeOf("text"), nullptr);
    EXPECT_FALSE(isServed);
  }).join();
}

/// What the type of a file is when something else stands in the program's place, or -1 where that
/// can't be arranged. `prepare` puts it there, in a name space of its own.
int withOtherProgram(const std::function<bool()>& prepare, const std::function<int()>& check) {
  const int status = testing::runInChild([&] {
    const bool isPrepared = ::unshare(CLONE_NEWNS) == 0 &&
                            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                            prepare();
    int result = 255;
    if (isPrepared) std::thread([&] { result = check(); }).join();  // with a run loop of its own
    return result;
  });
  return WIFEXITED(status) && WEXITSTATUS(status) != 255 ? WEXITSTATUS(status) : -1;
}

// Shows: fileTypeForFileAtPath
TEST_F(NSFileManagerAdditionsTests, AProgramThatFailsOrSaysNothingGivesNoType) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can put another program in its place";
  for (const auto& [script, expected] : std::initializer_list<std::pair<const char*, const char*>>{
           {"echo words; exit 1", nullptr},
           {"exit 0", nullptr},
           {"kill -9 $$", nullptr},
           {"printf '\\377\\n'", nullptr},
           {"echo \"$1 $2 $#\"", "-b /x 2"},
           {"printf 'no line feed'", "no line fee"},
           {"sleep 0.3; echo late", "late"},
           {"echo", ""}}) {
    const std::string program = folder_.write("file", std::string("#!/bin/sh\n") + script + "\n");
    ::chmod(program.c_str(), 0755);
    const auto prepare = [&] {
      return ::mount(program.c_str(), "/usr/bin/file", nullptr, MS_BIND, nullptr) == 0;
    };
    const auto check = [&, expected = expected] {
      const auto type = fileTypeForFileAtPath(files_, "/x");
      return (type ? expected != nullptr && type->displayUTF8() == expected : expected == nullptr)
                 ? 0
                 : 1;
    };
    EXPECT_EQ(withOtherProgram(prepare, check), 0) << script;
  }
}

// Shows: fileTypeForFileAtPath
TEST_F(NSFileManagerAdditionsTests, ThePrivateModeRunsWhileTheTypeIsAwaited) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can put another program in its place";
  const std::string program = folder_.write("file", "#!/bin/sh\nsleep 0.5; echo late\n");
  ::chmod(program.c_str(), 0755);
  const auto prepare = [&] {
    return ::mount(program.c_str(), "/usr/bin/file", nullptr, MS_BIND, nullptr) == 0;
  };
  const auto check = [&] {
    int fired = 0;
    const auto timer = NSTimer::timerWithTimeInterval_repeats_block(
        0.001, true, [&](const Ref<NSTimer>&) { ++fired; });
    NSRunLoop::currentRunLoop()->addTimer_forMode(timer, "SomePrivateMode");
    const auto type = fileTypeForFileAtPath(files_, "/x");
    timer->invalidate();
    return fired > 0 && type && type->displayUTF8() == "late" ? 0 : 1;
  };
  EXPECT_EQ(withOtherProgram(prepare, check), 0);
}

// Shows: fileTypeForFileAtPath
TEST_F(NSFileManagerAdditionsTests, AMissingProgramGivesNoType) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can take the program away";
  write("text", "just words\n");
  const auto prepare = [] { return ::mount("none", "/usr/bin", "tmpfs", 0, nullptr) == 0; };
  EXPECT_EQ(withOtherProgram(prepare, [&] { return typeOf("text") == nullptr ? 0 : 1; }), 0);
}

// Moving and removing

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, ContentsMoveAndHiddenItemsStay) {
  makeFolder("from/folder");
  makeFolder("to");
  write("from/file", "text");
  write("from/folder/inner");
  write("from/.hidden");
  EXPECT_TRUE(move("from", "to", false));
  EXPECT_EQ(names("from"), (std::set<std::string>{".hidden"}));
  EXPECT_EQ(names("to"), (std::set<std::string>{"file", "folder"}));
  EXPECT_EQ(names("to/folder"), (std::set<std::string>{"inner"}));
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, ATakenNameStaysInTheSourceUnlessItIsToBeReplaced) {
  makeFolder("from/both");
  makeFolder("to/both");
  write("from/both/new");
  write("to/both/old");
  write("from/other");
  EXPECT_TRUE(move("from", "to", false));
  EXPECT_EQ(names("from"), (std::set<std::string>{"both"}));
  EXPECT_EQ(names("to/both"), (std::set<std::string>{"old"}));
  EXPECT_TRUE(move("from", "to", true));
  EXPECT_EQ(names("from"), std::set<std::string>());
  EXPECT_EQ(names("to/both"), (std::set<std::string>{"new"}));
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, TheFirstMoveThatFailsBeepsAndEndsIt) {
  CountedBeeps beeps;
  makeFolder("from");
  makeFolder("to");
  write("from/a");
  write("from/b");
  write("from/c");
  ASSERT_EQ(::symlink("nowhere", at("to/b").c_str()), 0);  // not there, and yet in the way
  EXPECT_FALSE(move("from", "to", true));
  EXPECT_EQ(beeps.count, 1);
  EXPECT_EQ(names("from"), (std::set<std::string>{"b", "c"}));
  EXPECT_EQ(names("to"), (std::set<std::string>{"a", "b"}));
  EXPECT_FALSE(move("from", "missing", false));
  EXPECT_EQ(beeps.count, 2);
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, AFolderThatCannotBeListedCountsAsEmpty) {
  CountedBeeps beeps;
  makeFolder("to");
  write("file");
  EXPECT_TRUE(move("missing", "to", true));
  EXPECT_TRUE(move("file", "to", true));
  EXPECT_TRUE(
      moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(files_, nullptr, path("to"), true));
  EXPECT_EQ(beeps.count, 0);
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, ContentsThatAreToMoveToWhereTheyAreStayThere) {
  makeFolder("from");
  write("from/file", "text");
  ASSERT_EQ(::symlink("from", at("link").c_str()), 0);
  for (const bool replace : {false, true}) {
    EXPECT_TRUE(move("from", "from", replace));
    EXPECT_TRUE(move("from", "link", replace));
    EXPECT_TRUE(move("link/", "from/.", replace));
    EXPECT_EQ(folder_.read("from/file"), "text");
  }
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, WhatHoldsTheFolderThatIsMovedFromIsNotReplaced) {
  CountedBeeps beeps;
  makeFolder("to/x/x");
  makeFolder("to/x/y/x");
  write("to/x/x/file", "text");
  write("to/x/y/x/file", "text");
  ASSERT_EQ(::symlink("to/x/y", at("link").c_str()), 0);
  EXPECT_FALSE(move("to/x", "to", true));
  EXPECT_FALSE(move("to/x/y", "to", true));
  EXPECT_FALSE(move("link", "to", true));
  EXPECT_EQ(beeps.count, 3);
  EXPECT_EQ(folder_.read("to/x/x/file"), "text");
  EXPECT_EQ(folder_.read("to/x/y/x/file"), "text");
  makeFolder("xx/x");
  EXPECT_TRUE(move("xx", "to/x", true));
  EXPECT_EQ(names("to/x/x"), std::set<std::string>());
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, WhatIsInTheWayAndCannotBeRemovedBeepsAndEndsIt) {
  makeFolder("from");
  makeFolder("to");
  write("from/a");
  const testing::MountedTmpfs volume(at("to/a"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  CountedBeeps beeps;
  EXPECT_FALSE(move("from", "to", true));
  EXPECT_EQ(beeps.count, 1);
  EXPECT_EQ(names("from"), (std::set<std::string>{"a"}));
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAdditionsTests, NamesOfAnyBytesMove) {
  makeFolder("from");
  makeFolder("to");
  const std::set<std::string> all = {"line\nfeed", "\xFF\xFE", "-x", std::string(255, 'n')};
  for (const auto& name : all) write("from/" + name);
  EXPECT_TRUE(move("from", "to", false));
  EXPECT_EQ(names("to"), all);
}

// Shows: removeDirectoryAtPath
TEST_F(NSFileManagerAdditionsTests, AFolderIsRemovedWithAllThatIsInIt) {
  makeFolder("a/b/c");
  write("a/.hidden");
  write("a/b/\xFF\n");
  EXPECT_TRUE(removeDirectoryAtPath(files_, path("a")));
  EXPECT_FALSE(fs::exists(at("a")));
  EXPECT_FALSE(removeDirectoryAtPath(files_, path("a")));
  EXPECT_FALSE(removeDirectoryAtPath(files_, nullptr));
}

// Shows: removeDirectoryAtPath
TEST_F(NSFileManagerAdditionsTests, AFileIsRemovedAsWell) {
  write("file");
  EXPECT_TRUE(removeDirectoryAtPath(files_, path("file")));
  EXPECT_FALSE(fs::exists(at("file")));
}

// Shows: removeDirectoryAtPath
TEST_F(NSFileManagerAdditionsTests, ALinkToAFolderThatIsRemovedCountsAsAFolder) {
  makeFolder("a");
  makeFolder("other/inner");
  write("other/file");
  write("kept");
  ASSERT_EQ(::symlink("../other", at("a/link").c_str()), 0);
  ASSERT_EQ(::symlink("../kept", at("a/to file").c_str()), 0);
  ASSERT_EQ(::symlink("nowhere", at("a/broken").c_str()), 0);
  EXPECT_TRUE(removeDirectoryAtPath(files_, path("a")));
  EXPECT_FALSE(fs::exists(at("a")));
  EXPECT_EQ(names("other"), std::set<std::string>());
  EXPECT_TRUE(fs::exists(at("kept")));
}

// Shows: removeDirectoryAtPath
TEST_F(NSFileManagerAdditionsTests, ALinkToItsOwnFolderEndsInAFailure) {
  makeFolder("a");
  write("a/file");
  write("outside");
  ASSERT_EQ(::symlink(".", at("a/loop").c_str()), 0);
  EXPECT_FALSE(removeDirectoryAtPath(files_, path("a")));
  EXPECT_TRUE(fs::exists(at("outside")));
}

// Shows: removeDirectoryAtPath
TEST_F(NSFileManagerAdditionsTests, WhatCannotBeRemovedKeepsTheFoldersAboveIt) {
  makeFolder("a/b");
  const testing::MountedTmpfs volume(at("a/b/volume"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  EXPECT_FALSE(removeDirectoryAtPath(files_, path("a")));
  EXPECT_TRUE(fs::exists(volume.path()));
}

// Shows: removeDirectoryAtPath
TEST_F(NSFileManagerAdditionsTests, FoldersBeyondTheLongestPathAreRemoved) {
  makeFolder("a");
  testing::makeDeepFolders(at("a"), 3000);
  EXPECT_TRUE(removeDirectoryAtPath(files_, path("a")));
  EXPECT_FALSE(fs::exists(at("a")));
}

// Sizes

// Shows: sizeOfItemAtPath_options, OVFolderSizeDefault
TEST_F(NSFileManagerAdditionsTests, TheDefaultSizeIsTheLogicalOneOfBothForks) {
  makeFolder("a/b");
  write("a/file", std::string(1000, 'x'));
  EXPECT_EQ(OVFolderSizeDefault, 25);
  EXPECT_EQ(size("a"), 1000U);
  EXPECT_EQ(size("a/file"), 1000U);
  EXPECT_EQ(size("a/b"), 0U);
  write("a/b/file", "12345");
  EXPECT_EQ(size("a"), 1005U);
}

// Shows: sizeOfItemAtPath_options, fastFolderSizeAtFSRef_options
TEST_F(NSFileManagerAdditionsTests, EachForkCountsInEachKindThatIsAskedFor) {
  makeFolder("a");
  write("a/file", std::string(1000, 'x'));
  struct stat facts {};
  ASSERT_EQ(::stat(at("a/file").c_str(), &facts), 0);
  const auto allocated = static_cast<std::uint64_t>(facts.st_blocks) * 512;
  for (NSUInteger options = 1; options < 32; ++options) {
    const std::uint64_t ofDataFork =
        ((options & 1U) != 0 ? 1000 : 0) + ((options & 4U) != 0 ? allocated : 0);
    const std::uint64_t expected = (options & 8U) != 0 ? ofDataFork : 0;
    EXPECT_EQ(size("a", options), expected) << options;
    EXPECT_EQ(size("a/file", options), expected) << options;
    EXPECT_EQ(fastFolderSizeAtFSRef_options(files_, {at("a")}, options), expected) << options;
    EXPECT_EQ(fastFolderSizeAtFSRef_options(files_, {at("a/file")}, options), expected) << options;
  }
  EXPECT_EQ(fastFolderSizeAtFSRef_options(files_, {at("a")}, 0), 0U);
}

// Shows: sizeOfItemAtPath_options, fastFolderSizeAtFSRef_options
TEST_F(NSFileManagerAdditionsTests, WhatIsNotThereHasNoSize) {
  EXPECT_EQ(size("missing"), 0U);
  EXPECT_EQ(sizeOfItemAtPath_options(files_, nullptr, 0), 0U);
  EXPECT_EQ(sizeOfItemAtPath_options(files_, "", 0), 0U);
  EXPECT_EQ(size(std::string(5000, 'n')), 0U);
  EXPECT_EQ(fastFolderSizeAtFSRef_options(files_, {at("missing")}, 25), 0U);
  EXPECT_EQ(fastFolderSizeAtFSRef_options(files_, {}, 25), 0U);
}

// Shows: sizeOfItemAtPath_options
TEST_F(NSFileManagerAdditionsTests, LinksCountThemselvesAndEachNameOfAFileCounts) {
  makeFolder("a/b");
  write("a/file", std::string(100, 'x'));
  ASSERT_EQ(::link(at("a/file").c_str(), at("a/b/same").c_str()), 0);
  ASSERT_EQ(::symlink("..", at("a/b/loop").c_str()), 0);
  EXPECT_EQ(size("a"), 202U);
  EXPECT_EQ(size("a/b/loop"), 2U);
}

// Shows: fastFolderSizeAtFSRef_options, sizeOfItemAtPath_options
TEST_F(NSFileManagerAdditionsTests, FoldersOfMoreItemsThanAreReadAtOnceCountThemAll) {
  for (const int count : {255, 256, 257, 600}) {
    const std::string folder = std::to_string(count);
    makeFolder(folder);
    for (int number = 0; number < count; ++number) {
      write(folder + "/" + std::to_string(number), "x");
    }
    EXPECT_EQ(fastFolderSizeAtFSRef_options(files_, {at(folder)}, 25),
              static_cast<std::uint64_t>(count));
    EXPECT_EQ(size(folder), static_cast<std::uint64_t>(count));
  }
}

// Shows: sizeOfItemAtPath_options
TEST_F(NSFileManagerAdditionsTests, SizesAreThoseThatDuFinds) {
  testing::RandomRun random;
  for (int number = 0; number < 300; ++number) {
    const std::string folder = std::to_string(random.below(20));
    makeFolder(folder);
    write(folder + "/" + std::to_string(number), std::string(random.below(20000), 'x'));
  }
  const auto duOf = [&](const std::string& option) {
    const auto result = testing::runShell(
        at(""), "find . ! -type d -print0 | du -lc -B1 " + option + " --files0-from=-");
    return std::stoull(result.lines().back());
  };
  EXPECT_EQ(size(""), duOf("--apparent-size"));
  EXPECT_EQ(size("", OVFolderSizePhysical | OVFolderSizeDataFork), duOf(""));
}

// Shows: sizeOfItemAtPath_options
TEST_F(NSFileManagerAdditionsTests, AFolderThatMayNotBeReadCountsNothing) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become nobody";
  makeFolder("locked");
  write("locked/secret", "secret");
  write("file", "1234567");
  ::chmod(at("locked").c_str(), 0700);
  ::chmod(at("").c_str(), 0755);
  EXPECT_EQ(testing::runAsNobody([&] { return static_cast<int>(size("")); }), 7);
  EXPECT_EQ(testing::runAsNobody([&] { return static_cast<int>(size("locked")); }), 0);
}

}  // namespace
}  // namespace kestova
