// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSString.h>

#include <cstdint>

namespace kestova {

/// What ends a line. Any other value ends none: the text is one line then.
enum OVLineEnding : std::int32_t {
  OVLineEndingLF = 0,
  OVLineEndingCR = 1,
  OVLineEndingCRLF = 2,
};

/// Lines, words and positions, as an editor's status bar and its go-to-line command ask for them.
///
///     const Ref<NSString> text = "one\ntwo words\n";
///     wordCount(text);                                                        // 3
///     indexOfLine_withLineEnding(text, 2, OVLineEndingLF);                    // 4
///     // Line 2, column 4:
///     lineAndCharacterPositionAtIndex_withLineEnding(text, 8, OVLineEndingLF);
///
/// Lines are counted from 1, indexes from 0. All operations but `lineCount` look at the text's
/// bytes in UTF-8, but only at as many of them as the text has UTF-16 units, its `length`; indexes
/// are places among these bytes. With ASCII text this is one and the same. An unpaired surrogate
/// has the bytes of U+FFFD.
///
/// A position is a pair: the line as `location`, the column as `length`.
///
/// Threads: as the string. Cost: one pass over what is looked at, or two where a position is asked
/// for, at about the speed of reading memory; nothing is allocated, in either storage.
inline namespace NSString_WordLineCounter {

/// \name The whole text
/// @{

/// How the last line that ends does so, LF when none does. A CR as the last byte is a CR, whatever
/// came before; the first byte never ends a line here.
KESTOVA_FOUNDATION_EXPORT OVLineEnding lineEnding(const Ref<NSString>& self);

/// How many runs of letters and digits there are. Bytes are widened as signed numbers, so those of
/// characters beyond ASCII count as what U+FF80…U+FFFF are: most of them as letters.
KESTOVA_FOUNDATION_EXPORT NSUInteger wordCount(const Ref<NSString>& self);

/// How many lines there are, 0 for the empty text, whichever way each of them ends: in LF or CR.
/// In 8-bit storage a CR and its LF end one line; in UTF-16 storage they end two, and there it is a
/// row of CRs that counts once. An ending in the first place doesn't count, nor a CR in the last.
KESTOVA_FOUNDATION_EXPORT NSUInteger lineCount(const Ref<NSString>& self);

/// One more than there are endings of that kind, in any place.
KESTOVA_FOUNDATION_EXPORT NSUInteger lineCountWithLineEnding(const Ref<NSString>& self,
                                                             OVLineEnding ending);

/// @}
/// \name Lines and indexes, the ending found out
///
/// The first LF or CR decides which kind of ending the whole text has. Where that is a CR with its
/// LF, no further ending counts: such a text has two lines. Its second line starts at the LF.
/// @{

/// The line of the byte at an index; behind the end, that of the end.
KESTOVA_FOUNDATION_EXPORT NSUInteger lineCountAtIndex(const Ref<NSString>& self, NSUInteger index);

/// Where a line starts: 0 for lines 0 and 1, `length` for one that there isn't.
KESTOVA_FOUNDATION_EXPORT NSUInteger indexOfLine(const Ref<NSString>& self, NSUInteger line);

/// The line and the column, from 1. A TAB is as wide as `tabLength`, wherever it stands, any other
/// byte has the width 1. Behind the end, the column is that of the end.
KESTOVA_FOUNDATION_EXPORT NSRange lineAndCharacterPositionAtIndex_withTabLength(
    const Ref<NSString>& self, NSUInteger index, NSUInteger tabLength);

/// @}
/// \name Lines and indexes, the ending given
/// @{

/// The line of the byte at an index. At index 0 the first byte is counted already: a text that
/// begins with an ending is on line 2 there.
KESTOVA_FOUNDATION_EXPORT NSUInteger lineCountAtIndex_withLineEnding(const Ref<NSString>& self,
                                                                     NSUInteger index,
                                                                     OVLineEnding ending);

/// Where a line starts: 0 for lines 0 and 1 and in the empty text, `length` + 1 for one that there
/// isn't.
KESTOVA_FOUNDATION_EXPORT NSUInteger indexOfLine_withLineEnding(const Ref<NSString>& self,
                                                                NSUInteger line,
                                                                OVLineEnding ending);

/// As `lineAndCharacterPositionAtIndex_withTabLength`; the column is 1 where the line starts behind
/// the index.
KESTOVA_FOUNDATION_EXPORT NSRange lineAndCharacterPositionAtIndex_withTabLength_withLineEnding(
    const Ref<NSString>& self, NSUInteger index, NSUInteger tabLength, OVLineEnding ending);

/// The line and how far the index is from its start, from 0 and however far behind the end. Wraps
/// around where the line starts behind the index.
KESTOVA_FOUNDATION_EXPORT NSRange lineAndCharacterPositionAtIndex_withLineEnding(
    const Ref<NSString>& self, NSUInteger index, OVLineEnding ending);

/// @}

}  // namespace NSString_WordLineCounter

}  // namespace kestova
