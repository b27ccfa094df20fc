// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \file
/// Text that stands for bytes: hexadecimal digits as people type them, and 32 symbols.
///
///     Ref<NSString> code = stringFromBase32Data(serial);   // "Z7…", never I, L, O or U
///     Ref<NSData> back = base32Data("z7-k2");              // as it was typed in
///
/// Threads: any.

inline namespace NSString_HexAdditions {

/// The bytes of a text that is taken two characters at a time, after every CR, LF and blank is left
/// out: each pair as a scanner reads a hexadecimal number. Spaces of other kinds in front of it are
/// passed over, digits count up to the first other character, and what is no number is 0: "1g" is
/// 1, "g1" is 0. Null only when no character or an odd number of them is left.
///
/// NSData_HexAdditions has one of the same name that is strict: name the category.
KESTOVA_FOUNDATION_EXPORT Ref<NSData> dataFromHexString(const Ref<NSString>& self);

}  // namespace NSString_HexAdditions

inline namespace NSString_Base32Additions {

/// The bytes as symbols of "0123456789ABCDEFGHJKMNPQRSTVWXYZ", 5 bits each, the lowest ones of the
/// first byte first; zero bits fill the last one. There is no padding. Empty for no bytes and for
/// null.
KESTOVA_FOUNDATION_EXPORT Ref<NSString> stringFromBase32Data(const Ref<NSData>& data);

/// The reverse, for symbols of both cases; LF, CR, blanks and "-" are passed over, bits that fill
/// no byte at the end are dropped. Null when any other character stands in the text. Text without
/// symbols gives no bytes.
///
/// The text is read in upper case and no further than its own length, so that a character whose
/// upper case is a symbol is one ("ſ" is "S"), and of one that becomes two the last is cut off.
KESTOVA_FOUNDATION_EXPORT Ref<NSData> base32Data(const Ref<NSString>& self);

}  // namespace NSString_Base32Additions

}  // namespace kestova
