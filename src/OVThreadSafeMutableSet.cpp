// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThreadSafeMutableSet.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSEnumerator.h>

#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVThreadSafeMutableSet)

/// One thread's turn at the set, for as long as it lives.
class OVThreadSafeMutableSet::Turn {
 public:
  explicit Turn(const OVThreadSafeMutableSet& set) : set_(set) {
    const auto self = std::this_thread::get_id();
    require(set_.turn_.load(std::memory_order_relaxed) != self,
            "isEqual and hash of a member do not use the set");
    set_._queue.lock();
    set_.turn_.store(self, std::memory_order_relaxed);
  }
  /// A turn for an operation with the object.
  Turn(const OVThreadSafeMutableSet& set, const id& object) : Turn(asking(set, object)) {}
  ~Turn() {
    set_.turn_.store({}, std::memory_order_relaxed);
    set_._queue.unlock();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  /// The set. What the object is hashed and compared by comes from memory while the turn is waited
  /// for, not while others wait for it to end.
  static const OVThreadSafeMutableSet& asking(const OVThreadSafeMutableSet& set, const id& object) {
    __builtin_prefetch(object.get());
    return set;
  }

  const OVThreadSafeMutableSet& set_;
};

OVThreadSafeMutableSet::OVThreadSafeMutableSet() : _set(NSMutableSet::set()) {}

Ref<OVThreadSafeMutableSet> OVThreadSafeMutableSet::init() {
  return make<OVThreadSafeMutableSet>();
}

NSUInteger OVThreadSafeMutableSet::count() const {
  const Turn turn(*this);
  return _set->count();
}

id OVThreadSafeMutableSet::member(const id& object) const {
  const Turn turn(*this, object);
  return _set->member(object);
}

bool OVThreadSafeMutableSet::containsObject(const id& object) const {
  const Turn turn(*this, object);
  return _set->containsObject(object);
}

Ref<NSArray> OVThreadSafeMutableSet::allObjects() const {
  const Turn turn(*this);
  return _set->allObjects();
}

Ref<NSEnumerator> OVThreadSafeMutableSet::objectEnumerator() const {
  return allObjects()->objectEnumerator();
}

void OVThreadSafeMutableSet::addObject(const id& object) {
  const Turn turn(*this, object);
  _set->addObject(object);
}

void OVThreadSafeMutableSet::removeObject(const id& object) {
  id removed;
  const Turn turn(*this, object);
  removed = _set->member(object);
  _set->removeObject(object);
}

void OVThreadSafeMutableSet::removeAllObjects() {
  auto removed = NSMutableSet::set();
  const Turn turn(*this);
  std::swap(_set, removed);
}

}  // namespace kestova
