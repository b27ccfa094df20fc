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

/// 0 with what the entry is, ENOENT when it isn't there, or what keeps that from being known.
int look(const FolderEntry& entry, struct stat& facts) {
  const int found = ::fstatat(entry.folder, entry.name.c_str(), &facts, AT_SYMLINK_NOFOLLOW);
  return found == 0 ? 0 : errno;
}

int renameByLinking(const FolderEntry& from, const FolderEntry& to) {
  FileSystemCalls& calls = FileSystemCalls::current();
  if (calls.linkat(from.folder, from.name.c_str(), to.folder, to.name.c_str()) != 0) return errno;
  // A name that somebody else has removed is gone as well, and the new one may be the only one.
  if (calls.unlinkat(from.folder, from.name.c_str(), 0) == 0 || errno == ENOENT) return 0;
  const int error = errno;
  calls.unlinkat(to.folder, to.name.c_str(), 0);
  return error;
}

int renameAfterLooking(const FolderEntry& from, const FolderEntry& to) {
  struct stat facts {};
  const int error = look(to, facts);
  if (error == ENOENT) return renameEntry(from, to, 0);
  return error == 0 ? EEXIST : error;
}

int exchangeByThreeRenames(const FolderEntry& from, const FolderEntry& to) {
  const std::string asideName = to.name + ".kestova-old-" + randomHexDigits();
  const FolderEntry aside{to.folder, asideName};
  if (const int error = renameEntry(to, aside, 0)) return error;
  if (const int error = renameEntry(from, to, 0)) {
    renameEntry(aside, to, 0);
    return error;
  }
  const int error = renameEntry(aside, from, 0);
  if (error != 0 && renameEntry(to, from, 0) == 0) renameEntry(aside, to, 0);
  return error;
}

}  // namespace

int renameToNew(const FolderEntry& from, const FolderEntry& to) {
  const int error = renameEntry(from, to, RENAME_NOREPLACE);
  if (!isUnsupported(error)) return error;
  struct stat facts {};
  if (const int unknown = look(from, facts)) return unknown;
  if (S_ISDIR(facts.st_mode)) return renameAfterLooking(from, to);
  const int linked = renameByLinking(from, to);
  const bool cannotLink = linked == EPERM || linked == EMLINK || isUnsupported(linked);
  return cannotLink ? renameAfterLooking(from, to) : linked;
}

int renameReplacing(const FolderEntry& from, const FolderEntry& to) {
  struct stat source {};
  struct stat replaced {};
  if (const int unknown = look(from, source)) return unknown;
  if (const int unknown = look(to, replaced); unknown != 0 && unknown != ENOENT) return unknown;
  if (!S_ISDIR(source.st_mode) && !S_ISDIR(replaced.st_mode)) return renameEntry(from, to, 0);
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
