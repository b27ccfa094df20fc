// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Faults.h"

namespace kestova::testing {

/// A call and what the system may answer to it.
struct FileFault {
  FaultyCall call;
  int error;

  std::string text() const { return std::string(nameOf(call)) + ": " + std::strerror(error); }
};

/// What may befall whoever makes, reads, writes, renames or removes files.
inline std::vector<FileFault> fileFaults() {
  return {
      {FaultyCall::open, EMFILE},
      {FaultyCall::open, EACCES},
      {FaultyCall::openat, EMFILE},
      {FaultyCall::openat, EIO},
      {FaultyCall::close, EIO},
      {FaultyCall::read, EIO},
      {FaultyCall::write, ENOSPC},
      {FaultyCall::write, EIO},
      {FaultyCall::pread, EIO},
      {FaultyCall::pwrite, ENOSPC},
      {FaultyCall::pwrite, EIO},
      {FaultyCall::copy_file_range, EIO},
      {FaultyCall::copy_file_range, ENOSPC},
      {FaultyCall::splice, EIO},
      {FaultyCall::fallocate, ENOSPC},
      {FaultyCall::ftruncate, EIO},
      {FaultyCall::lseek, EIO},
      {FaultyCall::fsync, EIO},
      {FaultyCall::fdatasync, EIO},
      {FaultyCall::syncfs, EIO},
      {FaultyCall::syscall, EIO},
      {FaultyCall::fstat, EIO},
      {FaultyCall::fstatat, EIO},
      {FaultyCall::lstat, EIO},
      {FaultyCall::stat, EIO},
      {FaultyCall::statx, EIO},
      {FaultyCall::fstatfs, EIO},
      {FaultyCall::faccessat, EIO},
      {FaultyCall::realpath, EIO},
      {FaultyCall::realpath, ENOMEM},
      {FaultyCall::readlinkat, EIO},
      {FaultyCall::opendir, EMFILE},
      {FaultyCall::fdopendir, ENOMEM},
      {FaultyCall::readdir, EIO},
      {FaultyCall::mkdir, ENOSPC},
      {FaultyCall::mkdirat, ENOSPC},
      {FaultyCall::symlink, ENOSPC},
      {FaultyCall::symlinkat, ENOSPC},
      {FaultyCall::linkat, ENOSPC},
      {FaultyCall::renameat2, EIO},
      {FaultyCall::renameat2, ENOSPC},
      {FaultyCall::unlink, EIO},
      {FaultyCall::unlinkat, EIO},
      {FaultyCall::chmod, EIO},
      {FaultyCall::fchmod, EIO},
      {FaultyCall::fchmodat, EIO},
      {FaultyCall::fchown, EIO},
      {FaultyCall::fchownat, EIO},
      {FaultyCall::futimens, EIO},
      {FaultyCall::utimensat, EIO},
      {FaultyCall::fsetxattr, ENOSPC},
      {FaultyCall::fgetxattr, EIO},
      {FaultyCall::flistxattr, EIO},
      {FaultyCall::lsetxattr, ENOSPC},
      {FaultyCall::lgetxattr, EIO},
      {FaultyCall::llistxattr, EIO},
      {FaultyCall::pipe2, EMFILE},
      {FaultyCall::fcntl, ENOLCK},
      {FaultyCall::flock, ENOLCK},
      {FaultyCall::ioctl, EIO},
  };
}

/// Calls that the system may answer with fewer bytes than were asked for.
inline std::vector<FaultyCall> movingCalls() {
  return {FaultyCall::read,   FaultyCall::write,           FaultyCall::pread,
          FaultyCall::pwrite, FaultyCall::copy_file_range, FaultyCall::splice};
}

/// Calls that a signal may interrupt.
inline std::vector<FaultyCall> interruptibleCalls() {
  return {FaultyCall::open,      FaultyCall::openat,          FaultyCall::read,
          FaultyCall::write,     FaultyCall::pread,           FaultyCall::pwrite,
          FaultyCall::fdatasync, FaultyCall::fsync,           FaultyCall::splice,
          FaultyCall::fallocate, FaultyCall::copy_file_range, FaultyCall::ftruncate};
}

inline std::set<FaultyCall> everyFileCall() {
  std::set<FaultyCall> calls;
  for (const FileFault& fault : fileFaults()) calls.insert(fault.call);
  return calls;
}

/// The calls of an operation that a fault met.
using MetCalls = std::set<std::string>;

/// Which calls `attempt` makes when nothing fails: no other one can be the first to fail.
template <typename Attempt>
std::set<FaultyCall> callsOf(Attempt attempt) {
  std::map<FaultyCall, std::unique_ptr<ArmedFault>> counters;
  for (const FaultyCall call : everyFileCall()) {
    counters[call] = std::make_unique<ArmedFault>(call, std::numeric_limits<int>::max(), Fault{},
                                                  FaultyThreads::all);
  }
  attempt();
  std::set<FaultyCall> made;
  for (const auto& [call, counter] : counters) {
    if (counter->calls() > 0) made.insert(call);
  }
  return made;
}

/// Lets each call of the table fail that `attempt` makes, one in each run. Behind each run `check`
/// gets the fault that was met, null for none. Answers which calls were met.
template <typename Attempt, typename Check>
MetCalls walkFileFaults(Attempt attempt, Check check) {
  MetCalls met;
  const auto made = callsOf(attempt);
  check(nullptr);
  for (const FileFault& fault : fileFaults()) {
    if (!made.contains(fault.call)) continue;
    SCOPED_TRACE(fault.text());
    const int times = walkFaults(fault.call, Fault::failing(fault.error), FaultyThreads::all,
                                 attempt, [&](bool isMet) { check(isMet ? &fault : nullptr); });
    if (times > 0) met.insert(nameOf(fault.call));
  }
  return met;
}

/// Lets each call be short, then interrupted, in each run one. Nothing of it may be seen.
template <typename Attempt, typename Check>
MetCalls walkHarmlessFaults(Attempt attempt, Check check) {
  MetCalls met;
  const auto made = callsOf(attempt);
  check();
  const auto walk = [&](FaultyCall call, Fault fault) {
    if (!made.contains(call)) return;
    SCOPED_TRACE(std::string(nameOf(call)) + (fault.isShort ? " is short" : " is interrupted"));
    const int times = walkFaults(call, fault, FaultyThreads::all, attempt, [&](bool) { check(); });
    if (times > 0) met.insert(nameOf(call));
  };
  for (const FaultyCall call : movingCalls()) walk(call, Fault::shortened());
  for (const FaultyCall call : interruptibleCalls()) walk(call, Fault::interrupted());
  return met;
}

}  // namespace kestova::testing
