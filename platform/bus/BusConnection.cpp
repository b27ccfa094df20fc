// SPDX-License-Identifier: Apache-2.0
#include "bus/BusConnection.h"

#include <KestovaPlatform/Contract.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <new>
#include <optional>
#include <utility>

namespace kestova {
namespace {

constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";

/// How long the bus itself may take to answer.
constexpr NSTimeInterval kBusTimeout = 5;

/// How many messages are read in one turn of the run loop.
constexpr int kStepsPerTurn = 64;

/// As sd-bus takes it, where 0 would be its own default.
std::uint64_t microseconds(NSTimeInterval seconds) {
  if (seconds >= BusConnection::kNoLimit) {
    return UINT64_MAX;
  }
  return std::max<std::uint64_t>(static_cast<std::uint64_t>(std::max(seconds, 0.0) * 1e6), 1);
}

/// The monotonic clock, by which sd-bus tells its moments.
std::uint64_t now() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(sinceStart).count());
}

bool fail(int result, BusError* error) {
  if (error != nullptr) {
    *error = BusError::fromResult(result);
  }
  return false;
}

struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

}  // namespace

/// The slot goes first, so that sd-bus never calls for what is gone.
struct BusSlot::Subscription : std::enable_shared_from_this<Subscription> {
  Subscription(BusConnection& owner, BusConnection::Handler called)
      : connection(&owner), handler(std::move(called)) {}

  BusConnection* const connection;  // used only while sd-bus processes, by the connection itself
  const BusConnection::Handler handler;
  std::unique_ptr<sd_bus_slot, SlotUnref> slot;
};

// Making

std::shared_ptr<BusConnection> BusConnection::connect(const BusAddress& address,
                                                      NSTimeInterval timeout, BusError* error) {
  sd_bus* bus = nullptr;
  int result = 0;
  if (address.kind_ == BusAddress::Kind::session) {
    result = sd_bus_open_user(&bus);
  } else if (address.kind_ == BusAddress::Kind::system) {
    result = sd_bus_open_system(&bus);
  } else if ((result = sd_bus_new(&bus)) >= 0 &&
             (result = sd_bus_set_address(bus, address.address_.c_str())) >= 0 &&
             (result = sd_bus_set_bus_client(bus, 1)) >= 0) {
    result = sd_bus_start(bus);
  }
  const std::shared_ptr<BusConnection> connection(bus != nullptr ? new BusConnection(bus)
                                                                 : nullptr);
  if (result < 0) {
    fail(result, error);
    return nullptr;
  }
  return connection->awaitReady(timeout, error) ? connection : nullptr;
}

BusConnection::~BusConnection() {
  for (const auto& source : {readable_, writable_}) {
    if (source) {
      source->invalidate();
    }
  }
  if (timer_) {
    timer_->invalidate();
  }
}

/// An open socket proves no bus: only its answer does.
bool BusConnection::awaitReady(NSTimeInterval timeout, BusError* error) {
  const std::uint64_t limit = microseconds(timeout);
  const std::uint64_t end = limit == UINT64_MAX ? limit : now() + limit;
  while (sd_bus_is_ready(bus_.get()) == 0) {
    int result = sd_bus_process(bus_.get(), nullptr);
    if (result == 0) {
      const std::uint64_t moment = now();
      result = moment < end ? sd_bus_wait(bus_.get(), end - moment) : -ETIMEDOUT;
    }
    if (result < 0 && result != -EINTR) {
      return fail(result, error);
    }
  }
  const char* name = nullptr;
  if (const int result = sd_bus_get_unique_name(bus_.get(), &name); result < 0) {
    return fail(result, error);
  }
  uniqueName_ = name;
  return true;
}

// Messages

BusMessage BusConnection::newCall(const char* destination, const char* path, const char* interface,
                                  const char* member) const {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(bus_.get(), &message, destination, path, interface, member);
  return message != nullptr ? BusMessage::adopt(message) : BusMessage();
}

BusMessage BusConnection::newSignal(const char* path, const char* interface,
                                    const char* member) const {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_signal(bus_.get(), &message, path, interface, member);
  return message != nullptr ? BusMessage::adopt(message) : BusMessage();
}

// Sending

bool BusConnection::succeeded(int result, BusError* error) {
  awaitEvents();
  return result >= 0 || fail(result, error);
}

bool BusConnection::send(const BusMessage& message, BusError* error) {
  return succeeded(message ? sd_bus_send(bus_.get(), message.get(), nullptr) : -EINVAL, error);
}

BusMessage BusConnection::call(const BusMessage& call, NSTimeInterval timeout, BusError* error) {
  std::optional<BusMessage> answer;
  const auto keep = [](sd_bus_message* message, void* place, sd_bus_error*) {
    *static_cast<std::optional<BusMessage>*>(place) = BusMessage::share(message);
    return 1;
  };
  sd_bus_slot* made = nullptr;
  int result =
      call ? sd_bus_call_async(bus_.get(), &made, call.get(), keep, &answer, microseconds(timeout))
           : -EINVAL;
  const std::unique_ptr<sd_bus_slot, SlotUnref> slot(made);
  while (result >= 0 && !answer) {
    result = step();
    if (result == 0) {
      result = sd_bus_wait(bus_.get(), UINT64_MAX);
    }
    result = result == -EINTR ? 0 : result;
  }
  if (!succeeded(result, error)) {
    return {};
  }
  if (BusError failure = answer->error()) {
    if (error != nullptr) {
      *error = std::move(failure);
    }
    return {};
  }
  return *std::move(answer);
}

BusSlot BusConnection::callAsync(const BusMessage& call, NSTimeInterval timeout, Handler handler,
                                 BusError* error) {
  return slotFrom(std::move(handler), error, [&](sd_bus_slot** slot, void* noted) {
    return call ? sd_bus_call_async(bus_.get(), slot, call.get(), noteArrival, noted,
                                    microseconds(timeout))
                : -EINVAL;
  });
}

// Receiving

/// What `ask` asks sd-bus for, with a handler for what comes of it.
template <class Ask>
BusSlot BusConnection::slotFrom(Handler handler, BusError* error, Ask&& ask) {
  require(handler != nullptr, "handler != nil");
  auto subscription = std::make_shared<BusSlot::Subscription>(*this, std::move(handler));
  sd_bus_slot* slot = nullptr;
  const int result = ask(&slot, subscription.get());
  subscription->slot.reset(slot);
  return succeeded(result, error) ? BusSlot(std::move(subscription)) : BusSlot();
}

BusSlot BusConnection::subscribe(const std::string& rule, Handler handler, BusError* error) {
  return slotFrom(std::move(handler), error, [&](sd_bus_slot** slot, void* noted) {
    return sd_bus_add_match(bus_.get(), slot, rule.c_str(), noteArrival, noted);
  });
}

BusSlot BusConnection::filter(Handler handler, BusError* error) {
  return slotFrom(std::move(handler), error, [&](sd_bus_slot** slot, void* noted) {
    return sd_bus_add_filter(bus_.get(), slot, noteArrival, noted);
  });
}

BusSlot BusConnection::serve(const char* path, Handler handler, BusError* error) {
  return slotFrom(std::move(handler), error, [&](sd_bus_slot** slot, void* noted) {
    return sd_bus_add_object(bus_.get(), slot, path, noteCall, noted);
  });
}

bool BusConnection::callBus(const char* member, const std::string& argument, BusError* error) {
  BusMessage message = newCall(kBusName, kBusPath, kBusName, member);
  if (!message || !message.append(argument)) {
    return fail(-EINVAL, error);
  }
  return static_cast<bool>(call(message, kBusTimeout, error));
}

bool BusConnection::addMatch(const std::string& rule, BusError* error) {
  return callBus("AddMatch", rule, error);
}

bool BusConnection::removeMatch(const std::string& rule, BusError* error) {
  return callBus("RemoveMatch", rule, error);
}

// Serving

/// Leaves the message to others as well: several may want it. No exception may pass through sd-bus,
/// and a connection that has lost a message is lost.
int BusConnection::noteArrival(sd_bus_message* message, void* noted, sd_bus_error*) {
  auto* const subscription = static_cast<BusSlot::Subscription*>(noted);
  BusConnection& connection = *subscription->connection;
  try {
    connection.arrivals_.push_back({subscription->weak_from_this(), BusMessage::share(message)});
  } catch (const std::bad_alloc&) {
    connection.lost_ = true;
  }
  return 0;
}

/// A call is answered by its handler and nobody else.
int BusConnection::noteCall(sd_bus_message* call, void* noted, sd_bus_error* error) {
  noteArrival(call, noted, error);
  return 1;
}

/// One message or one step of the protocol; 0 when there is none, negative once the bus is lost and
/// everybody who waits has been told so.
int BusConnection::step() {
  const int result = sd_bus_process(bus_.get(), nullptr);
  lost_ = lost_ || result < 0;
  return lost_ && result >= 0 ? -ENOTCONN : result;
}

/// A source that serves the connection. Where none can be made, since the socket is lost or there
/// are no descriptors left, the connection is lost and the source there to tell so.
Ref<RunLoopSource> BusConnection::sourceFor(NSUInteger events) {
  const auto serve = [weak = weak_from_this()] {
    if (const auto connection = weak.lock()) {
      connection->serveTurn();
    }
  };
  Ref<RunLoopSource> source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
      sd_bus_get_fd(bus_.get()), events, [serve](NSUInteger) { serve(); });
  if (!source) {
    lost_ = true;
    source = RunLoopSource::sourceWithBlock(serve);
    source->signal();
  }
  return source;
}

void BusConnection::attachTo(const Ref<NSRunLoop>& runLoop) {
  require(runLoop_ == nullptr, "not attached yet");
  readable_ = sourceFor(RunLoopDescriptorReadable);
  runLoop_ = runLoop;
  runLoop_->addSource_forMode(readable_, NSRunLoopCommonModes);
  awaitEvents();
}

/// A turn that an exception leaves, be it for lack of memory, is made up for by another one.
void BusConnection::serveTurn() try {
  int result = 1;
  for (int steps = 0; result > 0 && steps < kStepsPerTurn; ++steps) {
    result = step();
  }
  awaitEvents();
  deliverArrivals();
} catch (...) {
  readable_->signal();
  throw;
}

/// Not held by its subscription, which a handler may end.
BusConnection::Handler BusConnection::handlerOf(const Arrival& arrival) {
  const auto subscription = arrival.subscription.lock();
  return subscription ? subscription->handler : nullptr;
}

/// Whatever a handler does, what follows comes in this turn or a later one.
void BusConnection::deliverArrivals() {
  if (arrivals_.size() > 1) {
    readable_->signal();
  }
  while (!arrivals_.empty()) {
    const Arrival arrival = std::move(arrivals_.front());
    arrivals_.pop_front();
    if (const Handler handler = handlerOf(arrival)) {
      arrival.message.rewind();  // another handler may have read it
      handler(arrival.message);
    }
  }
  if (lost_) {
    tellLoss();
  }
}

/// The lost socket would report itself again and again.
void BusConnection::tellLoss() {
  readable_->invalidate();
  if (const Block<void()> handler = std::exchange(lossHandler_, nullptr)) {
    handler();
  }
}

/// Lets the run loop wait for what sd-bus waits for. Asked for after everything that may have
/// changed that.
void BusConnection::awaitEvents() {
  const int events = sd_bus_get_events(bus_.get());
  lost_ = lost_ || events < 0;
  if (!runLoop_) {
    return;
  }
  std::uint64_t moment = UINT64_MAX;
  if (lost_) {
    readable_->signal();
  } else {
    sd_bus_get_timeout(bus_.get(), &moment);
  }
  awaitWritable(!lost_ && (events & POLLOUT) != 0);
  awaitMoment(moment);
}

void BusConnection::awaitWritable(bool wanted) {
  if (wanted && !writable_) {
    writable_ = sourceFor(RunLoopDescriptorWritable);
    runLoop_->addSource_forMode(writable_, NSRunLoopCommonModes);
  } else if (!wanted && writable_) {
    std::exchange(writable_, nullptr)->invalidate();
  }
}

void BusConnection::awaitMoment(std::uint64_t moment) {
  if (moment <= now()) {
    readable_->signal();
    moment = UINT64_MAX;
  }
  if (moment == awaitedMoment_) {
    return;
  }
  awaitedMoment_ = UINT64_MAX;
  if (timer_) {
    std::exchange(timer_, nullptr)->invalidate();
  }
  if (moment != UINT64_MAX) {
    timer_ = NSTimer::timerWithTimeInterval_repeats_block(
        static_cast<NSTimeInterval>(moment - now()) / 1e6, false,
        [weak = weak_from_this()](const Ref<NSTimer>&) {
          if (const auto connection = weak.lock()) {
            connection->awaitedMoment_ = UINT64_MAX;
            connection->serveTurn();
          }
        });
    runLoop_->addTimer_forMode(timer_, NSRunLoopCommonModes);
    awaitedMoment_ = moment;
  }
}

}  // namespace kestova
