// SPDX-License-Identifier: Apache-2.0
#include "bus/BusError.h"

#include <cerrno>

namespace kestova {

std::string BusError::text() const {
  if (name.empty() || message.empty()) {
    return name + message;
  }
  return name + ": " + message;
}

BusError BusError::fromResult(int result) {
  sd_bus_error error{};
  sd_bus_error_set_errno(&error, result);
  BusError made = fromReply(error);
  made.number = -result;
  sd_bus_error_free(&error);
  return made;
}

BusError BusError::fromReply(const sd_bus_error& error) {
  const int number = sd_bus_error_get_errno(&error);
  return {number > 0 ? number : EIO, error.name != nullptr ? error.name : "",
          error.message != nullptr ? error.message : ""};
}

}  // namespace kestova
