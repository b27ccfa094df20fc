// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace kestova::tool {

/// The tool as a whole: its commands in the order in which its help lists them. Whoever explains
/// the tool (its help, its manual page, the completions of the shells) reads them here.
class Tool {
 public:
  Tool();

  /// Runs the command that the arguments ask for and answers the process's exit status.
  int run(int argc, char** argv);

  CLI::App& arguments() { return arguments_; }

 private:
  CLI::App arguments_;
  Commands commands_;
};

}  // namespace kestova::tool
