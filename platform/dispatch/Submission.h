// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "dispatch/QueueOrder.h"

namespace kestova {

/// Calls what was submitted. An exception ends the process with its text: the frames of libdispatch
/// below can't be unwound.
template <class Callable>
void performSubmitted(Callable&& callable) noexcept {
  try {
    callable();
  } catch (const std::exception& exception) {
    failContract((std::string("an exception left a submitted block: ") + exception.what()).c_str());
  } catch (...) {
    failContract("an exception left a submitted block");
  }
}

/// A block on its way through libdispatch: what it is called with, and what the thread sanitizer is
/// told when it runs.
struct Submission {
  Block<void()> block;
  dispatch_queue_t queue;
  TaskKind kind = TaskKind::plain;
  /// Tags beyond those of the queue: a group is acquired by those who wait for it.
  const void* acquired = nullptr;
  const void* released = nullptr;

  /// Makes one that `run` will take over; it is no longer touched once libdispatch has it.
  static Submission* make(dispatch_queue_t queue, Block<void()> block,
                          const void* acquired = nullptr, const void* released = nullptr) {
    require(queue != nullptr, "queue != nullptr");
    require(block != nullptr, "block != nullptr");
    auto* submission = new Submission{std::move(block), queue, TaskKind::plain, acquired, released};
    tellReleased(submission);
    return submission;
  }

  static void run(void* pointer) {
    const std::unique_ptr<Submission> submission(static_cast<Submission*>(pointer));
    tellAcquired(submission.get());
    tellAcquired(submission->acquired);
    {
      const QueueOrder order(submission->queue, submission->kind);
      performSubmitted(submission->block);
      submission->block = nullptr;
    }
    tellReleased(submission->released);
  }
};

}  // namespace kestova
