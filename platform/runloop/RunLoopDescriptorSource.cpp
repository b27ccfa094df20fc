// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Class.h>
#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <fcntl.h>
#include <sys/epoll.h>

#include <utility>

#include "files/FileDescriptor.h"

namespace kestova {
namespace {

std::uint32_t epollEvents(NSUInteger events) {
  return ((events & RunLoopDescriptorReadable) != 0 ? EPOLLIN : 0U) |
         ((events & RunLoopDescriptorWritable) != 0 ? EPOLLOUT : 0U);
}

/// The events of a report, as the source's block is told them.
NSUInteger reportedEvents(std::uint32_t report, std::uint32_t awaited) {
  const std::uint32_t seen = (report & (EPOLLERR | EPOLLHUP)) != 0 ? awaited : report & awaited;
  return ((seen & EPOLLIN) != 0 ? NSUInteger{RunLoopDescriptorReadable} : 0) |
         ((seen & EPOLLOUT) != 0 ? NSUInteger{RunLoopDescriptorWritable} : 0);
}

/// A duplicate that can be waited for, or nothing, with the reason in `errno`: only an attempt
/// shows what the kernel refuses.
FileDescriptor waitableDuplicate(int descriptor) {
  FileDescriptor duplicate(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
  const FileDescriptor probe(duplicate ? ::epoll_create1(EPOLL_CLOEXEC) : -1);
  epoll_event event{};
  if (!probe || ::epoll_ctl(probe.get(), EPOLL_CTL_ADD, duplicate.get(), &event) != 0) {
    const int reason = errno;
    duplicate.close();
    errno = reason;
  }
  return duplicate;
}

}  // namespace

KESTOVA_DEFINE_CLASS(RunLoopDescriptorSource)

RunLoopDescriptorSource::RunLoopDescriptorSource(int descriptor, NSUInteger events,
                                                 Block<void(Signals)> perform)
    : RunLoopSource(std::move(perform)), descriptor_(descriptor), awaited_(epollEvents(events)) {}

Ref<RunLoopDescriptorSource> RunLoopDescriptorSource::sourceWithDescriptor_events_block(
    int descriptor, NSUInteger events, Block<void(NSUInteger)> perform) {
  require(perform != nullptr, "perform != nil");
  require(epollEvents(events) != 0, "events != 0");
  FileDescriptor duplicate = waitableDuplicate(descriptor);
  if (!duplicate) {
    return nullptr;
  }
  const int number = duplicate.get();
  // What is called owns the duplicate, so that it is closed when the source is invalid and its
  // block, if it is running, has returned.
  return make<RunLoopDescriptorSource>(
      number, events,
      [duplicate = std::move(duplicate), awaited = epollEvents(events),
       perform = std::move(perform)](Signals signals) {
        perform(reportedEvents(signals, awaited));
      });
}

}  // namespace kestova
