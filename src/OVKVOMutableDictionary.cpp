// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVKVOMutableDictionary.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVKVOMutableDictionary)

OVKVOMutableDictionary::OVKVOMutableDictionary(Ref<NSMutableDictionary> dictionary) noexcept
    : _dictionary(std::move(dictionary)) {}

Ref<OVKVOMutableDictionary> OVKVOMutableDictionary::initWithObjects_forKeys(
    const Ref<NSArray>& objects, const Ref<NSArray>& keys) {
  return make<OVKVOMutableDictionary>(
      NSMutableDictionary::dictionaryWithObjects_forKeys(objects, keys));
}

NSUInteger OVKVOMutableDictionary::count() const { return _dictionary->count(); }

id OVKVOMutableDictionary::objectForKey(const id& key) const {
  return _dictionary->objectForKey(key);
}

Ref<NSEnumerator> OVKVOMutableDictionary::keyEnumerator() const {
  return _dictionary->keyEnumerator();
}

void OVKVOMutableDictionary::setObject_forKey(const id& object, const id& key) {
  const auto name = cast<NSString>(key);
  require(name != nullptr, "[(NSObject *)key isKindOfClass:[NSString class]]",
          {"OVKVOMutableDictionary", "-[OVKVOMutableDictionary setObject:forKey:]", 57});
  if (!object) {
    throw NSException(NSInvalidArgumentException, "no object can be set that is nothing");
  }
  const KeyValueChange change(*this, name);
  _dictionary->setObject_forKey(object, name);
}

void OVKVOMutableDictionary::removeObjectForKey(const id& key) {
  const auto name = cast<NSString>(key);
  require(name != nullptr, "[key isKindOfClass:[NSString class]]",
          {"OVKVOMutableDictionary", "-[OVKVOMutableDictionary removeObjectForKey:]", 67});
  const KeyValueChange change(*this, name);
  _dictionary->removeObjectForKey(name);
}

}  // namespace kestova
