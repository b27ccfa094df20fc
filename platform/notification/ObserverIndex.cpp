// SPDX-License-Identifier: Apache-2.0
#include "notification/ObserverIndex.h"

#include <algorithm>
#include <mutex>
#include <span>
#include <utility>

namespace kestova {

void ObserverRegistration::call(const Ref<NSNotification>& notification) const {
  if (target_ != nullptr) {
    selector_->performOnly(target_, &notification);
  } else if (queue_) {
    callOnQueue(notification);
  } else if (block_) {
    block_(notification);
  } else {
    const id argument = notification;
    static_cast<void>(selector_->perform(*observer_, std::span(&argument, 1)));
  }
}

void ObserverRegistration::callOnQueue(const Ref<NSNotification>& notification) const {
  if (NSOperationQueue::currentQueue() == queue_) {
    block_(notification);
    return;
  }
  const auto operation = NSBlockOperation::blockOperationWithBlock(
      [stay = Ref<const ObserverRegistration>(this), notification] {
        if (!stay->isRemoved()) {
          stay->block_(notification);
        }
      });
  queue_->addOperation(operation);
  operation->waitUntilFinished();
}

void Audience::deliver(const Ref<NSNotification>& notification) const {
  if (count_ > 1) {
    deliverMerged(notification);
    return;
  }
  for (std::size_t i = 0; i < count_; ++i) {
    for (const auto& registration : lists_[i]->members) {
      if (registration) {
        registration->deliver(notification);
      }
    }
  }
}

void Audience::deliverMerged(const Ref<NSNotification>& notification) const {
  using Place = const Ref<ObserverRegistration>*;
  std::array<std::pair<Place, Place>, 4> rests;
  for (std::size_t i = 0; i < count_; ++i) {
    const auto& members = lists_[i]->members;
    rests[i] = {members.data(), members.data() + members.size()};
  }
  for (;;) {
    Place* oldest = nullptr;
    for (auto& [first, end] : std::span(rests).first(count_)) {
      first = std::find_if(first, end, [](const auto& member) { return member != nullptr; });
      if (first != end && (oldest == nullptr || (*first)->number() < (**oldest)->number())) {
        oldest = &first;
      }
    }
    if (oldest == nullptr) {
      return;
    }
    (**oldest)->deliver(notification);
    ++*oldest;
  }
}

/// Registrations that are in no list any more. Whoever has the mutex lets go of them after it.
class ObserverIndex::Removed {
 public:
  Removed() = default;
  ~Removed() {
    while (latest_ != nullptr) {
      const auto removed = Ref<ObserverRegistration>::adopt(latest_);
      latest_ = removed->next_;
    }
  }
  Removed(const Removed&) = delete;
  Removed& operator=(const Removed&) = delete;

  void add(Ref<ObserverRegistration> registration) noexcept {
    registration->next_ = latest_;
    latest_ = registration.leak();
  }

 private:
  ObserverRegistration* latest_ = nullptr;
};

/// Whoever finds no memory leaves nothing behind.
void ObserverIndex::add(Ref<ObserverRegistration> registration, const Ref<NSString>& name,
                        const NSObject* object) {
  const std::lock_guard lock(mutex_);
  ObserverRegistration& added = *registration;
  added.number_ = ++lastNumber_;
  addToChannel(std::move(registration), name, object);
  try {
    addToObserver(added);
  } catch (...) {
    static_cast<void>(takeFromChannel(added));
    throw;
  }
}

/// The channel for exactly that, made if there is none.
ObserverIndex::Channels::iterator ObserverIndex::channelOf(const Ref<NSString>& name,
                                                           const NSObject* object) {
  const auto found = channels_.find(InterestView{name.get(), object});
  return found != channels_.end() ? found
                                  : channels_.try_emplace(Interest{copyOf(name), object}).first;
}

void ObserverIndex::addToChannel(Ref<ObserverRegistration> registration, const Ref<NSString>& name,
                                 const NSObject* object) {
  const auto place = channelOf(name, object);
  ObserverChannel& channel = place->second;
  ObserverRegistration& added = *registration;
  try {
    makeChangeable(channel);
    channel.list->members.push_back(std::move(registration));
  } catch (...) {
    if (channel.count == 0) {
      channels_.erase(place);
    }
    throw;
  }
  channel.interest = &place->first;
  added.channel_ = &channel;
  added.place_ = channel.list->members.size() - 1;
  if (channel.count++ == 0) {
    filter_.add(place->first);
  }
}

void ObserverIndex::addToObserver(ObserverRegistration& registration) {
  ObserverRegistration*& latest = byObserver_[registration.observer()];
  registration.next_ = latest;
  if (latest != nullptr) {
    latest->previous_ = &registration;
  }
  latest = &registration;
}

/// Visits the registrations of an observer that asked for that, null meaning anything. A visit may
/// take its own one away.
template <class Visit>
void ObserverIndex::forEachMeant(const NSObject* observer, InterestView interest,
                                 const Visit& visit) {
  const auto found = byObserver_.find(observer);
  ObserverRegistration* next = found == byObserver_.end() ? nullptr : found->second;
  while (next != nullptr) {
    ObserverRegistration& registration = *std::exchange(next, next->next_);
    const InterestView own = *registration.channel_->interest;
    if ((interest.name == nullptr || SameInterest::isSameName(own.name, interest.name)) &&
        (interest.object == nullptr || own.object == interest.object)) {
      visit(registration);
    }
  }
}

/// What needs memory comes first: all that are meant are removed or none.
void ObserverIndex::remove(const NSObject* observer, InterestView interest) {
  Removed removed;
  const std::lock_guard lock(mutex_);
  forEachMeant(observer, interest, [](const ObserverRegistration& registration) {
    makeChangeable(*registration.channel_);
  });
  forEachMeant(observer, interest, [&](ObserverRegistration& registration) {
    registration.removed_.store(true, std::memory_order_release);
    takeFromObserver(registration);
    removed.add(takeFromChannel(registration));
  });
}

void ObserverIndex::takeFromObserver(ObserverRegistration& registration) noexcept {
  if (registration.next_ != nullptr) {
    registration.next_->previous_ = registration.previous_;
  }
  if (registration.previous_ != nullptr) {
    registration.previous_->next_ = registration.next_;
  } else if (registration.next_ != nullptr) {
    byObserver_.find(registration.observer())->second = registration.next_;
  } else {
    byObserver_.erase(registration.observer());
  }
}

/// The last one takes the channel along. Its list can be changed.
Ref<ObserverRegistration> ObserverIndex::takeFromChannel(ObserverRegistration& registration) {
  ObserverChannel& channel = *registration.channel_;
  Ref<ObserverRegistration> taken = std::move(channel.list->members[registration.place_]);
  if (--channel.count == 0) {
    filter_.remove(*channel.interest);
    channels_.erase(channels_.find(*channel.interest));
  } else if (channel.list->members.size() > 2 * channel.count + 8) {
    closeGaps(channel);
  }
  return taken;
}

/// Leaves the list to the postings that hold it.
void ObserverIndex::makeChangeable(ObserverChannel& channel) {
  if (channel.list->isShared()) {
    auto own = Ref<ObserverList>::adopt(new ObserverList);
    own->members = channel.list->members;
    channel.list = std::move(own);
  }
}

void ObserverIndex::closeGaps(ObserverChannel& channel) {
  auto& members = channel.list->members;
  std::erase(members, nullptr);
  for (std::size_t place = 0; place < members.size(); ++place) {
    members[place]->place_ = place;
  }
}

Audience ObserverIndex::audienceOf(InterestView told) {
  const HashedInterest any{{nullptr, nullptr}, 0};
  const HashedInterest name{{told.name, nullptr}, InterestHash::hashOfName(told)};
  const HashedInterest object{{nullptr, told.object}, 0};
  const HashedInterest both{told, name.nameHash};
  Audience audience;
  if (filter_.lacks(any) && filter_.lacks(name) && filter_.lacks(object) && filter_.lacks(both)) {
    return audience;
  }
  const std::lock_guard lock(mutex_);
  addChannel(audience, any);
  if (told.name != nullptr) {
    addChannel(audience, name);
  }
  if (told.object != nullptr) {
    addChannel(audience, object);
  }
  if (told.name != nullptr && told.object != nullptr) {
    addChannel(audience, both);
  }
  return audience;
}

void ObserverIndex::addChannel(Audience& audience, const HashedInterest& interest) {
  if (filter_.lacks(interest)) {
    return;
  }
  if (const auto found = channels_.find(interest); found != channels_.end()) {
    audience.add(found->second.list);
  }
}

}  // namespace kestova
