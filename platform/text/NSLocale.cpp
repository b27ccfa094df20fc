// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSLocale.h>
#include <unicode/dcfmtsym.h>
#include <unicode/locid.h>
#include <unicode/uloc.h>
#include <unicode/ures.h>

#include "text/LocaleEnvironment.h"
#include "text/UnicodeConversion.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSLocale, .property<&NSLocale::localeIdentifier>("localeIdentifier"))

constinit const StringConstant NSLocaleIdentifier("kCFLocaleIdentifierKey");
constinit const StringConstant NSLocaleLanguageCode("kCFLocaleLanguageCodeKey");
constinit const StringConstant NSLocaleCountryCode("kCFLocaleCountryCodeKey");
constinit const StringConstant NSLocaleDecimalSeparator("kCFLocaleDecimalSeparatorKey");
constinit const StringConstant NSLocaleGroupingSeparator("kCFLocaleGroupingSeparatorKey");

namespace {

using icu::DecimalFormatSymbols;

/// Null for an empty part of an identifier.
Ref<NSString> partOrNull(const char* part) { return *part == '\0' ? nullptr : Ref<NSString>(part); }

/// The locale, or the root for one that ICU does not know: it would take the default locale, and
/// answers would depend on where the process runs.
icu::Locale knownLocale(const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUResourceBundlePointer bundle(ures_open(nullptr, locale.getName(), &status));
  return status == U_USING_DEFAULT_WARNING ? icu::Locale::getRoot() : locale;
}

Ref<NSString> symbolOf(const icu::Locale& locale,
                       DecimalFormatSymbols::ENumberFormatSymbol symbol) {
  UErrorCode status = U_ZERO_ERROR;
  const DecimalFormatSymbols symbols(knownLocale(locale), status);
  const icu::UnicodeString& text = symbols.getConstSymbol(symbol);
  return U_FAILURE(status) ? nullptr
                           : NSString::stringWithCharacters_length(
                                 text.getBuffer(), static_cast<NSUInteger>(text.length()));
}

}  // namespace

NSLocale::NSLocale(Ref<NSString> canonicalIdentifier) noexcept
    : identifier_(std::move(canonicalIdentifier)) {}

Ref<NSLocale> NSLocale::localeWithLocaleIdentifier(const Ref<NSString>& identifier) {
  if (!identifier) {
    throw NSException(NSInvalidArgumentException, "A locale's identifier is missing.");
  }
  const auto name = identifier->UTF8String();
  if (!name || !isASCII(*name)) {
    return nullptr;
  }
  char canonical[ULOC_FULLNAME_CAPACITY];
  UErrorCode status = U_ZERO_ERROR;
  uloc_canonicalize(name->c_str(), canonical, sizeof canonical, &status);
  const bool isTooLong = status == U_STRING_NOT_TERMINATED_WARNING || U_FAILURE(status);
  return isTooLong ? nullptr : make<NSLocale>(canonical);
}

Ref<NSLocale> NSLocale::currentLocale() {
  static const auto& current = *new Ref<NSLocale>([] {
    auto locale = localeWithLocaleIdentifier(localeIdentifierOfEnvironment());
    return locale ? locale : systemLocale();
  }());
  return current;
}

Ref<NSLocale> NSLocale::systemLocale() {
  static const auto& root = *new Ref<NSLocale>(make<NSLocale>(NSString::string()));
  return root;
}

id NSLocale::objectForKey(const Ref<NSString>& key) const {
  // The root has to be asked for by name: an empty one is ICU's own default.
  const bool isRoot = identifier_->length() == 0;
  const icu::Locale locale = isRoot ? icu::Locale::getRoot() : identifier_->displayUTF8().c_str();
  if (key == NSLocaleIdentifier) {
    return identifier_;
  }
  if (key == NSLocaleLanguageCode) {
    return partOrNull(locale.getLanguage());
  }
  if (key == NSLocaleCountryCode) {
    return partOrNull(locale.getCountry());
  }
  if (key == NSLocaleDecimalSeparator) {
    return symbolOf(locale, DecimalFormatSymbols::kDecimalSeparatorSymbol);
  }
  if (key == NSLocaleGroupingSeparator) {
    return symbolOf(locale, DecimalFormatSymbols::kGroupingSeparatorSymbol);
  }
  return nullptr;
}

bool NSLocale::isEqual(const id& other) const {
  const auto locale = cast<NSLocale>(other);
  return locale && locale->identifier_->isEqualToString(identifier_);
}

NSUInteger NSLocale::hash() const { return identifier_->hash(); }

Ref<NSString> NSLocale::description() const { return identifier_; }

id NSLocale::copy() const { return self(); }

}  // namespace kestova
