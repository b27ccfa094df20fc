// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/FormatArgument.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRange.h>
#include <KestovaPlatform/NSStringEncodings.h>
#include <KestovaPlatform/NSTypes.h>

#include <algorithm>
#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace kestova {

class NSCharacterSet;
class NSData;
class NSLocale;
template <class Signature>
class Block;

namespace detail {
class BufferedString;
}  // namespace detail

/// How texts are searched and compared, as a sum of bits. Without any, canonically equivalent
/// characters are the same ("é" is "e" with a combining accent), and a match is made of whole
/// characters as a reader sees them: "e" is not found in either "é". CR and LF are two characters.
enum NSStringCompareOptions : NSUInteger {
  /// Case makes no difference, in full: "ß" is "SS", and the three sigmas are one.
  NSCaseInsensitiveSearch = 1,
  /// Units count as they are: equivalent characters differ, and a match may cut one. What other
  /// options take away they take from each Unicode character by itself.
  NSLiteralSearch = 2,
  /// The last match instead of the first one.
  NSBackwardsSearch = 4,
  /// Only a match at the beginning of the range, with NSBackwardsSearch at its end.
  NSAnchoredSearch = 8,
  /// In comparisons, ASCII digits are numbers: "a2" comes before "a10", and "a02" is "a2".
  NSNumericSearch = 64,
  /// Accents, points and vowel signs over or under a base make no difference: "é" is "e". Marks
  /// that make another letter (viramas, nuktas, the voicing of kana, overlays) stay.
  NSDiacriticInsensitiveSearch = 128,
  /// Full-width and half-width forms are the usual ones: "Ａ" is "A".
  NSWidthInsensitiveSearch = 256,
  /// In comparisons, texts that are the same otherwise are ordered by their units.
  NSForcedOrderingSearch = 512,
  /// The text to be found is a regular expression. Only NSCaseInsensitiveSearch and
  /// NSAnchoredSearch go with it; one that is none is found nowhere.
  NSRegularExpressionSearch = 1024,
};

/// A text: a sequence of UTF-16 code units, immutable here.
///
///     Ref<NSString> greeting = "Grüße";                       // UTF-8 literals box themselves
///     Ref<NSString> line = NSString::stringWithFormat("%@: %ld of %ld", greeting, 3L, 10L);
///     std::cout << line << '\n';
///     if (line == "Grüße: 3 of 10") …                         // compares the text
///
/// Every length, index and range counts UTF-16 units. The units are kept in one of two storages:
/// 8-bit where every one of them is ASCII, UTF-16 otherwise or where the maker asked for it; the
/// storage never shows but through `eightBitCharacters`, `utf16Characters` and speed. Unpaired
/// surrogates are kept as they are; only the conversion to UTF-8 refuses them.
///
/// Threads: immutable, so any number of threads may read one string at a time.
///
/// Cost: a string of up to 16383 units is one block of memory, object and text together, of 18
/// bytes and the text: 22 ASCII characters take 40 bytes.
class KESTOVA_PLATFORM_EXPORT NSString : public NSObject {
  KESTOVA_CLASS(NSString, NSObject)

 public:
  /// \name Making
  /// @{

  /// The empty string.
  static Ref<NSString> string();

  /// The text of well-formed UTF-8 (a NUL is a character like others); null when it is not
  /// well-formed. Nothing is repaired in silence.
  static Ref<NSString> stringWithUTF8String(std::string_view utf8);

  /// The given UTF-16 units; ASCII text goes into 8-bit storage. `characters` may be null when
  /// `length` is 0.
  static Ref<NSString> stringWithCharacters_length(const unichar* characters, NSUInteger length);

  /// The given UTF-16 units kept in UTF-16 storage, whatever they are; 512 bytes and more
  /// without copying.
  static Ref<NSString> stringWithUTF16Storage(std::u16string characters);

  /// The given ASCII bytes, 512 and more without copying; null when one is not ASCII.
  static Ref<NSString> stringWithEightBitStorage(std::string characters);

  /// An immutable string of the same text; null for null.
  static Ref<NSString> stringWithString(const Ref<NSString>& string);

  /// The text of a file name's bytes. Bytes that are no UTF-8 become the unpaired surrogates
  /// U+DC80…U+DCFF, which `fileSystemRepresentation` turns back: every name survives the round
  /// trip.
  static Ref<NSString> stringWithFileSystemRepresentation(std::string_view bytes);

  /// Formats as printf does, and `%@` as the argument's description ("(null)" for nothing). The
  /// conversions are d D i u U o O x X c C s S f F e E g G a A p @ and %%, with flags, width,
  /// precision (also `*`), length modifiers and positions ("%2$@"). Decimal points are points in
  /// every locale. Without a length modifier an integer counts with its low 32 bits.
  ///
  /// `%s` takes a C string in UTF-8 (its precision counts bytes, and what is not well-formed shows
  /// as U+FFFD), `%S` a UTF-16 one, `%C` a UTF-16 unit, `%c` one of the first 256 characters. The
  /// precision of `%S` and `%@`, and every width, counts units. Widths and precisions of numbers
  /// end at 65535.
  ///
  /// An argument that does not fit its conversion is converted where numbers are concerned, else
  /// printed as its own kind; a missing one prints as nothing, and what is no conversion prints as
  /// it stands. A null format throws NSInvalidArgumentException.
  template <class... Arguments>
  static Ref<NSString> stringWithFormat(const Ref<NSString>& format,
                                        const Arguments&... arguments) {
    return initWithFormat_arguments(format, {FormatArgument(arguments)...});
  }
  static Ref<NSString> initWithFormat_arguments(const Ref<NSString>& format,
                                                const FormatArguments& arguments);

  /// The names joined with one slash between, as `stringByAppendingPathComponent` joins; "/" as the
  /// first one makes the path absolute, "/" or "" as the last one gives it a trailing slash. No
  /// names give "", null gives null. The reverse of `pathComponents`.
  static Ref<NSString> pathWithComponents(const Ref<NSArray>& components);

  /// @}
  /// \name Reading
  /// @{

  NSUInteger length() const noexcept;  ///< In UTF-16 units.

  /// The unit at an index; throws NSRangeException past the end.
  unichar characterAtIndex(NSUInteger index) const;

  /// Copies the units of a range out; throws NSRangeException past the end.
  void getCharacters_range(unichar* buffer, NSRange range) const;

  /// Which storage the text is in.
  bool isEightBit() const noexcept;

  /// The units as ASCII bytes, without copying; null when the text is in UTF-16 storage. Valid
  /// until the string changes or goes.
  const char* eightBitCharacters() const noexcept;

  /// The units, without copying; null when the text is in 8-bit storage.
  const unichar* utf16Characters() const noexcept;

  /// The text in UTF-8; nothing when it holds unpaired surrogates.
  std::optional<std::string> UTF8String() const;

  /// The text in UTF-8 for showing it: unpaired surrogates become U+FFFD.
  std::string displayUTF8() const;

  /// The text as UTF-16 units.
  std::u16string utf16() const;

  /// The bytes by which the file system knows the path: UTF-8, the surrogates of
  /// `stringWithFileSystemRepresentation` as the bytes that they stand for. Throws
  /// NSInvalidArgumentException for other unpaired surrogates or a NUL.
  std::string fileSystemRepresentation() const;

  /// @}
  /// \name Comparing
  ///
  /// `options` are a sum of NSStringCompareOptions. Texts are ordered by the UTF-16 units of what
  /// the options leave of them, in composed form: the same order on every machine, and none that a
  /// reader would expect; for that there are the localized ones. Null throws
  /// NSInvalidArgumentException.
  /// @{

  /// Whether both have the same units. Null is equal to nothing.
  bool isEqualToString(const Ref<NSString>& other) const;

  /// Without options: canonically equivalent texts are the same here, though not equal.
  NSComparisonResult compare(const Ref<NSString>& other) const;
  NSComparisonResult compare_options(const Ref<NSString>& other, NSUInteger options) const;

  /// Compares the text of a range, seen by itself, with another text. A range past the end throws
  /// NSRangeException.
  NSComparisonResult compare_options_range(const Ref<NSString>& other, NSUInteger options,
                                           NSRange range) const;

  NSComparisonResult caseInsensitiveCompare(const Ref<NSString>& other) const;  ///< Without case.

  /// As readers order, by the conventions of the current locale; the last one as file managers list
  /// names: without case, and numbers by their value.
  NSComparisonResult localizedCompare(const Ref<NSString>& other) const;
  NSComparisonResult localizedCaseInsensitiveCompare(const Ref<NSString>& other) const;
  NSComparisonResult localizedStandardCompare(const Ref<NSString>& other) const;

  /// Whether the text matches a pattern without regard to case, from its beginning to its end: "*"
  /// stands for any number of characters, "?" for one.
  bool isCaseInsensitiveLike(const Ref<NSString>& pattern) const;

  /// Whether the units begin or end with another text's; every text does with the empty one, none
  /// with null.
  bool hasPrefix(const Ref<NSString>& prefix) const;
  bool hasSuffix(const Ref<NSString>& suffix) const;

  /// The beginning of this text that the other one begins with too, as the options see it.
  Ref<NSString> commonPrefixWithString_options(const Ref<NSString>& other,
                                               NSUInteger options) const;

  bool isEqual(const id& other) const override;  ///< Whether it has the same units.
  NSUInteger hash() const override;

  /// @}
  /// \name Searching
  ///
  /// `options` are a sum of NSStringCompareOptions. What is not found answers {NSNotFound, 0}, and
  /// the empty text is found nowhere. A match may be longer or shorter than what was looked for.
  /// Ranges past the end throw NSRangeException, null throws NSInvalidArgumentException.
  /// @{

  NSRange rangeOfString(const Ref<NSString>& other) const;  ///< Where it is first.
  NSRange rangeOfString_options(const Ref<NSString>& other, NSUInteger options) const;

  /// Searches a range. What is whole characters is decided in the whole text: a range that cuts
  /// one does not make a match of its parts.
  NSRange rangeOfString_options_range(const Ref<NSString>& other, NSUInteger options,
                                      NSRange range) const;

  /// The same with the letters of a locale: in Turkish and Azeri, "I" belongs to "ı" and "İ" to
  /// "i" where case is ignored. A null locale is none.
  NSRange rangeOfString_options_range_locale(const Ref<NSString>& other, NSUInteger options,
                                             NSRange range, const Ref<NSLocale>& locale) const;

  bool containsString(const Ref<NSString>& other) const;  ///< Whether it is found.

  /// The first character of a set: one unit, or both of a surrogate pair. Of the options,
  /// NSBackwardsSearch and NSAnchoredSearch count.
  NSRange rangeOfCharacterFromSet(const Ref<NSCharacterSet>& set) const;
  NSRange rangeOfCharacterFromSet_options(const Ref<NSCharacterSet>& set, NSUInteger options) const;
  NSRange rangeOfCharacterFromSet_options_range(const Ref<NSCharacterSet>& set, NSUInteger options,
                                                NSRange range) const;

  /// The units that make one character for a reader with the unit at an index: a base with its
  /// marks, a surrogate pair, a syllable, a joined emoji. CR and LF are two characters.
  NSRange rangeOfComposedCharacterSequenceAtIndex(NSUInteger index) const;

  /// The whole characters that a range touches. An empty range gives an empty one, moved to the
  /// beginning of the character that it lies in.
  NSRange rangeOfComposedCharacterSequencesForRange(NSRange range) const;

  /// @}
  /// \name Taking apart and putting together
  /// Ranges past the end throw NSRangeException, null throws NSInvalidArgumentException.
  /// @{

  Ref<NSString> substringWithRange(NSRange range) const;
  Ref<NSString> substringFromIndex(NSUInteger index) const;  ///< The unit there and all behind it.
  Ref<NSString> substringToIndex(NSUInteger index) const;    ///< All units before it.

  /// This text followed by the other.
  Ref<NSString> stringByAppendingString(const Ref<NSString>& other) const;

  template <class... Arguments>
  Ref<NSString> stringByAppendingFormat(const Ref<NSString>& format,
                                        const Arguments&... arguments) const {
    return stringByAppendingString(stringWithFormat(format, arguments...));
  }

  /// The pieces between the separators, found as `rangeOfString` finds; always one more than there
  /// are separators.
  Ref<NSArray> componentsSeparatedByString(const Ref<NSString>& separator) const;

  /// The pieces between the characters of a set, always one more than there are of them.
  Ref<NSArray> componentsSeparatedByCharactersInSet(const Ref<NSCharacterSet>& separators) const;

  /// The text without the characters of a set at both of its ends.
  Ref<NSString> stringByTrimmingCharactersInSet(const Ref<NSCharacterSet>& set) const;

  /// The text with every match replaced, as they are found from the front (or, with
  /// NSBackwardsSearch, the back) without overlapping. With NSRegularExpressionSearch the
  /// replacement is a template, where $1 stands for the first group.
  Ref<NSString> stringByReplacingOccurrencesOfString_withString(
      const Ref<NSString>& target, const Ref<NSString>& replacement) const;
  Ref<NSString> stringByReplacingOccurrencesOfString_withString_options_range(
      const Ref<NSString>& target, const Ref<NSString>& replacement, NSUInteger options,
      NSRange range) const;

  Ref<NSString> stringByReplacingCharactersInRange_withString(
      NSRange range, const Ref<NSString>& replacement) const;

  /// The text cut to a length, or brought to it by repeating `padding` from its unit `index` on. An
  /// index that is not in the padding throws NSRangeException, an empty padding
  /// NSInvalidArgumentException; neither is looked at where nothing is to be added.
  Ref<NSString> stringByPaddingToLength_withString_startingAtIndex(NSUInteger length,
                                                                   const Ref<NSString>& padding,
                                                                   NSUInteger index) const;

  /// @}
  /// \name Case and forms
  /// The same everywhere, whatever the locale. A text may become longer: "ß" is "SS" in capitals.
  /// @{

  Ref<NSString> uppercaseString() const;
  Ref<NSString> lowercaseString() const;

  /// Words, which are what stands between white space, with a capital first and small letters
  /// after it.
  Ref<NSString> capitalizedString() const;

  /// The text without the distinctions that NSCaseInsensitiveSearch, NSDiacriticInsensitiveSearch
  /// and NSWidthInsensitiveSearch take away, in composed form; itself with none of them. The locale
  /// counts as for searching and may be null.
  Ref<NSString> stringByFoldingWithOptions_locale(NSUInteger options,
                                                  const Ref<NSLocale>& locale) const;

  /// Unicode's normalization forms C, D, KC and KD.
  Ref<NSString> precomposedStringWithCanonicalMapping() const;
  Ref<NSString> decomposedStringWithCanonicalMapping() const;
  Ref<NSString> precomposedStringWithCompatibilityMapping() const;
  Ref<NSString> decomposedStringWithCompatibilityMapping() const;

  /// @}
  /// \name Numbers
  ///
  /// What the text begins with, after white space: a sign and ASCII digits. What follows is not
  /// looked at, and where there is no number the answer is zero. Decimal points are points in every
  /// locale.
  /// @{

  /// Numbers too great or too small are the greatest or smallest of the type.
  int intValue() const;
  NSInteger integerValue() const;
  long long longLongValue() const;

  /// Correctly rounded; beyond the type's range an infinity or zero, with the sign of the number.
  float floatValue() const;
  double doubleValue() const;

  /// Whether it begins with Y, y, T, t or a number whose first digit other than 0 is there.
  bool boolValue() const;

  /// @}
  /// \name Lines
  ///
  /// A line ends with LF, CR, CR LF, U+0085, U+2028 or U+2029, which belongs to it, or with the
  /// text. Ranges past the end throw NSRangeException.
  /// @{

  /// Where the first of the lines that a range touches begins, where the last one ends, and where
  /// it would without its line ending. Each pointer may be null.
  void getLineStart_end_contentsEnd_forRange(NSUInteger* start, NSUInteger* end,
                                             NSUInteger* contentsEnd, NSRange range) const;

  /// The lines that a range touches.
  NSRange lineRangeForRange(NSRange range) const;

  /// Calls the block for each line without its ending, on this thread, until it sets its last
  /// argument. What a text ends with is a line only if it is not empty.
  void enumerateLinesUsingBlock(
      const Block<void(const Ref<NSString>& line, bool* stop)>& block) const;

  /// @}
  /// \name Encodings
  ///
  /// Nothing is replaced or dropped unless a loss is allowed: see CFStringEncodings.h, which also
  /// has the encodings that have no constant here, their names, and converting into buffers.
  /// @{

  /// The text of bytes in an encoding; null when they are malformed, the encoding is not available,
  /// or there is no data. `bytes` may be null when `length` is 0.
  ///
  /// A byte-order mark at the front of NSUTF16StringEncoding and NSUTF32StringEncoding tells the
  /// order of the bytes and is no part of the text; without one they are in the machine's own
  /// order. A mark at the front of UTF-8 is no part of the text either. Where the encoding states
  /// the order, U+FEFF is a character as any other.
  static Ref<NSString> initWithData_encoding(const Ref<NSData>& data, NSStringEncoding encoding);
  static Ref<NSString> initWithBytes_length_encoding(const void* bytes, NSUInteger length,
                                                     NSStringEncoding encoding);

  /// The text's bytes in an encoding; null when it cannot hold every character, or is not
  /// available. NSUTF16StringEncoding and NSUTF32StringEncoding begin with a byte-order mark, also
  /// of the empty text.
  Ref<NSData> dataUsingEncoding(NSStringEncoding encoding) const;

  /// The same, with "?" in place of what the encoding cannot hold when `allowsLoss` is true.
  Ref<NSData> dataUsingEncoding_allowLossyConversion(NSStringEncoding encoding,
                                                     bool allowsLoss) const;

  /// Whether an encoding can hold every character.
  bool canBeConvertedToEncoding(NSStringEncoding encoding) const;

  /// How many bytes the text takes in an encoding, without a byte-order mark; 0 when it cannot hold
  /// every character.
  NSUInteger lengthOfBytesUsingEncoding(NSStringEncoding encoding) const;

  /// @}
  /// \name Paths
  ///
  /// Paths use "/". Trailing slashes and doubled ones don't count and don't appear in results,
  /// except that the root stays "/". Nothing here asks the file system. A null component or
  /// extension throws NSInvalidArgumentException.
  /// @{

  /// Whether it begins with a slash.
  bool isAbsolutePath() const;

  /// The root as "/" and every name; a trailing slash gives a last "/". Empty for "".
  Ref<NSArray> pathComponents() const;

  /// "/tmp/a.txt" and "/tmp/a.txt/" give "a.txt", "/" gives "/", "" gives "".
  Ref<NSString> lastPathComponent() const;

  /// "/tmp/a.txt" gives "/tmp", "/tmp" gives "/", "/" gives "/", "a.txt" gives "".
  Ref<NSString> stringByDeletingLastPathComponent() const;

  /// Joins with one slash between: "/tmp" and "a" or "/a" give "/tmp/a", "" and "a" give "a".
  Ref<NSString> stringByAppendingPathComponent(const Ref<NSString>& component) const;

  /// What follows the last full stop of the last component; empty for ".profile", "a." and "a".
  Ref<NSString> pathExtension() const;

  /// The path without its extension and the full stop before it; a path without one as it is, but
  /// for its slashes.
  Ref<NSString> stringByDeletingPathExtension() const;

  /// The path with "." and the extension added, which may be empty. Null for the root and for "",
  /// which have no name to extend, and for an extension that holds a slash.
  Ref<NSString> stringByAppendingPathExtension(const Ref<NSString>& extension) const;

  /// @}

  Ref<NSString> description() const override;
  id copy() const override;
  id mutableCopy() const override;

  /// The memory of one string, as it is for any object; declared here because the form with room
  /// for units behind the object would hide it from subclasses.
  static void* operator new(std::size_t size) { return ::operator new(size); }
  static void operator delete(void* memory) { ::operator delete(memory); }

 protected:
  using Storage = std::variant<std::string, std::u16string>;

 private:
  friend class detail::BufferedString;

  /// How much memory the units behind an object take.
  struct UnitBytes {
    std::size_t count;
  };

  /// Where the units are, in the lowest bits of `form_`.
  enum Form : std::uint16_t { kEightBit = 0, kUTF16 = 1, kBuffered = 2 };
  static constexpr unsigned kFormBits = 2;

  explicit NSString(std::uint16_t form) noexcept : form_(form) {}

  static void* operator new(std::size_t size, UnitBytes bytes) {
    return ::operator new(std::max(size, size - sizeof units_ + bytes.count));
  }
  static void operator delete(void* memory, UnitBytes) { ::operator delete(memory); }

  template <class Unit, class Write>
  static Ref<NSString> written(NSUInteger length, Write&& write);
  template <class Unit>
  static Ref<NSString> copied(std::basic_string_view<Unit> units);
  template <class Unit>
  static Ref<NSString> kept(std::basic_string<Unit> units);
  template <class Unit, class A, class B>
  static Ref<NSString> joined(A first, B second);

  /// A string in the storage that its text was put together in.
  static Ref<NSString> kept(Storage storage);

  bool isBuffered() const noexcept { return (form_ & kBuffered) != 0; }
  const detail::BufferedString& buffered() const noexcept;

  /// A Form, and above it the length unless the string is buffered.
  const std::uint16_t form_;
  /// Where the units begin, which go on behind the object. ASCII bytes are all below 0x80.
  alignas(unichar) std::byte units_[6];
};

namespace detail {

/// A string whose units are in a buffer of their own, as those of a text that changes and of a
/// large one that was handed over.
class KESTOVA_PLATFORM_EXPORT BufferedString : public NSString {
 public:
  explicit BufferedString(Storage storage) noexcept
      : NSString(kBuffered), storage_(std::move(storage)) {}

  const Storage& storage() const noexcept { return storage_; }

 protected:
  /// Invariant: bytes of the 8-bit storage are all below 0x80.
  Storage storage_;
};

}  // namespace detail

inline const detail::BufferedString& NSString::buffered() const noexcept {
  return static_cast<const detail::BufferedString&>(*this);
}

inline NSUInteger NSString::length() const noexcept {
  return isBuffered()
             ? std::visit([](const auto& units) { return units.size(); }, buffered().storage())
             : form_ >> kFormBits;
}

inline bool NSString::isEightBit() const noexcept {
  return isBuffered() ? buffered().storage().index() == 0 : (form_ & kUTF16) == 0;
}

inline const char* NSString::eightBitCharacters() const noexcept {
  if (isBuffered()) {
    const auto* bytes = std::get_if<std::string>(&buffered().storage());
    return bytes == nullptr ? nullptr : bytes->data();
  }
  return (form_ & kUTF16) == 0 ? reinterpret_cast<const char*>(units_) : nullptr;
}

inline const unichar* NSString::utf16Characters() const noexcept {
  if (isBuffered()) {
    const auto* units = std::get_if<std::u16string>(&buffered().storage());
    return units == nullptr ? nullptr : units->data();
  }
  return (form_ & kUTF16) == 0 ? nullptr : reinterpret_cast<const unichar*>(units_);
}

/// A string that changes. A setter that stores strings by copy stores an immutable one of it.
///
/// Threads: one at a time.
class KESTOVA_PLATFORM_EXPORT NSMutableString : public detail::BufferedString {
  KESTOVA_CLASS(NSMutableString, NSString)

 public:
  /// An empty one.
  static Ref<NSMutableString> string();
  static Ref<NSMutableString> init() { return string(); }

  /// One with that text; null for null.
  static Ref<NSMutableString> stringWithString(const Ref<NSString>& string);

  void appendString(const Ref<NSString>& string);  ///< At the end.

  template <class... Arguments>
  void appendFormat(const Ref<NSString>& format, const Arguments&... arguments) {
    appendString(stringWithFormat(format, arguments...));
  }

  /// Puts `string` in place of a range; the other editing operations are told in its terms. Null
  /// throws NSInvalidArgumentException, a range past the end NSRangeException.
  void replaceCharactersInRange_withString(NSRange range, const Ref<NSString>& string);

  void insertString_atIndex(const Ref<NSString>& string, NSUInteger index);  ///< Before that unit.
  void deleteCharactersInRange(NSRange range);
  void setString(const Ref<NSString>& string);  ///< In place of all.

  /// Replaces every match in a range, as `stringByReplacingOccurrencesOfString` does, and answers
  /// how many there were. Null throws NSInvalidArgumentException, a range past the end
  /// NSRangeException.
  NSUInteger replaceOccurrencesOfString_withString_options_range(const Ref<NSString>& target,
                                                                 const Ref<NSString>& replacement,
                                                                 NSUInteger options, NSRange range);

  id copy() const override;

 protected:
  explicit NSMutableString(Storage storage) noexcept : BufferedString(std::move(storage)) {}
};

/// A string known at compile time that becomes one shared NSString on first use: what the
/// platform's keys, names and domains are. It needs no code before `main` and is never destroyed.
class KESTOVA_PLATFORM_EXPORT StringConstant {
 public:
  constexpr explicit StringConstant(const char* utf8) noexcept : utf8_(utf8) {}
  StringConstant(const StringConstant&) = delete;
  StringConstant& operator=(const StringConstant&) = delete;

  /// The string, the same object every time.
  Ref<NSString> string() const;
  Ref<NSString> operator->() const { return string(); }

  const char* utf8() const noexcept { return utf8_; }

 private:
  const char* utf8_;
  mutable std::atomic<NSString*> object_{nullptr};
};

/// Texts box themselves where a string or any object is expected; text that is not well-formed, and
/// a null C string, become nothing.
struct TextBoxing {
  template <class T>
  static constexpr bool into = std::is_same_v<T, NSString> || std::is_same_v<T, NSObject>;

  static Ref<NSString> box(const char* utf8) {
    return utf8 == nullptr ? nullptr : NSString::stringWithUTF8String(utf8);
  }
  static Ref<NSString> box(std::string_view utf8) { return NSString::stringWithUTF8String(utf8); }
  static Ref<NSString> box(std::u16string_view units) {
    return NSString::stringWithCharacters_length(units.data(), units.size());
  }
  static Ref<NSString> box(const StringConstant& constant) { return constant.string(); }
};

template <>
struct Boxing<const char*> : TextBoxing {};
template <>
struct Boxing<char*> : TextBoxing {};
template <>
struct Boxing<std::string> : TextBoxing {};
template <>
struct Boxing<std::string_view> : TextBoxing {};
template <>
struct Boxing<const char16_t*> : TextBoxing {};
template <>
struct Boxing<char16_t*> : TextBoxing {};
template <>
struct Boxing<std::u16string> : TextBoxing {};
template <>
struct Boxing<std::u16string_view> : TextBoxing {};
template <>
struct Boxing<StringConstant> : TextBoxing {};

namespace detail {

/// Whether there is a string, and its text is that one.
KESTOVA_PLATFORM_EXPORT bool isText(const NSString* string, std::string_view utf8);
KESTOVA_PLATFORM_EXPORT bool isText(const NSString* string, std::u16string_view units);

}  // namespace detail

/// A string class as a reference's own. What merely boxes as a string, such as std::string, is
/// none: plain texts keep their own comparison.
template <class T>
concept StringClass = std::convertible_to<T*, NSString*>;

/// \name Comparing a string reference with text compares the text; nothing equals no text.
/// @{
template <StringClass T>
bool operator==(const Ref<T>& string, std::string_view utf8) {
  return detail::isText(string.get(), utf8);
}
template <StringClass T>
bool operator==(const Ref<T>& string, std::u16string_view units) {
  return detail::isText(string.get(), units);
}
template <StringClass T>
bool operator==(const Ref<T>& string, const char* utf8) {
  return detail::isText(string.get(), std::string_view(utf8));
}
template <StringClass T>
bool operator==(const Ref<T>& string, const StringConstant& constant) {
  return detail::isText(string.get(), std::string_view(constant.utf8()));
}
/// @}

/// Prints the text in UTF-8, "(null)" for nothing.
KESTOVA_PLATFORM_EXPORT std::ostream& operator<<(std::ostream& stream, const Ref<NSString>& string);

/// The same for the subclasses of strings, which are as much a string as an object.
template <StringClass T>
requires(!std::same_as<T, NSString>) std::ostream& operator<<(std::ostream& stream,
                                                              const Ref<T>& string) {
  return stream << Ref<NSString>(string);
}

/// Prints an object's description, "(null)" for nothing.
KESTOVA_PLATFORM_EXPORT std::ostream& operator<<(std::ostream& stream, const id& object);

}  // namespace kestova

/// Strings hash by their text.
template <>
struct std::hash<kestova::Ref<kestova::NSString>> {
  std::size_t operator()(const kestova::Ref<kestova::NSString>& string) const noexcept {
    return string == nullptr ? 0 : string->hash();
  }
};
