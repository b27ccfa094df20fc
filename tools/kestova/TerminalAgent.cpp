// SPDX-License-Identifier: Apache-2.0
#include "TerminalAgent.h"

#include "Descriptor.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

namespace kestova::tool {
namespace {

constexpr const char* kAgent = "/usr/bin/pkttyagent";

/// Which descriptor the agent closes when it is ready.
constexpr int kReady = 3;

bool hasTerminal() { return static_cast<bool>(Descriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC))); }

/// Puts the descriptor where the agent looks for it.
bool setReady(int descriptor) {
  return descriptor == kReady ? ::fcntl(kReady, F_SETFD, 0) == 0
                              : ::dup2(descriptor, kReady) == kReady;
}

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
  start(ends[1]);
  ::close(ends[1]);
  waitForClosing(ends[0]);
  ::close(ends[0]);
}

TerminalAgent::~TerminalAgent() {
  if (process_ > 0) {
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
  }
}

/// The agent is told when this process ends, however that comes about: nothing else would end it.
void TerminalAgent::start(int ready) {
  const pid_t self = ::getpid();
  std::array words = {std::string(kAgent), std::string("--process"), std::to_string(self),
                      std::string("--notify-fd"), std::to_string(kReady)};
  std::array<char*, words.size() + 1> pointers{};
  for (std::size_t index = 0; index < words.size(); ++index) {
    pointers[index] = words[index].data();
  }
  process_ = ::fork();
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() == self && setReady(ready)) {
      ::execv(kAgent, pointers.data());
    }
    ::_exit(EXIT_FAILURE);
  }
}

}  // namespace kestova::tool
