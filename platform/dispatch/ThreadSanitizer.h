// SPDX-License-Identifier: Apache-2.0
#pragma once

// What to tell the thread sanitizer about hand-offs through code that it can't see into. Without it
// these functions are nothing.

#if defined(__SANITIZE_THREAD__)
#define KESTOVA_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KESTOVA_THREAD_SANITIZER 1
#endif
#endif

#if defined(KESTOVA_THREAD_SANITIZER)
extern "C" {
void __tsan_acquire(void* tag);
void __tsan_release(void* tag);
void __tsan_mutex_pre_lock(void* mutex, unsigned flags);
void __tsan_mutex_post_lock(void* mutex, unsigned flags, int recursion);
}
#endif

namespace kestova {

#if defined(KESTOVA_THREAD_SANITIZER)
inline constexpr bool threadSanitizer = true;
#else
inline constexpr bool threadSanitizer = false;
#endif

/// A mutex was taken in a way that the sanitizer does not see; giving it back is seen.
inline void tellLocked([[maybe_unused]] void* mutex) noexcept {
#if defined(KESTOVA_THREAD_SANITIZER)
  __tsan_mutex_pre_lock(mutex, 0);
  __tsan_mutex_post_lock(mutex, 0, 0);
#endif
}

/// What was done before a release of the same tag is seen from here on. A null tag is none.
inline void tellAcquired([[maybe_unused]] const void* tag) noexcept {
#if defined(KESTOVA_THREAD_SANITIZER)
  if (tag != nullptr) {
    __tsan_acquire(const_cast<void*>(tag));
  }
#endif
}

/// What was done up to here is seen after an acquisition of the same tag. A null tag is none.
inline void tellReleased([[maybe_unused]] const void* tag) noexcept {
#if defined(KESTOVA_THREAD_SANITIZER)
  if (tag != nullptr) {
    __tsan_release(const_cast<void*>(tag));
  }
#endif
}

}  // namespace kestova
