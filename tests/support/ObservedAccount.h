// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSKeyValueObserving.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <string>

namespace kestova::testing {

/// An object with properties to observe.
class ObservedAccount : public NSObject {
 public:
  using super = NSObject;
  static const Class& staticClass() {
    static const Class& description =
        *new Class(ClassBuilder<ObservedAccount>("ObservedAccount", &NSObject::staticClass())
                       .property<&ObservedAccount::name, &ObservedAccount::setName>("name")
                       .property<&ObservedAccount::balance, &ObservedAccount::setBalance>("balance")
                       .property<&ObservedAccount::owner, &ObservedAccount::setOwner>("owner")
                       .build());
    return description;
  }
  const Class& classDescriptor() const override { return staticClass(); }

  Ref<NSString> name() const { return name_; }
  void setName(const Ref<NSString>& name) {
    const KeyValueChange change(*this, "name");
    name_ = copyOf(name);
  }
  int balance() const { return balance_; }
  void setBalance(int balance) {
    const KeyValueChange change(*this, "balance");
    balance_ = balance;
  }
  Ref<ObservedAccount> owner() const { return owner_; }
  void setOwner(const Ref<ObservedAccount>& owner) {
    const KeyValueChange change(*this, "owner");
    owner_ = owner;
  }

 private:
  Ref<NSString> name_;
  int balance_ = 0;
  Ref<ObservedAccount> owner_;
};

/// A change as a line: "name old>new", "-" standing for what was not told.
inline std::string lineOf(const Ref<NSString>& keyPath, const Ref<NSDictionary>& change) {
  const auto textUnder = [&](const StringConstant& key) {
    const id value = change->objectForKey(key);
    return value ? value->description()->displayUTF8() : "-";
  };
  return keyPath->displayUTF8() + " " + textUnder(NSKeyValueChangeOldKey) + ">" +
         textUnder(NSKeyValueChangeNewKey);
}

}  // namespace kestova::testing
