// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace kestova {

/// Makes what a property list consists of, as mutable as its reader was asked for. One for all
/// formats. Threads: any number at a time.
class PropertyListObjects {
 public:
  /// `options` is one of NSPropertyListMutabilityOptions.
  explicit PropertyListObjects(NSUInteger options) noexcept;

  id array(std::vector<id> objects) const;

  /// As many keys as objects; of equal keys the last one counts.
  id dictionary(std::vector<id> keys, std::vector<id> objects) const;

  /// Null for text that is no UTF-8.
  id string(std::string_view utf8) const;

  id data(std::span<const std::byte> bytes) const;

 private:
  bool mutableContainers_;
  bool mutableLeaves_;
};

}  // namespace kestova
