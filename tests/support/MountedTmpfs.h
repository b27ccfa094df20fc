// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace kestova::testing {

/// A file system of its own in memory, mounted on a folder that it makes; unmounted at the end.
/// Only root can have one: ask `isMounted`.
class MountedTmpfs {
 public:
  /// `options` as for mount, such as "size=1m".
  MountedTmpfs(std::string path, const std::string& options) : path_(std::move(path)) {
    ::mkdir(path_.c_str(), 0755);
    mounted_ = ::mount("tmpfs", path_.c_str(), "tmpfs", 0, options.c_str()) == 0;
  }
  MountedTmpfs(const MountedTmpfs&) = delete;
  MountedTmpfs& operator=(const MountedTmpfs&) = delete;
  ~MountedTmpfs() {
    if (mounted_) ::umount2(path_.c_str(), MNT_DETACH);
    ::rmdir(path_.c_str());
  }

  bool isMounted() const { return mounted_; }
  const std::string& path() const { return path_; }
  std::string at(const std::string& name) const { return path_ + "/" + name; }

  void makeReadOnly() const {
    ::mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr);
  }

 private:
  std::string path_;
  bool mounted_ = false;
};

}  // namespace kestova::testing
