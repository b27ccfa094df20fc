// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSTimeZone.h>

namespace kestova {

inline namespace NSTimeZone_Additons {

/// A time zone by its standard or daylight-saving name, long or short, as a locale shows it; null
/// when no zone has that name there, and for a null name. A null locale throws
/// NSInvalidArgumentException.
///
///     timeZoneWithAName_inLocale("Mitteleurop\u00e4ische Zeit", german)
///
/// Case makes no difference; otherwise the whole name must be the same. Names of zones such as
/// "Europe/Paris" are not looked at.
///
/// Where several zones have the name, the first call for a locale answers the last one of them in
/// the order of `knownTimeZoneNames`, every later one the first. This difference is deliberate.
///
/// Threads: one at a time.
///
/// Cost: the first call for a locale takes tens of milliseconds to collect its names, which are
/// kept until the process ends; later ones look one up.
KESTOVA_FOUNDATION_EXPORT Ref<NSTimeZone> timeZoneWithAName_inLocale(const Ref<NSString>& name,
                                                                     const Ref<NSLocale>& locale);

}  // namespace NSTimeZone_Additons

}  // namespace kestova
