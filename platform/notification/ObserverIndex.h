// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <KestovaPlatform/Ref.h>
#include <KestovaPlatform/Selector.h>

#include "object/Shared.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <typeinfo>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kestova {

/// Which notifications are asked for: null means any. Both are unowned.
struct InterestView {
  const NSString* name;
  const NSObject* object;
};

/// The same, for keeping.
struct Interest {
  Ref<NSString> name;
  const NSObject* object;

  operator InterestView() const noexcept { return {name.get(), object}; }
};

/// The same with the hash of its name, for those who look for several interests in one name.
struct HashedInterest : InterestView {
  NSUInteger nameHash;
};

struct InterestHash {
  using is_transparent = void;
  std::size_t operator()(const InterestView& interest) const {
    return (*this)(HashedInterest{interest, hashOfName(interest)});
  }
  std::size_t operator()(const HashedInterest& interest) const {
    return interest.nameHash ^ std::hash<const NSObject*>()(interest.object);
  }

  static NSUInteger hashOfName(const InterestView& interest) {
    return interest.name != nullptr ? interest.name->hash() : 0;
  }
};

struct SameInterest {
  using is_transparent = void;
  bool operator()(const InterestView& a, const InterestView& b) const {
    return a.object == b.object && isSameName(a.name, b.name);
  }

  static bool isSameName(const NSString* a, const NSString* b) {
    return a == b ||
           (a != nullptr && b != nullptr && a->isEqualToString(Ref(const_cast<NSString*>(b))));
  }
};

struct ObserverChannel;

/// One observer with what it asked for.
class ObserverRegistration : public Shared<ObserverRegistration> {
 public:
  ObserverRegistration(NSObject* observer, SEL selector)
      : observer_(observer), selector_(selector), target_(directTarget(*observer, *selector)) {}
  ObserverRegistration(id token, Ref<NSOperationQueue> queue, NSNotificationCenter::Callback block)
      : observer_(token.get()),
        token_(std::move(token)),
        queue_(std::move(queue)),
        block_(std::move(block)) {}

  NSObject* observer() const noexcept { return observer_; }

  /// Calls the observer, unless it was removed.
  void deliver(const Ref<NSNotification>& notification) const {
    if (!isRemoved()) {
      call(notification);
    }
  }

 private:
  friend class ObserverIndex;

  static void* directTarget(NSObject& observer, const SelectorBody& selector) {
    const bool isDirect =
        selector.takesOnly != nullptr && selector.takesOnly(typeid(NSNotification));
    return isDirect ? selector.targetIn(observer) : nullptr;
  }
  bool isRemoved() const noexcept { return removed_.load(std::memory_order_acquire); }
  void call(const Ref<NSNotification>& notification) const;
  void callOnQueue(const Ref<NSNotification>& notification) const;

  NSObject* const observer_;  // unowned, but for a token
  const SEL selector_ = nullptr;
  /// What the selector is performed on directly; null where arguments are to be converted.
  void* const target_ = nullptr;
  const id token_;
  const Ref<NSOperationQueue> queue_;
  const NSNotificationCenter::Callback block_;
  std::atomic<bool> removed_{false};

  // What follows is the index's: guarded by its mutex, but for the number, which never changes.
  std::uint64_t number_ = 0;
  ObserverChannel* channel_ = nullptr;
  std::size_t place_ = 0;
  ObserverRegistration* next_ = nullptr;  // of the same observer
  ObserverRegistration* previous_ = nullptr;

 public:
  /// Counts up in the order of adding.
  std::uint64_t number() const noexcept { return number_; }
};

/// The registrations of one channel in the order of adding, with gaps where some were removed. A
/// list that postings hold doesn't change any more.
struct ObserverList : public Shared<ObserverList> {
  std::vector<Ref<ObserverRegistration>> members;
};

/// All observers that asked for exactly the same.
struct ObserverChannel {
  const Interest* interest = nullptr;
  Ref<ObserverList> list = Ref<ObserverList>::adopt(new ObserverList);
  std::size_t count = 0;
};

/// Those who hear of one notification, as they were at one moment: lists that never change.
class Audience {
 public:
  void add(Ref<ObserverList> list) { lists_[count_++] = std::move(list); }

  /// Whether nobody asked for it.
  bool isEmpty() const noexcept { return count_ == 0; }

  /// Calls them in the order of adding.
  void deliver(const Ref<NSNotification>& notification) const;

 private:
  void deliverMerged(const Ref<NSNotification>& notification) const;

  std::array<Ref<ObserverList>, 4> lists_;
  std::size_t count_ = 0;
};

/// Which interests there are, for a look without a lock: mostly nobody has asked for what is
/// posted.
class InterestFilter {
 public:
  void add(const Interest& interest) { ++counts_[placeOf(InterestHash()(interest))]; }
  void remove(const Interest& interest) { --counts_[placeOf(InterestHash()(interest))]; }

  /// True only where it is not there.
  bool lacks(const HashedInterest& interest) const {
    return counts_[placeOf(InterestHash()(interest))].load(std::memory_order_acquire) == 0;
  }

 private:
  static constexpr int kBits = 8;

  /// Hashes that are addresses differ in few bits.
  static std::size_t placeOf(std::size_t hash) noexcept {
    return (hash * 0x9E3779B97F4A7C15U) >> (64 - kBits);
  }

  std::array<std::atomic<std::uint32_t>, 1 << kBits> counts_{};
};

/// Finds observers: those of a notification, and the registrations of an observer.
class ObserverIndex {
 public:
  void add(Ref<ObserverRegistration> registration, const Ref<NSString>& name,
           const NSObject* object);
  void remove(const NSObject* observer, InterestView interest);
  Audience audienceOf(InterestView told);

 private:
  using Channels = std::unordered_map<Interest, ObserverChannel, InterestHash, SameInterest>;
  class Removed;

  Channels::iterator channelOf(const Ref<NSString>& name, const NSObject* object);
  void addToChannel(Ref<ObserverRegistration> registration, const Ref<NSString>& name,
                    const NSObject* object);
  void addToObserver(ObserverRegistration& registration);
  Ref<ObserverRegistration> takeFromChannel(ObserverRegistration& registration);
  void takeFromObserver(ObserverRegistration& registration) noexcept;
  template <class Visit>
  void forEachMeant(const NSObject* observer, InterestView interest, const Visit& visit);
  void addChannel(Audience& audience, const HashedInterest& interest);
  static void makeChangeable(ObserverChannel& channel);
  static void closeGaps(ObserverChannel& channel);

  InterestFilter filter_;  // of the channels
  BriefMutex mutex_;       // guards what follows; never held while other code runs
  std::uint64_t lastNumber_ = 0;
  Channels channels_;
  /// The latest registration of each observer; the others follow it.
  std::unordered_map<const NSObject*, ObserverRegistration*> byObserver_;
};

}  // namespace kestova
