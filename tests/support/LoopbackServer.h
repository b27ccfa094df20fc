// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace kestova::testing {

/// One client at the other end of a socket, as a test's server sees it.
class LoopbackClient {
 public:
  explicit LoopbackClient(int socket) : socket_(socket) {}
  ~LoopbackClient() {
    if (socket_ >= 0) ::close(socket_);
  }
  LoopbackClient(const LoopbackClient&) = delete;
  LoopbackClient& operator=(const LoopbackClient&) = delete;

  int socket() const { return socket_; }

  /// The head of the next request, up to the empty line, and as much of its body as its
  /// Content-Length says; empty when the client has gone.
  std::string readRequest() {
    constexpr std::string_view kEnd = "\r\n\r\n";
    while (received_.find(kEnd) == std::string::npos) {
      if (!receive()) return {};
    }
    const auto size = received_.find(kEnd) + kEnd.size();
    const auto whole = size + lengthIn(received_.substr(0, size));
    while (received_.size() < whole) {
      if (!receive()) return {};
    }
    const std::string request = received_.substr(0, whole);
    received_.erase(0, whole);
    return request;
  }

  /// Whether all of it could be sent.
  bool send(std::string_view text) {
    while (!text.empty()) {
      const auto sent = ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      text.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  /// Says nothing until the client goes.
  void waitUntilGone() {
    while (receive()) {
    }
  }

  /// Ends the connection with a reset instead of an end.
  void reset() {
    const linger atOnce{1, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    ::close(std::exchange(socket_, -1));
  }

 private:
  static std::size_t lengthIn(const std::string& head) {
    constexpr std::string_view kField = "\r\nContent-Length: ";
    const auto place = head.find(kField);
    return place == std::string::npos ? 0 : std::stoul(head.substr(place + kField.size()));
  }

  bool receive() {
    char bytes[4096];
    const auto count = ::recv(socket_, bytes, sizeof bytes, 0);
    if (count > 0) received_.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
  }

  int socket_;
  std::string received_;
};

/// A server on a free port of this machine. It serves each connection on a thread of its own and
/// waits for all of them when it goes.
class LoopbackServer {
 public:
  using Service = std::function<void(LoopbackClient&)>;

  explicit LoopbackServer(Service service) : service_(std::move(service)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (listener_ < 0 || ::bind(listener_, generic, size) != 0 || ::listen(listener_, 64) != 0 ||
        ::getsockname(listener_, generic, &size) != 0) {
      throw std::runtime_error("no server can be started");
    }
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
  }
  ~LoopbackServer() {
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (auto& thread : threads_) thread.join();
    ::close(listener_);
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  /// A server that answers each request of a connection with what `answer` makes of it.
  static Service answering(std::function<std::string(const std::string& request)> answer) {
    return [answer = std::move(answer)](LoopbackClient& client) {
      for (std::string request; !(request = client.readRequest()).empty();) {
        if (!client.send(answer(request))) return;
      }
    };
  }

  int port() const { return port_; }

  /// Such as "http://127.0.0.1:4711/path".
  std::string url(const std::string& path = "/", const std::string& scheme = "http") const {
    return scheme + "://127.0.0.1:" + std::to_string(port_) + path;
  }

  int connectionCount() const { return connections_; }

 private:
  void accept() {
    for (int socket; (socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
      ++connections_;
      threads_.emplace_back([this, socket] {
        LoopbackClient client(socket);
        service_(client);
      });
    }
  }

  const Service service_;
  const int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int port_ = 0;
  std::atomic<int> connections_{0};
  /// Used by the acceptor alone while it runs.
  std::vector<std::thread> threads_;
  std::thread acceptor_;
};

}  // namespace kestova::testing
