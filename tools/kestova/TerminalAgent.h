// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace kestova::tool {

/// Lets the person be asked for a password on the terminal: polkit's own agent for terminals serves
/// this process while it lives, in place of a desktop's. Where there is no terminal, or no such
/// agent is installed, it does nothing.
class TerminalAgent {
 public:
  /// Returns when the agent is ready, or can't be.
  TerminalAgent();
  ~TerminalAgent();
  TerminalAgent(const TerminalAgent&) = delete;
  TerminalAgent& operator=(const TerminalAgent&) = delete;

 private:
  void start(int ready);

  pid_t process_ = 0;
};

}  // namespace kestova::tool
