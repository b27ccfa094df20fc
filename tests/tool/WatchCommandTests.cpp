// SPDX-License-Identifier: Apache-2.0
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace kestova::testing {
namespace {

namespace fs = std::filesystem;

/// A line that the command prints, and the one that a run begins with.
constexpr const char* kEcho = "echo \"ran $(cat FILE 2>/dev/null)\"";

class WatchCommandTests : public ::testing::Test {
 protected:
  /// The tool with these options and files, and a command line for the shell in the test's folder,
  /// where FILE stands for "file". Returns when it watches.
  void watch(std::vector<std::string> arguments, const std::string& commandLine) {
    arguments.insert(arguments.begin(), "watch");
    arguments.insert(arguments.end(),
                     {"--", "sh", "-c",
                      "cd '" + folder.path().string() + "'; " +
                          std::regex_replace(commandLine, std::regex("FILE"), "file")});
    tool.emplace(arguments);
    tool->waitForOutput("watching");
  }

  /// Watches "file" with next to no interval.
  void watchFile(const std::string& commandLine) {
    watch({"--interval", "0.001", folder.at("file")}, commandLine);
  }

  ToolResult interrupt() {
    tool->send(SIGINT);
    return tool->wait();
  }

  /// Expects that the tool is interrupted in order, and answers all that it printed.
  std::string outputWhenInterrupted() {
    const ToolResult result = interrupt();
    EXPECT_EQ(result.exitStatus, 130);
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  const TemporaryFolder folder;
  std::optional<ToolRun> tool;
};

TEST_F(WatchCommandTests, TenQuickSavesMakeOneRunAtOnceAndOneAtTheEnd) {
  watch({"--interval", "3", folder.at("file")}, "echo >>runs; echo run $(wc -l <runs); cat FILE");
  folder.write("file", "first\n");
  tool->waitForOutput("run 1\n");
  for (int i = 0; i < 8; ++i) {
    folder.write("file", "more\n");
  }
  folder.write("file", "last\n");
  tool->waitForOutput("run 2\nlast\n");
  const std::string output = outputWhenInterrupted();
  EXPECT_TRUE(std::regex_match(
      output, std::regex("watching 1 path\n1 change, 1 run\nrun 1\n((first|more|last)\n)?"
                         "\\d changes?, 1 run\nrun 2\nlast\nin all \\d+ changes, 2 runs\n")))
      << output;
}

TEST_F(WatchCommandTests, AFileThatIsReplacedHasChanged) {
  folder.write("file", "old");
  watchFile(kEcho);
  fs::rename(folder.write("other", "new"), folder.at("file"));
  tool->waitForOutput("ran new\n");
  fs::rename(folder.write("other", "newer"), folder.at("file"));
  tool->waitForOutput("ran newer\n");
  EXPECT_EQ(outputWhenInterrupted(),
            "watching 1 path\n1 change, 1 run\nran new\n1 change, 1 run\nran newer\n"
            "in all 2 changes, 2 runs\n");
}

TEST_F(WatchCommandTests, AFileNeedNotExistYetAndMayGo) {
  watchFile(kEcho);
  folder.write("file", "made");
  tool->waitForOutput("ran made\n");
  fs::remove(folder.at("file"));
  tool->waitForOutput("ran \n");
  folder.write("file", "again");
  tool->waitForOutput("ran again\n");
  EXPECT_EQ(outputWhenInterrupted(),
            "watching 1 path\n1 change, 1 run\nran made\n1 change, 1 run\nran \n"
            "1 change, 1 run\nran again\nin all 3 changes, 3 runs\n");
}

TEST_F(WatchCommandTests, OtherFilesOfTheFolderDontMatter) {
  watchFile(kEcho);
  folder.write("other", "x");
  fs::create_directory(folder.at("folder"));
  folder.write("file", "1");
  tool->waitForOutput("ran 1\n");
  EXPECT_EQ(outputWhenInterrupted(),
            "watching 1 path\n1 change, 1 run\nran 1\nin all 1 change, 1 run\n");
}

TEST_F(WatchCommandTests, OfAFolderItsEntriesAreWatched) {
  fs::create_directory(folder.at("src"));
  watch({"--interval", "0.001", folder.at("src")}, "echo $(ls src).");
  folder.write("src/a", "1");
  tool->waitForOutput("\na.\n");
  fs::create_directory(folder.at("src/b"));
  tool->waitForOutput("\na b.\n");
  fs::create_symlink("a", folder.at("src/c"));
  tool->waitForOutput("\na b c.\n");
  fs::create_hard_link(folder.at("src/a"), folder.at("src/d"));
  tool->waitForOutput("\na b c d.\n");
  fs::rename(folder.at("src/a"), folder.at("out"));
  tool->waitForOutput("\nb c d.\n");
  fs::remove(folder.at("src/d"));
  tool->waitForOutput("\nb c.\n");
  EXPECT_NE(outputWhenInterrupted().find("in all 6 changes, 6 runs"), std::string::npos);
}

TEST_F(WatchCommandTests, AFolderThatComesAgainIsWatchedAgain) {
  watch({"--interval", "0.001", folder.at("src") + "/"},
        "echo $(ls src 2>/dev/null || echo none).");
  fs::create_directory(folder.at("src"));
  tool->waitForOutput("\n.\n");
  folder.write("src/a", "1");
  tool->waitForOutput("\na.\n");
  fs::rename(folder.at("src"), folder.at("old"));
  tool->waitForOutput("\nnone.\n");
  fs::create_directory(folder.at("src"));
  folder.write("src/b", "1");
  tool->waitForOutput("\nb.\n");
  interrupt();
}

TEST_F(WatchCommandTests, WhatASymbolicLinkStandsForIsWatched) {
  fs::create_directory(folder.at("real"));
  folder.write("real/text", "1");
  fs::create_symlink("real/text", folder.at("file"));
  watchFile(kEcho);
  folder.write("real/text", "2");
  tool->waitForOutput("ran 2\n");
  EXPECT_EQ(outputWhenInterrupted(),
            "watching 1 path\n1 change, 1 run\nran 2\nin all 1 change, 1 run\n");
}

TEST_F(WatchCommandTests, ACommandThatFailsIsToldAndWatchingGoesOn) {
  watchFile("text=$(cat FILE); echo \"ran $text\"; test \"$text\" != 1 || exit 7; kill -KILL $$");
  folder.write("file", "1");
  tool->waitForOutput("ran 1\n");
  folder.write("file", "2");
  tool->waitForOutput("ran 2\n");
  folder.write("file", "3");
  tool->waitForOutput("ran 3\n");
  const ToolResult result = interrupt();
  EXPECT_EQ(result.exitStatus, 130);
  EXPECT_TRUE(
      result.errors.starts_with("kestova: sh: ended with status 7\n"
                                "kestova: sh: ended by a signal: Killed\n"))
      << result.errors;
}

TEST_F(WatchCommandTests, ACommandThatIsNotThereIsTold) {
  tool.emplace(std::vector<std::string>{"watch", "--interval", "0.001", folder.at("file"), "--",
                                        folder.at("no-such-command")});
  tool->waitForOutput("watching");
  folder.write("file", "1");
  tool->waitForErrors("\n");
  const ToolResult result = interrupt();
  EXPECT_EQ(result.exitStatus, 130);
  EXPECT_EQ(result.errors,
            "kestova: " + folder.at("no-such-command") + ": No such file or directory\n");
}

TEST_F(WatchCommandTests, AnInterruptEndsTheCommandAndAllItsProcesses) {
  watchFile("sleep 1000 & echo \"$$ $! started\"; wait");
  folder.write("file", "1");
  tool->waitForOutput("started\n");
  const std::string output = outputWhenInterrupted();
  std::smatch found;
  ASSERT_TRUE(std::regex_search(output, found, std::regex("(\\d+) (\\d+) started")));
  EXPECT_NE(::kill(std::stoi(found[1]), 0), 0) << "it was waited for";
  std::string state;
  do {
    std::ifstream("/proc/" + found[2].str() + "/stat") >> state >> state >> state;
  } while (::kill(std::stoi(found[2]), 0) == 0 && state != "Z");
}

TEST_F(WatchCommandTests, ATerminationIsAnInterrupt) {
  watchFile(kEcho);
  tool->send(SIGTERM);
  const ToolResult result = tool->wait();
  EXPECT_EQ(result.exitStatus, 130);
  EXPECT_EQ(result.output, "watching 1 path\nin all 0 changes, 0 runs\n");
}

TEST_F(WatchCommandTests, TheCommandHasNothingToReadAndNoSignalHeldBack) {
  watchFile("cat; grep SigBlk /proc/self/status; echo over");
  folder.write("file", "1");
  tool->waitForOutput("over\n");
  EXPECT_NE(outputWhenInterrupted().find("SigBlk:\t0000000000000000\nover\n"), std::string::npos);
}

TEST_F(WatchCommandTests, BetweenStartsASlowRunIsJoinedByTheNext) {
  watch({"--interval", "0.001", "--mode", "starts", folder.at("file")},
        "echo >>runs; echo begun; while test $(wc -l <runs) -lt 2; do sleep 0.01; done; echo over");
  folder.write("file", "1");
  tool->waitForOutput("begun\n");
  folder.write("file", "2");
  tool->waitForOutput("over\n");
  interrupt();
}

TEST_F(WatchCommandTests, BetweenExecutionTheNextRunWaitsForTheEnd) {
  watch({"--interval", "0.001", "--mode", "execution", folder.at("file")},
        "echo begun $(cat FILE); while test \"$(cat FILE)\" != 2; do sleep 0.01; done; echo over");
  folder.write("file", "1");
  tool->waitForOutput("begun 1\n");
  folder.write("file", "2");
  tool->waitForOutput("begun 2\nover\n");
  const std::string output = outputWhenInterrupted();
  EXPECT_LT(output.find("over"), output.find("begun 2"));
}

TEST_F(WatchCommandTests, AMissingFolderIsToldInOneLine) {
  const ToolResult result = runTool({"watch", folder.at("missing/file"), "--", "true"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "kestova: " + folder.at("missing") + ": No such file or directory\n");
}

TEST_F(WatchCommandTests, EndsWhenTheFolderIsGone) {
  fs::create_directory(folder.at("src"));
  watch({folder.at("src/file")}, kEcho);
  fs::remove(folder.at("src"));
  const ToolResult result = tool->wait();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: the folders that were watched are gone\n");
}

TEST_F(WatchCommandTests, WrongUseIsTold) {
  const std::string file = folder.at("file");
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"watch"},
                                             {"watch", file},
                                             {"watch", file, "--"},
                                             {"watch", "--", "true"},
                                             {"watch", file, "--interval", "1", "--", "true"},
                                             {"watch", "--interval", "0", file, "--", "true"},
                                             {"watch", "--interval", "-1", file, "--", "true"},
                                             {"watch", "--interval", "nan", file, "--", "true"},
                                             {"watch", "--interval", "soon", file, "--", "true"},
                                             {"watch", "--mode", "always", file, "--", "true"}}) {
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitStatus, 2) << arguments.size() << arguments.back();
    EXPECT_NE(result.errors, "");
  }
}

}  // namespace
}  // namespace kestova::testing
