// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVNotificationQueue.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSException.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(
    OVNotificationQueue,
    .property<&OVNotificationQueue::notificationCenter,
              &OVNotificationQueue::setNotificationCenter>("notificationCenter")
        .property<&OVNotificationQueue::postingQueue, &OVNotificationQueue::setPostingQueue>(
            "postingQueue")
        .property<&OVNotificationQueue::operation, &OVNotificationQueue::setOperation>("operation"))

namespace {

bool isOfSameName(const NSNotification& queued, const NSNotification& added) {
  return queued.name() && queued.name()->isEqualToString(added.name());
}

bool matches(const NSNotification& queued, const NSNotification& added, NSUInteger mask) {
  switch (mask) {
    case OVNotificationCoalescingOnName:
      return isOfSameName(queued, added);
    case OVNotificationCoalescingOnSender:
      return queued.object() == added.object();
    case OVNotificationCoalescingOnNameAndSender:
      return queued.object() == added.object() && isOfSameName(queued, added);
    default:
      return false;
  }
}

/// Exchanges a guarded property; what it held is let go of without the lock.
template <class T>
void exchange(std::recursive_mutex& mutex, Ref<T>& property, Ref<T> value) {
  const std::unique_lock lock(mutex);
  std::swap(property, value);
}

}  // namespace

OVNotificationQueue::OVNotificationQueue(const Ref<NSNotificationCenter>& center,
                                         const Ref<NSOperationQueue>& queue) {
  setNotificationCenter(center);
  setPostingQueue(queue);
}

OVNotificationQueue::~OVNotificationQueue() = default;

Ref<OVNotificationQueue> OVNotificationQueue::mainQueue() {
  static OVNotificationQueue& queue =
      *initWithNotificationCenter_queue(NSNotificationCenter::defaultCenter(),
                                        NSOperationQueue::mainQueue())
           .leak();
  return Ref<OVNotificationQueue>(&queue);
}

Ref<OVNotificationQueue> OVNotificationQueue::initWithNotificationCenter_queue(
    const Ref<NSNotificationCenter>& center, const Ref<NSOperationQueue>& queue) {
  return make<OVNotificationQueue>(center, queue);
}

void OVNotificationQueue::enqueueNotification_coalesceMask(const Ref<NSNotification>& notification,
                                                           NSUInteger coalesceMask) {
  if (!notification) {
    throw NSException(NSInvalidArgumentException, "there is no notification");
  }
  Ref<NSNotification> replaced;  // let go of after the lock
  {
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find_if(_notifications, [&](const auto& queued) {
      return matches(*queued, *notification, coalesceMask);
    });
    if (found != _notifications.end()) {
      replaced = std::exchange(*found, notification);
    } else {
      _notifications.push_back(notification);
    }
    try {
      enqueuePostingOperation();
    } catch (...) {
      takeBack(notification, replaced);
      throw;
    }
  }
}

/// Under the mutex. Puts the one that it replaced there again; null for none. The posting queue may
/// have posted both already.
void OVNotificationQueue::takeBack(const Ref<NSNotification>& notification,
                                   Ref<NSNotification>& replaced) {
  const auto queued = std::find(_notifications.rbegin(), _notifications.rend(), notification);
  if (queued == _notifications.rend()) {
    return;
  }
  if (replaced) {
    std::swap(*queued, replaced);
  } else {
    replaced = std::move(*queued);
    _notifications.erase(std::prev(queued.base()));
  }
}

void OVNotificationQueue::enqueueNotificationName_object_userInfo_coalesceMask(
    const Ref<NSString>& name, const id& object, const Ref<NSDictionary>& userInfo,
    NSUInteger coalesceMask) {
  enqueueNotification_coalesceMask(
      NSNotification::notificationWithName_object_userInfo(name, object, userInfo), coalesceMask);
}

void OVNotificationQueue::enqueuePostingOperation() {
  const std::lock_guard lock(mutex_);
  if (!_operation) {
    _operation = makePostingOperation();
    try {
      _postingQueue->addOperation(_operation);
    } catch (...) {
      // What is in no queue posts nothing: the next notification is to have another one.
      _operation = nullptr;
      throw;
    }
  }
}

/// One that is cancelled before it starts is forgotten as well, or nothing would be posted any
/// more.
Ref<NSOperation> OVNotificationQueue::makePostingOperation() {
  const Ref<OVNotificationQueue> stay(this);
  const auto operation = NSBlockOperation::blockOperationWithBlock([stay] { stay->post(); });
  operation->setCompletionBlock([stay, finished = operation.get()] { stay->forget(finished); });
  return operation;
}

void OVNotificationQueue::forget(const NSOperation* operation) {
  Ref<NSOperation> forgotten;
  const std::lock_guard lock(mutex_);
  if (_operation.get() == operation) {
    std::swap(forgotten, _operation);
  }
}

void OVNotificationQueue::post() {
  Ref<NSOperation> started;
  std::vector<Ref<NSNotification>> batch;
  {
    const std::lock_guard lock(mutex_);
    std::swap(started, _operation);
    std::swap(batch, _notifications);
  }
  for (const auto& notification : batch) {
    notificationCenter()->postNotification(notification);
  }
}

Ref<NSNotificationCenter> OVNotificationQueue::notificationCenter() const {
  const std::lock_guard lock(mutex_);
  return _notificationCenter;
}

void OVNotificationQueue::setNotificationCenter(const Ref<NSNotificationCenter>& center) {
  require(center != nullptr, "center != nil");
  const KeyValueChange change(*this, "notificationCenter");
  exchange(mutex_, _notificationCenter, center);
}

Ref<NSOperationQueue> OVNotificationQueue::postingQueue() const {
  const std::lock_guard lock(mutex_);
  return _postingQueue;
}

void OVNotificationQueue::setPostingQueue(const Ref<NSOperationQueue>& queue) {
  require(queue != nullptr, "queue != nil");
  const KeyValueChange change(*this, "postingQueue");
  exchange(mutex_, _postingQueue, queue);
}

Ref<NSOperation> OVNotificationQueue::operation() const {
  const std::lock_guard lock(mutex_);
  return _operation;
}

void OVNotificationQueue::setOperation(const Ref<NSOperation>& operation) {
  const KeyValueChange change(*this, "operation");
  exchange(mutex_, _operation, operation);
}

}  // namespace kestova
