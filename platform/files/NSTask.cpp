// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSPipe.h>
#include <KestovaPlatform/NSTask.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <string>
#include <system_error>
#include <vector>

#include "files/FileDescriptor.h"
#include "files/FileSystemCalls.h"
#include "files/ProgramLaunch.h"

namespace kestova {
namespace {

[[noreturn]] void refuse(const std::string& reason) {
  throw NSException(NSInvalidArgumentException, NSString::stringWithUTF8String(reason));
}

/// The end of a stream that the program gets under that number; null for this process's own.
Ref<NSFileHandle> programEnd(std::size_t number, const id& stream) {
  if (const auto pipe = stream ? cast<NSPipe>(stream) : nullptr) {
    return number == STDIN_FILENO ? pipe->fileHandleForReading() : pipe->fileHandleForWriting();
  }
  return stream ? cast<NSFileHandle>(stream) : nullptr;
}

/// A copy of the descriptor behind those of the three streams: under one of their numbers it would
/// be gone as soon as the program is given another stream by that number.
FileDescriptor copyFor(const NSFileHandle& stream) {
  FileDescriptor copy(::fcntl(stream.fileDescriptor(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!copy) {
    refuse("-[NSTask launch]: a stream can't be handed on: " +
           std::generic_category().message(errno));
  }
  return copy;
}

std::vector<std::string> wordsOf(const Ref<NSString>& program, const Ref<NSArray>& arguments) {
  std::vector<std::string> words = {program->fileSystemRepresentation()};
  for (NSUInteger index = 0; arguments && index < arguments->count(); ++index) {
    const auto argument = cast<NSString>(arguments->objectAtIndex(index));
    if (!argument) {
      refuse("-[NSTask launch]: an argument is no string");
    }
    words.push_back(argument->fileSystemRepresentation());
  }
  return words;
}

}  // namespace

KESTOVA_DEFINE_CLASS(NSTask)

Ref<NSTask> NSTask::init() { return make<NSTask>(); }

void NSTask::requirePrepared() const {
  if (state_ != State::prepared) {
    refuse("task already launched");
  }
}

void NSTask::requireEnded() const {
  if (state_ != State::ended) {
    refuse(state_ == State::running ? "task still running" : "task not launched");
  }
}

void NSTask::setLaunchPath(const Ref<NSString>& path) {
  requirePrepared();
  launchPath_ = copyOf(path);
}

void NSTask::setArguments(const Ref<NSArray>& arguments) {
  requirePrepared();
  arguments_ = copyOf(arguments);
}

void NSTask::setStream(std::size_t number, const id& stream) {
  requirePrepared();
  if (stream && !programEnd(number, stream)) {
    refuse("a task's stream is an NSPipe or an NSFileHandle");
  }
  streams_[number] = stream;
}

void NSTask::setStandardInput(const id& stream) { setStream(STDIN_FILENO, stream); }
void NSTask::setStandardOutput(const id& stream) { setStream(STDOUT_FILENO, stream); }
void NSTask::setStandardError(const id& stream) { setStream(STDERR_FILENO, stream); }

void NSTask::launch() {
  requirePrepared();
  if (!launchPath_) {
    refuse("launch path not set");
  }
  std::vector<std::string> words = wordsOf(launchPath_, arguments_);
  FileActions actions;
  std::array<FileDescriptor, 3> copies;
  for (std::size_t number = 0; number < streams_.size(); ++number) {
    if (const auto end = programEnd(number, streams_[number])) {
      copies[number] = copyFor(*end);
      actions.put(copies[number].get(), static_cast<int>(number));
    }
  }
  actions.closeBehind(STDERR_FILENO);
  const int error = posix_spawn(&process_, words[0].c_str(), actions.get(), FreshSignals().get(),
                                pointersTo(words).data(), environ);
  if (error != 0) {
    process_ = 0;
    refuse("launch path not accessible: " + std::generic_category().message(error));
  }
  state_ = State::running;
  for (std::size_t number = 0; number < streams_.size(); ++number) {
    if (const auto pipe = streams_[number] ? cast<NSPipe>(streams_[number]) : nullptr) {
      programEnd(number, pipe)->closeFile();
    }
  }
}

/// Takes what the system says of the process, if it has ended.
void NSTask::reap(int options) {
  if (state_ != State::running) {
    return;
  }
  const pid_t ended = uninterrupted([&] { return ::waitpid(process_, &waitStatus_, options); });
  if (ended != 0) {
    state_ = State::ended;
    isStatusKnown_ = ended == process_;
  }
}

bool NSTask::isRunning() {
  reap(WNOHANG);
  return state_ == State::running;
}

void NSTask::waitUntilExit() { reap(0); }

void NSTask::terminate() {
  if (isRunning()) {
    ::kill(process_, SIGTERM);
  }
}

int NSTask::terminationStatus() const {
  requireEnded();
  if (!isStatusKnown_) {
    return -1;
  }
  return WIFSIGNALED(waitStatus_) ? WTERMSIG(waitStatus_) : WEXITSTATUS(waitStatus_);
}

NSTaskTerminationReason NSTask::terminationReason() const {
  requireEnded();
  return isStatusKnown_ && WIFSIGNALED(waitStatus_) ? NSTaskTerminationReasonUncaughtSignal
                                                    : NSTaskTerminationReasonExit;
}

}  // namespace kestova
