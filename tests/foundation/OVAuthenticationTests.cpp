// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVAuthentication.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "CapturedLog.h"
#include "ScriptedAuthorization.h"
#include "SettableClock.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using testing::CapturedLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::ScriptedAuthorization;
using testing::SettableClock;
using Lines = std::vector<std::string>;
using Words = std::vector<std::string>;

/// An instance whose service writes down what it is asked for.
class OVAuthenticationTest : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }
  Ref<NSString> path(const std::string& name) const {
    return NSString::stringWithFileSystemRepresentation(folder_.at(name));
  }
  OSStatus runTool() {
    return authentication_->executeTask_arguments_options("/bin/true", nullptr, 0);
  }

  testing::TemporaryFolder folder_;
  ScriptedAuthorization service_;
  CapturedLog log_;
  Ref<OVAuthentication> authentication_ = OVAuthentication::init();
};

// Shows: authorizationErrorString
TEST_F(OVAuthenticationTest, EachStatusHasItsText) {
  struct Row {
    OSStatus status;
    const char* text;
  };
  constexpr Row rows[] = {
      {0, "The operation completed successfully."},
      {-60001, "The set parameter is invalid."},
      {-60002, "The authorization parameter is invalid."},
      {-60003, "The tag parameter is invalid."},
      {-60004, "The authorizedRights parameter is invalid."},
      {-60005, "The authorization was denied."},
      {-60006, "The authorization was cancelled by the user."},
      {-60007, "The authorization was denied since no user interaction was possible."},
      {-60008, "something else went wrong"},
      {-60009, "authorization externalization denied"},
      {-60010, "authorization internalization denied"},
      {-60011, "invalid option flag(s)"},
      {-60031, "cannot execute privileged tool"},
      {-60032, "The privileged tool failed to return a success or error code."},
      {-60033, "invalid socket address requested"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(OVAuthentication::authorizationErrorString(row.status), row.text) << row.status;
  }
}

// Shows: authorizationErrorString
TEST_F(OVAuthenticationTest, StatusesWithoutATextHaveTheEmptyOne) {
  for (OSStatus status = -60030; status <= -60012; ++status) {
    EXPECT_EQ(OVAuthentication::authorizationErrorString(status), "") << status;
  }
  for (const OSStatus status : {5, -1, -60000, -60034, -128, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(OVAuthentication::authorizationErrorString(status), "") << status;
  }
}

// Shows: sharedInstance
TEST_F(OVAuthenticationTest, TheSharedInstanceIsAlwaysTheSame) {
  EXPECT_TRUE(OVAuthentication::sharedInstance());
  EXPECT_EQ(OVAuthentication::sharedInstance(), OVAuthentication::sharedInstance());
  EXPECT_NE(OVAuthentication::sharedInstance(), authentication_);
}

// Shows: init, releaseTimer
TEST_F(OVAuthenticationTest, NoAuthorizationIsMadeBeforeItIsNeeded) {
  EXPECT_THAT(service_.requests, IsEmpty());
  EXPECT_FALSE(authentication_->releaseTimer());
}

// Shows: executeTask_arguments_options, getAuthorizationRef, obtainRights
TEST_F(OVAuthenticationTest, TheFirstUseMakesAnAuthorizationAndObtainsTheRight) {
  EXPECT_EQ(runTool(), 0);
  EXPECT_THAT(service_.requests,
              ElementsAre("create 3", "obtain system.privilege.admin 3", "run 0 /bin/true"));
  EXPECT_EQ(service_.usedForTools, service_.made);
}

// Shows: obtainRights, executeTask_arguments_options
TEST_F(OVAuthenticationTest, TheRightIsObtainedOnce) {
  runTool();
  runTool();
  EXPECT_THAT(service_.requests, ElementsAre("create 3", "obtain system.privilege.admin 3",
                                             "run 0 /bin/true", "run 0 /bin/true"));
}

// Shows: executeTask_arguments_options
TEST_F(OVAuthenticationTest, ArgumentsArriveAsTheyAreAndUnknownOptionsAreRefused) {
  const auto arguments = NSArray::of("-x", "", "a b", "$HOME; rm *", "ä",
                                     NSString::stringWithFileSystemRepresentation("\xFF"));
  EXPECT_EQ(authentication_->executeTask_arguments_options("/opt/a tool", arguments, 7), -60011);
  EXPECT_EQ(authentication_->executeTask_arguments_options("/opt/a tool", arguments, 0), 0);
  EXPECT_THAT(service_.tools,
              ElementsAre(Words{"/opt/a tool", "-x", "", "a b", "$HOME; rm *", "ä", "\xFF"}));
}

// Shows: executeTask_arguments_options
TEST_F(OVAuthenticationTest, AToolThatNoProgramCanBeIsNotStarted) {
  EXPECT_EQ(authentication_->executeTask_arguments_options(nullptr, nullptr, 0), -60031);
  EXPECT_EQ(authentication_->executeTask_arguments_options("/bin/true", NSArray::of(1), 0), -60031);
  const auto withZero = NSString::stringWithFormat("a%cb", 0);
  EXPECT_EQ(authentication_->executeTask_arguments_options("/bin/true", NSArray::of(withZero), 0),
            -60031);
  EXPECT_THAT(service_.tools, IsEmpty());
}

// Shows: getAuthorizationRef
TEST_F(OVAuthenticationTest, AReferenceIsHandedOutAndKept) {
  AuthorizationRef first;
  AuthorizationRef second;
  EXPECT_EQ(authentication_->getAuthorizationRef(&first), 0);
  EXPECT_EQ(authentication_->getAuthorizationRef(&second), 0);
  EXPECT_EQ(authentication_->getAuthorizationRef(), 0);
  EXPECT_TRUE(first);
  EXPECT_EQ(first, second);
  EXPECT_THAT(service_.requests, ElementsAre("create 3"));
}

// Shows: getAuthorizationRef, obtainRights, executeTask_arguments_options
TEST_F(OVAuthenticationTest, AFailedCreationShowsOnlyWhenTheRightIsObtained) {
  service_.createStatuses = {-60008, -60008};
  AuthorizationRef reference;
  EXPECT_EQ(authentication_->getAuthorizationRef(&reference), 0);
  EXPECT_FALSE(reference);
  EXPECT_TRUE(authentication_->releaseTimer());
  EXPECT_EQ(runTool(), -60002);
  EXPECT_EQ(log_.lines(),
            (Lines{"AuthorizationCreate returned -60008", "AuthorizationCreate returned -60008",
                   "AuthorizationCopyRights returned -60002"}));
  EXPECT_THAT(service_.tools, IsEmpty());
}

// Shows: obtainRights, executeTask_arguments_options
TEST_F(OVAuthenticationTest, AFailureToObtainTheRightIsLoggedAndAnswered) {
  service_.obtainStatuses = {-60005};
  EXPECT_EQ(runTool(), -60005);
  EXPECT_EQ(log_.lines(), Lines{"AuthorizationCopyRights returned -60005"});
  EXPECT_THAT(service_.tools, IsEmpty());
  EXPECT_EQ(runTool(), 0);  // asks again
}

// Shows: obtainRights
TEST_F(OVAuthenticationTest, WithoutAReferenceTheRightCannotBeObtained) {
  EXPECT_EQ(authentication_->obtainRights(), -60002);
  EXPECT_EQ(log_.lines(), Lines{"AuthorizationCopyRights returned -60002"});
  EXPECT_THAT(service_.requests, IsEmpty());
  EXPECT_EQ(authentication_->getAuthorizationRef(), 0);
  EXPECT_EQ(authentication_->obtainRights(), 0);
  EXPECT_EQ(authentication_->obtainRights(), 0);
  EXPECT_THAT(service_.requests, ElementsAre("create 3", "obtain system.privilege.admin 3"));
}

// Shows: obtainRights
TEST_F(OVAuthenticationTest, OtherRightsThanTheOneAskedForDoNotCount) {
  service_.obtainedNames = {{"system.other"}, {}, {"system.other", "system.privilege.admin"}};
  for (int use = 0; use < 5; ++use) runTool();
  EXPECT_EQ(std::count(service_.requests.begin(), service_.requests.end(),
                       "obtain system.privilege.admin 3"),
            3);
}

/// How long a timer still waits right after it was set: less than it was set to, by no more than
/// what has passed since.
struct Wait {
  double seconds;
  double passed;
};

Wait waitAfter(const std::function<Ref<NSTimer>()>& use) {
  const auto before = std::chrono::steady_clock::now();
  const auto timer = use();
  const double left = timer->fireDate()->timeIntervalSinceNow();
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - before;
  return {left, passed.count() + 1e-3};  // at the resolution of dates
}

// Shows: getAuthorizationRef, releaseTimer
TEST_F(OVAuthenticationTest, EachUsePutsTheReleaseOffBySixtySeconds) {
  SettableClock clock(1000);
  const auto use = [&] {
    runTool();
    return authentication_->releaseTimer();
  };
  const Wait first = waitAfter(use);
  EXPECT_LE(first.seconds, 60);
  EXPECT_GE(first.seconds, 60 - first.passed);
  const auto firstTimer = authentication_->releaseTimer();
  EXPECT_EQ(firstTimer->timeInterval(), 0);
  clock.advance(30);
  const Wait second = waitAfter(use);
  EXPECT_LE(second.seconds, 60);
  EXPECT_GE(second.seconds, 60 - second.passed);
  EXPECT_NE(authentication_->releaseTimer(), firstTimer);
  EXPECT_FALSE(firstTimer->isValid());
  EXPECT_TRUE(authentication_->releaseTimer()->isValid());
  EXPECT_EQ(service_.made.size(), 1U);
  EXPECT_THAT(service_.requests, ::testing::Not(::testing::Contains("free 8")));
}

// Shows: _timedAuthorizationRelease, clearAuthorization, releaseTimer
TEST_F(OVAuthenticationTest, TheTimerEndsTheAuthorizationAndItsRights) {
  runTool();
  service_.requests.clear();
  const auto timer = authentication_->releaseTimer();
  timer->fire();
  EXPECT_THAT(service_.requests, ElementsAre("free 8"));
  EXPECT_FALSE(authentication_->releaseTimer());
  EXPECT_FALSE(timer->isValid());
  authentication_->clearAuthorization();
  EXPECT_THAT(service_.requests, ElementsAre("free 8"));
}

// Shows: getAuthorizationRef, releaseTimer, _timedAuthorizationRelease
TEST_F(OVAuthenticationTest, TheTimerFiresOnTheRunLoopOfTheThreadThatUsedIt) {
  std::atomic<bool> fired = false;
  std::thread([&] {
    runTool();
    authentication_->releaseTimer()->setFireDate(NSDate::date());
    while (authentication_->releaseTimer()) {
      NSRunLoop::currentRunLoop()->runMode_beforeDate(NSDefaultRunLoopMode,
                                                      NSDate::dateWithTimeIntervalSinceNow(10));
    }
    fired = true;
  }).join();
  EXPECT_TRUE(fired);
  EXPECT_EQ(service_.requests.back(), "free 8");
}

// Shows: obtainRights, clearAuthorization
TEST_F(OVAuthenticationTest, ARightOnceObtainedIsNotAskedForAgainOnALaterReference) {
  runTool();
  authentication_->clearAuthorization();
  service_.requests.clear();
  runTool();
  EXPECT_THAT(service_.requests, ElementsAre("create 3", "run 0 /bin/true"));
  ASSERT_EQ(service_.made.size(), 2U);
  EXPECT_EQ(service_.usedForTools.back(), service_.made[1]);
}

// Shows: OVAuthentication, clearAuthorization
TEST_F(OVAuthenticationTest, AnObjectThatGoesEndsItsAuthorizationAndItsTimer) {
  runTool();
  const auto timer = authentication_->releaseTimer();
  EXPECT_EQ(authentication_->retainCount(), 1U);
  authentication_ = nullptr;
  EXPECT_FALSE(timer->isValid());
  EXPECT_EQ(service_.requests.back(), "free 8");
}

/// A clock on which each look takes a hundredth of a second.
class LookedAtClock final : public Clock {
 public:
  LookedAtClock() { setCurrent(this); }
  ~LookedAtClock() override { setCurrent(nullptr); }
  CFAbsoluteTime absoluteTime() const override { return 0; }
  NSTimeInterval uptime() const override { return 5000 + static_cast<double>(looks++) / 100; }
  mutable std::atomic<int> looks{0};
};

// Shows: executeTask_arguments_options
TEST_F(OVAuthenticationTest, ABrokenEnvironmentIsTriedOnceMoreAfterTwoSeconds) {
  runTool();
  service_.tools.clear();
  service_.toolStatuses = {-60032, -60005, 0};
  LookedAtClock clock;
  std::vector<int> looksAtStart;
  service_.whenStarting = [&](const Words&) { looksAtStart.push_back(clock.looks); };
  EXPECT_EQ(runTool(), -60005);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/true"}, Words{"/bin/true"}));
  EXPECT_GE(looksAtStart.at(1) - looksAtStart.at(0), 200);
  EXPECT_LE(looksAtStart.at(1) - looksAtStart.at(0), 203);
}

// Shows: executeTask_arguments_options
TEST_F(OVAuthenticationTest, TheSecondFailureOfTheEnvironmentIsFinal) {
  service_.toolStatuses = {-60032, -60032, 0};
  LookedAtClock clock;
  EXPECT_EQ(runTool(), -60032);
  EXPECT_EQ(service_.tools.size(), 2U);
}

// Shows: createFolderAtPath_error
TEST_F(OVAuthenticationTest, AFolderIsMadeByMkdir) {
  EXPECT_TRUE(authentication_->createFolderAtPath_error(path("new")));
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mkdir", at("new")}));
  EXPECT_EQ(log_.lines(), Lines{});
}

// Shows: createFolderAtPath_error, createFoldersInPath_error
TEST_F(OVAuthenticationTest, WhatIsThereAlreadyNeedsNoAuthorization) {
  fs::create_directory(at("folder"));
  folder_.write("file", "");
  EXPECT_TRUE(authentication_->createFolderAtPath_error(path("folder")));
  EXPECT_TRUE(authentication_->createFolderAtPath_error(path("file")));
  EXPECT_TRUE(authentication_->createFoldersInPath_error(path("folder")));
  EXPECT_THAT(service_.requests, IsEmpty());
}

// Shows: createFolderAtPath_error
TEST_F(OVAuthenticationTest, AFolderThatCannotBeMadeIsLoggedAndNeverAnError) {
  service_.toolStatuses = {-60031};
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->createFolderAtPath_error(path("new"), &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(log_.lines(), Lines{"Could not create folder. cannot execute privileged tool"});
}

// Shows: createFolderAtPath_error, createFoldersInPath_error
TEST_F(OVAuthenticationTest, AFolderThatThePersonDoesNotWantIsNeitherLoggedNorAnError) {
  service_.toolStatuses = {-60006, -60006};
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->createFolderAtPath_error(path("new"), &error));
  EXPECT_FALSE(authentication_->createFoldersInPath_error(path("new/er"), &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(log_.lines(), Lines{});
}

// Shows: createFoldersInPath_error
TEST_F(OVAuthenticationTest, MissingFoldersAreMadeFromTheTop) {
  fs::create_directories(at("one/two"));
  service_.whenStarting = [](const Words& words) { fs::create_directory(words.back()); };
  EXPECT_TRUE(authentication_->createFoldersInPath_error(path("one/two/three/four")));
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mkdir", at("one/two/three")},
                                          Words{"/bin/mkdir", at("one/two/three/four")}));
}

// Shows: createFoldersInPath_error
TEST_F(OVAuthenticationTest, MissingFoldersAreAskedForAlsoWhereNoneAppears) {
  EXPECT_TRUE(authentication_->createFoldersInPath_error(path("a/b")));
  EXPECT_THAT(service_.tools,
              ElementsAre(Words{"/bin/mkdir", at("a")}, Words{"/bin/mkdir", at("a/b")}));
}

// Shows: createFoldersInPath_error
TEST_F(OVAuthenticationTest, OfARelativePathTheFirstComponentIsAFolderToo) {
  EXPECT_TRUE(authentication_->createFoldersInPath_error("not here/nor there"));
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mkdir", "not here"},
                                          Words{"/bin/mkdir", "not here/nor there"}));
}

// Shows: createFoldersInPath_error
TEST_F(OVAuthenticationTest, TheFirstFolderThatCannotBeMadeEndsIt) {
  service_.toolStatuses = {0, -60005, 0};
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->createFoldersInPath_error(path("a/b/c/d"), &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(service_.tools.size(), 2U);
  EXPECT_EQ(log_.lines(), Lines{"Could not create folder. The authorization was denied."});
}

// Shows: createFoldersInPath_error
TEST_F(OVAuthenticationTest, APathWithoutComponentsHasAllItsFolders) {
  EXPECT_TRUE(authentication_->createFoldersInPath_error(""));
  EXPECT_TRUE(authentication_->createFoldersInPath_error(nullptr));
  EXPECT_TRUE(authentication_->createFoldersInPath_error("/"));
  EXPECT_THAT(service_.requests, IsEmpty());
}

// Shows: movePath_toPath_error
TEST_F(OVAuthenticationTest, AMoveForcesWithoutLookingAtEitherPath) {
  Ref<NSError> error;
  EXPECT_TRUE(authentication_->movePath_toPath_error(path("from"), path("to"), &error));
  EXPECT_FALSE(error);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mv", "-f", at("from"), at("to")}));
}

// Shows: removeItemAtPath_error
TEST_F(OVAuthenticationTest, AFileIsRemovedByItself) {
  folder_.write("file", "");
  EXPECT_TRUE(authentication_->removeItemAtPath_error(path("file")));
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/rm", "-f", at("file")}));
}

// Shows: removeItemAtPath_error
TEST_F(OVAuthenticationTest, AFolderIsRemovedWithAllThatIsBeneathIt) {
  fs::create_directory(at("folder"));
  EXPECT_TRUE(authentication_->removeItemAtPath_error(path("folder")));
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/rm", "-f", "-R", at("folder")}));
}

// Shows: removeItemAtPath_error
TEST_F(OVAuthenticationTest, RemovingWhatIsNotThereIsFalseWithoutAnError) {
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->removeItemAtPath_error(path("missing"), &error));
  EXPECT_FALSE(authentication_->removeItemAtPath_error(nullptr, &error));
  EXPECT_FALSE(error);
  EXPECT_THAT(service_.requests, IsEmpty());
}

// Shows: movePath_toPath_error, removeItemAtPath_error
TEST_F(OVAuthenticationTest, ADismissedQuestionIsFalseWithoutAnError) {
  folder_.write("file", "");
  service_.obtainStatuses = {-60006};
  service_.toolStatuses = {-60006};
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->movePath_toPath_error(path("file"), path("to"), &error));
  EXPECT_FALSE(authentication_->removeItemAtPath_error(path("file"), &error));
  EXPECT_FALSE(error);
  EXPECT_EQ(log_.lines(), Lines{"AuthorizationCopyRights returned -60006"});
}

// Shows: movePath_toPath_error, removeItemAtPath_error
TEST_F(OVAuthenticationTest, AnyOtherFailureOfAMoveOrRemovalIsAnErrorWithTheStatus) {
  folder_.write("file", "");
  service_.toolStatuses = {-60005, -60031, -60005};
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->movePath_toPath_error(path("file"), path("to"), &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain(), NSOSStatusErrorDomain);
  EXPECT_EQ(error->code(), -60005);
  EXPECT_TRUE(error->userInfo()->isEqual(NSDictionary::of(
      {{NSLocalizedDescriptionKey, "Could not move the file."},
       {NSLocalizedRecoverySuggestionErrorKey, "The authorization was denied."}})));
  EXPECT_FALSE(authentication_->removeItemAtPath_error(path("file"), &error));
  EXPECT_EQ(error->code(), -60031);
  EXPECT_TRUE(error->userInfo()->isEqual(NSDictionary::of(
      {{NSLocalizedDescriptionKey, "Could not remove the file."},
       {NSLocalizedRecoverySuggestionErrorKey, "cannot execute privileged tool"}})));
  EXPECT_FALSE(authentication_->movePath_toPath_error(path("file"), path("to")));
  EXPECT_EQ(log_.lines(), Lines{});
}

// Shows: createFolderAtPath_error, movePath_toPath_error, removeItemAtPath_error
TEST_F(OVAuthenticationTest, NoPathIsReadAsAnOption) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  folder_.write("-rf", "");
  authentication_->createFolderAtPath_error("--mode=777");
  authentication_->movePath_toPath_error("-rf", "-t/tmp");
  authentication_->removeItemAtPath_error("-rf");
  fs::current_path(before);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mkdir", "./--mode=777"},
                                          Words{"/bin/mv", "-f", "./-rf", "./-t/tmp"},
                                          Words{"/bin/rm", "-f", "./-rf"}));
}

// Shows: movePath_toPath_error, removeItemAtPath_error
TEST_F(OVAuthenticationTest, PathsOfAnyBytesArriveAsTheyAre) {
  const std::string awkward = "a b\n\xFF'\"$(id)";
  folder_.write(awkward, "");
  EXPECT_TRUE(authentication_->movePath_toPath_error(path(awkward), path("ä"), nullptr));
  EXPECT_TRUE(authentication_->removeItemAtPath_error(path(awkward)));
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mv", "-f", at(awkward), at("ä")},
                                          Words{"/bin/rm", "-f", at(awkward)}));
}

// Shows: movePath_toPath_error, createFolderAtPath_error
TEST_F(OVAuthenticationTest, APathThatNamesNothingStartsNoTool) {
  Ref<NSError> error;
  EXPECT_FALSE(authentication_->movePath_toPath_error(nullptr, path("to"), &error));
  EXPECT_EQ(error->code(), -60031);
  EXPECT_FALSE(authentication_->movePath_toPath_error(path("from"), "", &error));
  EXPECT_FALSE(authentication_->createFolderAtPath_error(nullptr, &error));
  EXPECT_THAT(service_.requests, IsEmpty());
}

}  // namespace
}  // namespace kestova
