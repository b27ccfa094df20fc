// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <string>
#include <string_view>

namespace kestova {

/// Why something over a bus came to nothing; default-made, that nothing went wrong.
struct BusError {
  /// The number as in `errno`, positive: ETIMEDOUT for an answer that didn't come, ENOTCONN and
  /// ECONNRESET for a lost connection. 0 for no error.
  int number = 0;

  /// The name that the other side gave it, "org.freedesktop.DBus.Error.ServiceUnknown" for example;
  /// the bus's own name for the number where there was no other side.
  std::string name;

  /// Words for people, perhaps empty.
  std::string message;

  explicit operator bool() const noexcept { return number != 0; }

  bool is(std::string_view wanted) const noexcept { return name == wanted; }

  /// "name: message", or what there is of them.
  std::string text() const;

  /// The error of a negative result of sd-bus.
  static BusError fromResult(int result);

  /// The error that a reply or a call carries. `number` is what the bus makes of its name.
  static BusError fromReply(const sd_bus_error& error);
};

}  // namespace kestova
