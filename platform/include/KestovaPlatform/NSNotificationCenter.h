// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSOperationQueue.h>
#include <KestovaPlatform/Selector.h>

#include <memory>

namespace kestova {

class ObserverIndex;

/// Tells those who asked for it that something has happened, without the one who tells knowing
/// them.
///
///     const auto centre = NSNotificationCenter::defaultCenter();
///     centre->addObserver_selector_name_object(this, sel<&Window::didSave>(), "didSave", nullptr);
///     …
///     centre->postNotificationName_object("didSave", document);
///     …
///     centre->removeObserver(this);      // in the destructor at the latest
///
/// An observer names what it wants to hear: notifications of one name (compared as text), of one
/// object (the very same one), of both, or all of them; null means any. A notification without a
/// name or object reaches those who asked for any.
///
/// Posting calls the observers on the posting thread, in the order in which they were added, and
/// returns when all have been called. What is added meanwhile doesn't hear of this notification,
/// what is removed meanwhile is not called any more. An exception that leaves an observer leaves
/// the posting; those behind it are not called.
///
/// Threads: any. Observers are called with no lock held, and may add, remove and post themselves.
/// On the thread that removed it an observer is never called afterwards. A posting on another
/// thread may meet a call that has begun already, or is just beginning: who lets an observer go
/// while others post either sees to their having ended, or uses a block, which is held while it
/// runs.
///
/// Ownership: observers and the objects that they ask for are unowned, so an observer must be
/// removed before it goes. Blocks are held until they are removed. The centre may go at any time,
/// also from within one of its postings, which then goes on.
///
/// Cost: posting takes constant time besides its calls, whatever others observe; adding and
/// removing too, on average. Removing within a posting costs one copy of the list that is being
/// called.
class KESTOVA_PLATFORM_EXPORT NSNotificationCenter : public NSObject {
  KESTOVA_CLASS(NSNotificationCenter, NSObject)

 public:
  using Callback = Block<void(const Ref<NSNotification>&)>;

  /// The centre that all of a process shares.
  static Ref<NSNotificationCenter> defaultCenter();

  /// Another one, without observers.
  static Ref<NSNotificationCenter> init();

  /// \name Observers
  /// @{

  /// Performs the operation, which takes the notification or nothing, on the observer. The same
  /// observer may be added several times, and is called as often. A null observer or selector, or
  /// an observer that has no such operation, is a broken contract.
  void addObserver_selector_name_object(NSObject* observer, SEL selector, const Ref<NSString>& name,
                                        NSObject* object);

  /// Calls the block. With a queue it runs there as an operation, and the posting waits until it
  /// has run; a posting from one of that queue's own operations calls it at once. Answers a token
  /// that stands for the observer when it is to be removed. An empty block is a broken contract.
  id addObserverForName_object_queue_usingBlock(const Ref<NSString>& name, NSObject* object,
                                                const Ref<NSOperationQueue>& queue, Callback block);

  /// Removes an observer, or the one that a token stands for, wherever it was added. One that is
  /// not there, or null, is no failure.
  void removeObserver(const NSObject* observer);

  /// Removes it where it was added for that name and that object; null for either means whatever it
  /// was added for.
  void removeObserver_name_object(const NSObject* observer, const Ref<NSString>& name,
                                  const NSObject* object);

  /// @}
  /// \name Posting
  /// @{

  /// A null notification is a broken contract.
  void postNotification(const Ref<NSNotification>& notification);

  void postNotificationName_object(const Ref<NSString>& name, const id& object);
  void postNotificationName_object_userInfo(const Ref<NSString>& name, const id& object,
                                            const Ref<NSDictionary>& userInfo);

  /// @}

 protected:
  NSNotificationCenter();
  ~NSNotificationCenter() override;

 private:
  const std::unique_ptr<ObserverIndex> index_;
};

}  // namespace kestova
