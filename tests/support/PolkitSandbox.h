// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"

namespace kestova::testing {

/// A machine seen by one test alone: in a mount namespace of its own a real system bus, a real
/// polkitd, and a real person without rights, the user nobody. Nothing of it is left behind.
///
/// Only root can have one.
class PolkitSandbox {
 public:
  /// What is on the machine.
  enum class Services { busAndPolkit, busAlone, none };
  /// Who answers polkit's questions to the person.
  enum class Agent { none, grants, dismisses, refuses, breaksDown, breaksPolkit, breaksBus };

  Services services = Services::busAndPolkit;
  Agent agent = Agent::none;
  /// What an administrator has laid down for the action, such as "YES"; empty for nothing.
  std::string rule;
  bool hasPolicy = true;
  /// Done by root in the sandbox before the person comes.
  std::function<void()> prepare;

  /// Lets the person do something in a process of its own, and answers what that answers, 0 to 199,
  /// or which step of setting up failed, from 200 on. `/run` in the sandbox is a folder that
  /// everybody may read.
  int run(const std::function<int()>& asPerson) const {
    const int status = runInChild([&] {
      const int result = setUpFiles() ? startAndRun(asPerson) : 200;
      uncoverAll();
      return result;
    });
    return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
  }

  /// Puts a file or folder in the place of another one. For `prepare`.
  static bool cover(const std::string& source, const std::string& target) {
    return noteCovered(target, ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr));
  }

  /// How often the agent was asked.
  int questions() const { return questions_->load(); }

 private:
  static constexpr uid_t kNobody = 65534;
  static constexpr const char* kAction = "org.kestova.foundation.administer";

  /// A number that is the same in all processes that come out of this one.
  class SharedCount {
   public:
    SharedCount()
        : count_(new (::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<int>(0)) {}
    ~SharedCount() { ::munmap(count_, sizeof(std::atomic<int>)); }
    SharedCount(const SharedCount&) = delete;
    SharedCount& operator=(const SharedCount&) = delete;
    std::atomic<int>* operator->() const { return count_; }

   private:
    std::atomic<int>* count_;
  };

  /// A child process that is killed at the end.
  class Helper {
   public:
    explicit Helper(const std::function<void()>& body) : process_(::fork()) {
      if (process_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        ::_exit(255);
      }
    }
    ~Helper() {
      ::kill(process_, SIGKILL);
      ::waitpid(process_, nullptr, 0);
    }
    Helper(const Helper&) = delete;
    Helper& operator=(const Helper&) = delete;

   private:
    pid_t process_;
  };

  static void become(std::initializer_list<const char*> words) {
    std::vector<char*> pointers;
    for (const char* word : words) pointers.push_back(const_cast<char*>(word));
    pointers.push_back(nullptr);
    ::execv(pointers[0], pointers.data());
  }

  static bool coverByEmptyFolder(const char* path) {
    return noteCovered(path, ::mount("tmpfs", path, "tmpfs", 0, "mode=755"));
  }

  static bool noteCovered(const std::string& path, int result) {
    if (result == 0) covered_.push_back(path);
    return result == 0;
  }

  /// In a chroot the namespace may not be cut off from the one outside, so that mounts show there.
  static void uncoverAll() {
    for (; !covered_.empty(); covered_.pop_back()) {
      ::umount2(covered_.back().c_str(), MNT_DETACH);
    }
  }

  static void write(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
    ::chmod(path.c_str(), 0644);
  }

  /// The machine's own actions and, where it is wanted, the one of this project.
  bool setUpPolicy() const {
    namespace fs = std::filesystem;
    const fs::path actions = "/usr/share/polkit-1/actions";
    fs::create_directory("/run/actions");
    fs::copy(actions, "/run/actions");
    const std::string name = "org.kestova.foundation.policy";
    fs::remove("/run/actions/" + name);
    if (hasPolicy) fs::copy(fs::path(KESTOVA_POLKIT_FOLDER) / name, "/run/actions/" + name);
    if (!cover("/run/actions", actions)) return false;
    if (!coverByEmptyFolder("/etc/polkit-1")) return false;
    fs::create_directory("/etc/polkit-1/rules.d");
    // Root is who can be asked for, whoever else is an administrator of this machine.
    write("/etc/polkit-1/rules.d/00-administrator.rules",
          "polkit.addAdminRule(function(action, subject) { return [\"unix-user:0\"]; });\n");
    if (!rule.empty()) {
      write("/etc/polkit-1/rules.d/10-test.rules",
            std::string("polkit.addRule(function(action, subject) { if (action.id == \"") +
                kAction + "\") return polkit.Result." + rule + "; });\n");
    }
    return true;
  }

  bool setUpFiles() const {
    ::umask(022);
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (::unshare(CLONE_NEWNS) != 0) return false;
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 && errno != EINVAL) {
      return false;
    }
    if (!coverByEmptyFolder("/run") || ::mkdir("/run/dbus", 0755) != 0) return false;
    if (!setUpPolicy()) return false;
    return services != Services::busAlone ||
           coverByEmptyFolder("/usr/share/dbus-1/system-services");
  }

  /// Waits until the bus answers, and somebody has that name there where one is given.
  static bool waitForBus(const char* name) {
    for (int look = 0; look < 2000; ++look) {
      sd_bus* bus = nullptr;
      const char* unique = nullptr;
      int hasOwner = name == nullptr ? 1 : 0;
      bool answers = sd_bus_open_system(&bus) >= 0 && sd_bus_get_unique_name(bus, &unique) >= 0;
      if (answers && name != nullptr) {
        sd_bus_message* reply = nullptr;
        answers = sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                                     name) >= 0 &&
                  sd_bus_message_read(reply, "b", &hasOwner) >= 0;
        sd_bus_message_unref(reply);
      }
      sd_bus_flush_close_unref(bus);
      if (answers && hasOwner != 0) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }

  int startAndRun(const std::function<int()>& asPerson) const {
    if (prepare) prepare();
    if (services == Services::none) return runPerson(asPerson);
    const Helper bus([] {
      ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);  // it tells of limits that don't matter
      become({"/usr/bin/dbus-daemon", "--system", "--nofork", "--nopidfile", "--nosyslog"});
    });
    if (!waitForBus(nullptr)) return 201;
    if (services == Services::busAlone) return runPerson(asPerson);
    const Helper polkit([] { become({"/usr/lib/polkit-1/polkitd", "--no-debug"}); });
    return waitForBus("org.freedesktop.PolicyKit1") ? runPerson(asPerson) : 202;
  }

  int runPerson(const std::function<int()>& asPerson) const {
    int go[2];
    if (::pipe(go) != 0) return 203;
    const pid_t person = ::fork();
    if (person == 0) {
      char byte = 0;
      ::close(go[1]);
      const bool isReady = ::read(go[0], &byte, 1) == 1 && ::setgroups(0, nullptr) == 0 &&
                           ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0;
      ::_exit(isReady ? asPerson() : 204);
    }
    const int result = agent == Agent::none ? finish(person, go[1]) : runWithAgent(person, go[1]);
    ::close(go[0]);
    ::close(go[1]);
    return result;
  }

  static int finish(pid_t person, int go) {
    if (::write(go, "g", 1) != 1) return 205;
    int status = 0;
    ::waitpid(person, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 206;
  }

  int runWithAgent(pid_t person, int go) const {
    int registered[2];
    if (::pipe(registered) != 0) return 207;
    const Helper answering([&] { serveAsAgent(person, registered[1]); });
    ::close(registered[1]);
    char byte = 0;
    const bool isThere = ::read(registered[0], &byte, 1) == 1;
    ::close(registered[0]);
    if (!isThere) ::kill(person, SIGKILL);
    const int result = finish(person, go);
    return isThere ? result : 208;
  }

  void serveAsAgent(pid_t person, int registered) const {
    sd_bus* bus = nullptr;
    if (sd_bus_open_system(&bus) < 0 ||
        sd_bus_add_object(bus, nullptr, "/agent", &answerQuestion,
                          const_cast<PolkitSandbox*>(this)) < 0 ||
        sd_bus_call_method(bus, kPolkit, kAuthority, kInterface, "RegisterAuthenticationAgent",
                           nullptr, nullptr, "(sa{sv})ss", "unix-process", 3, "pid", "u",
                           static_cast<std::uint32_t>(person), "start-time", "t",
                           startTimeOf(person), "uid", "i", static_cast<std::int32_t>(kNobody), "C",
                           "/agent") < 0 ||
        ::write(registered, "r", 1) != 1) {
      return;
    }
    while (sd_bus_process(bus, nullptr) > 0 || sd_bus_wait(bus, UINT64_MAX) >= 0) {
    }
  }

  static constexpr const char* kPolkit = "org.freedesktop.PolicyKit1";
  static constexpr const char* kAuthority = "/org/freedesktop/PolicyKit1/Authority";
  static constexpr const char* kInterface = "org.freedesktop.PolicyKit1.Authority";

  static std::uint64_t startTimeOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string word;
    while (file >> word && word.back() != ')') {
    }
    for (int number = 0; number < 20; ++number) file >> word;
    return std::stoull(word);
  }

  /// Answers whether there was one to be killed.
  static bool killOwner(sd_bus* bus, const char* name) {
    sd_bus_creds* owner = nullptr;
    pid_t process = 0;
    sd_bus_get_name_creds(bus, name, SD_BUS_CREDS_PID, &owner);
    sd_bus_creds_get_pid(owner, &process);
    sd_bus_creds_unref(owner);
    return process > 0 && ::kill(process, SIGKILL) == 0;
  }

  /// Answers as the agent was told to; a granting one vouches for root's password.
  static int answerQuestion(sd_bus_message* call, void* self, sd_bus_error*) {
    const auto* sandbox = static_cast<const PolkitSandbox*>(self);
    if (sd_bus_message_is_method_call(call, nullptr, "BeginAuthentication") <= 0) return 0;
    sandbox->questions_->fetch_add(1);
    if (sandbox->agent == Agent::breaksDown) ::_exit(1);
    sd_bus* const bus = sd_bus_message_get_bus(call);
    if (sandbox->agent == Agent::breaksPolkit) {
      return killOwner(bus, sd_bus_message_get_sender(call));
    }
    if (sandbox->agent == Agent::breaksBus) {
      return killOwner(bus, "org.freedesktop.DBus");
    }
    if (sandbox->agent == Agent::dismisses) {
      return sd_bus_reply_method_errorf(call, "org.freedesktop.PolicyKit1.Error.Cancelled", "%s",
                                        "dismissed");
    }
    if (sandbox->agent == Agent::grants) {
      const char* cookie = nullptr;
      sd_bus_message_skip(call, "sssa{ss}");
      sd_bus_message_read(call, "s", &cookie);
      // The agent is root's, who registered it, or the person's in newer versions of polkit.
      for (const std::uint32_t owner : {std::uint32_t{0}, std::uint32_t{kNobody}}) {
        sd_bus_call_method(bus, kPolkit, kAuthority, kInterface, "AuthenticationAgentResponse2",
                           nullptr, nullptr, "us(sa{sv})", owner, cookie, "unix-user", 1, "uid",
                           "u", 0U);
      }
    }
    return sd_bus_reply_method_return(call, nullptr);
  }

  /// What has been mounted, in the process that does so.
  static inline std::vector<std::string> covered_;

  SharedCount questions_;
};

}  // namespace kestova::testing
