// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

namespace kestova {

/// \name What a locale tells, each a string
/// @{
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocaleIdentifier;         ///< "de_CH"
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocaleLanguageCode;       ///< "de"
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocaleCountryCode;        ///< "CH"
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocaleDecimalSeparator;   ///< "."
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSLocaleGroupingSeparator;  ///< "’"
/// @}

/// The conventions of a language and a country: how numbers, dates and names are written there.
///
///     auto german = NSLocale::localeWithLocaleIdentifier("de_DE");
///     german->objectForKey(NSLocaleDecimalSeparator);  // ","
///
/// Identifiers have the parts language, script, country, variant and `@` with keywords, all but the
/// first optional: "de", "sr_Latn_RS", "de_DE@currency=EUR". Any well-formed identifier makes a
/// locale; where nothing is known of it, the nearest known one answers, at last the root's.
///
/// Threads: immutable; any number of threads may read one.
class KESTOVA_PLATFORM_EXPORT NSLocale : public NSObject {
  KESTOVA_CLASS(NSLocale, NSObject)

 public:
  /// The locale of an identifier, which is brought into its canonical form: "de-de" and "de_DE" are
  /// the same. Null for what can be none: text that isn't ASCII or is longer than 156 units. A null
  /// identifier throws NSInvalidArgumentException.
  static Ref<NSLocale> localeWithLocaleIdentifier(const Ref<NSString>& identifier);

  /// The locale of the person at the machine: what the environment's LC_ALL, else LC_NUMERIC, else
  /// LANG names, as it was when first asked for. "C", "POSIX" and nothing at all are "en_US_POSIX".
  static Ref<NSLocale> currentLocale();

  /// The root locale, whose identifier is "": the conventions of no country, for texts that
  /// programs read.
  static Ref<NSLocale> systemLocale();

  const Ref<NSString>& localeIdentifier() const noexcept { return identifier_; }

  /// What the locale says of one of the keys above; null where it says nothing, for another key,
  /// and for null.
  id objectForKey(const Ref<NSString>& key) const;

  /// Whether both have the same identifier.
  bool isEqual(const id& other) const override;
  NSUInteger hash() const override;

  /// The identifier.
  Ref<NSString> description() const override;
  id copy() const override;

 protected:
  explicit NSLocale(Ref<NSString> canonicalIdentifier) noexcept;

 private:
  const Ref<NSString> identifier_;
};

}  // namespace kestova
