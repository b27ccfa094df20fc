// SPDX-License-Identifier: Apache-2.0
#include "SharedSettings.h"

#include "Text.h"

#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSNumber.h>

#include <utility>

using namespace kestova;

namespace {

constexpr const char* kFolder = "folder";
constexpr const char* kReplaces = "replaces";
constexpr const char* kGraphColour = "graphColour";
constexpr const char* kShowsBits = "showsBits";

}  // namespace

SharedSettings::SharedSettings(std::function<void()> changed)
    : defaults_(OVUserDefaults::standardUserDefaults()) {
  defaults_->registerDefaults(NSDictionary::of(
      {{kFolder, ""}, {kReplaces, false}, {kGraphColour, "#008080"}, {kShowsBits, false}}));
  observer_ = NSNotificationCenter::defaultCenter()->addObserverForName_object_queue_usingBlock(
      NSUserDefaultsSuiteDidChangeNotification, defaults_.get(), nullptr,
      [defaults = defaults_, changed = std::move(changed)](const Ref<NSNotification>&) {
        // Another window has the same identifier, whose changes count as this program's own: they
        // are announced, but not read by themselves.
        defaults->synchronize();
        changed();
      });
  // Its own domain as a suite is what makes each change be announced, and heard of.
  defaults_->addSuiteNamed(NSBundle::mainBundle()->bundleIdentifier());
}

SharedSettings::~SharedSettings() {
  defaults_->removeSuiteNamed(NSBundle::mainBundle()->bundleIdentifier());
  NSNotificationCenter::defaultCenter()->removeObserver(observer_.get());
}

QString SharedSettings::folder() const { return shownText(defaults_->stringForKey(kFolder)); }

void SharedSettings::setFolder(const QString& path) {
  defaults_->setObject_forKey(path.toStdString(), kFolder);
}

bool SharedSettings::replaces() const { return defaults_->boolForKey(kReplaces); }

void SharedSettings::setReplaces(bool replaces) { defaults_->setBool_forKey(replaces, kReplaces); }

QColor SharedSettings::graphColour() const {
  return QColor(shownText(defaults_->stringForKey(kGraphColour)));
}

void SharedSettings::setGraphColour(const QColor& colour) {
  defaults_->setObject_forKey(colour.name().toStdString(), kGraphColour);
}

RateUnit SharedSettings::rateUnit() const {
  return defaults_->boolForKey(kShowsBits) ? RateUnit::kBits : RateUnit::kBytes;
}

void SharedSettings::setRateUnit(RateUnit unit) {
  defaults_->setBool_forKey(unit == RateUnit::kBits, kShowsBits);
}
