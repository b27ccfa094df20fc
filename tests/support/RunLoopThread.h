// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/RunLoopSource.h>

#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <utility>

namespace kestova::testing {

/// The name of a mode that no run loop has: modes stay with their run loops.
inline Ref<NSString> unusedMode() {
  static std::atomic<int> last{0};
  return "org.kestova.tests.mode" + std::to_string(++last);
}

/// A thread that runs its run loop in the default mode until this is destroyed.
class RunLoopThread {
 public:
  RunLoopThread()
      : worker_([this] {
          object_ = NSThread::currentThread();
          // What a program's own thread would have: something that it is never out of.
          runLoop()->addSource_forMode(RunLoopSource::sourceWithBlock([] {}), NSRunLoopCommonModes);
          started_.count_down();
          runLoop()->run();
        }) {
    started_.wait();
  }
  ~RunLoopThread() { stop(); }

  const Ref<NSThread>& object() const { return object_; }
  Ref<NSRunLoop> runLoop() const { return object_->runLoop(); }

  /// Runs something there and waits for it.
  void perform(Block<void()> block) { performOnThread(object_, std::move(block), true); }

  /// Waits until everything that was asked for before has been done: the turn that serves the first
  /// block is over when the second one runs.
  void settle() {
    perform([] {});
    perform([] {});
  }

  /// Waits until the thread waits in its run loop.
  void waitUntilWaiting() const {
    while (!runLoop()->isWaiting()) {
      std::this_thread::yield();
    }
  }

  /// Ends the run and the thread.
  void stop() {
    if (worker_.joinable()) {
      runLoop()->performBlock([] { NSRunLoop::currentRunLoop()->stop(); });
      worker_.join();
    }
  }

 private:
  std::latch started_{1};
  Ref<NSThread> object_;
  std::thread worker_;
};

}  // namespace kestova::testing
