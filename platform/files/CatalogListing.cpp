// SPDX-License-Identifier: Apache-2.0
#include "files/CatalogListing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "files/FileSystemCalls.h"
#include "files/PathText.h"

namespace kestova {
namespace {

constexpr std::size_t kBatchBytes = std::size_t{32} << 10;

/// What the kernel counts blocks in, whatever those of the file system are.
constexpr std::uint64_t kBlockSize = 512;

}  // namespace

int readCatalogInfo(int folder, const char* name, FSCatalogInfo& info) {
  struct statx facts {};
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
  if (::statx(folder, name, flags, STATX_TYPE | STATX_SIZE | STATX_BLOCKS, &facts) != 0) {
    return errno;
  }
  info = {};
  if (S_ISDIR(facts.stx_mode)) {
    info.nodeFlags = kFSNodeIsDirectoryMask;
  } else {
    info.dataLogicalSize = facts.stx_size;
    info.dataPhysicalSize = facts.stx_blocks * kBlockSize;
  }
  return 0;
}

bool hasVanished(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

CatalogListing::CatalogListing(FileDescriptor folder, std::string path)
    : folder_(std::move(folder)), path_(withTrailingSlash(std::move(path))), batch_(kBatchBytes) {}

const dirent64* CatalogListing::next(int& error) {
  error = 0;
  while (at_ < end_ || readBatch(error)) {
    const auto* entry = reinterpret_cast<const dirent64*>(batch_.data() + at_);
    at_ += entry->d_reclen;
    if (!isSelfOrParent(entry->d_name)) {
      return entry;
    }
  }
  return nullptr;
}

bool CatalogListing::readBatch(int& error) {
  const ssize_t size = uninterrupted([this] {
    return FileSystemCalls::current().getdents64(folder_.get(), batch_.data(), batch_.size());
  });
  // A folder that was removed while it is open has no more items.
  error = size < 0 && errno != ENOENT ? errno : 0;
  at_ = 0;
  end_ = size > 0 ? static_cast<std::size_t>(size) : 0;
  return end_ > 0;
}

}  // namespace kestova
