// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// Paths with "/" between their names: relative ones, separators at the ends, comparing.
///
///     stringByMakingRelativeToPath("/a/c/d", "/a/b");                      // "../c/d"
///     stringByAppendingStringBeforePathExtension("/x/a.txt", "-old");      // "/x/a-old.txt"
///
/// Nothing here asks the file system. Components and extensions are those of the platform's own
/// path operations, which drop doubled and trailing slashes; what works on separators leaves the
/// rest of the text alone. A null argument throws NSInvalidArgumentException.
///
/// Threads: any.
inline namespace NSString_ExtraPathUtilities {

/// The path with a text before its extension and the full stop; at the end of one that has none,
/// with a full stop behind, as `stringByAppendingPathExtension` puts it before an empty extension.
/// Null where that operation answers null.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByAppendingStringBeforePathExtension(
    const Ref<NSString>& self, const Ref<NSString>& text);

/// The way to this path from another: ".." for each component of `base` behind those that both
/// begin with, then this path's own. Components are the same without regard to case, and "*" and
/// "?" in those of `base` stand for any characters and one. Empty when all of them are the same.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByMakingRelativeToPath(const Ref<NSString>& self,
                                                                     const Ref<NSString>& base);

/// The path without as many leading components as `base` has, if the text of `base` occurs in it at
/// all: deliberately anywhere, not only at the front. Otherwise the path as it is. Empty when
/// `base` has at least as many components.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByMakingSubpathOfPath(const Ref<NSString>& self,
                                                                    const Ref<NSString>& base);

/// \name Separators at the ends
/// Each takes away or adds one at most.
/// @{

/// Throws NSRangeException for the empty path.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByDeletingLeadingPathSeparator(
    const Ref<NSString>& self);

/// "/" gives "", and so does "".
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByDeletingTrailingPathSeparator(
    const Ref<NSString>& self);

/// Both of the above, in that order; throws as the first one does.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByTrimmingPathSeparators(const Ref<NSString>& self);

/// The path with a separator at its end, which it may have already.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringByAppendingPathSeparator(const Ref<NSString>& self);

/// @}
/// \name Comparing
/// @{

/// Whether both are the same but for one separator at their ends. Case counts.
KESTOVA_FOUNDATION_EXPORT bool isEqualToPath(const Ref<NSString>& self, const Ref<NSString>& path);

/// Whether the other path begins with this one's components. No path is its own ancestor.
KESTOVA_FOUNDATION_EXPORT bool isAnAncestorOfPath(const Ref<NSString>& self,
                                                  const Ref<NSString>& path);

/// @}

}  // namespace NSString_ExtraPathUtilities

}  // namespace kestova
