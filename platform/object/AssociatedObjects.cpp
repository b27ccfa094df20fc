// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/AssociatedObjects.h>
#include <KestovaPlatform/Contract.h>

#include "object/ObjectExtras.h"

#include <utility>

namespace kestova {

id AssociationTable::find(const void* key) {
  const std::lock_guard lock(mutex_);
  const auto found = associations_.find(key);
  return found == associations_.end() ? id() : id(found->second.value);
}

void AssociationTable::set(const void* key, NSObject* value, id owner) {
  Association replaced{value, std::move(owner)};  // destroyed after the lock is released
  const std::lock_guard lock(mutex_);
  if (value != nullptr) {
    std::swap(associations_[key], replaced);
  } else if (auto removed = associations_.extract(key)) {
    replaced = std::move(removed.mapped());
  }
}

void AssociationTable::removeAll() {
  decltype(associations_) removed;
  const std::lock_guard lock(mutex_);
  removed.swap(associations_);
}

namespace {

bool copies(AssociationPolicy policy) {
  return policy == AssociationCopy || policy == AssociationCopyNonatomic;
}

}  // namespace

void setAssociatedObject(const id& object, const void* key, const id& value,
                         AssociationPolicy policy) {
  require(object != nullptr, "object != nil");
  if (!value && ObjectExtras::existing(*object) == nullptr) {
    return;
  }
  const id stored = copies(policy) ? copyOf(value) : value;
  ObjectExtras::of(*object).associations.set(key, stored.get(),
                                             policy == AssociationAssign ? id() : stored);
}

id associatedObject(const id& object, const void* key) {
  require(object != nullptr, "object != nil");
  ObjectExtras* extras = ObjectExtras::existing(*object);
  return extras == nullptr ? id() : extras->associations.find(key);
}

void removeAssociatedObjects(const id& object) {
  require(object != nullptr, "object != nil");
  if (ObjectExtras* extras = ObjectExtras::existing(*object)) {
    extras->associations.removeAll();
  }
}

}  // namespace kestova
