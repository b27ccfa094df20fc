// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSBundle.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSUserDefaults.h>

#include "preferences/PropertyListCopy.h"
#include "preferences/SearchList.h"

#include <atomic>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSUserDefaults)

constinit const StringConstant NSArgumentDomain("NSArgumentDomain");
constinit const StringConstant NSGlobalDomain("NSGlobalDomain");
constinit const StringConstant NSRegistrationDomain("NSRegistrationDomain");
constinit const StringConstant NSUserDefaultsDidChangeNotification(
    "NSUserDefaultsDidChangeNotification");

namespace {

using StandardUserDefaults = Ref<NSUserDefaults> (*)();

std::atomic<StandardUserDefaults> standardUserDefaultsInUse{nullptr};

void checkArgument(bool isGood, const char* reason) {
  if (!isGood) {
    throw NSException(NSInvalidArgumentException, reason);
  }
}

std::shared_ptr<PreferencesStore> storeOf(const Ref<NSString>& user) {
  return user ? PreferencesStore::ofUser(user) : PreferencesStore::ofCurrentUser();
}

std::shared_ptr<PreferencesStore> existingStoreOf(const Ref<NSString>& user) {
  auto store = storeOf(user);
  require(store != nullptr, "the user has an account");
  return store;
}

Ref<NSDictionary> copyOfEntries(const Ref<NSDictionary>& entries) {
  const auto copies = NSMutableDictionary::dictionaryWithCapacity(entries->count());
  for (const id& key : entries) {
    const auto name = cast<NSString>(key);
    checkArgument(name != nullptr, "A key of preferences is no string");
    copies->setObject_forKey(propertyListCopy(entries->objectForKey(key), name), name);
  }
  return copies;
}

/// An object for the length of a call by somebody who holds it: nothing is counted.
class Borrowed {
 public:
  explicit Borrowed(NSObject& object) noexcept : object_(id::adopt(&object)) {}
  ~Borrowed() { static_cast<void>(object_.leak()); }
  Borrowed(const Borrowed&) = delete;
  Borrowed& operator=(const Borrowed&) = delete;

  const id& object() const noexcept { return object_; }

 private:
  id object_;
};

/// What a number or a string makes of a value; nothing of any other.
template <class T>
T numberIn(const id& value, T (NSNumber::*fromNumber)() const, T (NSString::*fromText)() const) {
  if (const auto number = cast<NSNumber>(value)) {
    return (*number.*fromNumber)();
  }
  const auto text = cast<NSString>(value);
  return text ? (*text.*fromText)() : T();
}

}  // namespace

NSInteger integerValueOf(const id& value) {
  return numberIn(value, &NSNumber::integerValue, &NSString::integerValue);
}

float floatValueOf(const id& value) {
  return numberIn(value, &NSNumber::floatValue, &NSString::floatValue);
}

double doubleValueOf(const id& value) {
  return numberIn(value, &NSNumber::doubleValue, &NSString::doubleValue);
}

bool boolValueOf(const id& value) {
  return numberIn(value, &NSNumber::boolValue, &NSString::boolValue);
}

NSUserDefaults::NSUserDefaults(const Ref<NSString>& user)
    : NSUserDefaults(existingStoreOf(user), NSBundle::mainBundle()->bundleIdentifier()) {}

NSUserDefaults::NSUserDefaults(std::shared_ptr<PreferencesStore> store,
                               const Ref<NSString>& application)
    : list_(std::make_unique<SearchList>(std::move(store), application)) {}

NSUserDefaults::~NSUserDefaults() = default;

Ref<NSUserDefaults> NSUserDefaults::standardUserDefaults() {
  if (const auto inPlace = standardUserDefaultsInUse.load(std::memory_order_acquire)) {
    return inPlace();
  }
  static NSUserDefaults* const standard = init().leak();
  return Ref<NSUserDefaults>(standard);
}

void NSUserDefaults::replaceStandardUserDefaults(StandardUserDefaults standardUserDefaults) {
  standardUserDefaultsInUse.store(standardUserDefaults, std::memory_order_release);
}

Ref<NSUserDefaults> NSUserDefaults::init() { return make<NSUserDefaults>(); }

Ref<NSUserDefaults> NSUserDefaults::initWithUser(const Ref<NSString>& user) {
  return storeOf(user) ? make<NSUserDefaults>(user) : nullptr;
}

id NSUserDefaults::objectForKey(const Ref<NSString>& key) { return list_->objectForKey(key); }

Ref<NSString> NSUserDefaults::stringForKey(const Ref<NSString>& key) {
  const id value = objectForKey(key);
  const auto number = cast<NSNumber>(value);
  return number ? number->stringValue() : cast<NSString>(value);
}

Ref<NSArray> NSUserDefaults::arrayForKey(const Ref<NSString>& key) {
  return cast<NSArray>(objectForKey(key));
}

Ref<NSDictionary> NSUserDefaults::dictionaryForKey(const Ref<NSString>& key) {
  return cast<NSDictionary>(objectForKey(key));
}

Ref<NSData> NSUserDefaults::dataForKey(const Ref<NSString>& key) {
  return cast<NSData>(objectForKey(key));
}

Ref<NSArray> NSUserDefaults::stringArrayForKey(const Ref<NSString>& key) {
  const auto array = arrayForKey(key);
  for (const id& each : array ? array : NSArray::array()) {
    if (!cast<NSString>(each)) {
      return nullptr;
    }
  }
  return array;
}

NSInteger NSUserDefaults::integerForKey(const Ref<NSString>& key) {
  return integerValueOf(objectForKey(key));
}

float NSUserDefaults::floatForKey(const Ref<NSString>& key) {
  return floatValueOf(objectForKey(key));
}

double NSUserDefaults::doubleForKey(const Ref<NSString>& key) {
  return doubleValueOf(objectForKey(key));
}

bool NSUserDefaults::boolForKey(const Ref<NSString>& key) { return boolValueOf(objectForKey(key)); }

Ref<NSURL> NSUserDefaults::URLForKey(const Ref<NSString>& key) {
  const auto text = cast<NSString>(objectForKey(key));
  const bool isPath = text && text->hasPrefix("/");
  return isPath ? NSURL::fileURLWithPath_isDirectory(text, text->hasSuffix("/"))
                : NSURL::URLWithString(text);
}

Ref<NSDictionary> NSUserDefaults::dictionaryRepresentation() { return list_->everything(); }

void NSUserDefaults::setObject_forKey(const id& value, const Ref<NSString>& key) {
  checkArgument(key != nullptr, "There is no key to set a preference under");
  list_->setValue_forKey(propertyListCopy(value, key), key);
  list_->store().saveLater();
  announceChange();
}

void NSUserDefaults::removeObjectForKey(const Ref<NSString>& key) {
  if (key) {
    list_->setValue_forKey(nullptr, key);
    list_->store().saveLater();
    announceChange();
  }
}

void NSUserDefaults::setInteger_forKey(NSInteger value, const Ref<NSString>& key) {
  setObject_forKey(NSNumber::numberWithInteger(value), key);
}

void NSUserDefaults::setFloat_forKey(float value, const Ref<NSString>& key) {
  setObject_forKey(NSNumber::numberWithFloat(value), key);
}

void NSUserDefaults::setDouble_forKey(double value, const Ref<NSString>& key) {
  setObject_forKey(NSNumber::numberWithDouble(value), key);
}

void NSUserDefaults::setBool_forKey(bool value, const Ref<NSString>& key) {
  setObject_forKey(NSNumber::numberWithBool(value), key);
}

void NSUserDefaults::setURL_forKey(const Ref<NSURL>& url, const Ref<NSString>& key) {
  if (!url) {
    return removeObjectForKey(key);
  }
  const bool isFolder = url->isFileURL() && url->hasDirectoryPath() && url->path() != "/";
  const Ref<NSString> path = isFolder ? url->path()->stringByAppendingString("/") : url->path();
  setObject_forKey(url->isFileURL() ? path : url->absoluteString(), key);
}

void NSUserDefaults::registerDefaults(const Ref<NSDictionary>& defaults) {
  if (defaults) {
    list_->addToRegistrationDomain(copyOfEntries(defaults));
  }
}

void NSUserDefaults::addSuiteNamed(const Ref<NSString>& suite) {
  if (suite) {
    list_->addSuite(suite);
  }
}

void NSUserDefaults::removeSuiteNamed(const Ref<NSString>& suite) {
  if (suite) {
    list_->removeSuite(suite);
  }
}

Ref<NSArray> NSUserDefaults::volatileDomainNames() { return list_->volatileNames(); }

Ref<NSDictionary> NSUserDefaults::volatileDomainForName(const Ref<NSString>& name) {
  return list_->volatileDomain(name);
}

void NSUserDefaults::setVolatileDomain_forName(const Ref<NSDictionary>& domain,
                                               const Ref<NSString>& name) {
  checkArgument(domain && name, "A volatile domain needs a name and a dictionary");
  const auto copy = cast<NSDictionary>(copyOfEntries(domain)->copy());
  checkArgument(list_->addVolatileDomain(copy, name), "There is a volatile domain of this name");
}

void NSUserDefaults::removeVolatileDomainForName(const Ref<NSString>& name) {
  list_->removeVolatileDomain(name);
}

Ref<NSArray> NSUserDefaults::persistentDomainNames() { return list_->store().domainNames(); }

Ref<NSDictionary> NSUserDefaults::persistentDomainForName(const Ref<NSString>& name) {
  const auto contents = name ? list_->store().domain(name).contents() : nullptr;
  return contents && contents->count() > 0 ? contents : nullptr;
}

void NSUserDefaults::setPersistentDomain_forName(const Ref<NSDictionary>& domain,
                                                 const Ref<NSString>& name) {
  checkArgument(domain && name, "A persistent domain needs a name and a dictionary");
  PreferencesDomain& changed = list_->store().domain(name);
  changed.setContents(domain);
  write(changed);
}

void NSUserDefaults::removePersistentDomainForName(const Ref<NSString>& name) {
  if (name) {
    PreferencesDomain& changed = list_->store().domain(name);
    changed.removeAll();
    write(changed);
  }
}

bool NSUserDefaults::synchronize() { return list_->store().synchronize(); }

/// What can't be written now is tried again in the background.
void NSUserDefaults::write(PreferencesDomain& changed) {
  if (!changed.synchronize()) {
    list_->store().saveLater();
  }
  announceChange();
}

/// Asked for once what is the same every time: hardly ever does anybody listen.
void NSUserDefaults::announceChange() {
  static auto& centre = *new auto(NSNotificationCenter::defaultCenter());
  static auto& name = *new Ref<NSString>(NSUserDefaultsDidChangeNotification);
  centre->postNotificationName_object(name, Borrowed(*this).object());
}

}  // namespace kestova
