// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

namespace kestova::testing {

/// Runs `body` in a child process and answers its wait status; the child ends with what body
/// returns.
inline int runInChild(const std::function<int()>& body) {
  std::fflush(nullptr);  // or the child would print once more what is still buffered
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body());
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

/// The same as the user `nobody`, and answers what body returned, or -1. Only root can do this.
inline int runAsNobody(const std::function<int()>& body) {
  constexpr uid_t kNobody = 65534;
  const int status = runInChild([&] {
    const bool dropped =
        ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
    return dropped ? body() : 255;
  });
  return WIFEXITED(status) && WEXITSTATUS(status) != 255 ? WEXITSTATUS(status) : -1;
}

/// The same as the present user, with programs that `body` starts bound by the modes of files even
/// where that is root: unlike nobody they reach every folder that the checkout may lie in. Only
/// root can do this.
inline int runWithoutOverride(const std::function<int()>& body) {
  const int status = runInChild([&] {
    const bool dropped = ::prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0) == 0 &&
                         ::prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0) == 0;
    return dropped ? body() : 255;
  });
  return WIFEXITED(status) && WEXITSTATUS(status) != 255 ? WEXITSTATUS(status) : -1;
}

}  // namespace kestova::testing
