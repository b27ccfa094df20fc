// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNull.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExceptionExpectation.h"
#include "PreferencesFiles.h"
#include "PropertyLists.h"
#include "RandomRun.h"
#include "SettableClock.h"

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using testing::expectException;
using testing::Is;
using ::testing::IsEmpty;
using Process = testing::PreferencesProcess;

class PreferencesDomainTests : public testing::PreferencesFileFixture {};

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
