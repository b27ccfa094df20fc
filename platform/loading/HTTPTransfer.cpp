// SPDX-License-Identifier: Apache-2.0
#include "loading/HTTPTransfer.h"

#include <KestovaPlatform/ASCIICase.h>

#include <openssl/x509_vfy.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <new>
#include <utility>

namespace kestova {
namespace {

constexpr NSTimeInterval kUsualTimeout = 60;
/// Longer than a program runs, and short enough to be added to any moment.
constexpr NSTimeInterval kForever = 100.0 * 365 * 24 * 3600;

std::chrono::milliseconds durationOf(NSTimeInterval timeout) {
  const auto seconds = timeout > 0 ? std::min(timeout, kForever) : kUsualTimeout;
  return std::chrono::milliseconds(static_cast<long>(std::ceil(seconds * 1000)));
}

/// libcurl's own memory and tables, made once for all threads and never taken down, since another
/// part of the program may use libcurl as well.
void initialiseOnce() {
  static const CURLcode result = curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) {
    throw URLFault{NSURLErrorUnknown, curl_easy_strerror(result)};
  }
}

/// Fields that follow from how the loader sends a body and ends a request.
bool isOurs(const std::string& name) {
  constexpr std::string_view kOurs[] = {"connection", "content-length", "expect",
                                        "transfer-encoding"};
  return std::ranges::find(kOurs, lowercaseASCII(name)) != std::end(kOurs);
}

void append(auto& lines, const std::string& line) {
  curl_slist* const longer = curl_slist_append(lines.get(), line.c_str());
  if (longer == nullptr) {
    throw std::bad_alloc();
  }
  static_cast<void>(lines.release());
  lines.reset(longer);
}

/// libcurl takes a field without a value for one to leave out, unless it ends so.
std::string lineFor(const std::string& name, const std::string& value) {
  return trimmed(value).empty() ? name + ';' : name + ": " + value;
}

bool isRedirect(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

NSInteger codeForCertificate(long verification) {
  switch (verification) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
      return NSURLErrorServerCertificateHasBadDate;
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return NSURLErrorServerCertificateNotYetValid;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
      return NSURLErrorServerCertificateHasUnknownRoot;
    default:
      return NSURLErrorServerCertificateUntrusted;
  }
}

NSInteger codeForConnecting(long systemError) {
  return systemError == ENETUNREACH || systemError == ENETDOWN ? NSURLErrorNotConnectedToInternet
                                                               : NSURLErrorCannotConnectToHost;
}

NSInteger codeFor(CURLcode result, long systemError, long verification) {
  switch (result) {
    case CURLE_URL_MALFORMAT:
      return NSURLErrorBadURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return NSURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
      return codeForConnecting(systemError);
    case CURLE_OPERATION_TIMEDOUT:
      return NSURLErrorTimedOut;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
      return NSURLErrorNetworkConnectionLost;
    case CURLE_UNSUPPORTED_PROTOCOL:  // what came does not begin as HTTP does
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return NSURLErrorBadServerResponse;
    case CURLE_BAD_CONTENT_ENCODING:
      return NSURLErrorCannotDecodeContentData;
#if LIBCURL_VERSION_NUM >= 0x080600
    case CURLE_TOO_LARGE:  // more fields than libcurl itself takes
      return NSURLErrorDataLengthExceedsMaximum;
#endif
    case CURLE_PEER_FAILED_VERIFICATION:
      return codeForCertificate(verification);
    case CURLE_SSL_CLIENTCERT:
      return NSURLErrorClientCertificateRequired;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CIPHER:
      return NSURLErrorSecureConnectionFailed;
    default:
      return NSURLErrorUnknown;
  }
}

}  // namespace

const std::string* HTTPReply::redirection() const {
  const auto location = isRedirect(status) ? fields.find("Location") : fields.end();
  return location == fields.end() ? nullptr : &location->second;
}

HTTPTransfer::HTTPTransfer(NSTimeInterval timeout, HTTPLimits limits)
    : timeout_(durationOf(timeout)), limits_(limits) {
  initialiseOnce();
  multi_.reset(curl_multi_init());
  easy_.reset(curl_easy_init());
  if (!multi_ || !easy_) {
    throw std::bad_alloc();
  }
}

HTTPReply HTTPTransfer::perform(const HTTPRequest& request) {
  Lines lines;
  append(lines, "Expect:");
  if (!request.body && !request.fields.contains("Content-Type")) {
    append(lines, "Content-Type:");
  }
  for (const auto& [name, value] : request.fields) {
    if (!isOurs(name)) {
      append(lines, lineFor(name, value));
    }
  }
  prepare(request, lines.get());
  const CURLcode result = run();
  if (fault_) {
    throw *fault_;
  }
  readHead();
  if (!isHeadWhole_ && result == CURLE_OK) {
    throw URLFault{NSURLErrorNetworkConnectionLost, "The header fields are cut off."};
  }
  if (result != CURLE_OK && reply_.redirection() == nullptr) {
    fail(result);
  }
  return std::exchange(reply_, {});
}

void HTTPTransfer::prepare(const HTTPRequest& request, curl_slist* lines) {
  lastActivity_ = Clock::now();
  bytesMoved_ = 0;
  headerBytes_ = 0;
  isHeadWhole_ = false;
  reply_ = {0, {}, NSMutableData::data()};
  fault_.reset();
  problem_.front() = '\0';

  CURL* const easy = easy_.get();
  curl_easy_reset(easy);
  curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, problem_.data());
  curl_easy_setopt(easy, CURLOPT_USERAGENT, "KestovaPlatform");
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, lines);
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, std::min<long>(timeout_.count(), INT_MAX));
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, takeHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, takeBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, noteProgress);
  curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
  if (const char* const trusted = ::secure_getenv("SSL_CERT_FILE")) {
    curl_easy_setopt(easy, CURLOPT_CAINFO, trusted);
  }
  setMethod(request);
}

void HTTPTransfer::setMethod(const HTTPRequest& request) {
  CURL* const easy = easy_.get();
  if (request.method == "HEAD") {
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    return;
  }
  if (request.body || request.method == "POST") {
    const auto body = request.body ? request.body->span() : std::span<const std::byte>();
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS,
                     body.empty() ? "" : reinterpret_cast<const char*>(body.data()));
  }
  curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

/// Runs the transfer to its end, or until nothing has happened for too long.
CURLcode HTTPTransfer::run() {
  curl_multi_add_handle(multi_.get(), easy_.get());
  CURLcode result = CURLE_OPERATION_TIMEDOUT;
  int running = 1;
  while (running != 0 && !fault_) {
    curl_multi_perform(multi_.get(), &running);
    if (running == 0) {
      result = this->result();
    } else if (Clock::now() - lastActivity_ >= timeout_) {
      fault_ = URLFault{NSURLErrorTimedOut, {}};
    } else {
      wait();
    }
  }
  curl_multi_remove_handle(multi_.get(), easy_.get());
  return result;
}

CURLcode HTTPTransfer::result() const {
  int left = 0;
  const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left);
  return message == nullptr ? CURLE_FAILED_INIT : message->data.result;
}

/// Sleeps until there is something to do or the time is up.
void HTTPTransfer::wait() const {
  constexpr long kLongest = 3'600'000;
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(lastActivity_ + timeout_ - Clock::now());
  curl_multi_poll(multi_.get(), nullptr, 0,
                  static_cast<int>(std::clamp<long>(left.count(), 0, kLongest)), nullptr);
}

/// Status and fields of the last response: those before it were informational.
void HTTPTransfer::readHead() {
  long status = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
  reply_.status = static_cast<int>(status);
  reply_.fields.clear();
  for (curl_header* field = nullptr;
       (field = curl_easy_nextheader(easy_.get(), CURLH_HEADER, -1, field)) != nullptr;) {
    const auto [place, isNew] = reply_.fields.try_emplace(field->name, field->value);
    if (!isNew) {
      place->second.append(", ").append(field->value);
    }
  }
}

void HTTPTransfer::fail(CURLcode result) const {
  long systemError = 0;
  long verification = 0;
  curl_easy_getinfo(easy_.get(), CURLINFO_OS_ERRNO, &systemError);
  curl_easy_getinfo(easy_.get(), CURLINFO_SSL_VERIFYRESULT, &verification);
  throw URLFault{codeFor(result, systemError, verification),
                 problem_.front() == '\0' ? curl_easy_strerror(result) : problem_.data(),
                 static_cast<int>(systemError)};
}

std::size_t HTTPTransfer::takeHeader(char* bytes, std::size_t, std::size_t count, void* self) {
  return static_cast<HTTPTransfer*>(self)->noteHeader({bytes, count}) ? count : 0;
}

/// libcurl takes a connection that ends between two header fields for a whole response. The fields
/// of a trailer come here as well, behind the empty line. Whether to go on.
bool HTTPTransfer::noteHeader(std::string_view line) {
  lastActivity_ = Clock::now();
  headerBytes_ += line.size();
  isHeadWhole_ = line.starts_with("HTTP/") ? false : isHeadWhole_ || line == "\r\n" || line == "\n";
  return headerBytes_ <= limits_.headerBytes || refuse("There are too many header fields.");
}

std::size_t HTTPTransfer::takeBody(char* bytes, std::size_t, std::size_t count, void* self) {
  return static_cast<HTTPTransfer*>(self)->add(bytes, count) ? count : 0;
}

/// Called by libcurl, through which no exception may pass. Whether to go on.
bool HTTPTransfer::add(const char* bytes, std::size_t count) {
  try {
    if (reply_.body->length() == 0) {
      readHead();
    }
    if (reply_.redirection() != nullptr) {
      return false;
    }
    if (count > limits_.bodyBytes - reply_.body->length()) {
      return refuse("The data is too long.");
    }
    reply_.body->appendBytes_length(bytes, count);
    return true;
  } catch (const std::bad_alloc&) {
    fault_ = URLFault{NSURLErrorDataLengthExceedsMaximum, {}};  // needs no memory
    return false;
  }
}

bool HTTPTransfer::refuse(const char* reason) {
  fault_ = URLFault{NSURLErrorDataLengthExceedsMaximum, reason};
  return false;
}

int HTTPTransfer::noteProgress(void* self, curl_off_t, curl_off_t received, curl_off_t,
                               curl_off_t sent) {
  auto& transfer = *static_cast<HTTPTransfer*>(self);
  if (std::exchange(transfer.bytesMoved_, received + sent) != received + sent) {
    transfer.lastActivity_ = Clock::now();
  }
  return 0;
}

}  // namespace kestova
