// SPDX-License-Identifier: Apache-2.0
#include "files/StagingArea.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "files/FileSystemCalls.h"
#include "files/ItemIdentity.h"
#include "files/ItemRenaming.h"
#include "files/TreeRemover.h"

namespace kestova {
namespace {

constexpr std::string_view kPrefix = ".kestova-partial-";
constexpr std::size_t kDigits = 16;
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kAttempts = 100;
constexpr int kSwept = EAGAIN;  // a sweeper took the new folder for a leftover

bool isHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

bool lock(int folder) {
  return uninterrupted([&] { return ::flock(folder, LOCK_EX | LOCK_NB); }) == 0;
}

/// Whether the entry still is the open folder: a sweeper may have removed it before it was locked.
bool isStill(int parent, const std::string& name, const struct stat& facts) {
  struct stat now {};
  return ::fstatat(parent, name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 && isSameItem(now, facts);
}

void sweepOne(int parent, const std::string& name) {
  const FileDescriptor folder(openExisting(parent, name.c_str(), kOpenFolder));
  struct stat facts {};
  if (!folder || ::fstat(folder.get(), &facts) != 0 || facts.st_uid != ::geteuid()) return;
  if (lock(folder.get()) && isStill(parent, name, facts)) removeTree(parent, name);
}

std::vector<std::string> stagingNames(int folder) {
  std::vector<std::string> names;
  FileDescriptor copy(openExisting(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(copy ? ::fdopendir(copy.get()) : nullptr,
                                                    &::closedir);
  if (!listing) return names;
  copy.release();
  while (const dirent* entry = ::readdir(listing.get())) {
    if (StagingArea::isStagingName(entry->d_name)) names.emplace_back(entry->d_name);
  }
  return names;
}

}  // namespace

bool StagingArea::isStagingName(std::string_view name) {
  return name.size() == kPrefix.size() + kDigits && name.starts_with(kPrefix) &&
         std::all_of(name.begin() + kPrefix.size(), name.end(), isHexDigit);
}

void StagingArea::sweep(int folder) {
  for (const std::string& name : stagingNames(folder)) sweepOne(folder, name);
}

StagingArea::~StagingArea() {
  if (folder_) removeTree(destination_, name_);
}

int StagingArea::create(int destination) {
  destination_ = destination;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const int error = createOnce(std::string(kPrefix) + randomHexDigits());
    if (error != EEXIST && error != kSwept) return error;
  }
  return EBUSY;
}

// Made, opened, locked and looked at again: between the first and the last a sweeper can take it
// for a leftover, and then another is made.
int StagingArea::createOnce(const std::string& name) {
  if (::mkdirat(destination_, name.c_str(), 0700) != 0) return errno;
  const int error = take(name);
  if (error != 0) ::unlinkat(destination_, name.c_str(), AT_REMOVEDIR);
  return error;
}

int StagingArea::take(const std::string& name) {
  FileDescriptor folder(openExisting(destination_, name.c_str(), kOpenFolder));
  if (!folder) return errno == ENOENT ? kSwept : errno;
  if (::fstat(folder.get(), &facts_) != 0) return errno;
  // A file system without locks is never swept, and so needs none.
  if (!lock(folder.get()) && errno == EWOULDBLOCK) return kSwept;
  if (!isStill(destination_, name, facts_)) return kSwept;
  // What is built in here shall have the access lists of its source, not those of the destination.
  ::fremovexattr(folder.get(), "system.posix_acl_default");
  ::fremovexattr(folder.get(), "system.posix_acl_access");
  name_ = name;
  folder_ = std::move(folder);
  return 0;
}

int StagingArea::commit(const std::string& item, const std::string& name) {
  return renameToNew({folder(), item}, {destination_, name});
}

int StagingArea::commitReplacing(const std::string& item, const std::string& name) {
  return renameReplacing({folder(), item}, {destination_, name});
}

}  // namespace kestova
