// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace kestova::testing {

/// What a second opinion finds different between two folders: nothing when they are alike in
/// content, holes, links, owners, modes, times, attributes and access lists. Needs rsync.
inline std::string treeDifferences(const std::string& a, const std::string& b) {
  const std::string command =
      "rsync -aHAXS --checksum --delete --dry-run --itemize-changes '" + a + "/' '" + b + "/' 2>&1";
  std::string output;
  std::FILE* const pipe = ::popen(command.c_str(), "r");
  std::array<char, 4096> part{};
  while (std::fgets(part.data(), part.size(), pipe) != nullptr) output += part.data();
  const int status = ::pclose(pipe);
  return status == 0 ? output : output + "rsync failed";
}

}  // namespace kestova::testing
