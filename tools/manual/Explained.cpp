// SPDX-License-Identifier: Apache-2.0
#include "Explained.h"

#include "HelpFormatter.h"

namespace kestova::manual {
namespace {

std::vector<std::string> withDashes(const std::vector<std::string>& names, const char* dashes) {
  std::vector<std::string> dashed;
  for (const auto& name : names) {
    dashed.push_back(dashes + name);
  }
  return dashed;
}

std::string valueOf(const CLI::Option& option) {
  return option.get_items_expected_max() == 0 ? "" : tool::placeholderOf(option);
}

ExplainedArgument explain(const CLI::Option& option) {
  return {withDashes(option.get_snames(), "-"), withDashes(option.get_lnames(), "--"),
          valueOf(option), option.get_description()};
}

std::vector<const CLI::App*> innerOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

/// A group of options is to the parser a command without a name; its options are those of the
/// command around it.
void addArguments(ExplainedCommand& command, const CLI::App& app) {
  for (const auto* option : app.get_options()) {
    command.arguments.push_back(explain(*option));
  }
  for (const auto* inner : innerOf(app)) {
    if (inner->get_name().empty()) {
      addArguments(command, *inner);
    }
  }
}

ExplainedCommand explain(const CLI::App& app, std::vector<std::string> path) {
  path.push_back(app.get_name());
  ExplainedCommand command{
      app.get_name(), path, app.get_description(), app.get_footer(), tool::wordsOf(app), {}, {}};
  addArguments(command, app);
  for (const auto* inner : innerOf(app)) {
    if (!inner->get_name().empty()) {
      command.commands.push_back(explain(*inner, path));
    }
  }
  return command;
}

}  // namespace

ExplainedCommand explain(const CLI::App& app) { return explain(app, {}); }

}  // namespace kestova::manual
