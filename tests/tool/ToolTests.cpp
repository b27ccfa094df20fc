// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "ToolRun.h"

namespace kestova {
namespace {

using testing::runTool;
using testing::ToolResult;

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
  EXPECT_EQ(nothing.errors, std::string("A subcommand is required\n") + kHint);
}

TEST(ToolTests, WhatACommandLacksIsSaidByIt) {
  const ToolResult lacking = runTool({"hex", "--nothing"});
  EXPECT_EQ(lacking.exitStatus, 2);
  EXPECT_EQ(lacking.errors.find("There is no command"), std::string::npos) << lacking.errors;
}

}  // namespace
}  // namespace kestova
