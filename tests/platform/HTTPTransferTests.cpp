// SPDX-License-Identifier: Apache-2.0
#include "loading/HTTPTransfer.h"

#include <gtest/gtest.h>

#include "LoopbackServer.h"

#include <string>

namespace kestova::testing {
namespace {

/// 0 or the code of the fault.
NSInteger loadWithin(HTTPLimits limits, const std::string& answer) {
  LoopbackServer server(LoopbackServer::answering([&](const std::string&) { return answer; }));
  try {
    HTTPTransfer(5, limits).perform({server.url(), "GET", {}, nullptr});
    return 0;
  } catch (const URLFault& fault) {
    return fault.code;
  }
}

TEST(HTTPTransferTests, ABodyMayTakeAllOfItsBytesAndNotOneMore) {
  const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: ";
  EXPECT_EQ(loadWithin({.bodyBytes = 4}, head + "4\r\n\r\nbody"), 0);
  EXPECT_EQ(loadWithin({.bodyBytes = 3}, head + "4\r\n\r\nbody"), -1103);
  EXPECT_EQ(loadWithin({.bodyBytes = 0}, head + "0\r\n\r\n"), 0);
}

TEST(HTTPTransferTests, AHeadMayTakeAllOfItsBytesAndNotOneMore) {
  const std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
  EXPECT_EQ(loadWithin({.headerBytes = answer.size()}, answer), 0);
  EXPECT_EQ(loadWithin({.headerBytes = answer.size() - 1}, answer), -1103);
}

TEST(HTTPTransferTests, UnpackingCountsWhatComesOut) {
  // A hundred zeros.
  const std::string packed(
      "\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03\x33\x30\xa0\x3d\x00\x00"
      "\x77\x60\xa4\x53\x64\x00\x00\x00",
      24);
  const auto answer =
      "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 24\r\n\r\n" + packed;
  EXPECT_EQ(loadWithin({.bodyBytes = 99}, answer), -1103);
}

TEST(HTTPTransferTests, RequestsToOneServerShareAConnection) {
  LoopbackServer server(LoopbackServer::answering([](const std::string&) -> std::string {
    return "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx";
  }));
  HTTPTransfer transfer(5);
  for (int turn = 0; turn < 3; ++turn) {
    EXPECT_EQ(transfer.perform({server.url(), "GET", {}, nullptr}).body->length(), 1U);
  }
  EXPECT_EQ(server.connectionCount(), 1);
}

}  // namespace
}  // namespace kestova::testing
