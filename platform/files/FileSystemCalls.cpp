// SPDX-License-Identifier: Apache-2.0
#include "files/FileSystemCalls.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

namespace kestova {
namespace {

FileSystemCalls realCalls;
std::atomic<FileSystemCalls*> currentCalls = &realCalls;

}  // namespace

FileSystemCalls& FileSystemCalls::current() {
  return *currentCalls.load(std::memory_order_acquire);
}

void FileSystemCalls::setCurrent(FileSystemCalls* calls) {
  currentCalls.store(calls ? calls : &realCalls, std::memory_order_release);
}

int FileSystemCalls::openat(int folder, const char* name, int flags, mode_t mode) {
  return ::openat(folder, name, flags, mode);
}

// glibc wraps this call only since 2.30 and under a feature macro; the number is always there.
ssize_t FileSystemCalls::getdents64(int folder, void* buffer, std::size_t size) {
  return ::syscall(SYS_getdents64, folder, buffer, size);
}

ssize_t FileSystemCalls::pread(int file, void* buffer, std::size_t size, off_t offset) {
  return ::pread(file, buffer, size, offset);
}

ssize_t FileSystemCalls::pwrite(int file, const void* buffer, std::size_t size, off_t offset) {
  return ::pwrite(file, buffer, size, offset);
}

ssize_t FileSystemCalls::splice(int in, off_t* inOffset, int out, off_t* outOffset,
                                std::size_t size) {
  return ::splice(in, inOffset, out, outOffset, size, SPLICE_F_MOVE);
}

ssize_t FileSystemCalls::copyFileRange(int in, off_t* inOffset, int out, off_t* outOffset,
                                       std::size_t size) {
  return ::copy_file_range(in, inOffset, out, outOffset, size, 0);
}

int FileSystemCalls::fallocate(int file, off_t offset, off_t size) {
  return ::fallocate(file, 0, offset, size);
}

int FileSystemCalls::clone(int target, int source) { return ::ioctl(target, FICLONE, source); }

int FileSystemCalls::fdatasync(int file) { return ::fdatasync(file); }

int FileSystemCalls::syncfs(int file) { return ::syncfs(file); }

int FileSystemCalls::renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                               unsigned flags) {
  return ::renameat2(fromFolder, from, toFolder, to, flags);
}

int FileSystemCalls::linkat(int fromFolder, const char* from, int toFolder, const char* to) {
  return ::linkat(fromFolder, from, toFolder, to, 0);
}

int FileSystemCalls::unlinkat(int folder, const char* name, int flags) {
  return ::unlinkat(folder, name, flags);
}

int FileSystemCalls::clearOwnUmask() {
  if (::unshare(CLONE_FS) != 0) return -1;
  ::umask(0);
  return 0;
}

int openExisting(int folder, const char* name, int flags) {
  return uninterrupted([&] { return ::openat(folder, name, flags); });
}

}  // namespace kestova
