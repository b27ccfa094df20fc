// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/Block.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/NSTypes.h>

#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "bus/BusConnection.h"
#include "notification/DistributedSignal.h"
#include "runloop/Moment.h"

namespace kestova {

/// The way of distributed notifications to other processes and from them: a bus connection on a
/// thread of its own, so that no thread of the program has to run its loop for it.
///
/// Without a bus it says so in one line and tries again, ever more rarely while somebody wants to
/// hear something, and whenever something is posted.
///
/// Threads: any. All operations wait until they are done; a bus that doesn't answer makes them wait
/// for some seconds, and not again soon.
class DistributedLink {
 public:
  /// Gets everything that others post and somebody here may want, on the link's thread.
  using Receiver = Block<void(const DistributedPosting&)>;

  DistributedLink(BusAddress address, Receiver receiver)
      : address_(std::move(address)), receiver_(std::move(receiver)) {}
  ~DistributedLink();
  DistributedLink(const DistributedLink&) = delete;
  DistributedLink& operator=(const DistributedLink&) = delete;

  /// Sees to the link's thread, without which nothing below works. Throws NSGenericException when
  /// the system has no thread or descriptor left for it; it may be tried again then.
  void begin();

  /// Wants to hear what a rule lets through, or no more. Counted.
  void want(const std::string& rule);
  void forget(const std::string& rule);

  /// Hands it to the bus.
  void post(const DistributedPosting& posting);

 private:
  void perform(Block<void()> block);
  void start();
  void run(std::promise<Ref<NSThread>>& started);
  bool connect();
  void use(std::shared_ptr<BusConnection> connection);
  bool ask(const std::string& rule);
  void drop();
  void giveUp(const BusError& error);
  void retryLater();
  bool send(const DistributedPosting& posting);
  void arrived(const BusMessage& message);

  const BusAddress address_;
  const Receiver receiver_;
  std::mutex starting_;  // guards the making of what follows
  std::thread thread_;
  Ref<NSThread> object_;

  // What follows is the thread's own.
  std::shared_ptr<BusConnection> connection_;
  BusSlot arrivals_;
  std::map<std::string, int> wanted_;
  Ref<NSTimer> retry_;
  NSTimeInterval pause_ = 0;
  Moment notBefore_{};
  bool isLackTold_ = false;
  bool isMalformedTold_ = false;
};

}  // namespace kestova
