// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/RunLoopSource.h>

namespace kestova {

/// What a descriptor can be ready for, as a sum of bits.
enum RunLoopDescriptorEvents : std::uint32_t {
  RunLoopDescriptorReadable = 1,
  RunLoopDescriptorWritable = 2,
};

/// Calls a block on a run loop's thread whenever a file descriptor is ready: a socket, a pipe, an
/// eventfd, a bus connection.
///
///     auto source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
///         socket, RunLoopDescriptorReadable, [=](NSUInteger) { readAvailable(socket); });
///     NSRunLoop::currentRunLoop()->addSource_forMode(source, NSDefaultRunLoopMode);
///
/// The block is called once a turn for as long as the descriptor stays ready, with the events that
/// it is ready for. An error or a hang-up counts as every awaited event, so that the next read or
/// write reports it; a block that then keeps the source is called without end. The descriptor
/// should be non-blocking: what made it ready may have been consumed meanwhile.
///
/// Threads and ownership are those of RunLoopSource; `signal` asks for one call with no event. The
/// source watches a duplicate of the descriptor: the caller keeps the original and may close it at
/// any time, but the open file lives on until the source is invalidated or gone.
class KESTOVA_PLATFORM_EXPORT RunLoopDescriptorSource : public RunLoopSource {
  KESTOVA_CLASS(RunLoopDescriptorSource, RunLoopSource)

 public:
  /// A source for a sum of RunLoopDescriptorEvents. Null, with the reason in `errno`, when the
  /// descriptor is not open or can't be waited for, as is so of regular files (EPERM), or when
  /// there are too many descriptors. An empty block is a broken contract, and so is a sum of no
  /// event.
  static Ref<RunLoopDescriptorSource> sourceWithDescriptor_events_block(
      int descriptor, NSUInteger events, Block<void(NSUInteger)> perform);

 private:
  RunLoopDescriptorSource(int descriptor, NSUInteger events, Block<void(Signals)> perform);

  int descriptor() const noexcept override { return descriptor_; }
  Signals awaited() const noexcept override { return awaited_; }

  /// Open for as long as the source is valid.
  const int descriptor_;
  const Signals awaited_;
};

}  // namespace kestova
