// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <link.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "PolkitSandbox.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::PolkitSandbox;
using testing::runTool;
using testing::ToolResult;
using Agent = PolkitSandbox::Agent;
using Services = PolkitSandbox::Services;
using Words = std::vector<std::string>;

/// The files of the libraries of this process.
std::vector<fs::path> loadedLibraries() {
  std::vector<fs::path> files;
  const auto add = [](dl_phdr_info* library, std::size_t, void* list) {
    static_cast<std::vector<fs::path>*>(list)->emplace_back(library->dlpi_name);
    return 0;
  };
  ::dl_iterate_phdr(add, &files);
  return files;
}

/// Puts the tool and the libraries of this build where a person without rights reaches them.
void copyToolIntoSandbox() {
  fs::create_directory("/run/kestova");
  fs::copy(KESTOVA_TOOL_PATH, "/run/kestova/kestova");
  for (const fs::path& file : loadedLibraries()) {
    const std::string name = file.filename();
    if (name.starts_with("libKestova") || name.starts_with("libdispatch") ||
        name.starts_with("libBlocksRuntime")) {
      fs::copy(file, "/run/kestova");
    }
  }
}

[[noreturn]] void becomeTool(Words words) {
  std::vector<char*> pointers = {const_cast<char*>("kestova")};
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  ::setenv("LD_LIBRARY_PATH", "/run/kestova", 1);
  ::execv("/run/kestova/kestova", pointers.data());
  ::_exit(199);
}

/// The tool as a person without rights runs it, and a folder that is root's.
class AdminCommandTests : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can make a machine of its own";
    fs::permissions(folder_.path(), fs::perms(0755));
    sandbox_.rule = "YES";
    sandbox_.prepare = &copyToolIntoSandbox;
  }

  std::string at(const std::string& name) const { return folder_.at(name); }
  void write(const std::string& name, const std::string& text = "") const {
    folder_.write(name, text);
  }
  bool isRootsFolder(const std::string& name) const {
    struct stat facts {};
    return ::lstat(at(name).c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == 0;
  }

  /// Runs "kestova admin …" in the folder, without a terminal.
  ToolResult admin(Words words) const {
    words.insert(words.begin(), "admin");
    const testing::TemporaryFolder streams;
    const int output = ::creat(streams.at("out").c_str(), 0600);
    const int errors = ::creat(streams.at("err").c_str(), 0600);
    const int status = sandbox_.run([&]() -> int {
      ::setsid();
      ::dup2(output, STDOUT_FILENO);
      ::dup2(errors, STDERR_FILENO);
      if (::chdir(folder_.path().c_str()) != 0) return 198;
      becomeTool(words);
    });
    ::close(output);
    ::close(errors);
    return {status, streams.read("out"), streams.read("err")};
  }

  testing::TemporaryFolder folder_;
  PolkitSandbox sandbox_;
};

TEST_F(AdminCommandTests, FoldersAreMadeWithThoseThatLeadToThem) {
  const ToolResult result = admin({"mkdir", "--", "a/b/c", at("d"), "a", "-x"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "");
  for (const char* name : {"a/b/c", "d", "-x"}) EXPECT_TRUE(isRootsFolder(name)) << name;
}

TEST_F(AdminCommandTests, ItemsAreMovedUnderANewNameOrIntoAFolder) {
  write("one", "1");
  write("two\n", "2");
  fs::create_directories(at("folder/inner"));
  EXPECT_EQ(admin({"move", "one", "renamed"}).exitStatus, 0);
  EXPECT_EQ(admin({"move", "renamed", "two\n", "folder"}).exitStatus, 0);
  EXPECT_EQ(admin({"move", "folder/inner/", "."}).exitStatus, 0);
  EXPECT_EQ(folder_.read("folder/renamed"), "1");
  EXPECT_EQ(folder_.read("folder/two\n"), "2");
  EXPECT_TRUE(fs::is_directory(at("inner")));
}

TEST_F(AdminCommandTests, WhatIsThereIsReplacedOnlyWhenThatIsAskedFor) {
  write("from", "new");
  write("to", "old");
  const ToolResult refused = admin({"move", "from", "to"});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_EQ(refused.errors, "kestova: to: File exists\n");
  EXPECT_EQ(folder_.read("to"), "old");
  EXPECT_EQ(admin({"move", "--overwrite", "from", "to"}).exitStatus, 0);
  EXPECT_EQ(folder_.read("to"), "new");
  EXPECT_FALSE(fs::exists(at("from")));
}

TEST_F(AdminCommandTests, WhatThePersonCannotSeeIsNotReplacedEither) {
  write("from", "new");
  fs::create_directory(at("hidden"));
  write("hidden/to", "old");
  write("hidden/from", "older");
  fs::permissions(at("hidden"), fs::perms(0700));
  const ToolResult refused = admin({"move", "from", "hidden/to"});
  EXPECT_EQ(refused.exitStatus, 1);
  EXPECT_NE(refused.errors.find("kestova: "), std::string::npos) << refused.errors;
  EXPECT_EQ(admin({"move", "hidden/from", "hidden/to"}).exitStatus, 1);
  EXPECT_EQ(folder_.read("hidden/to"), "old");
  EXPECT_EQ(folder_.read("hidden/from"), "older");
  const ToolResult moved = admin({"move", "hidden/from", "hidden/free"});
  EXPECT_EQ(moved.exitStatus, 0);
  EXPECT_EQ(moved.errors, "");
  EXPECT_EQ(admin({"move", "from", "hidden/from"}).exitStatus, 0);
  EXPECT_EQ(folder_.read("hidden/free"), "older");
  EXPECT_EQ(admin({"move", "--overwrite", "hidden/free", "hidden/to"}).exitStatus, 0);
  EXPECT_EQ(folder_.read("hidden/to"), "older");
}

TEST_F(AdminCommandTests, APathThatNamesNothingIsTold) {
  write("file");
  const ToolResult result = admin({"move", "file", ""});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: : No such file or directory\n");
  EXPECT_EQ(admin({"move", "", "file"}).errors, "kestova: : No such file or directory\n");
  EXPECT_EQ(admin({"remove", ""}).errors, "kestova: : No such file or directory\n");
}

TEST_F(AdminCommandTests, AFolderIsNeverReplaced) {
  fs::create_directories(at("folder/item"));
  write("item");
  const ToolResult result = admin({"move", "--overwrite", "item", "folder"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: folder/item: Is a directory\n");
  EXPECT_TRUE(fs::exists(at("item")));
}

TEST_F(AdminCommandTests, SeveralItemsNeedAFolder) {
  write("a");
  write("b");
  const ToolResult result = admin({"move", "a", "b", "c"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: c: Not a directory\n");
  EXPECT_TRUE(fs::exists(at("a")));
}

TEST_F(AdminCommandTests, FoldersAreRemovedWithAllThatIsBeneathThemAndLinksByThemselves) {
  fs::create_directories(at("tree/deep"));
  write("tree/deep/file");
  write("-f");
  fs::create_directory(at("kept"));
  fs::create_directory_symlink(at("kept"), at("link"));
  fs::create_symlink("nowhere", at("dangling"));
  const ToolResult result = admin({"remove", "--", "tree", "missing\n", "link", "dangling", "-f"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "kestova: missing?: No such file or directory\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()), 1);
  EXPECT_TRUE(fs::exists(at("kept")));
}

TEST_F(AdminCommandTests, WhatAToolCannotDoIsAFailureAndTheOthersHaveTheirTurn) {
  write("file");
  const ToolResult result = admin({"mkdir", "file", "new"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("mkdir: "), std::string::npos) << result.errors;
  EXPECT_NE(result.errors.find("kestova: file: not done\n"), std::string::npos) << result.errors;
  EXPECT_TRUE(isRootsFolder("new"));
}

TEST_F(AdminCommandTests, ADenialHasItsLineAndStatus) {
  sandbox_.rule = "NO";
  const ToolResult result = admin({"mkdir", "new", "newer"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.errors, "kestova: an administrator's rights were denied\n");
  EXPECT_FALSE(fs::exists(at("new")));
}

TEST_F(AdminCommandTests, ADismissedQuestionHasItsLineAndStatus) {
  sandbox_.rule = "";
  sandbox_.agent = Agent::dismisses;
  write("file");
  const ToolResult result = admin({"remove", "file"});
  EXPECT_EQ(result.exitStatus, 4);
  EXPECT_EQ(result.errors, "kestova: the question for a password was dismissed\n");
  EXPECT_TRUE(fs::exists(at("file")));
}

TEST_F(AdminCommandTests, TheDesktopAsksOnceForAllItems) {
  sandbox_.rule = "";
  sandbox_.agent = Agent::grants;
  EXPECT_EQ(admin({"mkdir", "a", "b", "c"}).exitStatus, 0);
  EXPECT_TRUE(isRootsFolder("c"));
  EXPECT_EQ(sandbox_.questions(), 1);
}

TEST_F(AdminCommandTests, WithNobodyToAskThereIsALineAndAStatus) {
  sandbox_.rule = "";
  const ToolResult withoutAgent = admin({"mkdir", "new"});
  EXPECT_EQ(withoutAgent.exitStatus, 5);
  EXPECT_EQ(withoutAgent.errors,
            "kestova: nobody can be asked for a password: polkit has no agent on this desktop or "
            "terminal\n");
  sandbox_.services = Services::none;
  const ToolResult withoutPolkit = admin({"mkdir", "new"});
  EXPECT_EQ(withoutPolkit.exitStatus, 5);
  EXPECT_EQ(withoutPolkit.errors,
            "kestova: polkit does not answer, or its policy org.kestova.foundation.administer is "
            "not installed\n");
  EXPECT_FALSE(fs::exists(at("new")));
}

TEST_F(AdminCommandTests, WithoutPkexecThereIsALine) {
  sandbox_.prepare = [] {
    copyToolIntoSandbox();
    PolkitSandbox::cover("/dev/null", "/usr/bin/pkexec");
  };
  const ToolResult result = admin({"mkdir", "new"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors,
            "kestova: the program that does it could not be run as root; is pkexec installed?\n");
}

/// Lets root have the password "secret".
void setRootsPassword() {
  ASSERT_EQ(std::system("perl -pe 'BEGIN { $hash = crypt(\"secret\", q($6$salt$)) } "
                        "s/^root:[^:]*/root:$hash/' /etc/shadow > /run/shadow && "
                        "chmod 640 /run/shadow && chgrp shadow /run/shadow"),
            0);
  PolkitSandbox::cover("/run/shadow", "/etc/shadow");
}

using AtPassword = std::function<void(int terminal, pid_t tool)>;

/// What a terminal's first process does: runs the tool and sees to it that nothing stays behind.
/// Answers the tool's status, 128 and its number for a signal.
[[noreturn]] void serveTerminal(const Words& words, int told) {
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  ::signal(SIGINT, SIG_IGN);
  const pid_t tool = ::fork();
  if (tool == 0) {
    ::signal(SIGINT, SIG_DFL);
    becomeTool(words);
  }
  int status = ::write(told, &tool, sizeof tool) == sizeof tool ? 0 : -1;
  ::waitpid(tool, &status, 0);
  ::alarm(60);
  while (::waitpid(-1, nullptr, 0) > 0) {
  }
  termios settings{};
  ::tcgetattr(STDIN_FILENO, &settings);
  if ((settings.c_lflag & ECHO) == 0) ::_exit(197);
  ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

/// The agent throws away what was typed before it hides what is typed.
void awaitHiding(int terminal) {
  termios settings{};
  while (::tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

/// Runs the tool on a terminal, does that when it asks for a password, and waits until it and all
/// that it has started are gone. Answers its status.
int runOnTerminal(const Words& words, const AtPassword& act) {
  int terminal = -1;
  int told[2];
  if (::pipe(told) != 0) return 196;
  const pid_t process = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (process == 0) serveTerminal(words, told[1]);
  pid_t tool = 0;
  bool hasAsked = ::read(told[0], &tool, sizeof tool) != sizeof tool;
  std::string shown;
  std::array<char, 4096> buffer{};
  for (ssize_t n = 0; (n = ::read(terminal, buffer.data(), buffer.size())) > 0;) {
    shown.append(buffer.data(), static_cast<std::size_t>(n));
    if (!hasAsked && shown.find("Password: ") != std::string::npos) {
      hasAsked = true;
      awaitHiding(terminal);
      act(terminal, tool);
    }
  }
  int status = 0;
  ::waitpid(process, &status, 0);
  return hasAsked && WIFEXITED(status) ? WEXITSTATUS(status) : 198;
}

AtPassword typing(const std::string& text) {
  return [text](int terminal, pid_t) { EXPECT_GT(::write(terminal, text.data(), text.size()), 0); };
}

TEST_F(AdminCommandTests, ThePasswordIsAskedForOnATerminalWhereNoDesktopDoesIt) {
  sandbox_.rule = "";
  sandbox_.prepare = [] {
    copyToolIntoSandbox();
    setRootsPassword();
  };
  const auto makeFolder = [this](const std::string& password) {
    return sandbox_.run([&] {
      return runOnTerminal({"admin", "mkdir", at("new"), at("newer")}, typing(password));
    });
  };
  EXPECT_EQ(makeFolder("wrong\n"), 3);
  EXPECT_FALSE(fs::exists(at("new")));
  EXPECT_EQ(makeFolder("secret\n"), 0);
  EXPECT_TRUE(isRootsFolder("new"));
  EXPECT_TRUE(isRootsFolder("newer"));
}

TEST_F(AdminCommandTests, ACommandThatIsStoppedLeavesNoAgentOnTheTerminal) {
  sandbox_.rule = "";
  const auto stop = [this](const AtPassword& act) {
    return sandbox_.run([&] { return runOnTerminal({"admin", "mkdir", at("new")}, act); });
  };
  const auto signalling = [](int number) {
    return [number](int, pid_t tool) { ::kill(tool, number); };
  };
  EXPECT_EQ(stop(signalling(SIGTERM)), 128 + SIGTERM);
  EXPECT_EQ(stop(signalling(SIGKILL)), 128 + SIGKILL);
  EXPECT_EQ(stop(typing("\x03")), 128 + SIGINT);
  EXPECT_FALSE(fs::exists(at("new")));
}

TEST_F(AdminCommandTests, AnAgentOnTheTerminalThatGetsNoAnswerIsADenial) {
  sandbox_.rule = "";
  EXPECT_EQ(sandbox_.run([&] {
    return runOnTerminal({"admin", "mkdir", at("new")}, typing("\x04"));
  }),
            3);
  EXPECT_FALSE(fs::exists(at("new")));
}

TEST_F(AdminCommandTests, RootNeedsNeitherPolkitNorPassword) {
  EXPECT_EQ(runTool({"admin", "mkdir", at("a/b")}).exitStatus, 0);
  EXPECT_TRUE(isRootsFolder("a/b"));
  EXPECT_EQ(runTool({"admin", "move", at("a/b"), at("c")}).exitStatus, 0);
  EXPECT_EQ(runTool({"admin", "remove", at("a"), at("c")}).exitStatus, 0);
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_F(AdminCommandTests, WrongUseIsTold) {
  for (const Words& words :
       {Words{"admin"}, Words{"admin", "copy"}, Words{"admin", "mkdir"},
        Words{"admin", "move", "a"}, Words{"admin", "remove"}, Words{"admin", "mkdir", "-x"}}) {
    EXPECT_EQ(runTool(words).exitStatus, 2);
  }
}

}  // namespace
}  // namespace kestova
