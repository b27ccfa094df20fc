// SPDX-License-Identifier: Apache-2.0
#include "security/ToolReaper.h"

#include "dispatch/HeldSignals.h"
#include "files/FileSystemCalls.h"

#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>

namespace kestova {
namespace {

/// Longer than anybody waits, and short enough to be added to any moment.
constexpr NSTimeInterval kLongest = 1e8;

}  // namespace

ToolReaper& ToolReaper::shared() {
  static ToolReaper& reaper = *new ToolReaper;
  return reaper;
}

void ToolReaper::adopt(pid_t tool) {
  {
    const std::scoped_lock lock(mutex_);
    ++counts_.running;
  }
  const HeldSignals held;
  try {
    std::thread([this, tool] { reap(tool); }).detach();
  } catch (const std::exception&) {
    reap(tool);  // rather late than never
  }
}

void ToolReaper::reap(pid_t tool) {
  int status = 0;
  const pid_t ended = uninterrupted([&] { return ::waitpid(tool, &status, 0); });
  const std::scoped_lock lock(mutex_);
  --counts_.running;
  ++counts_.ended;
  if (ended == tool && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) {
    ++counts_.failed;
  }
  ended_.notify_all();
}

AuthorizationToolCounts ToolReaper::waitForAll(NSTimeInterval seconds) {
  const std::chrono::duration<double> limit(seconds > 0 ? std::min(seconds, kLongest) : 0.0);
  std::unique_lock lock(mutex_);
  ended_.wait_for(lock, limit, [this] { return counts_.running == 0; });
  return counts_;
}

}  // namespace kestova
