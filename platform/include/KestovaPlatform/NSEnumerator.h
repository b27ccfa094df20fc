// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>

#include <cstddef>
#include <iterator>
#include <utility>

namespace kestova {

class MemberIterator;

/// How a block is led through a collection, as a sum of bits.
enum NSEnumerationOptions : NSUInteger {
  NSEnumerationReverse = 2,  ///< from the last member to the first
};

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
  /// The next member; nothing once there is none left, and ever after.
  virtual id nextObject() = 0;

  /// The members that are left, which are then used up.
  Ref<NSArray> allObjects();

  /// What range-`for` over a reference walks with: the members that are left, which are then used
  /// up.
  MemberIterator members();

 protected:
  NSEnumerator() = default;
};

/// A walk through the members of any collection, for range-`for`: over its memory where they lie
/// there in one row, else by an enumerator. What `*` answers is valid until the walk goes on.
class MemberIterator {
 public:
  using iterator_concept = std::input_iterator_tag;
  using value_type = id;
  using difference_type = std::ptrdiff_t;

  /// `stride` says how many references further the next member lies.
  MemberIterator(const id* first, NSUInteger count, std::ptrdiff_t stride = 1) noexcept
      : at_(first), end_(first + static_cast<std::ptrdiff_t>(count) * stride), stride_(stride) {}
  explicit MemberIterator(Ref<NSEnumerator> enumerator)
      : enumeration_(make<Enumeration>(std::move(enumerator))), at_(enumeration_->next()) {}

  const id& operator*() const noexcept { return *at_; }
  MemberIterator& operator++() {
    at_ = enumeration_ ? enumeration_->next() : at_ + stride_;
    return *this;
  }
  void operator++(int) { ++*this; }

  friend bool operator==(const MemberIterator& walk, std::default_sentinel_t) noexcept {
    return walk.at_ == walk.end_;
  }

 private:
  /// An enumerator with the member that it is at.
  class Enumeration final : public NSObject {
   public:
    explicit Enumeration(Ref<NSEnumerator> enumerator) : enumerator_(std::move(enumerator)) {}

    /// Null once there is no member left.
    const id* next() {
      current_ = enumerator_->nextObject();
      return current_ ? &current_ : nullptr;
    }

   private:
    Ref<NSEnumerator> enumerator_;
    id current_;
  };

  Ref<Enumeration> enumeration_;
  const id* at_;
  const id* end_ = nullptr;
  std::ptrdiff_t stride_ = 0;
};

/// A walk that keeps its collection, for range-`for` over what a collection answers it for.
class MemberRange {
 public:
  MemberRange(id owner, MemberIterator first)
      : owner_(std::move(owner)), first_(std::move(first)) {}

  MemberIterator begin() const { return first_; }
  static constexpr std::default_sentinel_t end() noexcept { return {}; }

 private:
  id owner_;
  MemberIterator first_;
};

inline MemberIterator NSEnumerator::members() { return MemberIterator(Ref<NSEnumerator>(this)); }

/// \name Range-`for` over a reference
/// `for (const id& member : collection)`. The reference may be the result of a call, which is kept
/// for as long as the walk takes; there is no walk over a plain collection, because the result of a
/// call would be gone by then. A null reference is a broken contract.
/// @{
template <class Collection>
requires requires(Collection& collection) { collection.members(); }
MemberIterator begin(const Ref<Collection>& collection) { return collection->members(); }
template <class Collection>
requires requires(Collection& collection) { collection.members(); }
constexpr std::default_sentinel_t end(const Ref<Collection>&) noexcept { return {}; }
/// @}

}  // namespace kestova
