// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSPipe.h>
#include <KestovaPlatform/NSTask.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "Bytes.h"
#include "ExceptionExpectation.h"
#include "TemporaryFolder.h"
#include "files/FileDescriptor.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::textOf;

Ref<NSTask> shellTask(const Ref<NSString>& script) {
  const auto task = NSTask::init();
  task->setLaunchPath("/bin/sh");
  task->setArguments(NSArray::of("-c", script));
  return task;
}

std::string outputOf(const Ref<NSTask>& task) {
  const auto pipe = NSPipe::pipe();
  task->setStandardOutput(pipe);
  task->launch();
  const auto output = pipe->fileHandleForReading()->readDataToEndOfFile();
  task->waitUntilExit();
  return textOf(output);
}

TEST(NSTaskTests, AProgramsOutputArrivesWhole) {
  EXPECT_EQ(outputOf(shellTask("echo one; echo two")), "one\ntwo\n");
  EXPECT_EQ(outputOf(shellTask("head -c 300000 /dev/zero | tr '\\0' x")), std::string(300000, 'x'));
  EXPECT_EQ(outputOf(shellTask("exit 0")), "");
}

TEST(NSTaskTests, ArgumentsArriveByteForByte) {
  const auto task = NSTask::init();
  task->setLaunchPath("/usr/bin/printf");
  task->setArguments(NSArray::of("%s|", "two words", "", "-n",
                                 NSString::stringWithFileSystemRepresentation("\xFF\n$HOME")));
  EXPECT_EQ(outputOf(task), "two words||-n|\xFF\n$HOME|");
}

TEST(NSTaskTests, TheAnswerIsTheProgramsOwn) {
  for (const int status : {0, 1, 42, 255}) {
    const auto task = shellTask(NSString::stringWithFormat("exit %d", status));
    task->launch();
    task->waitUntilExit();
    EXPECT_FALSE(task->isRunning());
    EXPECT_EQ(task->terminationStatus(), status);
    EXPECT_EQ(task->terminationReason(), NSTaskTerminationReasonExit);
  }
}

TEST(NSTaskTests, ASignalIsToldApart) {
  const auto task = shellTask("kill -9 $$");
  task->launch();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), SIGKILL);
  EXPECT_EQ(task->terminationReason(), NSTaskTerminationReasonUncaughtSignal);
}

TEST(NSTaskTests, ARunningProgramIsTerminated) {
  const auto task = shellTask("exec sleep 1000");
  task->launch();
  EXPECT_TRUE(task->isRunning());
  EXPECT_GT(task->processIdentifier(), 0);
  expectException(NSInvalidArgumentException, [&] { task->terminationStatus(); });
  task->terminate();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), SIGTERM);
  task->terminate();
}

TEST(NSTaskTests, InputAndDiagnosticsHaveTheirPipes) {
  const auto input = NSPipe::pipe();
  const auto errors = NSPipe::pipe();
  const auto task = shellTask("cat >&2");
  task->setStandardInput(input);
  task->setStandardOutput(NSFileHandle::fileHandleWithNullDevice());
  task->setStandardError(errors);
  task->launch();
  EXPECT_EQ(input->fileHandleForReading()->fileDescriptor(), -1);
  EXPECT_EQ(errors->fileHandleForWriting()->fileDescriptor(), -1);
  ASSERT_EQ(::write(input->fileHandleForWriting()->fileDescriptor(), "abc", 3), 3);
  input->fileHandleForWriting()->closeFile();
  EXPECT_EQ(textOf(errors->fileHandleForReading()->readDataToEndOfFile()), "abc");
  task->waitUntilExit();
}

TEST(NSTaskTests, AStreamOfThisProcessIsHandedOnThoughTheProgramHasAnotherByItsNumber) {
  const testing::TemporaryFolder folder;
  const std::string path = folder.at("output");
  const FileDescriptor file(::open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
  std::fflush(stdout);
  const FileDescriptor before(::dup(STDOUT_FILENO));
  ::dup2(file.get(), STDOUT_FILENO);
  const auto task = shellTask("echo output; echo diagnostics >&2");
  task->setStandardError(NSFileHandle::initWithFileDescriptor_closeOnDealloc(STDOUT_FILENO, false));
  EXPECT_EQ(outputOf(task), "output\n");
  ::dup2(before.get(), STDOUT_FILENO);
  EXPECT_EQ(textOf(NSData::dataWithContentsOfFile(path)), "diagnostics\n");
}

TEST(NSTaskTests, AClosedStreamIsRefusedAndMayBeSetAnew) {
  const auto pipe = NSPipe::pipe();
  pipe->fileHandleForWriting()->closeFile();
  const auto task = shellTask("echo output");
  task->setStandardOutput(pipe);
  expectException(NSInvalidArgumentException, [&] { task->launch(); });
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(outputOf(task), "output\n");
}

TEST(NSTaskTests, WhatIsChangedAfterItWasSetStaysAsItWas) {
  const auto task = NSTask::init();
  const auto path = NSMutableString::stringWithString("/bin/echo");
  const auto arguments = NSMutableArray::of("one");
  task->setLaunchPath(path);
  task->setArguments(arguments);
  path->appendString("x");
  arguments->addObject("two");
  EXPECT_EQ(outputOf(task), "one\n");
}

TEST(NSTaskTests, NoOtherFilesAreHandedOn) {
  const int open = ::open("/dev/null", O_RDONLY);  // deliberately without O_CLOEXEC
  const auto task = NSTask::init();
  task->setLaunchPath("/bin/sh");
  task->setArguments(NSArray::of("-c", "test -e /proc/self/fd/$0; echo $?",
                                 NSString::stringWithFormat("%d", open)));
  EXPECT_EQ(outputOf(task), "1\n");
  ::close(open);
}

TEST(NSTaskTests, SignalsThatThisProcessIgnoresOrBlocksReachTheProgram) {
  const auto before = ::signal(SIGPIPE, SIG_IGN);
  sigset_t blocked;
  sigset_t mask;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &mask);
  const auto task = shellTask("kill -PIPE $$; exit 0");
  task->launch();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), SIGPIPE);
  EXPECT_EQ(task->terminationReason(), NSTaskTerminationReasonUncaughtSignal);
  ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  ::signal(SIGPIPE, before);
}

TEST(NSTaskTests, WhatIsNoProgramIsRefusedAndMayBeSetAnew) {
  const testing::TemporaryFolder folder;
  const auto pipe = NSPipe::pipe();
  const auto task = NSTask::init();
  task->setStandardOutput(pipe);
  expectException(NSInvalidArgumentException, [&] { task->launch(); });
  for (const std::string& path : {folder.at("missing"), folder.write("plain", ""), folder.at("")}) {
    task->setLaunchPath(NSString::stringWithUTF8String(path));
    expectException(NSInvalidArgumentException, [&] { task->launch(); });
  }
  EXPECT_EQ(task->processIdentifier(), 0);
  EXPECT_FALSE(task->isRunning());
  EXPECT_GE(pipe->fileHandleForWriting()->fileDescriptor(), 0);
  task->setLaunchPath("/bin/true");
  task->launch();
  task->waitUntilExit();
  EXPECT_EQ(task->terminationStatus(), 0);
}

TEST(NSTaskTests, ATaskRunsOnce) {
  const auto task = shellTask("exit 0");
  expectException(NSInvalidArgumentException, [&] { task->terminationStatus(); });
  task->waitUntilExit();
  task->launch();
  expectException(NSInvalidArgumentException, [&] { task->launch(); });
  task->waitUntilExit();
  expectException(NSInvalidArgumentException, [&] { task->launch(); });
  expectException(NSInvalidArgumentException, [&] { task->setLaunchPath("/bin/true"); });
  expectException(NSInvalidArgumentException, [&] { task->setArguments(nullptr); });
  expectException(NSInvalidArgumentException, [&] { task->setStandardOutput(nullptr); });
}

TEST(NSTaskTests, OnlyStreamsAndStringsAreTaken) {
  const auto task = shellTask("exit 0");
  expectException(NSInvalidArgumentException, [&] { task->setStandardOutput("text"); });
  task->setArguments(NSArray::of(42));
  expectException(NSInvalidArgumentException, [&] { task->launch(); });
}

TEST(NSTaskTests, AnAnswerThatSomebodyElseTookIsUnknown) {
  const auto task = shellTask("exit 3");
  task->launch();
  ASSERT_EQ(::waitpid(task->processIdentifier(), nullptr, 0), task->processIdentifier());
  EXPECT_FALSE(task->isRunning());
  EXPECT_EQ(task->terminationStatus(), -1);
  EXPECT_EQ(task->terminationReason(), NSTaskTerminationReasonExit);
}

}  // namespace
}  // namespace kestova
