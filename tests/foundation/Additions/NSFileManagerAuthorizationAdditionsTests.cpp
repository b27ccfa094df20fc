// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSFileManagerAuthorizationAdditions.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ScriptedAuthorization.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Words = std::vector<std::string>;

/// The file manager over a service that writes down what it is asked for.
class NSFileManagerAuthorizationTest : public ::testing::Test {
 protected:
  NSFileManagerAuthorizationTest() {
    fs::create_directory(at("from"));
    fs::create_directory(at("to"));
    obtainAuthorization_flags(files_, &authorization_, 3);
    service_.requests.clear();
  }
  ~NSFileManagerAuthorizationTest() override { EXPECT_THAT(log_.lines(), IsEmpty()); }

  std::string at(const std::string& name) const { return folder_.at(name); }
  Ref<NSString> path(const std::string& name) const {
    return NSString::stringWithFileSystemRepresentation(folder_.at(name));
  }
  OSStatus moveContents(bool replace) {
    return moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
        files_, path("from"), path("to"), replace, authorization_);
  }
  /// Lets the tools do their work at once, as far as a test wants.
  void letRemovalsHappen() {
    service_.whenStarting = [](const Words& words) {
      if (words.front() == "/bin/rm") fs::remove_all(words.back());
    };
  }

  testing::TemporaryFolder folder_;
  testing::CapturedLog log_;
  testing::ScriptedAuthorization service_;
  Ref<NSFileManager> files_ = NSFileManager::defaultManager();
  AuthorizationRef authorization_;
};

// Shows: obtainAuthorization_flags
TEST_F(NSFileManagerAuthorizationTest, AnAuthorizationIsMadeWithoutRightsAndThenObtainsTheRight) {
  AuthorizationRef made;
  EXPECT_EQ(obtainAuthorization_flags(files_, &made, 1), 0);
  EXPECT_EQ(made, service_.made.back());
  EXPECT_THAT(service_.requests, ElementsAre("create 0", "obtain system.privilege.admin 1"));
}

// Shows: obtainAuthorization_flags
TEST_F(NSFileManagerAuthorizationTest, AnAuthorizationWithoutTheRightStaysUnfreedAndUnstored) {
  AuthorizationRef made;
  service_.obtainStatuses = {-60005};
  EXPECT_EQ(obtainAuthorization_flags(files_, &made, 3), -60005);
  EXPECT_FALSE(made);
  EXPECT_THAT(service_.requests, ElementsAre("create 0", "obtain system.privilege.admin 3"));
}

// Shows: obtainAuthorization_flags
TEST_F(NSFileManagerAuthorizationTest, AnAuthorizationThatCannotBeMadeIsNotAskedForRights) {
  AuthorizationRef made;
  service_.createStatuses = {-60008};
  EXPECT_EQ(obtainAuthorization_flags(files_, &made, 3), -60008);
  EXPECT_THAT(service_.requests, ElementsAre("create 0"));
}

// Shows: freeAuthorization
TEST_F(NSFileManagerAuthorizationTest, FreeingDestroysTheRights) {
  freeAuthorization(files_, nullptr);
  EXPECT_THAT(service_.requests, IsEmpty());
  freeAuthorization(files_, authorization_);
  EXPECT_THAT(service_.requests, ElementsAre("free 8"));
}

// Shows: removeFileAtPath_removeDirectories_recursive_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, ARemovalHasItsOptionsInOneOrder) {
  const auto remove = [this](bool folders, bool recursive) {
    return removeFileAtPath_removeDirectories_recursive_withAuthorization(
        files_, path("x"), folders, recursive, authorization_);
  };
  EXPECT_EQ(remove(true, true), 0);
  EXPECT_EQ(remove(false, true), 0);
  EXPECT_EQ(remove(true, false), 0);
  EXPECT_EQ(remove(false, false), 0);
  EXPECT_THAT(service_.tools,
              ElementsAre(Words{"/bin/rm", "-R", "-d", "-f", at("x")},
                          Words{"/bin/rm", "-R", "-f", at("x")},
                          Words{"/bin/rm", "-d", "-f", at("x")}, Words{"/bin/rm", "-f", at("x")}));
  for (const auto& used : service_.usedForTools) EXPECT_EQ(used, authorization_);
}

// Shows: copyPath_toPath_replace_withAuthorization, movePath_toPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, CopiesAndMovesForceOnlyToReplace) {
  copyPath_toPath_replace_withAuthorization(files_, path("a"), path("b"), false, authorization_);
  copyPath_toPath_replace_withAuthorization(files_, path("a"), path("b"), true, authorization_);
  movePath_toPath_replace_withAuthorization(files_, path("a"), path("b"), false, authorization_);
  movePath_toPath_replace_withAuthorization(files_, path("a"), path("b"), true, authorization_);
  EXPECT_THAT(
      service_.tools,
      ElementsAre(Words{"/bin/cp", at("a"), at("b")}, Words{"/bin/cp", "-f", at("a"), at("b")},
                  Words{"/bin/mv", at("a"), at("b")}, Words{"/bin/mv", "-f", at("a"), at("b")}));
}

// Shows: movePath_toPath_replace_withAuthorization, copyPath_toPath_replace_withAuthorization, removeFileAtPath_removeDirectories_recursive_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, NoPathIsReadAsAnOptionOrNamesNothing) {
  movePath_toPath_replace_withAuthorization(files_, "-a", "-b", false, authorization_);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mv", "./-a", "./-b"}));
  EXPECT_EQ(copyPath_toPath_replace_withAuthorization(files_, nullptr, "b", true, authorization_),
            -60031);
  EXPECT_EQ(removeFileAtPath_removeDirectories_recursive_withAuthorization(files_, "", true, true,
                                                                           authorization_),
            -60031);
  EXPECT_EQ(service_.tools.size(), 1U);
}

// Shows: movePath_toPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, WithoutAnAuthorizationNoToolRuns) {
  EXPECT_EQ(movePath_toPath_replace_withAuthorization(files_, "a", "b", false, nullptr), -60002);
  EXPECT_THAT(service_.tools, IsEmpty());
}

// Shows: copyPath_toPath_replace_withAuthorization, movePath_toPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, StatusesOfToolsAreAnswered) {
  service_.toolStatuses = {-60006, -60032};
  EXPECT_EQ(copyPath_toPath_replace_withAuthorization(files_, "a", "b", true, authorization_),
            -60006);
  EXPECT_EQ(movePath_toPath_replace_withAuthorization(files_, "a", "b", true, authorization_),
            -60032);
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, ContentsAreMovedInOrderWithoutHiddenItems) {
  for (const char* name : {"b", "a", ".hidden", "c d"})
    folder_.write(std::string("from/") + name, "");
  EXPECT_EQ(moveContents(false), 0);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/mv", at("from/a"), at("to/a")},
                                          Words{"/bin/mv", at("from/b"), at("to/b")},
                                          Words{"/bin/mv", at("from/c d"), at("to/c d")}));
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, ATakenNameIsLeftAloneUnlessItIsReplaced) {
  folder_.write("from/a", "");
  folder_.write("to/a", "");
  EXPECT_EQ(moveContents(false), 0);
  EXPECT_THAT(service_.tools, IsEmpty());
  letRemovalsHappen();
  EXPECT_EQ(moveContents(true), 0);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/rm", "-R", "-d", "-f", at("to/a")},
                                          Words{"/bin/mv", "-f", at("from/a"), at("to/a")}));
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, WhatIsStillBeingRemovedKeepsItsPlace) {
  folder_.write("from/a", "");
  folder_.write("from/b", "");
  folder_.write("to/a", "");
  EXPECT_EQ(moveContents(true), 0);
  EXPECT_THAT(service_.tools, ElementsAre(Words{"/bin/rm", "-R", "-d", "-f", at("to/a")},
                                          Words{"/bin/mv", "-f", at("from/b"), at("to/b")}));
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, TheFirstFailureEndsMovingContents) {
  for (const char* name : {"a", "b"}) folder_.write(std::string("from/") + name, "");
  folder_.write("to/a", "");
  service_.toolStatuses = {-60005};
  EXPECT_EQ(moveContents(true), -60005);
  EXPECT_EQ(service_.tools.size(), 1U);
  fs::remove(at("to/a"));
  service_.toolStatuses = {-60006};
  EXPECT_EQ(moveContents(true), -60006);
  EXPECT_EQ(service_.tools.size(), 2U);
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, AFolderThatIsEmptyOrCannotBeListedIsASuccess) {
  EXPECT_EQ(moveContents(true), 0);
  fs::remove(at("from"));
  EXPECT_EQ(moveContents(true), 0);
  EXPECT_EQ(moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
                files_, nullptr, nullptr, true, authorization_),
            0);
  EXPECT_THAT(service_.requests, IsEmpty());
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, AFolderIsNotMovedIntoItself) {
  folder_.write("from/a", "kept");
  fs::create_directory_symlink(at("from"), at("same"));
  for (const char* other : {"from", "from/", "same", "to/../from"}) {
    EXPECT_EQ(moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
                  files_, path("from"), path(other), true, authorization_),
              0);
  }
  EXPECT_THAT(service_.tools, IsEmpty());
}

// Shows: moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization
TEST_F(NSFileManagerAuthorizationTest, AFolderMakesNoRoomForWhatIsInIt) {
  fs::create_directories(at("outer/inner/inner/inner"));
  EXPECT_EQ(moveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace_withAuthorization(
                files_, path("outer/inner"), path("outer"), true, authorization_),
            -122);
  EXPECT_THAT(service_.tools, IsEmpty());
}

// Shows: authorizedRemoveFileAtPath_removeDirectories_recursive, authorizedCopyPath_toPath_replace, authorizedMovePath_toPath_replace, authorizedMoveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace
TEST_F(NSFileManagerAuthorizationTest, AuthorizedOperationsObtainTheRightRunTheirToolAndFree) {
  EXPECT_EQ(authorizedRemoveFileAtPath_removeDirectories_recursive(files_, "/a", true, true), 0);
  EXPECT_EQ(authorizedCopyPath_toPath_replace(files_, "/a", "/b", true), 0);
  EXPECT_EQ(authorizedMovePath_toPath_replace(files_, "/a", "/b", false), 0);
  folder_.write("from/a", "");
  EXPECT_EQ(authorizedMoveContentsOfDirectoryAtPath_intoDirectoryAtPath_replace(
                files_, path("from"), path("to"), false),
            0);
  EXPECT_THAT(
      service_.requests,
      ElementsAre("create 0", "obtain system.privilege.admin 3", "run 0 /bin/rm -R -d -f /a",
                  "free 8",  //
                  "create 0", "obtain system.privilege.admin 3", "run 0 /bin/cp -f /a /b",
                  "free 8",  //
                  "create 0", "obtain system.privilege.admin 3", "run 0 /bin/mv /a /b",
                  "free 8",  //
                  "create 0", "obtain system.privilege.admin 3",
                  "run 0 /bin/mv " + at("from/a") + " " + at("to/a"), "free 8"));
  EXPECT_EQ(service_.usedForTools.back(), service_.made.back());
}

// Shows: authorizedMovePath_toPath_replace
TEST_F(NSFileManagerAuthorizationTest, AFailedOperationLeavesItsAuthorizationUnfreed) {
  service_.toolStatuses = {-60031};
  EXPECT_EQ(authorizedMovePath_toPath_replace(files_, "/a", "/b", false), -60031);
  service_.obtainStatuses = {-60007};
  EXPECT_EQ(authorizedMovePath_toPath_replace(files_, "/a", "/b", false), -60007);
  EXPECT_THAT(service_.requests,
              ElementsAre("create 0", "obtain system.privilege.admin 3", "run 0 /bin/mv /a /b",
                          "create 0", "obtain system.privilege.admin 3"));
}

}  // namespace
}  // namespace kestova
