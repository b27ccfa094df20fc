// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Authorization.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "ScriptedAuthorization.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;

constexpr NSTimeInterval kLong = 60;

AuthorizationItem itemNamed(const char* name) {
  return {.name = name, .valueLength = 0, .value = nullptr, .flags = 0};
}

/// The real service, asked by root.
class AuthorizationTests : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root has every right without being asked";
    ASSERT_EQ(AuthorizationCreate(nullptr, nullptr, 0, &authorization_), 0);
  }
  OSStatus copyRight(const char* name, AuthorizationFlags flags = 0,
                     AuthorizationItemSet** obtained = nullptr) {
    AuthorizationItem item = itemNamed(name);
    const AuthorizationRights rights{.count = 1, .items = &item};
    return AuthorizationCopyRights(authorization_, &rights, nullptr, flags, obtained);
  }
  OSStatus run(const char* tool, std::vector<const char*> arguments = {}) {
    arguments.push_back(nullptr);
    return AuthorizationExecuteWithPrivileges(authorization_, tool, 0, arguments.data());
  }
  OSStatus runShell(const std::string& line) { return run("/bin/sh", {"-c", line.c_str()}); }
  std::string at(const std::string& name) const { return folder_.at(name); }

  testing::TemporaryFolder folder_;
  AuthorizationRef authorization_;
};

TEST_F(AuthorizationTests, FlagsHaveTheirNumbers) {
  EXPECT_EQ(kAuthorizationFlagDefaults, 0U);
  EXPECT_EQ(kAuthorizationFlagInteractionAllowed, 1U);
  EXPECT_EQ(kAuthorizationFlagExtendRights, 2U);
  EXPECT_EQ(kAuthorizationFlagDestroyRights, 8U);
}

TEST_F(AuthorizationTests, AReferenceIsMadeWithoutAskingForItsRights) {
  AuthorizationItem item = itemNamed("no.such.right");
  const AuthorizationRights rights{.count = 1, .items = &item};
  AuthorizationRef made;
  EXPECT_EQ(AuthorizationCreate(&rights, nullptr, 3, &made), 0);
  EXPECT_TRUE(made);
  EXPECT_NE(made, authorization_);
}

TEST_F(AuthorizationTests, WrongArgumentsHaveTheirStatuses) {
  const AuthorizationRights withoutItems{.count = 1, .items = nullptr};
  AuthorizationItem nameless = itemNamed(nullptr);
  const AuthorizationRights withoutName{.count = 1, .items = &nameless};
  AuthorizationRef made = authorization_;
  EXPECT_EQ(AuthorizationCreate(nullptr, nullptr, 0, nullptr), -60004);
  EXPECT_EQ(AuthorizationCreate(&withoutItems, nullptr, 0, &made), -60001);
  EXPECT_FALSE(made);
  EXPECT_EQ(AuthorizationCreate(nullptr, nullptr, 4, &made), -60011);
  EXPECT_EQ(AuthorizationCopyRights(authorization_, nullptr, nullptr, 0, nullptr), -60001);
  EXPECT_EQ(AuthorizationCopyRights(authorization_, &withoutItems, nullptr, 0, nullptr), -60001);
  EXPECT_EQ(AuthorizationCopyRights(authorization_, &withoutName, nullptr, 0, nullptr), -60001);
  EXPECT_EQ(AuthorizationCopyRights(nullptr, &withoutItems, nullptr, 0, nullptr), -60002);
  EXPECT_EQ(copyRight("system.privilege.admin", 8), -60011);
  EXPECT_EQ(AuthorizationFree(nullptr, 0), -60002);
  EXPECT_EQ(AuthorizationFree(authorization_, 1), -60011);
  EXPECT_EQ(AuthorizationExecuteWithPrivileges(nullptr, "/bin/true", 0, nullptr), -60002);
  EXPECT_EQ(AuthorizationExecuteWithPrivileges(authorization_, "/bin/true", 1, nullptr), -60011);
  EXPECT_EQ(AuthorizationExecuteWithPrivileges(authorization_, nullptr, 0, nullptr), -60031);
}

TEST_F(AuthorizationTests, RootHasTheRightWithoutAPolicy) {
  AuthorizationItemSet* obtained = nullptr;
  EXPECT_EQ(copyRight("system.privilege.admin", 0, &obtained), 0);
  ASSERT_NE(obtained, nullptr);
  ASSERT_EQ(obtained->count, 1U);
  EXPECT_STREQ(obtained->items[0].name, "system.privilege.admin");
  EXPECT_EQ(obtained->items[0].valueLength, 0U);
  EXPECT_EQ(obtained->items[0].value, nullptr);
  EXPECT_EQ(obtained->items[0].flags, 0U);
  AuthorizationFreeItemSet(obtained);
  AuthorizationFreeItemSet(nullptr);
}

TEST_F(AuthorizationTests, ASetOfNoRightsIsObtainedEmpty) {
  const AuthorizationRights none;
  AuthorizationItemSet* obtained = nullptr;
  EXPECT_EQ(AuthorizationCopyRights(authorization_, &none, nullptr, 3, &obtained), 0);
  ASSERT_NE(obtained, nullptr);
  EXPECT_EQ(obtained->count, 0U);
  AuthorizationFreeItemSet(obtained);
}

TEST_F(AuthorizationTests, ThereIsOneRight) {
  AuthorizationItemSet unset;
  AuthorizationItemSet* obtained = &unset;
  EXPECT_EQ(copyRight("system.privilege.other", 3, &obtained), -60005);
  EXPECT_EQ(obtained, nullptr);
  EXPECT_EQ(copyRight("", 3), -60005);
  std::array items = {itemNamed("system.privilege.admin"), itemNamed("system.other")};
  const AuthorizationRights both{.count = 2, .items = items.data()};
  EXPECT_EQ(AuthorizationCopyRights(authorization_, &both, nullptr, 3, nullptr), -60005);
}

TEST_F(AuthorizationTests, AFreedReferenceIsOfNoUse) {
  EXPECT_EQ(AuthorizationFree(authorization_, kAuthorizationFlagDestroyRights), 0);
  EXPECT_EQ(AuthorizationFree(authorization_, 0), -60002);
  EXPECT_EQ(copyRight("system.privilege.admin"), -60002);
  EXPECT_EQ(run("/bin/true"), -60002);
}

TEST_F(AuthorizationTests, AToolRunsWithItsArgumentsAsTheyAre) {
  const std::string awkward = at("a b\n\xFF'\"$(id);*");
  EXPECT_EQ(run("/bin/mkdir", {"--", awkward.c_str(), at("-x").c_str()}), 0);
  EXPECT_EQ(AuthorizationWaitForTools(kLong).running, 0U);
  EXPECT_TRUE(fs::is_directory(awkward));
  EXPECT_TRUE(fs::is_directory(at("-x")));
}

TEST_F(AuthorizationTests, AToolRunsInThisProcessesFolderAndHasNothingToRead) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  EXPECT_EQ(run("/bin/sh", {"-c", "pwd -P > where; cat > read; ls /proc/self/fd > open"}), 0);
  fs::current_path(before);
  AuthorizationWaitForTools(kLong);
  EXPECT_EQ(folder_.read("where"), fs::canonical(folder_.path()).string() + "\n");
  EXPECT_EQ(folder_.read("read"), "");
  EXPECT_EQ(folder_.read("open"), "0\n1\n2\n3\n");  // 3 is the folder that ls looks at
}

TEST_F(AuthorizationTests, AToolHasOutputsWhereThisProcessHasNone) {
  const std::string line =
      "exec 5>&1; readlink /proc/$$/fd/5 /proc/$$/fd/2 > '" + at("outputs") + "'";
  EXPECT_EQ(testing::runInChild([&] {
              ::close(STDOUT_FILENO);
              ::fcntl(STDERR_FILENO, F_SETFD, FD_CLOEXEC);
              return runShell(line) == 0 && AuthorizationWaitForTools(kLong).failed == 0 ? 0 : 1;
            }),
            0);
  EXPECT_EQ(folder_.read("outputs"), "/dev/null\n/dev/null\n");
}

TEST_F(AuthorizationTests, TheCallReturnsBeforeTheToolHasFinished) {
  ASSERT_EQ(::mkfifo(at("gate").c_str(), 0600), 0);
  EXPECT_EQ(runShell("read line < '" + at("gate") + "'; : > '" + at("done") + "'"), 0);
  EXPECT_EQ(AuthorizationWaitForTools(0).running, 1U);
  EXPECT_FALSE(fs::exists(at("done")));
  folder_.write("gate", "go\n");
  EXPECT_EQ(AuthorizationWaitForTools(kLong).running, 0U);
  EXPECT_TRUE(fs::exists(at("done")));
}

TEST_F(AuthorizationTests, WhatCannotBeRunIsTold) {
  const std::string script = folder_.write("no program", "text");
  EXPECT_EQ(run("/no/such/tool"), -60031);
  EXPECT_EQ(run("bin/true"), -60031);
  EXPECT_EQ(run(""), -60031);
  EXPECT_EQ(run("-x"), -60031);
  EXPECT_EQ(run(script.c_str()), -60031);
  ::chmod(script.c_str(), 0755);
  const std::string binary = folder_.write("no binary", std::string("\x7f") + "ELF");
  ::chmod(binary.c_str(), 0755);
  EXPECT_EQ(run(binary.c_str()), -60031);
  EXPECT_EQ(run(folder_.path().c_str()), -60031);
}

TEST_F(AuthorizationTests, ToolsAreCountedByTheirEnds) {
  const AuthorizationToolCounts before = AuthorizationWaitForTools(kLong);
  EXPECT_EQ(run("/bin/true"), 0);
  EXPECT_EQ(run("/bin/false"), 0);
  EXPECT_EQ(runShell("kill -9 $$"), 0);
  const AuthorizationToolCounts after = AuthorizationWaitForTools(kLong);
  EXPECT_EQ(after.running, 0U);
  EXPECT_EQ(after.ended - before.ended, 3U);
  EXPECT_EQ(after.failed - before.failed, 2U);
}

TEST_F(AuthorizationTests, WaitingTakesAnyNumberOfSeconds) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double seconds : {0.0, -1.0, std::nan(""), 1e300, kInfinity, -kInfinity}) {
    EXPECT_EQ(AuthorizationWaitForTools(seconds).running, 0U);
  }
}

TEST_F(AuthorizationTests, ToolsThatHaveEndedLeaveNoZombiesAndOthersAlone) {
  const pid_t own = ::fork();
  if (own == 0) ::_exit(42);
  for (int tool = 0; tool < 20; ++tool) EXPECT_EQ(run("/bin/true"), 0);
  AuthorizationWaitForTools(kLong);
  int status = 0;
  EXPECT_EQ(::waitpid(-1, &status, 0), own);
  EXPECT_EQ(WEXITSTATUS(status), 42);
  EXPECT_EQ(::waitpid(-1, &status, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

std::atomic<int> childSignals = 0;

TEST_F(AuthorizationTests, AHandlerOfTheHostProgramStaysAndMayWaitForEverything) {
  const int status = testing::runInChild([this] {
    struct sigaction action {};
    action.sa_handler = [](int) {
      const int before = errno;
      ++childSignals;
      while (::waitpid(-1, nullptr, WNOHANG) > 0) {
      }
      errno = before;
    };
    ::sigaction(SIGCHLD, &action, nullptr);
    const bool started = run("/bin/true") == 0 && run("/bin/false") == 0;
    const bool ended = AuthorizationWaitForTools(kLong).running == 0;
    struct sigaction found {};
    ::sigaction(SIGCHLD, nullptr, &found);
    return started && ended && childSignals > 0 && found.sa_handler == action.sa_handler ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(AuthorizationTests, AHostProgramThatIgnoresItsChildrenIsServedToo) {
  const int status = testing::runInChild([this] {
    ::signal(SIGCHLD, SIG_IGN);
    return run("/bin/true") == 0 && AuthorizationWaitForTools(kLong).running == 0 ? 0 : 1;
  });
  EXPECT_EQ(status, 0);
}

TEST_F(AuthorizationTests, ATestMayPutAServiceInPlace) {
  AuthorizationService& real = AuthorizationService::shared();
  {
    testing::ScriptedAuthorization scripted;
    EXPECT_EQ(&AuthorizationService::shared(), &scripted);
    EXPECT_EQ(run("/no/such/tool", {"a"}), 0);
    EXPECT_EQ(scripted.requests, std::vector<std::string>{"run 0 /no/such/tool a"});
  }
  EXPECT_EQ(&AuthorizationService::shared(), &real);
}

}  // namespace
}  // namespace kestova
