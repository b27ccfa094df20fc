// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/RunLoopDescriptorSource.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>

#include "TemporaryFolder.h"
#include "files/FileDescriptor.h"

namespace kestova {
namespace {

/// One end of a connection is watched by the test's own run loop, the other is the test's.
class RunLoopDescriptorSourceTest : public ::testing::Test {
 protected:
  RunLoopDescriptorSourceTest() {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
    near = FileDescriptor(ends[0]);
    far = FileDescriptor(ends[1]);
  }
  ~RunLoopDescriptorSourceTest() override {
    if (source) {
      source->invalidate();
    }
  }

  void watch(NSUInteger events, Block<void(NSUInteger)> perform) {
    source = RunLoopDescriptorSource::sourceWithDescriptor_events_block(near.get(), events,
                                                                        std::move(perform));
    loop->addSource_forMode(source, NSDefaultRunLoopMode);
  }

  void send(const std::string& text) {
    EXPECT_EQ(::write(far.get(), text.data(), text.size()), ssize_t(text.size()));
  }

  std::string receive() {
    std::array<char, 64> buffer;
    const ssize_t size = ::read(near.get(), buffer.data(), buffer.size());
    return size > 0 ? std::string(buffer.data(), std::size_t(size)) : std::string();
  }

  /// Whether everybody has closed what the test's end is connected to.
  bool farIsHungUp() {
    pollfd poll{far.get(), POLLIN, 0};
    return ::poll(&poll, 1, 0) == 1 && (poll.revents & POLLHUP) != 0;
  }

  Ref<NSRunLoop> loop = NSRunLoop::currentRunLoop();
  FileDescriptor near;
  FileDescriptor far;
  Ref<RunLoopDescriptorSource> source;
};

using RunLoopDescriptorSourceDeathTest = RunLoopDescriptorSourceTest;

TEST_F(RunLoopDescriptorSourceTest, ItIsCalledWhileThereIsSomethingToRead) {
  int calls = 0;
  watch(RunLoopDescriptorReadable, [&](NSUInteger events) {
    EXPECT_EQ(events, NSUInteger{RunLoopDescriptorReadable});
    if (++calls == 2) {
      EXPECT_EQ(receive(), "hello");
    }
  });
  EXPECT_FALSE(loop->turn());
  send("hello");
  EXPECT_TRUE(loop->turn());
  EXPECT_TRUE(loop->turn());
  EXPECT_FALSE(loop->turn());
  EXPECT_EQ(calls, 2);
}

TEST_F(RunLoopDescriptorSourceTest, EachEventIsToldByItself) {
  NSUInteger seen = 0;
  watch(RunLoopDescriptorReadable | RunLoopDescriptorWritable,
        [&](NSUInteger events) { seen = events; });
  loop->turn();
  EXPECT_EQ(seen, NSUInteger{RunLoopDescriptorWritable});
  send("x");
  loop->turn();
  EXPECT_EQ(seen, NSUInteger{RunLoopDescriptorReadable | RunLoopDescriptorWritable});
}

TEST_F(RunLoopDescriptorSourceTest, AHangUpCountsAsTheAwaitedEvent) {
  bool ended = false;
  watch(RunLoopDescriptorReadable, [&](NSUInteger events) {
    EXPECT_EQ(events, NSUInteger{RunLoopDescriptorReadable});
    ended = receive().empty();
    source->invalidate();
  });
  far.close();
  EXPECT_TRUE(loop->turn());
  EXPECT_TRUE(ended);
  EXPECT_FALSE(loop->turn());
}

TEST_F(RunLoopDescriptorSourceTest, ASignalGivesACallWithoutEvents) {
  NSUInteger seen = 42;
  watch(RunLoopDescriptorReadable, [&](NSUInteger events) { seen = events; });
  source->signal();
  EXPECT_TRUE(loop->turn());
  EXPECT_EQ(seen, 0u);
}

TEST_F(RunLoopDescriptorSourceTest, TwoSourcesWatchOneDescriptor) {
  int readable = 0;
  int writable = 0;
  watch(RunLoopDescriptorReadable, [&](NSUInteger) { ++readable; });
  const auto other = RunLoopDescriptorSource::sourceWithDescriptor_events_block(
      near.get(), RunLoopDescriptorWritable, [&](NSUInteger) { ++writable; });
  loop->addSource_forMode(other, NSDefaultRunLoopMode);
  loop->turn();
  EXPECT_EQ(readable, 0);
  EXPECT_EQ(writable, 1);
  send("x");
  loop->turn();
  EXPECT_EQ(readable, 1);
  EXPECT_EQ(writable, 2);
  other->invalidate();
}

TEST_F(RunLoopDescriptorSourceTest, MoreDescriptorsThanOneWaitReportsAreAllServed) {
  constexpr int count = 200;
  int calls = 0;
  std::vector<Ref<RunLoopDescriptorSource>> sources;
  for (int i = 0; i < count; ++i) {
    sources.push_back(RunLoopDescriptorSource::sourceWithDescriptor_events_block(
        near.get(), RunLoopDescriptorWritable, [&, i](NSUInteger) {
          ++calls;
          sources[std::size_t(i)]->invalidate();
        }));
    loop->addSource_forMode(sources.back(), NSDefaultRunLoopMode);
  }
  while (loop->turn()) {
  }
  EXPECT_EQ(calls, count);
}

TEST_F(RunLoopDescriptorSourceTest, TheCallersDescriptorMayBeClosedFirst) {
  int calls = 0;
  watch(RunLoopDescriptorReadable, [&](NSUInteger) { ++calls; });
  near.close();
  EXPECT_FALSE(farIsHungUp());
  send("x");
  EXPECT_TRUE(loop->turn());
  source->invalidate();
  EXPECT_TRUE(farIsHungUp());
  EXPECT_FALSE(loop->turn());
  EXPECT_EQ(calls, 1);
}

TEST_F(RunLoopDescriptorSourceTest, WhatCannotBeWaitedForMakesNoSource) {
  testing::TemporaryFolder folder;
  const FileDescriptor file(::open(folder.at("file").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_TRUE(file);
  EXPECT_EQ(RunLoopDescriptorSource::sourceWithDescriptor_events_block(
                file.get(), RunLoopDescriptorReadable, [](NSUInteger) {}),
            nullptr);
  EXPECT_EQ(errno, EPERM);
  EXPECT_EQ(RunLoopDescriptorSource::sourceWithDescriptor_events_block(
                -1, RunLoopDescriptorReadable, [](NSUInteger) {}),
            nullptr);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(RunLoopDescriptorSourceDeathTest, ASourceAwaitsSomething) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(watch(0, [](NSUInteger) {}), "events != 0");
  EXPECT_DEATH(watch(RunLoopDescriptorReadable, nullptr), "perform != nil");
}

}  // namespace
}  // namespace kestova
