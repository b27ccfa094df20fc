// SPDX-License-Identifier: Apache-2.0
#include "notification/DistributedLink.h"

#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSLog.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/RunLoopSource.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "dispatch/HeldSignals.h"

namespace kestova {
namespace {

/// All in seconds.
constexpr NSTimeInterval kConnectTimeout = 1;
constexpr NSTimeInterval kShortestPause = 0.1;
constexpr NSTimeInterval kLongestPause = 30;
/// For how long a bus that didn't answer is left alone: it must not hold up everybody who posts.
constexpr NSTimeInterval kUnansweredPause = 10;

}  // namespace

DistributedLink::~DistributedLink() {
  if (thread_.joinable()) {
    perform([this] {
      drop();
      if (retry_) {
        retry_->invalidate();
      }
      NSRunLoop::currentRunLoop()->stop();
    });
    thread_.join();
  }
}

void DistributedLink::want(const std::string& rule) {
  perform([&] {
    if (++wanted_[rule] > 1) {
      return;
    }
    try {
      if (connection_) {
        ask(rule);
      } else {
        connect();  // asks for everything that is wanted
      }
    } catch (...) {
      wanted_.erase(rule);
      throw;
    }
  });
}

void DistributedLink::forget(const std::string& rule) {
  perform([&] {
    if (--wanted_[rule] == 0) {
      wanted_.erase(rule);
      if (BusError error; connection_ && !connection_->removeMatch(rule, &error)) {
        giveUp(error);
      }
    }
  });
}

/// A loss may be noticed by nothing but a failure to send.
void DistributedLink::post(const DistributedPosting& posting) {
  perform([&] {
    if (!(connection_ && send(posting))) {
      drop();
      static_cast<void>(connect() && send(posting));
    }
  });
}

// The thread

void DistributedLink::perform(Block<void()> block) {
  begin();
  performOnThread(object_, std::move(block), true);
}

void DistributedLink::begin() {
  const std::scoped_lock lock(starting_);
  if (!thread_.joinable()) {
    start();
  }
}

/// The thread takes none of the program's signals.
void DistributedLink::start() {
  std::promise<Ref<NSThread>> started;
  auto object = started.get_future();
  try {
    const HeldSignals held;
    thread_ = std::thread([this, started = std::move(started)]() mutable { run(started); });
    object_ = object.get();
  } catch (const std::system_error& error) {
    throw NSException(NSGenericException,
                      NSString::stringWithFormat("notifications have no thread: %s",
                                                 error.code().message().c_str()));
  } catch (...) {
    if (thread_.joinable()) {
      thread_.join();
    }
    throw;
  }
}

/// What the thread lacks at its beginning is for the one who waits for it.
void DistributedLink::run(std::promise<Ref<NSThread>>& started) {
  Ref<NSRunLoop> runLoop;
  try {
    NSThread::currentThread()->setName("notifications");
    runLoop = NSRunLoop::currentRunLoop();
    runLoop->addSource_forMode(RunLoopSource::sourceWithBlock([] {}), NSRunLoopCommonModes);
  } catch (...) {
    started.set_exception(std::current_exception());
    return;
  }
  started.set_value(NSThread::currentThread());
  runLoop->run();
}

// The connection

bool DistributedLink::connect() {
  if (std::chrono::steady_clock::now() < notBefore_) {
    return false;
  }
  BusError error;
  auto connection = BusConnection::connect(address_, kConnectTimeout, &error);
  if (!connection) {
    giveUp(error);
    return false;
  }
  use(std::move(connection));
  return connection_ != nullptr;
}

void DistributedLink::use(std::shared_ptr<BusConnection> connection) {
  connection_ = std::move(connection);
  pause_ = 0;
  isLackTold_ = false;
  connection_->attachTo(NSRunLoop::currentRunLoop());
  connection_->setLossHandler([this] {
    drop();
    retryLater();
  });
  arrivals_ = connection_->filter([this](const BusMessage& message) { arrived(message); });
  for (auto rule = wanted_.begin(); rule != wanted_.end() && ask(rule->first); ++rule) {
  }
}

/// Whether the connection is still good.
bool DistributedLink::ask(const std::string& rule) {
  BusError error;
  if (connection_->addMatch(rule, &error)) {
    return true;
  }
  const bool isRefused = error.is(SD_BUS_ERROR_LIMITS_EXCEEDED);
  if (isRefused) {
    NSLog("The bus refuses to send distributed notifications: %s", error.text().c_str());
  } else {
    giveUp(error);
  }
  return isRefused;
}

void DistributedLink::drop() {
  arrivals_ = {};
  connection_ = nullptr;
}

void DistributedLink::giveUp(const BusError& error) {
  drop();
  retryLater();
  if (error.number == ETIMEDOUT) {
    notBefore_ = momentAfter(kUnansweredPause);
  }
  if (!std::exchange(isLackTold_, true)) {
    NSLog("Distributed notifications reach only this process: there is no bus (%s)",
          error.text().c_str());
  }
}

void DistributedLink::retryLater() {
  if (retry_ || wanted_.empty()) {
    return;
  }
  pause_ = std::clamp(2 * pause_, kShortestPause, kLongestPause);
  retry_ = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
      pause_, false, [this](const Ref<NSTimer>&) {
        retry_ = nullptr;
        if (!connection_ && !wanted_.empty()) {
          connect();
        }
      });
}

bool DistributedLink::send(const DistributedPosting& posting) {
  BusError error;
  const bool isSent = connection_->send(posting.messageFor(*connection_), &error);
  return isSent || error.number == EINVAL || error.number == ENOBUFS;
}

/// What this process posted it has told itself.
void DistributedLink::arrived(const BusMessage& message) {
  if (!isDistributedSignal(message) || message.sender() == connection_->uniqueName()) {
    return;
  }
  if (const auto posting = DistributedPosting::read(message)) {
    receiver_(*posting);
  } else if (!std::exchange(isMalformedTold_, true)) {
    NSLog("A malformed distributed notification of %s is ignored, as others will be",
          std::string(message.sender()).c_str());
  }
}

}  // namespace kestova
