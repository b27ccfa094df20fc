// SPDX-License-Identifier: Apache-2.0
// Sends arbitrary bytes as the body of a distributed notification's message. What is accepted is
// within the limits and comes back the same when it is written and read again.
#include <KestovaPlatform/NSDictionary.h>
#include <KestovaPlatform/NSNotification.h>
#include <sys/socket.h>
#include <unistd.h>

#include "notification/DistributedSignal.h"
#include "notification/DistributedUserInfo.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {
namespace {

/// Two ends of a connection without a bus between them.
class Ends {
 public:
  Ends() {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, sockets_) != 0) {
      std::abort();
    }
    sd_bus_new(&sender_);
    sd_bus_set_fd(sender_, sockets_[0], sockets_[0]);
    sd_bus_set_server(sender_, 1, {});
    sd_bus_set_anonymous(sender_, 1);
    sd_bus_start(sender_);
    sd_bus_new(&receiver_);
    sd_bus_set_fd(receiver_, sockets_[1], sockets_[1]);
    sd_bus_set_anonymous(receiver_, 1);
    sd_bus_add_filter(receiver_, nullptr, &Ends::keep, &arrived_);
    sd_bus_start(receiver_);
    while (sd_bus_is_ready(receiver_) == 0) {
      sd_bus_process(sender_, nullptr);
      sd_bus_process(receiver_, nullptr);
    }
  }
  ~Ends() {
    arrived_ = {};
    sd_bus_close_unref(sender_);
    sd_bus_close_unref(receiver_);
  }

  /// What arrives of these bytes; nothing when they are no message.
  BusMessage carry(std::string_view bytes) {
    arrived_ = {};
    while (!bytes.empty()) {
      const ssize_t count = ::write(sockets_[0], bytes.data(), bytes.size());
      bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
      if (!process()) {
        return {};
      }
    }
    return process() ? std::move(arrived_) : BusMessage();
  }

  /// An empty message to write to.
  BusMessage newMessage() const {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_signal(sender_, &message, "/a", "a.b", "C");
    return BusMessage::adopt(message);
  }

 private:
  static int keep(sd_bus_message* message, void* place, sd_bus_error*) {
    *static_cast<BusMessage*>(place) = BusMessage::share(message);
    return 1;
  }

  bool process() {
    int result = 1;
    while (result > 0) {
      result = sd_bus_process(receiver_, nullptr);
    }
    return result == 0;
  }

  int sockets_[2] = {};
  sd_bus* sender_ = nullptr;
  sd_bus* receiver_ = nullptr;
  BusMessage arrived_;
};

/// The bytes of a message in little-endian order.
class Bytes {
 public:
  void number(std::uint32_t value) {
    pad(4);
    for (int shift = 0; shift < 32; shift += 8) {
      bytes_ += static_cast<char>(value >> shift);
    }
  }
  void field(char code, char type, std::string_view text) {
    pad(8);
    bytes_ += {code, 1, type, 0};
    if (type == 'g') {
      bytes_ += static_cast<char>(text.size());
    } else {
      number(static_cast<std::uint32_t>(text.size()));
    }
    bytes_ += text;
    bytes_ += '\0';
  }
  void pad(std::size_t alignment) {
    while (bytes_.size() % alignment != 0) {
      bytes_ += '\0';
    }
  }
  void append(std::string_view bytes) { bytes_ += bytes; }
  std::string& get() { return bytes_; }

 private:
  std::string bytes_;
};

std::string messageWith(std::string_view body) {
  constexpr std::size_t kFieldsLength = 12;
  Bytes message;
  message.append(std::string_view("l\4\1\1", 4));
  message.number(static_cast<std::uint32_t>(body.size()));
  message.number(1);
  message.number(0);
  message.field(1, 'o', "/org/kestova/DistributedNotifications");
  message.field(2, 's', "org.kestova.DistributedNotifications1");
  message.field(3, 's', "Posted");
  message.field(8, 'g', "ssua{sv}");
  const auto length = static_cast<std::uint32_t>(message.get().size() - kFieldsLength - 4);
  std::memcpy(message.get().data() + kFieldsLength, &length, sizeof length);
  message.pad(8);
  message.append(body);
  return std::move(message.get());
}

void require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void checkAccepted(const Ends& ends, const DistributedPosting& posting) {
  const auto& values = posting.notification->userInfo();
  const auto again = DistributedUserInfo::of(values);  // throws nothing
  require(again.weight <= kHeaviestUserInfo && again.weight <= posting.weight);
  const BusMessage message = ends.newMessage();
  DistributedUserInfo back;
  require(again.append(message));
  require(sd_bus_message_seal(message.get(), 1, 0) >= 0 && back.read(message));
  require(values == nullptr || back.values->isEqual(values));
}

}  // namespace
}  // namespace kestova

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::optional<kestova::Ends> ends;
  if (!ends) {
    ends.emplace();
  }
  const auto message =
      ends->carry(kestova::messageWith({reinterpret_cast<const char*>(data), size}));
  if (!message) {
    std::abort();  // the frame is well-formed, whatever is in it
  }
  if (const auto posting = kestova::DistributedPosting::read(message)) {
    kestova::checkAccepted(*ends, *posting);
  }
  return 0;
}
