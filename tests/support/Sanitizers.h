// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>

namespace kestova::testing {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool builtWithSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool builtWithSanitizer = true;
#else
inline constexpr bool builtWithSanitizer = false;
#endif
#else
inline constexpr bool builtWithSanitizer = false;
#endif

/// Whether the tests run under a sanitizer, or under something else that makes each step several
/// times as expensive and says so by KESTOVA_FEW_CASES in the environment.
inline const bool underSanitizer =
    builtWithSanitizer || std::getenv("KESTOVA_FEW_CASES") != nullptr;

/// What goes through millions of cases takes every one in the optimised build and one in so many
/// under a sanitizer. It is a prime, so that such steps meet every value of each byte or edge that
/// the cases are made of.
inline const int caseStride = underSanitizer ? 17 : 1;

/// So many random rounds, or their share.
inline int shareOf(int rounds) { return (rounds + caseStride - 1) / caseStride; }

}  // namespace kestova::testing
