// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAdditions.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "ChildProcess.h"
#include "ShellRun.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

namespace kestova {
namespace {

using testing::runTool;
using testing::ToolResult;

class FileCommandTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }
  std::string write(const std::string& name, const std::string& text = "") const {
    return folder_.write(name, text);
  }
  ToolResult shell(const std::string& line) const {
    return testing::runShell(folder_.path(), line);
  }

  testing::TemporaryFolder folder_;
};

TEST_F(FileCommandTests, ASizeStandsBeforeItsPath) {
  ::mkdir(at("folder").c_str(), 0755);
  write("folder/file", std::string(1000, 'x'));
  write("line\nfeed", "12345");
  const ToolResult result = shell("$KESTOVA size folder folder/file 'line\nfeed'");
  EXPECT_EQ(result.output, "1000\tfolder\n1000\tfolder/file\n5\tline\nfeed\n");
  EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(FileCommandTests, SizesAreThoseOfTheLibrary) {
  const auto files = NSFileManager::defaultManager();
  const auto folder = NSString::stringWithFileSystemRepresentation(folder_.path().native());
  write("a", std::string(5000, 'x'));
  write("b", std::string(300, 'x'));
  EXPECT_EQ(runTool({"size", folder_.path()}).output,
            std::to_string(sizeOfItemAtPath_options(files, folder, 0)) + "\t" +
                folder_.path().native() + "\n");
  EXPECT_EQ(runTool({"size", "--physical", folder_.path()}).output,
            std::to_string(sizeOfItemAtPath_options(files, folder, 4 | 8)) + "\t" +
                folder_.path().native() + "\n");
}

TEST_F(FileCommandTests, SizesAsJSONAreAnObjectEach) {
  write("a\"\n", "12345");
  EXPECT_EQ(shell("$KESTOVA size --json 'a\"\n'").output, "{\"path\":\"a\\\"\\n\",\"bytes\":5}\n");
}

TEST_F(FileCommandTests, WhatIsMissingIsToldAndTheOthersMeasured) {
  write("-a", "12345");
  const ToolResult result = shell("$KESTOVA size -- missing -a");
  EXPECT_EQ(result.output, "5\t-a\n");
  EXPECT_EQ(result.errors, "kestova: missing: File not found\n");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(runTool({"size"}).exitStatus, 2);
}

TEST_F(FileCommandTests, WhatMayNotBeReadIsTold) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give up its rights";
  ::mkdir(at("locked").c_str(), 0700);
  write("locked/secret", "secret");
  write("file", "1234567");
  ::chmod(at("locked").c_str(), 0);
  const ToolResult result =
      shell("setpriv --bounding-set=-dac_override,-dac_read_search $KESTOVA size . locked");
  EXPECT_EQ(result.output, "7\t.\n");
  EXPECT_EQ(result.errors,
            "kestova: .: what can't be read is not counted: Permission denied\n"
            "kestova: locked: Permission denied\n");
  EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(FileCommandTests, NamesArePrintedAlone) {
  write("a.txt");
  write("\xFF");
  EXPECT_EQ(runTool({"name", "--safe", "a/b\n"}).output, "a:b\n");
  EXPECT_EQ(shell("$KESTOVA name --unique a.txt").output, "a 2.txt\n");
  EXPECT_EQ(shell("$KESTOVA name --duplicate a.txt").output, "a copy.txt\n");
  EXPECT_EQ(shell("$KESTOVA name --unique missing").output, "missing\n");
  EXPECT_EQ(runTool({"name", "--unique", at("\xFF")}).output, at("\xFF 2\n"));
  EXPECT_EQ(runTool({"name", "--safe", "--", "-x"}).output, "-x\n");
}

TEST_F(FileCommandTests, ANameIsOfOneKind) {
  EXPECT_EQ(runTool({"name", "a"}).exitStatus, 2);
  EXPECT_EQ(runTool({"name", "--safe", "--unique", "a"}).exitStatus, 2);
  EXPECT_EQ(runTool({"name", "--safe"}).exitStatus, 2);
}

TEST_F(FileCommandTests, ATypeIsOneLine) {
  write("-text", "just words\n");
  const ToolResult result = shell("$KESTOVA type -- -text");
  EXPECT_EQ(result.output, "ASCII text\n");
  EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(FileCommandTests, ATypeThatCannotBeToldIsAFailure) {
  const ToolResult missing = shell("$KESTOVA type 'mis\nsing'");
  EXPECT_EQ(missing.output, "");
  EXPECT_EQ(missing.errors, "kestova: mis?sing: No such file or directory\n");
  EXPECT_EQ(missing.exitStatus, 1);
  if (::geteuid() != 0) GTEST_SKIP() << "only root can take the program away";
  const ToolResult without = shell(
      "unshare -m sh -c 'mount -t tmpfs none /usr/bin 2>/dev/null; exec \"$KESTOVA\" type .'");
  EXPECT_EQ(without.errors, "kestova: .: /usr/bin/file is missing or could not tell its type\n");
  EXPECT_EQ(without.exitStatus, 1);
}

}  // namespace
}  // namespace kestova
