// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "MountedTmpfs.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::MountedTmpfs;
using testing::runTool;
using testing::runToolOnTerminal;
using testing::ToolResult;
using testing::ToolRun;

class TransferCommandTests : public ::testing::Test {
 protected:
  TransferCommandTests() { fs::create_directories(at("into")); }

  std::string at(const std::string& name) const { return folder_.at(name); }
  std::string write(const std::string& name, const std::string& contents = "contents") const {
    fs::create_directories(fs::path(at(name)).parent_path());
    return folder_.write(name, contents);
  }
  /// Names left in a folder by what was not finished, or by nobody.
  std::size_t entriesIn(const std::string& path) const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(path), fs::directory_iterator()));
  }

  testing::TemporaryFolder folder_;
};

TEST_F(TransferCommandTests, CopiesIntoAFolderUnderTheSourcesName) {
  const ToolResult result = runTool({"copy", write("a"), at("into")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(folder_.read("into/a"), "contents");
  EXPECT_EQ(folder_.read("a"), "contents");
}

TEST_F(TransferCommandTests, CopiesUnderANewName) {
  EXPECT_EQ(runTool({"copy", write("a"), at("b")}).exitStatus, 0);
  EXPECT_EQ(folder_.read("b"), "contents");
}

TEST_F(TransferCommandTests, CopiesAFolderWithATrailingSlash) {
  write("tree/sub/a");
  EXPECT_EQ(runTool({"copy", at("tree/"), at("into/")}).exitStatus, 0);
  EXPECT_EQ(folder_.read("into/tree/sub/a"), "contents");
}

TEST_F(TransferCommandTests, TheWorkingFolderIsCopiedUnderItsName) {
  write("tree/a");
  EXPECT_EQ(runTool({"copy", at("tree/."), at("into")}).exitStatus, 0);
  EXPECT_EQ(folder_.read("into/tree/a"), "contents");
}

TEST_F(TransferCommandTests, MovesSeveralSourcesIntoAFolder) {
  const ToolResult result = runTool({"move", write("a"), write("b"), at("into")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(folder_.read("into/a"), "contents");
  EXPECT_EQ(folder_.read("into/b"), "contents");
  EXPECT_FALSE(fs::exists(at("a")));
}

TEST_F(TransferCommandTests, SeveralSourcesNeedAFolder) {
  const ToolResult result = runTool({"copy", write("a"), write("b"), at("c")});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors,
            "kestova: " + at("c") + " is not a folder, and there are several sources\n");
  EXPECT_FALSE(fs::exists(at("c")));
}

TEST_F(TransferCommandTests, AMissingSourceIsOneLineThatNamesIt) {
  const ToolResult result = runTool({"copy", at("missing"), at("into")});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: Copying " + at("missing") + " to " + at("into/missing") +
                               " failed with error code -43 (fnfErr). File not found.\n");
}

TEST_F(TransferCommandTests, AfterAFailureTheOtherSourcesAreStillTaken) {
  const ToolResult result = runTool({"copy", at("missing"), write("a"), at("into")});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(folder_.read("into/a"), "contents");
}

TEST_F(TransferCommandTests, AnExistingDestinationIsKeptUnlessAskedFor) {
  write("into/a", "old");
  const ToolResult refused = runTool({"copy", write("a", "new"), at("into")});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.errors,
            "kestova: Copying " + at("a") + " to " + at("into/a") +
                " failed with error code -48 (dupFNErr). A file of that name exists "
                "already.\n");
  EXPECT_EQ(folder_.read("into/a"), "old");
  EXPECT_EQ(runTool({"copy", "--overwrite", at("a"), at("into")}).exitStatus, 0);
  EXPECT_EQ(folder_.read("into/a"), "new");
}

TEST_F(TransferCommandTests, AFullDiskIsOneLineThatNamesTheFileAndLeavesNothing) {
  const MountedTmpfs small(at("small"), "size=1m");
  if (!small.isMounted()) {
    GTEST_SKIP() << "only root can mount a small file system";
  }
  write("tree/large", std::string(4 << 20, 'x'));
  const ToolResult result = runTool({"copy", at("tree"), small.path()});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("(dskFulErr). Disk full.\n"), std::string::npos) << result.errors;
  EXPECT_NE(result.errors.find(at("tree")), std::string::npos) << result.errors;
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
  EXPECT_EQ(entriesIn(small.path()), 0U);
}

TEST_F(TransferCommandTests, NamesThatAreNoUTF8AreTakenAndShownSafely) {
  const std::string name = "odd\xFF\n";
  const ToolResult result = runTool({"copy", write(name), at("into")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(folder_.read("into/" + name), "contents");
  EXPECT_EQ(result.output.find('\xFF'), std::string::npos);
}

TEST_F(TransferCommandTests, WithoutATerminalThereArePlainLines) {
  const ToolResult result = runTool({"copy", write("a", std::string(2048, 'x')), at("into")});
  const auto lines = result.lines();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines.front(), "Copying " + at("a") + " to " + at("into/a"));
  EXPECT_EQ(lines.back(), "Copied 1 object, 2.0 KiB");
  EXPECT_EQ(result.output.find('\033'), std::string::npos);
  EXPECT_EQ(result.output.find('\r'), std::string::npos);
}

TEST_F(TransferCommandTests, QuietSaysNothing) {
  const ToolResult result = runTool({"copy", "--quiet", write("a"), at("into")});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output + result.errors, "");
}

TEST_F(TransferCommandTests, JSONIsOneObjectALine) {
  write("tree/a", std::string(3000, 'x'));
  const ToolResult result = runTool({"copy", "--json", at("tree"), at("into")});
  std::vector<nlohmann::json> objects;
  for (const std::string& line : result.lines()) {
    objects.push_back(nlohmann::json::parse(line));
  }
  ASSERT_GE(objects.size(), 3U);
  EXPECT_EQ(objects.front()["event"], "begin");
  EXPECT_EQ(objects.front()["source"], at("tree"));
  EXPECT_EQ(objects[1]["event"], "progress");
  const auto& end = objects.back();
  EXPECT_EQ(end["event"], "end");
  EXPECT_EQ(end["status"], 0);
  EXPECT_EQ(end["totalBytes"], 3000);
  EXPECT_EQ(end["bytesComplete"], 3000);
  EXPECT_EQ(end["bytesRemaining"], 0);
  EXPECT_EQ(end["objectsComplete"], 2);
}

TEST_F(TransferCommandTests, JSONTellsAFailure) {
  const ToolResult result = runTool({"copy", "--json", at("missing"), at("into")});
  const auto end = nlohmann::json::parse(result.lines().back());
  EXPECT_EQ(end["status"], -43);
  EXPECT_EQ(end["statusName"], "fnfErr");
  EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(TransferCommandTests, OnATerminalThereIsOneLiveLine) {
  write("tree/a", std::string(1 << 20, 'x'));
  const ToolResult result = runToolOnTerminal({"copy", at("tree"), at("into")}, 200);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_NE(result.output.find("[####################] 100% 1.0 MiB of 1.0 MiB"), std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find('\r'), std::string::npos);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
}

TEST_F(TransferCommandTests, OnATerminalThatCantRewriteLinesTheyArePlain) {
  for (const char* type : {"dumb", ""}) {
    const ToolResult result =
        runToolOnTerminal({"copy", "--overwrite", write("a"), at("into")}, 200, type);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(result.output.starts_with("Copying " + at("a"))) << result.output;
    EXPECT_EQ(result.output.find('\033'), std::string::npos);
    EXPECT_EQ(result.output.find("]"), std::string::npos) << "no bar: " << result.output;
  }
}

TEST_F(TransferCommandTests, NothingIsColoured) {
  const ToolResult result = runToolOnTerminal({"copy", write("a"), at("into")}, 200);
  EXPECT_NE(result.output.find("\033[K"), std::string::npos);
  for (std::size_t at = 0; (at = result.output.find('\033', at)) != std::string::npos; ++at) {
    EXPECT_EQ(result.output.substr(at, 3), "\033[K") << "the line is cleared, and nothing else";
  }
}

TEST_F(TransferCommandTests, TheLiveLineFitsANarrowTerminal) {
  write("tree/with-a-rather-long-name-that-has-no-room", "x");
  const ToolResult result = runToolOnTerminal({"copy", at("tree"), at("into")}, 40);
  EXPECT_EQ(result.exitStatus, 0);
  std::size_t start = 0;
  while ((start = result.output.find('\r', start)) != std::string::npos) {
    const std::size_t end = result.output.find("\033[K", ++start);
    if (end == std::string::npos) {
      break;
    }
    EXPECT_LE(end - start, 39U + 2U) << result.output;  // an ellipsis is three bytes in one column
  }
}

TEST_F(TransferCommandTests, CtrlCEndsWithoutALeftover) {
  for (int i = 0; i < 20'000; ++i) {
    write("tree/" + std::to_string(i % 50) + "/" + std::to_string(i), "x");
  }
  ToolRun run({"copy", "--json", at("tree"), at("into")});
  run.waitForOutput("progress");
  run.send(SIGINT);
  const ToolResult result = run.wait();
  EXPECT_EQ(result.exitStatus, 130) << result.errors;
  EXPECT_EQ(entriesIn(at("into")), 0U);
}

TEST_F(TransferCommandTests, HelpAndVersionSucceed) {
  EXPECT_EQ(runTool({"--version"}).output.rfind("kestova 1.", 0), 0U);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"copy", "--help"}, {"move", "--help"}}) {
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.output.find("Usage:"), std::string::npos) << result.output;
  }
}

TEST_F(TransferCommandTests, WrongUseIsExplained) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"copy"},
                                                    {"copy", "one"},
                                                    {"nosuch"},
                                                    {"copy", "--nosuch", "a", "b"}}) {
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.errors, "");
  }
}

}  // namespace
}  // namespace kestova
