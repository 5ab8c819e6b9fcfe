#include <winsock2.h>
// That header comes first.
#include <windows.h>

#include "tool/postgres/libpq.h"

namespace zforms::tool {

void* LoadLibpq(std::string* error) {
  const HMODULE library = LoadLibraryA("libpq.dll");
  if (library == nullptr) {
    *error = "PostgreSQL needs the library libpq.dll, which PostgreSQL's installer brings, in the PATH";
  }
  return reinterpret_cast<void*>(library);
}

void* FindInLibrary(void* library, const char* function) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), function));
}

bool WaitForSocket(int socket, bool or_write, int milliseconds) {
  WSAPOLLFD wanted{static_cast<SOCKET>(socket), static_cast<SHORT>(or_write ? POLLRDNORM | POLLWRNORM : POLLRDNORM), 0};
  return WSAPoll(&wanted, 1, milliseconds) > 0;
}

}  // namespace zforms::tool
