// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSArrayAdditions.h>
#include <KestovaFoundation/Additions/NSStringEditing.h>
#include <KestovaFoundation/Additions/NSStringSearching.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/StringMatches.h>

#include "Additions/StringSqueezing.h"
#include "Additions/StringUnits.h"

#include <algorithm>
#include <bitset>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace kestova {

namespace {

template <class Unit>
Ref<NSString> textOf(std::basic_string_view<Unit> units) {
  return units;
}

/// The units without the members of a set. A character counts as it stands in the whole text: what
/// moves together is not looked at again.
template <class Unit>
Ref<NSString> withoutMembers(std::basic_string_view<Unit> units, const NSCharacterSet& set) {
  std::basic_string<Unit> kept;
  kept.reserve(units.size());
  for (std::size_t index = 0, length; index < units.size(); index += length) {
    length = characterLength(units, index);
    if (!set.longCharacterIsMember(characterAt(units, index, length))) {
      kept.append(units.substr(index, length));
    }
  }
  return kept;
}

/// Which of the 65,536 units a text has.
using UnitSet = std::bitset<0x10000>;

std::unique_ptr<UnitSet> unitsIn(const Ref<NSString>& text) {
  auto set = std::make_unique<UnitSet>();
  if (text) {
    withStoredUnits(text, [&](auto units) {
      for (const auto unit : units) {
        set->set(static_cast<unichar>(unit));
      }
    });
  }
  return set;
}

Ref<NSString> withoutUnits(std::string_view ascii, const UnitSet& units) {
  std::string kept;
  std::copy_if(ascii.begin(), ascii.end(), std::back_inserter(kept),
               [&](char byte) { return !units.test(static_cast<unsigned char>(byte)); });
  return kept;
}

std::u16string_view sequenceOf(OVLineEnding lineEnding) {
  return lineEnding == OVLineEndingCR ? u"\r" : lineEnding == OVLineEndingCRLF ? u"\r\n" : u"\n";
}

template <class Unit>
Ref<NSString> withLineEndings(std::basic_string_view<Unit> units, std::u16string_view sequence) {
  std::basic_string<Unit> result;
  result.reserve(units.size());
  for (std::size_t index = 0; index < units.size(); ++index) {
    const bool isCR = units[index] == '\r';
    if (!isCR && units[index] != '\n') {
      result.push_back(units[index]);
      continue;
    }
    result.append(sequence.begin(), sequence.end());
    if (isCR && index + 1 < units.size() && units[index + 1] == '\n') {
      ++index;
    }
  }
  return result;
}

/// After a separator at the front, the unit behind it is passed without a look, unless it is the
/// last one.
template <class Unit>
std::vector<id> piecesBetween(std::basic_string_view<Unit> units, const UnitSet& separators) {
  std::vector<id> pieces;
  const auto isSeparator = [&](std::size_t index) {
    return separators.test(static_cast<unichar>(units[index]));
  };
  std::size_t start = 0;
  std::size_t index = 0;
  while (index < units.size()) {
    if (isSeparator(index) && index > start) {
      pieces.push_back(textOf(units.substr(start, index - start)));
      start = ++index;
    } else if (isSeparator(index)) {
      ++start;
      index = start + 1 < units.size() ? start + 1 : start;
    } else {
      ++index;
    }
  }
  if (start < units.size()) {
    pieces.push_back(textOf(units.substr(start)));
  }
  return pieces;
}

template <class Unit>
constexpr Unit unescaped(Unit unit) {
  return unit == 'n' ? Unit{'\n'} : unit == 't' ? Unit{'\t'} : unit == 'r' ? Unit{'\r'} : unit;
}

/// What is escaped takes the place of the unit before it. Only a backslash ends that.
template <class Unit>
Ref<NSString> withoutEscapes(std::basic_string_view<Unit> units) {
  std::basic_string<Unit> result;
  result.reserve(units.size());
  bool isEscaped = false;
  for (const Unit unit : units) {
    if (isEscaped) {
      result.back() = unescaped(unit);
      isEscaped = unit != '\\';
    } else {
      result.push_back(unit);
      isEscaped = unit == '\\';
    }
  }
  return result;
}

template <class Unit, class Prefix>
Ref<NSString> withPrefixedLines(std::basic_string_view<Unit> units,
                                std::basic_string_view<Prefix> prefix) {
  using Wider = std::conditional_t<sizeof(Unit) < sizeof(Prefix), Prefix, Unit>;
  std::basic_string<Wider> result;
  for (std::size_t start = 0; start <= units.size();) {
    const std::size_t end = std::min(units.find('\n', start), units.size());
    const auto line = units.substr(start, end - start);
    result.append(prefix.begin(), prefix.end());
    result.append(line.begin(), line.end());
    result.push_back('\n');
    start = end + 1;
  }
  return result;
}

/// A text whose front has been replaced: what replaced it, and the rest of the original.
class PartlyReplaced {
 public:
  explicit PartlyReplaced(Ref<NSString> original) : original_(std::move(original)) {}

  /// The text of a range as things stand; throws NSRangeException past the end.
  Ref<NSString> substring(NSRange range) const {
    const NSUInteger split = done_->length();
    const NSUInteger moved = original_->length() - rest_ + split;
    if (range.location > moved || range.length > moved - range.location) {
      throw NSException(NSRangeException,
                        NSString::stringWithFormat("range {%lu, %lu} lies beyond length %lu",
                                                   range.location, range.length, moved));
    }
    const NSUInteger inFront =
        std::min(std::max(range.location, split) - range.location, range.length);
    const NSUInteger behind = std::max(range.location, split) - split + rest_;
    return done_->substringWithRange({std::min(range.location, split), inFront})
        ->stringByAppendingString(original_->substringWithRange({behind, range.length - inFront}));
  }

  /// Replaces a range of the original, which lies behind all that were replaced.
  void replace(NSRange range, const Ref<NSString>& replacement) {
    done_->appendString(original_->substringWithRange({rest_, range.location - rest_}));
    done_->appendString(replacement);
    rest_ = NSMaxRange(range);
  }

  Ref<NSString> text() const {
    return done_->stringByAppendingString(original_->substringFromIndex(rest_));
  }

 private:
  Ref<NSString> original_;
  Ref<NSMutableString> done_ = NSMutableString::string();
  NSUInteger rest_ = 0;
};

}  // namespace

inline namespace NSMutableString_CharacterStuff {

void deleteCharactersInSet(const Ref<NSMutableString>& self, const Ref<NSCharacterSet>& set) {
  if (self->rangeOfCharacterFromSet(set).location != NSNotFound) {
    self->setString(withStoredUnits(self, [&](auto units) { return withoutMembers(units, *set); }));
  }
}

}  // namespace NSMutableString_CharacterStuff

inline namespace NSString_CharacterStuff {

Ref<NSString> stringByDeletingCharactersInSet(const Ref<NSString>& self,
                                              const Ref<NSCharacterSet>& set) {
  return self->rangeOfCharacterFromSet(set).location == NSNotFound
             ? copyOf(self)
             : withStoredUnits(self, [&](auto units) { return withoutMembers(units, *set); });
}

Ref<NSString> ov_stringByDeletingCharactersInSet(const Ref<NSString>& self,
                                                 const Ref<NSCharacterSet>& set) {
  return stringByDeletingCharactersInSet(self, set);
}

Ref<NSString> ov_stringByRemovingCharactersInSet(const Ref<NSString>& self,
                                                 const Ref<NSCharacterSet>& set) {
  return stringByDeletingCharactersInSet(self, set);
}

/// In ASCII no unit's being found depends on what stands beside it.
Ref<NSMutableString> stringByRemovingCharactersInString(const Ref<NSString>& self,
                                                        const Ref<NSString>& characters) {
  if (characters && self->isEightBit() && characters->isEightBit()) {
    return NSMutableString::stringWithString(
        withoutUnits({self->eightBitCharacters(), self->length()}, *unitsIn(characters)));
  }
  const auto result = NSMutableString::stringWithString(self);
  for (NSUInteger index = 0; characters && index < characters->length(); ++index) {
    const unichar unit = characters->characterAtIndex(index);
    result->replaceOccurrencesOfString_withString_options_range(
        std::u16string(1, unit), NSString::string(), 0, {0, result->length()});
  }
  return result;
}

Ref<NSString> stringByNormalizingLineEndings(const Ref<NSString>& self, OVLineEnding lineEnding) {
  return withStoredUnits(
      self, [&](auto units) { return withLineEndings(units, sequenceOf(lineEnding)); });
}

Ref<NSArray> componentsSeparatedByCharactersInString(const Ref<NSString>& self,
                                                     const Ref<NSString>& separators) {
  const auto set = unitsIn(separators);
  return NSArray::arrayWithObjects(
      withStoredUnits(self, [&](auto units) { return piecesBetween(units, *set); }));
}

}  // namespace NSString_CharacterStuff

inline namespace NSString_EscapingAdditions {

Ref<NSMutableString> stringByUnescapingString(const Ref<NSString>& self) {
  return NSMutableString::stringWithString(
      withStoredUnits(self, [](auto units) { return withoutEscapes(units); }));
}

}  // namespace NSString_EscapingAdditions

inline namespace NSString_Modifying {

Ref<NSString> stringByPrefixingLinesWith(const Ref<NSString>& self, const Ref<NSString>& prefix) {
  if (!prefix) {
    return self->stringByAppendingString(prefix);
  }
  return withStoredUnits(self, [&](auto units) {
    return withStoredUnits(prefix, [&](auto front) { return withPrefixedLines(units, front); });
  });
}

Ref<NSString> ov_stringByRemovingPrefix_options(const Ref<NSString>& self,
                                                const Ref<NSString>& prefix, NSUInteger options) {
  return hasPrefix_options(self, prefix, options) ? self->substringFromIndex(prefix->length())
                                                  : self;
}

Ref<NSString> ov_stringByRemovingSuffix_options(const Ref<NSString>& self,
                                                const Ref<NSString>& suffix, NSUInteger options) {
  return hasSuffix_options(self, suffix, options)
             ? self->substringToIndex(self->length() - suffix->length())
             : self;
}

}  // namespace NSString_Modifying

inline namespace NSString_Replacement {

Ref<NSString> stringBySqueezingOccurrencesOfString_options(const Ref<NSString>& self,
                                                           const Ref<NSString>& repeated,
                                                           NSUInteger options) {
  return squeezed(self, repeated, options);
}

Ref<NSString> stringByReplacingOccurrencesOfString_options_range_withHandler(
    const Ref<NSString>& self, const Ref<NSString>& target, NSUInteger options, NSRange range,
    const OVMatchReplacement& handler) {
  const auto original = copyOf(self);
  PartlyReplaced result(original);
  visitMatches(original, target, options, range, SearchGoesOn::behindTheMatch, [&](NSRange match) {
    result.replace(match, handler(result.substring(match), match));
    return true;
  });
  return result.text();
}

}  // namespace NSString_Replacement

inline namespace NSString_CompTrimming {

Ref<NSArray> componentsSeparatedByString_trimmingCharactersInSet(const Ref<NSString>& self,
                                                                 const Ref<NSString>& separator,
                                                                 const Ref<NSCharacterSet>& set) {
  return stringsByTrimmingCharactersInSet(self->componentsSeparatedByString(separator), set);
}

}  // namespace NSString_CompTrimming

}  // namespace kestova
