// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/OVThreadSafeMutableSet.h>
#include <KestovaPlatform/Backoff.h>
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSEnumerator.h>

#include <exception>
#include <thread>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(OVThreadSafeMutableSet)

namespace {

/// Marks something as in use while it lives, if need be after a wait for its other users. When that
/// takes longer than waking a sleeping one would, it goes on without the mark: it is no lock.
class Turn {
 public:
  explicit Turn(std::atomic_flag& isBusy) noexcept : isBusy_(isBusy), isMine_(take()) {
    for (Backoff backoff; !isMine_ && backoff.pause();) {
      isMine_ = take();
    }
    for (int left = kYields; !isMine_ && left > 0; --left) {
      std::this_thread::yield();
      isMine_ = take();
    }
  }
  ~Turn() {
    if (isMine_) {
      isBusy_.clear(std::memory_order_release);
    }
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  static constexpr int kYields = 64;

  bool take() noexcept {
    return !isBusy_.test(std::memory_order_relaxed) &&
           !isBusy_.test_and_set(std::memory_order_acquire);
  }

  std::atomic_flag& isBusy_;
  bool isMine_;
};

}  // namespace

/// An exception takes the way around the queue, which can't carry it.
template <class Operation>
void OVThreadSafeMutableSet::onQueue(const Operation& operation) const {
  std::exception_ptr failure;
  {
    const Turn turn(isBusy_);
    dispatch_sync(_queue, [&] {
      try {
        operation();
      } catch (...) {
        failure = std::current_exception();
      }
    });
  }
  if (failure) {
    std::rethrow_exception(failure);
  }
}

OVThreadSafeMutableSet::OVThreadSafeMutableSet()
    : _queue(dispatchSerialQueue()), _set(NSMutableSet::set()) {}

Ref<OVThreadSafeMutableSet> OVThreadSafeMutableSet::init() {
  return make<OVThreadSafeMutableSet>();
}

NSUInteger OVThreadSafeMutableSet::count() const {
  NSUInteger count = 0;
  onQueue([&] { count = _set->count(); });
  return count;
}

id OVThreadSafeMutableSet::member(const id& object) const {
  id member;
  onQueue([&] { member = _set->member(object); });
  return member;
}

bool OVThreadSafeMutableSet::containsObject(const id& object) const {
  bool contains = false;
  onQueue([&] { contains = _set->containsObject(object); });
  return contains;
}

Ref<NSArray> OVThreadSafeMutableSet::allObjects() const {
  Ref<NSArray> objects;
  onQueue([&] { objects = _set->allObjects(); });
  return objects;
}

Ref<NSEnumerator> OVThreadSafeMutableSet::objectEnumerator() const {
  return allObjects()->objectEnumerator();
}

void OVThreadSafeMutableSet::addObject(const id& object) {
  onQueue([&] { _set->addObject(object); });
}

void OVThreadSafeMutableSet::removeObject(const id& object) {
  id removed;
  onQueue([&] {
    removed = _set->member(object);
    _set->removeObject(object);
  });
}

void OVThreadSafeMutableSet::removeAllObjects() {
  auto removed = NSMutableSet::set();
  onQueue([&] { std::swap(_set, removed); });
}

}  // namespace kestova
