// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>

#include <algorithm>
#include <utility>
#include <vector>

/// Collections that override the primitives of their class and nothing else, as a user's own ones
/// do. They search one by one: simple enough to be right.
namespace kestova::testing {

inline void requireMember(bool present) {
  if (!present) {
    throw NSException(NSInvalidArgumentException, "null is no member");
  }
}

inline void requireIndex(NSUInteger index, NSUInteger count) {
  if (index >= count) {
    throw NSException(NSRangeException, "no such index");
  }
}

template <class Base>
class PrimitiveArrayOf : public Base {
 public:
  explicit PrimitiveArrayOf(std::vector<id> objects = {}) : objects_(std::move(objects)) {}

  NSUInteger count() const override { return objects_.size(); }
  id objectAtIndex(NSUInteger index) const override {
    requireIndex(index, objects_.size());
    return objects_[index];
  }

 protected:
  std::vector<id> objects_;
};

using PrimitiveArray = PrimitiveArrayOf<NSArray>;

class PrimitiveMutableArray : public PrimitiveArrayOf<NSMutableArray> {
 public:
  using PrimitiveArrayOf::PrimitiveArrayOf;

  void insertObject_atIndex(const id& object, NSUInteger index) override {
    requireMember(object != nullptr);
    requireIndex(index, objects_.size() + 1);
    objects_.insert(objects_.begin() + static_cast<std::ptrdiff_t>(index), object);
  }
  void removeObjectAtIndex(NSUInteger index) override {
    requireIndex(index, objects_.size());
    objects_.erase(objects_.begin() + static_cast<std::ptrdiff_t>(index));
  }
  void replaceObjectAtIndex_withObject(NSUInteger index, const id& object) override {
    requireMember(object != nullptr);
    requireIndex(index, objects_.size());
    objects_[index] = object;
  }
};

/// Hands out the objects of a vector.
class VectorEnumerator : public NSEnumerator {
 public:
  explicit VectorEnumerator(std::vector<id> objects) : objects_(std::move(objects)) {}
  id nextObject() override { return next_ < objects_.size() ? objects_[next_++] : nullptr; }

 private:
  std::vector<id> objects_;
  std::size_t next_ = 0;
};

template <class Base>
class PrimitiveDictionaryOf : public Base {
 public:
  explicit PrimitiveDictionaryOf(std::vector<std::pair<id, id>> entries = {})
      : entries_(std::move(entries)) {}

  NSUInteger count() const override { return entries_.size(); }
  id objectForKey(const id& key) const override {
    const auto found = std::ranges::find_if(
        entries_, [&](const auto& entry) { return entry.first->isEqual(key); });
    return found == entries_.end() ? nullptr : found->second;
  }
  Ref<NSEnumerator> keyEnumerator() const override {
    std::vector<id> keys;
    for (const auto& entry : entries_) {
      keys.push_back(entry.first);
    }
    return make<VectorEnumerator>(std::move(keys));
  }

 protected:
  std::vector<std::pair<id, id>> entries_;
};

using PrimitiveDictionary = PrimitiveDictionaryOf<NSDictionary>;

class PrimitiveMutableDictionary : public PrimitiveDictionaryOf<NSMutableDictionary> {
 public:
  using PrimitiveDictionaryOf::PrimitiveDictionaryOf;

  void setObject_forKey(const id& object, const id& key) override {
    requireMember(object && key);
    removeObjectForKey(key);
    entries_.emplace_back(key->copy(), object);
  }
  void removeObjectForKey(const id& key) override {
    requireMember(key != nullptr);
    std::erase_if(entries_, [&](const auto& entry) { return entry.first->isEqual(key); });
  }
};

template <class Base>
class PrimitiveSetOf : public Base {
 public:
  explicit PrimitiveSetOf(std::vector<id> members = {}) : members_(std::move(members)) {}

  NSUInteger count() const override { return members_.size(); }
  id member(const id& object) const override {
    const auto found =
        std::ranges::find_if(members_, [&](const id& member) { return member->isEqual(object); });
    return found == members_.end() ? nullptr : *found;
  }
  Ref<NSEnumerator> objectEnumerator() const override { return make<VectorEnumerator>(members_); }

 protected:
  std::vector<id> members_;
};

using PrimitiveSet = PrimitiveSetOf<NSSet>;

class PrimitiveMutableSet : public PrimitiveSetOf<NSMutableSet> {
 public:
  using PrimitiveSetOf::PrimitiveSetOf;

  void addObject(const id& object) override {
    requireMember(object != nullptr);
    if (!member(object)) {
      members_.push_back(object);
    }
  }
  void removeObject(const id& object) override {
    requireMember(object != nullptr);
    std::erase_if(members_, [&](const id& member) { return member->isEqual(object); });
  }
};

}  // namespace kestova::testing
