// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSNotificationCenterAdditions.h>
#include <KestovaPlatform/NSRunLoop.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace kestova::testing {
namespace {

class NSNotificationCenterAdditionsTests : public ::testing::Test {
 protected:
  NSNotificationCenterAdditionsTests() {
    (void)centre->addObserverForName_object_queue_usingBlock(
        nullptr, nullptr, nullptr, [this](const Ref<NSNotification>& notification) {
          heard = notification;
          wasOnMainThread = NSThread::isMainThread();
        });
  }

  void post(const Ref<NSString>& name, const id& object, const Ref<NSDictionary>& userInfo) {
    heard = nullptr;
    postNotificationOnMainThreadName_object_userInfo(centre, name, object, userInfo);
  }

  const Ref<NSNotificationCenter> centre = NSNotificationCenter::init();
  const Ref<NSDictionary> userInfo = NSDictionary::of({{"key", "value"}});
  Ref<NSNotification> heard;
  bool wasOnMainThread = false;
};

using NSNotificationCenterAdditionsDeathTest = NSNotificationCenterAdditionsTests;

// Shows: postNotificationOnMainThreadName_object_userInfo
TEST_F(NSNotificationCenterAdditionsTests, PostsAtOnceOnTheMainThread) {
  post("name", "object", userInfo);
  ASSERT_NE(heard, nullptr);
  EXPECT_EQ(heard->name(), "name");
  EXPECT_TRUE(heard->object()->isEqual("object"));
  EXPECT_TRUE(heard->userInfo()->isEqual(userInfo));
  EXPECT_TRUE(wasOnMainThread);
}

// Shows: postNotificationOnMainThreadName_object_userInfo
TEST_F(NSNotificationCenterAdditionsTests, FromAnotherThreadItReturnsWhenTheMainThreadHasPosted) {
  std::atomic<bool> returned{false};
  std::thread poster([&] {
    post("name", "object", userInfo);
    EXPECT_NE(heard, nullptr);
    EXPECT_TRUE(wasOnMainThread);
    returned = true;
    performBlockOnMainThread([] { NSRunLoop::currentRunLoop()->stop(); }, false);
  });
  EXPECT_FALSE(returned.load());
  while (!returned.load()) {
    (void)NSRunLoop::mainRunLoop()->runInMode_seconds_returnAfterSourceHandled(NSDefaultRunLoopMode,
                                                                               10, false);
  }
  poster.join();
}

// Shows: postNotificationOnMainThreadName_object_userInfo
TEST_F(NSNotificationCenterAdditionsTests, ANullObjectDropsTheUserInfoAsWell) {
  post("name", nullptr, userInfo);
  EXPECT_EQ(heard->name(), "name");
  EXPECT_EQ(heard->object(), nullptr);
  EXPECT_EQ(heard->userInfo(), nullptr);
}

// Shows: postNotificationOnMainThreadName_object_userInfo
TEST_F(NSNotificationCenterAdditionsTests, ANullNameDropsEverything) {
  post(nullptr, "object", userInfo);
  ASSERT_NE(heard, nullptr);
  EXPECT_EQ(heard->name(), nullptr);
  EXPECT_EQ(heard->object(), nullptr);
  EXPECT_EQ(heard->userInfo(), nullptr);
}

// Shows: _threadedPostNotificationOnMainThreadName_object_userInfo
TEST_F(NSNotificationCenterAdditionsTests, ItsMainThreadHalfTakesWhatTheDictionaryHas) {
  _threadedPostNotificationOnMainThreadName_object_userInfo(
      centre, NSDictionary::of({{"name", "n"}, {"userInfo", userInfo}}));
  EXPECT_EQ(heard->name(), "n");
  EXPECT_EQ(heard->object(), nullptr);
  EXPECT_TRUE(heard->userInfo()->isEqual(userInfo));
}

// Shows: postNotificationOnMainThreadName_object_userInfo, _threadedPostNotificationOnMainThreadName_object_userInfo
TEST_F(NSNotificationCenterAdditionsDeathTest, AMissingCentreOrDictionaryEndsTheProcess) {
  EXPECT_DEATH(postNotificationOnMainThreadName_object_userInfo(nullptr, "n", nullptr, nullptr),
               "self != nil");
  EXPECT_DEATH(_threadedPostNotificationOnMainThreadName_object_userInfo(centre, nullptr),
               "arguments != nil");
}

}  // namespace
}  // namespace kestova::testing
