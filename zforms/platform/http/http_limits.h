#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace zforms {

// What a server allows its clients. What is beyond is refused with the status
// that is named; each deadline counts from the moment that is named.
struct sHTTPServerLimits {
  using Duration = std::chrono::milliseconds;

  // Request line and fields together, in bytes (431).
  uint32_t header_bytes = 16 * 1024;
  // Fields of one request (431).
  uint32_t header_fields = 64;
  // Bytes of one body as received, chunked or not (413).
  uint64_t body_bytes = uint64_t{16} << 20;
  // Bytes of all bodies together that are being received, wait, or are being answered,
  // and of the answers to large ones (503); short bodies come through. One large
  // body at a time is worked on, or several as large together.
  uint64_t pending_body_bytes = uint64_t{128} << 20;
  // From a request's first byte to the end of its header (408).
  Duration header_time = std::chrono::seconds(10);
  // From the end of the header to the end of the body (408).
  Duration body_time = std::chrono::seconds(60);
  // Until a connection's first or next request begins; then it is closed.
  Duration idle_time = std::chrono::seconds(30);
  // For taking a whole answer, and for taking none of its bytes; then the connection is cut.
  Duration send_time = std::chrono::seconds(60);
  Duration stall_time = std::chrono::seconds(5);
  // Connections at a time. One more closes the one that has kept silent longest,
  // or is refused when all are at work (503).
  size_t connections = 128;
  // Complete requests that wait for a thread (503).
  size_t queue = 256;
  // Threads that answer requests; at least 1.
  size_t threads = 4;
  // Messages for the host's idle loop that may wait; beyond that the host is not
  // keeping up, and no request is taken (503).
  size_t pending_messages = 10000;
  // For requests that run when the server is stopped; then their connections are cut.
  Duration stop_time = std::chrono::seconds(5);
};

}  // namespace zforms
