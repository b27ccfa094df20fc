// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSURLAdditions.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "MountedTmpfs.h"
#include "Sanitizers.h"
#include "ShellRun.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

namespace kestova {
namespace {

using testing::MountedTmpfs;
using testing::runTool;
using testing::ToolResult;
using testing::builtWithSanitizer;

class VolumeCommandTests : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }
  ToolResult shell(const std::string& line) const {
    return testing::runShell(folder_.path(), line);
  }

  testing::TemporaryFolder folder_;
};

TEST_F(VolumeCommandTests, ALineHasNameAndRoot) {
  const auto root = NSURL::fileURLWithPath("/");
  const std::string line = ov_volumeName(root)->fileSystemRepresentation() + "\t/\n";
  const ToolResult result = runTool({"volume", "/", "/no such item"});
  EXPECT_EQ(result.output, line + line);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(VolumeCommandTests, AMountedVolumeHasItsOwn) {
  const MountedTmpfs volume(at("My Stick"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  const std::string root = std::filesystem::canonical(volume.path());
  std::filesystem::create_symlink(volume.path(), at("link"));
  const std::string line = "My Stick\t" + root + "\n";
  EXPECT_EQ(shell("$KESTOVA volume 'My Stick' 'My Stick/new' link link/new").output,
            line + line + line + line);
  EXPECT_EQ(shell("cd 'My Stick' && $KESTOVA volume -- new -new").output, line + line);
}

TEST_F(VolumeCommandTests, AsJSONAVolumeIsAnObject) {
  const MountedTmpfs volume(at("a\"\n\xFF"), "size=1m");
  if (!volume.isMounted()) GTEST_SKIP() << "only root can mount";
  const std::string folder = std::filesystem::canonical(folder_.path());
  EXPECT_EQ(runTool({"volume", "--json", volume.path()}).output,
            "{\"path\":\"" + folder_.path().string() +
                "/a\\\"\\n\uFFFD\",\"name\":\"a\\\"\\n\uFFFD\"" + ",\"root\":\"" + folder +
                "/a\\\"\\n\uFFFD\"}\n");
}

TEST_F(VolumeCommandTests, WhatCannotBeToldIsAFailureAndTheOthersHaveTheirTurn) {
  std::filesystem::create_symlink("loop", at("loop"));
  const ToolResult result = shell("$KESTOVA volume '' loop /");
  EXPECT_EQ(result.lines().size(), 1U);
  EXPECT_EQ(result.errors,
            "kestova: : No such file or directory\n"
            "kestova: loop: Too many levels of symbolic links\n");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(runTool({"volume"}).exitStatus, 2);
}

TEST_F(VolumeCommandTests, APathThatIsTooLongIsAFailure) {
  const std::string path(5000, 'x');
  const ToolResult result = runTool({"volume", path});
  EXPECT_EQ(result.errors, "kestova: " + path + ": File name too long\n");
  EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(VolumeCommandTests, WhatMayNotBeReachedIsAFailureAtOnce) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give up its rights";
  ::mkdir(at("locked").c_str(), 0700);
  folder_.write("locked/secret", "");
  ::chmod(at("locked").c_str(), 0);
  const ToolResult result = shell(
      "setpriv --bounding-set=-dac_override,-dac_read_search $KESTOVA volume locked/secret "
      "locked/new");
  EXPECT_EQ(result.errors,
            "kestova: locked/secret: Permission denied\n"
            "kestova: locked/new: Permission denied\n");
  EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(VolumeCommandTests, WithoutTheTableOfMountsTheVolumeIsAFailure) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can hide it";
  if (builtWithSanitizer) GTEST_SKIP() << "the sanitizer itself needs what is hidden";
  const ToolResult result =
      shell("unshare -m sh -c 'mount -t tmpfs none /proc; exec \"$KESTOVA\" volume missing .'");
  EXPECT_EQ(result.errors,
            "kestova: missing: Input/output error\n"
            "kestova: .: Input/output error\n");
  EXPECT_EQ(result.exitStatus, 1);
}

}  // namespace
}  // namespace kestova
