#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "tests/support/raw_socket.h"

namespace zforms {
namespace {

int Handle(intptr_t handle) { return static_cast<int>(handle); }

}  // namespace

const int kAddressInUse = EADDRINUSE;

RawSocket::RawSocket(uint16_t port, bool ipv6) : handle_(::socket(ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM, 0)) {
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
  const ssize_t sent = ::send(Handle(handle_), bytes, size, MSG_NOSIGNAL);
  return sent > 0 ? static_cast<size_t>(sent) : 0;
}

bool RawSocket::Await(int timeout_ms) {
  pollfd wanted{Handle(handle_), POLLIN, 0};
  return ::poll(&wanted, 1, timeout_ms) > 0;
}

size_t RawSocket::Receive(char* to, size_t size) {
  const ssize_t got = ::recv(Handle(handle_), to, size, 0);
  return got > 0 ? static_cast<size_t>(got) : 0;
}

void RawSocket::Close() {
  if (handle_ != kClosed) ::close(Handle(handle_));
  handle_ = kClosed;
}

}  // namespace zforms
