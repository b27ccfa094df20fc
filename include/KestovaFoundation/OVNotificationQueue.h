// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSNotificationCenter.h>
#include <KestovaPlatform/NSOperation.h>
#include <KestovaPlatform/NSOperationQueue.h>

#include <mutex>
#include <vector>

namespace kestova {

/// Which notification that waits in an OVNotificationQueue a new one takes the place of. The
/// numbers are no bits: any other one is as good as 0.
enum OVNotificationCoalescing : NSUInteger {
  OVNotificationNoCoalescing = 0,               ///< none
  OVNotificationCoalescingOnName = 1,           ///< one of an equal name
  OVNotificationCoalescingOnSender = 2,         ///< one of the very same object, or both of none
  OVNotificationCoalescingOnNameAndSender = 3,  ///< one of both
};

/// Collects notifications from any thread, merges those that tell the same, and posts them later,
/// all at once and in order, from an operation queue.
///
///     OVNotificationQueue::mainQueue()->enqueueNotificationName_object_userInfo_coalesceMask(
///         "documentChanged", document, nullptr, OVNotificationCoalescingOnNameAndSender);
///
/// A notification with a coalescing mask takes the place of the oldest one that waits and matches
/// it; that one is dropped. Everything else is appended. What is queued while a batch is being
/// posted belongs to the next batch, and merges with nothing of this one.
///
/// Threads: any. Observers are called by the posting queue's operation, with no lock held, and may
/// queue notifications themselves. Several batches are posted in their order where the posting
/// queue runs one operation at a time, as the main queue does.
///
/// Ownership: holds its centre, its posting queue and what waits. An operation that has been handed
/// to the posting queue keeps the notification queue until it has run or was cancelled; what was
/// queued for a cancelled one waits for the next notification.
///
/// Cost: one operation for each batch; coalescing looks at all that wait. Memory for what waits
/// only.
class KESTOVA_FOUNDATION_EXPORT OVNotificationQueue : public NSObject {
  KESTOVA_CLASS(OVNotificationQueue, NSObject)

 public:
  /// The queue that all of a process shares: it posts to the default centre on the main thread.
  static Ref<OVNotificationQueue> mainQueue();

  /// A queue that posts to that centre from that queue. Null for either is a broken contract.
  static Ref<OVNotificationQueue> initWithNotificationCenter_queue(
      const Ref<NSNotificationCenter>& center, const Ref<NSOperationQueue>& queue);

  /// Queues the notification, and sees to its being posted. Null throws NSInvalidArgumentException.
  void enqueueNotification_coalesceMask(const Ref<NSNotification>& notification,
                                        NSUInteger coalesceMask);

  /// The same with a notification made of these, each of which may be null. A notification without
  /// a name has a name like no other.
  void enqueueNotificationName_object_userInfo_coalesceMask(const Ref<NSString>& name,
                                                            const id& object,
                                                            const Ref<NSDictionary>& userInfo,
                                                            NSUInteger coalesceMask);

  /// Adds an operation to the posting queue that posts what waits when it starts, unless there is
  /// one that has not started. `enqueueNotification_coalesceMask` does so.
  void enqueuePostingOperation();

  /// \name Properties
  /// What is set counts from then on: the centre for each notification that is posted from then on,
  /// the queue for each operation that is added. Null is a broken contract for both.
  /// @{
  Ref<NSNotificationCenter> notificationCenter() const;
  void setNotificationCenter(const Ref<NSNotificationCenter>& center);

  Ref<NSOperationQueue> postingQueue() const;
  void setPostingQueue(const Ref<NSOperationQueue>& queue);

  /// The posting operation that has been added to the posting queue and has not started; null for
  /// none. With null set, the next notification adds another one.
  Ref<NSOperation> operation() const;
  void setOperation(const Ref<NSOperation>& operation);
  /// @}

 protected:
  OVNotificationQueue(const Ref<NSNotificationCenter>& center, const Ref<NSOperationQueue>& queue);
  ~OVNotificationQueue() override;

 private:
  Ref<NSOperation> makePostingOperation();
  void post();
  void takeBack(const Ref<NSNotification>& notification, Ref<NSNotification>& replaced);
  void forget(const NSOperation* operation);

  /// Guards what follows; never held while something is posted.
  mutable std::recursive_mutex mutex_;
  Ref<NSNotificationCenter> _notificationCenter;
  Ref<NSOperationQueue> _postingQueue;
  Ref<NSOperation> _operation;
  /// What waits, the oldest first.
  std::vector<Ref<NSNotification>> _notifications;
};

}  // namespace kestova
