// SPDX-License-Identifier: Apache-2.0
#include "files/MountTable.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>

namespace kestova {
namespace {

constexpr std::string_view kTable =
    "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
    "27 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda rw,discard\n"
    "300 27 8:17 /inner /media/My\\040Stick\\011\\012\\134end rw shared:2 master:1 - vfat "
    "/dev/sdb1 rw\n"
    "301 27 0:50 /@ /mnt/b rw - btrfs /dev/sdc rw";

TEST(MountTableTests, AnEntryTellsParentDeviceAndPlace) {
  const auto root = mountIn(kTable, 27);
  ASSERT_TRUE(root);
  EXPECT_EQ(root->identifier, 27U);
  EXPECT_EQ(root->parent, 1U);
  EXPECT_EQ(root->device, makedev(254, 0));
  EXPECT_EQ(root->place, "/");
  const auto last = mountIn(kTable, 301);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->device, makedev(0, 50));
  EXPECT_EQ(last->place, "/mnt/b");
}

TEST(MountTableTests, EscapesStandForBytes) {
  EXPECT_EQ(mountIn(kTable, 300)->place, "/media/My Stick\t\n\\end");
  EXPECT_EQ(mountIn("1 0 1:2 / /a\\ rw", 1)->place, "/a\\");
  EXPECT_EQ(mountIn("1 0 1:2 / /a\\04 rw", 1)->place, "/a\\04");
  EXPECT_EQ(mountIn("1 0 1:2 / /a\\048 rw", 1)->place, "/a\\048");
  EXPECT_EQ(mountIn("1 0 1:2 / /\\377 rw", 1)->place, "/\377");
}

TEST(MountTableTests, WhatIsNotListedIsNotFound) {
  EXPECT_FALSE(mountIn(kTable, 28));
  EXPECT_FALSE(mountIn("", 0));
}

TEST(MountTableTests, LinesThatAreNoEntriesArePassedOver) {
  for (const char* line :
       {"", " ", "5", "5 1", "5 1 8:1", "5 1 8:1 /", "5 1 8:1 / ", "5 1 8 / /a", "5 1 8: / /a",
        "5 1 :1 / /a", "5 1 8:1x / /a", "5x 1 8:1 / /a", "5 x 8:1 / /a", "5 1 8:1 / a",
        "-5 1 8:1 / /a", "5 1 99999999999:1 / /a", "99999999999999999999999 1 8:1 / /a"}) {
    EXPECT_FALSE(mountIn(line, 5)) << line;
    EXPECT_EQ(mountIn(std::string(line) + "\n5 1 8:1 / /found rw", 5)->place, "/found") << line;
  }
}

TEST(MountTableTests, ATableThatIsCutOffHasItsWholeLines) {
  for (std::size_t length = 0; length <= kTable.size(); ++length) {
    const auto root = mountIn(kTable.substr(0, length), 22);
    EXPECT_EQ(root.has_value(), length >= std::string_view("22 27 0:21 / /").size()) << length;
  }
}

TEST(MountTableTests, TheTableOfThisProcessListsItsMounts) {
  std::string table;
  ASSERT_EQ(readMountTable(table), 0);
  EXPECT_NE(table.find(" /proc "), std::string::npos);
}

}  // namespace
}  // namespace kestova
