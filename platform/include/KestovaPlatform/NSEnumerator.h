// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>

#include <cstddef>
#include <iterator>

namespace kestova {

/// Hands out the members of a collection, one after the other, once.
///
///     Ref<NSEnumerator> keys = dictionary->keyEnumerator();
///     for (const id& key : keys) …
///
/// A subclass overrides `nextObject`. The enumerators of the platform's own collections keep their
/// collection alive; changing it while they are in use is the caller's error.
///
/// Threads: one at a time.
class KESTOVA_PLATFORM_EXPORT NSEnumerator : public NSObject {
  KESTOVA_CLASS(NSEnumerator, NSObject)

 public:
  class Iterator;

  /// The next member; nothing once there is none left, and ever after.
  virtual id nextObject() = 0;

  /// The members that are left, which are then used up.
  Ref<NSArray> allObjects();

  Iterator begin();
  static constexpr std::default_sentinel_t end() noexcept { return {}; }

 protected:
  NSEnumerator() = default;
};

/// A walk over the members that are left, for range-`for`. It keeps the enumerator alive.
class NSEnumerator::Iterator {
 public:
  using iterator_concept = std::input_iterator_tag;
  using value_type = id;
  using difference_type = std::ptrdiff_t;

  explicit Iterator(Ref<NSEnumerator> enumerator) : enumerator_(std::move(enumerator)) { ++*this; }

  const id& operator*() const noexcept { return current_; }
  Iterator& operator++() {
    current_ = enumerator_->nextObject();
    return *this;
  }
  void operator++(int) { ++*this; }

  friend bool operator==(const Iterator& at, std::default_sentinel_t) noexcept {
    return at.current_ == nullptr;
  }

 private:
  Ref<NSEnumerator> enumerator_;
  id current_;
};

inline NSEnumerator::Iterator NSEnumerator::begin() { return Iterator(Ref<NSEnumerator>(this)); }

/// \name Range-`for` over a reference
/// `for (const id& member : collection)`, also when `collection` is the result of a call. A null
/// reference is a broken contract.
/// @{
template <class Collection>
requires requires(Collection& collection) { collection.begin(); }
auto begin(const Ref<Collection>& collection) { return collection->begin(); }
template <class Collection>
requires requires(Collection& collection) { collection.end(); }
auto end(const Ref<Collection>& collection) { return collection->end(); }
/// @}

}  // namespace kestova
