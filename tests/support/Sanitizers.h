// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kestova::testing {

/// Whether the tests run under a sanitizer or another build (KESTOVA_FEW_CASES) in which each step is
/// several times as expensive.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(KESTOVA_FEW_CASES)
inline constexpr bool underSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool underSanitizer = true;
#else
inline constexpr bool underSanitizer = false;
#endif
#else
inline constexpr bool underSanitizer = false;
#endif

/// What goes through millions of cases takes every one in the optimised build and one in so many
/// under a sanitizer. It is a prime, so that such steps meet every value of each byte or edge that
/// the cases are made of.
inline constexpr int caseStride = underSanitizer ? 17 : 1;

/// So many random rounds, or their share.
constexpr int shareOf(int rounds) { return (rounds + caseStride - 1) / caseStride; }

}  // namespace kestova::testing
