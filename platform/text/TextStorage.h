// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSString.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <variant>

namespace kestova {

/// What texts are put together in: ASCII bytes or UTF-16 units.
using TextStorage = std::variant<std::string, std::u16string>;

/// Hands the units of a string, as they are stored, to a function that takes either view of them.
template <class Function>
decltype(auto) withUnits(const NSString& string, Function&& function) {
  return string.isEightBit()
             ? function(std::string_view(string.eightBitCharacters(), string.length()))
             : function(std::u16string_view(string.utf16Characters(), string.length()));
}

/// Hands the units of two strings to a function that takes every pair of views.
template <class Function>
decltype(auto) withBoth(const NSString& a, const NSString& b, Function&& function) {
  return withUnits(a, [&](auto x) { return withUnits(b, [&](auto y) { return function(x, y); }); });
}

/// A string of units as they are stored.
Ref<NSString> stringOf(std::string_view ascii);
Ref<NSString> stringOf(std::u16string_view units);

/// The units of a string to put a text together with, in the same storage.
TextStorage storageOf(const NSString& string);

/// How two units, lengths or truth values are ordered.
template <class Value>
constexpr NSComparisonResult orderOf(Value a, Value b) {
  return a < b ? NSOrderedAscending : b < a ? NSOrderedDescending : NSOrderedSame;
}

/// \name Reading two storages against each other, without widening either
/// @{

/// Where two views first differ decides, and after that their lengths. In the 8-bit storage chars
/// are never negative, so units of both kinds compare as they are.
template <class A, class B>
NSComparisonResult compareUnits(std::basic_string_view<A> a, std::basic_string_view<B> b) {
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const bool bothGoOn = x != a.end() && y != b.end();
  return bothGoOn ? orderOf(static_cast<unichar>(*x), static_cast<unichar>(*y))
                  : orderOf(x != a.end(), y != b.end());
}

/// Whether both views hold the same units.
template <class A, class B>
bool equalUnits(std::basic_string_view<A> a, std::basic_string_view<B> b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

/// Whether so many bytes are the same. For a few words, as keys mostly are, the call of the
/// standard's function takes longer than these comparisons; the last word overlaps the one before.
inline bool equalBytes(const char* a, const char* b, std::size_t count) noexcept {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  constexpr std::size_t kMostCompared = 8 * kWord;
  if (count < kWord || count > kMostCompared) {
    return std::memcmp(a, b, count) == 0;
  }
  const auto isWordEqual = [&](std::size_t place) {
    std::uint64_t x;
    std::uint64_t y;
    std::memcpy(&x, a + place, kWord);
    std::memcpy(&y, b + place, kWord);
    return x == y;
  };
  for (std::size_t place = 0; place < count - kWord; place += kWord) {
    if (!isWordEqual(place)) {
      return false;
    }
  }
  return isWordEqual(count - kWord);
}

/// Where the units of `wanted` first stand in `text`; npos when they don't.
template <class A, class B>
std::size_t findUnits(std::basic_string_view<A> text, std::basic_string_view<B> wanted,
                      std::size_t from = 0) {
  if constexpr (std::is_same_v<A, B>) {
    return text.find(wanted, from);
  } else {
    const auto found = std::search(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(),
                                   wanted.begin(), wanted.end());
    return found == text.end() && !wanted.empty() ? text.npos
                                                  : static_cast<std::size_t>(found - text.begin());
  }
}

/// @}

/// Puts units in place of a range of a storage, which widens for units that don't fit it. The range
/// lies in the storage.
void replaceUnits(TextStorage& storage, NSRange range, std::string_view ascii);
void replaceUnits(TextStorage& storage, NSRange range, std::u16string_view units);

/// Adds units at the end of a storage, which widens for units that don't fit it.
void appendUnits(TextStorage& storage, std::string_view ascii);
void appendUnits(TextStorage& storage, std::u16string_view units);

}  // namespace kestova
