// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Export.h>
#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSObject.h>

namespace kestova {

/// An open file, pipe or device, for reading from where it stands.
///
///     Ref<NSPipe> pipe = NSPipe::pipe();
///     Ref<NSData> bytes = pipe->fileHandleForReading()->availableData();
///
/// Threads: one at a time. Everything blocks.
///
/// Ownership: the handle owns its descriptor and closes it when it goes, unless it was made for one
/// that stays somebody else's.
class KESTOVA_PLATFORM_EXPORT NSFileHandle : public NSObject {
  KESTOVA_CLASS(NSFileHandle, NSObject)

 public:
  /// A handle for an open descriptor, which the handle closes when `closeOnDealloc` is true.
  static Ref<NSFileHandle> initWithFileDescriptor_closeOnDealloc(int descriptor,
                                                                 bool closeOnDealloc);

  /// What can swallow everything and has nothing to read; null when it can't be opened.
  static Ref<NSFileHandle> fileHandleWithNullDevice();

  /// The descriptor; −1 once it is closed.
  int fileDescriptor() const noexcept { return descriptor_; }

  /// What is there to be read, after waiting until there is something: at most 64 KiB. Empty at the
  /// end of what is read; null when it can't be read.
  Ref<NSData> availableData();

  /// Everything up to the end; null when it can't be read.
  Ref<NSData> readDataToEndOfFile();

  /// Closes the descriptor, also one of somebody else's. Again does nothing.
  void closeFile() noexcept;

 protected:
  NSFileHandle(int descriptor, bool closesAtEnd)
      : descriptor_(descriptor), closesAtEnd_(closesAtEnd) {}
  ~NSFileHandle() override;

 private:
  int descriptor_;
  const bool closesAtEnd_;
};

}  // namespace kestova
