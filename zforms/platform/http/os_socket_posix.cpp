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

void KeepFromChildren(uintptr_t socket) {
  const int flags = ::fcntl(static_cast<int>(socket), F_GETFD);
  if (flags >= 0) ::fcntl(static_cast<int>(socket), F_SETFD, flags | FD_CLOEXEC);
}

}  // namespace zforms
