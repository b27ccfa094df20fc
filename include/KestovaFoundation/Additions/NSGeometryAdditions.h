// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSGeometry.h>
#include <KestovaPlatform/NSValue.h>

namespace kestova {

/// \name Lists of rectangles
///
///     Ref<NSArray> dirty = NSArray::of(NSMakeRect(0, 0, 10, 10), NSMakeRect(5, 5, 10, 10));
///     for (const id& piece : NSMergeRects(dirty)) redraw(cast<NSValue>(piece)->rectValue());
///
/// A list is an array of rectangles in NSValues. Each operation answers a new array and leaves the
/// given one alone; what has not changed is the same object in both. Null is an empty list, and an
/// object that is no rectangle throws NSInvalidArgumentException.
///
/// Edges are compared exactly, by the functions of NSGeometry.h: nothing is rounded, no tolerance
/// is added, and no empty piece is dropped.
///
/// Threads: any number at a time.
///
/// Cost: joining takes about as long as sorting where few rectangles lie at one place: 10,000 in
/// less than 10 ms; of NSMergeRects all pieces count that it makes on its way. The others grow with
/// the list.
/// @{

/// Replaces two rectangles that overlap by one to three that cover the same area and don't: `a` is
/// cut, `b` stays whole. Answers false and stores nothing where they share no area, and where the
/// overlap is of another shape than these:
///
/// - One holds the other: that one. Of two equal ones it is `b`.
/// - `b` lies over a whole side of `a`: two rectangles, the left or lower one first. It is whole
///   where it is the taller (of two above each other: the wider) one or they are even, and the
///   other one is cut; else the other one is whole.
/// - `b` passes through `a` from side to side, or lies over a corner of it: two pieces of `a`, the
///   left one first (of two above each other the lower one), then `b`. At a corner the piece beside
///   `b` has all of `a`'s height.
///
/// A `b` that sticks into one side of `a` is deliberately not broken; with the two exchanged it is.
/// The pointer may be null.
KESTOVA_FOUNDATION_EXPORT bool NSBreakOverlappingRects(Ref<NSArray>* pieces, NSRect a, NSRect b);

/// \name Joining
///
/// All of these search in the same way: for the first rectangle of the list, and for it the first
/// other one, that can be joined. The two are taken out, what they become is put at the end, and
/// the search starts again from the front. It ends when there is no such pair.
/// @{

/// Joins a rectangle with the one directly to its left whose lower and upper edges are the same, or
/// else with the one directly below whose left and right edges are the same.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableArray> NSReduceRects(const Ref<NSArray>& rects);

/// Breaks rectangles that overlap apart, with NSBreakOverlappingRects, the one that stands at the
/// place in turn as `a`; one that lies in another disappears. A pair that breaking would only give
/// back stays as it is, which happens where the far edge of a piece has to be rounded up.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableArray> NSMergeRects(const Ref<NSArray>& rects);

/// Replaces rectangles that share an area by the smallest one that holds both.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableArray> NSUnionIntersectingRects(const Ref<NSArray>& rects);

/// @}
/// \name One by one, in the order of the list
/// @{

/// What each rectangle shares with `clip`; those that share no area with it are left out.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableArray> NSClipRects(const Ref<NSArray>& rects, NSRect clip);

/// Each rectangle moved.
KESTOVA_FOUNDATION_EXPORT Ref<NSMutableArray> NSOffsetRects(const Ref<NSArray>& rects, double dx,
                                                            double dy);

/// @}

/// The rectangle in a space of that height whose y grows the other way.
KESTOVA_FOUNDATION_EXPORT NSRect NSFlipRect(NSRect rect, double height);
/// @}

}  // namespace kestova
