// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

namespace kestova {

/// Keeps what one step throws from keeping back the steps behind it: all of them are made, and what
/// was thrown first comes out in the end.
///
///     FirstException failure;
///     for (const auto& listener : listeners) failure.attempt([&] { listener->hear(event); });
///     failure.rethrow();
///
/// Threads: one at a time. While nothing is thrown it costs nothing to speak of.
class FirstException {
 public:
  /// Calls the step, whatever it throws. All but the first exception are dropped.
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

  /// Throws what was thrown first; returns when nothing was.
  void rethrow() const {
    if (first_) {
      std::rethrow_exception(first_);
    }
  }

 private:
  std::exception_ptr first_;
};

}  // namespace kestova
