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

void KeepFromChildren(uintptr_t socket) {
  ::SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

}  // namespace zforms
