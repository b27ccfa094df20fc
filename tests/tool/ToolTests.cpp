// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ToolRun.h"

#include <string>
#include <vector>

namespace kestova {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::runTool;
using testing::ToolResult;
using namespace std::string_literals;

using Words = std::vector<std::string>;

constexpr const char* kHint = "Run with --help for more information.\n";

TEST(ToolTests, AWordThatIsNoCommandIsNamed) {
  const ToolResult wrong = runTool({"cpoy", "a", "b"});
  EXPECT_EQ(wrong.exitStatus, 2);
  EXPECT_EQ(wrong.output, "");
  EXPECT_EQ(wrong.errors, std::string("kestova: There is no command \"cpoy\"\n") + kHint);

  EXPECT_EQ(runTool({"defaults", "raed", "org.example"}).errors,
            std::string("kestova: There is no command \"raed\"\n") + kHint);
}

TEST(ToolTests, WithoutACommandOneIsAskedFor) {
  const ToolResult nothing = runTool({});
  EXPECT_EQ(nothing.exitStatus, 2);
  EXPECT_EQ(nothing.errors, std::string("kestova: A subcommand is required\n") + kHint);
}

TEST(ToolTests, WhatACommandLacksIsSaidByIt) {
  const ToolResult lacking = runTool({"hex", "--nothing"});
  EXPECT_EQ(lacking.exitStatus, 2);
  EXPECT_EQ(lacking.errors.find("There is no command"), std::string::npos) << lacking.errors;
}

struct UsageRow {
  Words command;
  const char* usage;
};

TEST(ToolTests, TheUsageNamesWhatACommandTakes) {
  const UsageRow rows[] = {
      {{}, "kestova [OPTIONS] SUBCOMMAND"},
      {{"copy"}, "kestova copy [OPTIONS] SRC... DEST"},
      {{"convert"}, "kestova convert [OPTIONS] IN OUT"},
      {{"text"}, "kestova text [OPTIONS] FILE..."},
      {{"hex"}, "kestova hex [OPTIONS] [FILE]"},
      {{"md5"}, "kestova md5 [OPTIONS] [FILE...]"},
      {{"format", "bytes"}, "kestova format bytes [OPTIONS] VALUE..."},
      {{"defaults", "read"}, "kestova defaults read [OPTIONS] DOMAIN [KEY]"},
      {{"defaults", "write"}, "kestova defaults write [OPTIONS] DOMAIN KEY VALUE"},
      {{"watch"}, "kestova watch [OPTIONS] FILE... -- COMMAND [ARGUMENT...]"},
  };
  for (auto [command, usage] : rows) {
    command.emplace_back("--help");
    EXPECT_THAT(runTool(command).output, HasSubstr("Usage: "s + usage + "\n"));
  }
}

TEST(ToolTests, WhatMustBeGivenIsSaidToBe) {
  EXPECT_THAT(runTool({"rects", "clip", "--help"}).output, HasSubstr("--to RECT REQUIRED "));
  EXPECT_THAT(runTool({"replace", "--help"}).output, HasSubstr("--bytes HEX REQUIRED "));
}

TEST(ToolTests, AllHelpEndsWithTheExitStatus) {
  for (auto command :
       {Words(), Words{"copy"}, Words{"hex"}, Words{"watch"}, Words{"format", "time"}}) {
    command.emplace_back("--help");
    EXPECT_THAT(runTool(command).output,
                EndsWith("\nExit status: 0 success, 1 failure, 2 wrong use, 130 interrupted.\n"));
  }
  for (const char* command : {"mkdir", "move", "remove"}) {
    EXPECT_THAT(runTool({"admin", command, "--help"}).output,
                EndsWith("5 nobody to ask: no agent, no polkit or no policy.\n"));
  }
}

}  // namespace
}  // namespace kestova
