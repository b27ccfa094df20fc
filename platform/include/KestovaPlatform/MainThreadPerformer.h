// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/Export.h>

namespace kestova {

/// How an application whose main thread runs neither a run loop nor the main dispatch queue brings
/// blocks there: what it names serves `performBlockOnMainThread` and `NSOperationQueue::mainQueue`.
///
///     class UIThread final : public MainThreadPerformer {
///       bool isMainThread() const override { return toolkit::inUIThread(); }
///       void perform(Block<void()> block) override { toolkit::post([=] { block(); }); }
///     };
///     …
///     static UIThread performer;
///     MainThreadPerformer::setCurrent(&performer);
///
/// A program that turns its run loop from within another loop (see NSRunLoop.h) needs none.
class KESTOVA_PLATFORM_EXPORT MainThreadPerformer {
 public:
  /// What the application has named; null when it has not, and then the main thread's run loop and
  /// the main dispatch queue do it.
  static MainThreadPerformer* current() noexcept;

  /// Names one, unowned, or none (null). Before anybody needs it, and not while blocks are under
  /// way.
  static void setCurrent(MainThreadPerformer* performer) noexcept;

  /// Whether the caller is on the application's main thread. From any thread.
  virtual bool isMainThread() const = 0;

  /// Runs the block there soon, once, after those that were handed in before. From any thread, also
  /// from the main thread itself. A block that will never run is to be let go of. Where it throws
  /// (there is no memory, say) it has not taken the block: a queue of operations hands it in again
  /// a little later, `performBlockOnMainThread` lets its caller know.
  virtual void perform(Block<void()> block) = 0;

 protected:
  MainThreadPerformer() = default;
  virtual ~MainThreadPerformer();
};

}  // namespace kestova
