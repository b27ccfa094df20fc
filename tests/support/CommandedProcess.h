// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {

/// Another process that does what it is told, line by line, and tells what happens to it.
///
///     CommandedProcess other([](const CommandedProcess::Tell& tell) {
///       return [tell](const std::string& verb, std::istream& words) { … tell("happened"); };
///     });
///     other.command("do something");
///     EXPECT_EQ(other.toldUntil("happened"), Lines{"happened"});
///
/// The commands are performed by the run loop of the child's first own thread, since that of the
/// thread that forked is its parent's.
class CommandedProcess {
 public:
  using Lines = std::vector<std::string>;
  using Tell = std::function<void(const std::string& line)>;
  using Perform = std::function<void(const std::string& verb, std::istream& words)>;

  /// `program` is called in the child and answers what performs its commands.
  explicit CommandedProcess(const std::function<Perform(const Tell&)>& program) {
    int commands[2];
    int answers[2];
    if (::pipe(commands) != 0 || ::pipe(answers) != 0) throw std::runtime_error("no pipes");
    std::fflush(nullptr);
    child_ = ::fork();
    if (child_ == 0) {
      ::close(commands[1]);
      ::close(answers[0]);
      std::thread([&] { serve(commands[0], answers[1], program); }).join();
      ::_exit(0);
    }
    ::close(commands[0]);
    ::close(answers[1]);
    commands_ = commands[1];
    answers_ = answers[0];
  }
  ~CommandedProcess() {
    kill();
    ::close(commands_);
    ::close(answers_);
  }
  CommandedProcess(const CommandedProcess&) = delete;
  CommandedProcess& operator=(const CommandedProcess&) = delete;

  /// Returns when it has been performed.
  void command(const std::string& command) {
    const std::string line = command + "\n";
    EXPECT_EQ(::write(commands_, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    for (std::string answer = next(); !answer.empty() && answer != kDone;) answer = next();
  }

  /// All that it has told, as soon as that ends with this line.
  const Lines& toldUntil(const std::string& last) {
    while (told_.empty() || told_.back() != last) {
      if (next().empty()) break;
    }
    return told_;
  }

  /// All that it has told, as soon as it has told this line so many times.
  const Lines& toldUntilTimes(const std::string& line, std::ptrdiff_t times) {
    while (std::count(told_.begin(), told_.end(), line) < times) {
      if (next().empty()) break;
    }
    return told_;
  }

  /// The last line that it tells while it performs a command; empty when it tells nothing.
  std::string answerTo(const std::string& line) {
    const std::size_t before = told_.size();
    command(line);
    return told_.size() > before ? told_.back() : "";
  }

  /// Ends it as a crash would.
  void kill() {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(std::exchange(child_, -1), nullptr, 0);
    }
  }

 private:
  static constexpr char kDone[] = "done";
  static constexpr char kTold = '>';

  static void serve(int commands, int answers, const std::function<Perform(const Tell&)>& program) {
    const auto write = [answers](const std::string& line) {
      static_cast<void>(!::write(answers, (line + "\n").data(), line.size() + 1));
    };
    const Perform perform = program([&](const std::string& line) { write(kTold + line); });
    const auto loop = NSRunLoop::currentRunLoop();
    std::FILE* const input = ::fdopen(commands, "r");
    std::setvbuf(input, nullptr, _IONBF, 0);
    loop->addSource_forMode(RunLoopDescriptorSource::sourceWithDescriptor_events_block(
                                commands, RunLoopDescriptorReadable,
                                [&](NSUInteger) {
                                  char line[8192];
                                  if (std::fgets(line, sizeof line, input) == nullptr) ::_exit(0);
                                  std::istringstream words(line);
                                  std::string verb;
                                  words >> verb;
                                  perform(verb, words);
                                  write(kDone);
                                }),
                            NSRunLoopCommonModes);
    loop->run();
  }

  /// The next line; empty, and a failure, when none comes within half a minute. What was told is
  /// kept.
  std::string next() {
    std::size_t end;
    while ((end = unread_.find('\n')) == std::string::npos) {
      pollfd wait{answers_, POLLIN, 0};
      char bytes[4096];
      ssize_t count = 0;
      if (::poll(&wait, 1, 30'000) <= 0 || (count = ::read(answers_, bytes, sizeof bytes)) <= 0) {
        ADD_FAILURE() << "the other process says nothing";
        return {};
      }
      unread_.append(bytes, static_cast<std::size_t>(count));
    }
    const std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    if (line.front() == kTold) told_.push_back(line.substr(1));
    return line;
  }

  pid_t child_ = -1;
  int commands_ = -1;
  int answers_ = -1;
  std::string unread_;
  Lines told_;
};

}  // namespace kestova::testing
