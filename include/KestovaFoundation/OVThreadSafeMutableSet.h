// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaFoundation/Export.h>
#include <KestovaPlatform/BriefMutex.h>
#include <KestovaPlatform/NSSet.h>

#include <atomic>
#include <thread>

namespace kestova {

/// A mutable set that any number of threads may use at once.
///
///     const auto visited = OVThreadSafeMutableSet::init();
///     …
///     if (!visited->containsObject(url)) visited->addObject(url);   // two operations, not one
///
/// Each operation below happens as a whole: no other thread sees it half done, and each thread sees
/// what was done before. What NSMutableSet builds of several of them, such as `unionSet`, is
/// several operations. A walk, by enumerator or range-`for`, goes over the members as they were
/// when it began, whatever is added and removed meanwhile.
///
/// Threads: any; operations are performed one after the other, each on the thread that asks for it.
/// Members are compared and hashed meanwhile, so `isEqual` and `hash` of a member must not use the
/// set, which is a broken contract. What they throw arrives at the caller, and so does what
/// NSMutableSet throws. Objects are let go of afterwards: what goes with the set's last reference
/// to it may use the set.
///
/// Cost: holding a mutex for each operation; a copy of all members for `allObjects`, for
/// every enumerator and for what walks through the set.
class KESTOVA_FOUNDATION_EXPORT OVThreadSafeMutableSet : public NSMutableSet {
  KESTOVA_CLASS(OVThreadSafeMutableSet, NSMutableSet)

 public:
  /// An empty set.
  static Ref<OVThreadSafeMutableSet> init();

  NSUInteger count() const override;

  /// The member that is equal to the object; null when there is none, and for null. The caller
  /// shares it, so it stays also when another thread removes it.
  id member(const id& object) const override;

  bool containsObject(const id& object) const override;

  /// The members of one moment, in an immutable array.
  Ref<NSArray> allObjects() const override;

  /// Hands out the members of the moment of this call.
  Ref<NSEnumerator> objectEnumerator() const override;

  void addObject(const id& object) override;
  void removeObject(const id& object) override;
  void removeAllObjects() override;

 protected:
  OVThreadSafeMutableSet();

 private:
  class Turn;

  /// The queue at which operations wait for their turns, and whose turn it is.
  mutable BriefMutex _queue;
  mutable std::atomic<std::thread::id> turn_;
  /// Used by whoever has the turn.
  Ref<NSMutableSet> _set;
};

}  // namespace kestova
