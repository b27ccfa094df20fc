// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNotification.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Selector.h>

#include <atomic>
#include <string>

namespace kestova {

/// What becomes of an observer's notifications while its process is suspended.
enum NSNotificationSuspensionBehavior : NSUInteger {
  /// They are lost.
  NSNotificationSuspensionBehaviorDrop = 1,
  /// They wait; of several with the same name and object only the latest.
  NSNotificationSuspensionBehaviorCoalesce = 2,
  /// They wait, all of them.
  NSNotificationSuspensionBehaviorHold = 3,
  /// They come all the same, after those that have been waiting.
  NSNotificationSuspensionBehaviorDeliverImmediately = 4,
};

/// How a notification is posted, as a sum of bits.
enum NSDistributedNotificationOptions : NSUInteger {
  /// It comes to suspended processes all the same, whatever their observers asked for, after what
  /// has been waiting there.
  NSDistributedNotificationDeliverImmediately = 1,
  /// It is meant for all sessions of the machine. A bus serves one session, so nothing comes of it.
  NSDistributedNotificationPostToAllSessions = 2,
};

/// Tells the other programs of the user's session that something has happened, and hears of what
/// they tell.
///
///     const auto centre = NSDistributedNotificationCenter::defaultCenter();
///     centre->addObserver_selector_name_object_suspensionBehavior(
///         this, sel<&Palette::themeChanged>(), "ThemeDidChange", "org.example.paint",
///         NSNotificationSuspensionBehaviorCoalesce);
///     …
///     centre->postNotificationName_object_userInfo("ThemeDidChange", "org.example.paint",
///                                                  NSDictionary::of({{"name", "dark"}}));
///     …
///     centre->removeObserver(this);      // in the destructor at the latest
///
/// An observer names what it wants to hear: notifications of one name, of one object, of both, or
/// all of them; null means any. Objects are strings and compared as text, as names are.
///
/// The observers are called on the run loop of the thread that added them, in its common modes, and
/// from nowhere else: a posting has returned, or is another process's, before they are. The
/// poster's own process hears each of its postings once, others hear them in the order of one
/// poster. An exception that leaves an observer leaves its run loop's run; what comes behind it
/// comes in the next.
///
/// The programs meet on the session's D-Bus (see docs/formats/distributed-notifications.md). Where
/// there is none, or while it is away, one line is logged, notifications go on within the process,
/// and the bus is used as soon as it is there; what others post meanwhile is not made up for.
/// Everybody on the bus can post anything: what arrives is no more trustworthy than any other
/// input. What is malformed is ignored, with one line for the first.
///
/// A user info is a property list and small: 64 KiB, where each value and key counts 16 bytes and
/// text and data their bytes as well, in up to 16 containers within each other. It is copied.
///
/// The centre has a thread of its own. Where the system has no thread or descriptors for it, adding
/// an observer and posting throw NSGenericException and do nothing else; they may be tried again.
///
/// Limits: what waits for a run loop that isn't run, or while the process is suspended, may take up
/// to 16 MiB each; of more the oldest are dropped, with a line in the log.
///
/// Threads: any; no lock is held while observers are called. On the thread that removed it, if that
/// is the one that added it, an observer is never called afterwards; another thread may meet a call
/// that has begun already, or is just beginning.
///
/// Ownership: observers are unowned and must be removed before they go. While a thread has some its
/// run loop has something to wait for.
///
/// A child made by fork, without exec, starts without observers and can post.
///
/// Cost: a thread and a connection from the first observer or posting on. Adding the first observer
/// for a name and object, and removing the last, waits for the bus, and a posting until the bus has
/// it: less than a tenth of a millisecond mostly, and some seconds, once, where a bus has stopped
/// answering. Processes that want to hear nothing of a notification are not woken by it.
class KESTOVA_PLATFORM_EXPORT NSDistributedNotificationCenter : public NSObject {
  KESTOVA_CLASS(NSDistributedNotificationCenter, NSObject)

 public:
  /// The centre of the session that the process belongs to, by DBUS_SESSION_BUS_ADDRESS as it is at
  /// the first use, or else XDG_RUNTIME_DIR.
  static Ref<NSDistributedNotificationCenter> defaultCenter();

  /// One on another bus, such as "unix:path=/run/other". A null address is a broken contract.
  static Ref<NSDistributedNotificationCenter> initWithBusAddress(const Ref<NSString>& address);

  /// \name Observers
  /// @{

  /// Performs the operation, which takes the notification or nothing, on the observer. The same
  /// observer may be added several times, and is called as often. A null observer or selector, an
  /// observer that has no such operation, or another behaviour is a broken contract.
  void addObserver_selector_name_object_suspensionBehavior(
      NSObject* observer, SEL selector, const Ref<NSString>& name, const Ref<NSString>& object,
      NSNotificationSuspensionBehavior suspensionBehavior);

  /// The same with NSNotificationSuspensionBehaviorCoalesce.
  void addObserver_selector_name_object(NSObject* observer, SEL selector, const Ref<NSString>& name,
                                        const Ref<NSString>& object);

  /// Removes an observer wherever it was added, with what waits for it. One that is not there, or
  /// null, is no failure.
  void removeObserver(const NSObject* observer);

  /// Removes it where it was added for that name and that object; null for either means whatever it
  /// was added for.
  void removeObserver_name_object(const NSObject* observer, const Ref<NSString>& name,
                                  const Ref<NSString>& object);

  /// @}
  /// \name Posting
  /// Throws NSInvalidArgumentException, and posts nothing, for a name or object of more than 1024
  /// bytes in UTF-8, for text with U+0000 or lone surrogates anywhere, and for a user info that is
  /// no property list, has a date that is not finite, or is beyond the limits. A null name is a
  /// broken contract; object and user info may be null.
  /// @{

  void postNotificationName_object(const Ref<NSString>& name, const Ref<NSString>& object);
  void postNotificationName_object_userInfo(const Ref<NSString>& name, const Ref<NSString>& object,
                                            const Ref<NSDictionary>& userInfo);
  void postNotificationName_object_userInfo_deliverImmediately(const Ref<NSString>& name,
                                                               const Ref<NSString>& object,
                                                               const Ref<NSDictionary>& userInfo,
                                                               bool deliverImmediately);
  /// `options` is a sum of NSDistributedNotificationOptions.
  void postNotificationName_object_userInfo_options(const Ref<NSString>& name,
                                                    const Ref<NSString>& object,
                                                    const Ref<NSDictionary>& userInfo,
                                                    NSUInteger options);

  /// @}
  /// \name Suspension
  /// A process that can't do much with notifications for a while, in the background say, lets each
  /// observer's behaviour decide. What has waited is delivered when the suspension ends. Not
  /// suspended at first.
  /// @{

  void setSuspended(bool suspended);
  bool suspended() const;

  /// @}

 protected:
  /// An empty address stands for the session's bus.
  explicit NSDistributedNotificationCenter(std::string address);
  ~NSDistributedNotificationCenter() override;

 private:
  struct Exchange;

  Exchange& exchange() const;

  const std::string address_;
  /// Made at the first use, and anew in a child process.
  mutable std::atomic<Exchange*> exchange_{nullptr};
};

}  // namespace kestova
