// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// A place where a file system, or a part of one, is mounted.
struct Mount {
  std::uint64_t identifier = 0;  // what statx tells of every item below
  std::uint64_t parent = 0;      // the identifier of the mount that it lies upon
  dev_t device = 0;              // major number 0 for what lies on no single device
  std::string place;             // absolute
};

/// Finds a mount in the text of a table such as /proc/self/mountinfo; nothing when it isn't listed.
/// Lines that are no entries are passed over.
std::optional<Mount> mountIn(std::string_view table, std::uint64_t identifier);

/// Reads this process's table of mounts. Answers 0 or the error number. No file system is asked for
/// anything but the one of the processes.
int readMountTable(std::string& table);

}  // namespace kestova
