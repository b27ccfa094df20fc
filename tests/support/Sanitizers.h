// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kestova::testing {

/// Whether the tests run under a sanitizer, which makes each step several times as expensive. What
/// goes through millions of cases takes a share of them there; the optimised build takes all.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
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

}  // namespace kestova::testing
