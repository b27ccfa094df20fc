// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSTypes.h>

// libdispatch's headers are written for clang: elsewhere two of its questions need an answer, and
// its own warnings are not ours.
#if !defined(__has_feature)
#define KESTOVA_ANSWERED_HAS_FEATURE
#define __has_feature(x) 0
#endif
#if !defined(__has_extension)
#define KESTOVA_ANSWERED_HAS_EXTENSION
#define __has_extension(x) 0
#endif
#pragma GCC diagnostic push
#if defined(__clang__)
#pragma GCC diagnostic ignored "-Wnullability-extension"
#endif
#include <dispatch/dispatch.h>
#pragma GCC diagnostic pop
#if defined(KESTOVA_ANSWERED_HAS_FEATURE)
#undef KESTOVA_ANSWERED_HAS_FEATURE
#undef __has_feature
#endif
#if defined(KESTOVA_ANSWERED_HAS_EXTENSION)
#undef KESTOVA_ANSWERED_HAS_EXTENSION
#undef __has_extension
#endif

#include <atomic>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

/// \file
/// Dispatch queues: libdispatch's own queues, with C++ callables.
///
///     DispatchQueue queue = dispatchSerialQueue();
///     dispatch_async(queue, [=] { write(record); });
///     NSUInteger written = dispatch_sync(queue, [&] { return count; });
///     dispatch_after(dispatchTimeAfter(0.5), queue, [=] { flush(); });
///
/// This is the one header that includes libdispatch, for either compiler. `dispatch_queue_t` and
/// all of libdispatch's C functions stay as they are. The functions here carry the names of those
/// of its functions that take a block, which exist only under -fblocks, and take a `Block` or any
/// callable in the block's place; where both exist, the argument decides. What comes in several
/// parts has a class: DispatchGroup, DispatchTimer.
///
/// Order: a serial queue runs its tasks one at a time, in the order in which they were submitted; a
/// synchronous one takes its place in that order. Each task sees what happened before its
/// submission, and what the queue's earlier tasks did. A concurrent queue begins its tasks in
/// order, but runs them side by side, except barriers, which run alone. Waiting for a serial queue
/// from one of its own tasks never ends; libdispatch stops the process where it notices.
///
/// A callable is copied or moved in where it runs later, and destroyed on the queue after it has
/// run; a synchronous one is used where it stands. A null queue and an empty block are broken
/// contracts. So is an exception that leaves a submitted callable, be it a synchronous one:
/// libdispatch can't carry it on.
///
/// The thread sanitizer doesn't know libdispatch. These functions tell it of every hand-off; those
/// of the C functions, it doesn't see. A concurrent queue that `dispatchConcurrentQueue` did not
/// make counts as a serial one there.

namespace kestova {

/// Shares a dispatch object, as `Ref` shares an object of ours, and stands for it wherever
/// libdispatch takes one. Default-made or null it is nothing.
template <class T>
class DispatchObject {
 public:
  DispatchObject() noexcept = default;
  DispatchObject(std::nullptr_t) noexcept {}
  explicit DispatchObject(T object) noexcept : object_(object) { retain(); }
  DispatchObject(const DispatchObject& other) noexcept : object_(other.object_) { retain(); }
  DispatchObject(DispatchObject&& other) noexcept
      : object_(std::exchange(other.object_, nullptr)) {}
  DispatchObject& operator=(DispatchObject other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~DispatchObject() {
    if (object_ != nullptr) {
      dispatch_release(object_);
    }
  }

  /// Takes over the count that libdispatch's create functions hand out.
  static DispatchObject adopt(T object) noexcept {
    DispatchObject result;
    result.object_ = object;
    return result;
  }

  operator T() const noexcept { return object_; }

 private:
  void retain() const noexcept {
    if (object_ != nullptr) {
      dispatch_retain(object_);
    }
  }

  T object_ = nullptr;
};

using DispatchQueue = DispatchObject<dispatch_queue_t>;

/// A new queue; `label` is copied and only for people who debug, null for none.
KESTOVA_PLATFORM_EXPORT DispatchQueue dispatchSerialQueue(const char* label = nullptr);
KESTOVA_PLATFORM_EXPORT DispatchQueue dispatchConcurrentQueue(const char* label = nullptr);

/// Whether the calling code runs on that queue, or on one that targets it. Only the innermost queue
/// counts: within `dispatch_sync` to another queue the answer is about that one.
KESTOVA_PLATFORM_EXPORT bool dispatchQueueIsCurrent(dispatch_queue_t queue);

/// A delay in whole nanoseconds, cut off toward zero. Not a number is 0; what 64 bits don't hold is
/// the largest or smallest number.
KESTOVA_PLATFORM_EXPORT std::int64_t dispatchNanoseconds(NSTimeInterval seconds) noexcept;

/// The moment so many seconds from now, on the clock that stands still while the machine sleeps.
/// Infinity is DISPATCH_TIME_FOREVER; what has gone by means at once.
KESTOVA_PLATFORM_EXPORT dispatch_time_t dispatchTimeAfter(NSTimeInterval seconds) noexcept;

/// Runs the block on the queue, soon.
KESTOVA_PLATFORM_EXPORT void dispatch_async(dispatch_queue_t queue, Block<void()> block);

/// Runs the block on the queue at that moment, or soon after; at DISPATCH_TIME_FOREVER never.
KESTOVA_PLATFORM_EXPORT void dispatch_after(dispatch_time_t when, dispatch_queue_t queue,
                                            Block<void()> block);

/// Runs the block on the concurrent queue when all earlier tasks have ended, and holds up all later
/// ones until it has.
KESTOVA_PLATFORM_EXPORT void dispatch_barrier_async(dispatch_queue_t queue, Block<void()> block);

namespace detail {

using DispatchFunction = void (*)(void* context);

KESTOVA_PLATFORM_EXPORT void runSync(dispatch_queue_t queue, void* context,
                                     DispatchFunction function);
KESTOVA_PLATFORM_EXPORT void runBarrierSync(dispatch_queue_t queue, void* context,
                                            DispatchFunction function);
KESTOVA_PLATFORM_EXPORT void runOnce(dispatch_once_t* predicate, void* context,
                                     DispatchFunction function);

/// Hands `run` a callable as a function and its context, without copying it, and answers the
/// result.
template <class Callable, class Run>
auto throughFunction(Callable& callable, Run&& run) {
  using Result = std::remove_cvref_t<std::invoke_result_t<Callable&>>;
  if constexpr (std::is_void_v<Result>) {
    run(const_cast<void*>(static_cast<const void*>(&callable)),
        [](void* context) { (*static_cast<Callable*>(context))(); });
  } else {
    std::optional<Result> result;
    auto store = [&] { result.emplace(callable()); };
    throughFunction(store, run);
    return *std::move(result);
  }
}

}  // namespace detail

/// Runs the callable on the queue and returns when it has run, with a copy of what it returned.
/// Nothing is allocated; mostly it runs on the calling thread.
template <class Callable>
auto dispatch_sync(dispatch_queue_t queue, Callable&& callable) {
  return detail::throughFunction(callable,
                                 [queue](void* context, detail::DispatchFunction function) {
                                   detail::runSync(queue, context, function);
                                 });
}

/// The same as a barrier of a concurrent queue.
template <class Callable>
auto dispatch_barrier_sync(dispatch_queue_t queue, Callable&& callable) {
  return detail::throughFunction(callable,
                                 [queue](void* context, detail::DispatchFunction function) {
                                   detail::runBarrierSync(queue, context, function);
                                 });
}

/// Runs the callable once in the process's life for that predicate, which is a static variable that
/// starts as 0. Everyone returns after it has run. Costs one comparison from then on.
template <class Callable>
void dispatch_once(dispatch_once_t* predicate, Callable&& callable) {
  detail::throughFunction(callable, [predicate](void* context, detail::DispatchFunction function) {
    detail::runOnce(predicate, context, function);
  });
}

/// Several tasks to be waited for together.
///
///     DispatchGroup group;
///     for (const id& item : items) group.async(queue, [=] { process(item); });
///     group.wait();
///
/// Copies share one group. It may go while tasks run: they keep what they need. What a task did is
/// seen by whoever waited for it and by the notifications.
///
/// Threads: any.
class KESTOVA_PLATFORM_EXPORT DispatchGroup {
 public:
  DispatchGroup();

  /// Runs the block on the queue as one of the group's tasks.
  void async(dispatch_queue_t queue, Block<void()> block) const;

  /// Counts a task that is none of `async`'s, until the same number of `leave`s; one too many stops
  /// the process, and so does letting go of the group before.
  void enter() const noexcept;
  void leave() const noexcept;

  /// Waits until no task is left, for ever if need be.
  void wait() const noexcept;

  /// Waits for so many seconds at most. Whether no task is left.
  bool waitFor(NSTimeInterval seconds) const noexcept;

  /// Submits the block to the queue once no task is left, at once if there is none.
  void notify(dispatch_queue_t queue, Block<void()> block) const;

 private:
  DispatchObject<dispatch_group_t> group_;
};

/// Runs a block on a queue at a moment, once or at a beat.
///
///     DispatchTimer timer(queue);
///     timer.setEventHandler([=] { poll(); });
///     timer.setTimer(dispatchTimeAfter(1), 1);
///     timer.resume();
///
/// A timer is made at rest: it begins with `resume`, and fires once `setTimer` has set it, in
/// either order. It can be set again at any time, which takes back everything that it was set for.
///
/// Threads: any, also the handlers themselves. A handler runs on the queue, never twice at a time.
///
/// Ownership: the timer holds the queue and the handlers. When it goes it is cancelled; a handler
/// that runs at that moment runs to its end, and keeps what it needs. To be sure that none runs any
/// more, cancel the timer and submit a synchronous task to its serial queue.
class KESTOVA_PLATFORM_EXPORT DispatchTimer {
 public:
  /// A timer whose handlers run on that queue; on null, on the global queue of default priority.
  explicit DispatchTimer(dispatch_queue_t queue = nullptr);
  ~DispatchTimer();
  DispatchTimer(const DispatchTimer&) = delete;
  DispatchTimer& operator=(const DispatchTimer&) = delete;

  /// What runs when the timer fires; empty for nothing. Replaces the one before and lets go of it.
  void setEventHandler(Block<void()> handler);

  /// What runs once after the timer was cancelled, when the event handler is running no more.
  void setCancelHandler(Block<void()> handler);

  /// Fires at `start` and every `interval` seconds from there; 0 or infinity for once only. The
  /// system may be late by `leeway` seconds, to save power. DISPATCH_TIME_FOREVER is never.
  void setTimer(dispatch_time_t start, NSTimeInterval interval = 0, NSTimeInterval leeway = 0);

  /// Begins. Again does nothing.
  void resume();

  /// Fires no more, for good; a handler that is running runs to its end. Again does nothing.
  void cancel();

  bool isCancelled() const;

 private:
  struct Handlers;

  /// Goes with the source, after the last handler.
  Handlers* handlers_;
  std::atomic<bool> resumed_{false};
  DispatchObject<dispatch_source_t> source_;
};

}  // namespace kestova
