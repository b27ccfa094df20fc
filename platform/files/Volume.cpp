// SPDX-License-Identifier: Apache-2.0
#include "files/Volume.h"

#include "files/PathText.h"
#include "files/VolumeLabel.h"
#include "values/SystemRelease.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

namespace kestova {
namespace {

bool isMountedByItself(const struct statx& item) {
  return (item.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

std::string computerName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  return gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0' ? name.data() : "/";
}

}  // namespace

int Volume::find(const struct statx& item, Volume& volume) {
  if ((item.stx_mask & STATX_MNT_ID) == 0) {
    return ENOSYS;  // a kernel before 5.8
  }
  std::string table;
  if (readMountTable(table) != 0) {
    return EIO;  // which never looks as if the item were missing
  }
  auto mount = mountIn(table, item.stx_mnt_id);
  if (mount && !S_ISDIR(item.stx_mode) && isMountedByItself(item)) {
    mount = mountIn(table, mount->parent);
  }
  volume.mount_ = mount ? *mount : Mount{item.stx_mnt_id, 0, 0, "/"};
  return 0;
}

std::string Volume::name() const {
  if (root() == "/") {
    const auto system = systemNameIn(systemRelease());
    return system ? *system : computerName();
  }
  const std::string label = volumeLabel(mount_);
  return label.empty() ? root().substr(root().rfind('/') + 1) : label;
}

bool isVolumeRoot(const std::string& path, const struct statx& item) {
  return S_ISDIR(item.stx_mode) && (isMountedByItself(item) || withoutTrailingSlashes(path) == "/");
}

}  // namespace kestova
