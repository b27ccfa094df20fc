// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace kestova::tool {

/// What a command could not do with a file, as one line for a person: "NAME: REASON".
class FileFailure : public std::runtime_error {
 public:
  /// `name` is shown as it is: see `InputFile::displayName`.
  FileFailure(const std::string& name, const std::string& reason)
      : std::runtime_error(name + ": " + reason) {}

  /// The reason is the system's own text for `errorNumber`.
  FileFailure(const std::string& name, int errorNumber);
};

/// Prints "kestova: " and the line on the diagnostic stream.
void printFailure(std::string_view line);

}  // namespace kestova::tool
