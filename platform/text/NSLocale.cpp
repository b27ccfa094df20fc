// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/UTF8.h>
#include <unicode/dcfmtsym.h>
#include <unicode/uloc.h>

#include "text/ICULocale.h"
#include "text/ICUText.h"
#include "text/LocaleEnvironment.h"

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

Ref<NSString> symbolOf(const NSLocale& locale, DecimalFormatSymbols::ENumberFormatSymbol symbol) {
  UErrorCode status = U_ZERO_ERROR;
  const DecimalFormatSymbols symbols(knownICULocale(locale), status);
  const icu::UnicodeString& text = symbols.getConstSymbol(symbol);
  return U_FAILURE(status) ? nullptr : stringOf(text);
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
  if (key == NSLocaleIdentifier) {
    return identifier_;
  }
  if (key == NSLocaleLanguageCode) {
    return partOrNull(icuLocale(*this).getLanguage());
  }
  if (key == NSLocaleCountryCode) {
    return partOrNull(icuLocale(*this).getCountry());
  }
  if (key == NSLocaleDecimalSeparator) {
    return symbolOf(*this, DecimalFormatSymbols::kDecimalSeparatorSymbol);
  }
  if (key == NSLocaleGroupingSeparator) {
    return symbolOf(*this, DecimalFormatSymbols::kGroupingSeparatorSymbol);
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
