#pragma once

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tests/support/raw_socket.h"

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
  explicit RawClient(uint16_t port, bool ipv6 = false) : socket_(port, ipv6) {}

  bool IsConnected() const { return socket_.IsConnected(); }
  bool Send(std::string_view bytes) {
    while (!bytes.empty()) {
      const size_t sent = socket_.Send(bytes.data(), bytes.size());
      if (sent == 0) return false;
      bytes.remove_prefix(sent);
    }
    return true;
  }
  // Reads the next answer, with as many bytes of body as Content-Length says. The answer to HEAD has no body.
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
  void Close() { socket_.Close(); }

 private:
  bool Fill(int timeout_ms) {
    if (!socket_.Await(timeout_ms)) return false;
    char bytes[16384];
    const size_t got = socket_.Receive(bytes, sizeof bytes);
    if (got == 0) ended_ = true;
    unread_.append(bytes, got);
    return got > 0;
  }

  RawSocket socket_;
  bool ended_ = false;
  std::string unread_;
};

}  // namespace zforms
