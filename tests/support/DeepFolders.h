// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace kestova::testing {

/// Makes folders of one name, each in the one before, the first one in `path`, and in every
/// hundredth a file "f" of one byte. Answers how many bytes there are; the paths may be longer than
/// any system call takes.
inline std::size_t makeDeepFolders(const std::string& path, std::size_t depth,
                                   const std::string& name = "d") {
  int folder = ::open(path.c_str(), O_PATH | O_DIRECTORY);
  std::size_t bytes = 0;
  for (std::size_t level = 1; level <= depth && ::mkdirat(folder, name.c_str(), 0755) == 0;
       ++level) {
    const int next = ::openat(folder, name.c_str(), O_PATH | O_DIRECTORY);
    ::close(folder);
    folder = next;
    if (level % 100 == 0) {
      const int file = ::openat(folder, "f", O_WRONLY | O_CREAT, 0644);
      bytes += ::write(file, "x", 1) == 1 ? 1 : 0;
      ::close(file);
    }
  }
  ::close(folder);
  return bytes;
}

}  // namespace kestova::testing
