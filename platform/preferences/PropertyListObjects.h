// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSTypes.h>

#include "collections/TableFromColumns.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kestova {

/// How many containers may lie in each other, the outermost one counted. All formats read and write
/// as many: equality, descriptions and the end of an object recurse through what it holds.
inline constexpr std::size_t kDeepestNesting = 512;

/// What a list may come to when everything in it counts as often as it is used: this many objects,
/// and so many anyway. The number stands for each byte of a binary list, which a reader sees, and
/// for each reference in its containers, which a writer counts and which takes a byte at least: so
/// what was written can be read.
inline constexpr std::uint64_t kMostObjectsForEach = 16;
inline constexpr std::uint64_t kMostObjectsAnyway = std::uint64_t(1) << 16;

/// Makes what a property list consists of, as mutable as its reader was asked for. One for all
/// formats. Threads: any number at a time.
class PropertyListObjects {
 public:
  /// `options` is one of NSPropertyListMutabilityOptions.
  explicit PropertyListObjects(NSUInteger options) noexcept;

  bool areContainersMutable() const noexcept { return mutableContainers_; }
  bool areLeavesMutable() const noexcept { return mutableLeaves_; }

  id array(std::vector<id> objects) const;

  /// As many keys as objects; of equal keys the first one stays, with the last one's object. The
  /// keys are immutable strings. Only what has no place in the dictionary is left of both.
  id dictionary(HashedKeys& keys, std::vector<id>& objects) const;

  /// An immutable object that holds no others, for one place in the list: itself, or a mutable copy
  /// of a string or data where that is asked for. Null stays null.
  id leaf(id object) const { return mutableLeaves_ ? mutableLeaf(object) : std::move(object); }

 private:
  static id mutableLeaf(const id& object);

  bool mutableContainers_;
  bool mutableLeaves_;
};

}  // namespace kestova
