// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>

#include "collections/MemberRelease.h"
#include "values/RangeCheck.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kestova {

/// The reading half of the platform's own arrays, immutable and mutable: objects in a vector, none
/// of them null.
template <class Base>
class VectorArray : public Base {
 public:
  explicit VectorArray(std::vector<id> objects) : objects_(std::move(objects)) {
    checkArgument(*this, "arrayWithObjects:", std::ranges::find(objects_, id()) == objects_.end());
  }

  ~VectorArray() override { MemberRelease().letGo(objects_); }

  NSUInteger count() const override { return objects_.size(); }

  id objectAtIndex(NSUInteger index) const override {
    checkIndex(*this, "objectAtIndex:", index, objects_.size());
    return objects_[index];
  }

 protected:
  const id* contiguousObjects() const override { return objects_.data(); }

  std::vector<id> objects_;
};

}  // namespace kestova
