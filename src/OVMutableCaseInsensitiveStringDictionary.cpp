// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSSet.h>

#include <mutex>
#include <utility>
#include <vector>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVMutableCaseInsensitiveStringDictionary)

namespace {

Ref<NSString> stringAt(const Ref<NSMutableDictionary>& dictionary, const Ref<NSString>& key) {
  return cast<NSString>(dictionary->objectForKey(key));
}

/// Keeps the object that was there.
void replace(const Ref<NSMutableDictionary>& dictionary, const id& key, const id& object,
             std::vector<id>& replaced) {
  if (id before = dictionary->objectForKey(key)) {
    replaced.push_back(std::move(before));
  }
  dictionary->setObject_forKey(object, key);
}

}  // namespace

OVMutableCaseInsensitiveStringDictionary::OVMutableCaseInsensitiveStringDictionary()
    : _dict(NSMutableDictionary::dictionary()),
      _lowerToVariants(NSMutableDictionary::dictionary()),
      _variantToLower(NSMutableDictionary::dictionary()),
      lock_(NSRecursiveLock::init()) {}

Ref<OVMutableCaseInsensitiveStringDictionary> OVMutableCaseInsensitiveStringDictionary::init() {
  return make<OVMutableCaseInsensitiveStringDictionary>();
}

void OVMutableCaseInsensitiveStringDictionary::setObject_forKey(const id& object,
                                                                const Ref<NSString>& key) {
  if (!object || !key) {
    throw NSException(
        NSInvalidArgumentException,
        "-[OVMutableCaseInsensitiveStringDictionary setObject:forKey:]: nil argument");
  }
  const Ref<NSString> spelling = copyOf(key);
  std::vector<id> replaced;  // they go when the dictionary is unlocked again
  const std::lock_guard guard(*lock_);
  const id existing = _dict->objectForKey(spelling);
  if (existing == object) {
    return;
  }
  const auto known = stringAt(_variantToLower, spelling);
  if (known) {
    setObject_forVariantsOf(object, known, replaced);
  }
  if (existing) {
    return;
  }
  const auto lower = known ? known : spelling->lowercaseString();
  _dict->setObject_forKey(object, spelling);
  if (!known) {
    replace(_dict, lower, object, replaced);
  }
  _addVariant_forLower(spelling, lower);
}

id OVMutableCaseInsensitiveStringDictionary::objectForKey(const Ref<NSString>& key) {
  const std::lock_guard guard(*lock_);
  if (const id object = _dict->objectForKey(key); object || !key) {
    return object;
  }
  if (const auto lower = stringAt(_variantToLower, key)) {
    return _dict->objectForKey(lower);
  }
  const auto lower = key->lowercaseString();
  const id object = _dict->objectForKey(lower);
  if (object) {
    const Ref<NSString> spelling = copyOf(key);
    _dict->setObject_forKey(object, spelling);
    _addVariant_forLower(spelling, lower);
  }
  return object;
}

void OVMutableCaseInsensitiveStringDictionary::removeObjectForKey(const Ref<NSString>& key) {
  if (!key) {
    return;
  }
  id removed;
  const std::lock_guard guard(*lock_);
  const auto known = stringAt(_variantToLower, key);
  const auto lower = known ? known : key->lowercaseString();
  removed = _dict->objectForKey(lower);
  if (!removed) {
    return;
  }
  _dict->removeObjectForKey(lower);
  if (const auto variants = cast<NSSet>(_lowerToVariants->objectForKey(lower))) {
    _variantToLower->removeObjectsForKeys(variants->allObjects());
    _lowerToVariants->removeObjectForKey(lower);
  }
}

void OVMutableCaseInsensitiveStringDictionary::removeAllObjects() {
  Ref<NSArray> removed;
  const std::lock_guard guard(*lock_);
  removed = _dict->allValues();
  _dict->removeAllObjects();
  _lowerToVariants->removeAllObjects();
  _variantToLower->removeAllObjects();
}

Ref<NSArray> OVMutableCaseInsensitiveStringDictionary::allKeys() const {
  const std::lock_guard guard(*lock_);
  return _lowerToVariants->allKeys();
}

Ref<NSArray> OVMutableCaseInsensitiveStringDictionary::allValues() const {
  const std::lock_guard guard(*lock_);
  std::vector<id> values;
  for (const id& lower : _lowerToVariants) {
    values.push_back(_dict->objectForKey(lower));
  }
  return NSArray::arrayWithObjects(std::move(values));
}

/// Under the lock.
void OVMutableCaseInsensitiveStringDictionary::_addVariant_forLower(const Ref<NSString>& variant,
                                                                    const Ref<NSString>& lower) {
  auto variants = cast<NSMutableSet>(_lowerToVariants->objectForKey(lower));
  if (!variants) {
    variants = NSMutableSet::set();
    _lowerToVariants->setObject_forKey(variants, lower);
  }
  variants->addObject(variant);
  _variantToLower->setObject_forKey(lower, variant);
  _variantToLower->setObject_forKey(lower, lower);
}

/// Under the lock.
void OVMutableCaseInsensitiveStringDictionary::setObject_forVariantsOf(const id& object,
                                                                       const id& lower,
                                                                       std::vector<id>& replaced) {
  if (const auto variants = cast<NSSet>(_lowerToVariants->objectForKey(lower))) {
    for (const id& spelling : variants) {
      replace(_dict, spelling, object, replaced);
    }
  }
}

}  // namespace kestova
