// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>

#include "dispatch/Submission.h"

namespace kestova {
namespace {

/// What libdispatch takes for a beat: its word for none is the end of time.
std::uint64_t beat(NSTimeInterval seconds) {
  return seconds > 0 && std::isfinite(seconds)
             ? static_cast<std::uint64_t>(std::max<std::int64_t>(dispatchNanoseconds(seconds), 1))
             : DISPATCH_TIME_FOREVER;
}

}  // namespace

struct DispatchTimer::Handlers {
  explicit Handlers(dispatch_queue_t target) noexcept : queue(target) {}

  void replace(Block<void()> Handlers::*which, Block<void()> block) {
    {
      const std::lock_guard lock(mutex);
      std::swap(this->*which, block);
    }
    tellReleased(this);
  }

  Block<void()> get(Block<void()> Handlers::*which) {
    const std::lock_guard lock(mutex);
    return this->*which;
  }

  void perform(Block<void()> Handlers::*which) {
    const QueueOrder order(queue, TaskKind::plain);
    if (const Block<void()> block = get(which)) {
      performSubmitted(block);
    }
  }

  static void fired(void* pointer) {
    tellAcquired(pointer);
    static_cast<Handlers*>(pointer)->perform(&Handlers::event);
    tellReleased(pointer);
  }

  static void cancelled(void* pointer) {
    tellAcquired(pointer);
    auto& handlers = *static_cast<Handlers*>(pointer);
    handlers.replace(&Handlers::event, nullptr);
    handlers.perform(&Handlers::cancel);
    handlers.replace(&Handlers::cancel, nullptr);
    tellReleased(pointer);
  }

  static void finished(void* pointer) {
    tellAcquired(pointer);
    delete static_cast<Handlers*>(pointer);
  }

  /// Unowned: the source holds it.
  const dispatch_queue_t queue;
  /// Guards the two blocks, never while one of them runs or goes.
  std::mutex mutex;
  Block<void()> event;
  Block<void()> cancel;
};

DispatchTimer::DispatchTimer(dispatch_queue_t queue)
    : handlers_(new Handlers(queue != nullptr ? queue : dispatch_get_global_queue(0, 0))),
      source_(DispatchObject<dispatch_source_t>::adopt(
          dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, handlers_->queue))) {
  const dispatch_source_t source = source_;
  dispatch_set_context(source, handlers_);
  dispatch_set_finalizer_f(source, &Handlers::finished);
  dispatch_source_set_event_handler_f(source, &Handlers::fired);
  dispatch_source_set_cancel_handler_f(source, &Handlers::cancelled);
}

DispatchTimer::~DispatchTimer() {
  cancel();
  // libdispatch refuses to let go of a source at rest.
  resume();
  tellReleased(handlers_);
}

void DispatchTimer::setEventHandler(Block<void()> handler) {
  handlers_->replace(&Handlers::event, std::move(handler));
}

void DispatchTimer::setCancelHandler(Block<void()> handler) {
  handlers_->replace(&Handlers::cancel, std::move(handler));
}

void DispatchTimer::setTimer(dispatch_time_t start, NSTimeInterval interval,
                             NSTimeInterval leeway) {
  tellReleased(handlers_);
  dispatch_source_set_timer(
      source_, start, beat(interval),
      static_cast<std::uint64_t>(std::max<std::int64_t>(dispatchNanoseconds(leeway), 0)));
}

void DispatchTimer::resume() {
  if (!resumed_.exchange(true)) {
    tellReleased(handlers_);
    dispatch_resume(dispatch_source_t(source_));
  }
}

void DispatchTimer::cancel() {
  tellReleased(handlers_);
  dispatch_source_cancel(source_);
}

bool DispatchTimer::isCancelled() const { return dispatch_source_testcancel(source_) != 0; }

}  // namespace kestova
