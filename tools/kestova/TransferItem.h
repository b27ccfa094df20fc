// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace kestova::tool {

enum class TransferKind { kCopy, kMove };

/// One source of a copy or move and where it goes. Paths are bytes as the file system knows them.
struct TransferItem {
  TransferKind kind = TransferKind::kCopy;
  std::string source;
  std::string destination;
  std::size_t number = 1;  // of `count`, from 1
  std::size_t count = 1;
};

}  // namespace kestova::tool
