// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSRunLoop.h>

#include <mutex>
#include <thread>

namespace kestova {

/// Thrown to one who waits for a block on a thread that has ended: "NSDestinationInvalidException".
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSDestinationInvalidException;

/// A thread of the process, however it was started, as an object: to be compared, named, and given
/// work through its run loop.
///
///     std::thread worker([] {
///       handOut(NSThread::currentThread());
///       NSRunLoop::currentRunLoop()->run();
///     });
///     …
///     performBlockOnMainThread([=] { show(result); }, false);
///
/// The main thread is the one that loaded the library: the program's first thread, unless a program
/// loads the library later and from another one. It is also the thread that runs the main dispatch
/// queue.
///
/// Threads: everything may be called from any thread. The object of an ended thread stays usable.
///
/// Cost: an object per thread that asks for it; a run loop only for those that ask for that too.
class KESTOVA_PLATFORM_EXPORT NSThread : public NSObject {
  KESTOVA_CLASS(NSThread, NSObject)

 public:
  /// The thread that asks; the same object as long as it lives. A thread that was not started here
  /// has one as well, made when it first asks.
  static Ref<NSThread> currentThread();

  /// The thread that loaded the library, as a rule that of `main`.
  static Ref<NSThread> mainThread();

  /// Whether the caller is on the main thread.
  static bool isMainThread() noexcept;

  /// What `setName` was given; null before that.
  Ref<NSString> name() const;

  /// Names the thread for people who debug; the system's tools show it as well, cut to 15 bytes,
  /// when the thread names itself. Null takes the name away.
  void setName(const Ref<NSString>& name);

  /// Whether the thread has ended, as far as its run loop is concerned.
  bool isFinished() const;

  /// The thread's run loop, made on the first request; null when the thread ended without one.
  Ref<NSRunLoop> runLoop();

 private:
  explicit NSThread(std::thread::id thread);
  ~NSThread() override;

  static void end(void* thread);

  const std::thread::id thread_;

  /// Guards what follows.
  mutable std::mutex mutex_;
  bool finished_ = false;
  Ref<NSString> name_;
  Ref<NSRunLoop> runLoop_;
};

/// Runs the block on that thread, in the next turn of its run loop in the given mode (the common
/// modes unless told otherwise). With `waitUntilDone` it returns when the block has run, and from
/// that thread itself it runs the block at once; a thread that never runs its run loop makes it
/// wait for ever. A block that its thread never came to is dropped when the thread ends: in
/// silence, or with NSDestinationInvalidException for one who waits. An exception of the block
/// leaves the run of its own thread; the waiter goes on. A null thread and an empty block are
/// broken contracts.
KESTOVA_PLATFORM_EXPORT void performOnThread(const Ref<NSThread>& thread, Block<void()> block,
                                             bool waitUntilDone,
                                             const Ref<NSString>& mode = NSRunLoopCommonModes);

/// The same on the main thread; through the application's MainThreadPerformer, which knows no
/// modes, if it has named one.
KESTOVA_PLATFORM_EXPORT void performBlockOnMainThread(
    Block<void()> block, bool waitUntilDone, const Ref<NSString>& mode = NSRunLoopCommonModes);

}  // namespace kestova
