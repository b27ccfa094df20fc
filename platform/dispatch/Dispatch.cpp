// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>

#include <cmath>
#include <limits>
#include <utility>

#include "dispatch/QueueOrder.h"
#include "dispatch/Submission.h"

namespace kestova {
namespace {

/// A task that its submitter waits for: it stays on the submitter's stack.
struct SynchronousTask {
  dispatch_queue_t queue;
  TaskKind kind;
  void* context;
  detail::DispatchFunction function;

  void submit(void (*submission)(dispatch_queue_t, void*, dispatch_function_t)) {
    require(queue != nullptr, "queue != nil");
    tellReleased(this);
    submission(queue, this, &run);
    tellAcquired(this);
  }

  static void run(void* pointer) {
    auto& task = *static_cast<SynchronousTask*>(pointer);
    tellAcquired(&task);
    {
      const QueueOrder order(task.queue, task.kind);
      performSubmitted([&] { task.function(task.context); });
    }
    tellReleased(&task);
  }
};

struct OnceTask {
  dispatch_once_t* predicate;
  void* context;
  detail::DispatchFunction function;

  static void run(void* pointer) {
    const auto& task = *static_cast<OnceTask*>(pointer);
    performSubmitted([&] { task.function(task.context); });
    tellReleased(task.predicate);
  }
};

}  // namespace

DispatchQueue dispatchSerialQueue(const char* label) {
  return DispatchQueue::adopt(dispatch_queue_create(label, DISPATCH_QUEUE_SERIAL));
}

DispatchQueue dispatchConcurrentQueue(const char* label) {
  DispatchQueue queue =
      DispatchQueue::adopt(dispatch_queue_create(label, DISPATCH_QUEUE_CONCURRENT));
  QueueOrder::markConcurrent(queue);
  return queue;
}

bool dispatchQueueIsCurrent(dispatch_queue_t queue) {
  require(queue != nullptr, "queue != nil");
  if (dispatch_queue_get_specific(queue, queue) == nullptr) {
    dispatch_queue_set_specific(queue, queue, queue, nullptr);
  }
  return dispatch_get_specific(queue) == queue;
}

std::int64_t dispatchNanoseconds(NSTimeInterval seconds) noexcept {
  using Limits = std::numeric_limits<std::int64_t>;
  const double nanoseconds = seconds * 1e9;
  if (std::isnan(nanoseconds)) {
    return 0;
  }
  if (nanoseconds >= 0x1p63) {
    return Limits::max();
  }
  return nanoseconds < -0x1p63 ? Limits::min() : static_cast<std::int64_t>(nanoseconds);
}

dispatch_time_t dispatchTimeAfter(NSTimeInterval seconds) noexcept {
  return dispatch_time(DISPATCH_TIME_NOW, dispatchNanoseconds(seconds));
}

void dispatch_async(dispatch_queue_t queue, Block<void()> block) {
  dispatch_async_f(queue, Submission::send({queue, std::move(block)}), &Submission::run);
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, Block<void()> block) {
  if (when == DISPATCH_TIME_FOREVER) {
    // libdispatch takes no such task, and would leave the submission to nobody.
    Submission{queue, std::move(block)}.requireComplete();
    return;
  }
  dispatch_after_f(when, queue, Submission::send({queue, std::move(block)}), &Submission::run);
}

void dispatch_barrier_async(dispatch_queue_t queue, Block<void()> block) {
  dispatch_barrier_async_f(queue, Submission::send({queue, std::move(block), TaskKind::barrier}),
                           &Submission::run);
}

void detail::runSync(dispatch_queue_t queue, void* context, DispatchFunction function) {
  SynchronousTask{queue, TaskKind::plain, context, function}.submit(&dispatch_sync_f);
}

void detail::runBarrierSync(dispatch_queue_t queue, void* context, DispatchFunction function) {
  SynchronousTask{queue, TaskKind::barrier, context, function}.submit(&dispatch_barrier_sync_f);
}

void detail::runOnce(dispatch_once_t* predicate, void* context, DispatchFunction function) {
  OnceTask task{predicate, context, function};
  dispatch_once_f(predicate, &task, &OnceTask::run);
  tellAcquired(predicate);
}

}  // namespace kestova
