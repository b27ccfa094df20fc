// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSPropertyListSerialization.h>

#include "SuiteNotification.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(OVUserDefaults)

constinit const StringConstant NSUserDefaultsSuiteDidChangeNotification(
    "NSUserDefaultsSuiteDidChangeNotification");

namespace {

constinit const StringConstant kSender("bundleIdentifierOfSender");
constinit const StringConstant kSuiteName("suiteName");

/// The sender as the notification names it; null where it names none.
Ref<NSString> senderOf(const Ref<NSNotification>& notification) {
  const auto& userInfo = notification->userInfo();
  return userInfo ? cast<NSString>(userInfo->objectForKey(kSender)) : nullptr;
}

Ref<NSDictionary> suiteNameOf(const Ref<NSNotification>& notification) {
  const id& suite = notification->object();
  return suite ? NSDictionary::of({{kSuiteName, suite}}) : NSDictionary::dictionary();
}

/// Before anything is kept that the platform would refuse again and again.
void checkPropertyList(const Ref<NSDictionary>& defaults) {
  Ref<NSString> problem;
  if (defaults && !NSPropertyListSerialization::dataFromPropertyList_format_errorDescription(
                      defaults, NSPropertyListBinaryFormat_v1_0, &problem)) {
    throw NSException(NSInvalidArgumentException, problem);
  }
}

}  // namespace

void postSuiteChange(const Ref<NSString>& suite, const Ref<NSString>& sender) {
  NSDistributedNotificationCenter::defaultCenter()->postNotificationName_object_userInfo(
      NSUserDefaultsSuiteDidChangeNotification, suite, NSDictionary::of({{kSender, sender}}));
}

OVUserDefaults::OVUserDefaults(const Ref<NSString>& user)
    : NSUserDefaults(user),
      mAppIdentifier(NSBundle::mainBundle()->bundleIdentifier()),
      mSuites(NSMutableArray::array()),
      mRegisteredDefaultsBySuite(NSMutableDictionary::dictionary()) {}

OVUserDefaults::~OVUserDefaults() {
  for (const id& suite : mSuites) {
    removeObservationsForSuite(cast<NSString>(suite));
  }
}

void OVUserDefaults::install() {
  replaceStandardUserDefaults(
      [] { return Ref<NSUserDefaults>(OVUserDefaults::standardUserDefaults()); });
}

Ref<OVUserDefaults> OVUserDefaults::standardUserDefaults() {
  static OVUserDefaults* const shared = init().leak();
  return Ref<OVUserDefaults>(shared);
}

Ref<OVUserDefaults> OVUserDefaults::init() { return make<OVUserDefaults>(); }

Ref<OVUserDefaults> OVUserDefaults::initWithUser(const Ref<NSString>& user) {
  return NSUserDefaults::initWithUser(user) ? make<OVUserDefaults>(user) : nullptr;
}

void OVUserDefaults::registerDefaults(const Ref<NSDictionary>& defaults) {
  _registerDefaults_inSuite(defaults, mAppIdentifier);
}

void OVUserDefaults::_registerDefaults_inSuite(const Ref<NSDictionary>& defaults,
                                               const Ref<NSString>& suite) {
  checkPropertyList(defaults);
  {
    const std::lock_guard lock(mutex_);
    const auto registered =
        NSMutableDictionary::dictionaryWithDictionary(registeredInSuite(suiteOrOwn(suite)));
    registered->addEntriesFromDictionary(defaults);
    mRegisteredDefaultsBySuite->setObject_forKey(registered->copy(), suiteOrOwn(suite));
  }
  _updateRegisteredDefaults();
}

void OVUserDefaults::_updateRegisteredDefaults() {
  const auto all = NSMutableDictionary::dictionary();
  {
    const std::lock_guard lock(mutex_);
    for (const id& suite : mRegisteredDefaultsBySuite) {
      if (!suite->isEqual(mAppIdentifier)) {
        all->addEntriesFromDictionary(registeredInSuite(cast<NSString>(suite)));
      }
    }
    all->addEntriesFromDictionary(registeredInSuite(mAppIdentifier));
  }
  NSUserDefaults::registerDefaults(all);
}

id OVUserDefaults::_objectForKey_inSuite(const Ref<NSString>& key, const Ref<NSString>& suite) {
  const auto domain = persistentDomainForName(suiteOrOwn(suite));
  if (const id stored = domain ? domain->objectForKey(key) : nullptr) {
    return stored;
  }
  const std::lock_guard lock(mutex_);
  const auto registered = registeredInSuite(suiteOrOwn(suite));
  return registered ? registered->objectForKey(key) : nullptr;
}

void OVUserDefaults::addSuiteNamed(const Ref<NSString>& suite) {
  if (suite) {
    addObservationsForSuite(suite);
    const std::lock_guard lock(mutex_);
    mSuites->addObject(copyOf(suite));
  }
  NSUserDefaults::addSuiteNamed(suite);
}

void OVUserDefaults::removeSuiteNamed(const Ref<NSString>& suite) {
  if (suite) {
    removeObservationsForSuite(suite);
    const std::lock_guard lock(mutex_);
    mSuites->removeObject(suite);
  }
  NSUserDefaults::removeSuiteNamed(suite);
}

void OVUserDefaults::addObservationsForSuite(const Ref<NSString>& suite) {
  NSDistributedNotificationCenter::defaultCenter()
      ->addObserver_selector_name_object_suspensionBehavior(
          this, sel<&OVUserDefaults::suiteDidChangeDistributedNotification>(),
          NSUserDefaultsSuiteDidChangeNotification, suite,
          NSNotificationSuspensionBehaviorCoalesce);
}

void OVUserDefaults::removeObservationsForSuite(const Ref<NSString>& suite) {
  NSDistributedNotificationCenter::defaultCenter()->removeObserver_name_object(
      this, NSUserDefaultsSuiteDidChangeNotification, suite);
}

void OVUserDefaults::suiteDidChangeDistributedNotification(
    const Ref<NSNotification>& notification) {
  const auto center = NSNotificationCenter::defaultCenter();
  if (!mAppIdentifier->isEqualToString(senderOf(notification))) {
    synchronize();
    center->postNotificationName_object(NSUserDefaultsDidChangeNotification, self());
  }
  center->postNotificationName_object_userInfo(NSUserDefaultsSuiteDidChangeNotification, self(),
                                               suiteNameOf(notification));
}

void OVUserDefaults::setObject_forKey(const id& value, const Ref<NSString>& key) {
  NSUserDefaults::setObject_forKey(value, key);
  announceOwnChange();
}

void OVUserDefaults::removeObjectForKey(const Ref<NSString>& key) {
  NSUserDefaults::removeObjectForKey(key);
  announceOwnChange();
}

void OVUserDefaults::announceOwnChange() {
  std::unique_lock lock(mutex_);
  const bool isSuite = mSuites->containsObject(mAppIdentifier);
  lock.unlock();
  if (isSuite) {
    synchronize();
    postSuiteChange(mAppIdentifier, mAppIdentifier);
  }
}

const Ref<NSString>& OVUserDefaults::suiteOrOwn(const Ref<NSString>& suite) const {
  return suite ? suite : mAppIdentifier;
}

/// Under the mutex. Null where nothing is registered.
Ref<NSDictionary> OVUserDefaults::registeredInSuite(const Ref<NSString>& suite) const {
  return cast<NSDictionary>(mRegisteredDefaultsBySuite->objectForKey(suite));
}

}  // namespace kestova
