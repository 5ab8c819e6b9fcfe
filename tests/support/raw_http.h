#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace zforms {

// Milliseconds to wait for an event that must happen, even on a slow machine.
constexpr int kPatience = 30'000;

struct RawAnswer {
  int status = 0;  // 0: the connection ended without an answer
  std::string head;
  std::string body;
};

// A client that sends any bytes and follows no rule of HTTP.
class RawClient {
 public:
  explicit RawClient(uint16_t port, bool ipv6 = false) {
    socket_ = ::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0);
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_addr = in6addr_loopback;
    connected_ = ipv6 ? ::connect(socket_, reinterpret_cast<sockaddr*>(&v6), sizeof v6) == 0
                      : ::connect(socket_, reinterpret_cast<sockaddr*>(&v4), sizeof v4) == 0;
  }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;
  ~RawClient() { Close(); }

  bool IsConnected() const { return connected_; }
  bool Send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
  }
  // The next answer. Its body is read by its length unless the request was HEAD.
  RawAnswer Receive(bool with_body = true, int timeout_ms = kPatience) {
    RawAnswer answer;
    while (unread_.find("\r\n\r\n") == std::string::npos) {
      if (!Fill(timeout_ms)) return answer;
    }
    const size_t end = unread_.find("\r\n\r\n") + 4;
    answer.head = unread_.substr(0, end);
    unread_.erase(0, end);
    answer.status = std::atoi(answer.head.c_str() + std::string_view("HTTP/1.1 ").size());
    const size_t length_at = answer.head.find("Content-Length: ");
    if (!with_body || length_at == std::string::npos) return answer;
    const size_t length = std::strtoul(answer.head.c_str() + length_at + 16, nullptr, 10);
    while (unread_.size() < length && Fill(timeout_ms)) continue;
    answer.body = unread_.substr(0, length);
    unread_.erase(0, length);
    return answer;
  }
  // Reads about `count` of the bytes that have arrived.
  void Take(size_t count) {
    for (const size_t wanted = unread_.size() + count; unread_.size() < wanted && Fill(0);) continue;
  }
  RawAnswer Ask(std::string_view request) {
    Send(request);
    return Receive();
  }
  // True when the server closes the connection without sending more.
  bool IsEnded(int timeout_ms = kPatience) {
    while (Fill(timeout_ms)) continue;
    return ended_ && unread_.empty();
  }
  void Close() {
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
  }

 private:
  bool Fill(int timeout_ms) {
    pollfd wanted{socket_, POLLIN, 0};
    if (::poll(&wanted, 1, timeout_ms) <= 0) return false;
    char bytes[16384];
    const ssize_t got = ::recv(socket_, bytes, sizeof bytes, 0);
    if (got <= 0) ended_ = true;
    if (got > 0) unread_.append(bytes, static_cast<size_t>(got));
    return got > 0;
  }

  int socket_ = -1;
  bool connected_ = false;
  bool ended_ = false;
  std::string unread_;
};

}  // namespace zforms
