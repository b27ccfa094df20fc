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

class ObservedChange final : public NSDictionary {
 public:
  ObservedChange(ChangeMoment moment, id oldValue, id newValue)
      : moment_(moment), oldValue_(std::move(oldValue)), newValue_(std::move(newValue)) {}

  NSUInteger count() const override {
    return static_cast<NSUInteger>(std::ranges::count_if(
        kKeys, [this](const StringConstant* key) { return objectUnder(*key) != nullptr; }));
  }

  id objectForKey(const id& key) const override {
    const auto* known = std::ranges::find_if(
        kKeys, [&](const StringConstant* constant) { return isKey(*constant, key); });
    return known == kKeys.end() ? nullptr : objectUnder(**known);
  }

  Ref<NSEnumerator> keyEnumerator() const override {
    std::vector<id> keys;
    for (const StringConstant* key : kKeys) {
      if (objectUnder(*key)) {
        keys.emplace_back(key->string());
      }
    }
    return NSArray::arrayWithObjects(std::move(keys))->objectEnumerator();
  }

  id copy() const override { return self(); }

 private:
  static constexpr std::array<const StringConstant*, 4> kKeys{
      &NSKeyValueChangeKindKey, &NSKeyValueChangeOldKey, &NSKeyValueChangeNewKey,
      &NSKeyValueChangeNotificationIsPriorKey};

  static bool isKey(const StringConstant& constant, const id& key) {
    const auto string = constant.string();
    return string == key || string->isEqual(key);
  }

  /// What is there under one of the keys; null where nothing is.
  id objectUnder(const StringConstant& key) const {
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

  const ChangeMoment moment_;
  const id oldValue_;
  const id newValue_;
};

}  // namespace

Ref<NSDictionary> observedChange(ChangeMoment moment, id oldValue, id newValue) {
  return make<ObservedChange>(moment, std::move(oldValue), std::move(newValue));
}

const Ref<NSDictionary>& observedChange(ChangeMoment moment) {
  static const auto& before =
      *new Ref<NSDictionary>(observedChange(ChangeMoment::Before, nullptr, nullptr));
  static const auto& after =
      *new Ref<NSDictionary>(observedChange(ChangeMoment::After, nullptr, nullptr));
  return moment == ChangeMoment::Before ? before : after;
}

}  // namespace kestova
