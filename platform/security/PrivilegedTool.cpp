// SPDX-License-Identifier: Apache-2.0
#include "security/PrivilegedTool.h"

#include "files/FileDescriptor.h"
#include "files/FileSystemCalls.h"
#include "files/ProgramLaunch.h"
#include "security/ProcessFacts.h"
#include "security/ToolReaper.h"

#include <fcntl.h>
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

/// How pkexec ended without having become the tool.
OSStatus statusOfPkexec(const siginfo_t& end) {
  constexpr int kDismissed = 126;
  constexpr int kRefused = 127;
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

/// Whether pkexec has become the tool: a process keeps its program's name even when it has ended.
/// Where the system hides other people's processes only the end of pkexec can be seen, and nothing
/// where the host program has waited for it already: that counts as a start, for polkit has agreed.
OSStatus statusOfStart(pid_t child) {
  for (int look = 0; look < kLooks; ++look) {
    const auto end = endOf(child);
    if (const std::string name = ProcessFacts::of(child).program; name != "pkexec") {
      const bool isHidden = name.empty();
      return isHidden && end && end->si_code == CLD_EXITED && end->si_status >= 126
                 ? statusOfPkexec(*end)
                 : errAuthorizationSuccess;
    }
    if (end) {
      return statusOfPkexec(*end);
    }
    std::this_thread::sleep_for(kPause);
  }
  return errAuthorizationToolEnvironmentError;
}

void waitForSign(int descriptor) {
  char byte = 0;
  uninterrupted([&] { return ::read(descriptor, &byte, 1); });
}

}  // namespace

OSStatus startToolAsRoot(const std::string& tool, const std::vector<std::string>& arguments) {
  std::vector<std::string> words = wordsFor({tool}, arguments);
  FileActions actions;
  actions.open(STDIN_FILENO, "/dev/null", O_RDONLY);
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
  actions.open(STDIN_FILENO, "/dev/null", O_RDONLY);
  actions.closeBehind(kSignOfStart);
  pid_t child = 0;
  const int error = posix_spawn(&child, kPkexec, actions.get(), FreshSignals().get(),
                                pointersTo(words).data(), noEnvironment.data());
  if (error != 0) {
    return statusForSpawn(error);
  }
  sign.close();
  waitForSign(started.get());
  const OSStatus status = statusOfStart(child);
  if (status == errAuthorizationSuccess) {
    ToolReaper::shared().adopt(child);
  } else {
    uninterrupted([&] { return ::waitpid(child, nullptr, 0); });
  }
  return status;
}

}  // namespace kestova
