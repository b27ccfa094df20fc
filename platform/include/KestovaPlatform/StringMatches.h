// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSString.h>

#include <functional>

namespace kestova {

/// How a search for one match after another goes on.
enum class SearchGoesOn {
  behindTheMatch,  ///< in what the range holds behind it
  beforeTheMatch,  ///< in what the range holds before it
  atTheNextUnit,   ///< one unit behind where it begins: matches may overlap
};

/// Hands one match after another to `visit`, until it answers false or there is none: the answers
/// of `rangeOfString_options_range`, but for all of them together at the cost of one search of the
/// range. After a match without units, which only regular expressions have, the search goes on one
/// unit further.
///
///     NSUInteger count = 0;
///     visitMatches(text, "aa", 0, {0, text->length()}, SearchGoesOn::behindTheMatch,
///                  [&](NSRange) { return ++count < 10; });
///
/// `visit` is called on this thread and must not change the text. Null throws
/// NSInvalidArgumentException, a range past the end NSRangeException.
KESTOVA_PLATFORM_EXPORT void visitMatches(const Ref<NSString>& text, const Ref<NSString>& wanted,
                                          NSUInteger options, NSRange range, SearchGoesOn goesOn,
                                          const std::function<bool(NSRange)>& visit);

}  // namespace kestova
