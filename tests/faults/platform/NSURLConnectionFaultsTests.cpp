// SPDX-License-Identifier: Apache-2.0
#include <KestovaPlatform/NSURLConnection.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>

#include "AllocationFaults.h"
#include "LoopbackServer.h"
#include "PropertyLists.h"
#include "TemporaryFolder.h"

using namespace kestova;
using namespace kestova::testing;

namespace {

/// Connections to this machine take no proxy, and a server that goes ends no process.
[[maybe_unused]] const bool kPrepared = [] {
  std::signal(SIGPIPE, SIG_IGN);
  return ::setenv("no_proxy", "*", 1) == 0;
}();

const std::string kBody(200000, 'b');

/// What loading a URL has given.
struct Loading {
  Ref<NSData> data;
  Ref<NSError> error;

  void run(const std::string& url) {
    data = nullptr;
    error = nullptr;
    data = NSURLConnection::sendSynchronousRequest_returningResponse_error(
        NSURLRequest::requestWithURL(NSURL::URLWithString(url)), nullptr, &error);
  }
  NSInteger code() const { return error ? error->code() : 0; }
};

/// A server that sends the body to everybody.
class NSURLConnectionFaults : public ::testing::Test {
 protected:
  LoopbackServer server_{LoopbackServer::answering([](const std::string&) {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " +
           std::to_string(kBody.size()) + "\r\n\r\n" + kBody;
  })};
  Loading loading_;
};

}  // namespace

TEST_F(NSURLConnectionFaults, WithoutASocketThereIsNoConnection) {
  for (const int error : {EMFILE, ENFILE, ENOMEM}) {
    const ArmedFault full(FaultyCall::socket, 1, Fault::failingFromNowOn(error));
    loading_.run(server_.url());
    EXPECT_TRUE(full.wasMet());
    EXPECT_EQ(loading_.data, nullptr);
    EXPECT_EQ(loading_.code(), NSURLErrorCannotConnectToHost);
  }
  loading_.run(server_.url());
  EXPECT_TRUE(textOfData(loading_.data) == kBody);
}

TEST_F(NSURLConnectionFaults, ARefusedConnectionIsToldByItsReason) {
  for (const auto& [error, code] : {std::pair{ECONNREFUSED, NSURLErrorCannotConnectToHost},
                                    std::pair{EHOSTUNREACH, NSURLErrorCannotConnectToHost},
                                    std::pair{ENETUNREACH, NSURLErrorNotConnectedToInternet},
                                    std::pair{ENETDOWN, NSURLErrorNotConnectedToInternet}}) {
    const ArmedFault refused(FaultyCall::connect, 1, Fault::failingFromNowOn(error));
    loading_.run(server_.url());
    EXPECT_TRUE(refused.wasMet());
    EXPECT_EQ(loading_.data, nullptr);
    EXPECT_EQ(loading_.code(), code) << error;
  }
}

/// Whether no more descriptors than that are open once the server has closed its ends of what was
/// cut off, which it does in a thread of its own.
bool comeDownTo(std::ptrdiff_t most) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (openDescriptors() > most && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  return openDescriptors() <= most;
}

TEST_F(NSURLConnectionFaults, DataThatFindsNoMemoryIsAnErrorAndNeverAPart) {
  const auto before = openDescriptors();
  const int refused = walkFaults(
      FaultyCall::realloc, Fault::failing(ENOMEM), FaultyThreads::own,
      [&] {
        try {
          loading_.run(server_.url());
        } catch (const std::bad_alloc&) {
        }
      },
      [&](bool met) {
        EXPECT_TRUE(met || loading_.data != nullptr);
        EXPECT_TRUE(loading_.data == nullptr || textOfData(loading_.data) == kBody);
        EXPECT_TRUE(comeDownTo(before + 2)) << "but for the server's end";
      });
  EXPECT_GT(refused, 0);
  EXPECT_EQ(loading_.code(), 0);
}

TEST_F(NSURLConnectionFaults, WhatFindsNoMemoryThrowsOrFailsAndLeavesNothingOpen) {
  const auto before = openDescriptors();
  const int refused = walkAllocations(
      [&] {
        loading_.data = nullptr;
        loading_.run(server_.url());
      },
      [&](bool threw) {
        EXPECT_FALSE(threw && loading_.data);
        EXPECT_TRUE(loading_.data == nullptr || textOfData(loading_.data) == kBody);
        EXPECT_TRUE(threw || loading_.data || loading_.code() != 0);
        EXPECT_TRUE(comeDownTo(before + 2)) << "but for the server's end";
      });
  EXPECT_GT(refused, 10);
}

TEST(NSURLConnectionFileFaults, AFileThatFailsIsToldByItsReason) {
  const TemporaryFolder folder;
  const std::string url = "file://" + folder.write("text", "text");
  Loading loading;
  for (const auto& [error, code] :
       {std::pair{EIO, NSURLErrorUnknown}, std::pair{ENOMEM, NSURLErrorDataLengthExceedsMaximum},
        std::pair{EACCES, NSURLErrorNoPermissionsToReadFile}}) {
    const int failed = walkFaults(
        FaultyCall::read, Fault::failing(error), FaultyThreads::own, [&] { loading.run(url); },
        [&, code = code](bool met) {
          EXPECT_EQ(textOfData(loading.data), met ? "" : "text");
          EXPECT_EQ(loading.code(), met ? NSInteger{code} : 0);
        });
    EXPECT_EQ(failed, 2);
  }
}
