// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/FSCatalog.h>

#include <cstddef>
#include <string>
#include <vector>

#include "files/FileDescriptor.h"

struct dirent64;

namespace kestova {

/// Looks at the item `name` in `folder`. 0 or the error number.
int readCatalogInfo(int folder, const char* name, FSCatalogInfo& info);

/// Whether an error number says that an item has gone away, or become another one, since its name
/// was read.
bool hasVanished(int error);

/// The names in an open folder, read in batches.
class CatalogListing {
 public:
  CatalogListing(FileDescriptor folder, std::string path);

  int folder() const { return folder_.get(); }

  /// The path of an item in the folder.
  std::string pathOf(const char* name) const { return path_ + name; }

  /// The next entry, valid until the next call; null at the end and on a failure, which `error`
  /// then tells.
  const dirent64* next(int& error);

 private:
  bool readBatch(int& error);

  const FileDescriptor folder_;
  const std::string path_;  // with a slash at the end
  std::vector<char> batch_;
  std::size_t at_ = 0;
  std::size_t end_ = 0;
};

}  // namespace kestova
