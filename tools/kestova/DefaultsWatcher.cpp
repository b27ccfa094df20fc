// SPDX-License-Identifier: Apache-2.0
#include "DefaultsWatcher.h"

#include "DefaultsValue.h"
#include "TransferText.h"

#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSSet.h>

#include <cstdio>
#include <set>
#include <string>

namespace kestova::tool {
namespace {

std::string senderOf(const Ref<NSNotification>& announcement) {
  const auto& info = announcement->userInfo();
  const auto sender =
      info ? cast<NSString>(info->objectForKey("bundleIdentifierOfSender")) : nullptr;
  return sender ? displayText(sender->displayUTF8()) : "an unknown sender";
}

/// The keys of both, in their order.
std::set<std::string> keysOf(const Ref<NSDictionary>& one, const Ref<NSDictionary>& other) {
  std::set<std::string> keys;
  for (const auto& each : {one, other}) {
    for (const id& key : each) {
      keys.insert(cast<NSString>(key)->UTF8String().value_or(""));
    }
  }
  return keys;
}

void printChanges(const std::string& domain, const Ref<NSDictionary>& before,
                  const Ref<NSDictionary>& after, const std::string& sender) {
  for (const std::string& key : keysOf(before, after)) {
    const id was = before->objectForKey(key);
    const id is = after->objectForKey(key);
    if (!isEqualOrBothNull(was, is)) {
      std::printf("%s %s: %s -> %s (%s)\n", domain.c_str(), displayText(key).c_str(),
                  lineOfValue(was).c_str(), lineOfValue(is).c_str(), sender.c_str());
    }
  }
  std::fflush(stdout);
}

}  // namespace

DefaultsWatcher::DefaultsWatcher(const Ref<NSUserDefaults>& defaults)
    : defaults_(defaults), seen_(NSMutableDictionary::dictionary()) {}

DefaultsWatcher::~DefaultsWatcher() {
  NSDistributedNotificationCenter::defaultCenter()->removeObserver(this);
}

void DefaultsWatcher::watch(const Ref<NSString>& domain) {
  NSDistributedNotificationCenter::defaultCenter()->addObserver_selector_name_object(
      this, sel<&DefaultsWatcher::suiteChanged>(), NSUserDefaultsSuiteDidChangeNotification,
      domain);
  seen_->setObject_forKey(contentsOf(domain), domain);
}

void DefaultsWatcher::suiteChanged(const Ref<NSNotification>& announcement) {
  const auto domain = cast<NSString>(announcement->object());
  defaults_->synchronize();
  const auto before = cast<NSDictionary>(seen_->objectForKey(domain));
  const auto after = contentsOf(domain);
  seen_->setObject_forKey(after, domain);
  printChanges(displayText(domain->displayUTF8()), before, after, senderOf(announcement));
}

Ref<NSDictionary> DefaultsWatcher::contentsOf(const Ref<NSString>& domain) const {
  const auto contents = defaults_->persistentDomainForName(domain);
  return contents ? contents : NSDictionary::dictionary();
}

}  // namespace kestova::tool
