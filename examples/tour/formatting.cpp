// SPDX-License-Identifier: Apache-2.0
// formatting: a progress line in words, a size as a person types it, a time zone by its name.
#include <KestovaFoundation/Additions/NSTimeZoneAdditions.h>
#include <KestovaFoundation/OVByteFormatter.h>
#include <KestovaFoundation/OVTimeFormatter.h>
#include <KestovaPlatform/NSLocale.h>
#include <KestovaPlatform/NSNumber.h>

#include <iostream>

using namespace kestova;

int main() {
  const auto bytes = OVByteFormatter::init();
  const auto time = OVTimeFormatter::init();
  time->setTimeStyle(3);
  time->setOptions(OVTimeFormatterOmitsSecondsAfterHours);
  std::cout << bytes->stringForObjectValue(734003200) << ", " << time->stringForObjectValue(7503)
            << " left\n";

  time->setTimeStyle(4);
  std::cout << "elapsed " << time->stringForObjectValue(3723) << '\n';

  for (const char* typed : {"1.5 KB", "10", "a lot"}) {
    id count;
    Ref<NSString> problem;
    if (bytes->getObjectValue_forString_errorDescription(&count, typed, &problem)) {
      std::cout << typed << " = " << count << " bytes\n";
    } else {
      std::cout << typed << ": " << problem << '\n';
    }
  }

  const auto german = NSLocale::localeWithLocaleIdentifier("de_DE");
  if (const auto zone = timeZoneWithAName_inLocale("japanische normalzeit", german)) {
    std::cout << zone->secondsFromGMT() / 3600 << " hours ahead of GMT\n";
  }
}
