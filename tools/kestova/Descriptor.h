// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <span>
#include <utility>

namespace kestova::tool {

/// An open file, closed when it goes. The standard streams may be one, too: they stay open.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }

  int number() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

  /// Writes all of the bytes. Answers 0 or the error number.
  int write(std::span<const std::byte> bytes) const {
    while (!bytes.empty()) {
      const auto count = ::write(number_, bytes.data(), bytes.size());
      if (count < 0 && errno != EINTR) {
        return errno;
      }
      bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return 0;
  }

  /// Answers 0 or the error number: some file systems tell of a failed write only here.
  int close() {
    const int number = std::exchange(number_, -1);
    return number > STDERR_FILENO && ::close(number) != 0 && errno != EINTR ? errno : 0;
  }

 private:
  int number_ = -1;
};

}  // namespace kestova::tool
