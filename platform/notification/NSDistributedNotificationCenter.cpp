// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>

#include "notification/DistributedLink.h"
#include "notification/DistributedObservers.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(NSDistributedNotificationCenter)

/// What one process has of a centre. A child that was forked can use nothing of its parent's: the
/// thread isn't there, locks may be held by nobody, descriptors are shared.
struct NSDistributedNotificationCenter::Exchange {
  explicit Exchange(const std::string& address)
      : link(address.empty() ? BusAddress::session() : BusAddress::at(address),
             [this](const DistributedPosting& posting) { observers.deliver(posting); }) {}

  const pid_t process = ::getpid();
  DistributedObservers observers;
  DistributedLink link;
};

NSDistributedNotificationCenter::NSDistributedNotificationCenter(std::string address)
    : address_(std::move(address)) {}

NSDistributedNotificationCenter::~NSDistributedNotificationCenter() {
  Exchange* const own = exchange_.load();
  if (own != nullptr && own->process == ::getpid()) {
    delete own;
  }
}

Ref<NSDistributedNotificationCenter> NSDistributedNotificationCenter::defaultCenter() {
  static NSDistributedNotificationCenter& centre =
      *make<NSDistributedNotificationCenter>(std::string()).leak();
  return Ref<NSDistributedNotificationCenter>(&centre);
}

Ref<NSDistributedNotificationCenter> NSDistributedNotificationCenter::initWithBusAddress(
    const Ref<NSString>& address) {
  require(address != nullptr, "address != nil");
  return make<NSDistributedNotificationCenter>(address->displayUTF8());
}

/// A parent's is left alone for good.
NSDistributedNotificationCenter::Exchange& NSDistributedNotificationCenter::exchange() const {
  Exchange* present = exchange_.load(std::memory_order_acquire);
  if (present != nullptr && present->process == ::getpid()) {
    return *present;
  }
  auto made = std::make_unique<Exchange>(address_);
  return exchange_.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel)
             ? *made.release()
             : *present;
}

// Observers

void NSDistributedNotificationCenter::addObserver_selector_name_object_suspensionBehavior(
    NSObject* observer, SEL selector, const Ref<NSString>& name, const Ref<NSString>& object,
    NSNotificationSuspensionBehavior suspensionBehavior) {
  require(observer != nullptr, "observer != nil");
  require(selector != nullptr, "selector != nil");
  require(selector->isAnsweredBy(*observer), "the observer has the operation");
  require(suspensionBehavior >= NSNotificationSuspensionBehaviorDrop &&
              suspensionBehavior <= NSNotificationSuspensionBehaviorDeliverImmediately,
          "suspensionBehavior is one of the four");
  const DistributedInterest interest{copyOf(name), copyOf(object)};
  const std::string rule = interest.rule();
  Exchange& own = exchange();
  own.link.want(rule);
  try {
    own.observers.add(observer, selector, interest, suspensionBehavior,
                      NSRunLoop::currentRunLoop());
  } catch (...) {
    own.link.forget(rule);
    throw;
  }
}

void NSDistributedNotificationCenter::addObserver_selector_name_object(
    NSObject* observer, SEL selector, const Ref<NSString>& name, const Ref<NSString>& object) {
  addObserver_selector_name_object_suspensionBehavior(observer, selector, name, object,
                                                      NSNotificationSuspensionBehaviorCoalesce);
}

void NSDistributedNotificationCenter::removeObserver(const NSObject* observer) {
  removeObserver_name_object(observer, nullptr, nullptr);
}

void NSDistributedNotificationCenter::removeObserver_name_object(const NSObject* observer,
                                                                 const Ref<NSString>& name,
                                                                 const Ref<NSString>& object) {
  Exchange& own = exchange();
  for (const auto& rule : own.observers.remove(observer, {name, object})) {
    own.link.forget(rule);
  }
}

// Posting

void NSDistributedNotificationCenter::postNotificationName_object(const Ref<NSString>& name,
                                                                  const Ref<NSString>& object) {
  postNotificationName_object_userInfo_options(name, object, nullptr, 0);
}

void NSDistributedNotificationCenter::postNotificationName_object_userInfo(
    const Ref<NSString>& name, const Ref<NSString>& object, const Ref<NSDictionary>& userInfo) {
  postNotificationName_object_userInfo_options(name, object, userInfo, 0);
}

void NSDistributedNotificationCenter::postNotificationName_object_userInfo_deliverImmediately(
    const Ref<NSString>& name, const Ref<NSString>& object, const Ref<NSDictionary>& userInfo,
    bool deliverImmediately) {
  postNotificationName_object_userInfo_options(
      name, object, userInfo,
      deliverImmediately ? NSUInteger{NSDistributedNotificationDeliverImmediately} : 0);
}

void NSDistributedNotificationCenter::postNotificationName_object_userInfo_options(
    const Ref<NSString>& name, const Ref<NSString>& object, const Ref<NSDictionary>& userInfo,
    NSUInteger options) {
  require(name != nullptr, "name != nil");
  const auto posting =
      DistributedPosting::of(name, object, userInfo,
                             (options & NSDistributedNotificationDeliverImmediately) != 0
                                 ? DistributedUrgency::atOnce
                                 : DistributedUrgency::asTheyAsked);
  Exchange& own = exchange();
  own.link.begin();
  own.observers.deliver(posting);
  own.link.post(posting);
}

// Suspension

void NSDistributedNotificationCenter::setSuspended(bool suspended) {
  exchange().observers.setSuspended(suspended);
}

bool NSDistributedNotificationCenter::suspended() const {
  return exchange().observers.isSuspended();
}

}  // namespace kestova
