#include <dlfcn.h>
#include <poll.h>

#include <cerrno>

#include "tool/postgres/libpq.h"

namespace zforms::tool {

void* LoadLibpq(std::string* error) {
  void* const library = dlopen("libpq.so.5", RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    *error = "cannot load the library libpq.so.5, which zforms needs for PostgreSQL (Debian's package libpq5)";
  }
  return library;
}

void* FindInLibrary(void* library, const char* function) { return dlsym(library, function); }

bool WaitForSocket(int socket, bool or_write, int milliseconds) {
  pollfd wanted{socket, static_cast<int16_t>(or_write ? POLLIN | POLLOUT : POLLIN), 0};
  const int result = poll(&wanted, 1, milliseconds);
  return result > 0 || (result < 0 && errno == EINTR);
}

}  // namespace zforms::tool
