// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRange.h>

#include <vector>

namespace kestova {

/// What a set of indexes is made of. Invariant: the runs are in order, none is empty, and at least
/// one number is missing between any two.
using IndexRuns = std::vector<NSRange>;

/// Throws NSRangeException, naming the operation, unless every number of the range is an index: is
/// below NSNotFound.
void checkIndexes(const char* operation, NSRange range);

/// The number after a range's last one, or the largest number of all when the range leaves those.
NSUInteger endOf(NSRange range);

/// The first run that reaches beyond an index.
IndexRuns::const_iterator runBeyond(const IndexRuns& runs, NSUInteger index);

/// Puts a run that begins behind the start of the last one at the end; an empty one vanishes.
void appendRun(IndexRuns& runs, NSRange run);

void addRun(IndexRuns& runs, NSRange run);
void removeRun(IndexRuns& runs, NSRange run);

/// The indexes that are in either, or in the first and not in the second.
IndexRuns unionOf(const IndexRuns& first, const IndexRuns& second);
IndexRuns differenceOf(const IndexRuns& first, const IndexRuns& second);

/// The indexes, those from `start` on moved. Throws NSRangeException when one would become none.
IndexRuns shiftedRight(const IndexRuns& runs, NSUInteger start, NSUInteger distance);
IndexRuns shiftedLeft(const IndexRuns& runs, NSUInteger start, NSUInteger distance);

}  // namespace kestova
