// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Descriptor.h"

#include <cstddef>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

struct inotify_event;

namespace kestova::tool {

/// Tells that files change: that they are written and closed, replaced, renamed, made or removed.
/// Of a folder it tells the same about what lies in it, not about what lies deeper.
///
///     FileWatcher watcher({"notes.txt", "src"});
///     …                                            // when the descriptor is readable
///     changes += watcher.takeChanges();
///
/// Files are watched by name, so that one need not exist yet, may be replaced by another one and
/// may come again. The folder that it is to be in must exist.
class FileWatcher {
 public:
  /// Throws FileFailure where a file can't be watched.
  explicit FileWatcher(const std::vector<std::string>& paths);

  /// Readable when something has happened; non-blocking.
  int descriptor() const { return inotify_.number(); }

  /// How many changes there were since the last call. Several of one kind that follow each other
  /// may count as one.
  std::size_t takeChanges();

  /// Whether the folders are gone in which there was something to watch.
  bool isBlind() const { return folders_.empty(); }

 private:
  /// A folder that events come from.
  struct Folder {
    std::string path;
    /// What matters in it, unless everything does.
    std::set<std::string, std::less<>> names;
    bool isWatchedItself = false;
  };

  void watch(const std::string& path);
  void watchName(const std::string& folder, const std::string& name);
  bool watchEntries(const std::string& path);
  Folder* folderAt(const std::string& path);
  std::size_t takeChanges(std::span<const char> events);
  bool take(const inotify_event& event, const char* name);
  bool isChange(const inotify_event& event, const std::string& path) const;

  Descriptor inotify_;
  std::map<int, Folder> folders_;
};

}  // namespace kestova::tool
