#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zforms {

// The limits of a server for its clients. A request beyond a limit is refused with the status in parentheses. Each
// deadline says what it counts from.
struct sHTTPServerLimits {
  using Duration = std::chrono::milliseconds;

  // Bytes of the request line and fields together (431).
  uint32_t header_bytes = 16 * 1024;
  // Fields of one request (431).
  uint32_t header_fields = 64;
  // Bytes of one body as received, chunked or not (413).
  uint64_t body_bytes = uint64_t{16} << 20;
  // Bytes of all bodies that are being received, wait or are being answered, and of the answers to large ones (503).
  // Short bodies are always accepted. Several large bodies are answered at the same time only if together they are not
  // longer than `body_bytes`.
  uint64_t pending_body_bytes = uint64_t{128} << 20;
  // From a request's first byte to the end of its header (408).
  Duration header_time = std::chrono::seconds(10);
  // From the end of the header to the end of the body (408).
  Duration body_time = std::chrono::seconds(60);
  // From the start of a connection, or from its last answer, to the next request; then the connection is closed.
  Duration idle_time = std::chrono::seconds(30);
  // How long the client may take to accept the whole answer, and how long it may accept no bytes of it. Then the
  // connection is closed.
  Duration send_time = std::chrono::seconds(60);
  Duration stall_time = std::chrono::seconds(5);
  // Connections at a time. A further one replaces the connection that has been silent longest; when all are busy it is
  // refused (503).
  size_t connections = 128;
  // Complete requests that wait for a thread (503).
  size_t queue = 256;
  // Threads that answer requests; at least 1.
  size_t threads = 4;
  // Messages that may wait for the host's idle loop. Beyond that the host is too slow, and requests are refused (503).
  size_t pending_messages = 10000;
  // How long Stop waits for requests that are being answered; after that their connections are closed.
  Duration stop_time = std::chrono::seconds(5);
};

}  // namespace zforms
