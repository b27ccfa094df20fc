// SPDX-License-Identifier: Apache-2.0
#include "files/SourceOpening.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "files/FileSystemCalls.h"

namespace kestova {
namespace {

int openEntry(int folder, const char* name, int flags) {
  return uninterrupted([&] { return FileSystemCalls::current().openat(folder, name, flags, 0); });
}

// Only a file's owner may have its access time left alone.
FileDescriptor openSource(int folder, const char* name, int flags) {
  flags |= O_RDONLY | O_NOFOLLOW | O_CLOEXEC;
  const int number = openEntry(folder, name, flags | O_NOATIME);
  return FileDescriptor(number < 0 && errno == EPERM ? openEntry(folder, name, flags) : number);
}

}  // namespace

FileDescriptor openSourceFile(int folder, const char* name) {
  return openSource(folder, name, O_NONBLOCK);
}

FileDescriptor openSourceFolder(int folder, const char* name) {
  return openSource(folder, name, O_DIRECTORY);
}

bool isUnreadable(int folder, const char* name) {
  return ::faccessat(folder, name, R_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) != 0 &&
         isPermissionError(errno);
}

bool isPermissionError(int error) { return error == EACCES || error == EPERM; }

}  // namespace kestova
