// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>

namespace kestova::tool {

/// Turns the first Ctrl-C (or SIGTERM) into a call on this thread's run loop. A second one ends the
/// process at once, as ever.
///
/// To be made before the process has a second thread: threads inherit what signals they leave
/// alone.
class InterruptSignal {
 public:
  explicit InterruptSignal(Block<void()> interrupted);
  ~InterruptSignal();
  InterruptSignal(const InterruptSignal&) = delete;
  InterruptSignal& operator=(const InterruptSignal&) = delete;

 private:
  int descriptor_;
  Ref<RunLoopDescriptorSource> source_;
};

}  // namespace kestova::tool
