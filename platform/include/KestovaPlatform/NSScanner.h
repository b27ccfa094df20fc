// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSCharacterSet.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <string>

namespace kestova {

/// Reads numbers and pieces of text out of a text, from the front to the end.
///
///     auto scanner = NSScanner::scannerWithString("width: 12.5 cm");
///     Ref<NSString> name;
///     double value = 0;
///     if (scanner->scanUpToString_intoString(":", &name) &&
///         scanner->scanString_intoString(":") && scanner->scanDouble(&value)) …
///
/// Every scan operation first passes over the characters to be skipped and then tries to read at
/// that place. When it succeeds it answers true, stores what it read (the out argument may be null)
/// and leaves the location behind it. When it fails it answers false, and neither the location nor
/// the out argument has changed.
///
/// Locations count UTF-16 units; a surrogate pair is one character.
///
/// Threads: one at a time.
///
/// Ownership: the scanner keeps an immutable copy of the text.
class KESTOVA_PLATFORM_EXPORT NSScanner : public NSObject {
  KESTOVA_CLASS(NSScanner, NSObject)

 public:
  /// \name Making
  /// @{

  /// A scanner at the beginning of a text, without a locale. Null throws
  /// NSInvalidArgumentException.
  static Ref<NSScanner> scannerWithString(const Ref<NSString>& string);

  /// The same with the current locale.
  static Ref<NSScanner> localizedScannerWithString(const Ref<NSString>& string);

  /// @}
  /// \name Integers
  ///
  /// A sign (+ or -, the latter only for signed ones) and ASCII digits, without anything between.
  /// A number too great or too small is read to its last digit and gives the greatest or smallest
  /// value of its type.
  /// @{

  bool scanInt(int* value = nullptr);
  bool scanInteger(NSInteger* value = nullptr);
  bool scanLongLong(long long* value = nullptr);
  bool scanUnsignedLongLong(unsigned long long* value = nullptr);

  /// Hexadecimal digits of either case, which may follow 0x or 0X, without a sign. "0x" before
  /// anything else is the number 0, and the scanner stands before the x then.
  bool scanHexInt(unsigned* value = nullptr);
  bool scanHexLongLong(unsigned long long* value = nullptr);

  /// @}
  /// \name Real numbers
  ///
  /// A sign, digits with the locale's decimal separator before, among or behind them, and an
  /// exponent if it is whole: "1e" is 1, and the scanner stands before the e then. Without a locale
  /// the separator is a point; with one, only the locale's own is. There are no grouping
  /// separators, and "inf" and "nan" are no numbers.
  ///
  /// The value is the nearest there is. A number beyond the type's range gives an infinity, one too
  /// small for it 0, each with its sign.
  /// @{

  bool scanFloat(float* value = nullptr);
  bool scanDouble(double* value = nullptr);

  /// The same with hexadecimal digits behind 0x or 0X, which must be there, and an exponent to the
  /// base 2 behind p or P: "-0x1.8p3" is -12.
  bool scanHexFloat(float* value = nullptr);
  bool scanHexDouble(double* value = nullptr);

  /// @}
  /// \name Text
  ///
  /// Texts match as `rangeOfString_options` finds them: canonically equivalent characters are the
  /// same, and case makes no difference unless the scanner is case-sensitive. What is stored is the
  /// scanned text's own. A text that begins with characters to be skipped never matches, and the
  /// empty one matches nowhere. Null for a text or a set throws NSInvalidArgumentException.
  /// @{

  /// Reads just that text.
  bool scanString_intoString(const Ref<NSString>& string, Ref<NSString>* value = nullptr);

  /// Reads the characters that are members of a set, at least one.
  bool scanCharactersFromSet_intoString(const Ref<NSCharacterSet>& set,
                                        Ref<NSString>* value = nullptr);

  /// Reads what stands before the text, at least one unit; everything when it doesn't occur.
  bool scanUpToString_intoString(const Ref<NSString>& string, Ref<NSString>* value = nullptr);

  /// Reads the characters that are no members of a set, at least one.
  bool scanUpToCharactersFromSet_intoString(const Ref<NSCharacterSet>& set,
                                            Ref<NSString>* value = nullptr);

  /// Whether there is nothing left but characters to be skipped. The location stays.
  bool isAtEnd() const;

  /// @}
  /// \name Properties
  /// @{

  const Ref<NSString>& string() const noexcept { return string_; }

  /// Where the next operation begins, from 0 to the text's length. Setting one beyond it throws
  /// NSRangeException.
  NSUInteger scanLocation() const noexcept { return location_; }
  void setScanLocation(NSUInteger location);

  /// The characters that each operation passes over first: white space and newlines unless set
  /// otherwise. Null is none. A mutable set is copied.
  const Ref<NSCharacterSet>& charactersToBeSkipped() const noexcept { return skipped_; }
  void setCharactersToBeSkipped(const Ref<NSCharacterSet>& set);

  /// Whether texts match only in their own case: not at first.
  bool caseSensitive() const noexcept { return isCaseSensitive_; }
  void setCaseSensitive(bool isCaseSensitive) noexcept { isCaseSensitive_ = isCaseSensitive; }

  /// Whose decimal separator real numbers have. Null is none.
  const Ref<NSLocale>& locale() const noexcept { return locale_; }
  void setLocale(const Ref<NSLocale>& locale);

  /// @}

 protected:
  explicit NSScanner(Ref<NSString> string);

 private:
  NSUInteger startOfNext() const;
  template <class Value, class Read>
  bool scanNumber(Value* value, const Read& read);
  bool takeText(NSUInteger start, NSUInteger end, Ref<NSString>* value);
  NSRange find(const Ref<NSString>& string, NSUInteger start, NSUInteger options) const;

  const Ref<NSString> string_;
  NSUInteger location_ = 0;
  Ref<NSCharacterSet> skipped_;
  Ref<NSLocale> locale_;
  std::u16string decimalSeparator_;
  bool isCaseSensitive_ = false;
};

}  // namespace kestova
