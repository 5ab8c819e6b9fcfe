#pragma once

#include <cstddef>
#include <cstdint>

namespace zforms {

// The system's error number for a port that is already in use.
extern const int kAddressInUse;

// A socket of the operating system, connected to a port of this machine; closed by its destructor.
class RawSocket {
 public:
  RawSocket(uint16_t port, bool ipv6);
  RawSocket(const RawSocket&) = delete;
  RawSocket& operator=(const RawSocket&) = delete;
  ~RawSocket() { Close(); }

  bool IsConnected() const { return connected_; }
  // How many bytes were sent; 0 when the connection has ended.
  size_t Send(const char* bytes, size_t size);
  // True when there are bytes to receive, or the connection has ended.
  bool Await(int timeout_ms);
  // How many bytes were received; 0 when the connection has ended.
  size_t Receive(char* to, size_t size);
  void Close();

 private:
  static constexpr intptr_t kClosed = -1;
  intptr_t handle_ = kClosed;
  bool connected_ = false;
};

}  // namespace zforms
