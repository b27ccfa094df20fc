// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDictionary.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MountedTmpfs.h"
#include "PreferencesFiles.h"
#include "ScriptedFileSystemCalls.h"

#include <sys/mount.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using testing::Is;
using ::testing::IsEmpty;
using Process = testing::PreferencesProcess;

class UnwrittenPreferencesTests : public testing::PreferencesFileFixture {};

TEST_F(UnwrittenPreferencesTests, WhatCouldNotBeReadAgainIsNotWritten) {
  Process here(path());
  ASSERT_TRUE(here.save("small", 1));
  EXPECT_FALSE(here.save("large", std::string((64U << 20) + 1, 'x')));
  EXPECT_THAT(Process(path())->contents(), Is(NSDictionary::of({{"small", 1}})));
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be written and wait in "
                          "memory: org.example.Editor.plist would be larger than 64 MiB"));
  EXPECT_TRUE(here.save("large", "not so large"));
  EXPECT_THAT(Process(path())->contents(),
              Is(NSDictionary::of({{"small", 1}, {"large", "not so large"}})));
}

TEST_F(UnwrittenPreferencesTests, AFullDiskLosesNothing) {
  const testing::MountedTmpfs disk(place_.at("disk"), "size=64k");
  if (!disk.isMounted()) GTEST_SKIP() << "only root can mount";
  Process here(disk.path());
  ASSERT_TRUE(here.save("small", 1));
  const std::string large(100'000, 'x');
  EXPECT_FALSE(here.save("large", large));
  EXPECT_FALSE(here->synchronize());
  EXPECT_THAT(here->objectForKey("large"), Is(id(large)));
  EXPECT_THAT(Process(disk.path())->contents(), Is(NSDictionary::of({{"small", 1}})));
  EXPECT_FALSE(std::filesystem::exists(disk.at("org.example.Editor.plist.new")));
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be written and wait in "
                          "memory: the file cannot be written: No space left on device"));
  here.set("large", "not so large");
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(Process(disk.path())->contents(),
              Is(NSDictionary::of({{"small", 1}, {"large", "not so large"}})));
}

TEST_F(UnwrittenPreferencesTests, RoomForTwoFilesIsEnoughHoweverOftenOneReplacesTheOther) {
  const testing::MountedTmpfs disk(place_.at("disk"), "size=64k");
  if (!disk.isMounted()) GTEST_SKIP() << "only root can mount";
  Process here(disk.path());
  for (int turn = 0; turn < 300; ++turn) {
    ASSERT_TRUE(here.save("a", std::string(20'000, static_cast<char>('a' + turn % 26)))) << turn;
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(UnwrittenPreferencesTests, NoMoreThanAFewReplacedFilesAreOpenAtATime) {
  Process here(path());
  for (int turn = 0; turn < 300; ++turn) {
    ASSERT_TRUE(here.save("a", turn));
    std::size_t open = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code error;
      const auto target = std::filesystem::read_symlink(entry.path(), error).string();
      open += target.starts_with(path()) && target.ends_with(" (deleted)") ? 1 : 0;
    }
    ASSERT_LE(open, 8U);
  }
}

TEST_F(UnwrittenPreferencesTests, WhatIsChangedWhileItIsWrittenIsWrittenNext) {
  Process here(path());
  testing::ScriptedFileSystemCalls calls;
  bool isFirst = true;
  calls.onFlush = [&] {
    if (std::exchange(isFirst, false)) {
      here.set("changed again", 2);
      here.set("new", 3);
      here.set("gone", nullptr);
      EXPECT_TRUE(here->hasPendingChanges());
    }
    return 0;
  };
  here.set("changed again", 1);
  here.set("kept", 1);
  here.set("gone", 1);
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"changed again", 1}, {"kept", 1}, {"gone", 1}})));
  EXPECT_TRUE(here->hasPendingChanges());
  EXPECT_THAT(here->contents(),
              Is(NSDictionary::of({{"changed again", 2}, {"kept", 1}, {"new", 3}})));
  EXPECT_TRUE(here->synchronize());
  EXPECT_FALSE(here->hasPendingChanges());
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"changed again", 2}, {"kept", 1}, {"new", 3}})));
}

TEST_F(UnwrittenPreferencesTests, WhatIsChangedWhileItCannotBeWrittenStaysAsItWasChangedLast) {
  Process here(path());
  {
    testing::ScriptedFileSystemCalls calls;
    calls.onFlush = [&] {
      here.set("a", 2);
      EXPECT_TRUE(here->hasPendingChanges());
      return testing::ScriptedFileSystemCalls::failure(EIO);
    };
    EXPECT_FALSE(here.save("a", 1));
    here.set("b", 1);
  }
  Process(path()).save("theirs", 1);
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 2}, {"b", 1}, {"theirs", 1}})));
}

TEST_F(UnwrittenPreferencesTests, ANameTooLongForAFileWaitsInMemoryAndTheLongestOneIsWhole) {
  const std::string longest(220, 'd');
  Process here(path(), longest.c_str());
  EXPECT_TRUE(here.save("a", 1));
  place_.write("kestova/" + longest + ".plist", "junk");
  EXPECT_TRUE(here.save("b", 2));
  EXPECT_EQ(names().size(), 3U);  // the damaged one is kept
  Process there(path(), (longest + "d").c_str());
  EXPECT_FALSE(there.save("a", 1));
  EXPECT_FALSE(there->synchronize());
  EXPECT_THAT(there->objectForKey("a"), Is(id(1)));
  EXPECT_EQ(names().size(), 3U);
  EXPECT_EQ(log_.lines().size(), 2U);
  EXPECT_THAT(log_.lines().back(),
              EndsWith(" cannot be read: the name of the domain is too long for a file"));
}

TEST_F(UnwrittenPreferencesTests, ALockThatIsKeptIsWaitedForOnceAndNotBySeveralTries) {
  Process here(path());
  ASSERT_TRUE(here.save("a", 1));
  const auto start = std::chrono::steady_clock::now();
  {
    const PreferencesFolder folder(path(), ::geteuid());
    const FileDescriptor open = folder.open();
    const PreferencesLock kept(folder, open.get(), "org.example.Editor.lock");
    for (int turn = 0; turn < 20; ++turn) {
      EXPECT_FALSE(here.save("a", turn));
    }
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, 20 * PreferencesLock::kPatience);
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be written and wait in "
                          "memory: another process keeps them locked"));
  EXPECT_TRUE(here.save("b", 2));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 19}, {"b", 2}})));
}

TEST_F(UnwrittenPreferencesTests, AReadOnlyFolderIsReadAndItsChangesWait) {
  const testing::MountedTmpfs disk(place_.at("disk"), "size=1m");
  if (!disk.isMounted()) GTEST_SKIP() << "only root can mount";
  Process(disk.path()).save("a", 1);
  disk.makeReadOnly();
  Process here(disk.path());
  EXPECT_THAT(here->objectForKey("a"), Is(id(1)));
  EXPECT_FALSE(here.save("b", 2));
  EXPECT_THAT(here->contents(), Is(NSDictionary::of({{"a", 1}, {"b", 2}})));
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be written and wait in "
                          "memory: org.example.Editor.lock cannot be opened: Read-only file "
                          "system"));
  ::mount(nullptr, disk.path().c_str(), nullptr, MS_REMOUNT, nullptr);
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(Process(disk.path())->contents(), Is(NSDictionary::of({{"a", 1}, {"b", 2}})));
}

TEST_F(UnwrittenPreferencesTests, AMissingHomeLosesNothing) {
  Process here(place_.at("home/.config/kestova"));
  EXPECT_FALSE(here.save("a", 1));
  EXPECT_THAT(here->objectForKey("a"), Is(id(1)));
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be written and wait in "
                          "memory: the folder cannot be made: No such file or directory"));
  std::filesystem::create_directory(place_.at("home"));
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(Process(place_.at("home/.config/kestova"))->objectForKey("a"), Is(id(1)));
}

TEST_F(UnwrittenPreferencesTests, AFolderThatIsRemovedIsMadeAgain) {
  Process here(path());
  here.save("a", 1);
  std::filesystem::remove_all(path());
  EXPECT_TRUE(here.save("b", 2));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"b", 2}})));
  std::filesystem::remove_all(path());
  EXPECT_TRUE(here->synchronize());
  EXPECT_EQ(here->contents()->count(), 0U);
}

TEST_F(UnwrittenPreferencesTests, WhatTheDiskDidNotTakeIsTriedAgain) {
  Process here(path());
  here.save("a", 1);
  {
    testing::ScriptedFileSystemCalls calls;
    calls.onFlush = [] { return testing::ScriptedFileSystemCalls::failure(EIO); };
    EXPECT_FALSE(here.save("a", 2));
  }
  {
    testing::ScriptedFileSystemCalls calls;
    calls.onRename = [](const std::string&, const std::string&, unsigned) {
      return testing::ScriptedFileSystemCalls::failure(EDQUOT);
    };
    EXPECT_FALSE(here->synchronize());
  }
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 1}})));
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 2}})));
  EXPECT_THAT(names(), ElementsAre("org.example.Editor.lock", "org.example.Editor.plist"));
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be written and wait in "
                          "memory: the file cannot be written: Input/output error",
                          "The preferences of org.example.Editor cannot be written and wait in "
                          "memory: the file cannot be replaced: Disk quota exceeded"));
}

TEST_F(UnwrittenPreferencesTests, WhatAKilledWriterLeftIsNoHindrance) {
  place_.write("kestova/org.example.Editor.plist.new", "half a fi");
  EXPECT_TRUE(Process(path()).save("a", 1));
  EXPECT_THAT(names(), ElementsAre("org.example.Editor.lock", "org.example.Editor.plist"));
}

}  // namespace
}  // namespace kestova
