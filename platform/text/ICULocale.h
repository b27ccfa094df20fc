// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSLocale.h>
#include <unicode/locid.h>

namespace kestova {

/// The locale by its name alone, whether anything is known of it or not.
icu::Locale icuLocale(const NSLocale& locale);

/// The same, but the root for one that ICU does not know: it would take the default locale, and
/// answers would depend on where the process runs.
icu::Locale knownICULocale(const NSLocale& locale);

}  // namespace kestova
