// SPDX-License-Identifier: Apache-2.0
#include "Additions/FolderIdentity.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>

#include <utility>

namespace kestova {
namespace {

/// What tells a folder from all others, behind symbolic links; null where there is none.
Ref<NSArray> identityOf(const Ref<NSFileManager>& self, const Ref<NSString>& folder) {
  // A full stop behind the slash makes the attributes those of the folder and not of a link to it.
  const auto facts = self->attributesOfItemAtPath_error(folder->stringByAppendingString("/."));
  return facts ? NSArray::of(facts->objectForKey(NSFileSystemNumber),
                             facts->objectForKey(NSFileSystemFileNumber))
               : nullptr;
}

}  // namespace

bool isSameFolder(const Ref<NSFileManager>& self, const Ref<NSString>& path,
                  const Ref<NSString>& other) {
  const auto identity = identityOf(self, path);
  return identity && identity->isEqual(identityOf(self, other));
}

bool isFolderWithin(const Ref<NSFileManager>& self, const Ref<NSString>& folder,
                    const Ref<NSString>& outer) {
  const auto sought = identityOf(self, outer);
  auto path = folder;
  auto identity = sought ? identityOf(self, path) : nullptr;
  for (Ref<NSArray> beneath; identity && !identity->isEqual(beneath);) {
    if (identity->isEqual(sought)) {
      return true;
    }
    path = path->stringByAppendingString("/..");
    beneath = std::exchange(identity, identityOf(self, path));
  }
  return false;
}

}  // namespace kestova
