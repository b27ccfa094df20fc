// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>

namespace kestova {

/// Holds all signals back from threads that are made meanwhile: the host program's handlers are not
/// to run on them.
class HeldSignals {
 public:
  HeldSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~HeldSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace kestova
