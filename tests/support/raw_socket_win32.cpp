#include <winsock2.h>
#include <ws2tcpip.h>

#include "tests/support/raw_socket.h"

namespace zforms {
namespace {

SOCKET Handle(intptr_t handle) { return static_cast<SOCKET>(handle); }

intptr_t Open(int family) {
  static const int started = [] {
    WSADATA data;
    return ::WSAStartup(MAKEWORD(2, 2), &data);
  }();
  return started == 0 ? static_cast<intptr_t>(::socket(family, SOCK_STREAM, 0)) : intptr_t{-1};
}

}  // namespace

const int kAddressInUse = WSAEADDRINUSE;

RawSocket::RawSocket(uint16_t port, bool ipv6) : handle_(Open(ipv6 ? AF_INET6 : AF_INET)) {
  sockaddr_in v4{};
  v4.sin_family = AF_INET;
  v4.sin_port = htons(port);
  v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  sockaddr_in6 v6{};
  v6.sin6_family = AF_INET6;
  v6.sin6_port = htons(port);
  v6.sin6_addr = in6addr_loopback;
  connected_ = ipv6 ? ::connect(Handle(handle_), reinterpret_cast<sockaddr*>(&v6), sizeof v6) == 0
                    : ::connect(Handle(handle_), reinterpret_cast<sockaddr*>(&v4), sizeof v4) == 0;
}

size_t RawSocket::Send(const char* bytes, size_t size) {
  const int sent = ::send(Handle(handle_), bytes, static_cast<int>(size), 0);
  return sent > 0 ? static_cast<size_t>(sent) : 0;
}

bool RawSocket::Await(int timeout_ms) {
  WSAPOLLFD wanted{Handle(handle_), POLLIN, 0};
  return ::WSAPoll(&wanted, 1, timeout_ms) > 0;
}

size_t RawSocket::Receive(char* to, size_t size) {
  const int got = ::recv(Handle(handle_), to, static_cast<int>(size), 0);
  return got > 0 ? static_cast<size_t>(got) : 0;
}

void RawSocket::Close() {
  if (handle_ != kClosed) ::closesocket(Handle(handle_));
  handle_ = kClosed;
}

}  // namespace zforms
