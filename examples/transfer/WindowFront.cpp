// SPDX-License-Identifier: Apache-2.0
#include "WindowFront.h"

#include <xcb/xcb.h>
#include <QGuiApplication>
#include <QWidget>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr char kActivation[] = "_NET_ACTIVE_WINDOW";
constexpr std::uint32_t kAskedByThePerson = 2;

xcb_atom_t atomNamed(xcb_connection_t* server, const char* name) {
  const auto cookie = xcb_intern_atom(server, 0, std::strlen(name), name);
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(server, cookie, nullptr), &std::free);
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// Window managers refuse the keyboard to a program whose last key or click is older than those of
/// others, as it is here. This says that the wish is the person's.
void askWindowManager(xcb_connection_t* server, xcb_window_t window) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = atomNamed(server, kActivation);
  message.data.data32[0] = kAskedByThePerson;
  xcb_send_event(server, 0, xcb_setup_roots_iterator(xcb_get_setup(server)).data->root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(server);
}

}  // namespace

void bringToFront(QWidget& window) {
  window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
  window.show();
  window.raise();
  window.activateWindow();
  if (const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()) {
    askWindowManager(x11->connection(), static_cast<xcb_window_t>(window.winId()));
  }
}
