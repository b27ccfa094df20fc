// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/FSRef.h>
#include <KestovaPlatform/NSURL.h>

#include <sys/stat.h>

#include <optional>
#include <utility>

#include "files/NativePath.h"

namespace kestova {
namespace {

std::optional<std::string> pathOf(const Ref<NSURL>& url) {
  return url && url->isFileURL() ? nativePath(url->path()) : std::nullopt;
}

}  // namespace

Ref<NSURL> CFURLCreateWithFileSystemPath(const Ref<NSString>& path, CFURLPathStyle,
                                         bool isDirectory) {
  return NSURL::fileURLWithPath_isDirectory(path, isDirectory);
}

Ref<NSURL> CFURLCreateFromFSRef(const FSRef& item) {
  if (item.path.empty()) {
    return nullptr;
  }
  return NSURL::fileURLWithPath(NSString::stringWithFileSystemRepresentation(item.path));
}

bool CFURLGetFSRef(const Ref<NSURL>& url, FSRef* item) {
  auto path = pathOf(url);
  struct stat facts {};
  if (!path || ::lstat(path->c_str(), &facts) != 0) {
    return false;
  }
  item->path = std::move(*path);
  return true;
}

}  // namespace kestova
