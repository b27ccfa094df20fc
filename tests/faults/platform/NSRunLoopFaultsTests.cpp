// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>

#include "AllocationFaults.h"
#include "CountingObject.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Runs a function on a thread of its own, where no run loop has been made yet.
template <typename Function>
void onFreshThread(Function function) {
  std::thread(function).join();
}

const Ref<NSString> kOwnMode = "a mode of this test";

void runOnce() { CFRunLoopRunInMode(kOwnMode, 0, false); }

Ref<NSTimer> timerThatIsDue(int& fired) {
  return NSTimer::initWithFireDate_interval_repeats_block(
      NSDate::dateWithTimeIntervalSinceNow(-1), 3600, true,
      [&fired, held = counted(1)](const Ref<NSTimer>&) { ++fired; });
}

}  // namespace

TEST(NSRunLoopFaults, AThreadWithoutDescriptorsForItsLoopIsToldSoAndCanTryAgain) {
  for (const auto call : {FaultyCall::epoll_create1, FaultyCall::eventfd,
                          FaultyCall::timerfd_create, FaultyCall::epoll_ctl}) {
    SCOPED_TRACE(nameOf(call));
    onFreshThread([call] {
      const auto before = openDescriptors();
      std::string reason;
      bool hasLoop = false;
      const int refused = walkFaults(
          call, Fault::failing(EMFILE), FaultyThreads::own,
          [&] {
            reason.clear();
            hasLoop = false;
            try {
              hasLoop = NSRunLoop::currentRunLoop() != nullptr;
            } catch (const NSException& exception) {
              EXPECT_TRUE(exception.name()->isEqualToString(NSGenericException));
              reason = exception.reason()->displayUTF8();
            }
          },
          [&](bool met) {
            const std::string expected = call == FaultyCall::epoll_ctl
                                             ? "a descriptor can't be waited for"
                                             : "a run loop can't be made";
            EXPECT_EQ(hasLoop, !met);
            EXPECT_EQ(reason, met ? expected + ": Too many open files" : "");
            EXPECT_EQ(openDescriptors() > before, !met);
          });
      // Two sets of descriptors: the default mode's and that of the common modes.
      EXPECT_EQ(refused, call == FaultyCall::epoll_ctl ? 5 : 2);
    });
  }
}

TEST(NSRunLoopFaults, AModeWithoutDescriptorsIsNotThereAndCanBeTriedAgain) {
  onFreshThread([] {
    const auto runLoop = NSRunLoop::currentRunLoop();
    const auto before = openDescriptors();
    int ran = 0;
    int thrown = 0;
    const int refused = walkFaults(
        FaultyCall::eventfd, Fault::failing(ENFILE), FaultyThreads::own,
        [&] {
          try {
            runLoop->performInMode_block(kOwnMode, [&ran] { ++ran; });
          } catch (const NSException&) {
            ++thrown;
          }
        },
        [&](bool met) {
          runLoop->runInMode_seconds_returnAfterSourceHandled(kOwnMode, 0, false);
          EXPECT_EQ(ran, met ? 0 : 1);
          EXPECT_EQ(openDescriptors() > before, !met);
        });
    EXPECT_EQ(refused, 1);
    EXPECT_EQ(thrown, 1);
  });
}

TEST(NSRunLoopFaults, ADescriptorThatCannotBeWaitedForGivesNoSourceAndTheReason) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const auto before = openDescriptors();
  for (const auto call : {FaultyCall::fcntl, FaultyCall::epoll_create1, FaultyCall::epoll_ctl}) {
    SCOPED_TRACE(nameOf(call));
    Ref<RunLoopSource> source;
    int reason = 0;
    const int refused = walkFaults(
        call, Fault::failing(EMFILE), FaultyThreads::own,
        [&] {
          errno = 0;
          source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
              ends[0], RunLoopDescriptorReadable, [](NSUInteger) {});
          reason = errno;
        },
        [&](bool met) {
          EXPECT_EQ(source == nullptr, met);
          EXPECT_EQ(reason, met ? EMFILE : 0);
          source = nullptr;
          EXPECT_EQ(openDescriptors(), before);
        });
    EXPECT_EQ(refused, 1);
  }
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(NSRunLoopFaults, ASourceThatCannotBeWaitedForIsInNoMode) {
  onFreshThread([] {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const auto runLoop = NSRunLoop::currentRunLoop();
    runLoop->addSource_forMode(RunLoopSource::sourceWithBlock([] {}), kOwnMode);
    int served = 0;
    const Ref<RunLoopSource> source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
        ends[0], RunLoopDescriptorReadable, [&served](NSUInteger) { ++served; });
    {
      const ArmedFault full(FaultyCall::epoll_ctl, 1, Fault::failing(ENOSPC));
      EXPECT_THROW(runLoop->addSource_forMode(source, kOwnMode), NSException);
      EXPECT_TRUE(full.wasMet());
    }
    EXPECT_FALSE(runLoop->containsSource_forMode(source, kOwnMode));
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    runOnce();
    EXPECT_EQ(served, 0);
    runLoop->addSource_forMode(source, kOwnMode);
    runOnce();
    EXPECT_GT(served, 0);
    source->invalidate();
    ::close(ends[0]);
    ::close(ends[1]);
  });
}

TEST(NSRunLoopFaults, AWaitThatIsInterruptedGoesOn) {
  onFreshThread([] {
    const auto runLoop = NSRunLoop::currentRunLoop();
    int fired = 0;
    runLoop->addTimer_forMode(timerThatIsDue(fired), kOwnMode);
    const ArmedFault signal(FaultyCall::epoll_wait, 1, Fault::interrupted());
    CFRunLoopRunInMode(kOwnMode, 0.001, false);
    EXPECT_TRUE(signal.wasMet());
    EXPECT_EQ(fired, 1);
  });
}

TEST(NSRunLoopFaults, ATimerThatFindsNoMemoryIsInNoModeAndCanBeAddedAgain) {
  onFreshThread([] {
    const auto runLoop = NSRunLoop::currentRunLoop();
    int fired = 0;
    Ref<NSTimer> timer;
    const int refused = walkAllocations(
        [&] {
          fired = 0;
          timer = nullptr;
          timer = timerThatIsDue(fired);
          runLoop->addTimer_forMode(timer, kOwnMode);
        },
        [&](bool threw) {
          runOnce();
          EXPECT_EQ(fired, threw ? 0 : 1);
          if (timer) {
            runLoop->addTimer_forMode(timer, kOwnMode);
            runOnce();
            EXPECT_EQ(fired, 1);
            timer->invalidate();
          }
          timer = nullptr;
          EXPECT_EQ(CountingObject::alive(), 0);
        });
    EXPECT_GT(refused, 4);
  });
}

TEST(NSRunLoopFaults, ATimerFiresAgainWhateverItsCallFoundNoMemoryFor) {
  onFreshThread([] {
    const auto runLoop = NSRunLoop::currentRunLoop();
    int fired = 0;
    const auto timer = timerThatIsDue(fired);
    runLoop->addTimer_forMode(timer, kOwnMode);
    const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
    runOnce();
    EXPECT_EQ(fired, 1);
    timer->fire();
    EXPECT_EQ(fired, 2);
  });
}

TEST(NSRunLoopFaults, ASourceOrBlockThatFindsNoMemoryIsNotServed) {
  onFreshThread([] {
    const auto runLoop = NSRunLoop::currentRunLoop();
    runLoop->addSource_forMode(RunLoopSource::sourceWithBlock([] {}), kOwnMode);
    int served = 0;
    int ran = 0;
    Ref<RunLoopSource> source;
    const int refused = walkAllocations(
        [&] {
          served = ran = 0;
          source = nullptr;
          source = RunLoopSource::sourceWithBlock([&served, held = counted(1)] { ++served; });
          source->signal();
          runLoop->addSource_forMode(source, kOwnMode);
          runLoop->performInMode_block(kOwnMode, [&ran, held = counted(2)] { ++ran; });
        },
        [&](bool threw) {
          const bool isThere = source && runLoop->containsSource_forMode(source, kOwnMode);
          runOnce();
          EXPECT_EQ(served, isThere ? 1 : 0);
          EXPECT_EQ(ran, threw ? 0 : 1);
          EXPECT_TRUE(threw || isThere);
          if (source) {
            source->invalidate();
            source = nullptr;
          }
          EXPECT_EQ(CountingObject::alive(), 0);
        });
    EXPECT_GT(refused, 4);
  });
}

TEST(NSRunLoopFaults, ASourceIsInvalidatedWithoutMemory) {
  bool hasRun = false;
  const auto source = RunLoopSource::sourceWithBlock([&] { hasRun = true; });
  NSRunLoop::currentRunLoop()->addSource_forMode(source, kOwnMode);
  NSRunLoop::currentRunLoop()->addSource_forMode(source, NSRunLoopCommonModes);
  source->signal();
  const ArmedFault none(FaultyCall::allocation, 1, Fault::failingFromNowOn(ENOMEM));
  source->invalidate();
  EXPECT_FALSE(none.wasMet());
  EXPECT_FALSE(source->isValid());
  EXPECT_FALSE(NSRunLoop::currentRunLoop()->containsSource_forMode(source, kOwnMode));
}
