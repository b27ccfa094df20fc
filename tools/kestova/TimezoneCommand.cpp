// SPDX-License-Identifier: Apache-2.0
#include "TimezoneCommand.h"

#include "ArgumentValue.h"
#include "FileFailure.h"

#include <KestovaFoundation/Additions/NSTimeZoneAdditions.h>

#include <cstdio>
#include <memory>
#include <string>

namespace kestova::tool {
namespace {

Ref<NSLocale> localeNamed(const std::string& identifier) {
  const auto locale = NSLocale::localeWithLocaleIdentifier(textIn(identifier));
  if (!locale) {
    throw FileFailure(identifier, "not an identifier of a locale");
  }
  return locale;
}

bool hasName(const Ref<NSTimeZone>& zone, const Ref<NSString>& loweredName,
             const Ref<NSLocale>& locale) {
  for (const auto style :
       {NSTimeZoneNameStyleStandard, NSTimeZoneNameStyleShortStandard,
        NSTimeZoneNameStyleDaylightSaving, NSTimeZoneNameStyleShortDaylightSaving}) {
    const auto name = zone->localizedName_locale(style, locale);
    if (name && name->lowercaseString()->isEqualToString(loweredName)) {
      return true;
    }
  }
  return false;
}

void print(const Ref<NSTimeZone>& zone) { std::puts(zone->name()->displayUTF8().c_str()); }

class TimezoneCommand final : public Command {
 public:
  explicit TimezoneCommand(CLI::App* arguments) : Command(arguments) {
    arguments->add_option("NAME", name_, "A zone's standard or summer name, long or short")
        ->required();
    arguments->add_option("--locale", locale_, "The language of the name, such as de_DE")
        ->option_text("L");
    arguments->footer("The first line is the zone that the library answers when first asked.");
  }

  int run() override {
    const auto name = textIn(name_);
    const auto locale = locale_.empty() ? NSLocale::currentLocale() : localeNamed(locale_);
    const auto first = timeZoneWithAName_inLocale(name, locale);
    if (!first) {
      throw FileFailure(name_, "no time zone has this name in the locale " +
                                   locale->localeIdentifier()->displayUTF8());
    }
    print(first);
    printOthers(first, name->lowercaseString(), locale);
    return kSucceeded;
  }

 private:
  static void printOthers(const Ref<NSTimeZone>& first, const Ref<NSString>& loweredName,
                          const Ref<NSLocale>& locale) {
    for (const id& known : NSTimeZone::knownTimeZoneNames()) {
      const auto zone = NSTimeZone::timeZoneWithName(cast<NSString>(known));
      if (!zone->isEqualToTimeZone(first) && hasName(zone, loweredName, locale)) {
        print(zone);
      }
    }
  }

  std::string name_;
  std::string locale_;
};

}  // namespace

void addTimezoneCommand(CLI::App& app, Commands& commands) {
  commands.push_back(std::make_unique<TimezoneCommand>(
      app.add_subcommand("timezone", "List the time zones that have a name")));
}

}  // namespace kestova::tool
