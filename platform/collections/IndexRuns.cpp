// SPDX-License-Identifier: Apache-2.0
#include "collections/IndexRuns.h"

#include <KestovaPlatform/NSException.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace kestova {
namespace {

constexpr NSUInteger kLargest = std::numeric_limits<NSUInteger>::max();

NSRange rangeBetween(NSUInteger start, NSUInteger end) {
  return {start, end > start ? end - start : 0};
}

bool beginsEarlier(NSRange a, NSRange b) { return a.location < b.location; }

[[noreturn]] void throwNoIndex(const char* operation, NSUInteger number) {
  throw NSException(
      NSRangeException,
      NSString::stringWithFormat("-[NSIndexSet %s]: %lu is not an index", operation, number));
}

/// The indexes below a number.
IndexRuns runsBelow(const IndexRuns& runs, NSUInteger limit) {
  IndexRuns result(runs.begin(), runBeyond(runs, limit));
  if (result.size() < runs.size()) {
    const NSRange cut = runs[result.size()];
    appendRun(result, rangeBetween(cut.location, limit));
  }
  return result;
}

}  // namespace

void checkIndexes(const char* operation, NSRange range) {
  if (range.length > 0 && endOf(range) > NSNotFound) {
    throwNoIndex(operation, endOf(range) - 1);
  }
}

NSUInteger endOf(NSRange range) {
  return range.length > kLargest - range.location ? kLargest : NSMaxRange(range);
}

IndexRuns::const_iterator runBeyond(const IndexRuns& runs, NSUInteger index) {
  return std::ranges::upper_bound(runs, index, {}, NSMaxRange);
}

void appendRun(IndexRuns& runs, NSRange run) {
  if (run.length == 0) {
    return;
  }
  if (!runs.empty() && run.location <= NSMaxRange(runs.back())) {
    const NSUInteger end = std::max(NSMaxRange(runs.back()), NSMaxRange(run));
    runs.back().length = end - runs.back().location;
  } else {
    runs.push_back(run);
  }
}

void addRun(IndexRuns& runs, NSRange run) {
  if (run.length == 0) {
    return;
  }
  // All runs that the new one meets or touches become one.
  const auto first = std::ranges::lower_bound(runs, run.location, {}, NSMaxRange);
  const auto last =
      std::ranges::upper_bound(first, runs.end(), NSMaxRange(run), {}, &NSRange::location);
  if (first == last) {
    runs.insert(first, run);
    return;
  }
  const NSUInteger end = std::max(NSMaxRange(run), NSMaxRange(*std::prev(last)));
  *first = rangeBetween(std::min(run.location, first->location), end);
  runs.erase(std::next(first), last);
}

void removeRun(IndexRuns& runs, NSRange run) {
  auto first = runs.begin() + (runBeyond(runs, run.location) - runs.cbegin());
  auto last = std::ranges::lower_bound(first, runs.end(), endOf(run), {}, &NSRange::location);
  if (run.length == 0 || first == last) {
    return;
  }
  const NSRange before = rangeBetween(first->location, run.location);
  const NSRange after = rangeBetween(endOf(run), NSMaxRange(*std::prev(last)));
  if (before.length > 0 && after.length > 0 && std::next(first) == last) {
    *std::prev(runs.insert(last, after)) = before;
    return;
  }
  if (before.length > 0) {
    *first++ = before;
  }
  if (after.length > 0) {
    *--last = after;
  }
  runs.erase(first, last);
}

IndexRuns unionOf(const IndexRuns& first, const IndexRuns& second) {
  IndexRuns inOrder;
  inOrder.reserve(first.size() + second.size());
  std::ranges::merge(first, second, std::back_inserter(inOrder), beginsEarlier);
  IndexRuns result;
  for (const NSRange run : inOrder) {
    appendRun(result, run);
  }
  return result;
}

IndexRuns differenceOf(const IndexRuns& first, const IndexRuns& second) {
  IndexRuns result;
  auto cut = second.begin();
  for (const NSRange run : first) {
    while (cut != second.end() && NSMaxRange(*cut) <= run.location) {
      ++cut;
    }
    NSUInteger start = run.location;
    for (auto each = cut; each != second.end() && each->location < NSMaxRange(run); ++each) {
      appendRun(result, rangeBetween(start, each->location));
      start = NSMaxRange(*each);
    }
    appendRun(result, rangeBetween(start, NSMaxRange(run)));
  }
  return result;
}

IndexRuns shiftedRight(const IndexRuns& runs, NSUInteger start, NSUInteger distance) {
  const NSUInteger end = runs.empty() ? 0 : NSMaxRange(runs.back());
  if (end > start && distance > NSNotFound - end) {
    throwNoIndex("shiftIndexesStartingAtIndex:by:", endOf({end - 1, distance}));
  }
  IndexRuns result = runsBelow(runs, start);
  for (auto run = runBeyond(runs, start); run != runs.end(); ++run) {
    const NSUInteger first = std::max(run->location, start);
    appendRun(result, rangeBetween(first + distance, NSMaxRange(*run) + distance));
  }
  return result;
}

IndexRuns shiftedLeft(const IndexRuns& runs, NSUInteger start, NSUInteger distance) {
  IndexRuns result = runsBelow(runs, start - std::min(start, distance));
  for (auto run = runBeyond(runs, start); run != runs.end(); ++run) {
    const NSUInteger first = std::max(run->location, start);
    if (first < distance) {
      throwNoIndex("shiftIndexesStartingAtIndex:by:", first - distance);
    }
    appendRun(result, rangeBetween(first - distance, NSMaxRange(*run) - distance));
  }
  return result;
}

}  // namespace kestova
