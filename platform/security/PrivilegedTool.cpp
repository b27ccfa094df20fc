// SPDX-License-Identifier: Apache-2.0
#include "security/PrivilegedTool.h"

#include "files/FileDescriptor.h"
#include "files/FileSystemCalls.h"
#include "files/ProgramLaunch.h"
#include "security/ProcessFacts.h"
#include "security/ToolReaper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <optional>
#include <thread>

namespace kestova {
namespace {

constexpr const char* kPkexec = "/usr/bin/pkexec";

/// The first descriptor behind the standard ones; pkexec closes it at the moment when the tool
/// takes its place, or when it ends.
constexpr int kSignOfStart = STDERR_FILENO + 1;

/// How long that sign is waited for before another look: a process that was forked at that moment
/// may hold the descriptor, too, for as long as it likes.
constexpr int kMillisecondsForSign = 100;

/// How long the kernel takes, at the very most, from closing descriptors to the new program's name.
constexpr int kLooks = 1000;
constexpr std::chrono::milliseconds kPause(1);

OSStatus statusForSpawn(int error) {
  return error == EAGAIN || error == ENOMEM || error == EMFILE || error == ENFILE
             ? errAuthorizationToolEnvironmentError
             : errAuthorizationToolExecuteFailure;
}

std::vector<std::string> wordsFor(std::initializer_list<std::string> words,
                                  const std::vector<std::string>& arguments) {
  std::vector<std::string> all(words);
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

constexpr int kDismissed = 126;
constexpr int kRefused = 127;

/// How pkexec ended without having become the tool.
OSStatus statusOfPkexec(const siginfo_t& end) {
  if (end.si_code != CLD_EXITED) {
    return errAuthorizationToolEnvironmentError;
  }
  switch (end.si_status) {
    case kDismissed:
      return errAuthorizationCanceled;
    case kRefused:
      return errAuthorizationToolExecuteFailure;
    default:
      return errAuthorizationToolEnvironmentError;
  }
}

/// How a child has ended, which remains to be waited for; nothing while it runs, and when somebody
/// else has waited for it.
std::optional<siginfo_t> endOf(pid_t child) {
  siginfo_t end{};
  const int result = uninterrupted(
      [&] { return ::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT); });
  return result == 0 && end.si_pid == child ? std::optional(end) : std::nullopt;
}

/// Where the system hides other people's processes only the sign and the end of pkexec can be seen,
/// and nothing where the host program has waited for it already: that counts as a start, for polkit
/// has agreed.
std::optional<OSStatus> statusOfHiddenStart(const std::optional<siginfo_t>& end, bool hasSign) {
  if (end && end->si_code == CLD_EXITED && end->si_status >= kDismissed) {
    return statusOfPkexec(*end);
  }
  return end || hasSign ? std::optional<OSStatus>(errAuthorizationSuccess) : std::nullopt;
}

/// Whether pkexec has become the tool: a process keeps its program's name even when it has ended.
/// Nothing while that is open.
std::optional<OSStatus> statusOfStart(pid_t child, bool hasSign) {
  const auto end = endOf(child);
  const std::string name = ProcessFacts::of(child).program;
  if (name.empty()) {
    return statusOfHiddenStart(end, hasSign);
  }
  if (name != "pkexec") {
    return errAuthorizationSuccess;
  }
  return end ? std::optional(statusOfPkexec(*end)) : std::nullopt;
}

bool isClosedSoon(int descriptor) {
  pollfd sign{.fd = descriptor, .events = POLLIN, .revents = 0};
  return uninterrupted([&] { return ::poll(&sign, 1, kMillisecondsForSign); }) > 0;
}

/// A start that remains open after the sign is one: what may have been started is not started once
/// more.
OSStatus awaitStart(pid_t child, int started) {
  while (!isClosedSoon(started)) {
    if (const auto status = statusOfStart(child, false)) {
      return *status;
    }
  }
  for (int look = 0; look < kLooks; ++look) {
    if (const auto status = statusOfStart(child, true)) {
      return *status;
    }
    std::this_thread::sleep_for(kPause);
  }
  return errAuthorizationSuccess;
}

/// A tool has nothing to read. Where this process has no output the tool gets one that goes
/// nowhere: else a file that it opens would take that place, and its messages.
void setStandardDescriptors(FileActions* actions) {
  actions->open(STDIN_FILENO, "/dev/null", O_RDONLY);
  for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
    const int flags = ::fcntl(output, F_GETFD);
    if (flags < 0 || (flags & FD_CLOEXEC) != 0) {
      actions->open(output, "/dev/null", O_RDWR);
    }
  }
}

}  // namespace

OSStatus startToolAsRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  std::vector<std::string> words = wordsFor({tool}, arguments);
  FileActions actions;
  setStandardDescriptors(&actions);
  actions.closeBehind(STDERR_FILENO);
  pid_t child = 0;
  const int error = posix_spawn(&child, tool.c_str(), actions.get(), FreshSignals().get(),
                                pointersTo(words).data(), environ);
  if (error != 0) {
    return statusForSpawn(error);
  }
  ToolReaper::shared().adopt(child);
  return errAuthorizationSuccess;
}

/// pkexec refuses to work when it doesn't like a variable of the environment, so it gets none. Its
/// parent is who it asks polkit about: it must be this process.
OSStatus startToolByPkexec(const std::string& tool, const std::vector<std::string>& arguments) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return statusForSpawn(errno);
  }
  const FileDescriptor started(ends[0]);
  FileDescriptor sign(ends[1]);
  std::vector<std::string> words =
      wordsFor({kPkexec, "--disable-internal-agent", "--keep-cwd", tool}, arguments);
  std::array<char*, 1> noEnvironment{};
  FileActions actions;
  actions.put(sign.get(), kSignOfStart);
  setStandardDescriptors(&actions);
  actions.closeBehind(kSignOfStart);
  pid_t child = 0;
  const int error = posix_spawn(&child, kPkexec, actions.get(), FreshSignals().get(),
                                pointersTo(words).data(), noEnvironment.data());
  if (error != 0) {
    return statusForSpawn(error);
  }
  sign.close();
  const OSStatus status = awaitStart(child, started.get());
  if (status == errAuthorizationSuccess) {
    ToolReaper::shared().adopt(child);
  } else {
    uninterrupted([&] { return ::waitpid(child, nullptr, 0); });
  }
  return status;
}

}  // namespace kestova
