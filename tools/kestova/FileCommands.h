// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace kestova::tool {

/// Each adds the subcommand of its name, in small letters.
void addSizeCommand(CLI::App& app, Commands& commands);
void addNameCommand(CLI::App& app, Commands& commands);
void addTypeCommand(CLI::App& app, Commands& commands);
void addVolumeCommand(CLI::App& app, Commands& commands);

}  // namespace kestova::tool
