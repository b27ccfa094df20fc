// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kestova {

/// One registration of an observer for a key or dotted path of one object, the root.
///
/// The registration stands as a link in the observer table of every object along its path, at the
/// level of the key that the path takes there. The root is unowned, for it owns the registration;
/// the objects below are held for as long as they are linked, so that a link never dangles.
class KeyPathRegistration : public std::enable_shared_from_this<KeyPathRegistration> {
 public:
  KeyPathRegistration(NSObject& root, NSObject* observer, const Ref<NSString>& keyPath,
                      NSUInteger options, void* context);

  /// Links the registration along its path, and tells the observer at once when it asked for that.
  void begin();

  /// Takes it out of every table. Nothing is delivered afterwards.
  void end();

  bool matches(const NSObject* observer, const Ref<NSString>& keyPath) const;
  void* context() const noexcept { return context_; }
  const Ref<NSString>& keyAt(std::size_t level) const { return keys_[level]; }

  /// The property at a level is about to change, or has changed.
  void willChange(std::size_t level);
  void didChange(std::size_t level);

 private:
  struct Pending {
    std::thread::id thread;
    id oldValue;
  };

  NSObject& objectAt(std::size_t level) const { return level == 0 ? root_ : *below_[level - 1]; }
  bool asksFor(NSUInteger option) const noexcept { return (options_ & option) != 0; }
  void linkBelow(std::size_t level);
  void unlinkBelow(std::size_t level);
  id currentValue() const;
  id takeOldValue();
  void tell(const id& oldValue, bool isPrior);

  NSObject& root_;
  NSObject* const observer_;  // unowned: the observer removes itself before it goes
  const Ref<NSString> keyPath_;
  const NSUInteger options_;
  void* const context_;
  std::vector<Ref<NSString>> keys_;
  std::atomic<bool> ended_{false};

  std::mutex mutex_;                  // guards what follows; never held while other code runs
  std::vector<Ref<NSObject>> below_;  // the objects of levels 1, 2, …
  std::vector<Pending> pending_;      // values before changes that have been announced
};

/// The registrations that one object's properties take part in.
class ObserverTable {
 public:
  ~ObserverTable();

  void link(std::shared_ptr<KeyPathRegistration> registration, std::size_t level);
  void unlink(const KeyPathRegistration* registration, std::size_t level);

  /// The latest registration with this object as its root for the observer and path, and for the
  /// context where one is given; null when there is none.
  std::shared_ptr<KeyPathRegistration> find(const NSObject* observer, const Ref<NSString>& keyPath,
                                            void* const* context);

  void willChange(const Ref<NSString>& key);
  void didChange(const Ref<NSString>& key);

  bool isEmpty() const noexcept { return count_.load(std::memory_order_acquire) == 0; }

 private:
  struct Link {
    std::shared_ptr<KeyPathRegistration> registration;
    std::size_t level;
  };

  std::vector<Link> linksFor(const Ref<NSString>& key);

  std::mutex mutex_;  // guards the links; never held while other code runs
  std::vector<Link> links_;
  std::atomic<std::size_t> count_{0};
};

}  // namespace kestova
