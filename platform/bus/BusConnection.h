// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/NSTypes.h>
#include <KestovaPlatform/Ref.h>
#include <KestovaPlatform/RunLoopSource.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "bus/BusError.h"
#include "bus/BusMessage.h"

namespace kestova {

/// Where a bus is to be found.
class BusAddress {
 public:
  /// The user's, by DBUS_SESSION_BUS_ADDRESS or else in XDG_RUNTIME_DIR, as they are when it is
  /// connected to.
  static BusAddress session() { return BusAddress(Kind::session, {}); }
  /// The machine's; DBUS_SYSTEM_BUS_ADDRESS counts.
  static BusAddress system() { return BusAddress(Kind::system, {}); }
  /// "unix:path=/run/…", for example.
  static BusAddress at(std::string address) { return BusAddress(Kind::at, std::move(address)); }

 private:
  friend class BusConnection;
  enum class Kind { session, system, at };
  BusAddress(Kind kind, std::string address) : kind_(kind), address_(std::move(address)) {}

  Kind kind_;
  std::string address_;
};

/// What a handler is asked for by: as long as it is kept, the handler may be called. On the
/// connection's thread it is never called after its slot is gone, not even for a message that had
/// arrived. It may outlive the connection.
class [[nodiscard]] BusSlot {
 public:
  BusSlot() = default;
  explicit operator bool() const noexcept { return subscription_ != nullptr; }

 private:
  friend class BusConnection;
  struct Subscription;
  explicit BusSlot(std::shared_ptr<Subscription> subscription)
      : subscription_(std::move(subscription)) {}

  std::shared_ptr<Subscription> subscription_;
};

/// A connection to a message bus.
///
///     BusError error;
///     const auto bus = BusConnection::connect(BusAddress::session(), 1, &error);
///     if (!bus) return complain(error.text());
///     bus->attachTo(NSRunLoop::currentRunLoop());
///     changed_ = bus->subscribe("type='signal',interface='org.example.Door',member='Moved'",
///                               [](const BusMessage& signal) { … });
///     auto call = bus->newCall("org.example", "/", "org.example.Door", "Open");
///     call.append("gently");
///     BusMessage reply = bus->call(call, 5, &error);           // waits, or
///     opening_ = bus->callAsync(call, 5, [](const BusMessage& reply) { … });
///
/// Attached to a run loop it is served there in the common modes. Handlers are called by the run
/// loop and from nowhere else, never within another operation of the connection, so they may do
/// anything: call and wait, run the loop again, drop their slot or the connection. An exception
/// that leaves one leaves the run; the messages behind it come next. Each reads its message from
/// the beginning.
///
/// A lost connection stays lost: everything fails from then on, calls that wait for their answers
/// get an error at once, and the loss handler is called, once. A new one is the way on, with all
/// its slots asked for again.
///
/// Threads: one at a time; attached, only the run loop's.
///
/// After a fork the child must leave the connection alone and not destroy it either: it shares the
/// socket and the run loop's descriptors with the parent.
///
/// Cost: nothing while nothing comes: no timer but while an answer is awaited.
class BusConnection : public std::enable_shared_from_this<BusConnection> {
 public:
  using Handler = Block<void(const BusMessage&)>;

  /// Stands for "as long as it takes" where seconds are asked for.
  static constexpr NSTimeInterval kNoLimit = 1e9;

  /// A connection that the bus has answered; null with an error when there is none after so many
  /// seconds. Waits.
  static std::shared_ptr<BusConnection> connect(const BusAddress& address, NSTimeInterval timeout,
                                                BusError* error = nullptr);
  ~BusConnection();
  BusConnection(const BusConnection&) = delete;
  BusConnection& operator=(const BusConnection&) = delete;

  /// The name that the bus gave it, ":1.42" for example.
  const std::string& uniqueName() const noexcept { return uniqueName_; }

  /// Whether it is not known to be lost.
  bool isOpen() const noexcept { return !lost_; }

  /// Serves it on the calling thread's run loop from now on. Once only.
  void attachTo(const Ref<NSRunLoop>& runLoop);

  /// What is called on the run loop when the connection is lost.
  void setLossHandler(Block<void()> handler) { lossHandler_ = std::move(handler); }

  /// \name Messages to send
  /// Null where a name is malformed.
  /// @{
  BusMessage newCall(const char* destination, const char* path, const char* interface,
                     const char* member) const;
  BusMessage newSignal(const char* path, const char* interface, const char* member) const;
  /// @}
  /// \name Sending
  /// A null message is refused as a malformed one (EINVAL). Times are in seconds.
  /// @{

  /// Hands the message to the bus, or to the connection's own queue where the bus is slow to take
  /// it. False with an error when that can't be done.
  bool send(const BusMessage& message, BusError* error = nullptr);

  /// Sends the call and waits for its answer; null with an error when it is an error or doesn't
  /// come. What arrives meanwhile is handled later.
  BusMessage call(const BusMessage& call, NSTimeInterval timeout, BusError* error = nullptr);

  /// Sends the call; the handler gets the answer once, or an error as a message (see
  /// `BusMessage::error`), also when it doesn't come in time. Dropping the slot forgets the call.
  BusSlot callAsync(const BusMessage& call, NSTimeInterval timeout, Handler handler,
                    BusError* error = nullptr);

  /// @}
  /// \name Receiving
  /// An empty slot with an error when the bus refuses.
  /// @{

  /// Calls the handler for every message that fits the rule. Asks the bus for them and waits until
  /// it has agreed.
  BusSlot subscribe(const std::string& rule, Handler handler, BusError* error = nullptr);

  /// Calls the handler for every message whatever: those that `addMatch` asked for, too.
  BusSlot filter(Handler handler, BusError* error = nullptr);

  /// Asks the bus to send, or send no longer, what fits the rule; waits until it has agreed. The
  /// bus counts: each `addMatch` wants its `removeMatch`.
  bool addMatch(const std::string& rule, BusError* error = nullptr);
  bool removeMatch(const std::string& rule, BusError* error = nullptr);

  /// Calls the handler for every method call to that path of one's own, which owes an answer for
  /// each.
  BusSlot serve(const char* path, Handler handler, BusError* error = nullptr);

  /// @}

 private:
  struct Arrival {
    std::weak_ptr<BusSlot::Subscription> subscription;
    BusMessage message;
  };

  explicit BusConnection(sd_bus* bus) : bus_(bus) {}

  static int noteArrival(sd_bus_message* message, void* subscription, sd_bus_error*);
  static int noteCall(sd_bus_message* call, void* subscription, sd_bus_error*);
  static Handler handlerOf(const Arrival& arrival);
  bool awaitReady(NSTimeInterval timeout, BusError* error);
  template <class Ask>
  BusSlot slotFrom(Handler handler, BusError* error, Ask&& ask);
  bool succeeded(int result, BusError* error);
  bool callBus(const char* member, const std::string& argument, BusError* error);
  int step();
  void serveTurn();
  void deliverArrivals();
  void awaitEvents();
  void awaitWritable(bool wanted);
  void awaitMoment(std::uint64_t moment);
  Ref<RunLoopSource> sourceFor(NSUInteger events);
  void tellLoss();

  struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  };

  const std::unique_ptr<sd_bus, Unref> bus_;
  std::string uniqueName_;
  bool lost_ = false;
  Block<void()> lossHandler_;
  /// What has been read and not been told yet, for nothing is told within sd-bus.
  std::deque<Arrival> arrivals_;

  Ref<NSRunLoop> runLoop_;
  Ref<RunLoopSource> readable_;
  Ref<RunLoopSource> writable_;  // only while something waits to be written
  std::uint64_t awaitedMoment_ = UINT64_MAX;
  Ref<NSTimer> timer_;  // while a moment is awaited
};

}  // namespace kestova
