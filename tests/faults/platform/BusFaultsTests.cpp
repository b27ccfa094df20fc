// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSDistributedNotificationCenter.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "AllocationFaults.h"
#include "PrivateBus.h"
#include "bus/BusConnection.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

constexpr char kPath[] = "/org/kestova/test";
constexpr char kInterface[] = "org.kestova.Test";
constexpr char kRule[] = "type='signal',interface='org.kestova.Test'";

template <typename Reached>
bool runUntil(const Reached& reached) {
  const auto end = NSDate::dateWithTimeIntervalSinceNow(30);
  while (!reached() && end->timeIntervalSinceNow() > 0) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
  }
  return reached();
}

bool blocksSignals() {
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  return sigismember(&blocked, SIGTERM) == 1;
}

/// Hears notifications.
class Hearer final : public NSObject {
 public:
  void hear() { ++heard; }
  int heard = 0;
};

}  // namespace

TEST(BusConnectionFaults, WhatTheSystemRefusesIsTheErrorAndNothingStaysOpen) {
  const PrivateBus bus;
  static_cast<void>(NSRunLoop::currentRunLoop());
  const auto before = openDescriptors();
  for (const auto& [call, error] :
       {std::pair{FaultyCall::socket, EMFILE}, std::pair{FaultyCall::socket, ENFILE},
        std::pair{FaultyCall::connect, ECONNREFUSED}, std::pair{FaultyCall::connect, EACCES}}) {
    SCOPED_TRACE(nameOf(call));
    std::shared_ptr<BusConnection> connection;
    BusError found;
    const int refused = walkFaults(
        call, Fault::failing(error), FaultyThreads::own,
        [&] { connection = BusConnection::connect(BusAddress::at(bus.address()), 30, &found); },
        [&, error = error](bool met) {
          EXPECT_EQ(connection == nullptr, met);
          EXPECT_TRUE(!met || found.number == error) << found.number;
          connection = nullptr;
          EXPECT_EQ(openDescriptors(), before);
        });
    EXPECT_EQ(refused, 1);
  }
}

TEST(BusConnectionFaults, AConnectionWithoutADescriptorForItsLoopIsLostAndTellsSo) {
  const PrivateBus bus;
  const auto connection = BusConnection::connect(BusAddress::at(bus.address()), 30);
  ASSERT_NE(connection, nullptr);
  const auto loop = NSRunLoop::currentRunLoop();  // takes descriptors of its own when it is made
  bool isLost = false;
  {
    const ArmedFault full(FaultyCall::fcntl, 1, Fault::failing(EMFILE));
    connection->attachTo(loop);
    connection->setLossHandler([&] { isLost = true; });
    EXPECT_TRUE(full.wasMet());
  }
  EXPECT_TRUE(runUntil([&] { return isLost; }));
}

TEST(BusConnectionFaults, AMessageThatThereIsNoMemoryForIsALostConnectionAndNoEndOfTheProcess) {
  const PrivateBus bus;
  int lost = 0;
  int heard = 0;
  for (int nth = 1; nth <= 4; ++nth) {
    bool isOver = false;
    const auto connection = BusConnection::connect(BusAddress::at(bus.address()), 30);
    ASSERT_NE(connection, nullptr);
    connection->attachTo(NSRunLoop::currentRunLoop());
    connection->setLossHandler([&] {
      ++lost;
      isOver = true;
    });
    const auto slot = connection->subscribe(kRule, [&](const BusMessage&) {
      ++heard;
      isOver = true;
    });
    ASSERT_TRUE(connection->send(connection->newSignal(kPath, kInterface, "Told")));
    const ArmedFault none(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
    while (!isOver) {
      try {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 1, true);
      } catch (const std::bad_alloc&) {
        // A turn that has no memory is made up for by the next.
      }
    }
  }
  EXPECT_EQ(lost + heard, 4);
}

TEST(DistributedNotificationFaults, WithoutAThreadOfItsOwnACentreDoesNothingAndCanBeTriedAgain) {
  const PrivateBus bus;
  const auto centre = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  const auto hearer = make<Hearer>();
  static_cast<void>(NSRunLoop::currentRunLoop());
  const auto before = openDescriptors();
  const auto add = [&] {
    centre->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), "told", nullptr);
  };
  for (const auto& [call, error] :
       {std::pair{FaultyCall::pthread_create, EAGAIN}, std::pair{FaultyCall::eventfd, EMFILE},
        std::pair{FaultyCall::epoll_create1, ENFILE}}) {
    SCOPED_TRACE(nameOf(call));
    const ArmedFault none(call, 1, Fault::failingFromNowOn(error), FaultyThreads::all);
    EXPECT_THROW(add(), NSException);
    EXPECT_THROW(centre->postNotificationName_object("told", nullptr), NSException);
    EXPECT_TRUE(none.wasMet());
    EXPECT_FALSE(blocksSignals());
    EXPECT_EQ(openDescriptors(), before);
  }
  add();
  centre->postNotificationName_object("told", nullptr);
  EXPECT_TRUE(runUntil([&] { return hearer->heard > 0; }));
  EXPECT_EQ(hearer->heard, 1);
  centre->removeObserver(hearer.get());
}

TEST(DistributedNotificationFaults, WithoutASocketNotificationsReachThisProcess) {
  const PrivateBus bus;
  const auto centre = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  const auto hearer = make<Hearer>();
  {
    const ArmedFault full(FaultyCall::socket, 1, Fault::failingFromNowOn(EMFILE),
                          FaultyThreads::all);
    centre->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), "told", nullptr);
    centre->postNotificationName_object("told", nullptr);
    EXPECT_TRUE(full.wasMet());
  }
  EXPECT_TRUE(runUntil([&] { return hearer->heard > 0; }));
  EXPECT_EQ(hearer->heard, 1);
  // The bus is there for others as soon as a socket is.
  const auto other = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  EXPECT_TRUE(runUntil([&] {
    other->postNotificationName_object("told", nullptr);
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, true);
    return hearer->heard > 1;
  }));
  centre->removeObserver(hearer.get());
}

TEST(DistributedNotificationFaults, AnObserverThatThereIsNoMemoryForHearsNothing) {
  const PrivateBus bus;
  const auto centre = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  const auto hearer = make<Hearer>();
  const auto end = make<Hearer>();
  centre->addObserver_selector_name_object(end.get(), sel<&Hearer::hear>(), "end", nullptr);
  const int refused = walkAllocations(
      [&] {
        centre->addObserver_selector_name_object(hearer.get(), sel<&Hearer::hear>(), "told",
                                                 nullptr);
      },
      [&](bool threw) {
        hearer->heard = end->heard = 0;
        centre->postNotificationName_object("told", nullptr);
        centre->postNotificationName_object("end", nullptr);
        EXPECT_TRUE(runUntil([&] { return end->heard > 0; }));
        EXPECT_EQ(hearer->heard, threw ? 0 : 1);
        centre->removeObserver(hearer.get());
      });
  EXPECT_GT(refused, 4);
  centre->removeObserver(end.get());
}

TEST(DistributedNotificationFaults, AnObserverIsRemovedOrStaysAndTheOthersHear) {
  const PrivateBus bus;
  const auto centre = NSDistributedNotificationCenter::initWithBusAddress(bus.address());
  const auto hearer = make<Hearer>();
  const auto other = make<Hearer>();
  const auto add = [&](const Ref<Hearer>& observer, const char* name) {
    centre->addObserver_selector_name_object(observer.get(), sel<&Hearer::hear>(), name, nullptr);
  };
  for (int nth = 1, isMet = 1; isMet != 0; ++nth) {
    SCOPED_TRACE(nth);
    add(hearer, "first");
    add(other, "told");
    add(hearer, "told");
    {
      const ArmedFault none(FaultyCall::allocation, nth, Fault::failing(ENOMEM));
      try {
        centre->removeObserver(hearer.get());
      } catch (const std::bad_alloc&) {
      }
      isMet = none.wasMet() ? 1 : 0;
    }
    hearer->heard = other->heard = 0;
    centre->postNotificationName_object("told", nullptr);
    EXPECT_TRUE(runUntil([&] { return other->heard > 0; }));
    EXPECT_LE(hearer->heard, isMet);
    centre->removeObserver(hearer.get());
    centre->removeObserver(other.get());
  }
}
