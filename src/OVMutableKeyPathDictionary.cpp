// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVMutableCaseInsensitiveStringDictionary.h>
#include <KestovaFoundation/OVMutableKeyPathDictionary.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>

#include <algorithm>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVMutableKeyPathDictionary)

namespace {

using CaseInsensitive = OVMutableCaseInsensitiveStringDictionary;

/// A key of a case-insensitive level: its lowercase form must be there to be asked for.
Ref<NSString> stringKey(const id& key) {
  const auto string = cast<NSString>(key);
  if (key && !string) {
    throwUnrecognizedSelector(*key, "lowercaseString");
  }
  return string;
}

/// \name What a level of the tree is asked to do, whichever of the two kinds of dictionaries it is
/// Anything else throws NSInvalidArgumentException.
/// @{

id objectInLevel(const id& level, const id& key) {
  if (const auto dictionary = cast<NSDictionary>(level)) {
    return dictionary->objectForKey(key);
  }
  if (const auto dictionary = cast<CaseInsensitive>(level)) {
    return dictionary->objectForKey(stringKey(key));
  }
  throwUnrecognizedSelector(*level, "objectForKey:");
}

void setInLevel(const id& level, const id& object, const id& key) {
  if (const auto dictionary = cast<NSMutableDictionary>(level)) {
    dictionary->setObject_forKey(object, key);
  } else if (const auto caseInsensitive = cast<CaseInsensitive>(level)) {
    caseInsensitive->setObject_forKey(object, stringKey(key));
  } else {
    throwUnrecognizedSelector(*level, "setObject:forKey:");
  }
}

void removeFromLevel(const id& level, const id& key) {
  if (const auto dictionary = cast<NSMutableDictionary>(level)) {
    dictionary->removeObjectForKey(key);
  } else if (const auto caseInsensitive = cast<CaseInsensitive>(level)) {
    caseInsensitive->removeObjectForKey(stringKey(key));
  } else {
    throwUnrecognizedSelector(*level, "removeObjectForKey:");
  }
}

Ref<NSArray> keysOfLevel(const id& level) {
  if (const auto dictionary = cast<NSDictionary>(level)) {
    return dictionary->allKeys();
  }
  if (const auto dictionary = cast<CaseInsensitive>(level)) {
    return dictionary->allKeys();
  }
  throwUnrecognizedSelector(*level, "allKeys");
}

/// @}

bool isEmpty(const Ref<NSArray>& keyPath) { return !keyPath || keyPath->count() == 0; }

}  // namespace

Ref<OVMutableKeyPathDictionary> OVMutableKeyPathDictionary::init() {
  return initialised<OVMutableKeyPathDictionary>();
}

void OVMutableKeyPathDictionary::setup() {
  _dictClass = &NSMutableDictionary::staticClass();
  _rootDict = _dictClass->make();
}

Ref<NSArray> OVMutableKeyPathDictionary::allKeys() const { return keysOfLevel(_rootDict); }

void OVMutableKeyPathDictionary::setObject_forKeyPath(const id& object,
                                                      const Ref<NSArray>& keyPath) {
  if (!isEmpty(keyPath)) {
    setInLevel(levelAbove(keyPath), object, keyPath->lastObject());
  }
}

id OVMutableKeyPathDictionary::objectForKeyPath(const Ref<NSArray>& keyPath) const {
  id value = _rootDict;
  const NSUInteger count = keyPath ? keyPath->count() : 0;
  for (NSUInteger index = 0; index < count && value; ++index) {
    value = objectInLevel(value, keyPath->objectAtIndex(index));
  }
  return value;
}

void OVMutableKeyPathDictionary::removeObjectForKeyPath(const Ref<NSArray>& keyPath) {
  if (!isEmpty(keyPath)) {
    removeFromLevel(levelAbove(keyPath), keyPath->lastObject());
  }
}

/// The level that the path's last key belongs to, made if need be with all above it.
id OVMutableKeyPathDictionary::levelAbove(const Ref<NSArray>& keyPath) {
  id level = _rootDict;
  for (NSUInteger index = 0; index + 1 < keyPath->count(); ++index) {
    const id key = keyPath->objectAtIndex(index);
    id next = objectInLevel(level, key);
    if (!next) {
      next = NSMutableDictionary::dictionary();
      setInLevel(level, next, key);
    }
    level = std::move(next);
  }
  return level;
}

Ref<NSArray> OVMutableKeyPathDictionary::pathOf(std::vector<id> keys) {
  keys.erase(std::ranges::find(keys, id()), keys.end());
  return NSArray::arrayWithObjects(std::move(keys));
}

Ref<NSArray> OVMutableKeyPathDictionary::pathOfAtLeastOne(std::vector<id> keys) {
  auto path = pathOf(std::move(keys));
  require(!isEmpty(path), "the list of keys holds at least one key");
  return path;
}

}  // namespace kestova
