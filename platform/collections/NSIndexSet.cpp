// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSEnumerator.h>
#include <KestovaPlatform/NSIndexSet.h>
#include <KestovaPlatform/NSNumber.h>
#include <KestovaPlatform/NSString.h>

#include "collections/IndexRuns.h"
#include "values/BlockHash.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSIndexSet, .property<&NSIndexSet::count>("count"))

namespace {

/// The numbers of a range that are in a run.
NSUInteger countWithin(NSRange run, NSRange range) {
  const NSUInteger start = std::max(run.location, range.location);
  const NSUInteger end = std::min(NSMaxRange(run), endOf(range));
  return end > start ? end - start : 0;
}

std::string textOf(NSRange run) {
  const std::string first = std::to_string(run.location);
  return run.length == 1 ? first : first + "-" + std::to_string(NSMaxRange(run) - 1);
}

IndexRuns runsOf(const char* operation, NSRange range) {
  checkIndexes(operation, range);
  IndexRuns runs;
  addRun(runs, range);
  return runs;
}

}  // namespace

Ref<NSIndexSet> NSIndexSet::indexSet() {
  static const auto& empty = *new Ref<NSIndexSet>(make<NSIndexSet>(IndexRuns()));
  return empty;
}

Ref<NSIndexSet> NSIndexSet::indexSetWithIndex(NSUInteger index) {
  return make<NSIndexSet>(runsOf("indexSetWithIndex:", {index, 1}));
}

Ref<NSIndexSet> NSIndexSet::indexSetWithIndexesInRange(NSRange range) {
  return make<NSIndexSet>(runsOf("indexSetWithIndexesInRange:", range));
}

Ref<NSIndexSet> NSIndexSet::initWithIndexSet(const Ref<NSIndexSet>& other) {
  return other ? copyOf(other) : indexSet();
}

Ref<NSIndexSet> NSIndexSet::of(std::initializer_list<NSUInteger> indexes) {
  return copyOf(Ref<NSIndexSet>(NSMutableIndexSet::of(indexes)));
}

NSUInteger NSIndexSet::count() const {
  NSUInteger sum = 0;
  for (const NSRange run : runs_) {
    sum += run.length;
  }
  return sum;
}

NSUInteger NSIndexSet::firstIndex() const {
  return runs_.empty() ? NSNotFound : runs_.front().location;
}

NSUInteger NSIndexSet::lastIndex() const {
  return runs_.empty() ? NSNotFound : NSMaxRange(runs_.back()) - 1;
}

NSUInteger NSIndexSet::indexGreaterThanIndex(NSUInteger index) const {
  return index >= NSNotFound ? NSNotFound : indexGreaterThanOrEqualToIndex(index + 1);
}

NSUInteger NSIndexSet::indexGreaterThanOrEqualToIndex(NSUInteger index) const {
  const auto run = runBeyond(runs_, index);
  return run == runs_.end() ? NSNotFound : std::max(run->location, index);
}

NSUInteger NSIndexSet::indexLessThanIndex(NSUInteger index) const {
  return index == 0 ? NSNotFound : indexLessThanOrEqualToIndex(index - 1);
}

NSUInteger NSIndexSet::indexLessThanOrEqualToIndex(NSUInteger index) const {
  const auto next = std::ranges::upper_bound(runs_, index, {}, &NSRange::location);
  return next == runs_.begin() ? NSNotFound : std::min(NSMaxRange(*std::prev(next)) - 1, index);
}

bool NSIndexSet::containsIndex(NSUInteger index) const {
  const auto run = runBeyond(runs_, index);
  return run != runs_.end() && run->location <= index;
}

bool NSIndexSet::containsIndexesInRange(NSRange range) const {
  const auto run = runBeyond(runs_, range.location);
  return range.length == 0 || (run != runs_.end() && run->location <= range.location &&
                               NSMaxRange(*run) >= endOf(range));
}

bool NSIndexSet::containsIndexes(const Ref<NSIndexSet>& other) const {
  return !other || differenceOf(other->runs_, runs_).empty();
}

bool NSIndexSet::intersectsIndexesInRange(NSRange range) const {
  const auto run = runBeyond(runs_, range.location);
  return run != runs_.end() && countWithin(*run, range) > 0;
}

NSUInteger NSIndexSet::countOfIndexesInRange(NSRange range) const {
  NSUInteger sum = 0;
  for (auto run = runBeyond(runs_, range.location);
       run != runs_.end() && countWithin(*run, range) > 0; ++run) {
    sum += countWithin(*run, range);
  }
  return sum;
}

void NSIndexSet::enumerateIndexesUsingBlock(const Block<void(NSUInteger, bool*)>& block) const {
  enumerateIndexesWithOptions_usingBlock(0, block);
}

void NSIndexSet::enumerateIndexesWithOptions_usingBlock(
    NSUInteger options, const Block<void(NSUInteger, bool*)>& block) const {
  const bool isReverse = (options & NSEnumerationReverse) != 0;
  enumerateRangesWithOptions_usingBlock(options, [&](NSRange run, bool* stop) {
    for (NSUInteger step = 0; step < run.length && !*stop; ++step) {
      block(isReverse ? NSMaxRange(run) - 1 - step : run.location + step, stop);
    }
  });
}

void NSIndexSet::enumerateRangesUsingBlock(const Block<void(NSRange, bool*)>& block) const {
  enumerateRangesWithOptions_usingBlock(0, block);
}

/// Walks by place, so that a set that shrinks meanwhile ends the walk and does no harm.
void NSIndexSet::enumerateRangesWithOptions_usingBlock(
    NSUInteger options, const Block<void(NSRange, bool*)>& block) const {
  const bool isReverse = (options & NSEnumerationReverse) != 0;
  bool stop = false;
  for (std::size_t step = 0; step < runs_.size() && !stop; ++step) {
    block(runs_[isReverse ? runs_.size() - 1 - step : step], &stop);
  }
}

NSUInteger NSIndexSet::indexPassingTest(const Block<bool(NSUInteger, bool*)>& test) const {
  NSUInteger found = NSNotFound;
  enumerateIndexesUsingBlock([&](NSUInteger index, bool* stop) {
    if (test(index, stop)) {
      found = index;
      *stop = true;
    }
  });
  return found;
}

Ref<NSIndexSet> NSIndexSet::indexesPassingTest(const Block<bool(NSUInteger, bool*)>& test) const {
  IndexRuns passing;
  enumerateIndexesUsingBlock([&](NSUInteger index, bool* stop) {
    if (test(index, stop)) {
      appendRun(passing, {index, 1});
    }
  });
  return make<NSIndexSet>(std::move(passing));
}

bool NSIndexSet::isEqualToIndexSet(const Ref<NSIndexSet>& other) const {
  return other && runs_ == other->runs_;
}

bool NSIndexSet::isEqual(const id& other) const {
  return other.get() == this || isEqualToIndexSet(cast<NSIndexSet>(other));
}

/// Of its ends and its runs' number only, as an array's is of its ends.
NSUInteger NSIndexSet::hash() const {
  BlockHash hash(runs_.size());
  hash.add(firstIndex());
  hash.add(lastIndex());
  return hash.value();
}

Ref<NSString> NSIndexSet::description() const {
  std::string list;
  for (const NSRange run : runs_) {
    list += (list.empty() ? "" : " ") + textOf(run);
  }
  return NSString::stringWithFormat("%@[number of indexes: %lu (in %lu ranges), indexes: (%s)]",
                                    NSObject::description(), count(), runs_.size(), list.c_str());
}

id NSIndexSet::copy() const { return self(); }

id NSIndexSet::mutableCopy() const { return make<NSMutableIndexSet>(runs_); }

KESTOVA_DEFINE_CLASS(NSMutableIndexSet)

Ref<NSMutableIndexSet> NSMutableIndexSet::indexSet() {
  return make<NSMutableIndexSet>(IndexRuns());
}

Ref<NSMutableIndexSet> NSMutableIndexSet::indexSetWithIndex(NSUInteger index) {
  return make<NSMutableIndexSet>(runsOf("indexSetWithIndex:", {index, 1}));
}

Ref<NSMutableIndexSet> NSMutableIndexSet::indexSetWithIndexesInRange(NSRange range) {
  return make<NSMutableIndexSet>(runsOf("indexSetWithIndexesInRange:", range));
}

Ref<NSMutableIndexSet> NSMutableIndexSet::initWithIndexSet(const Ref<NSIndexSet>& other) {
  const auto set = indexSet();
  set->addIndexes(other);
  return set;
}

Ref<NSMutableIndexSet> NSMutableIndexSet::of(std::initializer_list<NSUInteger> indexes) {
  const auto set = indexSet();
  for (const NSUInteger index : indexes) {
    set->addIndex(index);
  }
  return set;
}

void NSMutableIndexSet::addIndex(NSUInteger index) { addIndexesInRange({index, 1}); }

void NSMutableIndexSet::addIndexesInRange(NSRange range) {
  checkIndexes("addIndexesInRange:", range);
  addRun(runs_, range);
}

void NSMutableIndexSet::addIndexes(const Ref<NSIndexSet>& other) {
  if (other) {
    runs_ = unionOf(runs_, other->runs_);
  }
}

void NSMutableIndexSet::removeIndex(NSUInteger index) { removeIndexesInRange({index, 1}); }

void NSMutableIndexSet::removeIndexesInRange(NSRange range) {
  checkIndexes("removeIndexesInRange:", range);
  removeRun(runs_, range);
}

void NSMutableIndexSet::removeIndexes(const Ref<NSIndexSet>& other) {
  if (other) {
    runs_ = differenceOf(runs_, other->runs_);
  }
}

void NSMutableIndexSet::removeAllIndexes() { runs_.clear(); }

void NSMutableIndexSet::shiftIndexesStartingAtIndex_by(NSUInteger startIndex, NSInteger delta) {
  const auto distance = static_cast<NSUInteger>(delta);
  runs_ = delta < 0 ? shiftedLeft(runs_, startIndex, -distance)
                    : shiftedRight(runs_, startIndex, distance);
}

id NSMutableIndexSet::copy() const { return make<NSIndexSet>(runs_); }

}  // namespace kestova
