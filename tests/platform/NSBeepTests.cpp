// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSBeep.h>
#include <gtest/gtest.h>

#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace kestova {
namespace {

using testing::runInChild;

class CountingSound final : public AlertSound {
 public:
  void play() override { ++plays; }

  int plays = 0;
};

TEST(NSBeepTests, PlaysTheSoundInUse) {
  CountingSound sound;
  AlertSound::setCurrent(&sound);
  EXPECT_EQ(&AlertSound::current(), &sound);
  NSBeep();
  NSBeep();
  AlertSound::setCurrent(nullptr);
  EXPECT_EQ(sound.plays, 2);
  EXPECT_NE(&AlertSound::current(), &sound);
}

TEST(NSBeepTests, WithoutATerminalItIsSilent) {
  const int status = runInChild([] {
    setsid();
    NSBeep();
    return open("/dev/tty", O_RDWR) < 0 ? 7 : 8;
  });
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

/// The first byte that appears on the terminal which a child process beeps at after `prepare`.
template <class Prepare>
char byteOnTerminal(Prepare prepare) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_GE(terminal, 0);
  EXPECT_EQ(grantpt(terminal), 0);
  EXPECT_EQ(unlockpt(terminal), 0);
  const std::string name = ptsname(terminal);
  const int held = open(name.c_str(), O_RDWR | O_NOCTTY);
  const int status = runInChild([&] {
    setsid();
    const int own = open(name.c_str(), O_RDWR | O_NOCTTY);
    if (ioctl(own, TIOCSCTTY, 0) != 0) {
      return 1;
    }
    return prepare(own);
  });
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  pollfd ready{terminal, POLLIN, 0};
  char byte = 0;
  if (poll(&ready, 1, 0) == 1) {
    EXPECT_EQ(read(terminal, &byte, 1), 1);
  }
  close(held);
  close(terminal);
  return byte;
}

TEST(NSBeepTests, RingsTheBellOfTheControllingTerminal) {
  EXPECT_EQ(byteOnTerminal([](int) {
              NSBeep();
              return 0;
            }),
            '\a');
}

TEST(NSBeepTests, InTheBackgroundATerminalThatStopsWritersDoesNotStopIt) {
  EXPECT_EQ(byteOnTerminal([](int terminal) {
              termios settings{};
              tcgetattr(terminal, &settings);
              settings.c_lflag |= TOSTOP;
              tcsetattr(terminal, TCSANOW, &settings);
              const int status = runInChild([] {
                setpgid(0, 0);
                NSBeep();
                return 0;
              });
              return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
            }),
            '\a');
}

}  // namespace
}  // namespace kestova
