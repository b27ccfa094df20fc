// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>

#include <mutex>
#include <unordered_map>

namespace kestova {

/// What is attached to one object.
class AssociationTable {
 public:
  AssociationTable() = default;
  ~AssociationTable() { removeAll(); }
  AssociationTable(const AssociationTable&) = delete;
  AssociationTable& operator=(const AssociationTable&) = delete;

  id find(const void* key);

  /// Attaches a value, null for none. `owner` holds it, and is null for an unowned one.
  void set(const void* key, NSObject* value, id owner);

  void removeAll();

 private:
  struct Association {
    NSObject* value;
    id owner;
  };

  std::mutex mutex_;  // guards the associations; never held while one is let go of
  std::unordered_map<const void*, Association> associations_;
};

}  // namespace kestova
