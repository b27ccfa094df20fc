// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include "text/UnitMatches.h"

#include <cstddef>
#include <string_view>

namespace kestova {

/// Which match of a range is meant: the first or the last one, or only one that begins where the
/// range does or ends where it does.
enum class SearchPlace { first, last, start, end };

inline SearchPlace searchPlace(NSUInteger options) noexcept {
  const bool fromBack = (options & NSBackwardsSearch) != 0;
  return (options & NSAnchoredSearch) != 0 ? fromBack ? SearchPlace::end : SearchPlace::start
         : fromBack                        ? SearchPlace::last
                                           : SearchPlace::first;
}

/// The first of the matches that is accepted; npos without one.
template <class Matches, class Accept>
std::size_t firstAccepted(Matches matches, Accept& accept) {
  std::size_t place = matches.next();
  while (place != Matches::npos && !accept(place)) {
    place = matches.next();
  }
  return place;
}

/// Where `wanted`, which is not empty, stands in a text; npos when it stands nowhere that `accept`
/// answers true for.
template <class Units, class Unit, class Accept>
std::size_t findUnits(std::basic_string_view<Unit> text, std::basic_string_view<Unit> wanted,
                      SearchPlace place, Accept&& accept) {
  using enum Direction;
  if (text.size() < wanted.size()) {
    return text.npos;
  }
  if (place == SearchPlace::first) {
    return firstAccepted(UnitMatches<Unit, Units, forwards>(text, wanted), accept);
  }
  if (place == SearchPlace::last) {
    return firstAccepted(UnitMatches<Unit, Units, backwards>(text, wanted), accept);
  }
  const std::size_t only = place == SearchPlace::start ? 0 : text.size() - wanted.size();
  const bool isThere =
      sameUnits<Units>(text.data() + only, wanted.data(), wanted.size()) && accept(only);
  return isThere ? only : text.npos;
}

}  // namespace kestova
