#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string>

#include "tool/base/service_sockets.h"

namespace zforms::tool {

namespace {

constexpr uintptr_t kFirstSocket = 3;
constexpr uintptr_t kMostSockets = 64;

// The number that the variable holds, 0 when it holds none; removes the variable.
uintptr_t TakeNumber(const char* name) {
  // NOLINTBEGIN(concurrency-mt-unsafe): called at the start, before there are other threads.
  const char* const value = std::getenv(name);
  const std::string text = value == nullptr ? "" : value;
  ::unsetenv(name);
  // NOLINTEND(concurrency-mt-unsafe)
  uintptr_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

std::vector<uintptr_t> TakeServiceSockets() {
  const uintptr_t process = TakeNumber("LISTEN_PID");
  const uintptr_t count = TakeNumber("LISTEN_FDS");
  std::vector<uintptr_t> sockets;
  if (process != static_cast<uintptr_t>(::getpid()) || count > kMostSockets) return sockets;
  for (uintptr_t i = 0; i < count; i++) sockets.push_back(kFirstSocket + i);
  return sockets;
}

}  // namespace zforms::tool
