// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "ToolRun.h"

#include <algorithm>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::runTool;
using testing::ToolResult;

TEST(TimezoneCommandTests, EveryZoneOfTheNameIsListedTheAnswerFirst) {
  std::vector<std::string> zones = runTool({"timezone", "PST", "--locale", "en_US"}).lines();
  ASSERT_GT(zones.size(), 2U);
  EXPECT_NE(std::ranges::find(zones, "America/Los_Angeles"), zones.end());
  EXPECT_TRUE(std::is_sorted(zones.begin() + 1, zones.end()));
  EXPECT_GT(zones.front(), zones.back());
  std::ranges::sort(zones);
  EXPECT_EQ(std::ranges::adjacent_find(zones), zones.end());
}

TEST(TimezoneCommandTests, NamesAreThoseOfTheLocale) {
  const auto zones =
      runTool({"timezone", "mitteleuropäische sommerzeit", "--locale", "de_DE"}).lines();
  EXPECT_NE(std::ranges::find(zones, "Europe/Berlin"), zones.end());
}

TEST(TimezoneCommandTests, ANameThatNoZoneHasIsAFailure) {
  const ToolResult result = runTool({"timezone", "nothing", "--locale", "xx"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "kestova: nothing: no time zone has this name in the locale xx\n");
}

TEST(TimezoneCommandTests, WhatIsNoTextOrNoLocaleIsTold) {
  EXPECT_EQ(runTool({"timezone", "\xFF"}).errors, "kestova: \xFF: not UTF-8 text\n");
  const ToolResult result = runTool({"timezone", "PST", "--locale", "ä"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: ä: not an identifier of a locale\n");
  EXPECT_EQ(runTool({"timezone"}).exitStatus, 2);
}

}  // namespace
}  // namespace kestova
