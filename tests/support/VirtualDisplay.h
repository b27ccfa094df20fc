// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/HotKeyService.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

namespace kestova::testing {

/// A display server of a test's own, with a real keyboard layout and no screen to look at. While it
/// lives it is the display of this process, and hot keys are served by whatever is found then.
class VirtualDisplay {
 public:
  VirtualDisplay() {
    start();
    ::setenv("DISPLAY", name_.c_str(), 1);
    ::unsetenv("WAYLAND_DISPLAY");
    HotKeyService::setShared(nullptr);
  }
  ~VirtualDisplay() {
    HotKeyService::setShared(nullptr);
    ::unsetenv("DISPLAY");
    end(SIGTERM);
  }
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  /// ":7", for example.
  const std::string& name() const { return name_; }

  /// Ends the server at once, as a crash would.
  void kill() {
    end(SIGKILL);
    ::unlink(("/tmp/.X11-unix/X" + name_.substr(1)).c_str());
    ::unlink(("/tmp/.X" + name_.substr(1) + "-lock").c_str());
  }

  /// Changes the layout of the keyboard: "fr", for example.
  void setLayout(const std::string& layout) const {
    if (std::system(("setxkbmap -display " + name_ + " " + layout + " 2>/dev/null").c_str()) != 0) {
      throw std::runtime_error("setxkbmap " + layout);
    }
  }

 private:
  void start() {
    int ready[2];
    if (::pipe2(ready, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    // It ends also when this process is killed.
    std::string arguments[] = {"setpriv",    "--pdeathsig", "TERM",    "--", "Xvfb",
                               "-displayfd", "3",           "-screen", "0",  "640x480x24",
                               "-nolisten",  "tcp",         "-noreset"};
    char* pointers[std::size(arguments) + 1] = {};
    for (std::size_t i = 0; i < std::size(arguments); ++i) pointers[i] = arguments[i].data();
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ready[1], 3);
    // The compiler of its keyboard layouts complains about symbols that it doesn't know.
    ::posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const int failure = ::posix_spawnp(&server_, pointers[0], &actions, nullptr, pointers, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ready[1]);
    char byte = 0;
    for (name_ = ":"; failure == 0 && ::read(ready[0], &byte, 1) == 1 && byte != '\n';) {
      name_ += byte;
    }
    ::close(ready[0]);
    if (name_.size() < 2) throw std::runtime_error("Xvfb can't be started");
  }

  void end(int signal) {
    if (server_ <= 0) return;
    ::kill(server_, signal);
    ::waitpid(server_, nullptr, 0);
    server_ = -1;
  }

  std::string name_;
  pid_t server_ = -1;
};

/// The keys of the keyboard by their places, with the numbers that the server has for them.
enum Key : std::uint8_t {
  kKeyQ = 24,  // where an American keyboard has it; a French one has A there
  kKeyReturn = 36,
  kKeyControl = 37,
  kKeyA = 38,
  kKeyK = 45,
  kKeyL = 46,
  kKeyShift = 50,
  kKeyAlt = 64,
  kKeyCapsLock = 66,
  kKeyF1 = 67,
  kKeyNumLock = 77,
  kKeyScrollLock = 78,
  kKeySuper = 133,
};

/// Another program of the display: one that presses keys as a person does, and wants keys itself.
class DisplayClient {
 public:
  explicit DisplayClient(const VirtualDisplay& display)
      : connection_(xcb_connect(display.name().c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_.get()) != 0) {
      throw std::runtime_error("no connection to " + display.name());
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
  }

  /// Returns when the server has done it.
  void press(Key key) const { fake(XCB_KEY_PRESS, key); }
  void release(Key key) const { fake(XCB_KEY_RELEASE, key); }

  /// Returns when it has been asked for.
  void releaseSoon(Key key) const {
    xcb_test_fake_input(connection_.get(), XCB_KEY_RELEASE, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                        0);
    xcb_flush(connection_.get());
  }

  /// Presses the keys in that order and lets go of them in the opposite one.
  void type(std::initializer_list<Key> keys) const {
    for (const Key key : keys) press(key);
    for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) release(*key);
  }

  void movePointer(std::int16_t x, std::int16_t y) const {
    xcb_warp_pointer(connection_.get(), XCB_NONE, root_, 0, 0, 0, 0, x, y);
    settle();
  }

  /// Takes the combination; false when another program has it.
  bool grab(std::uint16_t modifiers, Key key) const {
    const auto cookie = xcb_grab_key_checked(connection_.get(), 0, root_, modifiers, key,
                                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_generic_error_t* error = xcb_request_check(connection_.get(), cookie);
    const bool isTaken = error == nullptr;
    std::free(error);
    return isTaken;
  }

  void ungrab(std::uint16_t modifiers, Key key) const {
    xcb_ungrab_key(connection_.get(), key, root_, modifiers);
    settle();
  }

  /// Whether no program has the key with these modifiers, or with any.
  bool isFree(Key key, std::uint16_t modifiers = XCB_MOD_MASK_ANY) const {
    const bool isFree = grab(modifiers, key);
    ungrab(modifiers, key);
    return isFree;
  }

  /// Makes a key stand for one of the modifier bits 3 to 7, alone.
  void setModifier(unsigned bit, Key key) const {
    auto* mapping = xcb_get_modifier_mapping_reply(
        connection_.get(), xcb_get_modifier_mapping(connection_.get()), nullptr);
    const unsigned width = mapping->keycodes_per_modifier;
    xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(mapping);
    for (unsigned i = 0; i < width; ++i) keys[bit * width + i] = i == 0 ? key : 0;
    std::free(xcb_set_modifier_mapping_reply(
        connection_.get(),
        xcb_set_modifier_mapping(connection_.get(), mapping->keycodes_per_modifier, keys),
        nullptr));
    std::free(mapping);
  }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  void fake(std::uint8_t type, Key key) const {
    xcb_test_fake_input(connection_.get(), type, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    settle();
  }

  void settle() const {
    std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()),
                                        nullptr));
  }

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t root_ = 0;
};

}  // namespace kestova::testing
