// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSObject.h>

#include <cstddef>
#include <vector>

namespace kestova {

/// The members of any collection, for operations that take whatever can be walked through: arrays,
/// sets, the keys of dictionaries, what is left of an enumerator.
///
///     void watch(const NSFastEnumeration& keyPaths);
///     watch(NSArray::of("name", "size"));
///
/// The members are those at the moment when it is made, in the order in which the collection hands
/// them out, and are held by it; it may be walked through any number of times. A null collection
/// counts as an empty one.
class NSFastEnumeration {
 public:
  NSFastEnumeration(std::nullptr_t) noexcept {}

  template <class Collection>
  requires requires(Collection& collection) { collection.members(); }
  NSFastEnumeration(const Ref<Collection>& collection) {
    if (collection) {
      for (const id& member : collection) {
        members_.push_back(member);
      }
    }
  }

  std::vector<id>::const_iterator begin() const noexcept { return members_.begin(); }
  std::vector<id>::const_iterator end() const noexcept { return members_.end(); }

 private:
  std::vector<id> members_;
};

}  // namespace kestova
