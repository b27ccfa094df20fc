// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/NSPipe.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "files/OwningHandle.h"

namespace kestova {

KESTOVA_DEFINE_CLASS(NSPipe)

NSPipe::NSPipe(Ref<NSFileHandle> reading, Ref<NSFileHandle> writing)
    : reading_(std::move(reading)), writing_(std::move(writing)) {}

Ref<NSPipe> NSPipe::pipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return nullptr;
  }
  FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  return make<NSPipe>(owningHandle(std::move(reading)), owningHandle(std::move(writing)));
}

}  // namespace kestova
