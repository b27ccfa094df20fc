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

/// `badMovErr` when `folder` is the folder `ancestor` or lies below it, which is found out by
/// walking up to the root; the status of what keeps that from being found out.
OSStatus checkOutside(int folder, const struct stat& ancestor) {
  FileDescriptor above(openExisting(folder, ".", kLocateFolder));
  struct stat previous {};
  for (struct stat facts{}; above && ::fstat(above.get(), &facts) == 0; previous = facts) {
    if (isSameItem(facts, ancestor)) return badMovErr;
    if (isSameItem(facts, previous)) return noErr;
    above = FileDescriptor(openExisting(above.get(), "..", kLocateFolder));
  }
  return statusForErrno(errno);
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
  return checkNesting(request.has(kTransferOverwrite));
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

OSStatus TransferEndpoints::checkNesting(bool overwrites) const {
  if (S_ISDIR(source.st_mode)) {
    if (const OSStatus status = checkOutside(destination.get(), source)) return status;
  }
  if (!overwrites) return noErr;
  struct stat replaced {};
  const int error = findExisting(replaced);
  if (error == ENOENT) return noErr;
  if (error != 0) return statusForErrno(error);
  return S_ISDIR(replaced.st_mode) ? checkOutside(sourceFolder.get(), replaced) : noErr;
}

int TransferEndpoints::findExisting(struct stat& facts) const {
  const int found = ::fstatat(destination.get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW);
  return found == 0 ? 0 : errno;
}

}  // namespace kestova
