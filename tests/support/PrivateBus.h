// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string>

#include "TemporaryFolder.h"

namespace kestova::testing {

/// A message bus of a test's own, with a real daemon, in a temporary folder. It allows everybody
/// everything, as a session's bus does, whatever it stands for.
///
/// It can be killed and started again at the same address.
class PrivateBus {
 public:
  /// Whose place it takes: that of the user's bus or that of the machine's.
  enum class Type { session, system };

  explicit PrivateBus(Type type = Type::session) {
    configuration_ = folder_.write(
        "bus.conf",
        "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
        "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n<busconfig><type>" +
            std::string(type == Type::session ? "session" : "system") + "</type><listen>" +
            address() +
            "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
            "<allow user=\"*\"/><allow own=\"*\"/><allow send_type=\"method_call\"/>"
            "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
            "</policy></busconfig>\n");
    start();
  }
  ~PrivateBus() { kill(); }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  std::string address() const { return "unix:path=" + folder_.at("bus"); }

  /// Starts the daemon, and returns when it can be connected to.
  void start() {
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    std::string arguments[] = {"dbus-daemon",
                               "--nofork",
                               "--nopidfile",
                               "--nosyslog",
                               "--config-file=" + configuration_,
                               "--print-address=3"};
    char* pointers[std::size(arguments) + 1] = {};
    for (std::size_t i = 0; i < std::size(arguments); ++i) pointers[i] = arguments[i].data();
    daemon_ = ::fork();
    if (daemon_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // so that it doesn't outlive a test that crashes
      ::dup2(ready[1], 3);
      ::fcntl(3, F_SETFD, 0);
      // It complains when it may not raise its limits, and about clients that are killed.
      ::dup2(::open("/dev/null", O_WRONLY), 2);
      ::execvp(pointers[0], pointers);
      ::_exit(127);
    }
    ::close(ready[1]);
    char line[512];
    const bool started = ::read(ready[0], line, sizeof line) > 0;
    ::close(ready[0]);
    if (!started) throw std::runtime_error("dbus-daemon can't be started");
  }

  /// Ends the daemon at once, as a crash would.
  void kill() { end(SIGKILL); }

  /// Lets the daemon end in good order.
  void stop() { end(SIGTERM); }

  /// Lets the daemon stand still, and go on.
  void freeze() const { ::kill(daemon_, SIGSTOP); }
  void thaw() const { ::kill(daemon_, SIGCONT); }

 private:
  void end(int signal) {
    if (daemon_ <= 0) return;
    ::kill(daemon_, signal);
    ::waitpid(daemon_, nullptr, 0);
    daemon_ = -1;
  }

  const TemporaryFolder folder_;
  std::string configuration_;
  pid_t daemon_ = -1;
};

}  // namespace kestova::testing
