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

/// Asked of thousands of names in each search, which are strings without a doubt.
bool has(const Ref<NSArray>& names, const Ref<NSString>& name) {
  for (const id& each : names) {
    if (static_cast<const NSString&>(*each).isEqualToString(name)) {
      return true;
    }
  }
  return false;
}

/// Fills a table from a zone's name to its names. Answers the last zone that has the name.
Ref<NSTimeZone> fill(const Ref<NSMutableDictionary>& table, const Ref<NSLocale>& locale,
                     const Ref<NSString>& name) {
  Ref<NSTimeZone> last;
  for (const id& known : NSTimeZone::knownTimeZoneNames()) {
    const auto zone = NSTimeZone::timeZoneWithName(cast<NSString>(known));
    const auto names = namesOf(zone, locale);
    table->setObject_forKey(names, known);
    if (has(names, name)) {
      last = zone;
    }
  }
  return last;
}

/// The first zone of the table's own order that has the name.
Ref<NSTimeZone> find(const Ref<NSDictionary>& table, const Ref<NSString>& name) {
  for (const id& known : table) {
    if (has(cast<NSArray>(table->objectForKey(known)), name)) {
      if (const auto zone = NSTimeZone::timeZoneWithName(cast<NSString>(known))) {
        return zone;
      }
    }
  }
  return nullptr;
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
  if (!tables()->objectForKey(identifier)) {
    const auto table = NSMutableDictionary::dictionary();
    const auto last = fill(table, locale, lowered);
    tables()->setObject_forKey(table, identifier);
    if (last) {
      return last;
    }
  }
  return find(cast<NSDictionary>(tables()->objectForKey(identifier)), lowered);
}

}  // namespace NSTimeZone_Additons

}  // namespace kestova
