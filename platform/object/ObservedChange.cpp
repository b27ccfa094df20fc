// SPDX-License-Identifier: Apache-2.0
#include "object/ObservedChange.h"

#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSNumber.h>

#include <algorithm>
#include <array>
#include <utility>

namespace kestova {
namespace {

const id& settingKind() {
  static const id& kind = *new id(NSKeyValueChangeSetting);
  return kind;
}

constexpr std::array<const StringConstant*, 4> kKeys{
    &NSKeyValueChangeKindKey, &NSKeyValueChangeOldKey, &NSKeyValueChangeNewKey,
    &NSKeyValueChangeNotificationIsPriorKey};

bool isKey(const StringConstant& constant, const id& key) {
  const auto string = constant.string();
  return string == key || string->isEqual(key);
}

}  // namespace

NSUInteger ObservedChange::count() const {
  return static_cast<NSUInteger>(std::ranges::count_if(
      kKeys, [this](const StringConstant* key) { return objectUnder(*key) != nullptr; }));
}

id ObservedChange::objectForKey(const id& key) const {
  const auto* known = std::ranges::find_if(
      kKeys, [&](const StringConstant* constant) { return isKey(*constant, key); });
  return known == kKeys.end() ? nullptr : objectUnder(**known);
}

Ref<NSEnumerator> ObservedChange::keyEnumerator() const {
  std::vector<id> keys;
  for (const StringConstant* key : kKeys) {
    if (objectUnder(*key)) {
      keys.emplace_back(key->string());
    }
  }
  return NSArray::arrayWithObjects(std::move(keys))->objectEnumerator();
}

/// What is there under one of the keys; null where nothing is.
id ObservedChange::objectUnder(const StringConstant& key) const {
  if (&key == &NSKeyValueChangeKindKey) {
    return settingKind();
  }
  if (&key == &NSKeyValueChangeOldKey) {
    return oldValue_;
  }
  if (&key == &NSKeyValueChangeNewKey) {
    return newValue_;
  }
  return moment_ == ChangeMoment::Before ? id(true) : id();
}

const Ref<NSDictionary>& changeWithoutValues(ChangeMoment moment) {
  static const auto& before =
      *new Ref<NSDictionary>(make<ObservedChange>(ChangeMoment::Before, nullptr));
  static const auto& after =
      *new Ref<NSDictionary>(make<ObservedChange>(ChangeMoment::After, nullptr));
  return moment == ChangeMoment::Before ? before : after;
}

}  // namespace kestova
