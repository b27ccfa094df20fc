// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesDomain.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "ExceptionExpectation.h"
#include "MountedTmpfs.h"
#include "PropertyLists.h"
#include "RandomRun.h"
#include "ScriptedFileSystemCalls.h"
#include "SettableClock.h"
#include "TemporaryFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using testing::expectException;
using ::testing::IsEmpty;

/// What one process has of the preferences: several in one test stand for several processes.
class Process {
 public:
  explicit Process(const std::string& path, const char* domain = "org.example.Editor")
      : folder_(path, ::geteuid()), domain_(domain, folder_, changes_) {}

  PreferencesDomain* operator->() { return &domain_; }

  void set(const char* key, const id& value) {
    domain_.setValue_forKey(value ? propertyListCopy(value, key) : nullptr, key);
  }

  /// Sets and writes.
  bool save(const char* key, const id& value) {
    set(key, value);
    return domain_.synchronize();
  }

  std::uint64_t changes() const { return changes_; }

 private:
  std::atomic<std::uint64_t> changes_{0};
  PreferencesFolder folder_;
  PreferencesDomain domain_;
};

class PreferencesDomainTests : public ::testing::Test {
 protected:
  PreferencesDomainTests() { std::filesystem::create_directory(path()); }

  std::string path() const { return place_.at("kestova"); }
  std::string file() const { return path() + "/org.example.Editor.plist"; }

  Ref<NSDictionary> onDisk() const { return NSDictionary::dictionaryWithContentsOfFile(file()); }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(path())) {
      all.push_back(entry.path().filename());
    }
    std::ranges::sort(all);
    return all;
  }

  testing::TemporaryFolder place_;
  testing::CapturedLog log_;
};

MATCHER_P(Is, expected, "") { return isEqualOrBothNull(arg, expected); }

TEST_F(PreferencesDomainTests, WhatIsSetCountsAtOnceAndIsWrittenByASynchronization) {
  Process here(path());
  here.set("a", 1);
  EXPECT_THAT(here->objectForKey("a"), Is(id(1)));
  EXPECT_EQ(onDisk(), nullptr);
  EXPECT_TRUE(here->hasPendingChanges());
  EXPECT_TRUE(here->synchronize());
  EXPECT_FALSE(here->hasPendingChanges());
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 1}})));
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PreferencesDomainTests, TheFileIsABinaryPropertyListForItsOwnerAlone) {
  const mode_t before = ::umask(0);
  Process(path()).save("a", 1);
  ::umask(before);
  struct stat facts {};
  ASSERT_EQ(::stat(file().c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777, 0600U);
  EXPECT_TRUE(place_.read("kestova/org.example.Editor.plist").starts_with("bplist00"));
  EXPECT_THAT(names(), ElementsAre("org.example.Editor.lock", "org.example.Editor.plist"));
}

TEST_F(PreferencesDomainTests, EveryKindOfValueComesBack) {
  const auto values = testing::everyKindOfValue();
  Process(path()).save("values", values);
  EXPECT_TRUE(values->isEqual(Process(path())->objectForKey("values")));
}

TEST_F(PreferencesDomainTests, WhatOthersWroteIsSeenAfterASynchronization) {
  Process here(path());
  Process there(path());
  EXPECT_EQ(here->objectForKey("a"), nullptr);
  there.save("a", 1);
  EXPECT_EQ(here->objectForKey("a"), nullptr);
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(here->objectForKey("a"), Is(id(1)));
  there.save("a", nullptr);
  EXPECT_TRUE(here->synchronize());
  EXPECT_EQ(here->objectForKey("a"), nullptr);
}

TEST_F(PreferencesDomainTests, OnlyKeysThatWereChangedHereAreChangedInTheFile) {
  Process here(path());
  Process there(path());
  here.save("both", "old");
  here.save("mine", "old");
  here.save("gone", "old");
  EXPECT_TRUE(there->synchronize());
  there.save("both", "theirs");
  there.save("theirs", "new");
  there.save("gone", nullptr);
  here.set("mine", "new");
  here.set("more", "new");
  EXPECT_TRUE(here->synchronize());
  const auto expected =
      NSDictionary::of({{"both", "theirs"}, {"mine", "new"}, {"theirs", "new"}, {"more", "new"}});
  EXPECT_THAT(onDisk(), Is(expected));
  EXPECT_THAT(here->contents(), Is(expected));
}

TEST_F(PreferencesDomainTests, TheLastWriterOfAKeyWins) {
  Process here(path());
  Process there(path());
  here.set("a", "here");
  there.set("a", "there");
  here->synchronize();
  there->synchronize();
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", "there"}})));
  here->synchronize();
  EXPECT_THAT(here->objectForKey("a"), Is(id("there")));
}

TEST_F(PreferencesDomainTests, AWholeDomainIsWrittenAsItsDifferenceFromWhatTheThreadWasTold) {
  Process here(path());
  Process there(path());
  here.save("a", 1);
  here.save("b", 2);
  const auto copy = NSMutableDictionary::dictionaryWithDictionary(here->contents());
  there.save("c", 3);
  here->synchronize();  // as a background thread may do between
  copy->removeObjectForKey("a");
  copy->setObject_forKey(4, "d");
  here->setContents(copy);
  here->synchronize();
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"b", 2}, {"c", 3}, {"d", 4}})));
}

TEST_F(PreferencesDomainTests, AWholeDomainReplacesAllWhereTheThreadWasToldNothing) {
  Process here(path());
  Process there(path());
  there.save("theirs", 1);
  here->setContents(NSDictionary::of({{"mine", 2}}));
  here->synchronize();
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"mine", 2}})));
}

TEST_F(PreferencesDomainTests, WhatTheThreadChangedItselfIsReplacedAsWell) {
  Process here(path());
  EXPECT_EQ(here->contents()->count(), 0U);
  here.set("a", 1);
  here->setContents(NSDictionary::of({{"b", 2}}));
  EXPECT_THAT(here->contents(), Is(NSDictionary::of({{"b", 2}})));
  here->setContents(NSDictionary::dictionary());
  EXPECT_THAT(here->contents(), Is(NSDictionary::dictionary()));
}

TEST_F(PreferencesDomainTests, ThreadsThatCopyAndReplaceTheDomainLoseNothingOfEachOther) {
  Process here(path());
  const auto add = [&](const std::string& prefix) {
    for (int i = 0; i < 100; ++i) {
      const auto copy = NSMutableDictionary::dictionaryWithDictionary(here->contents());
      copy->setObject_forKey(i, prefix + std::to_string(i));
      here->setContents(copy);
    }
  };
  std::jthread a([&] { add("a"); });
  std::jthread b([&] { add("b"); });
  std::jthread reader([&] {
    for (int i = 0; i < 20; ++i) here->synchronize();
  });
  a.join();
  b.join();
  reader.join();
  EXPECT_EQ(here->contents()->count(), 200U);
  EXPECT_TRUE(here->synchronize());
  EXPECT_EQ(onDisk()->count(), 200U);
}

TEST_F(PreferencesDomainTests, AThreadThatEndsMayStillReadAndWrite) {
  struct AtTheEnd {
    std::function<void()> act;
    ~AtTheEnd() { act(); }
  };
  Process here(path());
  std::thread([&] {
    thread_local AtTheEnd last;
    last.act = [&] {
      const auto changed = NSMutableDictionary::dictionaryWithDictionary(here->contents());
      changed->setObject_forKey(2, "b");
      here->setContents(changed);
      EXPECT_TRUE(here->synchronize());
    };
    EXPECT_TRUE(here.save("a", 1));
    static_cast<void>(here->contents());
  }).join();
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 1}, {"b", 2}})));
}

TEST_F(PreferencesDomainTests, RemovingAllTakesWhatOthersWroteToo) {
  Process here(path());
  here.save("a", 1);
  Process(path()).save("b", 2);
  here->removeAll();
  here->synchronize();
  EXPECT_EQ(onDisk(), nullptr);
}

TEST_F(PreferencesDomainTests, ADomainWithoutKeysHasNoFile) {
  Process here(path());
  here.save("a", 1);
  EXPECT_TRUE(here.save("a", nullptr));
  EXPECT_THAT(names(), ElementsAre("org.example.Editor.lock"));
  EXPECT_TRUE(here.save("a", 2));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 2}})));
}

TEST_F(PreferencesDomainTests, StoredValuesAreCopiesDownToTheLeaves) {
  const auto text = NSMutableString::stringWithString("old");
  const auto inner = NSMutableArray::of(text);
  const auto outer = NSMutableDictionary::of({{"inner", inner}});
  const id copy = propertyListCopy(outer, "key");
  text->appendString("er");
  inner->addObject(1);
  outer->removeAllObjects();
  EXPECT_THAT(copy, Is(NSDictionary::of({{"inner", NSArray::of("old")}})));
  EXPECT_EQ(cast<NSMutableDictionary>(copy), nullptr);
  const id leaf = propertyListCopy(text, "key");
  text->appendString("!");
  EXPECT_THAT(leaf, Is(id("older")));
}

TEST_F(PreferencesDomainTests, WhatIsNoPropertyListIsRefusedWithThePlace) {
  const auto problem = [](const id& value) {
    return expectException(NSInvalidArgumentException,
                           [&] { static_cast<void>(propertyListCopy(value, "key")); })
        .reason()
        ->displayUTF8();
  };
  EXPECT_EQ(problem(NSNull::null()), "A value of class NSNull is no property list, at [\"key\"].");
  EXPECT_EQ(problem(NSArray::of(1, NSNull::null())),
            "A value of class NSNull is no property list, at [\"key\"][1].");
  EXPECT_EQ(problem(NSDictionary::of({{1, 2}})),
            "A key of class NSNumber is no string, at [\"key\"].");
  EXPECT_EQ(problem(NSDate::dateWithTimeIntervalSinceReferenceDate(
                std::numeric_limits<double>::infinity())),
            "A date is no moment, at [\"key\"].");
  expectException(NSInvalidArgumentException,
                  [] { static_cast<void>(propertyListCopy(nullptr, "key")); });
  expectException(NSInvalidArgumentException,
                  [] { static_cast<void>(propertyListCopy(1, nullptr)); });
}

TEST_F(PreferencesDomainTests, ADomainWithSomethingElseChangesNothing) {
  Process here(path());
  here.set("a", 1);
  expectException(NSInvalidArgumentException, [&] {
    here->setContents(NSDictionary::of({{"b", 2}, {"c", NSNull::null()}}));
  });
  expectException(NSInvalidArgumentException, [&] {
    here->setContents(NSDictionary::of({{1, 2}}));
  });
  EXPECT_THAT(here->contents(), Is(NSDictionary::of({{"a", 1}})));
}

TEST_F(PreferencesDomainTests, AFileThatDidNotChangeIsNotReadAgain) {
  Process here(path());
  here.save("a", 1);
  const auto changes = here.changes();
  const auto contents = here->contents();
  EXPECT_TRUE(here->synchronize());
  EXPECT_EQ(here.changes(), changes);
  EXPECT_EQ(here->contents(), contents);
}

TEST_F(PreferencesDomainTests, NoFileIsMistakenForOneThatWasSeenBefore) {
  const auto number = [&] {
    struct stat facts {};
    EXPECT_EQ(::stat(file().c_str(), &facts), 0);
    return facts.st_ino;
  };
  Process writer(path());
  Process reader(path());
  Process others(path());
  writer.save("a", 0);
  const ino_t written = number();
  others.save("a", 1);
  reader->synchronize();
  const ino_t read = number();
  for (int value = 2; value < 10; ++value) {
    others.save("a", value);
    EXPECT_NE(number(), written) << value;
    EXPECT_NE(number(), read) << value;
  }
}

TEST_F(PreferencesDomainTests, XMLThatSomebodyWroteByHandIsReadAndWrittenBackAsBinary) {
  ASSERT_TRUE(NSDictionary::of({{"a", "by hand"}})->writeToFile_atomically(file(), true));
  Process here(path());
  EXPECT_THAT(here->objectForKey("a"), Is(id("by hand")));
  here.save("b", 1);
  EXPECT_TRUE(place_.read("kestova/org.example.Editor.plist").starts_with("bplist00"));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", "by hand"}, {"b", 1}})));
}

TEST_F(PreferencesDomainTests, ADamagedFileIsPutAsideUnderADatedName) {
  const testing::SettableClock clock(NSTimeInterval{86400});  // 2001-01-02 00:00 UTC
  place_.write("kestova/org.example.Editor.plist", "junk");
  Process here(path());
  EXPECT_EQ(here->contents()->count(), 0U);
  EXPECT_THAT(names(), ElementsAre("org.example.Editor.lock",
                                   "org.example.Editor.plist.damaged-20010102T000000Z"));
  EXPECT_EQ(place_.read("kestova/org.example.Editor.plist.damaged-20010102T000000Z"), "junk");
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor were damaged, and are kept as "
                          "org.example.Editor.plist.damaged-20010102T000000Z: The data is in no "
                          "known property list format, in line 1."));
}

TEST_F(PreferencesDomainTests, DamagedFilesOfOneSecondAreAllKept) {
  const testing::SettableClock clock(NSTimeInterval{86400});
  for (const char* text : {"one", "two", "three"}) {
    place_.write("kestova/org.example.Editor.plist", text);
    EXPECT_EQ(Process(path())->contents()->count(), 0U);
  }
  const std::string name = "kestova/org.example.Editor.plist.damaged-20010102T000000Z";
  EXPECT_EQ(place_.read(name), "one");
  EXPECT_EQ(place_.read(name + "-2"), "two");
  EXPECT_EQ(place_.read(name + "-3"), "three");
  EXPECT_EQ(log_.lines().size(), 3U);
}

TEST_F(PreferencesDomainTests, AFileCutAnywhereIsDamagedAndNothingElse) {
  Process(path()).save("key", testing::everyKindOfValue());
  const std::string whole = place_.read("kestova/org.example.Editor.plist");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto bytes = NSData::dataWithBytes_length(whole.data(), length);
    EXPECT_THROW(static_cast<void>(preferencesInData(bytes)), DamagedPreferences) << length;
  }
  EXPECT_NE(preferencesInData(NSData::dataWithBytes_length(whole.data(), whole.size())), nullptr);
}

TEST_F(PreferencesDomainTests, AnArrayAtTheTopIsDamage) {
  ASSERT_TRUE(NSArray::of(1)->writeToFile_atomically(file(), true));
  EXPECT_EQ(Process(path())->contents()->count(), 0U);
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(log_.lines()[0].ends_with(": There is no dictionary at its top."));
}

TEST_F(PreferencesDomainTests, ChangesGoIntoANewFileWhereTheOldOneWasDamaged) {
  Process here(path());
  here.save("a", 1);
  place_.write("kestova/org.example.Editor.plist", "junk");
  EXPECT_TRUE(here.save("b", 2));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"b", 2}})));
  EXPECT_EQ(names().size(), 3U);
}

TEST_F(PreferencesDomainTests, ASymbolicLinkInPlaceOfTheFileIsRefusedAndStays) {
  const std::string target = place_.write("target", "precious");
  std::filesystem::create_symlink(target, file());
  Process here(path());
  EXPECT_EQ(here->objectForKey("a"), nullptr);
  EXPECT_FALSE(here.save("a", 1));
  EXPECT_FALSE(here->synchronize());
  EXPECT_THAT(here->objectForKey("a"), Is(id(1)));
  EXPECT_TRUE(std::filesystem::is_symlink(file()));
  EXPECT_EQ(place_.read("target"), "precious");
  EXPECT_THAT(log_.lines(), ElementsAre("The preferences of org.example.Editor cannot be read: "
                                        "org.example.Editor.plist is a symbolic link"));
  std::filesystem::remove(file());
  EXPECT_TRUE(here->synchronize());
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 1}})));
}

TEST_F(PreferencesDomainTests, AFileOfSomebodyElseIsRefusedAndStays) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  place_.write("kestova/org.example.Editor.plist", "theirs");
  ASSERT_EQ(::chown(file().c_str(), 12345, 0), 0);
  Process here(path());
  EXPECT_FALSE(here.save("a", 1));
  EXPECT_EQ(place_.read("kestova/org.example.Editor.plist"), "theirs");
  EXPECT_THAT(log_.lines(), ElementsAre("The preferences of org.example.Editor cannot be read: "
                                        "org.example.Editor.plist belongs to another user"));
}

TEST_F(PreferencesDomainTests, AFileBeyondAllBoundsIsRefused) {
  place_.write("kestova/org.example.Editor.plist", "");
  std::filesystem::resize_file(file(), (64U << 20) + 1);
  EXPECT_EQ(Process(path())->contents()->count(), 0U);
  EXPECT_THAT(log_.lines(), ElementsAre("The preferences of org.example.Editor cannot be read: "
                                        "org.example.Editor.plist is larger than 64 MiB"));
}

TEST_F(PreferencesDomainTests, WhatCouldNotBeReadAgainIsNotWritten) {
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

TEST_F(PreferencesDomainTests, AFullDiskLosesNothing) {
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

TEST_F(PreferencesDomainTests, RoomForTwoFilesIsEnoughHoweverOftenOneReplacesTheOther) {
  const testing::MountedTmpfs disk(place_.at("disk"), "size=64k");
  if (!disk.isMounted()) GTEST_SKIP() << "only root can mount";
  Process here(disk.path());
  for (int turn = 0; turn < 300; ++turn) {
    ASSERT_TRUE(here.save("a", std::string(20'000, static_cast<char>('a' + turn % 26)))) << turn;
  }
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(PreferencesDomainTests, NoMoreThanAFewReplacedFilesAreOpenAtATime) {
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

TEST_F(PreferencesDomainTests, WhatIsChangedWhileItIsWrittenIsWrittenNext) {
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

TEST_F(PreferencesDomainTests, WhatIsChangedWhileItCannotBeWrittenStaysAsItWasChangedLast) {
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

TEST_F(PreferencesDomainTests, ANameTooLongForAFileWaitsInMemoryAndTheLongestOneIsWhole) {
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

TEST_F(PreferencesDomainTests, ALockThatIsKeptIsWaitedForOnceAndNotBySeveralTries) {
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

TEST_F(PreferencesDomainTests, AReadOnlyFolderIsReadAndItsChangesWait) {
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

TEST_F(PreferencesDomainTests, ADamagedFileThatCannotBePutAsideStaysAndIsToldOnce) {
  const testing::MountedTmpfs disk(place_.at("disk"), "size=1m");
  if (!disk.isMounted()) GTEST_SKIP() << "only root can mount";
  place_.write("disk/org.example.Editor.plist", "junk");
  disk.makeReadOnly();
  Process here(disk.path());
  EXPECT_EQ(here->contents()->count(), 0U);
  EXPECT_FALSE(here->synchronize());
  EXPECT_THAT(log_.lines(),
              ElementsAre("The preferences of org.example.Editor cannot be read: the file is "
                          "damaged, and cannot be put aside: org.example.Editor.lock cannot be "
                          "opened: Read-only file system"));
  EXPECT_EQ(place_.read("disk/org.example.Editor.plist"), "junk");
}

TEST_F(PreferencesDomainTests, AMissingHomeLosesNothing) {
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

TEST_F(PreferencesDomainTests, AFolderThatIsRemovedIsMadeAgain) {
  Process here(path());
  here.save("a", 1);
  std::filesystem::remove_all(path());
  EXPECT_TRUE(here.save("b", 2));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"b", 2}})));
  std::filesystem::remove_all(path());
  EXPECT_TRUE(here->synchronize());
  EXPECT_EQ(here->contents()->count(), 0U);
}

TEST_F(PreferencesDomainTests, WhatTheDiskDidNotTakeIsTriedAgain) {
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

TEST_F(PreferencesDomainTests, WhatAKilledWriterLeftIsNoHindrance) {
  place_.write("kestova/org.example.Editor.plist.new", "half a fi");
  EXPECT_TRUE(Process(path()).save("a", 1));
  EXPECT_THAT(names(), ElementsAre("org.example.Editor.lock", "org.example.Editor.plist"));
}

TEST_F(PreferencesDomainTests, AClockThatJumpsChangesNothing) {
  testing::SettableClock clock;
  Process here(path());
  Process there(path());
  here.save("a", 1);
  clock.setAbsoluteTime(-1e9);
  there.save("b", 2);
  std::filesystem::last_write_time(
      file(), std::filesystem::file_time_type::min() + std::chrono::hours(24 * 365 * 200));
  EXPECT_TRUE(here->synchronize());
  clock.setAbsoluteTime(1e9);
  here.save("c", 3);
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"a", 1}, {"b", 2}, {"c", 3}})));
}

TEST_F(PreferencesDomainTests, ProcessesAtRandomAgreeWithAPlainModel) {
  testing::RandomRun random;
  std::vector<std::unique_ptr<Process>> processes;
  for (int i = 0; i < 3; ++i) processes.push_back(std::make_unique<Process>(path()));
  std::map<std::string, int> model;
  std::vector<std::map<std::string, int>> waiting(3);  // 0 removes
  for (int step = 0; step < 300; ++step) {
    const auto who = random.below(3);
    const std::string key(1, static_cast<char>('a' + random.below(8)));
    const int value = static_cast<int>(random.below(5));
    processes[who]->set(key.c_str(), value == 0 ? id() : id(value));
    waiting[who][key] = value;
    if (random.below(3) == 0) {
      ASSERT_TRUE((*processes[who])->synchronize());
      for (const auto& [changed, to] : waiting[who]) model[changed] = to;
      std::erase_if(model, [](const auto& entry) { return entry.second == 0; });
      waiting[who].clear();
    }
    const auto expected = NSMutableDictionary::dictionary();
    for (const auto& [there, is] : model) expected->setObject_forKey(is, there);
    ASSERT_THAT(Process(path())->contents(), Is(expected));
  }
}

}  // namespace
}  // namespace kestova
