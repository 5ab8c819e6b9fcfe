#include <windows.h>

#include <cstdint>
#include <cstdio>

#include "tests/support/process.h"

namespace zforms {

CommandResult RunCommand(const std::string& command) {
  CommandResult result{-1, ""};
  std::FILE* pipe = _popen((command + " 2>&1").c_str(), "rb");
  if (pipe == nullptr) return result;
  char buffer[4096];
  for (size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.output.append(buffer, got);
  result.status = _pclose(pipe);
  return result;
}

// On Windows clock() measures elapsed time, not processor time.
double ProcessSeconds() {
  FILETIME unused;
  FILETIME kernel;
  FILETIME user;
  if (!::GetProcessTimes(::GetCurrentProcess(), &unused, &unused, &kernel, &user)) return 0;
  const auto count = [](const FILETIME& time) {
    return static_cast<double>(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
  };
  constexpr double kPerSecond = 1e7;
  return (count(kernel) + count(user)) / kPerSecond;
}

}  // namespace zforms
