// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSUserDefaultsAdditions.h>
#include <KestovaFoundation/OVUserDefaults.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNumber.h>

#include "SuiteNotification.h"

namespace kestova {
namespace {

Ref<NSString> ownIdentifier() { return NSBundle::mainBundle()->bundleIdentifier(); }

bool isOwn(const Ref<NSString>& suite) { return !suite || suite->isEqualToString(ownIdentifier()); }

const Ref<NSUserDefaults>& checked(const Ref<NSUserDefaults>& self) {
  require(self != nullptr, "self != nil");
  return self;
}

Ref<OVUserDefaults> suitesOf(const Ref<NSUserDefaults>& self, const char* operation) {
  auto defaults = cast<OVUserDefaults>(checked(self));
  if (!defaults) {
    throwUnrecognizedSelector(*self, operation);
  }
  return defaults;
}

/// Stores a copy of the domain in which the value stands under the key, or nothing does for null.
void change(const Ref<NSUserDefaults>& self, const Ref<NSString>& domain, const Ref<NSString>& key,
            const id& value) {
  const auto changed =
      NSMutableDictionary::dictionaryWithDictionary(self->persistentDomainForName(domain));
  if (value) {
    changed->setObject_forKey(value, key);
  } else if (key) {
    changed->removeObjectForKey(key);
  }
  self->setPersistentDomain_forName(changed, domain);
}

void checkValue(const id& value) {
  if (!value) {
    throw NSException(NSInvalidArgumentException, "There is no value to set as a preference");
  }
}

}  // namespace

inline namespace NSUserDefaults_KestovaSuiteAdditions {

void registerDefaults_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSDictionary>& defaults,
                              const Ref<NSString>& suite) {
  suitesOf(self, "_registerDefaults:inSuite:")->_registerDefaults_inSuite(defaults, suite);
}

id objectForKey_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                        const Ref<NSString>& suite) {
  return suitesOf(self, "_objectForKey:inSuite:")->_objectForKey_inSuite(key, suite);
}

void setObject_forKey_inSuite(const Ref<NSUserDefaults>& self, const id& value,
                              const Ref<NSString>& key, const Ref<NSString>& suite) {
  if (isOwn(suite)) {
    return checked(self)->setObject_forKey(value, key);
  }
  setObject_forKey_inPersistentDomain(self, value, key, suite);
  postSuiteChange(suite, ownIdentifier());
}

void removeObjectForKey_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                                const Ref<NSString>& suite) {
  removeObjectForKey_inPersistentDomain(self, key, isOwn(suite) ? nullptr : suite);
}

NSInteger integerForKey_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                                const Ref<NSString>& suite) {
  return integerValueOf(objectForKey_inSuite(self, key, suite));
}

float floatForKey_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                          const Ref<NSString>& suite) {
  return floatValueOf(objectForKey_inSuite(self, key, suite));
}

double doubleForKey_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                            const Ref<NSString>& suite) {
  return doubleValueOf(objectForKey_inSuite(self, key, suite));
}

bool boolForKey_inSuite(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                        const Ref<NSString>& suite) {
  return boolValueOf(objectForKey_inSuite(self, key, suite));
}

void setInteger_forKey_inSuite(const Ref<NSUserDefaults>& self, NSInteger value,
                               const Ref<NSString>& key, const Ref<NSString>& suite) {
  setObject_forKey_inSuite(self, NSNumber::numberWithInteger(value), key, suite);
}

void setFloat_forKey_inSuite(const Ref<NSUserDefaults>& self, float value, const Ref<NSString>& key,
                             const Ref<NSString>& suite) {
  setObject_forKey_inSuite(self, NSNumber::numberWithFloat(value), key, suite);
}

void setDouble_forKey_inSuite(const Ref<NSUserDefaults>& self, double value,
                              const Ref<NSString>& key, const Ref<NSString>& suite) {
  setObject_forKey_inSuite(self, NSNumber::numberWithDouble(value), key, suite);
}

void setBool_forKey_inSuite(const Ref<NSUserDefaults>& self, bool value, const Ref<NSString>& key,
                            const Ref<NSString>& suite) {
  setObject_forKey_inSuite(self, NSNumber::numberWithBool(value), key, suite);
}

}  // namespace NSUserDefaults_KestovaSuiteAdditions

inline namespace NSUserDefaults_KestovaPersistentDomainAdditions {

id objectForKey_inPersistentDomain(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                                   const Ref<NSString>& domain) {
  if (!domain) {
    return checked(self)->objectForKey(key);
  }
  const auto contents = checked(self)->persistentDomainForName(domain);
  return contents ? contents->objectForKey(key) : nullptr;
}

void setObject_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self, const id& value,
                                         const Ref<NSString>& key, const Ref<NSString>& domain) {
  if (!domain) {
    return checked(self)->setObject_forKey(value, key);
  }
  checkValue(value);
  change(checked(self), domain, key, value);
}

void removeObjectForKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                           const Ref<NSString>& key, const Ref<NSString>& domain) {
  if (!domain) {
    return checked(self)->removeObjectForKey(key);
  }
  change(checked(self), domain, key, nullptr);
}

NSInteger integerForKey_inPersistentDomain(const Ref<NSUserDefaults>& self,
                                           const Ref<NSString>& key, const Ref<NSString>& domain) {
  return integerValueOf(objectForKey_inPersistentDomain(self, key, domain));
}

float floatForKey_inPersistentDomain(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                                     const Ref<NSString>& domain) {
  return floatValueOf(objectForKey_inPersistentDomain(self, key, domain));
}

double doubleForKey_inPersistentDomain(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                                       const Ref<NSString>& domain) {
  return doubleValueOf(objectForKey_inPersistentDomain(self, key, domain));
}

bool boolForKey_inPersistentDomain(const Ref<NSUserDefaults>& self, const Ref<NSString>& key,
                                   const Ref<NSString>& domain) {
  return boolValueOf(objectForKey_inPersistentDomain(self, key, domain));
}

void setInteger_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self, NSInteger value,
                                          const Ref<NSString>& key, const Ref<NSString>& domain) {
  setObject_forKey_inPersistentDomain(self, NSNumber::numberWithInteger(value), key, domain);
}

void setFloat_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self, float value,
                                        const Ref<NSString>& key, const Ref<NSString>& domain) {
  setObject_forKey_inPersistentDomain(self, NSNumber::numberWithFloat(value), key, domain);
}

void setDouble_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self, double value,
                                         const Ref<NSString>& key, const Ref<NSString>& domain) {
  setObject_forKey_inPersistentDomain(self, NSNumber::numberWithDouble(value), key, domain);
}

void setBool_forKey_inPersistentDomain(const Ref<NSUserDefaults>& self, bool value,
                                       const Ref<NSString>& key, const Ref<NSString>& domain) {
  setObject_forKey_inPersistentDomain(self, NSNumber::numberWithBool(value), key, domain);
}

}  // namespace NSUserDefaults_KestovaPersistentDomainAdditions

}  // namespace kestova
