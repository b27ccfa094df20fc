// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRange.h>

#include <cstdint>
#include <limits>
#include <string>

namespace kestova::testing {

/// The steps of searching and replacing bytes one by one, as they are told, for comparing with. The
/// data is a string, and a range lies in it.
struct PlainReplacing {
  static constexpr NSRange kNowhere = {NSNotFound, 0};

  std::string data;
  std::string pattern;
  const char* replacement = nullptr;  // of `replacementLength` bytes
  NSUInteger replacementLength = 0;

  NSRange search(NSUInteger location, NSUInteger length) const {
    const NSUInteger m = pattern.size();
    if (m == 0 || m > length) {
      return kNowhere;
    }
    if (length - m > std::numeric_limits<NSUInteger>::max() - location) {
      return kNowhere;
    }
    for (NSUInteger start = location; start <= location + (length - m); ++start) {
      if (data.compare(start, m, pattern) == 0) {
        return {start, m};
      }
    }
    return kNowhere;
  }

  NSUInteger replaceAll(NSRange range) {
    return replacementLength > pattern.size() ? grow(range) : compact(range);
  }

 private:
  NSUInteger grow(NSRange range) {
    NSUInteger count = 0;
    for (;;) {
      const NSRange match = search(range.location, range.length);
      if (match == kNowhere) {
        return count;
      }
      const NSUInteger end = NSMaxRange(range);
      data.replace(match.location, match.length, replacement, replacementLength);
      ++count;
      range = {match.location + replacementLength, end - match.location - match.length};
    }
  }

  void copy(NSUInteger from, NSUInteger to, NSUInteger& written) {
    while (from < to) {
      data[written++] = data[from++];
    }
  }

  void put(NSUInteger& written) {
    for (NSUInteger index = 0; replacement != nullptr && index < replacementLength; ++index) {
      data[written++] = replacement[index];
    }
  }

  NSUInteger compact(NSRange range) {
    if (range.length == 0) {
      data.clear();
      return 0;
    }
    const NSUInteger end = NSMaxRange(range);
    NSUInteger position = range.location;
    NSUInteger span = range.length;
    NSUInteger written = 0;
    NSUInteger count = 0;
    for (;;) {
      const NSRange first = search(position, span);
      if (first == kNowhere) {
        return count;
      }
      copy(position, first.location, written);
      const NSUInteger behind = NSMaxRange(first);
      const NSRange second = search(behind, end - behind);
      put(written);
      if (second == kNowhere) {
        copy(behind, end, written);
        data.resize(written);
        return count + 1;
      }
      copy(behind, second.location, written);
      put(written);
      count += 2;
      position = NSMaxRange(second);
      span = range.length - position;
      if (span == 0) {
        data.resize(written);
        return count;
      }
    }
  }
};

}  // namespace kestova::testing
