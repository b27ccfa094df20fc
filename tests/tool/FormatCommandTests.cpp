// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "ToolRun.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace kestova {
namespace {

using testing::runTool;
using testing::ToolResult;

class FormatCommandTests : public ::testing::Test {
 protected:
  /// Numbers have points in the tool's own runs, whatever the machine's locale is.
  void SetUp() override { ::setenv("LC_ALL", "C.UTF-8", 1); }
};

TEST_F(FormatCommandTests, DurationsAreWrittenOneALine) {
  EXPECT_EQ(runTool({"format", "time", "90061", "0", "7200"}).output,
            "1 day, 1 hour, 1 minute, 1 second\n0 seconds\n2 hours\n");
  EXPECT_EQ(runTool({"format", "time", "--style", "4", "3723"}).output, "1:02:3\n");
  EXPECT_EQ(runTool({"format", "time", "--style", "0", "3723"}).output, "1h 2m 3s\n");
  EXPECT_EQ(runTool({"format", "time", "--fractions", "1.5"}).output, "1.50 seconds\n");
  EXPECT_EQ(runTool({"format", "time", "--options", "2", "3725"}).output, "1 hour\n");
  EXPECT_EQ(runTool({"format", "time", "257698037759"}).output,
            "2982616 days, 4 hours, 15 minutes, 59 seconds\n");
}

TEST_F(FormatCommandTests, WhatIsNoDurationIsToldAndTheOthersAreWritten) {
  const ToolResult result =
      runTool({"format", "time", "1", "x", "nan", "inf", "257698037760", "1e999", "1s", "", "2"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "1 second\n2 seconds\n");
  EXPECT_EQ(result.errors,
            "kestova: x: not a number of seconds\n"
            "kestova: nan: not from 0 to below 257698037760 seconds\n"
            "kestova: inf: not from 0 to below 257698037760 seconds\n"
            "kestova: 257698037760: not from 0 to below 257698037760 seconds\n"
            "kestova: 1e999: not a number of seconds\n"
            "kestova: 1s: not a number of seconds\n"
            "kestova: : not a number of seconds\n");
  EXPECT_NE(runTool({"format", "time", "-5"}).exitStatus, 0);
}

TEST_F(FormatCommandTests, CountsOfBytesAreWritten) {
  EXPECT_EQ(runTool({"format", "bytes", "0", "1536", "18446744073709551615"}).output,
            "0 Bytes\n1.5 KB\n17179869184 GB\n");
  ::setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_EQ(runTool({"format", "bytes", "1536"}).output, "1,5 KB\n");
}

TEST_F(FormatCommandTests, WhatIsNoCountIsTold) {
  const ToolResult result = runTool({"format", "bytes", "1", "1.5", "18446744073709551616"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "1 Bytes\n");
  EXPECT_EQ(result.errors,
            "kestova: 1.5: not a count of bytes from 0 to 18446744073709551615\n"
            "kestova: 18446744073709551616: not a count of bytes from 0 to "
            "18446744073709551615\n");
}

TEST_F(FormatCommandTests, TextsAreReadAsCounts) {
  EXPECT_EQ(runTool({"format", "bytes", "--parse", "1.5 KB", "10", "10 B", " 3 GB"}).output,
            "1536\n10485760\n10\n3221225472\n");
}

TEST_F(FormatCommandTests, ATextThatDoesNotBeginWithANumberFails) {
  const ToolResult result = runTool({"format", "bytes", "--parse", "abc", "2 mb", "\xFF"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "2097152\n");
  EXPECT_EQ(result.errors,
            "kestova: abc: Couldn't convert to bytes\n"
            "kestova: \xFF: Couldn't convert to bytes\n");
}

TEST_F(FormatCommandTests, WrongUseIsTold) {
  for (const auto& arguments :
       std::vector<std::vector<std::string>>{{"format"},
                                             {"format", "time"},
                                             {"format", "bytes"},
                                             {"format", "weight", "1"},
                                             {"format", "time", "--style", "5", "1"},
                                             {"format", "time", "--options", "4", "1"}}) {
    EXPECT_EQ(runTool(arguments).exitStatus, 2);
  }
}

}  // namespace
}  // namespace kestova
