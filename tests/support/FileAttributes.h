// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>
#include <string>

namespace kestova::testing {

inline bool setAttribute(const std::string& path, const char* name, const std::string& value) {
  return ::lsetxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

/// The value, or "(none)".
inline std::string attribute(const std::string& path, const char* name) {
  std::string value(64 * 1024, '\0');
  const ssize_t size = ::lgetxattr(path.c_str(), name, value.data(), value.size());
  if (size < 0) return "(none)";
  value.resize(static_cast<std::size_t>(size));
  return value;
}

/// Sets access and modification time, of a link itself.
inline bool setTimes(const std::string& path, timespec accessed, timespec modified) {
  const std::array<timespec, 2> times = {accessed, modified};
  return ::utimensat(AT_FDCWD, path.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0;
}

inline bool isSameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace kestova::testing
