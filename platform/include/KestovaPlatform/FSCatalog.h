// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/FSRef.h>
#include <KestovaPlatform/MacErrors.h>
#include <KestovaPlatform/NSObject.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kestova {

class CatalogListing;

/// Set in `FSCatalogInfo::nodeFlags` of a folder.
inline constexpr std::uint16_t kFSNodeIsDirectoryMask = 0x0010;

/// What the file system knows of an item. Sizes are in bytes; those of a folder are 0, and so are
/// those of the resource fork, which no file has here. A symbolic link is measured itself.
struct FSCatalogInfo {
  std::uint16_t nodeFlags = 0;
  std::uint64_t dataLogicalSize = 0;   ///< how long the contents are
  std::uint64_t dataPhysicalSize = 0;  ///< how much of the volume is allocated to them
  std::uint64_t rsrcLogicalSize = 0;
  std::uint64_t rsrcPhysicalSize = 0;
};

/// What an iterator goes through.
enum FSIteratorFlags : std::uint32_t {
  kFSIterateFlat = 0,  ///< the items in a folder, not what is in these
};

/// A folder that is being gone through, behind the functions below.
///
///     FSIterator iterator;
///     if (FSOpenIterator({"/usr/share"}, kFSIterateFlat, &iterator) == noErr) {
///       std::array<FSCatalogInfo, 256> items;
///       std::size_t count = 0;
///       for (OSStatus status = noErr; status == noErr;) {
///         status = FSGetCatalogInfoBulk(iterator, items.size(), &count, items.data(), nullptr);
///         use(std::span(items).first(count));
///       }
///       FSCloseIterator(iterator);
///     }
///
/// The open folder is what counts: it may be moved meanwhile. Each item that stays in the folder is
/// met once; "." and ".." are none.
///
/// Threads: one at a time uses an iterator. One that goes is closed.
class KESTOVA_PLATFORM_EXPORT FSCatalogIterator : public NSObject {
  KESTOVA_CLASS(FSCatalogIterator, NSObject)

 protected:
  explicit FSCatalogIterator(std::unique_ptr<CatalogListing> listing);
  ~FSCatalogIterator() override;

 private:
  friend struct FSCatalogIteratorAccess;

  std::unique_ptr<CatalogListing> listing_;  // null once closed
};

using FSIterator = Ref<FSCatalogIterator>;

/// Opens a folder to go through it. Answers 0; −1407 (errFSNotAFolder) for another item, a symbolic
/// link included; −43 (fnfErr) where there is nothing, −5000 (afpAccessDenied) for a folder that
/// may not be read. `iterator`, which is required, is left alone then.
KESTOVA_PLATFORM_EXPORT OSStatus FSOpenIterator(const FSRef& container, FSIteratorFlags flags,
                                                FSIterator* iterator);

/// Stores what is known of the next items, at most `maximum` (1 and more), and references to them,
/// each where its place is not null; `count`, which is required, is set to how many. Answers 0 when
/// there may be more, −1417 (errFSNoMoreItems) with the last ones, which may be none, and any other
/// status without an item. An item that is gone when it is looked at is left out. −50 (paramErr)
/// for a closed or null iterator.
KESTOVA_PLATFORM_EXPORT OSStatus FSGetCatalogInfoBulk(const FSIterator& iterator,
                                                      std::size_t maximum, std::size_t* count,
                                                      FSCatalogInfo* infos, FSRef* items);

/// Adds up the sizes of everything beneath an iterator's folder, wherever the iterator stands and
/// however deep the tree is. Symbolic links are not followed; each name of a file counts.
///
/// Answers 0, or the status of a folder that could not be read; `sums` then holds the sizes of all
/// the others. What goes away meanwhile is no failure.
///
/// Cost: one system call an item and four a folder, on two threads; the memory that is used does
/// not grow with the number of items.
KESTOVA_PLATFORM_EXPORT OSStatus FSGetSubtreeInfo(const FSIterator& iterator, FSCatalogInfo* sums);

/// Stores what is known of one item. Answers 0, or −43 (fnfErr) and the like when it can't be
/// looked at; `info` is left alone then.
KESTOVA_PLATFORM_EXPORT OSStatus FSGetCatalogInfo(const FSRef& item, FSCatalogInfo* info);

/// Closes the folder. Answers 0, or −50 (paramErr) for an iterator that is null or closed already.
KESTOVA_PLATFORM_EXPORT OSStatus FSCloseIterator(const FSIterator& iterator);

}  // namespace kestova
