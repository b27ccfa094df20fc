// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAuthorizationAdditions.h>
#include <KestovaFoundation/OVAuthentication.h>
#include <KestovaPlatform/Authorization.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "PolkitSandbox.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::CapturedLog;
using testing::PolkitSandbox;
using Agent = PolkitSandbox::Agent;
using Services = PolkitSandbox::Services;

constexpr NSTimeInterval kLong = 60;

/// A status as a process's answer: 0, or the last digits.
int answerFor(OSStatus status) { return status == 0 ? 0 : -60000 - status; }

/// A person without rights on a machine with a real polkitd, and a folder that is root's.
class AuthorizationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can make a machine of its own";
    fs::permissions(folder_.path(), fs::perms(0755));
  }

  std::string at(const std::string& name) const { return folder_.at(name); }
  Ref<NSString> path(const std::string& name) const {
    return NSString::stringWithFileSystemRepresentation(at(name));
  }
  bool isRootsFolder(const std::string& name) const {
    struct stat facts {};
    return ::lstat(at(name).c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == 0;
  }

  /// \name A gate at which a command of the shell waits until it is opened
  /// @{
  void makeGate() const {
    ASSERT_EQ(::mkfifo(at("gate").c_str(), 0666), 0);
    fs::permissions(at("gate"), fs::perms(0666));
  }
  std::string waitsAtGate() const { return "read go < '" + at("gate") + "'"; }
  void openGate() const { std::ofstream(at("gate")) << "go\n"; }
  /// @}

  /// Asks for the right with these flags.
  static OSStatus obtain(AuthorizationFlags flags) {
    AuthorizationRef authorization;
    return obtainAuthorization_flags(NSFileManager::defaultManager(), &authorization, flags);
  }
  static OSStatus run(const char* tool, std::vector<const char*> arguments) {
    AuthorizationRef authorization;
    AuthorizationCreate(nullptr, nullptr, 0, &authorization);
    arguments.push_back(nullptr);
    return AuthorizationExecuteWithPrivileges(authorization, tool, 0, arguments.data());
  }
  int obtainIn(const PolkitSandbox& sandbox, AuthorizationFlags flags = 3) const {
    return sandbox.run([flags] { return answerFor(obtain(flags)); });
  }
  /// Makes a folder where the person may not, and answers the tool's start.
  int makeFolderIn(const PolkitSandbox& sandbox, const std::string& name) const {
    return sandbox.run([this, name] {
      const OSStatus status = run("/bin/mkdir", {at(name).c_str()});
      AuthorizationWaitForTools(kLong);
      return answerFor(status);
    });
  }

  testing::TemporaryFolder folder_;
};

// Shows: obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, ARuleThatGrantsLetsTheToolRunAsRoot) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  EXPECT_EQ(obtainIn(sandbox), 0);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 0);
  EXPECT_TRUE(isRootsFolder("new"));
}

// Shows: obtainAuthorization_flags
TEST_F(AuthorizationTest, ARuleThatGrantsNeedsNoInteraction) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  EXPECT_EQ(obtainIn(sandbox, 0), 0);
}

// Shows: obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, ARuleThatDeniesIsADenial) {
  PolkitSandbox sandbox;
  sandbox.rule = "NO";
  sandbox.agent = Agent::grants;
  EXPECT_EQ(obtainIn(sandbox), 5);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 5);
  EXPECT_FALSE(fs::exists(at("new")));
  EXPECT_EQ(sandbox.questions(), 0);
}

// Shows: createFoldersInPath_error, movePath_toPath_error, removeItemAtPath_error, OVAuthentication
TEST_F(AuthorizationTest, APersonWhoAnswersOnceMayRunSeveralTools) {
  PolkitSandbox sandbox;
  sandbox.agent = Agent::grants;
  EXPECT_EQ(sandbox.run([this] {
    const auto authentication = OVAuthentication::init();
    const bool done = authentication->createFoldersInPath_error(path("a/b/c")) &&
                      authentication->movePath_toPath_error(path("a/b"), path("moved"));
    const auto counts = AuthorizationWaitForTools(kLong);
    const bool removed = authentication->removeItemAtPath_error(path("a"));
    const auto all = AuthorizationWaitForTools(kLong);
    return done && removed && counts.ended == 4 && all.ended == 5 && all.failed == 0 ? 0 : 1;
  }),
            0);
  EXPECT_TRUE(isRootsFolder("moved/c"));
  EXPECT_FALSE(fs::exists(at("a")));
  EXPECT_EQ(sandbox.questions(), 1);
}

// Shows: movePath_toPath_error, obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, ADismissedQuestionIsNoErrorAndNothingIsTouched) {
  folder_.write("file", "");
  PolkitSandbox sandbox;
  sandbox.agent = Agent::dismisses;
  EXPECT_EQ(obtainIn(sandbox), 6);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 6);
  EXPECT_EQ(sandbox.run([this] {
    const CapturedLog log;
    Ref<NSError> error;
    const bool moved =
        OVAuthentication::init()->movePath_toPath_error(path("file"), path("moved"), &error);
    return !moved && !error &&
                   log.lines() ==
                       std::vector<std::string>{"AuthorizationCopyRights returned -60006"}
               ? 0
               : 1;
  }),
            0);
  EXPECT_TRUE(fs::exists(at("file")));
  EXPECT_FALSE(fs::exists(at("new")));
  EXPECT_EQ(sandbox.questions(), 3);
}

// Shows: obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, AWrongPasswordIsADenial) {
  PolkitSandbox sandbox;
  sandbox.agent = Agent::refuses;
  EXPECT_EQ(obtainIn(sandbox), 5);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 5);
  EXPECT_EQ(sandbox.questions(), 2);
}

// Shows: obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, WithoutAnAgentNoInteractionIsPossible) {
  const PolkitSandbox sandbox;
  EXPECT_EQ(obtainIn(sandbox), 7);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 7);
  EXPECT_FALSE(fs::exists(at("new")));
}

// Shows: obtainAuthorization_flags
TEST_F(AuthorizationTest, WhoeverBreaksDownMeanwhileLeavesNobodyWaiting) {
  PolkitSandbox sandbox;
  sandbox.agent = Agent::breaksDown;
  EXPECT_EQ(obtainIn(sandbox), 5);
  sandbox.agent = Agent::breaksPolkit;
  EXPECT_EQ(obtainIn(sandbox), 8);
  sandbox.agent = Agent::breaksBus;
  EXPECT_EQ(obtainIn(sandbox), 8);
  EXPECT_EQ(sandbox.questions(), 3);
}

// Shows: obtainAuthorization_flags
TEST_F(AuthorizationTest, NobodyIsAskedUnlessBothFlagsAllowIt) {
  PolkitSandbox sandbox;
  sandbox.agent = Agent::grants;
  for (const AuthorizationFlags flags : {0U, 1U, 2U}) EXPECT_EQ(obtainIn(sandbox, flags), 7);
  EXPECT_EQ(sandbox.questions(), 0);
}

// Shows: obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, WithoutABusAPolkitOrThePolicyTheServiceFails) {
  PolkitSandbox sandbox;
  sandbox.services = Services::none;
  EXPECT_EQ(obtainIn(sandbox), 8);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 8);
  sandbox.services = Services::busAlone;
  EXPECT_EQ(obtainIn(sandbox), 8);
  sandbox.services = Services::busAndPolkit;
  sandbox.agent = Agent::grants;
  sandbox.hasPolicy = false;
  EXPECT_EQ(obtainIn(sandbox), 8);
  EXPECT_FALSE(fs::exists(at("new")));
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, WithoutPkexecNoToolCanBeRun) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  sandbox.prepare = [] { PolkitSandbox::cover("/dev/null", "/usr/bin/pkexec"); };
  EXPECT_EQ(obtainIn(sandbox), 0);
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 31);
}

/// Puts a program in pkexec's place that ends at once.
std::function<void()> pkexecThatDoes(const std::string& line) {
  return [line] {
    std::ofstream("/run/pkexec") << "#!/bin/sh\n" << line << "\n";
    ::chmod("/run/pkexec", 0755);
    PolkitSandbox::cover("/run/pkexec", "/usr/bin/pkexec");
  };
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, WhatPkexecSaysAtTheLastMomentIsAnswered) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  sandbox.prepare = pkexecThatDoes("exit 126");
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 6);
  sandbox.prepare = pkexecThatDoes("exit 127");
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 31);
  sandbox.prepare = pkexecThatDoes("exit 3");
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 32);
  sandbox.prepare = pkexecThatDoes("kill -9 $$");
  EXPECT_EQ(makeFolderIn(sandbox, "new"), 32);
}

// Shows: createFoldersInPath_error
TEST_F(AuthorizationTest, AFolderThatCannotBeMadeIsNotAwaitedUntilAllToolsHaveEnded) {
  makeGate();
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  EXPECT_EQ(sandbox.run([this] {
    const std::string line = waitsAtGate();
    const OSStatus status = run("/bin/sh", {"-c", line.c_str()});
    const bool started = OVAuthentication::init()->createFoldersInPath_error("/proc/no/folder");
    const bool runs = AuthorizationWaitForTools(0).running > 0;
    openGate();
    const auto counts = AuthorizationWaitForTools(kLong);
    return status == 0 && started && runs && counts.ended == 3 && counts.failed == 2 ? 0 : 1;
  }),
            0);
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, ADescriptorThatOthersHoldOpenDoesNotHoldUpTheAnswer) {
  makeGate();
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  sandbox.prepare = pkexecThatDoes("(" + waitsAtGate() + ") & shift 2; exec \"$@\"");
  EXPECT_EQ(sandbox.run([this] {
    const OSStatus status = run("/bin/true", {});
    openGate();
    return answerFor(status);
  }),
            0);
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, AStartThatStaysOpenIsOneAndNotTriedOnceMore) {
  makeGate();
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  sandbox.prepare = pkexecThatDoes("exec 3>&-; " + waitsAtGate() + "; exit 127");
  EXPECT_EQ(sandbox.run([this] {
    const OSStatus status = run("/bin/true", {});
    const bool runs = AuthorizationWaitForTools(0).running == 1;
    openGate();
    return status == 0 && runs && AuthorizationWaitForTools(kLong).running == 0 ? 0 : 1;
  }),
            0);
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, AToolThatEndsAtOnceHasBeenStartedHoweverItEnds) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  for (const char* line : {"exit 0", "exit 1", "exit 126", "exit 127", "kill -9 $$"}) {
    EXPECT_EQ(sandbox.run([line] {
      const OSStatus status = run("/bin/sh", {"-c", line});
      const auto counts = AuthorizationWaitForTools(kLong);
      return status == 0 && counts.ended == 1 ? 0 : 1;
    }),
              0)
        << line;
  }
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, TheCallReturnsWhenTheToolRunsAndNotWhenItHasFinished) {
  makeGate();
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  EXPECT_EQ(sandbox.run([this] {
    const std::string line = waitsAtGate();
    const OSStatus status = run("/bin/sh", {"-c", line.c_str()});
    const bool runs = AuthorizationWaitForTools(0).running == 1;
    openGate();
    const auto counts = AuthorizationWaitForTools(kLong);
    return status == 0 && runs && counts.running == 0 && counts.failed == 0 ? 0 : 1;
  }),
            0);
}

// Shows: createFolderAtPath_error, movePath_toPath_error, removeItemAtPath_error, authorizedCopyPath_toPath_replace, authorizedRemoveFileAtPath_removeDirectories_recursive
TEST_F(AuthorizationTest, EachOperationHandsItsArgumentsOverAsTheyAre) {
  folder_.write("record",
                "#!/bin/sh\n(printf '<%s>' \"$0\" \"$@\"; echo) >> '" + at("list") + "'\n");
  fs::permissions(at("record"), fs::perms(0755));
  folder_.write("file", "");
  fs::create_directory(at("folder"));
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  sandbox.prepare = [this] {
    for (const char* tool : {"/bin/mkdir", "/bin/mv", "/bin/rm", "/bin/cp"}) {
      PolkitSandbox::cover(at("record"), tool);
    }
  };
  EXPECT_EQ(sandbox.run([this] {
    const auto each = [](bool answer) {
      AuthorizationWaitForTools(kLong);
      return answer;
    };
    const auto authentication = OVAuthentication::init();
    const auto files = NSFileManager::defaultManager();
    ::chdir(folder_.path().c_str());
    return each(authentication->createFolderAtPath_error("-x y")) &&
                   each(authentication->movePath_toPath_error("/a\nb", "/c'd\"$(id)")) &&
                   each(authentication->removeItemAtPath_error(path("file"))) &&
                   each(authentication->removeItemAtPath_error(path("folder"))) &&
                   each(authorizedCopyPath_toPath_replace(files, "/a", "/b", true) == 0) &&
                   each(authorizedRemoveFileAtPath_removeDirectories_recursive(files, "/x", true,
                                                                               true) == 0)
               ? 0
               : 1;
  }),
            0);
  std::string list = folder_.read("list");
  for (std::size_t place; (place = list.find("/usr/bin/")) != std::string::npos;) {
    list.erase(place, 4);  // where /bin is /usr/bin
  }
  EXPECT_EQ(list, "</bin/mkdir><./-x y>\n</bin/mv><-f></a\nb></c'd\"$(id)>\n</bin/rm><-f><" +
                      at("file") + ">\n</bin/rm><-f><-R><" + at("folder") +
                      ">\n</bin/cp><-f></a></b>\n</bin/rm><-R><-d><-f></x>\n");
}

// Shows: createFolderAtPath_error
TEST_F(AuthorizationTest, ARelativePathCountsFromTheFolderThatTheApplicationIsIn) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  EXPECT_EQ(sandbox.run([this] {
    ::chdir(folder_.path().c_str());
    const bool made = OVAuthentication::init()->createFolderAtPath_error("-here");
    return made && AuthorizationWaitForTools(kLong).failed == 0 ? 0 : 1;
  }),
            0);
  EXPECT_TRUE(isRootsFolder("-here"));
}

// Shows: NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, AnAwkwardEnvironmentIsKeptFromTheTool) {
  PolkitSandbox sandbox;
  sandbox.rule = "YES";
  EXPECT_EQ(sandbox.run([this] {
    ::setenv("SHELL", "/no/such/shell", 1);
    ::setenv("LC_ALL", "../../%s", 1);
    ::setenv("LD_PRELOAD", "/no/such/library", 1);
    ::setenv("KESTOVA_SECRET", "secret", 1);
    const std::string line = "env > '" + at("environment") + "'";
    const OSStatus status = run("/bin/sh", {"-c", line.c_str()});
    return status == 0 && AuthorizationWaitForTools(kLong).failed == 0 ? 0 : 1;
  }),
            0);
  const std::string environment = folder_.read("environment");
  EXPECT_NE(environment.find("PATH=/"), std::string::npos) << environment;
  for (const char* word : {"KESTOVA_SECRET", "LD_PRELOAD", "%s", "/no/such"}) {
    EXPECT_EQ(environment.find(word), std::string::npos) << environment;
  }
}

// Shows: obtainAuthorization_flags, NSFileManagerAuthorizationAdditions
TEST_F(AuthorizationTest, ASignalDoesNotEndTheWaitForAnAnswer) {
  PolkitSandbox sandbox;
  sandbox.agent = Agent::grants;
  EXPECT_EQ(sandbox.run([] {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 500}, {0, 500}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
    const OSStatus status = obtain(3);
    const OSStatus started = run("/bin/true", {});
    return status != 0 ? answerFor(status) : answerFor(started);
  }),
            0);
}

}  // namespace
}  // namespace kestova
