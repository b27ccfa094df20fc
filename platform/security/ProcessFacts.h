// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kestova {

/// What the kernel tells of a process in its file "stat".
struct ProcessFacts {
  /// The program's name, 15 bytes of it.
  std::string program;
  /// Of the process, in the kernel's clock ticks since the machine was started.
  std::uint64_t startTime = 0;

  /// An empty name and 0 where the text is not of that form.
  static ProcessFacts parse(std::string_view stat);
  /// The same where there is no such process, or it is hidden.
  static ProcessFacts of(pid_t process);
};

}  // namespace kestova
