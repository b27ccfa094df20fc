// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/Dispatch.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include "dispatch/QueueOrder.h"

namespace kestova {

/// Calls what was submitted. An exception ends the process: the frames of libdispatch below can't
/// be unwound. Its text is printed, and the program's terminate handler finds it as the current
/// one.
template <class Callable>
void performSubmitted(Callable&& callable) noexcept {
  try {
    callable();
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "an exception left a submitted block: %s\n", exception.what());
    std::terminate();
  } catch (...) {
    std::fputs("an exception left a submitted block\n", stderr);
    std::terminate();
  }
}

/// A block on its way through libdispatch: what it is called with, and what the thread sanitizer is
/// told when it runs.
struct Submission {
  dispatch_queue_t queue;
  Block<void()> block;
  TaskKind kind = TaskKind::plain;
  /// The group that it is a task of; null for none.
  dispatch_group_t group = nullptr;

  void requireComplete() const {
    require(queue != nullptr, "queue != nil");
    require(block != nullptr, "block != nil");
  }

  /// Checks it and puts it where `run` will find it and let go of it.
  static void* send(Submission submission) {
    submission.requireComplete();
    auto* sent = new Submission(std::move(submission));
    tellReleased(sent);
    return sent;
  }

  static void run(void* pointer) {
    tellAcquired(pointer);
    const std::unique_ptr<Submission> submission(static_cast<Submission*>(pointer));
    {
      const QueueOrder order(submission->queue, submission->kind);
      performSubmitted(submission->block);
      submission->block = nullptr;
    }
    tellReleased(submission->group);
  }
};

}  // namespace kestova
