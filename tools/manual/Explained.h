// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kestova::manual {

/// An option or a positional argument, in the words of the tool's own help.
struct ExplainedArgument {
  /// "-d" and the like; empty for a positional argument.
  std::vector<std::string> shortNames;
  /// "--decode" and the like; empty for a positional argument.
  std::vector<std::string> longNames;
  /// What stands for its value, "FILE"; empty for a flag.
  std::string value;
  std::string description;

  bool isPositional() const { return shortNames.empty() && longNames.empty(); }
};

/// A command with all that its help says; the tool itself is the outermost one.
struct ExplainedCommand {
  std::string name;
  /// The names from the tool's own to this one's.
  std::vector<std::string> path;
  std::string description;
  std::string footer;
  /// What stands for the words that it reads by itself; mostly empty.
  std::string words;
  std::vector<ExplainedArgument> arguments;
  std::vector<ExplainedCommand> commands;
};

ExplainedCommand explain(const CLI::App& app);

}  // namespace kestova::manual
