// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace kestova::tool {

/// Each adds the subcommand of its name, in small letters.
void addHexCommand(CLI::App& app, Commands& commands);
void addBase32Command(CLI::App& app, Commands& commands);
void addMD5Command(CLI::App& app, Commands& commands);
void addReplaceCommand(CLI::App& app, Commands& commands);

}  // namespace kestova::tool
