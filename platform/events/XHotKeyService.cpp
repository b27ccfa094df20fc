// SPDX-License-Identifier: Apache-2.0
#include "events/XHotKeyService.h"

#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "events/KeyTable.h"
#include "events/XKeyboardProtocol.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kestova {
namespace {

/// The bit that tells events which another client made up.
constexpr std::uint8_t kSentEvent = 0x80;

xcb_window_t rootOf(xcb_connection_t* connection, int screenNumber) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
    xcb_screen_next(&screens);
  }
  return screens.data->root;
}

NSPoint locationOf(const xcb_key_press_event_t& event) {
  return NSMakePoint(event.root_x, event.root_y);
}

OSStatus statusOf(const xcb_generic_error_t& error) {
  return error.error_code == XCB_ACCESS ? eventHotKeyExistsErr : eventInternalErr;
}

}  // namespace

std::shared_ptr<HotKeyService> XHotKeyService::connect(std::string& reason) {
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') {
    reason = "DISPLAY is not set";
    return nullptr;
  }
  int screen = 0;
  XConnection connection(xcb_connect(display, &screen));
  if (xcb_connection_has_error(connection.get()) != 0) {
    reason = "the display " + std::string(display) + " can't be reached";
    return nullptr;
  }
  const xcb_window_t root = rootOf(connection.get(), screen);
  std::shared_ptr<XHotKeyService> service(
      new XHotKeyService(std::move(connection), root, "the X server " + std::string(display)));
  if (!service->prepareKeyboard() || !service->watchConnection()) {
    reason = "the display " + std::string(display) + " doesn't tell about its keyboard";
    return nullptr;
  }
  return service;
}

XHotKeyService::XHotKeyService(XConnection connection, xcb_window_t root, std::string name)
    : connection_(std::move(connection)), root_(root), name_(std::move(name)) {}

XHotKeyService::~XHotKeyService() {
  if (source_ != nullptr) {
    source_->invalidate();
  }
}

bool XHotKeyService::prepareKeyboard() {
  const bool hasExtension = xkb_x11_setup_xkb_extension(
                                connection_.get(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, &firstKeyboardEvent_, nullptr) == 1;
  if (!hasExtension || !selectKeyboardChanges() || !reportOneRepeatOnly()) {
    return false;
  }
  auto keyboard = XKeyboard::read(connection_.get());
  if (!keyboard) {
    return false;
  }
  keyboard_ = std::move(*keyboard);
  return true;
}

/// To be done before the keyboard is read: a change in between is then told.
bool XHotKeyService::selectKeyboardChanges() {
  constexpr std::uint16_t kChanges =
      XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t kMapParts =
      XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP |
      XCB_XKB_MAP_PART_VIRTUAL_MODS | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
  const auto cookie =
      xcb_xkb_select_events_checked(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, kChanges, 0,
                                    kChanges, kMapParts, kMapParts, nullptr);
  return XAnswer<xcb_generic_error_t>(xcb_request_check(connection_.get(), cookie)) == nullptr;
}

/// While a key repeats the server then tells presses, but no release before the real one.
bool XHotKeyService::reportOneRepeatOnly() {
  constexpr std::uint32_t kFlag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
  const XAnswer<xcb_xkb_per_client_flags_reply_t> reply(xcb_xkb_per_client_flags_reply(
      connection_.get(),
      xcb_xkb_per_client_flags(connection_.get(), XCB_XKB_ID_USE_CORE_KBD, kFlag, kFlag, 0, 0, 0),
      nullptr));
  return reply != nullptr && (reply->value & kFlag) != 0;
}

bool XHotKeyService::watchConnection() {
  source_ = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
      xcb_get_file_descriptor(connection_.get()), RunLoopDescriptorReadable,
      [this](NSUInteger) { takeEvent(); });
  if (source_ == nullptr) {
    return false;
  }
  NSRunLoop::mainRunLoop()->addSource_forMode(source_, NSRunLoopCommonModes);
  source_->signal();
  return true;
}

XHotKeyService::Combination XHotKeyService::combinationOf(const EventHotKey& hotKey,
                                                          const XKeyboard& keyboard) {
  const xcb_keycode_t key = keyboard.keyFor(hotKey.keyCode);
  return key == 0 ? Combination{} : Combination{key, keyboard.modifiersFor(hotKey.modifiers)};
}

OSStatus XHotKeyService::registerHotKey(EventHotKeyRef hotKey) {
  const Combination combination = combinationOf(*hotKey, keyboard_);
  if (combination.key == 0) {
    return eventHotKeyInvalidErr;
  }
  HotKeys registered{{hotKey, Combination{}}};
  const OSStatus status = grabFor(*registered.begin(), combination);
  if (status == noErr) {
    hotKeys_.merge(registered);
  }
  return status;
}

/// Nothing behind the grab needs memory: a key that is grabbed is always known.
OSStatus XHotKeyService::grabFor(HotKeys::value_type& hotKey, Combination combination) {
  if (byCombination_.contains(combination.number())) {
    return eventHotKeyExistsErr;
  }
  decltype(byCombination_) grabbed{{combination.number(), hotKey.first}};
  const OSStatus status = grab(combination);
  if (status == noErr) {
    hotKey.second = combination;
    byCombination_.merge(grabbed);
  }
  return status;
}

/// All or nothing, whichever of the locks are on. The requests go out together: the first answer
/// costs a round trip, the others have come with it.
OSStatus XHotKeyService::grab(Combination combination) {
  std::vector<xcb_void_cookie_t> cookies;
  cookies.reserve(keyboard_.lockStates().size());
  for (const std::uint16_t locks : keyboard_.lockStates()) {
    cookies.push_back(xcb_grab_key_checked(
        connection_.get(), 0, root_, static_cast<std::uint16_t>(combination.modifiers | locks),
        combination.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  }
  OSStatus status = noErr;
  for (const xcb_void_cookie_t cookie : cookies) {
    const XAnswer<xcb_generic_error_t> error(xcb_request_check(connection_.get(), cookie));
    status = error != nullptr && status == noErr ? statusOf(*error) : status;
  }
  if (status != noErr) {
    ungrab(combination);
  }
  settle();
  return xcb_connection_has_error(connection_.get()) != 0 ? OSStatus{eventInternalErr} : status;
}

/// Of the keyboard as it was when the combination was grabbed.
void XHotKeyService::ungrab(Combination combination) {
  for (const std::uint16_t locks : keyboard_.lockStates()) {
    xcb_ungrab_key(connection_.get(), combination.key, root_,
                   static_cast<std::uint16_t>(combination.modifiers | locks));
  }
}

/// Waits until the server has done all that it was asked for. What has come meanwhile makes the
/// descriptor ready no more, so the next turn looks for it.
void XHotKeyService::settle() {
  const XAnswer<xcb_get_input_focus_reply_t> done(xcb_get_input_focus_reply(
      connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  source_->signal();
}

void XHotKeyService::letGo(Combination combination) {
  if (combination.key != 0) {
    byCombination_.erase(combination.number());
    ungrab(combination);
  }
}

/// When it returns, another client can have the key.
void XHotKeyService::unregisterHotKey(EventHotKeyRef hotKey) {
  std::erase_if(held_, [hotKey](const auto& held) { return held.second == hotKey; });
  const auto found = hotKeys_.find(hotKey);
  if (found != hotKeys_.end()) {
    letGo(found->second);
    hotKeys_.erase(found);
    settle();
  }
}

/// One event a turn: whatever handlers do, throw or run the loop themselves, the next event is
/// asked for already.
void XHotKeyService::takeEvent() {
  const XAnswer<xcb_generic_event_t> event(xcb_poll_for_event(connection_.get()));
  if (event != nullptr) {
    source_->signal();
    handle(*event);
  } else {
    handleEmptyQueue();
  }
}

void XHotKeyService::handle(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type;
  if ((type & kSentEvent) != 0) {
    return;
  }
  if (type == XCB_KEY_PRESS) {
    handlePress(reinterpret_cast<const xcb_key_press_event_t&>(event));
  } else if (type == XCB_KEY_RELEASE) {
    handleRelease(reinterpret_cast<const xcb_key_release_event_t&>(event));
  } else if (type == firstKeyboardEvent_) {
    isKeyboardStale_ = true;
  }
}

void XHotKeyService::handlePress(const xcb_key_press_event_t& event) {
  const Combination pressed{event.detail, keyboard_.significantBits(event.state)};
  const auto found = byCombination_.find(pressed.number());
  if (found != byCombination_.end() && held_.emplace(event.detail, found->second).second) {
    found->second->send(kEventHotKeyPressed, keyboard_.hotKeyModifiersIn(event.state),
                        locationOf(event));
  }
}

/// By the key alone: the modifier keys may have gone up first.
void XHotKeyService::handleRelease(const xcb_key_release_event_t& event) {
  const auto found = held_.find(event.detail);
  if (found != held_.end()) {
    const EventHotKeyRef hotKey = found->second;
    held_.erase(found);
    hotKey->send(kEventHotKeyReleased, keyboard_.hotKeyModifiersIn(event.state), locationOf(event));
  }
}

/// A change of the keyboard is told in many events: it is followed when they have all come.
void XHotKeyService::handleEmptyQueue() {
  if (xcb_connection_has_error(connection_.get()) != 0) {
    loseConnection();
  } else if (std::exchange(isKeyboardStale_, false)) {
    followKeyboard();
  }
}

/// All keys that moved are given back before any is taken: they may have changed places.
void XHotKeyService::followKeyboard() {
  auto keyboard = XKeyboard::read(connection_.get());
  source_->signal();
  if (!keyboard) {
    return;
  }
  const auto moved = hotKeysMovedBy(*keyboard);
  for (HotKeys::value_type* const hotKey : moved) {
    letGo(std::exchange(hotKey->second, Combination{}));
  }
  keyboard_ = std::move(*keyboard);
  for (HotKeys::value_type* const hotKey : moved) {
    grabAgain(*hotKey);
  }
}

std::vector<XHotKeyService::HotKeys::value_type*> XHotKeyService::hotKeysMovedBy(
    const XKeyboard& keyboard) {
  const bool areLocksOthers = keyboard.lockStates() != keyboard_.lockStates();
  std::vector<HotKeys::value_type*> moved;
  for (auto& hotKey : hotKeys_) {
    if (areLocksOthers || combinationOf(*hotKey.first, keyboard) != hotKey.second) {
      moved.push_back(&hotKey);
    }
  }
  return moved;
}

/// A hot key that can't be had now waits for the next change of the keyboard.
void XHotKeyService::grabAgain(HotKeys::value_type& hotKey) {
  const Combination combination = combinationOf(*hotKey.first, keyboard_);
  if (combination.key == 0) {
    NSLog("Hot keys: the keyboard has no key for %s any more", combinationText(*hotKey.first));
  } else if (grabFor(hotKey, combination) != noErr) {
    NSLog("Hot keys: with the keyboard's new layout another program has %s",
          combinationText(*hotKey.first));
  }
}

void XHotKeyService::loseConnection() {
  NSLog("Hot keys: the connection to %s was lost", name_);
  isLive_ = false;
  held_.clear();
  source_->invalidate();
}

}  // namespace kestova
