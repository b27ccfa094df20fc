// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

namespace kestova {

/// Keeps what one step throws from keeping back the steps behind it: all of them are made, and what
/// was thrown first comes out in the end.
class FirstException {
 public:
  template <class Step>
  void attempt(const Step& step) noexcept {
    try {
      step();
    } catch (...) {
      if (!first_) {
        first_ = std::current_exception();
      }
    }
  }

  void rethrow() const {
    if (first_) {
      std::rethrow_exception(first_);
    }
  }

 private:
  std::exception_ptr first_;
};

}  // namespace kestova
