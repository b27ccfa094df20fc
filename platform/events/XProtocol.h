// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace kestova {

struct XDisconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XConnection = std::unique_ptr<xcb_connection_t, XDisconnect>;

struct XFree {
  void operator()(void* memory) const { std::free(memory); }
};
/// A reply, an event or an error as the X library hands it over.
template <class T>
using XAnswer = std::unique_ptr<T, XFree>;

}  // namespace kestova
