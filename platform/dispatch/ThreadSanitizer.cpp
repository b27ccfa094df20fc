// SPDX-License-Identifier: Apache-2.0
#include "dispatch/ThreadSanitizer.h"

#include <KestovaPlatform/Export.h>

#if defined(KESTOVA_THREAD_SANITIZER)

/// What the sanitizer is told before a program begins, unless the program says something itself:
/// libdispatch hands its own memory from thread to thread in ways that can't be seen. Only what it
/// does itself is left out, not what it calls.
extern "C" KESTOVA_PLATFORM_EXPORT const char* __tsan_default_suppressions() {
  return "called_from_lib:libdispatch.so\n";
}

#endif
