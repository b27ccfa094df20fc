// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/FSCatalog.h>

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "files/CatalogListing.h"
#include "files/FileSystemCalls.h"
#include "files/StatusForErrno.h"
#include "files/SubtreeSizes.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(FSCatalogIterator)

FSCatalogIterator::FSCatalogIterator(std::unique_ptr<CatalogListing> listing)
    : listing_(std::move(listing)) {}

FSCatalogIterator::~FSCatalogIterator() = default;

/// How the functions reach an iterator's listing.
struct FSCatalogIteratorAccess {
  static CatalogListing* listingOf(const FSIterator& iterator) {
    return iterator ? iterator->listing_.get() : nullptr;
  }
  static void close(const FSIterator& iterator) { iterator->listing_.reset(); }
};

namespace {

using Access = FSCatalogIteratorAccess;

/// What an entry is, without a system call for a folder. 0 or the error number.
int infoOf(const CatalogListing& listing, const dirent64& entry, FSCatalogInfo& info) {
  if (entry.d_type == DT_DIR) {
    info = {};
    info.nodeFlags = kFSNodeIsDirectoryMask;
    return 0;
  }
  return readCatalogInfo(listing.folder(), entry.d_name, info);
}

}  // namespace

OSStatus FSOpenIterator(const FSRef& container, FSIteratorFlags, FSIterator* iterator) {
  FileDescriptor folder(openExisting(AT_FDCWD, container.path.c_str(),
                                     O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!folder) {
    return errno == ENOTDIR ? errFSNotAFolder : statusForErrno(errno);
  }
  *iterator =
      make<FSCatalogIterator>(std::make_unique<CatalogListing>(std::move(folder), container.path));
  return noErr;
}

OSStatus FSGetCatalogInfoBulk(const FSIterator& iterator, std::size_t maximum, std::size_t* count,
                              FSCatalogInfo* infos, FSRef* items) {
  *count = 0;
  CatalogListing* const listing = Access::listingOf(iterator);
  if (listing == nullptr || maximum == 0) {
    return paramErr;
  }
  std::size_t found = 0;
  int error = 0;
  for (const dirent64* entry = nullptr;
       found < maximum && (entry = listing->next(error)) != nullptr;) {
    FSCatalogInfo info;
    if (infoOf(*listing, *entry, info) != 0) {
      continue;
    }
    if (infos != nullptr) {
      infos[found] = info;
    }
    if (items != nullptr) {
      items[found].path = listing->pathOf(entry->d_name);
    }
    ++found;
  }
  if (error != 0) {
    return statusForErrno(error);
  }
  *count = found;
  return found == maximum ? noErr : errFSNoMoreItems;
}

OSStatus FSGetSubtreeInfo(const FSIterator& iterator, FSCatalogInfo* sums) {
  const CatalogListing* const listing = Access::listingOf(iterator);
  return listing == nullptr ? paramErr : statusForErrno(addUpSubtree(listing->folder(), *sums));
}

OSStatus FSGetCatalogInfo(const FSRef& item, FSCatalogInfo* info) {
  return statusForErrno(readCatalogInfo(AT_FDCWD, item.path.c_str(), *info));
}

OSStatus FSCloseIterator(const FSIterator& iterator) {
  if (Access::listingOf(iterator) == nullptr) {
    return paramErr;
  }
  Access::close(iterator);
  return noErr;
}

}  // namespace kestova
