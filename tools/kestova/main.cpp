// SPDX-License-Identifier: Apache-2.0
#include "ByteCommands.h"
#include "Command.h"
#include "ConvertCommand.h"
#include "FileCommands.h"
#include "FormatCommand.h"
#include "RectsCommand.h"
#include "TextCommand.h"
#include "TimezoneCommand.h"
#include "TransferCommand.h"
#include "WatchCommand.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

namespace kestova::tool {
namespace {

int runCommand(const Commands& commands) {
  for (const auto& command : commands) {
    if (command->isAskedFor()) {
      return command->run();
    }
  }
  return kUsedWrongly;
}

int runTool(int argc, char** argv) {
  CLI::App app("KestovaFoundation from the command line.", "kestova");
  app.set_version_flag("--version", "kestova " KESTOVA_VERSION);
  app.require_subcommand(1);
  app.footer("Exit status: 0 success, 1 failure, 2 wrong use, 130 interrupted.");
  Commands commands;
  addTransferCommands(app, commands);
  addTextCommand(app, commands);
  addHexCommand(app, commands);
  addBase32Command(app, commands);
  addMD5Command(app, commands);
  addReplaceCommand(app, commands);
  addConvertCommand(app, commands);
  addWatchCommand(app, commands);
  addFormatCommand(app, commands);
  addTimezoneCommand(app, commands);
  addRectsCommand(app, commands);
  addSizeCommand(app, commands);
  addNameCommand(app, commands);
  addTypeCommand(app, commands);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kSucceeded : kUsedWrongly;
  }
  return runCommand(commands);
}

}  // namespace
}  // namespace kestova::tool

int main(int argc, char** argv) {
  try {
    return kestova::tool::runTool(argc, argv);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "kestova: %s\n", exception.what());
    return kestova::tool::kFailed;
  }
}
