// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include "object/KeyText.h"

#include <string>
#include <string_view>

namespace kestova {
namespace {

/// The property that a key names: by its own name, or with "is" before it.
const Property* propertyForKey(const NSObject& object, const Ref<NSString>& key) {
  if (!key || key->length() == 0) {
    return nullptr;
  }
  const KeyText text(key);
  const std::string_view name = text;
  const Class& described = object.classDescriptor();
  if (const Property* property = described.property(name)) {
    return property;
  }
  std::string question = "is" + std::string(name);
  question[2] =
      static_cast<char>(question[2] >= 'a' && question[2] <= 'z' ? question[2] - 32 : question[2]);
  return described.property(question);
}

[[noreturn]] void throwUndefinedKey(const NSObject& object, const Ref<NSString>& key) {
  throw NSException(
      NSUndefinedKeyException,
      NSString::stringWithFormat("<%@ %p> has no property to get or set under the key \"%@\".",
                                 NSStringFromClass(object.classDescriptor()),
                                 static_cast<const void*>(&object), key));
}

struct SplitPath {
  Ref<NSString> first;
  Ref<NSString> rest;  // null when the path is one key
};

SplitPath splitPath(const Ref<NSString>& keyPath) {
  const NSRange stop = keyPath ? keyPath->rangeOfString(".") : NSRange{NSNotFound, 0};
  if (stop.location == NSNotFound) {
    return {keyPath, nullptr};
  }
  return {keyPath->substringToIndex(stop.location), keyPath->substringFromIndex(NSMaxRange(stop))};
}

}  // namespace

id NSObject::valueForKey(const Ref<NSString>& key) const {
  const Property* property = propertyForKey(*this, key);
  return property == nullptr ? valueForUndefinedKey(key) : property->get(*this);
}

void NSObject::setValue_forKey(const id& value, const Ref<NSString>& key) {
  const Property* property = propertyForKey(*this, key);
  if (property == nullptr || !property->set) {
    setValue_forUndefinedKey(value, key);
  } else if (!value && !property->takesNull) {
    setNilValueForKey(key);
  } else {
    property->set(*this, value);
  }
}

id NSObject::valueForKeyPath(const Ref<NSString>& keyPath) const {
  const SplitPath path = splitPath(keyPath);
  const id value = valueForKey(path.first);
  return path.rest && value ? value->valueForKeyPath(path.rest) : value;
}

void NSObject::setValue_forKeyPath(const id& value, const Ref<NSString>& keyPath) {
  const SplitPath path = splitPath(keyPath);
  if (!path.rest) {
    setValue_forKey(value, path.first);
  } else if (const id next = valueForKey(path.first)) {
    next->setValue_forKeyPath(value, path.rest);
  }
}

id NSObject::valueForUndefinedKey(const Ref<NSString>& key) const { throwUndefinedKey(*this, key); }

void NSObject::setValue_forUndefinedKey(const id&, const Ref<NSString>& key) {
  throwUndefinedKey(*this, key);
}

void NSObject::setNilValueForKey(const Ref<NSString>& key) {
  throw NSException(NSInvalidArgumentException,
                    NSString::stringWithFormat(
                        "<%@ %p>: the property \"%@\" has a plain type and cannot be nothing.",
                        NSStringFromClass(classDescriptor()), static_cast<const void*>(this), key));
}

}  // namespace kestova
