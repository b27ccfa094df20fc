// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSBeep.h>

#include "files/FileDescriptor.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace kestova {
namespace {

/// While it lives, this thread may write to the terminal from the background, too: a terminal may
/// be set to stop the process for that.
class TerminalOutputAllowed {
 public:
  TerminalOutputAllowed() noexcept {
    sigset_t output;
    sigemptyset(&output);
    sigaddset(&output, SIGTTOU);
    pthread_sigmask(SIG_BLOCK, &output, &previous_);
  }
  ~TerminalOutputAllowed() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  TerminalOutputAllowed(const TerminalOutputAllowed&) = delete;
  TerminalOutputAllowed& operator=(const TerminalOutputAllowed&) = delete;

 private:
  sigset_t previous_;
};

class TerminalBell final : public AlertSound {
 public:
  void play() override {
    const FileDescriptor terminal(open("/dev/tty", O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (terminal) {
      const TerminalOutputAllowed allowed;
      [[maybe_unused]] const auto ignored = write(terminal.get(), "\a", 1);
    }
  }
};

/// Null while the terminal's bell is in use.
std::atomic<AlertSound*> chosenSound{nullptr};

}  // namespace

AlertSound& AlertSound::current() {
  static auto& bell = *new TerminalBell;
  AlertSound* chosen = chosenSound.load(std::memory_order_acquire);
  return chosen != nullptr ? *chosen : bell;
}

void AlertSound::setCurrent(AlertSound* sound) {
  chosenSound.store(sound, std::memory_order_release);
}

void NSBeep() { AlertSound::current().play(); }

}  // namespace kestova
