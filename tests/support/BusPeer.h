// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "bus/BusConnection.h"

namespace kestova::testing {

/// \name What a program does that others call over a bus
/// @{

/// The answer to a call, to be written and sent.
inline BusMessage newReply(const BusMessage& call) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_return(call.get(), &message);
  return message != nullptr ? BusMessage::adopt(message) : BusMessage();
}

inline BusMessage newErrorReply(const BusMessage& call, const char* name, const char* text) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_errorf(call.get(), &message, name, "%s", text);
  return message != nullptr ? BusMessage::adopt(message) : BusMessage();
}

/// Asks for a well-known name, and waits. False when the bus refuses; another owner is waited
/// behind.
inline bool requestName(BusConnection& connection, const char* name) {
  constexpr const char* kBus = "org.freedesktop.DBus";
  BusMessage request = connection.newCall(kBus, "/org/freedesktop/DBus", kBus, "RequestName");
  request.append(name, std::uint32_t{0});
  return static_cast<bool>(connection.call(request, 10));
}

/// @}

}  // namespace kestova::testing
