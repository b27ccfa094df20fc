// SPDX-License-Identifier: Apache-2.0
#include "files/TransferEndpoints.h"
#include "files/FileSystemCalls.h"

#include <fcntl.h>
#include <sys/vfs.h>

#include <cerrno>

#include "files/ItemIdentity.h"
#include "files/PathText.h"
#include "files/StatusForErrno.h"
#include "files/TransferRequest.h"

namespace kestova {
namespace {

constexpr int kLocateFolder = O_PATH | O_DIRECTORY | O_CLOEXEC;

bool hasZero(const std::string& text) { return text.find('\0') != std::string::npos; }

bool isPlainName(const std::string& name) {
  return !name.empty() && !isSelfOrParent(name) && name.find('/') == std::string::npos &&
         !hasZero(name);
}

bool fits(const std::string& name, int folder) {
  struct statfs volume {};
  return ::fstatfs(folder, &volume) != 0 || volume.f_namelen <= 0 ||
         name.size() <= static_cast<std::size_t>(volume.f_namelen);
}

/// Whether `folder` is the folder `ancestor` or lies below it, by walking up to the root.
bool isWithin(int folder, const struct stat& ancestor) {
  FileDescriptor above(openExisting(folder, ".", kLocateFolder));
  struct stat previous {};
  for (struct stat facts{}; above && ::fstat(above.get(), &facts) == 0; previous = facts) {
    if (isSameItem(facts, ancestor)) return true;
    if (isSameItem(facts, previous)) return false;
    above = FileDescriptor(openExisting(above.get(), "..", kLocateFolder));
  }
  return false;
}

}  // namespace

OSStatus TransferEndpoints::open(const TransferRequest& request) {
  if (!isPlainName(request.name) || request.source.empty() || hasZero(request.source) ||
      hasZero(request.destinationFolder)) {
    return paramErr;
  }
  name = request.name;
  sourcePath = withoutTrailingSlashes(request.source);
  if (const int error = locateSource()) return statusForErrno(error == ENOTDIR ? ENOENT : error);
  if (const int error = locateDestination(request.destinationFolder)) {
    return statusForErrno(error == ENOENT ? ENOTDIR : error);
  }
  if (!fits(name, destination.get())) return bdNamErr;
  return goesIntoItself(request.has(kTransferOverwrite)) ? badMovErr : noErr;
}

int TransferEndpoints::locateSource() {
  const std::size_t slash = sourcePath.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : sourcePath.substr(0, slash + 1);
  sourceName = slash == std::string::npos ? sourcePath : sourcePath.substr(slash + 1);
  if (sourceName.empty()) sourceName.push_back('.');
  sourceFolder = FileDescriptor(openExisting(AT_FDCWD, folder.c_str(), kLocateFolder));
  if (!sourceFolder) return errno;
  const int found = ::fstatat(sourceFolder.get(), sourceName.c_str(), &source, AT_SYMLINK_NOFOLLOW);
  return found == 0 ? 0 : errno;
}

int TransferEndpoints::locateDestination(const std::string& path) {
  destination = FileDescriptor(openExisting(AT_FDCWD, path.c_str(), kLocateFolder));
  return destination ? 0 : errno;
}

bool TransferEndpoints::goesIntoItself(bool overwrites) const {
  if (S_ISDIR(source.st_mode) && isWithin(destination.get(), source)) return true;
  struct stat replaced {};
  return overwrites && existing(replaced) && S_ISDIR(replaced.st_mode) &&
         isWithin(sourceFolder.get(), replaced);
}

bool TransferEndpoints::existing(struct stat& facts) const {
  return ::fstatat(destination.get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace kestova
