// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSPipe.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace kestova {

KESTOVA_DEFINE_CLASS(NSPipe)

NSPipe::NSPipe(Ref<NSFileHandle> reading, Ref<NSFileHandle> writing)
    : reading_(std::move(reading)), writing_(std::move(writing)) {}

Ref<NSPipe> NSPipe::pipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return nullptr;
  }
  return make<NSPipe>(NSFileHandle::initWithFileDescriptor_closeOnDealloc(ends[0], true),
                      NSFileHandle::initWithFileDescriptor_closeOnDealloc(ends[1], true));
}

}  // namespace kestova
