// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSStringWordLineCounter.h>
#include <KestovaPlatform/TextScanning.h>
#include <KestovaPlatform/UTF8.h>

#include <algorithm>
#include <optional>
#include <string_view>

namespace kestova {

namespace {

template <class Function>
decltype(auto) withUnits(const NSString& text, Function&& function) {
  return text.isEightBit() ? function(std::string_view(text.eightBitCharacters(), text.length()))
                           : function(std::u16string_view(text.utf16Characters(), text.length()));
}

/// \name The UTF-8 form in pieces
/// Hands a range of a text's UTF-8 form to `visit(piece, start)`, in order and until that answers
/// false. A piece is a view of bytes, or of the units that they are the form of; `start` is the
/// place of its first byte. The range begins with a character and lies in the form.
/// @{

template <class Visit>
void visitUTF8(std::string_view text, NSRange bytes, Visit visit) {
  visit(text.substr(bytes.location, bytes.length), bytes.location);
}

/// A piece is short enough to be still in the processor's nearest cache when it is read after it
/// was measured. While the end is far, it has as many units as stay before it whatever they are.
/// The last few, of which a character may be cut, are better made bytes.
template <class Visit>
void visitUTF8(std::u16string_view text, NSRange bytes, Visit visit) {
  constexpr std::size_t kPiece = 1024;
  constexpr std::size_t kFew = 256;
  const NSUInteger end = NSMaxRange(bytes);
  NSUInteger start = bytes.location;
  text.remove_prefix(longestUTF8Prefix(text, start).units);
  while (end - start > kFew) {
    const auto piece = wholeCharacters(text, std::min(kPiece, (end - start) / 3));
    if (!visit(piece, start)) {
      return;
    }
    text.remove_prefix(piece.size());
    start += utf8LengthOfUTF16(piece);
  }
  char buffer[kFew + 3];
  writeUTF8(text, buffer);
  visit(std::string_view(buffer, end - start), start);
}

template <class Visit>
void visitUTF8(const NSString& text, NSRange bytes, Visit visit) {
  withUnits(text, [&](auto units) { visitUTF8(units, bytes, visit); });
}

/// Adds the first bytes of a text to a counter.
template <class Counter>
Counter fed(Counter counter, const NSString& text, NSUInteger bytes) {
  visitUTF8(text, {0, bytes}, [&](auto piece, NSUInteger) {
    counter.add(piece);
    return true;
  });
  return counter;
}

std::size_t bytesOf(std::string_view text) { return text.size(); }
std::size_t bytesOf(std::u16string_view text) { return utf8LengthOfUTF16(text); }

/// @}

void addBytes(ByteRunCounter& counter, std::string_view text) { counter.add(text); }
void addBytes(ByteRunCounter& counter, std::u16string_view text) { counter.add(text, text.size()); }

LineEnding kindOf(OVLineEnding ending) { return static_cast<LineEnding>(ending); }

NSUInteger countOfEndings(const NSString& text, NSUInteger bytes, LineEnding ending) {
  return fed(LineEndingCounter(ending), text, bytes).count();
}

/// The place behind the ending of that number, from 1.
std::optional<NSUInteger> indexBehindEnding(const NSString& text, LineEnding ending,
                                            NSUInteger number) {
  std::optional<NSUInteger> index;
  LineEndingCounter counter(ending);
  visitUTF8(text, {0, text.length()}, [&](auto piece, NSUInteger start) {
    if (const auto found = counter.addUntil(piece, number)) {
      index = start + bytesOf(piece.substr(0, *found)) + 1;
    }
    return !index;
  });
  return index;
}

/// The first line break of a text, which decides how all of its lines end.
struct FirstEnding {
  LineEnding kind;
  NSUInteger index;
};

template <class Text>
LineEnding kindOfBreak(Text text, std::size_t unit, bool isLastByte) {
  const bool hasPair = !isLastByte && unit + 1 < text.size() && text[unit + 1] == '\n';
  return text[unit] == '\n' ? LineEnding::LF : hasPair ? LineEnding::CRLF : LineEnding::CR;
}

/// The first line break, if it is among the first bytes.
std::optional<FirstEnding> firstEndingWithin(const NSString& text, NSUInteger bytes) {
  return withUnits(text, [&](auto units) -> std::optional<FirstEnding> {
    const std::size_t unit = firstLineBreak(units.substr(0, bytes));
    if (unit == units.npos) {
      return std::nullopt;
    }
    const NSUInteger index = bytesOf(units.substr(0, unit));
    return index < bytes ? std::optional(FirstEnding{
                               kindOfBreak(units, unit, index + 1 == text.length()), index})
                         : std::nullopt;
  });
}

/// The column, from 1, of an index on the line that begins at `start`.
NSUInteger columnWithTabs(const NSString& text, NSUInteger start, NSUInteger index,
                          NSUInteger tabLength) {
  const NSUInteger end = std::min(index, text.length());
  if (start >= end) {
    return 1;
  }
  NSUInteger tabs = 0;
  visitUTF8(text, {start, end - start}, [&](auto piece, NSUInteger) {
    tabs += countOf(piece, '\t');
    return true;
  });
  return 1 + (end - start - tabs) + tabs * tabLength;
}

}  // namespace

inline namespace NSString_WordLineCounter {

OVLineEnding lineEnding(const Ref<NSString>& self) {
  return static_cast<OVLineEnding>(fed(LastLineEnding(), *self, self->length()).ending());
}

NSUInteger wordCount(const Ref<NSString>& self) {
  ByteRunCounter counter(alphanumericBytes());
  withUnits(*self, [&](auto units) { addBytes(counter, units); });
  return counter.count();
}

NSUInteger lineCount(const Ref<NSString>& self) {
  LineCounter counter(self->isEightBit() ? CRPartner::LF : CRPartner::CR);
  withUnits(*self, [&](auto units) { counter.add(units); });
  return counter.count();
}

NSUInteger lineCountWithLineEnding(const Ref<NSString>& self, OVLineEnding ending) {
  return 1 + countOfEndings(*self, self->length(), kindOf(ending));
}

NSUInteger lineCountAtIndex(const Ref<NSString>& self, NSUInteger index) {
  const NSUInteger bytes = std::min(index, self->length());
  const auto first = firstEndingWithin(*self, bytes);
  if (!first) {
    return 1;
  }
  return first->kind == LineEnding::CRLF ? 2 : 1 + countOfEndings(*self, bytes, first->kind);
}

NSUInteger indexOfLine(const Ref<NSString>& self, NSUInteger line) {
  if (line < 2) {
    return 0;
  }
  const NSUInteger length = self->length();
  const auto first = firstEndingWithin(*self, length);
  if (!first) {
    return length;
  }
  if (first->kind == LineEnding::CRLF) {
    return line == 2 ? first->index + 1 : length;
  }
  return indexBehindEnding(*self, first->kind, line - 1).value_or(length);
}

NSRange lineAndCharacterPositionAtIndex_withTabLength(const Ref<NSString>& self, NSUInteger index,
                                                      NSUInteger tabLength) {
  const NSUInteger line = lineCountAtIndex(self, index);
  return {line, columnWithTabs(*self, indexOfLine(self, line), index, tabLength)};
}

NSUInteger lineCountAtIndex_withLineEnding(const Ref<NSString>& self, NSUInteger index,
                                           OVLineEnding ending) {
  const NSUInteger bytes = std::min(std::max<NSUInteger>(index, 1), self->length());
  return 1 + countOfEndings(*self, bytes, kindOf(ending));
}

NSUInteger indexOfLine_withLineEnding(const Ref<NSString>& self, NSUInteger line,
                                      OVLineEnding ending) {
  if (line < 2 || self->length() == 0) {
    return 0;
  }
  return indexBehindEnding(*self, kindOf(ending), line - 1).value_or(self->length() + 1);
}

NSRange lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(const Ref<NSString>& self,
                                                                     NSUInteger index,
                                                                     NSUInteger tabLength,
                                                                     OVLineEnding ending) {
  const NSUInteger line = lineCountAtIndex_withLineEnding(self, index, ending);
  const NSUInteger start = indexOfLine_withLineEnding(self, line, ending);
  return {line, columnWithTabs(*self, start, index, tabLength)};
}

NSRange lineAndCharacterPositionAtIndex_withLineEnding(const Ref<NSString>& self, NSUInteger index,
                                                       OVLineEnding ending) {
  const NSUInteger line = lineCountAtIndex_withLineEnding(self, index, ending);
  return {line, index - indexOfLine_withLineEnding(self, line, ending)};
}

}  // namespace NSString_WordLineCounter

}  // namespace kestova
