// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <memory>
#include <string_view>

#include "bus/BusCoding.h"
#include "bus/BusError.h"

namespace kestova {

/// A message of a bus, received or being written. Made by BusConnection.
///
///     BusMessage call = connection->newCall("org.example", "/", "org.example.Door", "Open");
///     call.append(std::uint32_t{3}, "gently", BusDictionary{});
///     …
///     bool opened = false;
///     if (reply.read(opened)) …
///
/// What is read is checked against what stands in the message: another type, or an end too soon,
/// is false. A received message's text is valid UTF-8 and its nesting bounded; every size in it has
/// been checked by the bus's library against the bytes that are there.
///
/// Threads: those of its connection: one at a time. Copies share one message, its cursor too.
///
/// Zero: default-made it is no message, and nothing may be asked of it.
class BusMessage {
 public:
  BusMessage() = default;

  /// Takes over the count that sd-bus handed out.
  static BusMessage adopt(sd_bus_message* message) { return BusMessage(message); }
  /// Shares a message that somebody else holds.
  static BusMessage share(sd_bus_message* message) {
    return BusMessage(sd_bus_message_ref(message));
  }

  explicit operator bool() const noexcept { return message_ != nullptr; }
  sd_bus_message* get() const noexcept { return message_.get(); }

  /// \name Where it comes from and goes to
  /// Empty where the message doesn't say. Good for as long as the message lives.
  /// @{
  std::string_view sender() const { return view(sd_bus_message_get_sender(get())); }
  std::string_view path() const { return view(sd_bus_message_get_path(get())); }
  std::string_view interface() const { return view(sd_bus_message_get_interface(get())); }
  std::string_view member() const { return view(sd_bus_message_get_member(get())); }
  std::string_view signature() const { return view(sd_bus_message_get_signature(get(), 1)); }
  /// @}

  /// The error that it carries, if it is an error.
  BusError error() const {
    const sd_bus_error* const error = sd_bus_message_get_error(get());
    return error != nullptr ? BusError::fromReply(*error) : BusError();
  }

  /// Writes the values behind those that are there. False when one can't be written, text that is
  /// no UTF-8 or a path that is none; the message is no good then and won't be sent.
  template <class... Values>
  bool append(const Values&... values) {
    return detail::appendAll(get(), values...) >= 0;
  }

  /// Reads the values that come next. False when there is something else; how much was read is
  /// undefined then.
  template <class... Values>
  bool read(Values&... values) const {
    return detail::readAll(get(), values...) > 0;
  }

  /// Lets reading begin again.
  void rewind() const { sd_bus_message_rewind(get(), 1); }

 private:
  explicit BusMessage(sd_bus_message* message)
      : message_(message, [](sd_bus_message* held) { sd_bus_message_unref(held); }) {}

  static std::string_view view(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
  }

  std::shared_ptr<sd_bus_message> message_;
};

}  // namespace kestova
