#include <fcntl.h>
#include <sys/socket.h>

#include "zforms/platform/http/os_socket.h"

namespace zforms {

// On POSIX systems an address is exclusive unless both sides ask otherwise (SO_REUSEPORT). SO_REUSEADDR only ignores
// connections that are closing.
bool MakeAddressExclusive(uintptr_t socket) {
  const int on = 1;
  return ::setsockopt(static_cast<int>(socket), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0;
}

bool IsListening(uintptr_t socket) {
  int listens = 0;
  socklen_t size = sizeof listens;
  return ::getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0;
}

int IPVersionOf(uintptr_t socket) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (::getsockname(static_cast<int>(socket), reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  return address.ss_family == AF_INET6 ? 6 : address.ss_family == AF_INET ? 4 : 0;
}

void KeepFromChildren(uintptr_t socket) {
  const int flags = ::fcntl(static_cast<int>(socket), F_GETFD);
  if (flags >= 0) ::fcntl(static_cast<int>(socket), F_SETFD, flags | FD_CLOEXEC);
}

}  // namespace zforms
