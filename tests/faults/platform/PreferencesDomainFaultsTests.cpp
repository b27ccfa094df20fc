// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesStore.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "AllocationFaults.h"
#include "CapturedLog.h"
#include "FileFaults.h"
#include "PreferencesFiles.h"
#include "TemporaryFolder.h"

namespace kestova {
namespace {

using testing::FaultyCall;
using testing::FileFault;
using ::testing::IsSupersetOf;
using testing::MetCalls;
using Process = testing::PreferencesProcess;
using testing::TemporaryFolder;
using testing::walkAllocations;
using testing::walkFileFaults;

using Names = std::set<std::string>;

class PreferencesDomainFaultsTests : public ::testing::Test {
 protected:
  /// A file with "a", and a process that knows it and wants to add "b".
  void startAnew() {
    process_ = nullptr;
    log_.reset();
    log_ = std::make_unique<testing::CapturedLog>();
    std::filesystem::remove_all(path());
    std::filesystem::create_directory(path());
    {
      Process before(path());
      before->setValue_forKey(1, "a");
      ASSERT_TRUE(before->synchronize());
    }
    process_ = std::make_unique<Process>(path());
    (*process_)->setValue_forKey(2, "b");
  }

  std::string path() const { return place_.at("kestova"); }
  Ref<NSDictionary> onDisk() const {
    return NSDictionary::dictionaryWithContentsOfFile(path() + "/org.example.Editor.plist");
  }
  Names names() const {
    Names all;
    for (const auto& entry : std::filesystem::directory_iterator(path())) {
      all.insert(entry.path().filename());
    }
    return all;
  }

  static bool isWrittenByItself(PreferencesDomain& domain) {
    for (int i = 0; i < 2000 && domain.hasPendingChanges(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return !domain.hasPendingChanges();
  }

  void note(const FileFault* fault) {
    if (fault) (succeeded_ ? survived_ : fatal_).insert(nameOf(fault->call));
  }

  TemporaryFolder place_;
  std::unique_ptr<testing::CapturedLog> log_;
  std::unique_ptr<Process> process_;
  bool succeeded_ = false;
  MetCalls fatal_;
  MetCalls survived_;

  const Ref<NSDictionary> old_ = NSDictionary::of({{"a", 1}});
  const Ref<NSDictionary> new_ = NSDictionary::of({{"a", 1}, {"b", 2}});
  const Names files_{"org.example.Editor.lock", "org.example.Editor.plist"};
};

// The file is always one or the other, no half-written one stays, what could not be written waits
// and is written by the next synchronization, and the log has said so.
TEST_F(PreferencesDomainFaultsTests, WritingReplacesAllOrNothingAndLosesNoChange) {
  startAnew();
  walkFileFaults([&] { succeeded_ = (*process_)->synchronize(); },
                 [&](const FileFault* fault) {
                   const auto found = onDisk();
                   ASSERT_NE(found, nullptr);
                   EXPECT_TRUE(found->isEqual(new_) || (!succeeded_ && found->isEqual(old_)));
                   EXPECT_EQ(names(), files_);
                   EXPECT_EQ((*process_)->hasPendingChanges(), !succeeded_);
                   EXPECT_EQ(log_->lines().size(), succeeded_ ? 0U : 1U);
                   EXPECT_TRUE((*process_)->contents()->isEqual(new_));
                   EXPECT_TRUE((*process_)->synchronize());
                   EXPECT_TRUE(onDisk()->isEqual(new_));
                   EXPECT_EQ(names(), files_);
                   note(fault);
                   startAnew();
                 });
  EXPECT_THAT(fatal_, IsSupersetOf({"fcntl", "fdatasync", "fstatat", "fsync", "openat", "renameat2",
                                    "write"}));
  EXPECT_THAT(survived_, IsSupersetOf({"close", "unlinkat"}));
}

// What can't be read counts as not there, and is there when it can be read again.
TEST_F(PreferencesDomainFaultsTests, ReadingThatFailsChangesNothing) {
  startAnew();
  process_ = std::make_unique<Process>(path());
  walkFileFaults([&] { succeeded_ = (*process_)->synchronize(); },
                 [&](const FileFault* fault) {
                   EXPECT_TRUE(onDisk()->isEqual(old_));
                   EXPECT_EQ(names(), files_);
                   EXPECT_FALSE((*process_)->hasPendingChanges());
                   EXPECT_EQ(log_->lines().size(), succeeded_ ? 0U : 1U);
                   EXPECT_EQ((*process_)->isEmpty(), !succeeded_);
                   EXPECT_TRUE((*process_)->synchronize());
                   EXPECT_TRUE((*process_)->contents()->isEqual(old_));
                   note(fault);
                   startAnew();
                   process_ = std::make_unique<Process>(path());
                 });
  EXPECT_EQ(fatal_, (MetCalls{"fstat", "fstatat", "openat", "read"}));
}

TEST_F(PreferencesDomainFaultsTests, TheFolderIsMadeOrTheChangesWait) {
  const auto startWithout = [&] {
    std::filesystem::remove_all(path());
    process_ = std::make_unique<Process>(path());
    (*process_)->setValue_forKey(2, "b");
  };
  log_ = std::make_unique<testing::CapturedLog>();
  const auto only = NSDictionary::of({{"b", 2}});
  startWithout();
  walkFileFaults([&] { succeeded_ = (*process_)->synchronize(); },
                 [&](const FileFault* fault) {
                   EXPECT_EQ((*process_)->hasPendingChanges(), !succeeded_);
                   EXPECT_TRUE((*process_)->synchronize());
                   EXPECT_TRUE(onDisk()->isEqual(only));
                   EXPECT_EQ(names(), files_);
                   note(fault);
                   startWithout();
                 });
  EXPECT_THAT(fatal_, IsSupersetOf({"mkdir", "openat", "write"}));
}

TEST_F(PreferencesDomainFaultsTests, ShortAndInterruptedCallsDoNotShow) {
  startAnew();
  for (const FaultyCall call : {FaultyCall::openat, FaultyCall::read, FaultyCall::write}) {
    for (const auto fault : {testing::Fault::shortened(), testing::Fault::interrupted()}) {
      if (fault.isShort && call == FaultyCall::openat) continue;
      SCOPED_TRACE(nameOf(call));
      const int met = walkFaults(
          call, fault, testing::FaultyThreads::own,
          [&] { succeeded_ = Process(path())->synchronize() && (*process_)->synchronize(); },
          [&](bool) {
            EXPECT_TRUE(succeeded_);
            EXPECT_TRUE(onDisk()->isEqual(new_));
            EXPECT_EQ(names(), files_);
            startAnew();
          });
      EXPECT_GT(met, 0);
    }
  }
}

TEST_F(PreferencesDomainFaultsTests, AChangeThatFindsNoMemoryIsNone) {
  const auto startWithNothingToWrite = [&] {
    startAnew();
    ASSERT_TRUE((*process_)->synchronize());
  };
  const auto changed = NSDictionary::of({{"a", 1}, {"b", 2}, {"c", 3}});
  startWithNothingToWrite();
  const int refused = walkAllocations([&] { (*process_)->setValue_forKey(3, "c"); },
                                      [&](bool threw) {
                                        const auto expected = threw ? new_ : changed;
                                        EXPECT_EQ((*process_)->hasPendingChanges(), !threw);
                                        EXPECT_TRUE((*process_)->contents()->isEqual(expected));
                                        EXPECT_TRUE((*process_)->synchronize());
                                        EXPECT_TRUE(onDisk()->isEqual(expected));
                                        startWithNothingToWrite();
                                      });
  EXPECT_GT(refused, 2);
}

TEST_F(PreferencesDomainFaultsTests, ATimerThatFindsNoMemoryIsStartedByTheNextChange) {
  const auto store = std::make_shared<PreferencesStore>(PreferencesFolder(path(), ::geteuid()), 0);
  PreferencesDomain& domain = store->domain("org.example.Editor");
  const int refused = walkAllocations([&] { store->saveLater(); },
                                      [&](bool) {
                                        domain.setValue_forKey(1, "a");
                                        store->saveLater();
                                        EXPECT_TRUE(isWrittenByItself(domain));
                                      });
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace kestova
