// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace kestova {

/// The system calls whose failures the copy engine has to survive, as one replaceable object.
///
/// Each function is the call of the same name: it answers what the call answers and leaves `errno`.
/// The class itself makes the real calls; a test derives from it, overrides the calls that are to
/// fail, and puts its object in place with `setCurrent`. Calls that cannot fail in an interesting
/// way are made directly and are not listed here.
///
/// Threads: every function is called from several threads at once.
class FileSystemCalls {
 public:
  virtual ~FileSystemCalls() = default;

  /// The object in use. Never null.
  static FileSystemCalls& current();
  /// Puts `calls` (not owned; null: the real calls) in use for the whole process. For tests, while
  /// no transfer runs.
  static void setCurrent(FileSystemCalls* calls);

  virtual int openat(int folder, const char* name, int flags, mode_t mode);
  virtual ssize_t getdents64(int folder, void* buffer, std::size_t size);
  virtual ssize_t pread(int file, void* buffer, std::size_t size, off_t offset);
  virtual ssize_t pwrite(int file, const void* buffer, std::size_t size, off_t offset);
  virtual ssize_t splice(int in, off_t* inOffset, int out, off_t* outOffset, std::size_t size);
  virtual ssize_t copyFileRange(int in, off_t* inOffset, int out, off_t* outOffset,
                                std::size_t size);
  virtual int fallocate(int file, off_t offset, off_t size);
  /// `ioctl(target, FICLONE, source)`.
  virtual int clone(int target, int source);
  virtual int fdatasync(int file);
  virtual int syncfs(int file);
  virtual int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                        unsigned flags);
  virtual int linkat(int fromFolder, const char* from, int toFolder, const char* to);
  virtual int unlinkat(int folder, const char* name, int flags);
  /// Gives the calling thread a file mode mask of its own, 0.
  virtual int clearOwnUmask();
};

/// Repeats a system call for as long as a signal interrupts it.
template <typename Call>
auto uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

/// Opens what is there by the system's own call, not by the replaceable one, for as long as a
/// signal interrupts it. A descriptor, or -1 with `errno` set.
int openExisting(int folder, const char* name, int flags);

}  // namespace kestova
