// SPDX-License-Identifier: Apache-2.0
#include "Tool.h"

#include "AdminCommand.h"
#include "ByteCommands.h"
#include "ConvertCommand.h"
#include "DefaultsCommand.h"
#include "FileCommands.h"
#include "FormatCommand.h"
#include "HelpFormatter.h"
#include "HotKeyCommand.h"
#include "RectsCommand.h"
#include "TextCommand.h"
#include "TimezoneCommand.h"
#include "TransferCommand.h"
#include "WatchCommand.h"

#include <memory>

namespace kestova::tool {
namespace {

/// The word that stands where a command is wanted; otherwise what is wrong as the parser says it.
/// Who is speaking comes first, as with every other failure.
std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
  const CLI::App* innermost = app;
  while (!innermost->get_subcommands().empty()) {
    innermost = innermost->get_subcommands().front();
  }
  const auto unknown = app->remaining(true);
  if (innermost->get_require_subcommand_min() == 0 || unknown.empty()) {
    return "kestova: " + CLI::FailureMessage::simple(app, error);
  }
  return "kestova: There is no command \"" + unknown.front() +
         "\"\nRun with --help for more information.\n";
}

}  // namespace

Tool::Tool() : arguments_("KestovaFoundation from the command line", "kestova") {
  arguments_.set_version_flag("--version", "kestova " KESTOVA_VERSION);
  arguments_.require_subcommand(1);
  arguments_.failure_message(failureMessage);
  arguments_.formatter(std::make_shared<HelpFormatter>());
  addTransferCommands(arguments_, commands_);
  addAdminCommand(arguments_, commands_);
  addTextCommand(arguments_, commands_);
  addHexCommand(arguments_, commands_);
  addBase32Command(arguments_, commands_);
  addMD5Command(arguments_, commands_);
  addReplaceCommand(arguments_, commands_);
  addConvertCommand(arguments_, commands_);
  addWatchCommand(arguments_, commands_);
  addHotKeyCommand(arguments_, commands_);
  addFormatCommand(arguments_, commands_);
  addTimezoneCommand(arguments_, commands_);
  addRectsCommand(arguments_, commands_);
  addSizeCommand(arguments_, commands_);
  addNameCommand(arguments_, commands_);
  addTypeCommand(arguments_, commands_);
  addVolumeCommand(arguments_, commands_);
  addDefaultsCommand(arguments_, commands_);
}

int Tool::run(int argc, char** argv) {
  try {
    arguments_.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return arguments_.exit(error) == 0 ? kSucceeded : kUsedWrongly;
  }
  for (const auto& command : commands_) {
    if (command->isAskedFor()) {
      return command->run();
    }
  }
  return kUsedWrongly;
}

}  // namespace kestova::tool
