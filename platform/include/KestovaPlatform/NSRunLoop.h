// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSObject.h>
#include <KestovaPlatform/NSString.h>
#include <KestovaPlatform/NSTypes.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kestova {

class NSArray;
class NSDate;
class NSTimer;
class RunLoopMode;
class RunLoopSource;

/// The mode that `run` and a host program serve: "kCFRunLoopDefaultMode".
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSDefaultRunLoopMode;

/// Stands for every common mode of a run loop, now and later: "kCFRunLoopCommonModes". What is
/// added to it is served in all of them. It can't be run itself.
extern KESTOVA_PLATFORM_EXPORT const StringConstant NSRunLoopCommonModes;

/// How a run ended.
enum CFRunLoopRunResult : std::int32_t {
  kCFRunLoopRunFinished = 1,       ///< there was nothing to wait for in the mode
  kCFRunLoopRunStopped = 2,        ///< `stop` was called
  kCFRunLoopRunTimedOut = 3,       ///< the time was over
  kCFRunLoopRunHandledSource = 4,  ///< a source was served, and the run was to end after one
};

/// Where a thread waits for its sources, timers and blocks and serves them, one after the other.
///
///     Ref<NSRunLoop> loop = NSRunLoop::currentRunLoop();
///     loop->addSource_forMode(source, NSRunLoopCommonModes);
///     loop->performBlock([=] { loop->stop(); });   // from any thread
///     loop->run();                                 // until `stop`
///
/// Each thread has one run loop, made when somebody first asks for it. What it serves is sorted
/// into modes, told apart by the text of their names and made by mentioning them; a run names the
/// one that it serves, and everything in other modes waits. The default mode is the first of the
/// common modes, which share what is added to NSRunLoopCommonModes. The main thread's run loop also
/// runs what is submitted to the main dispatch queue, in its common modes.
///
/// A turn serves, in this order: blocks as they were handed in, timers by their moments, sources
/// that are signalled or ready (those of the mode itself before those of the common modes), blocks
/// that came meanwhile. It takes each once and leaves what is asked for during the turn to the
/// next, those last blocks apart. While there is nothing to do the thread sleeps in the kernel;
/// nothing wakes it periodically.
///
/// **In another program's loop.** A program that has a loop already (GTK, Qt, epoll) watches
/// `fileDescriptor` for reading there and calls `turn` whenever it is readable. Nothing else is
/// needed, for timers too make it readable:
///
///     g_unix_fd_add(loop->fileDescriptor(), G_IO_IN, [](auto…) { loop->turn(); return TRUE; }, 0);
///
/// A callback that runs the host's loop again, for a dialog say, is served there as well; GLib
/// wants to be told that the watch may recurse (`g_source_set_can_recurse`).
///
/// Threads: what adds, removes, stops or wakes may be called from any thread; what runs, only on
/// the run loop's own (else a broken contract). Callbacks run with no lock held and may add or
/// remove anything or run the loop again, in this mode or another. An exception that leaves a
/// callback leaves the run as well; the run loop stays usable and serves next time what it had not
/// come to.
///
/// Ownership: a run loop belongs to its thread. When the thread ends, sources are removed, timers
/// invalidated, blocks dropped without running, descriptors closed; what is added afterwards is
/// dropped at once. The main thread's run loop lives until the process ends.
///
/// Cost: six descriptors per run loop and three more for each mode beyond the default one.
class KESTOVA_PLATFORM_EXPORT NSRunLoop : public NSObject {
  KESTOVA_CLASS(NSRunLoop, NSObject)

 public:
  /// The calling thread's run loop. Throws NSGenericException when the system has no descriptors
  /// left to make one, as does every operation that mentions a mode for the first time.
  static Ref<NSRunLoop> currentRunLoop();

  /// The main thread's run loop (see NSThread.h for which thread that is).
  static Ref<NSRunLoop> mainRunLoop();

  /// \name What it serves
  /// Modes are named by any text. A null mode, source, timer or date is a broken contract, here and
  /// below.
  /// @{

  /// Lets the mode serve what the common modes share. Again does nothing.
  void addCommonMode(const Ref<NSString>& mode);

  /// Serves the source in that mode from now on. Nothing changes when it is there already, or is
  /// invalid.
  void addSource_forMode(const Ref<RunLoopSource>& source, const Ref<NSString>& mode);

  /// No longer serves the source in that mode; its signal stays. Nothing changes when it isn't
  /// there. A source that was added to a mode by its own name stays there when it leaves the common
  /// modes.
  void removeSource_forMode(const Ref<RunLoopSource>& source, const Ref<NSString>& mode);

  bool containsSource_forMode(const Ref<RunLoopSource>& source, const Ref<NSString>& mode) const;

  /// Fires the timer in that mode from now on, until it is invalid. A timer belongs to one run
  /// loop, in any number of modes: adding it to a second run loop is a broken contract. Nothing
  /// changes when it is there already, or is invalid.
  void addTimer_forMode(const Ref<NSTimer>& timer, const Ref<NSString>& mode);

  /// Runs the block once in the next turn in the default mode. Blocks run in the order in which
  /// they came. An empty one is a broken contract.
  void performBlock(Block<void()> block);

  /// The same in whichever of those modes (an array of strings) has its turn first.
  void performInModes_block(const Ref<NSArray>& modes, Block<void()> block);

  /// The same in one mode.
  void performInMode_block(const Ref<NSString>& mode, Block<void()> block);

  /// @}
  /// \name Running
  /// @{

  /// Runs in the default mode until `stop`, or until there is nothing left to wait for there.
  void run();

  /// The same, until that moment at the latest. A moment that has passed makes one turn.
  void runUntilDate(const Ref<NSDate>& limit);

  /// Waits in that mode until one turn has served a source, `stop`, or the moment comes (timers and
  /// blocks run meanwhile and don't end it). False at once when there is nothing to wait for there.
  bool runMode_beforeDate(const Ref<NSString>& mode, const Ref<NSDate>& limit);

  /// Runs in that mode for so many seconds; zero or less makes one turn without waiting, and more
  /// than a century or infinity has no end. With `returnAfterSourceHandled` it ends after the first
  /// turn that served a source.
  CFRunLoopRunResult runInMode_seconds_returnAfterSourceHandled(const Ref<NSString>& mode,
                                                                NSTimeInterval seconds,
                                                                bool returnAfterSourceHandled);

  /// Ends the innermost run that is in progress, after the callback that is running. Nothing
  /// happens when none is: to stop a run that may not have begun yet, hand in a block that calls
  /// `stop`.
  void stop();

  /// Makes the run in progress take a turn, even if it has nothing to do.
  void wakeUp();

  /// Whether the thread is asleep in this run loop, or about to fall asleep or wake.
  bool isWaiting() const noexcept { return waiting_.load(); }

  /// The mode of the innermost run; null outside of any.
  Ref<NSString> currentMode() const;

  /// @}
  /// \name In another program's loop
  /// @{

  /// A descriptor that is readable when a turn in the default mode has something to do; the run
  /// loop's own, to be watched and nothing else. Negative once the thread has ended.
  int fileDescriptor() const;

  /// Takes one turn in the default mode without waiting. Whether it served a source.
  bool turn();

  /// @}

  /// How many turns it has taken, for tests and diagnosis: it stands still while there is nothing
  /// to do.
  NSUInteger turnCount() const noexcept { return turns_.load(std::memory_order_relaxed); }

 private:
  friend class NSThread;

  using Moment = std::chrono::steady_clock::time_point;

  /// One run in progress: an entry of the stack that nested runs make.
  struct Activation;

  NSRunLoop(std::thread::id thread, bool servesMainQueue);
  ~NSRunLoop() override;

  void close();
  void requireOwnThread() const;
  std::shared_ptr<RunLoopMode> modeNamed(const Ref<NSString>& name);
  std::shared_ptr<RunLoopMode> findMode(const Ref<NSString>& name) const;
  std::shared_ptr<RunLoopMode> existingMode(const Ref<NSString>& name) const;
  CFRunLoopRunResult runUntil(const Ref<NSString>& mode, Moment limit,
                              bool returnAfterSourceHandled);
  bool takeTurn(RunLoopMode& mode, Moment limit);

  const std::thread::id thread_;
  std::atomic<bool> waiting_{false};
  std::atomic<NSUInteger> turns_{0};

  /// Guards what follows; never held while a mode is served.
  mutable std::mutex mutex_;
  /// The common modes' shared part first, the default mode second; empty once the thread has ended.
  std::vector<std::shared_ptr<RunLoopMode>> modes_;
  Activation* innermost_ = nullptr;
};

/// \name The same by the names of the C interface
/// @{

using CFRunLoopRef = Ref<NSRunLoop>;

inline const StringConstant& kCFRunLoopDefaultMode = NSDefaultRunLoopMode;
inline const StringConstant& kCFRunLoopCommonModes = NSRunLoopCommonModes;

inline CFRunLoopRef CFRunLoopGetCurrent() { return NSRunLoop::currentRunLoop(); }
inline CFRunLoopRef CFRunLoopGetMain() { return NSRunLoop::mainRunLoop(); }
inline void CFRunLoopStop(const CFRunLoopRef& runLoop) { runLoop->stop(); }
inline void CFRunLoopWakeUp(const CFRunLoopRef& runLoop) { runLoop->wakeUp(); }

/// Runs the calling thread's run loop (see `runInMode_seconds_returnAfterSourceHandled`).
inline CFRunLoopRunResult CFRunLoopRunInMode(const Ref<NSString>& mode, NSTimeInterval seconds,
                                             bool returnAfterSourceHandled) {
  return NSRunLoop::currentRunLoop()->runInMode_seconds_returnAfterSourceHandled(
      mode, seconds, returnAfterSourceHandled);
}

/// @}

}  // namespace kestova
