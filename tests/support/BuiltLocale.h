// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <locale.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "TemporaryFolder.h"

namespace kestova::testing {

/// A locale of the C library that is compiled for a test, so that the machine need not have it. The
/// calling thread is in it while this lives.
class BuiltLocale {
 public:
  /// `name` is that of a locale's source, such as "tr_TR"; characters are those of UTF-8.
  explicit BuiltLocale(const std::string& name) {
    const std::string command =
        "localedef --no-archive --quiet -f UTF-8 -i " + name + " " + folder_.at(name);
    if (std::system(command.c_str()) != 0) {
      throw std::runtime_error("the locale can't be compiled: " + name);
    }
    ::setenv("LOCPATH", folder_.path().c_str(), 1);
    locale_ = ::newlocale(LC_ALL_MASK, name.c_str(), nullptr);
    ::unsetenv("LOCPATH");
    if (locale_ == nullptr) {
      throw std::runtime_error("the locale can't be used: " + name);
    }
    before_ = ::uselocale(locale_);
  }
  ~BuiltLocale() {
    ::uselocale(before_);
    ::freelocale(locale_);
  }
  BuiltLocale(const BuiltLocale&) = delete;
  BuiltLocale& operator=(const BuiltLocale&) = delete;

  bool isInUse() const { return ::uselocale(nullptr) == locale_; }

 private:
  const TemporaryFolder folder_;
  locale_t locale_ = nullptr;
  locale_t before_ = nullptr;
};

}  // namespace kestova::testing
