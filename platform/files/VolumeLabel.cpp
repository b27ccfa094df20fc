// SPDX-License-Identifier: Apache-2.0
#include "files/VolumeLabel.h"
#include "files/FileSystemCalls.h"

#include "files/FileDescriptor.h"
#include "values/HexDigit.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <systemd/sd-device.h>

#include <array>
#include <memory>

namespace kestova {
namespace {

/// Whether the folder is that of the mount, and not of another one on top of it.
bool belongsTo(const FileDescriptor& folder, const Mount& mount) {
  struct statx facts;
  return statx(folder.get(), "", AT_EMPTY_PATH, STATX_MNT_ID, &facts) == 0 &&
         facts.stx_mnt_id == mount.identifier;
}

constexpr unsigned kNoHexByte = 256;

/// The byte that two digits spell, or kNoHexByte.
unsigned hexByteOf(char first, char second) {
  const unsigned high = hexValueOf(static_cast<unsigned char>(first));
  const unsigned low = hexValueOf(static_cast<unsigned char>(second));
  return high == kNoHexDigit || low == kNoHexDigit ? kNoHexByte : high * 16 + low;
}

std::string labelByFileSystem(const Mount& mount) {
  const FileDescriptor folder(
      openExisting(AT_FDCWD, mount.place.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
  std::array<char, FSLABEL_MAX + 1> label{};
  const bool isTold = folder && belongsTo(folder, mount) &&
                      ioctl(folder.get(), FS_IOC_GETFSLABEL, label.data()) == 0;
  return isTold ? std::string(label.data()) : std::string();
}

std::string labelByDevice(dev_t device) {
  sd_device* known = nullptr;
  if (sd_device_new_from_devnum(&known, 'b', device) < 0) {
    return {};
  }
  const std::unique_ptr<sd_device, decltype(&sd_device_unref)> owner(known, &sd_device_unref);
  const char* label = nullptr;
  const bool isTold = sd_device_get_property_value(known, "ID_FS_LABEL_ENC", &label) >= 0;
  return isTold ? unescapedLabel(label) : std::string();
}

}  // namespace

std::string unescapedLabel(std::string_view text) {
  std::string label;
  while (!text.empty()) {
    const bool isEscape =
        text.size() >= 4 && text.starts_with("\\x") && hexByteOf(text[2], text[3]) != kNoHexByte;
    label.push_back(isEscape ? static_cast<char>(hexByteOf(text[2], text[3])) : text[0]);
    text.remove_prefix(isEscape ? 4 : 1);
  }
  return label;
}

std::string volumeLabel(const Mount& mount) {
  std::string label = labelByFileSystem(mount);
  return label.empty() ? labelByDevice(mount.device) : label;
}

}  // namespace kestova
