// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Authorization.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSFileHandle.h>
#include <KestovaPlatform/NSPipe.h>
#include <KestovaPlatform/NSTask.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

#include "AllocationFaults.h"
#include "PropertyLists.h"
#include "TemporaryFolder.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Why a task isn't launched; nothing when it is.
std::string refusalOf(NSTask& task) {
  try {
    task.launch();
    return "";
  } catch (const NSException& exception) {
    EXPECT_TRUE(exception.name()->isEqualToString(NSInvalidArgumentException));
    return exception.reason()->displayUTF8();
  }
}

Ref<NSTask> shellTask(const char* line) {
  const auto task = NSTask::init();
  task->setLaunchPath("/bin/sh");
  task->setArguments(NSArray::of("-c", line));
  return task;
}

/// A pipe with that text in it, whose writing end is closed.
Ref<NSFileHandle> handleOn(const std::string& text) {
  const auto pipe = NSPipe::pipe();
  const int end = pipe->fileHandleForWriting()->fileDescriptor();
  EXPECT_EQ(::write(end, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  return pipe->fileHandleForReading();
}

const std::string kText(30000, 't');

}  // namespace

TEST(NSPipeFaults, WithoutDescriptorsThereIsNoPipe) {
  const auto before = openDescriptors();
  for (const int error : {EMFILE, ENFILE}) {
    const ArmedFault full(FaultyCall::pipe2, 1, Fault::failing(error));
    EXPECT_EQ(NSPipe::pipe(), nullptr);
    EXPECT_TRUE(full.wasMet());
  }
  EXPECT_NE(NSPipe::pipe(), nullptr);
  EXPECT_EQ(openDescriptors(), before);
}

TEST(NSPipeFaults, APipeThatFindsNoMemoryLeavesNothingOpen) {
  const auto before = openDescriptors();
  Ref<NSPipe> pipe;
  const int refused = walkAllocations([&] { pipe = NSPipe::pipe(); },
                                      [&](bool threw) {
                                        EXPECT_EQ(pipe == nullptr, threw);
                                        EXPECT_EQ(openDescriptors(), before + (threw ? 0 : 2));
                                        pipe = nullptr;
                                      });
  EXPECT_EQ(refused, 3);
}

TEST(NSFileHandleFaults, TheNullDeviceNeedsADescriptorAndMemory) {
  const auto before = openDescriptors();
  {
    const ArmedFault full(FaultyCall::openat, 1, Fault::failing(EMFILE));
    EXPECT_EQ(NSFileHandle::fileHandleWithNullDevice(), nullptr);
    EXPECT_TRUE(full.wasMet());
  }
  Ref<NSFileHandle> handle;
  const int refused = walkAllocations([&] { handle = NSFileHandle::fileHandleWithNullDevice(); },
                                      [&](bool threw) {
                                        EXPECT_EQ(handle == nullptr, threw);
                                        EXPECT_EQ(openDescriptors(), before + (threw ? 0 : 1));
                                        handle = nullptr;
                                      });
  EXPECT_EQ(refused, 1);
}

TEST(NSFileHandleFaults, ShortAndInterruptedReadsLoseNothing) {
  for (const Fault fault : {Fault::shortened(), Fault::interrupted()}) {
    Ref<NSData> data;
    const int met = walkFaults(
        FaultyCall::read, fault, FaultyThreads::own,
        [&] {
          data = nullptr;
          data = handleOn(kText)->readDataToEndOfFile();
        },
        [&](bool) { EXPECT_EQ(textOfData(data) == kText, true); });
    EXPECT_GE(met, 2);
  }
}

TEST(NSFileHandleFaults, AReadThatFailsGivesNothingHoweverMuchCameBefore) {
  Ref<NSData> data;
  const int failed = walkFaults(
      FaultyCall::read, Fault::failing(EIO), FaultyThreads::own,
      [&] { data = handleOn(kText)->readDataToEndOfFile(); },
      [&](bool met) { EXPECT_EQ(data == nullptr, met); });
  EXPECT_EQ(failed, 2);
  const auto handle = handleOn("text");
  {
    const ArmedFault broken(FaultyCall::read, 1, Fault::failing(EIO));
    EXPECT_EQ(handle->availableData(), nullptr);
  }
  EXPECT_EQ(textOfData(handle->availableData()), "text");
}

TEST(NSTaskFaults, AProgramThatCannotBeStartedChangesNothing) {
  const auto task = shellTask("echo started");
  const auto pipe = NSPipe::pipe();
  task->setStandardOutput(pipe);
  const auto before = openDescriptors();
  for (const auto& [error, message] :
       {std::pair{EAGAIN, "Resource temporarily unavailable"},
        std::pair{ENOMEM, "Cannot allocate memory"}, std::pair{EMFILE, "Too many open files"}}) {
    const ArmedFault none(FaultyCall::posix_spawn, 1, Fault::failing(error));
    EXPECT_EQ(refusalOf(*task), std::string("launch path not accessible: ") + message);
    EXPECT_EQ(task->processIdentifier(), 0);
    EXPECT_FALSE(task->isRunning());
    EXPECT_EQ(openDescriptors(), before);
  }
  EXPECT_EQ(refusalOf(*task), "");
  EXPECT_EQ(textOfData(pipe->fileHandleForReading()->readDataToEndOfFile()), "started\n");
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), 0);
}

TEST(NSTaskFaults, ALaunchThatFindsNoMemoryMayBeRepeated) {
  const auto before = openDescriptors();
  std::string output;
  const int refused = walkAllocations(
      [&] {
        output.clear();
        const auto task = shellTask("echo started");
        const auto pipe = NSPipe::pipe();
        task->setStandardOutput(pipe);
        try {
          task->launch();
        } catch (const std::bad_alloc&) {
          EXPECT_EQ(task->processIdentifier(), 0);
          EXPECT_EQ(refusalOf(*task), "");
        }
        task->waitUntilExit();
        output = textOfData(pipe->fileHandleForReading()->readDataToEndOfFile());
      },
      [&](bool threw) {
        EXPECT_EQ(output, threw ? "" : "started\n");
        EXPECT_EQ(openDescriptors(), before);
      });
  EXPECT_GT(refused, 4);
}

TEST(NSTaskFaults, AWaitThatIsInterruptedGoesOn) {
  const auto task = shellTask("exit 7");
  task->launch();
  const ArmedFault signal(FaultyCall::waitpid, 1, Fault::interrupted());
  task->waitUntilExit();
  EXPECT_TRUE(signal.wasMet());
  EXPECT_EQ(task->terminationStatus(), 7);
}

namespace {

constexpr NSTimeInterval kLong = 60;

/// Tools that root runs.
class AuthorizationFaults : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root has every right without being asked";
    ASSERT_EQ(AuthorizationCreate(nullptr, nullptr, 0, &authorization_), 0);
  }
  OSStatus runShell(const std::string& line) {
    const std::array<const char*, 3> arguments = {"-c", line.c_str(), nullptr};
    return AuthorizationExecuteWithPrivileges(authorization_, "/bin/sh", 0, arguments.data());
  }

  AuthorizationRef authorization_;
};

}  // namespace

TEST_F(AuthorizationFaults, AToolThatCannotBeStartedIsToldByItsReason) {
  const auto before = AuthorizationWaitForTools(kLong);
  for (const auto& [error, status] : {std::pair{EAGAIN, errAuthorizationToolEnvironmentError},
                                      std::pair{ENOMEM, errAuthorizationToolEnvironmentError},
                                      std::pair{EMFILE, errAuthorizationToolEnvironmentError},
                                      std::pair{ENFILE, errAuthorizationToolEnvironmentError},
                                      std::pair{EACCES, errAuthorizationToolExecuteFailure},
                                      std::pair{ENOEXEC, errAuthorizationToolExecuteFailure}}) {
    const ArmedFault none(FaultyCall::posix_spawn, 1, Fault::failing(error));
    EXPECT_EQ(runShell("exit 0"), status) << error;
    EXPECT_TRUE(none.wasMet());
  }
  const auto after = AuthorizationWaitForTools(kLong);
  EXPECT_EQ(after.running, 0U);
  EXPECT_EQ(after.ended, before.ended);
}

TEST_F(AuthorizationFaults, AToolWithoutAThreadToWaitForItIsWaitedForAtOnce) {
  const auto before = AuthorizationWaitForTools(kLong);
  {
    const ArmedFault none(FaultyCall::pthread_create, 1, Fault::failing(EAGAIN));
    EXPECT_EQ(runShell("exit 3"), errAuthorizationSuccess);
    EXPECT_TRUE(none.wasMet());
  }
  const auto after = AuthorizationWaitForTools(0);
  EXPECT_EQ(after.running, 0U);
  EXPECT_EQ(after.ended, before.ended + 1);
  EXPECT_EQ(after.failed, before.failed + 1);
}

TEST_F(AuthorizationFaults, AToolThatFindsNoMemoryHasRunOrHasNot) {
  const TemporaryFolder folder;
  OSStatus status = errAuthorizationInternal;
  auto before = AuthorizationWaitForTools(kLong);
  const int refused =
      walkAllocations([&] { status = runShell("echo run >> '" + folder.at("runs") + "'"); },
                      [&](bool threw) {
                        const auto after = AuthorizationWaitForTools(kLong);
                        EXPECT_EQ(after.running, 0U);
                        EXPECT_EQ(after.ended, before.ended + (threw ? 0 : 1));
                        EXPECT_EQ(folder.read("runs"), threw ? "" : "run\n");
                        EXPECT_TRUE(threw || status == errAuthorizationSuccess);
                        std::filesystem::remove(folder.at("runs"));
                        before = after;
                      });
  EXPECT_GT(refused, 2);
}

TEST_F(AuthorizationFaults, AnInterruptedWaitForAToolGoesOn) {
  const auto before = AuthorizationWaitForTools(kLong);
  const ArmedFault signal(FaultyCall::waitpid, 1, Fault::interrupted(), FaultyThreads::all);
  EXPECT_EQ(runShell("exit 0"), errAuthorizationSuccess);
  const auto after = AuthorizationWaitForTools(kLong);
  EXPECT_TRUE(signal.wasMet());
  EXPECT_EQ(after.ended, before.ended + 1);
  EXPECT_EQ(after.failed, before.failed);
}
