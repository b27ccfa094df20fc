// SPDX-License-Identifier: Apache-2.0
// Several real processes write one suite at a time, and some of them are killed.
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaPlatform/NSUserDefaults.h>
#include <gtest/gtest.h>

#include "PreferencesPlace.h"
#include "RandomRun.h"
#include "Sanitizers.h"
#include "TemporaryFolder.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kestova {
namespace {

using testing::PreferencesPlace;
using testing::TemporaryFolder;

constexpr const char* kSuite = "org.example.Shared";
constexpr std::size_t kWriters = 8;
const int kKeys = testing::shareOf(1000);
constexpr int kKeysOnDisk = 100;

/// A folder of memory, where the system has one. Thousands of writes that each wait for a disk let
/// others have the processor as often, and take minutes on a busy machine.
std::filesystem::path memory() {
  const std::filesystem::path shared = "/dev/shm";
  return std::filesystem::is_directory(shared) ? shared : std::filesystem::temp_directory_path();
}

std::unique_ptr<TemporaryFolder> folderIn(const std::filesystem::path& parent) {
  const auto usual = std::filesystem::temp_directory_path();
  ::setenv("TMPDIR", parent.c_str(), 1);
  auto folder = std::make_unique<TemporaryFolder>();
  ::setenv("TMPDIR", usual.c_str(), 1);
  return folder;
}

/// What all processes see of each other: how many keys each writer has written, as far as a write
/// has returned.
struct Progress {
  std::array<std::atomic<int>, kWriters> written;
  std::atomic<bool> isOver;
  std::atomic<int> readings;
};

/// The processes find their preferences when they use them for the first time; this one, which they
/// are forked from, never does.
class PreferencesStoreTests : public ::testing::Test {
 protected:
  PreferencesStoreTests()
      : progress_(*static_cast<Progress*>(::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                                                 MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    PreferencesPlace::current();
    usualPlace_ = std::getenv("XDG_CONFIG_HOME");
  }
  ~PreferencesStoreTests() override {
    ::setenv("XDG_CONFIG_HOME", usualPlace_.c_str(), 1);
    ::munmap(&progress_, sizeof(Progress));
  }

  void keepPreferencesIn(const std::filesystem::path& parent) {
    folder_ = folderIn(parent);
    ::setenv("XDG_CONFIG_HOME", folder_->path().c_str(), 1);
  }

  /// What all of them have written; null when there is no file.
  Ref<NSDictionary> onDisk() const {
    return NSDictionary::dictionaryWithContentsOfFile(
        folder_->at("kestova/" + std::string(kSuite) + ".plist"));
  }

  static std::string keyAt(std::size_t writer, int index) {
    return "writer " + std::to_string(writer) + " key " + std::to_string(index);
  }

  /// A process that goes on writing where an earlier one of that number has ended.
  pid_t startWriter(std::size_t writer, int keys) {
    const pid_t process = ::fork();
    if (process == 0) {
      const auto defaults = NSUserDefaults::init();
      std::atomic<int>& written = progress_.written[writer];
      while (written < keys) {
        setInteger_forKey_inSuite(defaults, written, keyAt(writer, written), kSuite);
        ++written;
      }
      ::_exit(0);
    }
    return process;
  }

  /// A process that reads the file all the time and ends with 0 if it was always a whole one and
  /// never lost a key.
  pid_t startReader() {
    const pid_t process = ::fork();
    if (process == 0) {
      NSUInteger count = 0;
      while (!progress_.isOver) {
        const auto contents = onDisk();
        const NSUInteger now = contents ? contents->count() : 0;
        if (now < count) {
          ::_exit(1);
        }
        count = now;
        ++progress_.readings;
        std::this_thread::sleep_for(
            std::chrono::milliseconds(2));  // leaves the writers a processor
      }
      ::_exit(0);
    }
    return process;
  }

  int endReader(pid_t reader) {
    progress_.isOver = true;
    return statusOf(reader);
  }

  static int statusOf(pid_t process) {
    int status = -1;
    ::waitpid(process, &status, 0);
    return status;
  }

  void expectAll(int keys) const {
    const auto contents = onDisk();
    ASSERT_NE(contents, nullptr);
    EXPECT_EQ(contents->count(), kWriters * static_cast<NSUInteger>(keys));
    for (std::size_t writer = 0; writer < kWriters; ++writer) {
      for (int index = 0; index < keys; ++index) {
        ASSERT_EQ(integerValueOf(contents->objectForKey(keyAt(writer, index))), index);
      }
    }
  }

  void expectNothingLostWhileWritersAreKilled(int keys);

  Progress& progress_;
  std::string usualPlace_;
  std::unique_ptr<TemporaryFolder> folder_;
};

// Shows: setInteger_forKey_inSuite
TEST_F(PreferencesStoreTests, EightProcessesWriteAThousandKeysEachAndAllAreThere) {
  keepPreferencesIn(memory());
  const pid_t reader = startReader();
  std::vector<pid_t> writers;
  for (std::size_t writer = 0; writer < kWriters; ++writer) {
    writers.push_back(startWriter(writer, kKeys));
  }
  for (const pid_t writer : writers) {
    EXPECT_EQ(statusOf(writer), 0);
  }
  EXPECT_EQ(endReader(reader), 0);
  EXPECT_GT(progress_.readings, 0);
  expectAll(kKeys);
}

void PreferencesStoreTests::expectNothingLostWhileWritersAreKilled(int keys) {
  testing::RandomRun random;
  const pid_t reader = startReader();
  std::array<pid_t, kWriters> writers{};
  for (std::size_t writer = 0; writer < kWriters; ++writer) {
    writers[writer] = startWriter(writer, keys);
  }
  int kills = 0;
  const auto isAtWork = [&](std::size_t writer) { return progress_.written[writer] < keys; };
  for (std::size_t first = 0; first < kWriters;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // the beat of the killing
    while (first < kWriters && !isAtWork(first)) ++first;
    const std::size_t victim = first + random.below(kWriters - first);
    if (first < kWriters && isAtWork(victim)) {
      ::kill(writers[victim], SIGKILL);
      const int status = statusOf(writers[victim]);
      kills += WIFSIGNALED(status) ? 1 : 0;
      const auto contents = onDisk();
      for (int index = 0; index < progress_.written[victim]; ++index) {
        ASSERT_NE(contents->objectForKey(keyAt(victim, index)), nullptr);
      }
      writers[victim] = startWriter(victim, keys);
    }
  }
  for (const pid_t writer : writers) {
    EXPECT_EQ(statusOf(writer), 0);
  }
  EXPECT_EQ(endReader(reader), 0);
  EXPECT_GT(kills, 0);
  expectAll(keys);
}

// Shows: setInteger_forKey_inSuite
TEST_F(PreferencesStoreTests, WhatHasReturnedIsThereHoweverManyWritersAreKilled) {
  keepPreferencesIn(memory());
  expectNothingLostWhileWritersAreKilled(kKeys);
}

// Shows: setInteger_forKey_inSuite
TEST_F(PreferencesStoreTests, WhatHasReturnedIsThereAlsoWhereWritersAreKilledAsTheyWaitForADisk) {
  keepPreferencesIn(std::filesystem::temp_directory_path());
  expectNothingLostWhileWritersAreKilled(kKeysOnDisk);
}

}  // namespace
}  // namespace kestova
