// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSDictionary.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MountedTmpfs.h"
#include "PreferencesFiles.h"
#include "PropertyLists.h"
#include "SettableClock.h"

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace kestova {
namespace {

using ::testing::ElementsAre;
using testing::Is;
using Process = testing::PreferencesProcess;

class DamagedPreferencesTests : public testing::PreferencesFileFixture {};

TEST_F(DamagedPreferencesTests, ADamagedFileIsPutAsideUnderADatedName) {
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

TEST_F(DamagedPreferencesTests, DamagedFilesOfOneSecondAreAllKept) {
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

TEST_F(DamagedPreferencesTests, AFileCutAnywhereIsDamagedAndNothingElse) {
  Process(path()).save("key", testing::everyKindOfValue());
  const std::string whole = place_.read("kestova/org.example.Editor.plist");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto bytes = NSData::dataWithBytes_length(whole.data(), length);
    EXPECT_THROW(static_cast<void>(preferencesInData(bytes)), DamagedPreferences) << length;
  }
  EXPECT_NE(preferencesInData(NSData::dataWithBytes_length(whole.data(), whole.size())), nullptr);
}

TEST_F(DamagedPreferencesTests, AnArrayAtTheTopIsDamage) {
  ASSERT_TRUE(NSArray::of(1)->writeToFile_atomically(file(), true));
  EXPECT_EQ(Process(path())->contents()->count(), 0U);
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(log_.lines()[0].ends_with(": There is no dictionary at its top."));
}

TEST_F(DamagedPreferencesTests, ChangesGoIntoANewFileWhereTheOldOneWasDamaged) {
  Process here(path());
  here.save("a", 1);
  place_.write("kestova/org.example.Editor.plist", "junk");
  EXPECT_TRUE(here.save("b", 2));
  EXPECT_THAT(onDisk(), Is(NSDictionary::of({{"b", 2}})));
  EXPECT_EQ(names().size(), 3U);
}

TEST_F(DamagedPreferencesTests, ADamagedFileThatCannotBePutAsideStaysAndIsToldOnce) {
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

TEST_F(DamagedPreferencesTests, ASymbolicLinkInPlaceOfTheFileIsRefusedAndStays) {
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

TEST_F(DamagedPreferencesTests, AFileOfSomebodyElseIsRefusedAndStays) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  place_.write("kestova/org.example.Editor.plist", "theirs");
  ASSERT_EQ(::chown(file().c_str(), 12345, 0), 0);
  Process here(path());
  EXPECT_FALSE(here.save("a", 1));
  EXPECT_EQ(place_.read("kestova/org.example.Editor.plist"), "theirs");
  EXPECT_THAT(log_.lines(), ElementsAre("The preferences of org.example.Editor cannot be read: "
                                        "org.example.Editor.plist belongs to another user"));
}

TEST_F(DamagedPreferencesTests, AFileBeyondAllBoundsIsRefused) {
  place_.write("kestova/org.example.Editor.plist", "");
  std::filesystem::resize_file(file(), (64U << 20) + 1);
  EXPECT_EQ(Process(path())->contents()->count(), 0U);
  EXPECT_THAT(log_.lines(), ElementsAre("The preferences of org.example.Editor cannot be read: "
                                        "org.example.Editor.plist is larger than 64 MiB"));
}

}  // namespace
}  // namespace kestova
