// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSURL.h>

#include "files/FileError.h"
#include "files/ItemFacts.h"
#include "files/NativePath.h"
#include "files/Volume.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace kestova {

constinit const StringConstant NSURLNameKey{"NSURLNameKey"};
constinit const StringConstant NSURLIsDirectoryKey{"NSURLIsDirectoryKey"};
constinit const StringConstant NSURLIsRegularFileKey{"NSURLIsRegularFileKey"};
constinit const StringConstant NSURLIsSymbolicLinkKey{"NSURLIsSymbolicLinkKey"};
constinit const StringConstant NSURLFileSizeKey{"NSURLFileSizeKey"};
constinit const StringConstant NSURLVolumeNameKey{"NSURLVolumeNameKey"};
constinit const StringConstant NSURLIsVolumeKey{"NSURLIsVolumeKey"};
constinit const StringConstant NSURLVolumeURLKey{"NSURLVolumeURLKey"};

namespace {

struct Item {
  const NSURL& url;
  std::string path;
  struct statx facts;
};

/// Finds a value; answers 0 or the error number. What an item has none of stays null.
using Finder = int (*)(const Item& item, id& value);

int findName(const Item& item, id& value) {
  value = item.url.lastPathComponent();
  return 0;
}

template <mode_t Kind>
int findWhetherOfKind(const Item& item, id& value) {
  value = (item.facts.stx_mode & S_IFMT) == Kind;
  return 0;
}

int findSize(const Item& item, id& value) {
  value = S_ISREG(item.facts.stx_mode) ? id(item.facts.stx_size) : id();
  return 0;
}

int findWhetherVolume(const Item& item, id& value) {
  value = isVolumeRoot(item.path, item.facts);
  return 0;
}

int findVolumeName(const Item& item, id& value) {
  Volume volume;
  const int error = Volume::find(item.facts, volume);
  value = error == 0 ? NSString::stringWithFileSystemRepresentation(volume.name()) : nullptr;
  return error;
}

int findVolumeURL(const Item& item, id& value) {
  Volume volume;
  const int error = Volume::find(item.facts, volume);
  value = error == 0 ? NSURL::fileURLWithPath_isDirectory(
                           NSString::stringWithFileSystemRepresentation(volume.root()), true)
                     : nullptr;
  return error;
}

struct ResourceKey {
  const StringConstant& name;
  Finder find;
};

Finder finderFor(const Ref<NSString>& key) {
  static const ResourceKey keys[] = {
      {NSURLNameKey, findName},
      {NSURLIsDirectoryKey, findWhetherOfKind<S_IFDIR>},
      {NSURLIsRegularFileKey, findWhetherOfKind<S_IFREG>},
      {NSURLIsSymbolicLinkKey, findWhetherOfKind<S_IFLNK>},
      {NSURLFileSizeKey, findSize},
      {NSURLVolumeNameKey, findVolumeName},
      {NSURLIsVolumeKey, findWhetherVolume},
      {NSURLVolumeURLKey, findVolumeURL},
  };
  const auto found = std::ranges::find_if(
      keys, [&](const ResourceKey& each) { return key->isEqualToString(each.name); });
  return found == std::end(keys) ? nullptr : found->find;
}

/// Answers 0 or the error number.
int findValue(const NSURL& url, Finder find, id& value) {
  const auto path = nativePath(url.path());
  if (!path) {
    return EILSEQ;
  }
  Item item{url, *path, {}};
  const int error = readItemFacts(*path, item.facts);
  return error != 0 || find == nullptr ? error : find(item, value);
}

}  // namespace

bool NSURL::getResourceValue_forKey_error(id* value, const Ref<NSString>& key,
                                          Ref<NSError>* error) const {
  checkArgument(*this, "getResourceValue:forKey:error:", key != nullptr);
  if (!isFileURL()) {
    return failWith(error, schemeError(FileAccess::asking, cast<NSURL>(self())));
  }
  id found;
  if (const int number = findValue(*this, finderFor(key), found); number != 0) {
    return failWith(error, fileError(FileAccess::asking, path(), number));
  }
  if (value != nullptr) {
    *value = std::move(found);
  }
  return true;
}

}  // namespace kestova
