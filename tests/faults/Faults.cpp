// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <sys/types.h>

#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

// The functions below stand before those of the C library and of the sanitizers, which they call in
// turn. They may be called before either is ready, so they need no initialisation and are not
// instrumented, for which they call nothing that might be: hence the bare atomic accesses.
#define KESTOVA_UNINSTRUMENTED \
  __attribute__((no_sanitize("address"), no_sanitize("thread"), no_sanitize("undefined")))

namespace kestova::testing {
namespace {

struct Slot {
  bool armed;
  /// How many calls remain until the fault; below 1 when it was met.
  long left;
  bool met;
  /// The address of a thread's own mark, or null for all threads.
  const void* thread;
  Fault fault;
};

constexpr const char* kNames[] = {
#define KESTOVA_NAME(name) #name,
    KESTOVA_FAULTY_CALLS(KESTOVA_NAME)
#undef KESTOVA_NAME
};
constinit Slot slots[std::size(kNames)] = {};
constinit thread_local char threadMark = 0;

KESTOVA_UNINSTRUMENTED Slot& slotOf(FaultyCall call) {
  return slots[static_cast<std::size_t>(call)];
}

/// The fault that this call meets, or null.
KESTOVA_UNINSTRUMENTED const Fault* metBy(FaultyCall call) {
  Slot& slot = slotOf(call);
  if (!__atomic_load_n(&slot.armed, __ATOMIC_ACQUIRE)) return nullptr;
  if (slot.thread && slot.thread != &threadMark) return nullptr;
  const long left = __atomic_fetch_sub(&slot.left, 1, __ATOMIC_RELAXED);
  if (left > 1 || (left < 1 && !slot.fault.lasts)) return nullptr;
  __atomic_store_n(&slot.met, true, __ATOMIC_RELEASE);
  return &slot.fault;
}

/// What the function of that name is without this file.
template <typename Function>
KESTOVA_UNINSTRUMENTED Function* following(Function*& known, const char* name) {
  Function* function = __atomic_load_n(&known, __ATOMIC_RELAXED);
  if (!function) {
    function = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
    __atomic_store_n(&known, function, __ATOMIC_RELAXED);
  }
  return function;
}

/// Half of the bytes, but never nothing of something.
KESTOVA_UNINSTRUMENTED std::size_t halfOf(std::size_t size) { return size < 2 ? size : size / 2; }

/// What a call answers that fails.
template <typename Result>
KESTOVA_UNINSTRUMENTED Result failed(int error) {
  errno = error;
  if constexpr (std::is_pointer_v<Result>)
    return nullptr;
  else if constexpr (std::is_unsigned_v<Result>)
    return 0;
  else
    return -1;
}

}  // namespace

ArmedFault::ArmedFault(FaultyCall call, int nth, Fault fault, FaultyThreads threads)
    : call_(call), nth_(nth) {
  Slot& slot = slotOf(call);
  if (slot.armed) throw std::logic_error(std::string("armed already: ") + nameOf(call));
  slot.left = nth;
  slot.met = false;
  slot.fault = fault;
  slot.thread = threads == FaultyThreads::own ? &threadMark : nullptr;
  __atomic_store_n(&slot.armed, true, __ATOMIC_RELEASE);
}

ArmedFault::~ArmedFault() { disarm(); }

bool ArmedFault::wasMet() const { return __atomic_load_n(&slotOf(call_).met, __ATOMIC_ACQUIRE); }

long ArmedFault::calls() const {
  return nth_ - __atomic_load_n(&slotOf(call_).left, __ATOMIC_RELAXED);
}

void ArmedFault::disarm() { __atomic_store_n(&slotOf(call_).armed, false, __ATOMIC_RELEASE); }

const char* nameOf(FaultyCall call) { return kNames[static_cast<std::size_t>(call)]; }

namespace {

// Each stands under the name of the C library's function for the linker, and under one of its own
// in C++, where headers declare that function in their way.
// clang-format off
#define KESTOVA_INTERPOSE(Result, name, symbol, parameters, body) \
  extern "C" __attribute__((visibility("default"))) Result kestova_##name parameters __asm__(symbol); \
  extern "C" KESTOVA_UNINSTRUMENTED Result kestova_##name parameters { \
    using Function = Result parameters; \
    static constinit Function* known = nullptr; \
    Function* const next = following(known, symbol); \
    body \
  }

// Fails and does nothing.
#define KESTOVA_FAILS(Result, name, parameters, arguments) \
  KESTOVA_INTERPOSE(Result, name, #name, parameters, { \
    const Fault* const fault = metBy(FaultyCall::name); \
    return fault ? failed<Result>(fault->error) : next arguments; \
  })

// Fails and does nothing, or moves less than `size`.
#define KESTOVA_MOVES(Result, name, parameters, arguments) \
  KESTOVA_INTERPOSE(Result, name, #name, parameters, { \
    const Fault* const fault = metBy(FaultyCall::name); \
    if (fault && !fault->isShort) return failed<Result>(fault->error); \
    if (fault) size = halfOf(size); \
    return next arguments; \
  })

// Does its work and fails.
#define KESTOVA_CLOSES(name, parameters, arguments) \
  KESTOVA_INTERPOSE(int, name, #name, parameters, { \
    const Fault* const fault = metBy(FaultyCall::name); \
    const int result = next arguments; \
    return fault ? failed<int>(fault->error) : result; \
  })

// Does nothing and answers the error.
#define KESTOVA_ANSWERS(name, parameters, arguments) \
  KESTOVA_INTERPOSE(int, name, #name, parameters, { \
    const Fault* const fault = metBy(FaultyCall::name); \
    return fault ? fault->error : next arguments; \
  })

// Throws.
#define KESTOVA_ALLOCATES(name, symbol, parameters, arguments) \
  KESTOVA_INTERPOSE(void*, name, symbol, parameters, { \
    if (metBy(FaultyCall::allocation)) throw std::bad_alloc(); \
    return next arguments; \
  })

KESTOVA_FAILS(void*, realloc, (void* bytes, size_t size), (bytes, size))
KESTOVA_FAILS(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
KESTOVA_FAILS(int, openat, (int folder, const char* path, int flags, mode_t mode),
  (folder, path, flags, mode))
KESTOVA_CLOSES(close, (int file), (file))
KESTOVA_MOVES(ssize_t, read, (int file, void* bytes, size_t size), (file, bytes, size))
KESTOVA_MOVES(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size))
KESTOVA_MOVES(ssize_t, pread, (int file, void* bytes, size_t size, off_t offset),
  (file, bytes, size, offset))
KESTOVA_MOVES(ssize_t, pwrite, (int file, const void* bytes, size_t size, off_t offset),
  (file, bytes, size, offset))
KESTOVA_MOVES(ssize_t, copy_file_range, (int in, off_t* from, int out, off_t* to, size_t size, unsigned flags),
  (in, from, out, to, size, flags))
KESTOVA_MOVES(ssize_t, splice, (int in, off_t* from, int out, off_t* to, size_t size, unsigned flags),
  (in, from, out, to, size, flags))
KESTOVA_FAILS(int, fallocate, (int file, int mode, off_t offset, off_t size),
  (file, mode, offset, size))
KESTOVA_FAILS(int, ftruncate, (int file, off_t size), (file, size))
KESTOVA_FAILS(off_t, lseek, (int file, off_t offset, int whence), (file, offset, whence))
KESTOVA_FAILS(int, fsync, (int file), (file))
KESTOVA_FAILS(int, fdatasync, (int file), (file))
KESTOVA_FAILS(int, syncfs, (int file), (file))
KESTOVA_INTERPOSE(long, syscall, "syscall",
  (long number, long a, long b, long c, long d, long e, long f), {
    // Only the listing of folders: who wakes and waits for threads would wait for ever.
    const Fault* const fault = number == SYS_getdents64 ? metBy(FaultyCall::syscall) : nullptr;
    return fault ? failed<long>(fault->error) : next(number, a, b, c, d, e, f);
  })
KESTOVA_FAILS(int, ioctl, (int file, unsigned long request, void* argument),
  (file, request, argument))
KESTOVA_FAILS(int, fcntl, (int file, int command, void* argument), (file, command, argument))
KESTOVA_FAILS(int, flock, (int file, int operation), (file, operation))
KESTOVA_FAILS(int, fstat, (int file, void* facts), (file, facts))
KESTOVA_FAILS(int, fstatat, (int folder, const char* path, void* facts, int flags),
  (folder, path, facts, flags))
KESTOVA_FAILS(int, lstat, (const char* path, void* facts), (path, facts))
KESTOVA_FAILS(int, stat, (const char* path, void* facts), (path, facts))
KESTOVA_FAILS(int, statx, (int folder, const char* path, int flags, unsigned mask, void* facts),
  (folder, path, flags, mask, facts))
KESTOVA_FAILS(int, fstatfs, (int file, void* facts), (file, facts))
KESTOVA_FAILS(int, access, (const char* path, int mode), (path, mode))
KESTOVA_FAILS(int, faccessat, (int folder, const char* path, int mode, int flags),
  (folder, path, mode, flags))
KESTOVA_FAILS(char*, realpath, (const char* path, char* resolved), (path, resolved))
KESTOVA_FAILS(ssize_t, readlinkat, (int folder, const char* path, char* target, size_t size),
  (folder, path, target, size))
KESTOVA_FAILS(void*, opendir, (const char* path), (path))
KESTOVA_FAILS(void*, fdopendir, (int folder), (folder))
KESTOVA_FAILS(void*, readdir, (void* listing), (listing))
KESTOVA_FAILS(int, mkdir, (const char* path, mode_t mode), (path, mode))
KESTOVA_FAILS(int, mkdirat, (int folder, const char* path, mode_t mode), (folder, path, mode))
KESTOVA_FAILS(int, symlink, (const char* target, const char* path), (target, path))
KESTOVA_FAILS(int, symlinkat, (const char* target, int folder, const char* path),
  (target, folder, path))
KESTOVA_FAILS(int, link, (const char* from, const char* to), (from, to))
KESTOVA_FAILS(int, linkat, (int fromFolder, const char* from, int toFolder, const char* to, int flags),
  (fromFolder, from, toFolder, to, flags))
KESTOVA_FAILS(int, rename, (const char* from, const char* to), (from, to))
KESTOVA_FAILS(int, renameat2, (int fromFolder, const char* from, int toFolder, const char* to, unsigned flags),
  (fromFolder, from, toFolder, to, flags))
KESTOVA_FAILS(int, unlink, (const char* path), (path))
KESTOVA_FAILS(int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags))
KESTOVA_FAILS(int, rmdir, (const char* path), (path))
KESTOVA_FAILS(int, remove, (const char* path), (path))
KESTOVA_FAILS(int, chmod, (const char* path, mode_t mode), (path, mode))
KESTOVA_FAILS(int, fchmod, (int file, mode_t mode), (file, mode))
KESTOVA_FAILS(int, fchmodat, (int folder, const char* path, mode_t mode, int flags),
  (folder, path, mode, flags))
KESTOVA_FAILS(int, fchown, (int file, uid_t owner, gid_t group), (file, owner, group))
KESTOVA_FAILS(int, fchownat, (int folder, const char* path, uid_t owner, gid_t group, int flags),
  (folder, path, owner, group, flags))
KESTOVA_FAILS(int, futimens, (int file, const void* times), (file, times))
KESTOVA_FAILS(int, utimensat, (int folder, const char* path, const void* times, int flags),
  (folder, path, times, flags))
KESTOVA_FAILS(int, fsetxattr, (int file, const char* name, const void* value, size_t size, int flags),
  (file, name, value, size, flags))
KESTOVA_FAILS(ssize_t, fgetxattr, (int file, const char* name, void* value, size_t size),
  (file, name, value, size))
KESTOVA_FAILS(ssize_t, flistxattr, (int file, char* names, size_t size), (file, names, size))
KESTOVA_FAILS(int, lsetxattr, (const char* path, const char* name, const void* value, size_t size, int flags),
  (path, name, value, size, flags))
KESTOVA_FAILS(ssize_t, lgetxattr, (const char* path, const char* name, void* value, size_t size),
  (path, name, value, size))
KESTOVA_FAILS(ssize_t, llistxattr, (const char* path, char* names, size_t size),
  (path, names, size))
KESTOVA_FAILS(void*, fopen, (const char* path, const char* mode), (path, mode))
KESTOVA_FAILS(size_t, fread, (void* bytes, size_t size, size_t count, void* file),
  (bytes, size, count, file))
KESTOVA_FAILS(size_t, fwrite, (const void* bytes, size_t size, size_t count, void* file),
  (bytes, size, count, file))
KESTOVA_FAILS(int, fflush, (void* file), (file))
KESTOVA_FAILS(int, fseeko, (void* file, off_t offset, int whence), (file, offset, whence))
KESTOVA_CLOSES(fclose, (void* file), (file))
KESTOVA_FAILS(int, pipe2, (int* ends, int flags), (ends, flags))
KESTOVA_FAILS(int, poll, (void* files, unsigned long count, int timeout), (files, count, timeout))
KESTOVA_FAILS(int, epoll_create1, (int flags), (flags))
KESTOVA_FAILS(int, epoll_ctl, (int set, int operation, int file, void* event),
  (set, operation, file, event))
KESTOVA_FAILS(int, epoll_wait, (int set, void* events, int count, int timeout),
  (set, events, count, timeout))
KESTOVA_FAILS(int, eventfd, (unsigned value, int flags), (value, flags))
KESTOVA_FAILS(int, timerfd_create, (int clock, int flags), (clock, flags))
KESTOVA_FAILS(int, timerfd_settime, (int timer, int flags, const void* now, void* before),
  (timer, flags, now, before))
KESTOVA_FAILS(int, socket, (int domain, int type, int protocol), (domain, type, protocol))
KESTOVA_FAILS(int, connect, (int file, const void* address, unsigned size), (file, address, size))
KESTOVA_FAILS(ssize_t, getrandom, (void* bytes, size_t size, unsigned flags), (bytes, size, flags))
KESTOVA_ANSWERS(posix_spawn,
  (pid_t* child, const char* path, const void* actions, const void* attributes,
   char* const* words, char* const* environment),
  (child, path, actions, attributes, words, environment))
KESTOVA_FAILS(pid_t, waitpid, (pid_t child, int* status, int options), (child, status, options))
KESTOVA_ANSWERS(pthread_create, (void* thread, const void* attributes, void* function, void* argument),
  (thread, attributes, function, argument))
KESTOVA_ALLOCATES(new_object, "_Znwm", (size_t size), (size))
KESTOVA_ALLOCATES(new_array, "_Znam", (size_t size), (size))
KESTOVA_ALLOCATES(new_aligned, "_ZnwmSt11align_val_t",
  (size_t size, size_t alignment), (size, alignment))
// clang-format on

}  // namespace
}  // namespace kestova::testing
