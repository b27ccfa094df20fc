// SPDX-License-Identifier: Apache-2.0
#include "files/FileMetadata.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace kestova {
namespace {

constexpr mode_t kModeBits = 07777;
constexpr std::size_t kFirstListBytes = 1024;
constexpr std::size_t kLargestAttribute = 64 * 1024;  // the kernel's limit for lists and for values

bool isAccessList(std::string_view name) { return name.starts_with("system.posix_acl_"); }

bool isSystemAttribute(std::string_view name) {
  return name.starts_with("security.") || name.starts_with("trusted.") ||
         name.starts_with("system.");
}

}  // namespace

/// The attribute calls on an item. One without a descriptor is reached through the folder's entry
/// in /proc, which unlike a path has no length limit and cannot be exchanged on the way.
struct FileMetadata::Attributed {
  explicit Attributed(const FileItem& item) : descriptor(item.descriptor) {
    if (descriptor < 0) {
      path = "/proc/self/fd/" + std::to_string(item.folder) + "/" + item.name;
    }
  }

  ssize_t list(char* names, std::size_t size) const {
    return descriptor >= 0 ? ::flistxattr(descriptor, names, size)
                           : ::llistxattr(path.c_str(), names, size);
  }
  ssize_t get(const char* name, void* value, std::size_t size) const {
    return descriptor >= 0 ? ::fgetxattr(descriptor, name, value, size)
                           : ::lgetxattr(path.c_str(), name, value, size);
  }
  int set(const char* name, const void* value, std::size_t size) const {
    return descriptor >= 0 ? ::fsetxattr(descriptor, name, value, size, 0)
                           : ::lsetxattr(path.c_str(), name, value, size, 0);
  }

  int descriptor;
  std::string path;
};

FileMetadata::FileMetadata() : privileged_(::geteuid() == 0) {}

mode_t FileMetadata::modeForCreation(const struct stat& facts) const {
  const mode_t permissions = facts.st_mode & 0777;
  return privileged_ ? permissions : permissions | S_IWUSR;
}

int FileMetadata::copy(const FileItem& source, const FileItem& target, const struct stat& facts,
                       const CreatedFacts& created) {
  mode_t mode = facts.st_mode & kModeBits;
  if (const int error = copyOwner(target, facts, created, mode)) return error;
  // Only files and folders carry what an ordinary user may set.
  if (privileged_ || S_ISREG(facts.st_mode) || S_ISDIR(facts.st_mode)) {
    if (const int error = readNames(source)) return error;
  } else {
    names_.clear();
  }
  if (const int error = copyAttributes(source, target, Pass::beforeMode)) return error;
  if (!S_ISLNK(facts.st_mode)) {
    if (const int error = copyMode(target, mode, created)) return error;
  }
  if (const int error = copyAttributes(source, target, Pass::afterMode)) return error;
  return copyTimes(target, facts);
}

int FileMetadata::copyOwner(const FileItem& target, const struct stat& facts,
                            const CreatedFacts& created, mode_t& mode) const {
  const bool sameUser = facts.st_uid == created.user;
  const bool sameGroup = facts.st_gid == created.group;
  if (sameUser && sameGroup) return 0;
  const uid_t user = privileged_ ? facts.st_uid : static_cast<uid_t>(-1);
  const int result = target.descriptor >= 0 ? ::fchown(target.descriptor, user, facts.st_gid)
                                            : ::fchownat(target.folder, target.name, user,
                                                         facts.st_gid, AT_SYMLINK_NOFOLLOW);
  if (result != 0 && errno != EPERM && errno != EINVAL && errno != EOPNOTSUPP) return errno;
  if (!sameUser && (result != 0 || !privileged_)) mode &= ~static_cast<mode_t>(S_ISUID);
  if (!sameGroup && result != 0) mode &= ~static_cast<mode_t>(S_ISGID);
  return 0;
}

int FileMetadata::copyMode(const FileItem& target, mode_t mode, const CreatedFacts& created) const {
  if (mode == created.mode) return 0;
  // There is no way to change the mode of an entry without following links; but a link cannot be
  // met here, as the target lies in a private folder and was just made.
  const int result = target.descriptor >= 0 ? ::fchmod(target.descriptor, mode)
                                            : ::fchmodat(target.folder, target.name, mode, 0);
  return result == 0 ? 0 : errno;
}

int FileMetadata::copyTimes(const FileItem& target, const struct stat& facts) const {
  const struct timespec times[2] = {facts.st_atim, facts.st_mtim};
  const int result = target.descriptor >= 0
                         ? ::futimens(target.descriptor, times)
                         : ::utimensat(target.folder, target.name, times, AT_SYMLINK_NOFOLLOW);
  return result == 0 ? 0 : errno;
}

int FileMetadata::readNames(const FileItem& source) {
  const Attributed attributed(source);
  names_.resize(kFirstListBytes);
  ssize_t size = attributed.list(names_.data(), names_.size());
  if (size < 0 && errno == ERANGE) {
    names_.resize(kLargestAttribute);
    size = attributed.list(names_.data(), names_.size());
  }
  names_.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return size >= 0 || errno == EOPNOTSUPP || errno == ENOSYS ? 0 : errno;
}

int FileMetadata::copyAttributes(const FileItem& source, const FileItem& target, Pass pass) {
  if (names_.empty()) return 0;
  const Attributed from(source);
  const Attributed to(target);
  for (const char* name = names_.data(); name < names_.data() + names_.size();
       name += std::strlen(name) + 1) {
    if (isAccessList(name) != (pass == Pass::afterMode)) continue;
    if (const int error = copyAttribute(from, to, name)) return error;
  }
  return 0;
}

int FileMetadata::copyAttribute(const Attributed& source, const Attributed& target,
                                const char* name) {
  value_.resize(kLargestAttribute);
  const ssize_t size = source.get(name, value_.data(), value_.size());
  const bool vanished = size < 0 && errno == ENODATA;
  if (vanished) return 0;
  if (size >= 0 && target.set(name, value_.data(), static_cast<std::size_t>(size)) == 0) return 0;
  return mayIgnore(errno, name) ? 0 : errno;
}

bool FileMetadata::mayIgnore(int error, const char* name) const {
  if (error == EOPNOTSUPP || error == ENOSYS) return true;
  return !privileged_ && (error == EPERM || error == EACCES) && isSystemAttribute(name);
}

}  // namespace kestova
