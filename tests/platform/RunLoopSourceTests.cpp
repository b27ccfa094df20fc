// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/RunLoopSource.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RunLoopThread.h"

namespace kestova {
namespace {

using testing::RunLoopThread;
using testing::unusedMode;

/// Sources of the test's own thread, whose turns the test takes itself.
class RunLoopSourceTest : public ::testing::Test {
 protected:
  ~RunLoopSourceTest() override {
    for (const Ref<RunLoopSource>& source : sources_) {
      source->invalidate();
    }
  }

  Ref<RunLoopSource> source(Block<void()> perform) {
    sources_.push_back(RunLoopSource::sourceWithBlock(std::move(perform)));
    return sources_.back();
  }

  Ref<RunLoopSource> added(Block<void()> perform) {
    Ref<RunLoopSource> made = source(std::move(perform));
    loop->addSource_forMode(made, NSDefaultRunLoopMode);
    return made;
  }

  CFRunLoopRunResult runOnce(const Ref<NSString>& mode) {
    return loop->runInMode_seconds_returnAfterSourceHandled(mode, 0, true);
  }

  Ref<NSRunLoop> loop = NSRunLoop::currentRunLoop();

 private:
  std::vector<Ref<RunLoopSource>> sources_;
};

using RunLoopSourceDeathTest = RunLoopSourceTest;

TEST_F(RunLoopSourceTest, ManySignalsGiveOneCall) {
  int calls = 0;
  const auto source = added([&] { ++calls; });
  source->signal();
  source->signal();
  source->signal();
  EXPECT_TRUE(source->isSignalled());
  EXPECT_TRUE(loop->turn());
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(source->isSignalled());
  EXPECT_FALSE(loop->turn());
  EXPECT_EQ(calls, 1);
}

TEST_F(RunLoopSourceTest, ASignalDuringTheCallIsForTheNextTurn) {
  int calls = 0;
  Ref<RunLoopSource> source;
  source = added([&] {
    if (++calls == 1) {
      source->signal();
    }
  });
  source->signal();
  EXPECT_TRUE(loop->turn());
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(loop->turn());
  EXPECT_EQ(calls, 2);
}

TEST_F(RunLoopSourceTest, SignalledSourcesAreServedInTheOrderOfTheirMaking) {
  std::string order;
  const auto first = source([&] { order += 'a'; });
  const auto second = source([&] { order += 'b'; });
  loop->addSource_forMode(second, NSDefaultRunLoopMode);
  loop->addSource_forMode(first, NSDefaultRunLoopMode);
  second->signal();
  first->signal();
  loop->turn();
  EXPECT_EQ(order, "ab");
}

TEST_F(RunLoopSourceTest, ASignalWaitsUntilTheSourceIsAdded) {
  int calls = 0;
  const auto early = source([&] { ++calls; });
  early->signal();
  loop->addSource_forMode(early, NSDefaultRunLoopMode);
  EXPECT_TRUE(loop->turn());
  EXPECT_EQ(calls, 1);
}

TEST_F(RunLoopSourceTest, ASourceIsServedInItsModesAlone) {
  int calls = 0;
  const auto source = added([&] { ++calls; });
  loop->addSource_forMode(added([] {}), "RunLoopSourceTests.other");
  source->signal();
  EXPECT_EQ(runOnce("RunLoopSourceTests.other"), kCFRunLoopRunTimedOut);
  EXPECT_EQ(calls, 0);
  loop->addSource_forMode(source, "RunLoopSourceTests.other");
  EXPECT_EQ(runOnce("RunLoopSourceTests.other"), kCFRunLoopRunHandledSource);
  EXPECT_EQ(calls, 1);
}

TEST_F(RunLoopSourceTest, ASourceInTheCommonModesIsServedInEachOfThem) {
  const Ref<NSString> mode = unusedMode();
  int calls = 0;
  const auto common = source([&] { ++calls; });
  loop->addSource_forMode(common, NSRunLoopCommonModes);
  EXPECT_TRUE(loop->containsSource_forMode(common, NSRunLoopCommonModes));
  EXPECT_FALSE(loop->containsSource_forMode(common, NSDefaultRunLoopMode));
  common->signal();
  EXPECT_EQ(runOnce(mode), kCFRunLoopRunFinished);
  loop->addCommonMode(mode);
  loop->addCommonMode(mode);
  EXPECT_EQ(runOnce(mode), kCFRunLoopRunHandledSource);
  common->signal();
  EXPECT_EQ(runOnce(NSDefaultRunLoopMode), kCFRunLoopRunHandledSource);
  EXPECT_EQ(calls, 2);
  loop->removeSource_forMode(common, NSRunLoopCommonModes);
  common->signal();
  EXPECT_FALSE(loop->turn());
  EXPECT_EQ(calls, 2);
}

TEST_F(RunLoopSourceTest, AddingItAgainOrRemovingItTwiceChangesNothing) {
  int calls = 0;
  const auto source = added([&] { ++calls; });
  loop->addSource_forMode(source, NSDefaultRunLoopMode);
  source->signal();
  loop->turn();
  EXPECT_EQ(calls, 1);
  loop->removeSource_forMode(source, NSDefaultRunLoopMode);
  loop->removeSource_forMode(source, NSDefaultRunLoopMode);
  EXPECT_FALSE(loop->containsSource_forMode(source, NSDefaultRunLoopMode));
  EXPECT_TRUE(source->isValid());
  source->signal();
  EXPECT_FALSE(loop->turn());
  EXPECT_EQ(calls, 1);
}

TEST_F(RunLoopSourceTest, ASourceRemovedEarlierInTheTurnIsNotCalled) {
  int calls = 0;
  Ref<RunLoopSource> removed;
  Ref<RunLoopSource> invalidated;
  const auto first = added([&] {
    loop->removeSource_forMode(removed, NSDefaultRunLoopMode);
    invalidated->invalidate();
  });
  removed = added([&] { ++calls; });
  invalidated = added([&] { ++calls; });
  removed->signal();
  invalidated->signal();
  first->signal();
  loop->turn();
  EXPECT_EQ(calls, 0);
}

TEST_F(RunLoopSourceTest, ASourceInvalidatesItselfAndIsLetGoOf) {
  const auto token = std::make_shared<int>(0);
  // The block holds its own source: only the invalidation breaks that circle.
  auto holder = std::make_shared<Ref<RunLoopSource>>();
  *holder = RunLoopSource::sourceWithBlock([token, holder] {
    (*holder)->invalidate();
    ++*token;
  });
  loop->addSource_forMode(*holder, NSDefaultRunLoopMode);
  (*holder)->signal();
  std::weak_ptr<Ref<RunLoopSource>> alive = holder;
  holder.reset();
  EXPECT_FALSE(alive.expired());
  EXPECT_TRUE(loop->turn());
  EXPECT_EQ(*token, 1);
  EXPECT_TRUE(alive.expired());
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(RunLoopSourceTest, AnInvalidSourceIsInNoRunLoopAndEntersNone) {
  int calls = 0;
  const auto source = added([&] { ++calls; });
  source->signal();
  source->invalidate();
  source->invalidate();
  EXPECT_FALSE(source->isValid());
  EXPECT_FALSE(loop->containsSource_forMode(source, NSDefaultRunLoopMode));
  loop->addSource_forMode(source, NSDefaultRunLoopMode);
  EXPECT_FALSE(loop->containsSource_forMode(source, NSDefaultRunLoopMode));
  source->signal();
  EXPECT_FALSE(loop->turn());
  EXPECT_EQ(calls, 0);
}

TEST_F(RunLoopSourceTest, ACallSeesWhatWasWrittenBeforeItsSignals) {
  RunLoopThread thread;
  constexpr int rounds = 1000;
  std::atomic<int> written{0};
  int seen = 0;
  const auto source = this->source([&] { seen = written.load(std::memory_order_relaxed); });
  thread.runLoop()->addSource_forMode(source, NSRunLoopCommonModes);
  for (int i = 1; i <= rounds; ++i) {
    written.store(i, std::memory_order_relaxed);
    source->signal();
  }
  thread.settle();
  EXPECT_EQ(seen, rounds);
}

TEST_F(RunLoopSourceTest, ASourceOfTwoRunLoopsIsServedByOneOfThem) {
  RunLoopThread one;
  RunLoopThread two;
  std::atomic<int> calls{0};
  const auto source = this->source([&] { ++calls; });
  one.runLoop()->addSource_forMode(source, NSRunLoopCommonModes);
  two.runLoop()->addSource_forMode(source, NSRunLoopCommonModes);
  for (int i = 1; i <= 100; ++i) {
    source->signal();
    one.settle();
    two.settle();
    EXPECT_EQ(calls, i);
  }
}

TEST_F(RunLoopSourceTest, SourcesComeAndGoWhileOthersSignalThem) {
  RunLoopThread thread;
  std::vector<Ref<RunLoopSource>> sources;
  std::atomic<int> calls{0};
  for (int i = 0; i < 8; ++i) {
    sources.push_back(source([&] { ++calls; }));
  }
  std::atomic<bool> stop{false};
  std::thread signaller([&] {
    while (!stop) {
      for (const auto& each : sources) {
        each->signal();
      }
    }
  });
  for (int i = 0; i < 500; ++i) {
    for (const auto& each : sources) {
      thread.runLoop()->addSource_forMode(each, NSRunLoopCommonModes);
    }
    for (const auto& each : sources) {
      thread.runLoop()->removeSource_forMode(each, NSRunLoopCommonModes);
    }
  }
  for (const auto& each : sources) {
    thread.runLoop()->addSource_forMode(each, NSRunLoopCommonModes);
    each->invalidate();
  }
  stop = true;
  signaller.join();
  thread.settle();
  const int last = calls;
  for (const auto& each : sources) {
    each->signal();
  }
  thread.settle();
  EXPECT_EQ(calls, last);
}

TEST_F(RunLoopSourceDeathTest, ASourceNeedsABlock) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(static_cast<void>(RunLoopSource::sourceWithBlock(nullptr)), "perform != nil");
}

}  // namespace
}  // namespace kestova
