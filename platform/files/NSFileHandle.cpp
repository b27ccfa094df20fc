// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSFileHandle.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <utility>

#include "files/FileSystemCalls.h"
#include "files/OwningHandle.h"

namespace kestova {
namespace {

using Buffer = std::array<std::byte, std::size_t{64} << 10>;

ssize_t readInto(Buffer& buffer, int descriptor) {
  return uninterrupted([&] { return ::read(descriptor, buffer.data(), buffer.size()); });
}

}  // namespace

KESTOVA_DEFINE_CLASS(NSFileHandle)

Ref<NSFileHandle> NSFileHandle::initWithFileDescriptor_closeOnDealloc(int descriptor,
                                                                      bool closeOnDealloc) {
  return make<NSFileHandle>(descriptor, closeOnDealloc);
}

Ref<NSFileHandle> NSFileHandle::fileHandleWithNullDevice() {
  FileDescriptor device(openExisting(AT_FDCWD, "/dev/null", O_RDWR | O_CLOEXEC));
  return device ? owningHandle(std::move(device)) : nullptr;
}

NSFileHandle::~NSFileHandle() {
  if (closesAtEnd_) {
    closeFile();
  }
}

Ref<NSData> NSFileHandle::availableData() {
  Buffer buffer;
  const ssize_t count = readInto(buffer, descriptor_);
  return count < 0 ? nullptr
                   : NSData::dataWithBytes_length(buffer.data(), static_cast<NSUInteger>(count));
}

Ref<NSData> NSFileHandle::readDataToEndOfFile() {
  const auto bytes = NSMutableData::data();
  Buffer buffer;
  ssize_t count = 0;
  while ((count = readInto(buffer, descriptor_)) > 0) {
    bytes->appendBytes_length(buffer.data(), static_cast<NSUInteger>(count));
  }
  return count < 0 ? nullptr : NSData::taking(*bytes);
}

void NSFileHandle::closeFile() noexcept {
  const int descriptor = std::exchange(descriptor_, -1);
  if (descriptor >= 0) {
    ::close(descriptor);
  }
}

}  // namespace kestova
