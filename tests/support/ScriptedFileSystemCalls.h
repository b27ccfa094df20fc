// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <functional>
#include <optional>
#include <string>

#include "files/FileSystemCalls.h"

namespace kestova::testing {

/// System calls that a test has scripted: each hook that is set is asked first, and what it answers
/// is the answer of the call; without an answer the real call is made. In use from its making to
/// its end.
///
/// Hooks run on the threads of the transfer.
class ScriptedFileSystemCalls : public FileSystemCalls {
 public:
  template <typename Result, typename... Arguments>
  using Hook = std::function<std::optional<Result>(Arguments...)>;

  ScriptedFileSystemCalls() { setCurrent(this); }
  ~ScriptedFileSystemCalls() override { setCurrent(nullptr); }

  /// The answer of a call that fails with that error.
  static int failure(int error) {
    errno = error;
    return -1;
  }

  Hook<int, int, const char*, int> onOpen;
  Hook<ssize_t, int> onList;
  Hook<ssize_t, int, std::size_t*, off_t> onRead;
  Hook<ssize_t, int, std::size_t*, off_t> onWrite;
  Hook<ssize_t, int, int, std::size_t*> onSplice;
  Hook<ssize_t, std::size_t*> onCopyRange;
  Hook<int, off_t, off_t> onAllocate;
  Hook<int> onClone;
  Hook<int> onFlush;
  Hook<int, std::string, std::string, unsigned> onRename;
  Hook<int, std::string, std::string> onLink;
  Hook<int, std::string, int> onUnlink;
  Hook<int> onClearUmask;

  int openat(int folder, const char* name, int flags, mode_t mode) override {
    const auto answer = ask(onOpen, folder, name, flags);
    return answer ? *answer : FileSystemCalls::openat(folder, name, flags, mode);
  }
  ssize_t getdents64(int folder, void* buffer, std::size_t size) override {
    const auto answer = ask(onList, folder);
    return answer ? *answer : FileSystemCalls::getdents64(folder, buffer, size);
  }
  ssize_t pread(int file, void* buffer, std::size_t size, off_t offset) override {
    const auto answer = ask(onRead, file, &size, offset);
    return answer ? *answer : FileSystemCalls::pread(file, buffer, size, offset);
  }
  ssize_t pwrite(int file, const void* buffer, std::size_t size, off_t offset) override {
    const auto answer = ask(onWrite, file, &size, offset);
    return answer ? *answer : FileSystemCalls::pwrite(file, buffer, size, offset);
  }
  ssize_t splice(int in, off_t* inOffset, int out, off_t* outOffset, std::size_t size) override {
    const auto answer = ask(onSplice, in, out, &size);
    return answer ? *answer : FileSystemCalls::splice(in, inOffset, out, outOffset, size);
  }
  ssize_t copyFileRange(int in, off_t* inOffset, int out, off_t* outOffset,
                        std::size_t size) override {
    const auto answer = ask(onCopyRange, &size);
    return answer ? *answer : FileSystemCalls::copyFileRange(in, inOffset, out, outOffset, size);
  }
  int fallocate(int file, off_t offset, off_t size) override {
    const auto answer = ask(onAllocate, offset, size);
    return answer ? *answer : FileSystemCalls::fallocate(file, offset, size);
  }
  int clone(int target, int source) override {
    const auto answer = ask(onClone);
    return answer ? *answer : FileSystemCalls::clone(target, source);
  }
  int fdatasync(int file) override {
    const auto answer = ask(onFlush);
    return answer ? *answer : FileSystemCalls::fdatasync(file);
  }
  int syncfs(int file) override {
    const auto answer = ask(onFlush);
    return answer ? *answer : FileSystemCalls::syncfs(file);
  }
  int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                unsigned flags) override {
    const auto answer = ask(onRename, from, to, flags);
    return answer ? *answer : FileSystemCalls::renameat2(fromFolder, from, toFolder, to, flags);
  }
  int linkat(int fromFolder, const char* from, int toFolder, const char* to) override {
    const auto answer = ask(onLink, from, to);
    return answer ? *answer : FileSystemCalls::linkat(fromFolder, from, toFolder, to);
  }
  int unlinkat(int folder, const char* name, int flags) override {
    const auto answer = ask(onUnlink, name, flags);
    return answer ? *answer : FileSystemCalls::unlinkat(folder, name, flags);
  }
  int clearOwnUmask() override {
    const auto answer = ask(onClearUmask);
    return answer ? *answer : FileSystemCalls::clearOwnUmask();
  }

 private:
  template <typename Result, typename... Parameters, typename... Arguments>
  static std::optional<Result> ask(const Hook<Result, Parameters...>& hook,
                                   Arguments... arguments) {
    return hook ? hook(arguments...) : std::nullopt;
  }
};

}  // namespace kestova::testing
