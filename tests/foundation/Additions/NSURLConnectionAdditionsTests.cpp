// SPDX-License-Identifier: Apache-2.0
#include <KestovaFoundation/Additions/NSURLConnectionAdditions.h>
#include <KestovaPlatform/Dispatch.h>
#include <KestovaPlatform/NSThread.h>
#include <gtest/gtest.h>

#include "LoopbackServer.h"

#include <atomic>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>

namespace kestova::testing {
namespace {

class NSURLConnectionAdditionsTest : public ::testing::Test {
 protected:
  NSURLConnectionAdditionsTest() { ::setenv("no_proxy", "*", 1); }

  Ref<NSMutableURLRequest> request(const std::string& path = "/") const {
    return NSMutableURLRequest::requestWithURL(NSURL::URLWithString(server_.url(path)));
  }

  static std::string textOf(const Ref<NSData>& data) {
    return data ? std::string(reinterpret_cast<const char*>(data->bytes()), data->length())
                : "none";
  }

  const LoopbackServer server_{LoopbackServer::answering([](const std::string& request) {
    return "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n" + request.substr(4, 5);
  })};
};

// Shows: sendSynchronousRequest_completionBlock
TEST_F(NSURLConnectionAdditionsTest, ASynchronousRequestCallsBackOnTheCallingThread) {
  int calls = 0;
  sendSynchronousRequest_completionBlock(
      request("/page"),
      [&, caller = std::this_thread::get_id()](
          const Ref<NSData>& data, const Ref<NSURLResponse>& response, const Ref<NSError>& error) {
        ++calls;
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_EQ(textOf(data), "/page");
        EXPECT_EQ(cast<NSHTTPURLResponse>(response)->statusCode(), 200);
        EXPECT_EQ(error, nullptr);
      });
  EXPECT_EQ(calls, 1);
}

// Shows: sendSynchronousRequest_completionBlock
TEST_F(NSURLConnectionAdditionsTest, AFailureArrivesAsTheError) {
  for (const auto& bad : {Ref<NSURLRequest>(), NSURLRequest::requestWithURL(nullptr)}) {
    int calls = 0;
    sendSynchronousRequest_completionBlock(
        bad, [&](const Ref<NSData>& data, const Ref<NSURLResponse>& response,
                 const Ref<NSError>& error) {
          ++calls;
          EXPECT_EQ(data, nullptr);
          EXPECT_EQ(response, nullptr);
          EXPECT_EQ(error->domain(), NSURLErrorDomain);
          EXPECT_EQ(error->code(), NSURLErrorBadURL);
        });
    EXPECT_EQ(calls, 1);
  }
}

// Shows: sendSynchronousRequest_completionBlock
TEST_F(NSURLConnectionAdditionsTest, WhatTheBlockThrowsArrivesAtTheCaller) {
  EXPECT_THROW(
      sendSynchronousRequest_completionBlock(
          nullptr, [](const auto&, const auto&, const auto&) { throw std::runtime_error("no"); }),
      std::runtime_error);
}

// Shows: sendAsynchronousRequest_completionBlock
TEST_F(NSURLConnectionAdditionsTest, AnAsynchronousRequestCallsBackOnTheGlobalQueue) {
  std::promise<std::string> arrived;
  const auto changing = request("/page");
  sendAsynchronousRequest_completionBlock(
      changing, [&](const Ref<NSData>& data, const Ref<NSURLResponse>&, const Ref<NSError>&) {
        EXPECT_FALSE(NSThread::isMainThread());
        EXPECT_TRUE(
            dispatchQueueIsCurrent(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0)));
        arrived.set_value(textOf(data));
      });
  changing->setURL(nullptr);
  EXPECT_EQ(arrived.get_future().get(), "/page");
}

// Shows: sendAsynchronousRequest_completionBlock
TEST_F(NSURLConnectionAdditionsTest, AFailureOfAnAsynchronousRequestArrivesAsTheError) {
  for (const auto& bad : {Ref<NSURLRequest>(), NSURLRequest::requestWithURL(nullptr)}) {
    std::promise<Ref<NSError>> arrived;
    sendAsynchronousRequest_completionBlock(
        bad, [&](const Ref<NSData>& data, const Ref<NSURLResponse>& response,
                 const Ref<NSError>& error) {
          EXPECT_EQ(data, nullptr);
          EXPECT_EQ(response, nullptr);
          arrived.set_value(error);
        });
    const auto error = arrived.get_future().get();
    EXPECT_EQ(error->domain(), NSURLErrorDomain);
    EXPECT_EQ(error->code(), NSURLErrorBadURL);
  }
}

// Shows: sendAsynchronousRequest_completionBlock
TEST_F(NSURLConnectionAdditionsTest, ManyAsynchronousRequestsAllCallBackOnce) {
  DispatchGroup group;
  std::atomic<int> arrived{0};
  for (int number = 100; number < 140; ++number) {
    group.enter();
    const auto path = "/" + std::to_string(number) + "x";
    sendAsynchronousRequest_completionBlock(
        request(path), [&, path](const Ref<NSData>& data, const auto&, const auto&) {
          arrived += textOf(data) == path ? 1 : 0;
          group.leave();
        });
  }
  group.wait();
  EXPECT_EQ(arrived, 40);
}

// Shows: sendSynchronousRequest_completionBlock, sendAsynchronousRequest_completionBlock
TEST(NSURLConnectionAdditionsDeathTest, AMissingBlockEndsTheProcess) {
  EXPECT_DEATH(sendSynchronousRequest_completionBlock(nullptr, nullptr), "completion != nil");
  EXPECT_DEATH(sendAsynchronousRequest_completionBlock(nullptr, nullptr), "completion != nil");
}

}  // namespace
}  // namespace kestova::testing
