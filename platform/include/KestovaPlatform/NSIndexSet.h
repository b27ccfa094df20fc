// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSTypes.h>

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <vector>

namespace kestova {

/// Indexes of an array or a text, each of them once, in their order; immutable here.
///
///     Ref<NSIndexSet> chosen = NSIndexSet::of({0, 1, 5});
///     Ref<NSArray> objects = array->objectsAtIndexes(chosen);
///     for (NSUInteger index : chosen) …
///
/// An index is a number below NSNotFound. Neighbours are kept as one run, so a set of a million
/// indexes in one row is as small as a set of one. A null set counts as an empty one wherever its
/// indexes are to be taken.
///
/// Where an operation takes indexes in, one that is no index throws NSRangeException and an empty
/// range stands for no index at all; where it asks, such an index is simply not there.
///
/// Threads: any number of them may read an immutable set at a time. Changing a set while it is
/// walked through is the caller's error. Looking for an index takes time with the logarithm of the
/// runs, `count` with the runs themselves.
class KESTOVA_PLATFORM_EXPORT NSIndexSet : public NSObject {
  KESTOVA_CLASS(NSIndexSet, NSObject)

 public:
  /// \name Making
  /// @{

  /// The empty set.
  static Ref<NSIndexSet> indexSet();
  static Ref<NSIndexSet> init() { return indexSet(); }

  static Ref<NSIndexSet> indexSetWithIndex(NSUInteger index);
  static Ref<NSIndexSet> indexSetWithIndexesInRange(NSRange range);

  /// The same indexes; an immutable set answers itself.
  static Ref<NSIndexSet> initWithIndexSet(const Ref<NSIndexSet>& other);

  /// The given indexes, in any order.
  static Ref<NSIndexSet> of(std::initializer_list<NSUInteger> indexes);

  /// @}
  /// \name Reading
  /// @{

  /// How many indexes there are.
  NSUInteger count() const;

  /// The smallest and the largest index; NSNotFound when there is none.
  NSUInteger firstIndex() const;
  NSUInteger lastIndex() const;

  /// The nearest index above or below a number; NSNotFound when there is none.
  NSUInteger indexGreaterThanIndex(NSUInteger index) const;
  NSUInteger indexGreaterThanOrEqualToIndex(NSUInteger index) const;
  NSUInteger indexLessThanIndex(NSUInteger index) const;
  NSUInteger indexLessThanOrEqualToIndex(NSUInteger index) const;

  bool containsIndex(NSUInteger index) const;

  /// Whether every index of a range is there: also when the range is empty.
  bool containsIndexesInRange(NSRange range) const;

  /// Whether every index of another set is there.
  bool containsIndexes(const Ref<NSIndexSet>& other) const;

  /// Whether at least one index of a range is there.
  bool intersectsIndexesInRange(NSRange range) const;

  NSUInteger countOfIndexesInRange(NSRange range) const;

  /// @}
  /// \name Walking
  /// Each block is called on this thread, in the order of the indexes or, with
  /// NSEnumerationReverse, from the last one, until it sets its last argument.
  /// @{

  void enumerateIndexesUsingBlock(const Block<void(NSUInteger index, bool* stop)>& block) const;

  /// `options` is a sum of NSEnumerationOptions.
  void enumerateIndexesWithOptions_usingBlock(
      NSUInteger options, const Block<void(NSUInteger index, bool* stop)>& block) const;

  /// Meets each run of neighbours once, at its full length.
  void enumerateRangesUsingBlock(const Block<void(NSRange range, bool* stop)>& block) const;
  void enumerateRangesWithOptions_usingBlock(
      NSUInteger options, const Block<void(NSRange range, bool* stop)>& block) const;

  /// The first index that the block answers true for; NSNotFound when there is none.
  NSUInteger indexPassingTest(const Block<bool(NSUInteger index, bool* stop)>& test) const;

  /// All of them, up to the one for which the block sets its last argument.
  Ref<NSIndexSet> indexesPassingTest(const Block<bool(NSUInteger index, bool* stop)>& test) const;

  /// @}

  /// Whether both hold the same indexes. Null is equal to nothing.
  bool isEqualToIndexSet(const Ref<NSIndexSet>& other) const;

  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// "<NSIndexSet: 0x…>[number of indexes: 3 (in 2 ranges), indexes: (0-1 5)]".
  Ref<NSString> description() const override;

  /// An immutable set of the same indexes; an immutable set answers itself.
  id copy() const override;
  id mutableCopy() const override;

  /// What range-`for` over a reference walks with; valid until the set changes.
  class Iterator {
   public:
    using iterator_concept = std::input_iterator_tag;
    using value_type = NSUInteger;
    using difference_type = std::ptrdiff_t;

    explicit Iterator(const std::vector<NSRange>& runs) noexcept
        : run_(runs.data()), end_(runs.data() + runs.size()) {}

    NSUInteger operator*() const noexcept { return run_->location + offset_; }
    Iterator& operator++() noexcept {
      if (++offset_ == run_->length) {
        ++run_;
        offset_ = 0;
      }
      return *this;
    }
    void operator++(int) noexcept { ++*this; }

    friend bool operator==(const Iterator& walk, std::default_sentinel_t) noexcept {
      return walk.run_ == walk.end_;
    }

   private:
    const NSRange* run_;
    const NSRange* end_;
    NSUInteger offset_ = 0;
  };

  Iterator indexes() const noexcept { return Iterator(runs_); }

 protected:
  explicit NSIndexSet(std::vector<NSRange> runs) noexcept : runs_(std::move(runs)) {}

 private:
  friend class NSMutableIndexSet;

  /// Invariant: in order, none empty, and at least one number missing between any two.
  std::vector<NSRange> runs_;
};

/// A set of indexes that changes.
///
/// An operation that throws leaves the set as it was.
///
/// Threads: one at a time. Adding or removing a range takes time that grows with the runs behind
/// it, another set's indexes with the runs of both.
class KESTOVA_PLATFORM_EXPORT NSMutableIndexSet : public NSIndexSet {
  KESTOVA_CLASS(NSMutableIndexSet, NSIndexSet)

 public:
  /// \name Making
  /// @{
  static Ref<NSMutableIndexSet> indexSet();
  static Ref<NSMutableIndexSet> init() { return indexSet(); }
  static Ref<NSMutableIndexSet> indexSetWithIndex(NSUInteger index);
  static Ref<NSMutableIndexSet> indexSetWithIndexesInRange(NSRange range);
  static Ref<NSMutableIndexSet> initWithIndexSet(const Ref<NSIndexSet>& other);
  static Ref<NSMutableIndexSet> of(std::initializer_list<NSUInteger> indexes);
  /// @}

  void addIndex(NSUInteger index);
  void addIndexesInRange(NSRange range);
  void addIndexes(const Ref<NSIndexSet>& other);

  /// Removing what is not there is no failure.
  void removeIndex(NSUInteger index);
  void removeIndexesInRange(NSRange range);
  void removeIndexes(const Ref<NSIndexSet>& other);
  void removeAllIndexes();

  /// Moves the indexes from `startIndex` on by `delta`, as an array's objects move when others are
  /// inserted or removed before them: to the right it leaves a gap, to the left it takes the place
  /// of the `-delta` numbers before `startIndex`, which are no longer in the set. Throws
  /// NSRangeException when an index would become none.
  void shiftIndexesStartingAtIndex_by(NSUInteger startIndex, NSInteger delta);

  id copy() const override;

 protected:
  using NSIndexSet::NSIndexSet;
};

/// \name Range-`for` over a reference
/// `for (NSUInteger index : indexSet)`. A null reference is a broken contract.
/// @{
inline NSIndexSet::Iterator begin(const Ref<NSIndexSet>& indexes) { return indexes->indexes(); }
inline std::default_sentinel_t end(const Ref<NSIndexSet>&) noexcept { return {}; }
/// @}

}  // namespace kestova
