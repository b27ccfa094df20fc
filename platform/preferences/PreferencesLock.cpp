// SPDX-License-Identifier: Apache-2.0
#include "preferences/PreferencesLock.h"

#include "files/FileSystemCalls.h"
#include "preferences/PreferencesFault.h"

#include <fcntl.h>

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

/// The bytes of the file that are locked, one behind the other: at most one process waits for the
/// second, and nobody else can take it then. So none that comes back at once overtakes it, however
/// late it wakes up.
constexpr off_t kTurn = 0;
constexpr off_t kWriting = 1;

int setLock(int file, short type, off_t byte) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return uninterrupted([&] { return ::fcntl(file, F_OFD_SETLK, &lock); });
}

/// Whether it got the lock before that time. The kernel's own wait has no end.
bool lockUntil(Time::time_point end, int file, off_t byte) {
  for (auto nap = kShortestNap;; nap = std::min(2 * nap, kLongestNap)) {
    if (setLock(file, F_WRLCK, byte) == 0) {
      return true;
    }
    if (errno != EAGAIN && errno != EACCES) {
      throw systemFault("the file cannot be locked", errno);
    }
    if (Time::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(nap);
  }
}

/// The same with the turn to wait for it, which is given up again whatever comes of it.
bool lockInTurn(Time::time_point end, int file) {
  if (!lockUntil(end, file, kTurn)) {
    return false;
  }
  const bool isLocked = lockUntil(end, file, kWriting);
  setLock(file, F_UNLCK, kTurn);
  return isLocked;
}

}  // namespace

PreferencesLock::PreferencesLock(const PreferencesFolder& folder, int openFolder,
                                 const std::string& name, std::chrono::milliseconds patience) {
  const auto end = Time::now() + patience;
  do {
    file_ = folder.openFile(openFolder, name, O_RDWR | O_CREAT);
    if (!lockInTurn(end, file_.get())) {
      throw PreferencesFault{"another process keeps them locked"};
    }
  } while (!isNamed(openFolder, name, file_.get()));
}

/// Unlocked by hand: a child that was forked meanwhile shares the lock, and would keep it.
PreferencesLock::~PreferencesLock() {
  if (file_) {
    setLock(file_.get(), F_UNLCK, kWriting);
  }
}

}  // namespace kestova
