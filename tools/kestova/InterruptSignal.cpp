// SPDX-License-Identifier: Apache-2.0
#include "InterruptSignal.h"

#include <KestovaPlatform/NSRunLoop.h>

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <system_error>

#include <cerrno>

namespace kestova::tool {
namespace {

sigset_t interrupts() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  return set;
}

}  // namespace

InterruptSignal::InterruptSignal(Block<void()> interrupted) {
  const sigset_t set = interrupts();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  descriptor_ = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
  if (descriptor_ < 0) {
    throw std::system_error(errno, std::generic_category(), "signalfd");
  }
  source_ = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
      descriptor_, RunLoopDescriptorReadable, [this, interrupted](NSUInteger) {
        signalfd_siginfo taken;
        if (read(descriptor_, &taken, sizeof taken) == sizeof taken) {
          const sigset_t again = interrupts();
          pthread_sigmask(SIG_UNBLOCK, &again, nullptr);
          interrupted();
        }
      });
  NSRunLoop::currentRunLoop()->addSource_forMode(source_, NSRunLoopCommonModes);
}

InterruptSignal::~InterruptSignal() {
  source_->invalidate();
  close(descriptor_);
}

}  // namespace kestova::tool
