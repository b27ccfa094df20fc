// SPDX-License-Identifier: Apache-2.0
#include "text/Collation.h"

#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSLocale.h>
#include <unicode/uiter.h>

#include "text/ICUText.h"
#include "text/TextStorage.h"

namespace kestova {
namespace {

UCharIterator iteratorOver(std::string_view ascii) {
  UCharIterator iterator;
  uiter_setUTF8(&iterator, ascii.data(), icuLength(ascii.size()));
  return iterator;
}

UCharIterator iteratorOver(std::u16string_view units) {
  UCharIterator iterator;
  uiter_setString(&iterator, units.data(), icuLength(units.size()));
  return iterator;
}

}  // namespace

Collation::Collation(const std::string& localeIdentifier, Distinctions distinctions) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale locale(localeIdentifier.c_str());
  collator_.reset(icu::Collator::createInstance(locale, status));
  require(U_SUCCESS(status) != 0, "ICU can order texts");
  const bool hasCase = distinctions == Distinctions::all;
  const bool hasNumbers = distinctions == Distinctions::asFileNames;
  collator_->setStrength(hasCase ? icu::Collator::TERTIARY : icu::Collator::SECONDARY);
  collator_->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
  collator_->setAttribute(UCOL_NUMERIC_COLLATION, hasNumbers ? UCOL_ON : UCOL_OFF, status);
}

NSComparisonResult Collation::compare(const NSString& a, const NSString& b) const {
  UCharIterator x = withUnits(a, [](auto units) { return iteratorOver(units); });
  UCharIterator y = withUnits(b, [](auto units) { return iteratorOver(units); });
  UErrorCode status = U_ZERO_ERROR;
  return orderOf(static_cast<int>(collator_->compare(x, y, status)), 0);
}

const Collation& currentCollation(Distinctions distinctions) {
  static const auto& identifier =
      *new std::string(NSLocale::currentLocale()->localeIdentifier()->displayUTF8());
  static const auto& all = *new Collation(identifier, Distinctions::all);
  static const auto& exceptCase = *new Collation(identifier, Distinctions::exceptCase);
  static const auto& asFileNames = *new Collation(identifier, Distinctions::asFileNames);
  return distinctions == Distinctions::all          ? all
         : distinctions == Distinctions::exceptCase ? exceptCase
                                                    : asFileNames;
}

}  // namespace kestova
