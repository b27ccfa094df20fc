// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSTimeZoneAdditions.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSException.h>

namespace kestova {

inline namespace NSTimeZone_Additons {

namespace {

/// A zone's names in lower case, up to the first style in which it has none.
Ref<NSArray> namesOf(const Ref<NSTimeZone>& zone, const Ref<NSLocale>& locale) {
  const auto names = NSMutableArray::arrayWithCapacity(4);
  for (const auto style :
       {NSTimeZoneNameStyleStandard, NSTimeZoneNameStyleShortStandard,
        NSTimeZoneNameStyleDaylightSaving, NSTimeZoneNameStyleShortDaylightSaving}) {
    const auto name = zone->localizedName_locale(style, locale);
    if (!name) {
      break;
    }
    names->addObject(name->lowercaseString());
  }
  return names;
}

/// Fills a table from each name to the first zone that has it. Answers the last zone that has the
/// name.
Ref<NSTimeZone> fill(const Ref<NSMutableDictionary>& table, const Ref<NSLocale>& locale,
                     const Ref<NSString>& name) {
  Ref<NSTimeZone> last;
  for (const id& known : NSTimeZone::knownTimeZoneNames()) {
    const auto zone = NSTimeZone::timeZoneWithName(cast<NSString>(known));
    for (const id& each : namesOf(zone, locale)) {
      if (!table->objectForKey(each)) {
        table->setObject_forKey(zone, each);
      }
      if (each->isEqual(name)) {
        last = zone;
      }
    }
  }
  return last;
}

/// From the identifier of a locale to its table.
Ref<NSMutableDictionary> tables() {
  static const auto& tables = *new Ref<NSMutableDictionary>(NSMutableDictionary::dictionary());
  return tables;
}

}  // namespace

Ref<NSTimeZone> timeZoneWithAName_inLocale(const Ref<NSString>& name, const Ref<NSLocale>& locale) {
  if (!locale) {
    throw NSException(NSInvalidArgumentException, "timeZoneWithAName:inLocale: without a locale");
  }
  if (!name) {
    return nullptr;
  }
  const auto lowered = name->lowercaseString();
  const auto& identifier = locale->localeIdentifier();
  if (const auto table = cast<NSDictionary>(tables()->objectForKey(identifier))) {
    return cast<NSTimeZone>(table->objectForKey(lowered));
  }
  const auto table = NSMutableDictionary::dictionary();
  const auto last = fill(table, locale, lowered);
  tables()->setObject_forKey(table, identifier);
  return last;
}

}  // namespace NSTimeZone_Additons

}  // namespace kestova
