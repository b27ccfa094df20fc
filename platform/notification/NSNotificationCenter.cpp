// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSNotificationCenter.h>

#include "notification/ObserverIndex.h"

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSNotificationCenter)

namespace {

/// Stands for a block where an observer is wanted.
class ObserverToken final : public NSObject {};

template <class... Arguments>
Ref<ObserverRegistration> registrationOf(Arguments&&... arguments) {
  return Ref<ObserverRegistration>::adopt(
      new ObserverRegistration(std::forward<Arguments>(arguments)...));
}

}  // namespace

NSNotificationCenter::NSNotificationCenter() : index_(std::make_unique<ObserverIndex>()) {}

NSNotificationCenter::~NSNotificationCenter() = default;

Ref<NSNotificationCenter> NSNotificationCenter::defaultCenter() {
  static NSNotificationCenter& centre = *init().leak();
  return Ref<NSNotificationCenter>(&centre);
}

Ref<NSNotificationCenter> NSNotificationCenter::init() { return make<NSNotificationCenter>(); }

void NSNotificationCenter::addObserver_selector_name_object(NSObject* observer, SEL selector,
                                                            const Ref<NSString>& name,
                                                            NSObject* object) {
  require(observer != nullptr, "observer != nil");
  require(selector != nullptr, "selector != nil");
  require(selector->isAnsweredBy(*observer), "the observer has the operation");
  index_->add(registrationOf(observer, selector), name, object);
}

id NSNotificationCenter::addObserverForName_object_queue_usingBlock(
    const Ref<NSString>& name, NSObject* object, const Ref<NSOperationQueue>& queue,
    Callback block) {
  require(block != nullptr, "block != nil");
  const id token = make<ObserverToken>();
  index_->add(registrationOf(token, queue, std::move(block)), name, object);
  return token;
}

void NSNotificationCenter::removeObserver(const NSObject* observer) {
  index_->remove(observer, {nullptr, nullptr});
}

void NSNotificationCenter::removeObserver_name_object(const NSObject* observer,
                                                      const Ref<NSString>& name,
                                                      const NSObject* object) {
  index_->remove(observer, {name.get(), object});
}

void NSNotificationCenter::postNotification(const Ref<NSNotification>& notification) {
  require(notification != nullptr, "notification != nil");
  index_->audienceOf({notification->name().get(), notification->object().get()})
      .deliver(notification);
}

void NSNotificationCenter::postNotificationName_object(const Ref<NSString>& name,
                                                       const id& object) {
  postNotificationName_object_userInfo(name, object, nullptr);
}

void NSNotificationCenter::postNotificationName_object_userInfo(const Ref<NSString>& name,
                                                                const id& object,
                                                                const Ref<NSDictionary>& userInfo) {
  const Audience audience = index_->audienceOf({name.get(), object.get()});
  if (!audience.isEmpty()) {
    audience.deliver(NSNotification::notificationWithName_object_userInfo(name, object, userInfo));
  }
}

}  // namespace kestova
