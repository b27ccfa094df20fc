// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <vector>

namespace kestova::tool {

/// What the process answers to its caller.
enum ExitStatus : int {
  kSucceeded = 0,
  kFailed = 1,
  kUsedWrongly = 2,
  kInterrupted = 130,
};

/// One subcommand: it states its arguments when it is made, and runs when it was asked for.
class Command {
 public:
  virtual ~Command() = default;

  /// Answers the process's exit status.
  virtual int run() = 0;

  bool isAskedFor() const { return arguments_->parsed(); }

 protected:
  /// `arguments` is owned by the tool's parser and outlives the command.
  explicit Command(CLI::App* arguments) : arguments_(arguments) {}

 private:
  CLI::App* arguments_;
};

using Commands = std::vector<std::unique_ptr<Command>>;

}  // namespace kestova::tool
