// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <filesystem>
#include <iterator>

namespace kestova::testing {

// clang-format off
#define KESTOVA_FAULTY_CALLS(of) \
  of(allocation) of(realloc) of(open) of(openat) of(close) of(read) of(write) of(pread) \
  of(pwrite) of(copy_file_range) of(splice) of(fallocate) of(ftruncate) of(lseek) of(fsync) \
  of(fdatasync) of(syncfs) of(syscall) of(ioctl) of(fcntl) of(flock) of(fstat) of(fstatat) \
  of(lstat) of(stat) of(statx) of(fstatfs) of(access) of(faccessat) of(realpath) of(readlinkat) \
  of(opendir) of(fdopendir) of(readdir) of(mkdir) of(mkdirat) of(symlink) of(symlinkat) \
  of(link) of(linkat) of(rename) of(renameat2) of(unlink) of(unlinkat) of(rmdir) of(remove) \
  of(chmod) of(fchmod) of(fchmodat) of(fchown) of(fchownat) of(futimens) of(utimensat) \
  of(fsetxattr) of(fgetxattr) of(flistxattr) of(lsetxattr) of(lgetxattr) of(llistxattr) \
  of(fopen) of(fread) of(fwrite) of(fflush) of(fseeko) of(fclose) of(pipe2) of(poll) \
  of(epoll_create1) of(epoll_ctl) of(epoll_wait) of(eventfd) of(timerfd_create) \
  of(timerfd_settime) of(socket) of(connect) of(getrandom) of(posix_spawn) of(waitpid) \
  of(pthread_create)
// clang-format on

/// The calls that can be made to fail. Each is the function of the C library of that name, as the
/// libraries under test call it; `allocation` is every form of `operator new`, `syscall` the
/// listing of a folder.
enum class FaultyCall {
#define KESTOVA_ENUMERATOR(name) name,
  KESTOVA_FAULTY_CALLS(KESTOVA_ENUMERATOR)
#undef KESTOVA_ENUMERATOR
};

/// What becomes of a call that a fault meets.
struct Fault {
  /// What the call leaves in `errno`, or answers where its kind does so. An allocation throws
  /// std::bad_alloc whatever stands here. `close` and `fclose` fail behind their work, as the
  /// system's do.
  int error = 0;
  /// Instead of failing, the call moves only half of the bytes that it is asked for, one at least.
  /// For `read`, `write`, `pread`, `pwrite`, `copy_file_range` and `splice`.
  bool isShort = false;
  /// All later calls meet it as well: a disk that is full stays full.
  bool lasts = false;

  static Fault failing(int error) { return {error, false, false}; }
  static Fault failingFromNowOn(int error) { return {error, false, true}; }
  static Fault shortened() { return {0, true, false}; }
  static Fault interrupted() { return failing(EINTR); }
};

/// Whose calls are counted and fail.
enum class FaultyThreads { own, all };

/// Lets the nth call of one kind fail, from its making to its end:
///
///     const ArmedFault full(FaultyCall::write, 2, Fault::failing(ENOSPC));
///     EXPECT_FALSE(data->writeToFile_atomically(path, true));
///     EXPECT_TRUE(full.wasMet());
///
/// Only the test executables in tests/faults have it: they stand between the libraries and the C
/// library. What the C library calls by itself (`std::fopen` its `open`) is not met. One fault at a
/// time for each kind of call; several kinds may be armed at once. Arming an armed kind throws
/// std::logic_error.
///
/// Threads: calls may be met on any thread; made and ended on one thread.
class ArmedFault {
 public:
  /// `nth` is 1 for the very next call. `own` is the thread that makes this object.
  ArmedFault(FaultyCall call, int nth, Fault fault, FaultyThreads threads = FaultyThreads::own);
  ~ArmedFault();
  ArmedFault(const ArmedFault&) = delete;
  ArmedFault& operator=(const ArmedFault&) = delete;

  /// Whether the call came.
  bool wasMet() const;
  /// How many calls of the kind have come, the one that met the fault among them.
  long calls() const;
  /// Lets all further calls through.
  void disarm();

 private:
  FaultyCall call_;
  int nth_;
};

/// Runs `attempt` again and again: in the first run the first call of the kind meets the fault, in
/// the second run the second, until a run is over without meeting it. Behind each run `check(met)`
/// looks at what it left behind, with no fault armed. Answers how many calls met the fault.
template <typename Attempt, typename Check>
int walkFaults(FaultyCall call, Fault fault, FaultyThreads threads, Attempt attempt, Check check) {
  for (int nth = 1;; ++nth) {
    ArmedFault armed(call, nth, fault, threads);
    attempt();
    armed.disarm();
    check(armed.wasMet());
    if (!armed.wasMet()) return nth - 1;
  }
}

/// The name of the call, for what a failed assertion tells.
const char* nameOf(FaultyCall call);

/// How many descriptors this process has open.
inline std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace kestova::testing
