// SPDX-License-Identifier: Apache-2.0
#include "values/SystemRelease.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace kestova::testing {
namespace {

constexpr std::int32_t kLargest = 2147483647;

TEST(SystemReleaseTests, ReadsTheVersion) {
  const struct {
    const char* text;
    VersionParts parts;
  } rows[] = {
      {"VERSION_ID=12", {12, 0, 0}},
      {"VERSION_ID=\"12\"\n", {12, 0, 0}},
      {"VERSION_ID='22.04'\n", {22, 4, 0}},
      {"NAME=x\nVERSION=\"9 (nine)\"\nVERSION_ID=\"10.9.5\"\nID=y\n", {10, 9, 5}},
      {"VERSION_ID=3.19.1.7", {3, 19, 1}},
      {"VERSION_ID=3.19.1_alpha", {3, 19, 1}},
      {"VERSION_ID=3.beta.1", {3, 0, 0}},
      {"VERSION_ID=3..1", {3, 0, 0}},
      {"VERSION_ID=3.", {3, 0, 0}},
      {"VERSION_ID=-3", {0, 0, 0}},
      {"VERSION_ID=rolling", {0, 0, 0}},
      {"VERSION_ID=", {0, 0, 0}},
      {"VERSION_ID=\"\"", {0, 0, 0}},
      {"VERSION_ID=\"", {0, 0, 0}},
      {"VERSION_ID=2147483647.2147483648.1", {kLargest, kLargest, 1}},
      {"VERSION_ID=99999999999999999999.1", {kLargest, 1, 0}},
      {"  VERSION_ID=5.1 \r\n", {5, 1, 0}},
      {"VERSION_ID=5\nVERSION_ID=6.1\n", {6, 1, 0}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(systemVersionIn(row.text), row.parts) << row.text;
  }
}

TEST(SystemReleaseTests, AFileWithoutAVersionHasNone) {
  for (const char* text : {"", "\n\n", "NAME=VERSION_ID=5", "#VERSION_ID=5", "VERSION_ID 5",
                           "XVERSION_ID=5", "VERSION_IDS=5", "version_id=5"}) {
    EXPECT_EQ(systemVersionIn(text), std::nullopt) << text;
  }
}

TEST(SystemReleaseTests, EveryBeginningOfAFileCanBeRead) {
  const std::string text = "NAME=\"x\"\nVERSION_ID=\"10.9.5\"\nID=y\n";
  const std::size_t name = text.find("VERSION_ID=") + std::string_view("VERSION_ID=").size();
  for (std::size_t length = 0; length <= text.size(); ++length) {
    EXPECT_EQ(systemVersionIn(text.substr(0, length)).has_value(), length >= name) << length;
  }
}

TEST(SystemReleaseTests, ReadsTheNameForPeople) {
  const struct {
    const char* text;
    std::optional<std::string> name;
  } rows[] = {
      {"PRETTY_NAME=Plain", "Plain"},
      {"NAME=x\nPRETTY_NAME=\"Some Linux 12 (twelve)\"\nID=y\n", "Some Linux 12 (twelve)"},
      {"PRETTY_NAME='It''s'\n", "It''s"},
      {"PRETTY_NAME='a\\b'\n", "a\\b"},
      {"PRETTY_NAME=\"\\\"a\\\\b\\$\\`\"\n", "\"a\\b$`"},
      {"PRETTY_NAME=a\\ b", "a b"},
      {"PRETTY_NAME=a\\", "a\\"},
      {"PRETTY_NAME=first\nPRETTY_NAME=second\n", "second"},
      {"PRETTY_NAME=\"\"", std::nullopt},
      {"PRETTY_NAME=", std::nullopt},
      {"NAME=x", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(systemNameIn(row.text), row.name) << row.text;
  }
}

}  // namespace
}  // namespace kestova::testing
