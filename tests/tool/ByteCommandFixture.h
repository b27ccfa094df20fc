// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include "RandomRun.h"
#include "ShellRun.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <string>

namespace kestova::testing {

/// A folder for a test of the tool's work on bytes, in which command lines run.
class ByteCommandFixture : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return folder_.at(name); }
  std::string write(const std::string& name, const std::string& contents) const {
    return folder_.write(name, contents);
  }
  std::string read(const std::string& name) const { return folder_.read(name); }

  ToolResult shell(const std::string& commandLine) const {
    return runShell(folder_.path(), commandLine);
  }

  /// More than the tool reads at a time, and no round number.
  static std::string manyBytes(RandomRun& random) {
    std::string bytes(1'234'567 + random.below(10), '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(random.below(256));
    }
    return bytes;
  }

  TemporaryFolder folder_;
};

}  // namespace kestova::testing
