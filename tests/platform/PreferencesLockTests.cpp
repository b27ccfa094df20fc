// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesLock.h"

#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "TemporaryFolder.h"
#include "preferences/PreferencesFault.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace kestova {
namespace {

using namespace std::chrono_literals;

class PreferencesLockTests : public ::testing::Test {
 protected:
  std::unique_ptr<PreferencesLock> take(std::chrono::milliseconds patience = 20s) const {
    return std::make_unique<PreferencesLock>(folder_, open_.get(), "x.lock", patience);
  }

  std::string problemOfTaking() const {
    try {
      take(20ms);
    } catch (const PreferencesFault& fault) {
      return fault.problem->displayUTF8();
    }
    return "none";
  }

  testing::TemporaryFolder place_;
  PreferencesFolder folder_{place_.path(), ::geteuid()};
  FileDescriptor open_ = folder_.open();
};

TEST_F(PreferencesLockTests, OneHasItAtATime) {
  auto lock = take();
  EXPECT_EQ(problemOfTaking(), "another process keeps them locked");
  lock.reset();
  EXPECT_EQ(problemOfTaking(), "none");
  EXPECT_TRUE(std::filesystem::exists(place_.at("x.lock")));
}

TEST_F(PreferencesLockTests, WhoeverWaitsGetsItWhenItIsFree) {
  auto lock = take();
  std::jthread waiter([&] { take(); });
  lock.reset();
  waiter.join();
  EXPECT_EQ(problemOfTaking(), "none");
}

TEST_F(PreferencesLockTests, AHolderThatIsKilledFreesIt) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t holder = ::fork();
  if (holder == 0) {
    const auto lock = take();
    [[maybe_unused]] const auto told = ::write(ends[1], "x", 1);
    ::pause();
    ::_exit(0);
  }
  char told = 0;
  ASSERT_EQ(::read(ends[0], &told, 1), 1);
  EXPECT_EQ(problemOfTaking(), "another process keeps them locked");
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  EXPECT_EQ(problemOfTaking(), "none");
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(PreferencesLockTests, AChildOfTheHolderDoesNotKeepIt) {
  auto lock = take();
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(ends[1]);
    char end = 0;
    [[maybe_unused]] const auto none = ::read(ends[0], &end, 1);
    ::_exit(0);
  }
  lock.reset();
  EXPECT_EQ(problemOfTaking(), "none");
  ::close(ends[1]);
  ::close(ends[0]);
  ::waitpid(child, nullptr, 0);
}

TEST_F(PreferencesLockTests, AFileThatWasDeletedIsNoLockAnyMore) {
  const auto old = take();
  std::filesystem::remove(place_.at("x.lock"));
  const auto lock = take();
  EXPECT_EQ(problemOfTaking(), "another process keeps them locked");
}

TEST_F(PreferencesLockTests, ASymbolicLinkIsRefused) {
  std::filesystem::create_symlink("elsewhere", place_.at("x.lock"));
  EXPECT_EQ(problemOfTaking(), "x.lock is a symbolic link");
  EXPECT_FALSE(std::filesystem::exists(place_.at("elsewhere")));
}

TEST_F(PreferencesLockTests, AFileOfSomebodyElseIsRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  ASSERT_EQ(::chown(place_.write("x.lock", "").c_str(), 12345, 0), 0);
  EXPECT_EQ(problemOfTaking(), "x.lock belongs to another user");
}

}  // namespace
}  // namespace kestova
