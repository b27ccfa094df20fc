// SPDX-License-Identifier: Apache-2.0
#include "files/ItemFacts.h"
#include "files/FileSystemCalls.h"

#include "files/FileDescriptor.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string_view>

namespace kestova {
namespace {

/// Where a path goes on that has been followed so far.
struct Reached {
  FileDescriptor folder;  // nothing: the current folder
  std::string_view rest;

  int base() const { return folder ? folder.get() : AT_FDCWD; }

  /// Follows as many components as a system call takes. Answers 0 or the error number.
  int goOn() {
    const auto slash = rest.rfind('/', PATH_MAX - 2);
    if (slash == rest.npos) {
      return ENAMETOOLONG;
    }
    const std::string piece(rest.substr(0, slash + 1));
    FileDescriptor next(openExisting(base(), piece.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!next) {
      return errno;
    }
    folder = std::move(next);
    rest.remove_prefix(std::min(rest.find_first_not_of('/', slash), rest.size()));
    return 0;
  }
};

}  // namespace

int readItemFacts(const std::string& path, struct statx& facts) {
  Reached reached{FileDescriptor(), path};
  while (reached.rest.size() >= PATH_MAX) {
    if (const int error = reached.goOn(); error != 0) {
      return error;
    }
  }
  const std::string rest(reached.rest.empty() ? "." : reached.rest);
  constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
  return statx(reached.base(), rest.c_str(), kFlags, STATX_BASIC_STATS | STATX_MNT_ID, &facts) == 0
             ? 0
             : errno;
}

}  // namespace kestova
