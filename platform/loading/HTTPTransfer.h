// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <KestovaPlatform/NSData.h>
#include <KestovaPlatform/NSTypes.h>

#include <curl/curl.h>

#include "loading/HTTPFields.h"
#include "loading/URLFault.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kestova {

/// One request as it goes out.
struct HTTPRequest {
  std::string url;
  std::string method;
  HTTPFields fields;
  /// Null for none.
  Ref<NSData> body;
};

/// What came back.
struct HTTPReply {
  int status = 0;
  HTTPFields fields;
  Ref<NSMutableData> body;

  /// Where the server redirects to; null when it doesn't.
  const std::string* redirection() const;
};

/// How much a server may send.
struct HTTPLimits {
  std::size_t bodyBytes = std::size_t{2} << 30;
  std::size_t headerBytes = std::size_t{256} << 10;
};

/// Performs requests over HTTP, one after the other, on one thread; those to the same server share
/// a connection. What fails throws a URLFault.
class HTTPTransfer {
 public:
  /// The time-out is as NSURLRequest.h tells.
  explicit HTTPTransfer(NSTimeInterval timeout, HTTPLimits limits = {});

  /// The body of a redirect is neither waited for nor kept.
  HTTPReply perform(const HTTPRequest& request);

 private:
  using Clock = std::chrono::steady_clock;

  /// libcurl's handles are pointers to void, each kind with a function of its own to end it.
  template <auto end>
  struct Ending {
    template <class Handle>
    void operator()(Handle* handle) const {
      end(handle);
    }
  };
  using Easy = std::unique_ptr<CURL, Ending<curl_easy_cleanup>>;
  using Multi = std::unique_ptr<CURLM, Ending<curl_multi_cleanup>>;
  using Lines = std::unique_ptr<curl_slist, Ending<curl_slist_free_all>>;

  void prepare(const HTTPRequest& request, curl_slist* lines);
  void setMethod(const HTTPRequest& request);
  CURLcode run();
  CURLcode result() const;
  void wait() const;
  void readHead();
  [[noreturn]] void fail(CURLcode result) const;

  static std::size_t takeHeader(char* bytes, std::size_t, std::size_t count, void* self);
  static std::size_t takeBody(char* bytes, std::size_t, std::size_t count, void* self);
  static int noteProgress(void* self, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent);
  bool noteHeader(std::string_view line);
  bool add(const char* bytes, std::size_t count);
  bool refuse(const char* reason);

  const std::chrono::milliseconds timeout_;
  const HTTPLimits limits_;
  /// Goes after the handle that it works on.
  Multi multi_;
  Easy easy_;
  std::array<char, CURL_ERROR_SIZE> problem_{};

  // Of the request at work
  Clock::time_point lastActivity_;
  curl_off_t bytesMoved_ = 0;
  std::size_t headerBytes_ = 0;
  bool isHeadWhole_ = false;
  HTTPReply reply_;
  /// Why a callback ended the transfer.
  std::optional<URLFault> fault_;
};

}  // namespace kestova
