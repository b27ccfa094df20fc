// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace kestova {

/// The one owner of an open file descriptor; closes it on destruction. A negative number is
/// nothing.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() { close(); }

  int get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

  /// Leaves the descriptor to another owner.
  void release() { number_ = -1; }

  /// Closes now and answers 0 or the error number. A file system may tell of a failed write only
  /// here. Never repeated: on Linux the number is free even after an error.
  int close() {
    const int number = std::exchange(number_, -1);
    return number >= 0 && ::close(number) != 0 && errno != EINTR ? errno : 0;
  }

 private:
  int number_ = -1;
};

}  // namespace kestova
