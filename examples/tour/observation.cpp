// SPDX-License-Identifier: Apache-2.0
// A property that announces its changes, and three who listen: a block, an operation, and whoever
// observes a key of a dictionary.
#include <KestovaFoundation/KestovaFoundation.h>
#include <KestovaPlatform/KestovaPlatform.h>

#include <iostream>

using namespace kestova;

class Account : public NSObject {
  KESTOVA_CLASS(Account, NSObject)

 public:
  int balance() const { return balance_; }
  void setBalance(int balance) {
    const KeyValueChange change(*this, "balance");  // tells observers when it goes
    balance_ = balance;
  }

 private:
  int balance_ = 0;
};
KESTOVA_DEFINE_CLASS(Account, .property<&Account::balance, &Account::setBalance>("balance"))

class Ledger : public NSObject {
  KESTOVA_CLASS(Ledger, NSObject)

 public:
  void balanceChanged(const Ref<NSString>& keyPath, const id&, const Ref<NSDictionary>& change,
                      const id& userInfo) {
    std::cout << userInfo << ": " << keyPath << " is "
              << change->objectForKey(NSKeyValueChangeNewKey) << '\n';
  }
};
KESTOVA_DEFINE_CLASS(Ledger)

int main() {
  const auto account = make<Account>();
  auto receptionist = OVKVOReceptionist::receptionistForKeyPath_object_handler(
      "balance", account, [](const auto&, const id&, const Ref<NSDictionary>& change) {
        std::cout << change->objectForKey(NSKeyValueChangeOldKey) << " became "
                  << change->objectForKey(NSKeyValueChangeNewKey) << '\n';
      });
  account->setBalance(5);
  receptionist = nullptr;  // nobody is told from here on
  account->setBalance(6);

  const auto ledger = make<Ledger>();
  addObserver_forKeyPath_selector_userInfo_options(account, ledger.get(), "balance",
                                                   sel<&Ledger::balanceChanged>(), "ledger",
                                                   NSKeyValueObservingOptionNew);
  account->setBalance(7);
  removeObserver_forKeyPath_selector(account, ledger.get(), "balance",
                                     sel<&Ledger::balanceChanged>());

  const auto figures =
      OVKVOMutableDictionary::initWithObjects_forKeys(NSArray::array(), NSArray::array());
  const auto total = OVKVOReceptionist::receptionistForKeyPath_object_handler(
      "total", figures, [](const auto&, const id& object, const auto&) {
        std::cout << "total is " << cast<NSDictionary>(object)->objectForKey("total") << '\n';
      });
  figures->setObject_forKey(42, "total");
  figures->setObject_forKey(42, "total");  // told as well, although nothing is different
  std::cout << ov_descriptionOfProperties(account, NSArray::of("balance")) << '\n';
}
