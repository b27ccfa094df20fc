// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSString.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kestova::testing {

/// \file
/// Editing operations as their steps one after the other: plain, and slow where the text is long.

inline void replaceAll(const Ref<NSMutableString>& text, const Ref<NSString>& target,
                       const Ref<NSString>& other, NSUInteger options) {
  text->replaceOccurrencesOfString_withString_options_range(target, other, options,
                                                            {0, text->length()});
}

/// Without the characters of a set, each searched for from where the one before it stood.
inline std::u16string deletedBySteps(const Ref<NSString>& self, const Ref<NSCharacterSet>& set) {
  const auto text = NSMutableString::stringWithString(self);
  const auto find = [&](NSUInteger place) {
    return text->rangeOfCharacterFromSet_options_range(set, 0, {place, text->length() - place});
  };
  NSUInteger place = 0;
  for (NSRange found; (found = find(place)).location != NSNotFound; place = found.location) {
    text->deleteCharactersInRange(found);
  }
  return text->utf16();
}

/// The pieces between separators, taken from the front of a text that becomes shorter. After an
/// empty piece the walk goes on behind the next unit.
inline std::vector<std::u16string> splitBySteps(std::u16string m,
                                                const std::u16string& separators) {
  std::vector<std::u16string> pieces;
  while (!m.empty()) {
    bool startsAnew = false;
    bool endsAtSeparator = false;
    for (std::size_t k = 0; k < m.size() && !startsAnew; ++k) {
      endsAtSeparator = separators.find(m[k]) != separators.npos;
      if (endsAtSeparator) {
        const auto piece = m.substr(0, k);
        m.erase(0, k + 1);
        startsAnew = !piece.empty();
        if (startsAnew) {
          pieces.push_back(piece);
        }
      }
    }
    if (!startsAnew && !endsAtSeparator) {
      pieces.push_back(m);
      return pieces;
    }
  }
  return pieces;
}

inline std::u16string unescapedBySteps(std::u16string m) {
  bool escape = false;
  for (std::size_t i = 0; i < m.size();) {
    const char16_t c = m[i];
    if (!escape) {
      escape = c == u'\\';
      ++i;
    } else if (c == u'\\') {
      m.replace(i - 1, 2, u"\\");
      escape = false;
    } else {
      const char16_t mapped = c == u'n' ? u'\n' : c == u't' ? u'\t' : c == u'r' ? u'\r' : c;
      m.replace(i - 1, 2, 1, mapped);
    }
  }
  return m;
}

inline std::u16string withLineEndingsBySteps(const Ref<NSString>& self, OVLineEnding kind) {
  const auto text = NSMutableString::stringWithString(self);
  replaceAll(text, "\r\n", "\r", NSLiteralSearch);
  replaceAll(text, "\n", "\r", NSLiteralSearch);
  if (kind != OVLineEndingCR) {
    replaceAll(text, "\r", kind == OVLineEndingCRLF ? "\r\n" : "\n", NSLiteralSearch);
  }
  return text->utf16();
}

/// The first match of the doubled text becomes the single one until there is none.
inline std::u16string squeezedBySteps(const Ref<NSString>& self, const Ref<NSString>& once,
                                      NSUInteger options) {
  const auto twice = once->stringByAppendingString(once);
  const auto text = NSMutableString::stringWithString(self);
  for (NSRange match;
       (match = text->rangeOfString_options(twice, options)).location != NSNotFound;) {
    text->replaceCharactersInRange_withString(match, once);
  }
  return text->utf16();
}

}  // namespace kestova::testing
