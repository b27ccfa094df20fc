// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "TemporaryFolder.h"

namespace kestova::testing {

/// What a run of the tool answered.
struct ToolResult {
  int exitStatus = -1;  // -1 when a signal ended it
  std::string output;
  std::string errors;

  std::vector<std::string> lines() const {
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start < output.size()) {
      const std::size_t end = output.find('\n', start);
      result.push_back(output.substr(start, end - start));
      start = end == std::string::npos ? output.size() : end + 1;
    }
    return result;
  }
};

/// A run of the tool as a process of its own.
class ToolRun {
 public:
  explicit ToolRun(const std::vector<std::string>& arguments) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    process_ = ::fork();
    if (process_ == 0) {
      ::dup2(ends[1], STDOUT_FILENO);
      ::dup2(::creat(files_.at("err").c_str(), 0600), STDERR_FILENO);
      execute(arguments);
    }
    ::close(ends[1]);
    outputEnd_ = ends[0];
  }
  ToolRun(const ToolRun&) = delete;
  ToolRun& operator=(const ToolRun&) = delete;
  ~ToolRun() { ::close(outputEnd_); }

  void send(int signal) const { ::kill(process_, signal); }

  /// Waits until a text has been printed, or everything has.
  void waitForOutput(const std::string& text) {
    while (output_.find(text) == std::string::npos && readOutput()) {
    }
  }

  /// The same for the diagnostic stream.
  void waitForErrors(const std::string& text) const {
    while (files_.read("err").find(text) == std::string::npos && isRunning()) {
      std::this_thread::yield();
    }
  }

  ToolResult wait() {
    while (readOutput()) {
    }
    int status = 0;
    ::waitpid(process_, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output_, files_.read("err")};
  }

  [[noreturn]] static void execute(const std::vector<std::string>& arguments) {
    std::vector<char*> words = {const_cast<char*>("kestova")};
    for (const std::string& argument : arguments) {
      words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    ::execv(KESTOVA_TOOL_PATH, words.data());
    ::_exit(127);
  }

 private:
  bool isRunning() const {
    siginfo_t ending{};
    ::waitid(P_PID, static_cast<id_t>(process_), &ending, WEXITED | WNOHANG | WNOWAIT);
    return ending.si_pid == 0;
  }

  bool readOutput() {
    std::array<char, 65536> buffer{};
    const ssize_t n = ::read(outputEnd_, buffer.data(), buffer.size());
    if (n > 0) output_.append(buffer.data(), static_cast<std::size_t>(n));
    return n > 0;
  }

  TemporaryFolder files_;
  pid_t process_ = -1;
  int outputEnd_ = -1;
  std::string output_;
};

inline ToolResult runTool(const std::vector<std::string>& arguments) {
  return ToolRun(arguments).wait();
}

/// The same on a terminal of so many columns and of that type, where both streams are one.
inline ToolResult runToolOnTerminal(const std::vector<std::string>& arguments,
                                    unsigned short columns, const char* type = "xterm") {
  int terminal = -1;
  const winsize size{24, columns, 0, 0};
  const pid_t process = ::forkpty(&terminal, nullptr, nullptr, &size);
  if (process == 0) {
    ::setenv("TERM", type, 1);
    ToolRun::execute(arguments);
  }
  ToolResult result;
  std::array<char, 4096> buffer{};
  for (ssize_t n = 0; (n = ::read(terminal, buffer.data(), buffer.size())) > 0;) {
    result.output.append(buffer.data(), static_cast<std::size_t>(n));
  }
  ::close(terminal);
  int status = 0;
  ::waitpid(process, &status, 0);
  result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

}  // namespace kestova::testing
