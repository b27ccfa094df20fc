// SPDX-License-Identifier: Apache-2.0
#include "files/ItemRenaming.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "files/FileSystemCalls.h"

namespace kestova {
namespace {

int renameEntry(const FolderEntry& from, const FolderEntry& to, unsigned flags) {
  const int result = FileSystemCalls::current().renameat2(from.folder, from.name.c_str(), to.folder,
                                                          to.name.c_str(), flags);
  return result == 0 ? 0 : errno;
}

bool isUnsupported(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

bool exists(const FolderEntry& entry, struct stat& facts) {
  return ::fstatat(entry.folder, entry.name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0;
}

bool isFolder(const FolderEntry& entry) {
  struct stat facts {};
  return exists(entry, facts) && S_ISDIR(facts.st_mode);
}

int renameByLinking(const FolderEntry& from, const FolderEntry& to) {
  FileSystemCalls& calls = FileSystemCalls::current();
  if (calls.linkat(from.folder, from.name.c_str(), to.folder, to.name.c_str()) != 0) return errno;
  return calls.unlinkat(from.folder, from.name.c_str(), 0) == 0 ? 0 : errno;
}

int renameAfterLooking(const FolderEntry& from, const FolderEntry& to) {
  struct stat facts {};
  return exists(to, facts) ? EEXIST : renameEntry(from, to, 0);
}

int exchangeByThreeRenames(const FolderEntry& from, const FolderEntry& to) {
  const std::string asideName = to.name + ".kestova-old-" + randomHexDigits();
  const FolderEntry aside{to.folder, asideName};
  if (const int error = renameEntry(to, aside, 0)) return error;
  if (const int error = renameEntry(from, to, 0)) {
    renameEntry(aside, to, 0);
    return error;
  }
  return renameEntry(aside, from, 0);
}

}  // namespace

int renameToNew(const FolderEntry& from, const FolderEntry& to) {
  const int error = renameEntry(from, to, RENAME_NOREPLACE);
  if (!isUnsupported(error)) return error;
  if (isFolder(from)) return renameAfterLooking(from, to);
  const int linked = renameByLinking(from, to);
  const bool cannotLink = linked == EPERM || linked == EMLINK || isUnsupported(linked);
  return cannotLink ? renameAfterLooking(from, to) : linked;
}

int renameReplacing(const FolderEntry& from, const FolderEntry& to) {
  if (!isFolder(from) && !isFolder(to)) return renameEntry(from, to, 0);
  const int error = renameEntry(from, to, RENAME_EXCHANGE);
  return isUnsupported(error) ? exchangeByThreeRenames(from, to) : error;
}

std::string randomHexDigits() {
  std::uint64_t number = 0;
  // Cannot fail once the system has started: the answer to so few bytes is neither short nor
  // interrupted.
  [[maybe_unused]] const ssize_t size = ::getrandom(&number, sizeof number, 0);
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016" PRIx64, number);
  return digits;
}

}  // namespace kestova
