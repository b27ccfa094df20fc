// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <sys/types.h>

#include <array>

namespace kestova {

/// Why a task's program ended.
enum NSTaskTerminationReason : NSInteger {
  NSTaskTerminationReasonExit = 1,            ///< by itself
  NSTaskTerminationReasonUncaughtSignal = 2,  ///< by a signal
};

/// A program that runs as a process of its own.
///
///     const auto task = NSTask::init();
///     const auto pipe = NSPipe::pipe();
///     task->setLaunchPath("/usr/bin/id");
///     task->setArguments(NSArray::of("-u"));
///     task->setStandardOutput(pipe);
///     task->launch();
///     const auto output = pipe->fileHandleForReading()->readDataToEndOfFile();
///     task->waitUntilExit();
///
/// The program gets this process's environment, working folder and standard streams, but for those
/// that are set, no other open files, and every signal unblocked and as a new program has it.
/// Arguments reach it as paths do: names of any bytes arrive as they are.
///
/// A task runs once. Setting anything when it has been launched, and asking a task for its end that
/// has none yet, throws NSInvalidArgumentException.
///
/// Threads: one at a time. Ownership: a task that goes leaves its program running, and what remains
/// of that in the system until this process ends.
class KESTOVA_PLATFORM_EXPORT NSTask : public NSObject {
  KESTOVA_CLASS(NSTask, NSObject)

 public:
  /// One that is to be told what to run.
  static Ref<NSTask> init();

  /// \name Before it is launched
  /// @{

  /// The path of the program; it is not looked for anywhere else.
  void setLaunchPath(const Ref<NSString>& path);

  /// Strings, of which the array is copied; null or none for no arguments.
  void setArguments(const Ref<NSArray>& arguments);

  /// An NSPipe or an NSFileHandle; null, as at the beginning, for this process's own. Another
  /// object throws NSInvalidArgumentException.
  void setStandardInput(const id& stream);
  void setStandardOutput(const id& stream);
  void setStandardError(const id& stream);

  /// @}

  /// Starts the program. This process's ends of the pipes that the program was given are closed, so
  /// that the other ends see where its output stops. Throws NSInvalidArgumentException when there
  /// is no such program, it may not be run, a stream is closed, or the system can't start one;
  /// nothing has changed then.
  void launch();

  /// Whether the program has been started and has not ended.
  bool isRunning();

  /// Waits until the program has ended. Deliberately without running the run loop; does nothing for
  /// a task that was not launched.
  void waitUntilExit();

  /// Asks the program to end (SIGTERM); does nothing unless it runs.
  void terminate();

  /// The process's number; 0 before it is launched.
  int processIdentifier() const noexcept { return process_; }

  /// How it ended: what the program answered, 0 for success, or the number of the signal. −1 when
  /// somebody else in this process has taken the answer.
  int terminationStatus() const;
  NSTaskTerminationReason terminationReason() const;

 protected:
  NSTask() = default;

 private:
  enum class State { prepared, running, ended };

  void requirePrepared() const;
  void requireEnded() const;
  void setStream(std::size_t number, const id& stream);
  void reap(int options);

  Ref<NSString> launchPath_;
  Ref<NSArray> arguments_;
  std::array<id, 3> streams_;  // by the descriptor's number in the program
  State state_ = State::prepared;
  pid_t process_ = 0;
  int waitStatus_ = 0;
  bool isStatusKnown_ = true;
};

}  // namespace kestova
