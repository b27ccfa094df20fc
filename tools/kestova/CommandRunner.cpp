// SPDX-License-Identifier: Apache-2.0
#include "CommandRunner.h"

#include "FileFailure.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <optional>

namespace kestova::tool {
namespace {

constexpr std::chrono::seconds kPatience(5);

/// How the command begins: in a group of its own, with no signal held back, and with no terminal to
/// read from, which would stop a group that is not in front.
class SpawnSettings {
 public:
  SpawnSettings() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

/// What a person would want to know of an ending; nothing for a good one.
std::optional<std::string> failureOf(int status) {
  if (WIFSIGNALED(status)) {
    const char* description = sigdescr_np(WTERMSIG(status));
    return "ended by a signal: " +
           (description != nullptr ? description : std::to_string(WTERMSIG(status)));
  }
  if (WEXITSTATUS(status) != 0) {
    return "ended with status " + std::to_string(WEXITSTATUS(status));
  }
  return std::nullopt;
}

}  // namespace

void CommandRunner::run() {
  const pid_t process = start();
  if (process > 0) {
    explain(waitFor(process));
  }
}

/// Answers 0 when there is no process.
pid_t CommandRunner::start() {
  std::vector<char*> arguments;
  for (const std::string& word : words_) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  const SpawnSettings settings;
  const std::lock_guard lock(mutex_);
  if (isStopped_) {
    return 0;
  }
  pid_t process = 0;
  const int failure = posix_spawnp(&process, arguments[0], settings.actions(),
                                   settings.attributes(), arguments.data(), environ);
  if (failure != 0) {
    printFailure(FileFailure(words_[0], failure).what());
    return 0;
  }
  running_.insert(process);
  return process;
}

/// Answers how it ended. It is waited for twice, so that its number is nobody else's until it is
/// no longer listed.
int CommandRunner::waitFor(pid_t process) {
  siginfo_t ending{};
  while (::waitid(P_PID, static_cast<id_t>(process), &ending, WEXITED | WNOWAIT) != 0 &&
         errno == EINTR) {
  }
  int status = 0;
  const std::lock_guard lock(mutex_);
  ::waitpid(process, &status, 0);
  running_.erase(process);
  ended_.notify_all();
  return isStopped_ ? 0 : status;
}

void CommandRunner::explain(int status) const {
  if (const auto failure = failureOf(status)) {
    printFailure(FileFailure(words_[0], *failure).what());
  }
}

void CommandRunner::stop() {
  const auto isIdle = [this] { return running_.empty(); };
  std::unique_lock lock(mutex_);
  isStopped_ = true;
  signalAll(SIGTERM);
  if (!ended_.wait_for(lock, kPatience, isIdle)) {
    signalAll(SIGKILL);
    ended_.wait(lock, isIdle);
  }
}

void CommandRunner::signalAll(int signal) const {
  for (const pid_t process : running_) {
    ::kill(-process, signal);
  }
}

}  // namespace kestova::tool
