// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"
#include "EachArgument.h"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace kestova::tool {

/// A command that tells something about each of its arguments: a row for people or, with --json, an
/// object on a line.
class ReportCommand : public Command {
 public:
  int run() final {
    return forEachArgument(items_, [this](const std::string& item) { show(item); });
  }

 protected:
  /// `name` stands for the arguments in the help, `meaning` explains them.
  ReportCommand(CLI::App* arguments, const std::string& name, const std::string& meaning)
      : Command(arguments) {
    arguments->add_option(name, items_, meaning)->required();
    arguments->add_flag("--json", isJSON_, "Print one JSON object for each " + name);
  }

  /// Throws FileFailure for an item that there is nothing to tell about.
  virtual void show(const std::string& item) const = 0;

  bool isJSON() const { return isJSON_; }

 private:
  std::vector<std::string> items_;
  bool isJSON_ = false;
};

}  // namespace kestova::tool
