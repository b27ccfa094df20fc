// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kestova::tool {

/// Runs a command line as processes, each in a process group of its own and with nothing to read.
///
/// Threads: any number of runs at a time, and `stop` beside them.
class CommandRunner {
 public:
  /// The program, looked for in PATH, and its arguments.
  explicit CommandRunner(std::vector<std::string> words) : words_(std::move(words)) {}

  /// Runs the command to its end. Failures are printed on the diagnostic stream.
  void run();

  /// Begins no more runs, and ends those under way with all their processes; they get some seconds
  /// to end by themselves.
  void stop();

 private:
  pid_t start();
  int waitFor(pid_t process);
  void explain(int status) const;
  void signalAll(int signal) const;

  const std::vector<std::string> words_;
  std::mutex mutex_;
  bool isStopped_ = false;
  /// The processes that have not been waited for: their numbers stand for nobody else.
  std::set<pid_t> running_;
  std::condition_variable ended_;
};

}  // namespace kestova::tool
