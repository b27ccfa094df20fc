// SPDX-License-Identifier: Apache-2.0
#include "FileWatcher.h"

#include "FileFailure.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace kestova::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kChanges =
    IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;

/// Without "." and "..", and without a slash at its end.
fs::path plainPath(const std::string& path) {
  fs::path plain = fs::absolute(path).lexically_normal();
  return plain.has_filename() ? plain : plain.parent_path();
}

/// A file that somebody has begun to write: its end is what counts.
bool isUnfinished(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}

}  // namespace

FileWatcher::FileWatcher(const std::vector<std::string>& paths)
    : inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!inotify_) {
    throw FileFailure("inotify", errno);
  }
  for (const std::string& path : paths) {
    watch(path);
  }
}

void FileWatcher::watch(const std::string& path) {
  const fs::path plain = plainPath(path);
  if (plain.has_relative_path()) {
    watchName(plain.parent_path(), plain.filename());
  }
  std::error_code failed;
  const fs::path target = fs::canonical(plain, failed);
  if (!failed && target != plain && target.has_relative_path()) {
    watchName(target.parent_path(), target.filename());
  }
  watchEntries(plain);
}

void FileWatcher::watchName(const std::string& folder, const std::string& name) {
  Folder* watched = folderAt(folder);
  if (watched == nullptr) {
    throw FileFailure(folder, errno);
  }
  watched->names.insert(name);
}

/// Answers whether there is such a folder, at this time.
bool FileWatcher::watchEntries(const std::string& path) {
  Folder* folder = folderAt(path);
  if (folder == nullptr) {
    return false;
  }
  folder->path = path;
  folder->isWatchedItself = true;
  return true;
}

/// A folder that is watched under another path already is that one. Null with the reason in `errno`
/// when there is no such folder.
FileWatcher::Folder* FileWatcher::folderAt(const std::string& path) {
  const int watch =
      inotify_add_watch(inotify_.number(), path.c_str(), kChanges | IN_MOVE_SELF | IN_ONLYDIR);
  return watch < 0 ? nullptr : &folders_.try_emplace(watch, Folder{path, {}, false}).first->second;
}

std::size_t FileWatcher::takeChanges() {
  std::size_t changes = 0;
  alignas(inotify_event) std::array<char, 65536> buffer{};
  for (ssize_t size = 0; (size = ::read(inotify_.number(), buffer.data(), buffer.size())) > 0;) {
    changes += takeChanges(std::span(buffer).first(static_cast<std::size_t>(size)));
  }
  return changes;
}

std::size_t FileWatcher::takeChanges(std::span<const char> events) {
  std::size_t changes = 0;
  while (events.size() >= sizeof(inotify_event)) {
    inotify_event event{};
    std::memcpy(&event, events.data(), sizeof event);
    const char* name = event.len > 0 ? events.data() + sizeof event : "";
    changes += take(event, name) ? 1 : 0;
    events = events.subspan(sizeof event + event.len);
  }
  return changes;
}

/// Answers whether it is a change. What was lost because there was too much of it is one.
bool FileWatcher::take(const inotify_event& event, const char* name) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    return true;
  }
  const auto found = folders_.find(event.wd);
  if (found == folders_.end()) {
    return false;
  }
  if ((event.mask & IN_IGNORED) != 0) {
    folders_.erase(found);
    return false;
  }
  if ((event.mask & IN_MOVE_SELF) != 0) {
    inotify_rm_watch(inotify_.number(), event.wd);
    return false;
  }
  const bool isNamed = found->second.names.contains(name);
  if (!isNamed && !found->second.isWatchedItself) {
    return false;
  }
  const std::string path = fs::path(found->second.path) / name;
  if (isNamed && (event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
    watchEntries(path);
  }
  return isChange(event, path);
}

bool FileWatcher::isChange(const inotify_event& event, const std::string& path) const {
  return (event.mask & kChanges) != 0 && !((event.mask & IN_CREATE) != 0 && isUnfinished(path));
}

}  // namespace kestova::tool
