// SPDX-License-Identifier: Apache-2.0
#include "notification/DistributedObservers.h"

#include <KestovaPlatform/FirstException.h>
#include <KestovaPlatform/NSLog.h>

#include <algorithm>
#include <span>
#include <utility>

namespace kestova {
namespace {

/// What may wait in one queue, in bytes.
constexpr std::size_t kHeaviestQueue = std::size_t(16) << 20;

bool isWanted(const Ref<NSString>& wanted, const Ref<NSString>& text) {
  return !wanted || isEqualOrBothNull(wanted, text);
}

/// A notification's object is nothing else.
Ref<NSString> objectOf(const NSNotification& notification) {
  return cast<NSString>(notification.object());
}

}  // namespace

bool DistributedInterest::isAbout(const NSNotification& notification) const {
  return isWanted(name, notification.name()) && isWanted(object, objectOf(notification));
}

std::string DistributedInterest::rule() const { return distributedMatchRule(name, object); }

// Queues

void DistributedQueue::push(DistributedDelivery delivery) {
  append(std::move(delivery));
  trim();
}

void DistributedQueue::append(DistributedDelivery delivery) {
  deliveries_.push_back(std::move(delivery));
  weight_ += deliveries_.back().posting.weight;
}

void DistributedQueue::trim() {
  while (weight_ > kHeaviestQueue) {
    pop();
    if (!std::exchange(isOverflowTold_, true)) {
      NSLog("Too many distributed notifications wait: the oldest are dropped");
    }
  }
}

DistributedDelivery DistributedQueue::pop() {
  DistributedDelivery oldest = std::move(deliveries_.front());
  deliveries_.pop_front();
  weight_ -= oldest.posting.weight;
  return oldest;
}

template <class Predicate>
void DistributedQueue::dropIf(Predicate&& isDropped) {
  std::erase_if(deliveries_, [&](const DistributedDelivery& delivery) {
    const bool drops = isDropped(delivery);
    weight_ -= drops ? delivery.posting.weight : 0;
    return drops;
  });
}

/// The new one is there before the old one goes: it may be that there is no memory for it.
void DistributedQueue::replace(DistributedDelivery delivery) {
  append(std::move(delivery));
  const DistributedDelivery latest = deliveries_.back();
  const NSNotification& newer = *latest.posting.notification;
  dropIf([&](const DistributedDelivery& older) {
    const NSNotification& notification = *older.posting.notification;
    return &older != &deliveries_.back() && older.registration == latest.registration &&
           isEqualOrBothNull(notification.name(), newer.name()) &&
           isEqualOrBothNull(objectOf(notification), objectOf(newer));
  });
  trim();
}

void DistributedQueue::drop(const DistributedRegistration& registration) {
  dropIf([&](const auto& delivery) { return delivery.registration.get() == &registration; });
}

// Mailboxes

/// What an exception leaves behind comes in another turn.
class DistributedMailbox::Rest {
 public:
  explicit Rest(const DistributedMailbox& mailbox) : mailbox_(mailbox) {}
  ~Rest() {
    if (mailbox_.count() > 0) {
      mailbox_.source_->signal();
    }
  }
  Rest(const Rest&) = delete;
  Rest& operator=(const Rest&) = delete;

 private:
  const DistributedMailbox& mailbox_;
};

std::shared_ptr<DistributedMailbox> DistributedMailbox::on(const Ref<NSRunLoop>& runLoop) {
  std::shared_ptr<DistributedMailbox> mailbox(new DistributedMailbox(runLoop));
  mailbox->source_ =
      RunLoopSource::sourceWithBlock([weak = std::weak_ptr<DistributedMailbox>(mailbox)] {
        if (const auto kept = weak.lock()) {
          kept->deliverAll();
        }
      });
  runLoop->addSource_forMode(mailbox->source_, NSRunLoopCommonModes);
  return mailbox;
}

void DistributedMailbox::put(DistributedDelivery delivery) {
  {
    const std::lock_guard lock(mutex_);
    waiting_.push(std::move(delivery));
  }
  source_->signal();
}

void DistributedMailbox::drop(const DistributedRegistration& registration) {
  const std::lock_guard lock(mutex_);
  waiting_.drop(registration);
}

std::size_t DistributedMailbox::count() const {
  const std::lock_guard lock(mutex_);
  return waiting_.count();
}

bool DistributedMailbox::take(DistributedDelivery& delivery) {
  const std::lock_guard lock(mutex_);
  if (waiting_.isEmpty()) {
    return false;
  }
  delivery = waiting_.pop();
  return true;
}

/// Those that come meanwhile wait for the next turn.
void DistributedMailbox::deliverAll() {
  const Rest rest(*this);
  DistributedDelivery delivery;
  for (std::size_t count = this->count(); count > 0 && take(delivery); --count) {
    const DistributedRegistration& registration = *delivery.registration;
    if (!registration.isRemoved.load(std::memory_order_acquire)) {
      const id argument = delivery.posting.notification;
      static_cast<void>(
          registration.selector->perform(*registration.observer, std::span(&argument, 1)));
    }
  }
}

// Observers

DistributedObservers::~DistributedObservers() {
  for (const auto& registration : registrations_) {
    registration->isRemoved.store(true, std::memory_order_release);
    registration->mailbox->drop(*registration);
  }
}

void DistributedObservers::add(NSObject* observer, SEL selector, DistributedInterest interest,
                               NSNotificationSuspensionBehavior behavior,
                               const Ref<NSRunLoop>& runLoop) {
  const std::lock_guard lock(mutex_);
  registrations_.push_back(std::shared_ptr<DistributedRegistration>(new DistributedRegistration{
      observer, selector, std::move(interest), behavior, mailboxOn(runLoop)}));
}

/// All observers of a run loop share one.
std::shared_ptr<DistributedMailbox> DistributedObservers::mailboxOn(
    const Ref<NSRunLoop>& runLoop) const {
  const auto found = std::find_if(
      registrations_.begin(), registrations_.end(),
      [&](const auto& registration) { return registration->mailbox->belongsTo(runLoop); });
  return found != registrations_.end() ? (*found)->mailbox : DistributedMailbox::on(runLoop);
}

/// What needs memory comes before anything has changed.
std::vector<std::string> DistributedObservers::remove(const NSObject* observer,
                                                      const DistributedInterest& asked) {
  const auto isMeant = [&](const DistributedRegistration& registration) {
    const auto& [name, object] = registration.interest;
    return registration.observer == observer && isWanted(asked.name, name) &&
           isWanted(asked.object, object);
  };
  std::vector<std::string> rules;
  const std::lock_guard lock(mutex_);
  for (const auto& registration : registrations_) {
    if (isMeant(*registration)) {
      rules.push_back(registration->interest.rule());
    }
  }
  std::erase_if(registrations_, [&](const auto& registration) {
    if (!isMeant(*registration)) {
      return false;
    }
    registration->isRemoved.store(true, std::memory_order_release);
    registration->mailbox->drop(*registration);
    held_.drop(*registration);
    return true;
  });
  return rules;
}

void DistributedObservers::deliver(const DistributedPosting& posting) {
  const std::lock_guard lock(mutex_);
  FirstException failure;
  for (const auto& registration : registrations_) {
    if (registration->interest.isAbout(*posting.notification)) {
      failure.attempt([&] { deliverTo({registration, posting}); });
    }
  }
  failure.rethrow();
}

/// What comes at once brings along what has been held before it, so that nobody sees them in the
/// wrong order.
void DistributedObservers::deliverTo(DistributedDelivery delivery) {
  const bool comesAtOnce =
      delivery.posting.urgency == DistributedUrgency::atOnce ||
      delivery.registration->behavior == NSNotificationSuspensionBehaviorDeliverImmediately;
  if (isSuspended_ && !comesAtOnce) {
    hold(std::move(delivery));
    return;
  }
  releaseHeld();
  const auto mailbox = delivery.registration->mailbox;
  mailbox->put(std::move(delivery));
}

void DistributedObservers::hold(DistributedDelivery delivery) {
  if (delivery.registration->behavior == NSNotificationSuspensionBehaviorDrop) {
    return;
  }
  if (delivery.registration->behavior == NSNotificationSuspensionBehaviorCoalesce) {
    held_.replace(std::move(delivery));
  } else {
    held_.push(std::move(delivery));
  }
}

/// What a mailbox has no memory for stays held.
void DistributedObservers::releaseHeld() {
  while (!held_.isEmpty()) {
    held_.oldest().registration->mailbox->put(held_.oldest());
    static_cast<void>(held_.pop());
  }
}

void DistributedObservers::setSuspended(bool suspended) {
  const std::lock_guard lock(mutex_);
  if (!suspended) {
    releaseHeld();
  }
  isSuspended_ = suspended;
}

bool DistributedObservers::isSuspended() const {
  const std::lock_guard lock(mutex_);
  return isSuspended_;
}

}  // namespace kestova
