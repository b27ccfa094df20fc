// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/RunLoopSource.h>
#include <KestovaPlatform/Selector.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "notification/DistributedSignal.h"

namespace kestova {

class DistributedMailbox;

/// What somebody asked for: null means any.
struct DistributedInterest {
  Ref<NSString> name;
  Ref<NSString> object;

  bool isAbout(const NSNotification& notification) const;

  /// The rule by which a bus finds it.
  std::string rule() const;
};

/// One observer with what it asked for.
struct DistributedRegistration {
  NSObject* observer;  // unowned
  SEL selector;
  DistributedInterest interest;
  NSNotificationSuspensionBehavior behavior;
  std::shared_ptr<DistributedMailbox> mailbox;
  std::atomic<bool> isRemoved{false};
};

/// A notification for one observer.
struct DistributedDelivery {
  std::shared_ptr<DistributedRegistration> registration;
  DistributedPosting posting;
};

/// Deliveries in the order in which they came. What would weigh too much together lets the oldest
/// go, with one line in the log: nobody's lack of attention may take all memory.
class DistributedQueue {
 public:
  bool isEmpty() const { return deliveries_.empty(); }
  std::size_t count() const { return deliveries_.size(); }
  void push(DistributedDelivery delivery);

  /// The same, in place of the same observer's notification of the same name and object.
  void replace(DistributedDelivery delivery);

  const DistributedDelivery& oldest() const { return deliveries_.front(); }
  DistributedDelivery pop();

  void drop(const DistributedRegistration& registration);

 private:
  template <class Predicate>
  void dropIf(Predicate&& isDropped);
  void append(DistributedDelivery delivery);
  void trim();

  std::deque<DistributedDelivery> deliveries_;
  std::size_t weight_ = 0;
  bool isOverflowTold_ = false;
};

/// Where deliveries wait for one run loop. Threads: any.
class DistributedMailbox {
 public:
  static std::shared_ptr<DistributedMailbox> on(const Ref<NSRunLoop>& runLoop);
  ~DistributedMailbox() { source_->invalidate(); }

  bool belongsTo(const Ref<NSRunLoop>& runLoop) const { return runLoop_ == runLoop; }
  void put(DistributedDelivery delivery);
  void drop(const DistributedRegistration& registration);

 private:
  class Rest;

  explicit DistributedMailbox(const Ref<NSRunLoop>& runLoop) : runLoop_(runLoop) {}

  void deliverAll();
  bool take(DistributedDelivery& delivery);
  std::size_t count() const;

  const Ref<NSRunLoop> runLoop_;
  Ref<RunLoopSource> source_;
  mutable std::mutex mutex_;
  DistributedQueue waiting_;
};

/// Those of this process who asked for distributed notifications, and what is kept for them while
/// it is suspended. Threads: any.
class DistributedObservers {
 public:
  ~DistributedObservers();

  /// Adds one that is served by that run loop.
  void add(NSObject* observer, SEL selector, DistributedInterest interest,
           NSNotificationSuspensionBehavior behavior, const Ref<NSRunLoop>& runLoop);

  /// Removes the observer where it asked for that name and that object, null for whatever it asked
  /// for, and answers their rules.
  std::vector<std::string> remove(const NSObject* observer, const DistributedInterest& asked);

  void deliver(const DistributedPosting& posting);

  void setSuspended(bool suspended);
  bool isSuspended() const;

 private:
  std::shared_ptr<DistributedMailbox> mailboxOn(const Ref<NSRunLoop>& runLoop) const;
  void deliverTo(DistributedDelivery delivery);
  void hold(DistributedDelivery delivery);
  void releaseHeld();

  mutable std::mutex mutex_;  // taken before a mailbox's own
  std::vector<std::shared_ptr<DistributedRegistration>> registrations_;
  bool isSuspended_ = false;
  DistributedQueue held_;
};

}  // namespace kestova
