// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Authorization.h>

#include <sys/types.h>

#include <condition_variable>
#include <mutex>

namespace kestova {

/// Takes the status of each tool as it ends, so that none stays behind as a zombie, and counts.
///
/// Each tool has a thread that waits for that one process: the host program's SIGCHLD, and what it
/// waits for itself, are left alone.
///
/// Threads: any.
class ToolReaper {
 public:
  /// The one of the process, never destroyed: tools may outlast `main`.
  static ToolReaper& shared();

  /// Takes over a child process that runs a tool.
  void adopt(pid_t tool);

  AuthorizationToolCounts waitForAll(NSTimeInterval seconds);

 private:
  void reap(pid_t tool);

  std::mutex mutex_;
  std::condition_variable ended_;
  AuthorizationToolCounts counts_;
};

}  // namespace kestova
