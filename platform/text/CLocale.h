// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <locale.h>

namespace kestova {

/// While it lives, the C library reads and prints numbers of this thread alone as in the "C"
/// locale. The process's locale, which belongs to the application, stays untouched.
class CLocale {
 public:
  CLocale() noexcept : previous_(uselocale(shared())) {}
  ~CLocale() { uselocale(previous_); }
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

 private:
  static locale_t shared() noexcept {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  locale_t previous_;
};

}  // namespace kestova
