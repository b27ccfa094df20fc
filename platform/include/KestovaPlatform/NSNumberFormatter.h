// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSFormatter.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSNumber.h>

#include <memory>

namespace kestova {

class NumberPattern;

/// Writes and reads numbers by a pattern and with the signs of a locale.
///
///     const auto formatter = NSNumberFormatter::init();
///     formatter->setFormat("#,##0.00");
///     formatter->setLocale(NSLocale::localeWithLocaleIdentifier("de_DE"));
///     formatter->stringFromNumber(1234.5);   // "1.234,50"
///
/// Patterns are those of Unicode's technical standard 35: "0" a digit, "#" one that is not shown
/// without need, "." and "," the places of the locale's separators, ";" before the pattern of
/// negative numbers. Numbers are rounded half to even by their shortest decimal form: "0.#" writes
/// 0.25 as "0.2" and 0.35 as "0.4".
///
/// Threads: one at a time for each formatter.
///
/// Cost: making a formatter costs next to nothing; its first number compiles the pattern, unless
/// another formatter has done so lately.
class KESTOVA_PLATFORM_EXPORT NSNumberFormatter : public NSFormatter {
  KESTOVA_CLASS(NSNumberFormatter, NSFormatter)

 public:
  /// One for the current locale with the pattern "#": whole numbers without separators.
  static Ref<NSNumberFormatter> init();

  /// The pattern, of which a copy is kept. A malformed one works as "#"; null throws
  /// NSInvalidArgumentException.
  const Ref<NSString>& format() const noexcept { return format_; }
  void setFormat(const Ref<NSString>& format);

  /// The locale; null is the current one.
  const Ref<NSLocale>& locale() const noexcept { return locale_; }
  void setLocale(const Ref<NSLocale>& locale);

  /// Null for null.
  Ref<NSString> stringFromNumber(const Ref<NSNumber>& number) const;

  /// Reads the whole text, affixes and separators as the pattern has them; null where it is no such
  /// number, and for null.
  Ref<NSNumber> numberFromString(const Ref<NSString>& string) const;

  /// Null for what is no number.
  Ref<NSString> stringForObjectValue(const id& object) const override;

  bool getObjectValue_forString_errorDescription(
      id* object, const Ref<NSString>& string,
      Ref<NSString>* errorDescription = nullptr) const override;

 protected:
  NSNumberFormatter();

 private:
  const NumberPattern& pattern() const;

  Ref<NSString> format_;
  Ref<NSLocale> locale_;
  mutable std::shared_ptr<const NumberPattern> pattern_;  // null until it is needed
};

}  // namespace kestova
