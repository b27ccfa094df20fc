// SPDX-License-Identifier: Apache-2.0
#include "text/ICULocale.h"

#include <unicode/ures.h>

namespace kestova {

/// The root has to be asked for by name: an empty one is ICU's own default.
icu::Locale icuLocale(const NSLocale& locale) {
  const auto& identifier = locale.localeIdentifier();
  return identifier->length() == 0 ? icu::Locale::getRoot()
                                   : icu::Locale(identifier->displayUTF8().c_str());
}

icu::Locale knownICULocale(const NSLocale& locale) {
  const icu::Locale named = icuLocale(locale);
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUResourceBundlePointer bundle(ures_open(nullptr, named.getName(), &status));
  return status == U_USING_DEFAULT_WARNING ? icu::Locale::getRoot() : named;
}

}  // namespace kestova
