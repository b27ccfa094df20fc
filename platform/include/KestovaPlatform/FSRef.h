// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>
#include <string>

namespace kestova {

class NSURL;

/// A reference to an item of the file system, which need not be there any more. A symbolic link is
/// an item of its own.
struct FSRef {
  /// The path's bytes; empty for no item.
  std::string path;
};

/// How a path is written.
enum CFURLPathStyle : std::int32_t {
  kCFURLPOSIXPathStyle = 0,  ///< names with "/" between
};

/// The URL of a path; relative ones are taken from the working folder at this moment. Null for a
/// null or empty path and for one that no file can have. Nothing needs to be there: `isDirectory`
/// says whether the URL is that of a folder.
KESTOVA_PLATFORM_EXPORT Ref<NSURL> CFURLCreateWithFileSystemPath(const Ref<NSString>& path,
                                                                 CFURLPathStyle style,
                                                                 bool isDirectory);

/// The URL of the item; null for no item.
KESTOVA_PLATFORM_EXPORT Ref<NSURL> CFURLCreateFromFSRef(const FSRef& item);

/// Stores a reference to what a file URL names in `item`, which is required. False, and `item` as
/// it was, when there is nothing there now, or for a null URL and one of no file.
KESTOVA_PLATFORM_EXPORT bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* item);

}  // namespace kestova
