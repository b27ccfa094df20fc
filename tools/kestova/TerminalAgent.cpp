// SPDX-License-Identifier: Apache-2.0
#include "TerminalAgent.h"

#include "Descriptor.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>

namespace kestova::tool {
namespace {

constexpr const char* kAgent = "/usr/bin/pkttyagent";

/// Which descriptor the agent closes when it is ready.
constexpr int kReady = 3;

bool hasTerminal() { return static_cast<bool>(Descriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC))); }

/// The agent closes its end when it is ready and when it ends.
void waitForClosing(int descriptor) {
  char byte = 0;
  while (::read(descriptor, &byte, 1) < 0 && errno == EINTR) {
  }
}

}  // namespace

TerminalAgent::TerminalAgent() {
  std::array<int, 2> ends{};
  if (!hasTerminal() || ::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return;
  }
  const Descriptor awaited(ends[0]);
  {
    const Descriptor ready(ends[1]);
    start(ready.number());
  }
  waitForClosing(awaited.number());
}

TerminalAgent::~TerminalAgent() {
  if (process_ > 0) {
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
  }
}

void TerminalAgent::start(int ready) {
  std::array words = {std::string(kAgent), std::string("--process"), std::to_string(::getpid()),
                      std::string("--notify-fd"), std::to_string(kReady)};
  std::array<char*, words.size() + 1> pointers{};
  for (std::size_t index = 0; index < words.size(); ++index) {
    pointers[index] = words[index].data();
  }
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, ready, kReady);
  if (::posix_spawn(&process_, kAgent, &actions, nullptr, pointers.data(), environ) != 0) {
    process_ = 0;
  }
  ::posix_spawn_file_actions_destroy(&actions);
}

}  // namespace kestova::tool
