// SPDX-License-Identifier: Apache-2.0
// The main run loop in other programs' loops: GLib's, as GTK runs it, and Qt's.
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <KestovaPlatform/NSTimer.h>
#include <glib-unix.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kestova {
namespace {

/// A GLib main loop that watches the run loop's descriptor.
class GLibHost {
 public:
  GLibHost() : watch_(g_unix_fd_source_new(NSRunLoop::mainRunLoop()->fileDescriptor(), G_IO_IN)) {
    const GUnixFDSourceFunc turn = [](gint, GIOCondition, gpointer) -> gboolean {
      NSRunLoop::mainRunLoop()->turn();
      return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(watch_, G_SOURCE_FUNC(turn), nullptr, nullptr);
    g_source_set_can_recurse(watch_, TRUE);
    g_source_attach(watch_, nullptr);
  }
  ~GLibHost() {
    g_source_destroy(watch_);
    g_source_unref(watch_);
  }
  GLibHost(const GLibHost&) = delete;
  GLibHost& operator=(const GLibHost&) = delete;

  /// Runs, also within a run, until the innermost run is stopped.
  void run() {
    loops_.push_back(g_main_loop_new(nullptr, FALSE));
    g_main_loop_run(loops_.back());
    g_main_loop_unref(loops_.back());
    loops_.pop_back();
  }
  void stop() { g_main_loop_quit(loops_.back()); }

  /// Runs for so long with nothing to do but to wait for the host's own timer.
  void idle(std::chrono::milliseconds time) {
    const GSourceFunc end = [](gpointer host) -> gboolean {
      static_cast<GLibHost*>(host)->stop();
      return G_SOURCE_REMOVE;
    };
    g_timeout_add(static_cast<guint>(time.count()), end, this);
    run();
  }

 private:
  GSource* watch_;
  std::vector<GMainLoop*> loops_;
};

/// A Qt event loop that watches the run loop's descriptor.
class QtHost {
 public:
  QtHost() {
    QObject::connect(&watch_, &QSocketNotifier::activated,
                     [] { NSRunLoop::mainRunLoop()->turn(); });
  }

  /// Runs, also within a run, until the innermost run is stopped.
  void run() {
    QEventLoop loop;
    loops_.push_back(&loop);
    loop.exec();
    loops_.pop_back();
  }
  void stop() { loops_.back()->quit(); }

  void idle(std::chrono::milliseconds time) {
    QTimer::singleShot(time, [this] { stop(); });
    run();
  }

 private:
  char name_[5] = "test";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_};
  QSocketNotifier watch_{NSRunLoop::mainRunLoop()->fileDescriptor(), QSocketNotifier::Read};
  std::vector<QEventLoop*> loops_;
};

template <class Host>
class HostedRunLoopTest : public ::testing::Test {
 protected:
  void arrive(char name) {
    EXPECT_TRUE(NSThread::isMainThread());
    arrived_ += name;
  }

  Host host_;
  std::string arrived_;
};

using Hosts = ::testing::Types<GLibHost, QtHost>;
TYPED_TEST_SUITE(HostedRunLoopTest, Hosts);

TYPED_TEST(HostedRunLoopTest, TimersFire) {
  const auto timer = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
      0.002, true, [this](const Ref<NSTimer>& self) {
        this->arrive('t');
        if (this->arrived_.size() == 3) {
          self->invalidate();
          this->host_.stop();
        }
      });
  this->host_.run();
  EXPECT_EQ(this->arrived_, "ttt");
}

TYPED_TEST(HostedRunLoopTest, WhatOtherThreadsHandToTheMainThreadArrivesInItsOrder) {
  std::thread worker([this] {
    performBlockOnMainThread([this] { this->arrive('w'); }, true);
    EXPECT_EQ(this->arrived_, "w") << "the worker waited";
    performBlockOnMainThread([this] { this->arrive('1'); }, false);
    performBlockOnMainThread([this] { this->arrive('2'); }, false);
    NSRunLoop::mainRunLoop()->performBlock([this] {
      this->arrive('b');
      this->host_.stop();
    });
  });
  this->host_.run();
  worker.join();
  EXPECT_EQ(this->arrived_, "w12b");
}

TYPED_TEST(HostedRunLoopTest, TheMainQueueIsDrained) {
  std::thread worker([this] {
    dispatch_async(dispatch_get_main_queue(), [this] { this->arrive('a'); });
    EXPECT_EQ(dispatch_sync(dispatch_get_main_queue(),
                            [this] {
                              this->arrive('s');
                              return 42;
                            }),
              42);
    dispatch_after(dispatchTimeAfter(0.002), dispatch_get_main_queue(), [this] {
      this->arrive('l');
      this->host_.stop();
    });
  });
  this->host_.run();
  worker.join();
  EXPECT_EQ(this->arrived_, "asl");
}

TYPED_TEST(HostedRunLoopTest, ALoopOfTheHostWithinACallbackIsServed) {
  NSRunLoop::mainRunLoop()->performBlock([this] {
    this->arrive('1');
    const auto inner = NSTimer::scheduledTimerWithTimeInterval_repeats_block(
        0.002, false, [this](const Ref<NSTimer>&) {
          this->arrive('2');
          this->host_.stop();
        });
    this->host_.run();
    this->arrive('3');
    this->host_.stop();
  });
  this->host_.run();
  EXPECT_EQ(this->arrived_, "123");
}

TYPED_TEST(HostedRunLoopTest, AnIdleHostTakesNoTurns) {
  const auto loop = NSRunLoop::mainRunLoop();
  loop->performBlock([this] { this->host_.stop(); });
  this->host_.run();
  loop->turn();
  const auto before = loop->turnCount();
  this->host_.idle(std::chrono::milliseconds(20));
  EXPECT_EQ(loop->turnCount(), before);
}

}  // namespace
}  // namespace kestova
