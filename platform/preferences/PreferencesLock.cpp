// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesLock.h"

#include "files/FileSystemCalls.h"
#include "preferences/PreferencesFault.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <thread>

namespace kestova {
namespace {

using Time = std::chrono::steady_clock;

constexpr std::chrono::microseconds kShortestNap{50};
constexpr std::chrono::microseconds kLongestNap{1000};

/// Whether the file is still the one of that name: somebody may have deleted it all the same.
bool isNamed(int folder, const std::string& name, int file) {
  struct stat named {};
  struct stat opened {};
  return ::fstatat(folder, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         ::fstat(file, &opened) == 0 && named.st_ino == opened.st_ino &&
         named.st_dev == opened.st_dev;
}

/// Whether it got the lock before that time. The kernel's own wait has no end.
bool lockUntil(Time::time_point end, int file) {
  for (auto nap = kShortestNap;; nap = std::min(2 * nap, kLongestNap)) {
    if (uninterrupted([&] { return ::flock(file, LOCK_EX | LOCK_NB); }) == 0) {
      return true;
    }
    if (errno != EWOULDBLOCK) {
      throw systemFault("the file cannot be locked", errno);
    }
    if (Time::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(nap);
  }
}

}  // namespace

PreferencesLock::PreferencesLock(const PreferencesFolder& folder, int openFolder,
                                 const std::string& name, std::chrono::milliseconds patience) {
  const auto end = Time::now() + patience;
  do {
    file_ = folder.openFile(openFolder, name, O_RDWR | O_CREAT);
    if (!lockUntil(end, file_.get())) {
      throw PreferencesFault{"another process keeps them locked"};
    }
  } while (!isNamed(openFolder, name, file_.get()));
}

/// Unlocked by hand: a child that was forked meanwhile shares the lock, and would keep it.
PreferencesLock::~PreferencesLock() {
  if (file_) {
    ::flock(file_.get(), LOCK_UN);
  }
}

}  // namespace kestova
