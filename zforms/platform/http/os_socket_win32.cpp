#include "zforms/platform/http/os_socket.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <winsock2.h>

namespace zforms {

bool MakeAddressExclusive(uintptr_t socket) {
  const BOOL on = TRUE;
  return ::setsockopt(static_cast<SOCKET>(socket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&on),
                      sizeof on) == 0;
}

bool IsListening(uintptr_t socket) {
  BOOL listens = FALSE;
  int size = sizeof listens;
  return ::getsockopt(static_cast<SOCKET>(socket), SOL_SOCKET, SO_ACCEPTCONN, reinterpret_cast<char*>(&listens),
                      &size) == 0 &&
         listens != FALSE;
}

int IPVersionOf(uintptr_t socket) {
  sockaddr_storage address{};
  int size = sizeof address;
  if (::getsockname(static_cast<SOCKET>(socket), reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  return address.ss_family == AF_INET6 ? 6 : address.ss_family == AF_INET ? 4 : 0;
}

void KeepFromChildren(uintptr_t socket) {
  ::SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

}  // namespace zforms
