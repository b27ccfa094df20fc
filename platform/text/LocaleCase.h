// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSLocale.h>

#include "text/TextFolding.h"

namespace kestova {

/// The letters of a locale; everybody's for null.
inline CaseRules caseRulesOf(const Ref<NSLocale>& locale) {
  const auto language =
      locale ? cast<NSString>(locale->objectForKey(NSLocaleLanguageCode)) : Ref<NSString>();
  return language == "tr" || language == "az" ? CaseRules::turkic : CaseRules::common;
}

}  // namespace kestova
