// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSFileHandle.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova {

/// Two ends of one stream of bytes: what is written to the one is read from the other, in order.
///
/// It holds 64 KiB: a writer who is further ahead waits. Other programs that this process starts
/// don't get the ends, but for those that an NSTask hands to its own.
///
/// Threads: each end is for one at a time.
class KESTOVA_PLATFORM_EXPORT NSPipe : public NSObject {
  KESTOVA_CLASS(NSPipe, NSObject)

 public:
  /// A new pipe; null when the process has no descriptors left.
  static Ref<NSPipe> pipe();

  const Ref<NSFileHandle>& fileHandleForReading() const noexcept { return reading_; }
  const Ref<NSFileHandle>& fileHandleForWriting() const noexcept { return writing_; }

 protected:
  NSPipe(Ref<NSFileHandle> reading, Ref<NSFileHandle> writing);

 private:
  const Ref<NSFileHandle> reading_;
  const Ref<NSFileHandle> writing_;
};

}  // namespace kestova
