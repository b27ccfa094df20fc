// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Gestalt.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>

#include "values/SystemRelease.h"

namespace kestova::testing {
namespace {

std::string textOf(const char* path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(GestaltTests, TellsTheVersionOfTheRunningSystem) {
  const auto version = systemVersionIn(textOf("/etc/os-release"));
  for (std::size_t part = 0; part < 3; ++part) {
    std::int32_t answer = -1;
    const OSStatus status = Gestalt(gestaltSystemVersionMajor + static_cast<OSType>(part), &answer);
    EXPECT_EQ(status, version ? OSStatus{noErr} : gestaltUnknownErr);
    EXPECT_EQ(answer, version ? (*version)[part] : -1);
  }
}

TEST(GestaltTests, KnowsNothingElseAndLeavesTheAnswerAsItWas) {
  for (const OSType selector : {OSType{0}, gestaltSystemVersionMajor - 1,
                                gestaltSystemVersionBugFix + 1, OSType{0xFFFFFFFF}}) {
    std::int32_t answer = 17;
    EXPECT_EQ(Gestalt(selector, &answer), gestaltUndefSelectorErr);
    EXPECT_EQ(answer, 17);
  }
}

TEST(GestaltDeathTests, NeedsAPlaceForTheAnswer) {
  EXPECT_DEATH(Gestalt(gestaltSystemVersionMajor, nullptr), "response != nil");
}

}  // namespace
}  // namespace kestova::testing
