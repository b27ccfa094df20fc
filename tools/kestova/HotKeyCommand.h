// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"

#include <CLI/CLI.hpp>

namespace kestova::tool {

/// Adds `hotkey`.
void addHotKeyCommand(CLI::App& app, Commands& commands);

}  // namespace kestova::tool
