// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace kestova::testing {

/// A file system of a given kind in an image file of its own, mounted on a folder that it makes;
/// both go at the end. Only root can have one, and only where the kernel and the `mkfs` of that
/// kind are there: ask `isMounted`.
class MountedImage {
 public:
  /// `kind` as for mount, such as "btrfs"; `size` as for truncate, such as "128M"; `options` as for
  /// the `mkfs` of that kind. The image stands beside the folder.
  MountedImage(std::string path, const std::string& kind, const std::string& size,
               const std::string& options = "")
      : path_(std::move(path)), image_(path_ + ".image") {
    ::mkdir(path_.c_str(), 0755);
    mounted_ = run("truncate -s " + size + " '" + image_ + "'") &&
               run("mkfs." + kind + " " + options + " '" + image_ + "'") &&
               run("mount -o loop -t " + kind + " '" + image_ + "' '" + path_ + "'");
  }
  MountedImage(const MountedImage&) = delete;
  MountedImage& operator=(const MountedImage&) = delete;
  ~MountedImage() {
    if (mounted_) ::umount2(path_.c_str(), MNT_DETACH);
    ::rmdir(path_.c_str());
    ::unlink(image_.c_str());
  }

  bool isMounted() const { return mounted_; }
  std::string at(const std::string& name) const { return path_ + "/" + name; }

 private:
  static bool run(const std::string& command) {
    return std::system((command + " > /dev/null 2>&1").c_str()) == 0;
  }

  const std::string path_;
  const std::string image_;
  bool mounted_ = false;
};

}  // namespace kestova::testing
