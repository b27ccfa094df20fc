// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Command.h"
#include "FileFailure.h"

#include <string>
#include <vector>

namespace kestova::tool {

/// Acts on one argument after the other. A failure is printed, and those behind it have their turn.
/// Answers the exit status.
template <class Action>
int forEachArgument(const std::vector<std::string>& arguments, const Action& act) {
  int status = kSucceeded;
  for (const std::string& argument : arguments) {
    try {
      act(argument);
    } catch (const FileFailure& failure) {
      printFailure(failure.what());
      status = kFailed;
    }
  }
  return status;
}

}  // namespace kestova::tool
