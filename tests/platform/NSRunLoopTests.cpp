// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSArray.h>
#include <KestovaPlatform/NSDate.h>
#include <KestovaPlatform/NSException.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>

#include <atomic>
#include <filesystem>
#include <latch>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include "ExceptionExpectation.h"
#include "RunLoopThread.h"
#include "files/FileDescriptor.h"

namespace kestova {
namespace {

using testing::expectException;
using testing::RunLoopThread;
using testing::unusedMode;

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

class NSRunLoopTest : public ::testing::Test {
 protected:
  ~NSRunLoopTest() override {
    for (const Ref<RunLoopSource>& source : sources_) {
      source->invalidate();
    }
    // What a test leaves behind is served here, not in the next one.
    loop->turn();
  }

  Ref<RunLoopSource> added(Block<void()> perform,
                           const Ref<NSString>& mode = NSDefaultRunLoopMode) {
    sources_.push_back(RunLoopSource::sourceWithBlock(std::move(perform)));
    loop->addSource_forMode(sources_.back(), mode);
    return sources_.back();
  }

  /// Gives the mode something to wait for that never comes.
  void keepWaiting(const Ref<NSString>& mode) {
    static_cast<void>(added([] {}, mode));
  }

  CFRunLoopRunResult runFor(NSTimeInterval seconds, bool returnAfterSourceHandled = false) {
    return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, returnAfterSourceHandled);
  }

  /// Whether the host of the run loop would have it take a turn.
  bool isReadable(int milliseconds = 0) {
    pollfd descriptor{loop->fileDescriptor(), POLLIN, 0};
    return ::poll(&descriptor, 1, milliseconds) == 1;
  }

  Ref<NSRunLoop> loop = NSRunLoop::currentRunLoop();

 private:
  std::vector<Ref<RunLoopSource>> sources_;
};

using NSRunLoopDeathTest = NSRunLoopTest;

TEST_F(NSRunLoopTest, EachThreadHasItsOwn) {
  EXPECT_EQ(NSRunLoop::currentRunLoop(), loop);
  EXPECT_EQ(CFRunLoopGetCurrent(), loop);
  EXPECT_EQ(CFRunLoopGetMain(), loop);
  RunLoopThread other;
  EXPECT_NE(other.runLoop(), loop);
  other.perform([&] {
    EXPECT_EQ(NSRunLoop::currentRunLoop(), other.runLoop());
    EXPECT_EQ(NSRunLoop::mainRunLoop(), loop);
  });
}

TEST_F(NSRunLoopTest, BlocksRunOnceInTheirOrderWhicheverTheirModes) {
  std::string order;
  loop->performBlock([&] { order += 'a'; });
  loop->performInMode_block(NSRunLoopCommonModes, [&] { order += 'b'; });
  loop->performInModes_block(NSArray::of(NSDefaultRunLoopMode, "NSRunLoopTests.other"),
                             [&] { order += 'c'; });
  loop->performBlock([&] { order += 'd'; });
  EXPECT_EQ(order, "");
  loop->turn();
  loop->turn();
  EXPECT_EQ(order, "abcd");
}

TEST_F(NSRunLoopTest, ABlockForSeveralModesRunsInTheFirstOfThem) {
  int calls = 0;
  const auto token = std::make_shared<int>(0);
  const auto modes = NSArray::of(NSDefaultRunLoopMode, "NSRunLoopTests.never");
  for (int i = 0; i < 10; ++i) {
    loop->performInModes_block(modes, [&calls, token] { ++calls; });
  }
  loop->turn();
  EXPECT_EQ(calls, 10);
  EXPECT_EQ(token.use_count(), 1);
  CFRunLoopRunInMode("NSRunLoopTests.never", 0, false);
  EXPECT_EQ(calls, 10);
}

TEST_F(NSRunLoopTest, BlocksOfACallbackRunInItsTurnAndTheirOwnInTheNext) {
  std::string order;
  const auto source = added([&] {
    loop->performBlock([&] {
      order += '1';
      loop->performBlock([&] { order += '2'; });
    });
  });
  source->signal();
  loop->turn();
  EXPECT_EQ(order, "1");
  loop->turn();
  EXPECT_EQ(order, "12");
}

TEST_F(NSRunLoopTest, ARunEndsInOneOfFourWays) {
  const Ref<NSString> mode = "NSRunLoopTests.results";
  EXPECT_EQ(CFRunLoopRunInMode(mode, 60, false), kCFRunLoopRunFinished);
  const auto source = added([] {}, mode);
  EXPECT_EQ(CFRunLoopRunInMode(mode, 0, false), kCFRunLoopRunTimedOut);
  EXPECT_EQ(CFRunLoopRunInMode(mode, -1, true), kCFRunLoopRunTimedOut);
  EXPECT_EQ(CFRunLoopRunInMode(mode, 0.001, false), kCFRunLoopRunTimedOut);
  source->signal();
  EXPECT_EQ(CFRunLoopRunInMode(mode, 60, true), kCFRunLoopRunHandledSource);
  loop->performInMode_block(mode, [&] { CFRunLoopStop(loop); });
  EXPECT_EQ(CFRunLoopRunInMode(mode, 60, false), kCFRunLoopRunStopped);
  loop->performInMode_block(mode, [&] { source->invalidate(); });
  EXPECT_EQ(CFRunLoopRunInMode(mode, 60, false), kCFRunLoopRunFinished);
}

TEST_F(NSRunLoopTest, TheCommonModesAreNoModeToRunIn) {
  keepWaiting(NSRunLoopCommonModes);
  EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopCommonModes, 60, false), kCFRunLoopRunFinished);
}

TEST_F(NSRunLoopTest, RunModeEndsAfterASourceOrAtItsDateAndNotForATimer) {
  const Ref<NSString> mode = "NSRunLoopTests.runMode";
  const auto later = [] { return NSDate::dateWithTimeIntervalSinceNow(60); };
  EXPECT_FALSE(loop->runMode_beforeDate(mode, later()));
  int fired = 0;
  const auto source = added([] {}, mode);
  loop->addTimer_forMode(NSTimer::timerWithTimeInterval_repeats_block(0.001, false,
                                                                      [&](const Ref<NSTimer>&) {
                                                                        ++fired;
                                                                        source->signal();
                                                                      }),
                         mode);
  EXPECT_TRUE(loop->runMode_beforeDate(mode, later()));
  EXPECT_EQ(fired, 1);
  EXPECT_FALSE(source->isSignalled());
  EXPECT_TRUE(loop->runMode_beforeDate(mode, NSDate::dateWithTimeIntervalSinceNow(0.001)));
  EXPECT_TRUE(loop->runMode_beforeDate(mode, NSDate::distantPast()));
}

TEST_F(NSRunLoopTest, RunUntilDateServesUntilItsDate) {
  int calls = 0;
  const auto start = std::chrono::steady_clock::now();
  const auto timer = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
      0.001, true, [&](const Ref<NSTimer>&) { ++calls; });
  loop->runUntilDate(NSDate::dateWithTimeIntervalSinceNow(0.02));
  timer->invalidate();
  EXPECT_GE(calls, 1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST_F(NSRunLoopTest, StopEndsTheInnermostRunAlone) {
  std::string order;
  loop->performBlock([&] {
    loop->performBlock([&] {
      order += "inner";
      loop->stop();
    });
    loop->run();
    order += " outer";
    EXPECT_EQ(loop->currentMode(), NSDefaultRunLoopMode);
  });
  EXPECT_EQ(runFor(0.001), kCFRunLoopRunTimedOut);
  EXPECT_EQ(order, "inner outer");
  EXPECT_EQ(loop->currentMode(), nullptr);
}

TEST_F(NSRunLoopTest, AStopOutsideOfAnyRunIsForgotten) {
  loop->stop();
  loop->wakeUp();
  EXPECT_EQ(runFor(0), kCFRunLoopRunTimedOut);
}

TEST_F(NSRunLoopTest, ANestedRunServesWhatTheTurnAroundItHasNotComeTo) {
  // Both are signalled before the turn; the first waits for the second in a run of its own.
  bool served = false;
  CFRunLoopRunResult result{};
  const auto first = added([&] { result = runFor(60, true); });
  const auto second = added([&] { served = true; });
  first->signal();
  second->signal();
  loop->turn();
  EXPECT_TRUE(served);
  EXPECT_EQ(result, kCFRunLoopRunHandledSource);

  // The same for what belongs to the common modes, in another of these.
  served = false;
  const Ref<NSString> mode = unusedMode();
  loop->addCommonMode(mode);
  const auto outer = added([&] { result = CFRunLoopRunInMode(mode, 60, true); });
  const auto inner = added([&] { served = true; }, NSRunLoopCommonModes);
  outer->signal();
  inner->signal();
  loop->turn();
  EXPECT_TRUE(served);
  EXPECT_EQ(result, kCFRunLoopRunHandledSource);
}

TEST_F(NSRunLoopTest, ANestedRunInAPrivateModeLeavesTheOthersAlone) {
  const Ref<NSString> mode = "NSRunLoopTests.private";
  std::string order;
  const auto source = added([&] { order += 's'; });
  loop->performBlock([&] {
    source->signal();
    keepWaiting(mode);
    EXPECT_EQ(CFRunLoopRunInMode(mode, 0.001, false), kCFRunLoopRunTimedOut);
    order += 'b';
  });
  loop->turn();
  EXPECT_EQ(order, "bs");
}

TEST_F(NSRunLoopTest, AnExceptionLeavesTheRunAndLosesNothing) {
  std::string order;
  const auto thrower = added([&] { throw NSException(NSGenericException, "expected"); });
  const auto after = added([&] { order += 's'; });
  const auto common = added([&] { order += 'c'; }, NSRunLoopCommonModes);
  loop->performBlock([&] { order += 'b'; });
  thrower->signal();
  after->signal();
  common->signal();
  expectException(NSGenericException, [&] { loop->run(); });
  EXPECT_EQ(order, "b");
  EXPECT_EQ(loop->currentMode(), nullptr);
  EXPECT_TRUE(isReadable());
  loop->turn();
  EXPECT_EQ(order, "bsc");

  loop->performBlock([] { throw NSException(NSGenericException, "expected"); });
  loop->performBlock([&] { order += 'B'; });
  expectException(NSGenericException, [&] { loop->turn(); });
  EXPECT_TRUE(isReadable());
  loop->turn();
  EXPECT_EQ(order, "bscB");
}

TEST_F(NSRunLoopTest, TheMainQueueIsDrainedInTheCommonModesOfTheMainRunLoop) {
  const Ref<NSString> mode = unusedMode();
  std::string order;
  const auto submit = [&](char name) {
    dispatch_async(dispatch_get_main_queue(), [&order, name] {
      EXPECT_TRUE(NSThread::isMainThread());
      order += name;
    });
  };
  keepWaiting(mode);
  std::thread([&] { submit('a'); }).join();
  EXPECT_EQ(CFRunLoopRunInMode(mode, 0, true), kCFRunLoopRunTimedOut);
  EXPECT_EQ(order, "");
  EXPECT_EQ(runFor(60, true), kCFRunLoopRunHandledSource);
  EXPECT_EQ(order, "a");
  loop->addCommonMode(mode);
  std::thread([&] { submit('b'); }).join();
  EXPECT_EQ(CFRunLoopRunInMode(mode, 60, true), kCFRunLoopRunHandledSource);
  EXPECT_EQ(order, "ab");
}

TEST_F(NSRunLoopTest, ARunWithinATaskOfTheMainQueueLeavesTheOtherTasksForLater) {
  std::string order;
  dispatch_async(dispatch_get_main_queue(), [&] {
    dispatch_async(dispatch_get_main_queue(), [&] {
      order += '2';
      loop->stop();
    });
    EXPECT_EQ(runFor(0.001), kCFRunLoopRunTimedOut);
    order += '1';
  });
  EXPECT_EQ(runFor(60), kCFRunLoopRunStopped);
  EXPECT_EQ(order, "12");
}

TEST_F(NSRunLoopTest, ASyncToTheMainQueueIsAnswered) {
  int answer = 0;
  std::thread worker([&] {
    answer = dispatch_sync(dispatch_get_main_queue(), [] { return 42; });
    performBlockOnMainThread([&] { loop->stop(); }, false);
  });
  loop->run();
  worker.join();
  EXPECT_EQ(answer, 42);
}

TEST_F(NSRunLoopTest, AnIdleRunLoopTakesNoTurns) {
  const auto quiet = added([] {}, NSRunLoopCommonModes);
  const auto distant =
      NSTimer::scheduledTimerWithTimeInterval_repeats_block(3600, true, [](const Ref<NSTimer>&) {});
  loop->turn();
  const NSUInteger before = loop->turnCount();
  EXPECT_EQ(runFor(0.05), kCFRunLoopRunTimedOut);
  // The first one, which doesn't wait, and the one at the end of the time.
  EXPECT_EQ(loop->turnCount() - before, 2u);
  distant->invalidate();
}

TEST_F(NSRunLoopTest, EachEventTakesOneTurn) {
  constexpr int events = 20;
  int calls = 0;
  std::counting_semaphore<events> served(1);
  const auto source = added([&] {
    if (++calls == events) {
      loop->stop();
    } else {
      served.release();
    }
  });
  std::thread worker([&] {
    for (int i = 0; i < events; ++i) {
      served.acquire();
      source->signal();
    }
  });
  const NSUInteger before = loop->turnCount();
  EXPECT_EQ(runFor(60), kCFRunLoopRunStopped);
  worker.join();
  // One more may be the first, which doesn't wait.
  EXPECT_LE(loop->turnCount() - before, events + 1u);
}

TEST_F(NSRunLoopTest, WakeUpGivesATurn) {
  RunLoopThread thread;
  for (int i = 0; i < 20; ++i) {
    thread.waitUntilWaiting();
    const NSUInteger before = thread.runLoop()->turnCount();
    CFRunLoopWakeUp(thread.runLoop());
    while (thread.runLoop()->turnCount() == before) {
      std::this_thread::yield();
    }
  }
}

TEST_F(NSRunLoopTest, ARunEndsWhenAnotherThreadTakesItsLastSource) {
  std::latch started(1);
  const auto source = RunLoopSource::sourceWithBlock([] {});
  CFRunLoopRunResult result{};
  std::thread worker([&] {
    NSRunLoop::currentRunLoop()->addSource_forMode(source, NSRunLoopCommonModes);
    NSRunLoop::currentRunLoop()->performBlock([&] { started.count_down(); });
    result = CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, false);
  });
  started.wait();
  source->invalidate();
  worker.join();
  EXPECT_EQ(result, kCFRunLoopRunFinished);
}

TEST_F(NSRunLoopTest, AHostsPollServesEverything) {
  std::string order;
  const FileDescriptor event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  const auto descriptor = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
      event.get(), RunLoopDescriptorReadable, [&](NSUInteger) {
        std::uint64_t count;
        EXPECT_EQ(::read(event.get(), &count, sizeof count), ssize_t(sizeof count));
        order += 'd';
      });
  loop->addSource_forMode(descriptor, NSRunLoopCommonModes);
  const auto source = added([&] { order += 's'; }, NSRunLoopCommonModes);
  const auto serve = [&](auto&& cause) {
    loop->turn();
    EXPECT_FALSE(isReadable());
    cause();
    while (!isReadable(-1)) {
    }
    loop->turn();
    EXPECT_FALSE(isReadable());
  };
  serve([&] { loop->performBlock([&] { order += 'b'; }); });
  serve([&] { std::thread([&] { source->signal(); }).join(); });
  serve([&] { EXPECT_EQ(::eventfd_write(event.get(), 1), 0); });
  Ref<NSTimer> timer;
  serve([&] {
    timer = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
        0.002, false, [&](const Ref<NSTimer>&) { order += 't'; });
  });
  serve([&] { dispatch_async(dispatch_get_main_queue(), [&] { order += 'q'; }); });
  EXPECT_EQ(order, "bsdtq");
  descriptor->invalidate();
}

TEST_F(NSRunLoopTest, AHostsEpollNestsIt) {
  const FileDescriptor host(::epoll_create1(EPOLL_CLOEXEC));
  epoll_event event{.events = EPOLLIN, .data = {}};
  ASSERT_EQ(::epoll_ctl(host.get(), EPOLL_CTL_ADD, loop->fileDescriptor(), &event), 0);
  int calls = 0;
  const auto source = added([&] { ++calls; }, NSRunLoopCommonModes);
  std::thread worker([&] { source->signal(); });
  while (calls == 0) {
    ASSERT_EQ(::epoll_wait(host.get(), &event, 1, -1), 1);
    loop->turn();
  }
  worker.join();
  EXPECT_EQ(::epoll_wait(host.get(), &event, 1, 0), 0);
}

TEST_F(NSRunLoopTest, AThreadThatEndsLeavesNothingBehind) {
  const auto token = std::make_shared<int>(0);
  const auto descriptorBefore = openDescriptors();
  Ref<NSRunLoop> ended;
  Ref<RunLoopSource> source = RunLoopSource::sourceWithBlock([token] {});
  Ref<NSTimer> timer;
  std::thread([&] {
    ended = NSRunLoop::currentRunLoop();
    ended->addSource_forMode(source, NSRunLoopCommonModes);
    ended->addSource_forMode(source, "NSRunLoopTests.third");
    ended->addSource_forMode(RunLoopSource::sourceWithBlock([token] {}), NSDefaultRunLoopMode);
    timer = NSTimer::scheduledTimerWithTimeInterval_repeats_block(100, true,
                                                                  [token](const Ref<NSTimer>&) {});
    ended->performBlock([token] {});
    EXPECT_GT(openDescriptors(), descriptorBefore);
  }).join();
  EXPECT_EQ(openDescriptors(), descriptorBefore);
  EXPECT_TRUE(source->isValid());
  EXPECT_EQ(source->retainCount(), 1u);
  EXPECT_FALSE(timer->isValid());
  EXPECT_EQ(timer->retainCount(), 1u);
  source = nullptr;
  EXPECT_EQ(token.use_count(), 1);

  EXPECT_EQ(ended->fileDescriptor(), -1);
  ended->addSource_forMode(RunLoopSource::sourceWithBlock([token] {}), NSDefaultRunLoopMode);
  ended->performBlock([token] {});
  ended->stop();
  ended->wakeUp();
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(NSRunLoopTest, SourcesAreSignalledWhileTheirThreadEnds) {
  for (int i = 0; i < 100; ++i) {
    const auto source = RunLoopSource::sourceWithBlock([] {});
    std::atomic<bool> added{false};
    std::thread worker([&] {
      NSRunLoop::currentRunLoop()->addSource_forMode(source, NSRunLoopCommonModes);
      added = true;
    });
    while (!added) {
      std::this_thread::yield();
    }
    source->signal();
    source->invalidate();
    worker.join();
  }
}

TEST_F(NSRunLoopTest, WithoutDescriptorsThereIsNoRunLoopButAnException) {
  std::thread([] {
    // The sanitizers look at a class for the first time with a pipe, which they can't have below.
    expectException(NSGenericException, [] {
      throw NSException(NSGenericException, NSString::stringWithFormat("%s %@", "a", "b"));
    });
    const auto before = openDescriptors();
    rlimit limit;
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit full = limit;
    full.rlim_cur = static_cast<rlim_t>(FileDescriptor(::dup(STDIN_FILENO)).get());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &full), 0);
    expectException(NSGenericException, [] { static_cast<void>(NSRunLoop::currentRunLoop()); });
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_NE(NSRunLoop::currentRunLoop(), nullptr);
  }).join();
}

TEST_F(NSRunLoopDeathTest, ARunLoopIsRunByItsOwnThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::thread([this] { loop->run(); }).join(), "a run loop is run by its own thread");
  EXPECT_DEATH(std::thread([this] { loop->turn(); }).join(), "a run loop is run by its own thread");
}

TEST_F(NSRunLoopDeathTest, NothingIsAddedToNoMode) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(keepWaiting(nullptr), "mode != nil");
  EXPECT_DEATH(loop->addSource_forMode(nullptr, NSDefaultRunLoopMode), "source != nil");
  EXPECT_DEATH(loop->performBlock(nullptr), "block != nil");
}

}  // namespace
}  // namespace kestova
