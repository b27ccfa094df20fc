// SPDX-License-Identifier: Apache-2.0
#include "files/StagingArea.h"

#include <signal.h>

#include <atomic>
#include <optional>
#include <string>

#include "ChildProcess.h"
#include "ScriptedFileSystemCalls.h"
#include "TransferFixture.h"

namespace kestova {
namespace {

class StagingAreaTest : public testing::TransferFixture {
 protected:
  StagingAreaTest() : into_(::open(at("into").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

  /// A staging folder whose owner was killed, with something in it; answers its name.
  std::string leaveBehind() {
    testing::runInChild([this] {
      StagingArea staging;
      staging.create(into_.get());
      ::mkdirat(staging.folder(), "folder", 0500);
      ::symlinkat(at("kept").c_str(), staging.folder(), "link");
      ::kill(::getpid(), SIGKILL);
      return 0;
    });
    for (const std::string& name : list("into")) {
      if (StagingArea::isStagingName(name)) return name;
    }
    return "";
  }

  FileDescriptor into_;
};

TEST_F(StagingAreaTest, KnowsItsNames) {
  EXPECT_TRUE(StagingArea::isStagingName(".kestova-partial-0123456789abcdef"));
  for (const char* name :
       {".kestova-partial-", ".kestova-partial-0123456789abcde",
        ".kestova-partial-0123456789abcdef0", ".kestova-partial-0123456789ABCDEF",
        ".kestova-partial-0123456789abcdeg", "kestova-partial-0123456789abcdef", ""}) {
    EXPECT_FALSE(StagingArea::isStagingName(name)) << name;
  }
}

TEST_F(StagingAreaTest, MakesAPrivateFolderAndRemovesItWithItsContent) {
  {
    StagingArea staging;
    ASSERT_EQ(staging.create(into_.get()), 0);
    const std::set<std::string> names = list("into");
    ASSERT_EQ(names.size(), 1u);
    EXPECT_TRUE(StagingArea::isStagingName(*names.begin()));
    EXPECT_EQ(facts("into/" + *names.begin()).st_mode & 07777, 0700u);
    write("into/" + *names.begin() + "/file", "text");
  }
  EXPECT_TRUE(list("into").empty());
}

TEST_F(StagingAreaTest, CannotBeMadeInAFolderThatIsGone) {
  std::filesystem::remove(at("into"));
  StagingArea staging;
  EXPECT_EQ(staging.create(into_.get()), ENOENT);
}

TEST_F(StagingAreaTest, CommitsUnderANewName) {
  StagingArea staging;
  ASSERT_EQ(staging.create(into_.get()), 0);
  ASSERT_EQ(::mkdirat(staging.folder(), "item", 0755), 0);
  EXPECT_EQ(staging.commit("item", "name"), 0);
  EXPECT_TRUE(exists("into/name"));
}

TEST_F(StagingAreaTest, DoesNotCommitOverAnything) {
  write("into/name", "old");
  StagingArea staging;
  ASSERT_EQ(staging.create(into_.get()), 0);
  ASSERT_EQ(::mkdirat(staging.folder(), "item", 0755), 0);
  EXPECT_EQ(staging.commit("item", "name"), EEXIST);
  EXPECT_EQ(read("into/name"), "old");
}

TEST_F(StagingAreaTest, WhatItReplacesGoesWithIt) {
  makeFolder("into/name/with/content");
  {
    StagingArea staging;
    ASSERT_EQ(staging.create(into_.get()), 0);
    const FileDescriptor file(::openat(staging.folder(), "item", O_CREAT | O_WRONLY, 0644));
    EXPECT_EQ(staging.commitReplacing("item", "name"), 0);
  }
  EXPECT_EQ(list("into"), std::set<std::string>{"name"});
  EXPECT_TRUE(S_ISREG(facts("into/name").st_mode));
}

TEST_F(StagingAreaTest, SweepsWhatADeadOwnerLeft) {
  makeFolder("kept");
  write("kept/file", "text");
  ASSERT_NE(leaveBehind(), "");
  StagingArea::sweep(into_.get());
  EXPECT_TRUE(list("into").empty());
  EXPECT_EQ(read("kept/file"), "text") << "a link was followed";
}

TEST_F(StagingAreaTest, LeavesWhatALivingOwnerHolds) {
  StagingArea staging;
  ASSERT_EQ(staging.create(into_.get()), 0);
  ASSERT_EQ(::mkdirat(staging.folder(), "item", 0755), 0);
  StagingArea::sweep(into_.get());
  EXPECT_EQ(staging.commit("item", "name"), 0);
}

TEST_F(StagingAreaTest, LeavesWhatOnlyLooksLikeOne) {
  write("into/.kestova-partial-0123456789abcdef", "a file");
  makeFolder("target");
  std::filesystem::create_directory_symlink(at("target"),
                                            at("into/.kestova-partial-0123456789abcdee"));
  makeFolder("into/.kestova-partial-short");
  StagingArea::sweep(into_.get());
  EXPECT_EQ(list("into").size(), 3u);
  EXPECT_TRUE(exists("target"));
}

TEST_F(StagingAreaTest, LeavesThoseOfOtherUsers) {
  if (::geteuid() != 0) GTEST_SKIP() << "becoming another user needs root";
  makeFolder("into/.kestova-partial-0123456789abcdef");
  ASSERT_EQ(::chown(at("into/.kestova-partial-0123456789abcdef").c_str(), 65534, 65534), 0);
  StagingArea::sweep(into_.get());
  EXPECT_EQ(list("into").size(), 1u);
}

TEST_F(StagingAreaTest, EveryTransferSweepsItsDestination) {
  ASSERT_NE(leaveBehind(), "");
  write("a", "text");
  EXPECT_EQ(copy("a", "b"), noErr);
  EXPECT_EQ(list("into"), std::set<std::string>{"b"});
}

/// A process killed at each system call in turn while it replaces an item, by one that counts them.
class KilledTransferTest : public StagingAreaTest {
 protected:
  /// Replaces `into/item` in a child that kills itself before its n-th scripted call. Whether it
  /// got that far.
  bool killedAt(int call, TransferKind kind) {
    const int status = testing::runInChild([&] {
      testing::ScriptedFileSystemCalls calls;
      std::atomic<int> count = 0;
      const auto step = [&](auto...) -> std::optional<int> {
        if (++count == call) ::kill(::getpid(), SIGKILL);
        return std::nullopt;
      };
      calls.onOpen = step;
      calls.onFlush = step;
      calls.onRename = step;
      calls.onUnlink = step;
      return carryOut(request(kind, "new", "item", kTransferOverwrite)) == noErr ? 0 : 1;
    });
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
    return WIFSIGNALED(status);
  }
  void makeVersion(const std::string& name, const std::string& text) {
    makeFolder(name + "/inner");
    write(name + "/file", text);
    write(name + "/inner/file", text);
  }
  void expectVersion(const std::string& name, const std::string& text) {
    EXPECT_EQ(read(name + "/file"), text);
    EXPECT_EQ(read(name + "/inner/file"), text);
  }
  /// The text of a version that is whole.
  std::string wholeVersion(const std::string& name) {
    const std::string text = read(name + "/file");
    expectVersion(name, text);
    return text;
  }
};

TEST_F(KilledTransferTest, ACopyLeavesTheOldOrTheNewItemWhole) {
  int call = 1;
  for (bool killed = true; killed; ++call) {
    makeVersion("new", "new");
    makeVersion("into/item", "old");
    killed = killedAt(call, TransferKind::copy);
    const std::string text = wholeVersion("into/item");
    EXPECT_TRUE(text == "new" || (killed && text == "old")) << call;
    write("other", "text");
    ASSERT_EQ(copy("other", "other"), noErr);
    EXPECT_EQ(list("into"), (std::set<std::string>{"item", "other"})) << "after call " << call;
    std::filesystem::remove_all(at("into/item"));
    std::filesystem::remove(at("into/other"));
  }
  EXPECT_GT(call, 12);
}

TEST_F(KilledTransferTest, AMoveLosesNothing) {
  int call = 1;
  for (bool killed = true; killed; ++call) {
    makeVersion("new", "new");
    makeVersion("into/item", "old");
    killed = killedAt(call, TransferKind::move);
    const std::string text = wholeVersion("into/item");
    if (text == "old") {
      expectVersion("new", "new");
    } else {
      EXPECT_EQ(text, "new");
    }
    std::filesystem::remove_all(at("into/item"));
    std::filesystem::remove_all(at("new"));
  }
  EXPECT_GT(call, 4);
}

}  // namespace
}  // namespace kestova
