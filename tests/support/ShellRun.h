// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ToolRun.h"

#include <cstdlib>
#include <string>

namespace kestova::testing {

/// Runs a command line in a folder, for pipes and second opinions; "$KESTOVA" in it is the tool.
inline ToolResult runShell(const std::string& folder, const std::string& commandLine) {
  ::setenv("KESTOVA", KESTOVA_TOOL_PATH, 1);
  const TemporaryFolder files;
  const std::string whole = "cd '" + folder + "' && exec >'" + files.at("out") + "' 2>'" +
                            files.at("err") + "' && " + commandLine;
  const int status = std::system(whole.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, files.read("out"), files.read("err")};
}

}  // namespace kestova::testing
